// The settings of one environment: named keys with defaults, read from a settings file.
//
// The file is named by the environment variable QUORVA_SETTINGS and holds one `Key = value` per
// line; blank lines and lines beginning with '#' or "//" are ignored.  It is read once per
// environment, the first time a setting is asked for (that is, within the first call that reads
// or writes a file), so that faults in it can be recorded as warnings of that environment.  Keys
// the engine does not know are kept, for the modules that come to use them.
#pragma once
#include <map>
#include <string>
#include <string_view>

namespace quorva {

class EnvCore;

inline constexpr const char* SETTINGS_FILE_VARIABLE = "QUORVA_SETTINGS";
inline constexpr const char* FORMAT_VERSION_SETTING = "Version_of_format_to_make_DNET_and_QOVA_files";
inline constexpr const char* UNICODE_RAW_SETTING = "Leave_unicode_raw_when_making_DNET_files";
inline constexpr const char* NFC_STRINGS_SETTING = "Put_strings_in_unicode_normalization_form_C";

class Settings {
 public:
  explicit Settings(EnvCore* env) : env_(env) {}

  // The format version that files are written in, in hundredths (default 100, for 1.00).
  int formatVersion() const;
  // Write non-ASCII characters of strings raw (default off; never on below version 2.00).
  bool leaveUnicodeRaw() const;
  // Put strings read from files into Unicode Normalization Form C (default off).
  bool nfcStrings() const;

  // The text a key was last given, or "" when it has none.
  std::string value(std::string_view key) const;

  // Sets a key from its text, as a line of the file would ("on"/"off", "true"/"false", "yes"/"no"
  // or 1/0 for switches; a decimal number for the version).  Returns "" or, when the value is
  // refused and the key keeps its value, the reason.  Turning raw Unicode on while the version is
  // below 2.00 is taken back with a warning.
  std::string set(std::string_view key, std::string_view value);

  // Reads `Key = value` lines; a faulty line gives a warning naming `source` and is skipped.
  void loadText(std::string_view text, const std::string& source);
  // Reads a settings file; one that cannot be read gives a warning and changes nothing.
  void loadFile(const std::string& path);

 private:
  void loadOnce() const;
  std::string assign(std::string_view key, std::string_view value);
  void checkUnicodeRaw();

  EnvCore* env_;
  mutable bool loaded_ = false;
  std::map<std::string, std::string, std::less<>> text_;
  int formatVersion_ = 100;
  bool unicodeRaw_ = false;
  bool nfcStrings_ = false;
};

}  // namespace quorva
