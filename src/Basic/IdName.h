// The rule for names of nets, nodes, states, link inputs and node sets.
#pragma once
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorva {

inline constexpr int MAX_NAME_LENGTH = 30;

// Tests the checker can make; it returns the bits of those that failed.
enum NameCheck : int {
  NAME_NOT_EMPTY = 4,
  NAME_LENGTH = 8,
  NAME_CHARS = 16,
  NAME_FIRST_CHAR = 32,
  NAME_NO_ASTERISK = 64,
  NAME_ALL = NAME_NOT_EMPTY | NAME_LENGTH | NAME_CHARS | NAME_FIRST_CHAR,
};

// Checks `name` for the tests in `flags`; returns the failed bits and, when any failed, the
// message of the first failure in `message` (without an "in argument" prefix).  A lone asterisk
// passes the character tests; it fails only under NAME_NO_ASTERISK.
int checkName(std::string_view name, int flags, std::string* message);

// A legal name made from any text: other characters become '_', cut to 30, a leading digit
// becomes '_', and an empty text becomes "_".
std::string legalName(std::string_view text);

// A legal name that `taken` does not hold: on a clash the first min(length, 20) characters are
// kept and 0, 1, 2 ... appended until the name is free.
std::string uniqueName(std::string_view text, const std::function<bool(const std::string&)>& taken);

// Splits a comma-separated list, trimming blanks around each entry.  An empty or all-blank text
// gives no entries.
std::vector<std::string> splitNameList(std::string_view text);

// Checks a list of names (state names): each by the name rule, none repeated.  Returns "" when
// the list is good, else the message.
std::string checkNameList(const std::vector<std::string>& names);

}  // namespace quorva
