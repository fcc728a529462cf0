// The environment-wide settings of case files, and the modes in which a reader treats columns
// that name no node of the net.
#pragma once
#include <string>

namespace quorva {

class EnvCore;

// How a discrete value is written: the first of these forms that the node has, starting at the
// chosen one (names, then titles, then levels, then "#" and the state number).
enum CaseValueForm : int { FORM_NAMES = 0, FORM_TITLES = 1, FORM_LEVELS = 2, FORM_NUMBERS = 3 };

// Settings-file keys: whether a written case file begins with the magic and creator lines, and
// the value form (0..3) in effect until the application sets one.
inline constexpr const char* CASE_HEADER_SETTING = "Write_case_file_header";
inline constexpr const char* CASE_VALUE_FORM_SETTING = "Case_file_value_form";

inline constexpr int CASE_FILE_VERSION = 1;

struct CaseFormat {
  char delimiter = '\t';  // ',', ' ' or '\t'
  char missing = '*';     // 0 (absent), ' ', '*', '?' or '-'
  int valueForm = FORM_NAMES;
  bool header = false;    // magic and creator lines at the top of a new file
  bool loaded = false;    // the settings-file keys have been taken in

  // What a missing value is written as ("" when the character is absent).
  std::string missingText() const { return missing ? std::string(1, missing) : std::string(); }
  // Whether `field` (trimmed) stands for a missing value: empty, or the missing-data character.
  bool isMissing(std::string_view field) const {
    return field.empty() || (missing && field.size() == 1 && field[0] == missing);
  }
  // Takes in the settings-file keys, once.
  void load(EnvCore& env);
};

// What a reader does with a column that names no node of the net.
enum class AddNew : int { Dont = 0, Query = 1, PrintAndAdd = 2, Quietly = 3 };

// Positions of ReadNetFindings_bn, as in the API.
inline constexpr long long FIRST_CASE_POSN = -15;
inline constexpr long long NEXT_CASE_POSN = -14;
inline constexpr long long NO_MORE_CASES_POSN = -13;

}  // namespace quorva
