// Parsing the settings file and the typed values of the keys the engine uses.
#include "Basic/Settings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "Basic/Raise.h"
#include "Basic/ReaderErrors.h"

namespace quorva {

namespace {

std::string_view trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

std::string lower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

// A switch's value, or -1 when the text is not one.
int parseSwitch(std::string_view text) {
  std::string v = lower(text);
  if (v == "on" || v == "true" || v == "yes" || v == "1") return 1;
  if (v == "off" || v == "false" || v == "no" || v == "0") return 0;
  return -1;
}

// A version number in hundredths (1.05 gives 105), or -1 when the text is not one of 0.01..50.
int parseVersion(std::string_view text) {
  double v = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
  if (ec != std::errc() || end != text.data() + text.size() || !(v > 0 && v <= 50)) return -1;
  return static_cast<int>(std::lround(v * 100));
}

}  // namespace

int Settings::formatVersion() const {
  loadOnce();
  return formatVersion_;
}

bool Settings::leaveUnicodeRaw() const {
  loadOnce();
  return unicodeRaw_ && formatVersion_ >= 200;
}

bool Settings::nfcStrings() const {
  loadOnce();
  return nfcStrings_;
}

std::string Settings::value(std::string_view key) const {
  loadOnce();
  auto it = text_.find(key);
  return it == text_.end() ? std::string() : it->second;
}

std::string Settings::set(std::string_view key, std::string_view value) {
  loadOnce();
  std::string fault = assign(key, value);
  if (fault.empty()) checkUnicodeRaw();
  return fault;
}

std::string Settings::assign(std::string_view key, std::string_view value) {
  value = trim(value);
  if (key == FORMAT_VERSION_SETTING) {
    int v = parseVersion(value);
    if (v < 0) return "'" + std::string(value) + "' is not a version number (such as 1.00 or 2.00)";
    formatVersion_ = v;
  } else if (key == UNICODE_RAW_SETTING || key == NFC_STRINGS_SETTING) {
    int on = parseSwitch(value);
    if (on < 0) return "'" + std::string(value) + "' should be on or off";
    (key == NFC_STRINGS_SETTING ? nfcStrings_ : unicodeRaw_) = on == 1;
  }
  text_[std::string(key)] = std::string(value);
  return "";
}

void Settings::checkUnicodeRaw() {
  if (!unicodeRaw_ || formatVersion_ >= 200) return;
  unicodeRaw_ = false;
  text_[UNICODE_RAW_SETTING] = "off";
  engWarning(env_, err::UnicodeRawNeedsVersion2, formatVersion_ / 100.0);
}

void Settings::loadText(std::string_view text, const std::string& source) {
  loaded_ = true;
  int lineNumber = 0;
  while (!text.empty()) {
    size_t end = std::min(text.find_first_of("\r\n"), text.size());
    std::string_view line = trim(text.substr(0, end));
    size_t ending = end < text.size() && text.compare(end, 2, "\r\n") == 0 ? 2 : 1;
    text.remove_prefix(std::min(text.size(), end + ending));
    ++lineNumber;
    if (line.empty() || line.front() == '#' || line.substr(0, 2) == "//") continue;
    size_t eq = line.find('=');
    std::string fault;
    if (eq == std::string_view::npos || trim(line.substr(0, eq)).empty())
      fault = "expected 'Key = value'";
    else
      fault = assign(trim(line.substr(0, eq)), line.substr(eq + 1));
    if (!fault.empty()) engWarning(env_, err::SettingsLine, fault, lineNumber, source);
  }
  checkUnicodeRaw();
}

void Settings::loadFile(const std::string& path) {
  loaded_ = true;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) {
    engWarning(env_, err::SettingsFileUnread, path, SETTINGS_FILE_VARIABLE);
    return;
  }
  FileSpec file(env_, FileSpec::Kind::File, path);
  std::string text;
  try {
    text = file.readAll();
  } catch (const QuorvaError&) {
    return;  // the read fault is recorded; the defaults stay
  }
  loadText(text, path);
}

void Settings::loadOnce() const {
  if (loaded_) return;
  loaded_ = true;
  const char* path = std::getenv(SETTINGS_FILE_VARIABLE);
  // The lazily read file fills in a member of a non-const environment.
  if (path && *path) const_cast<Settings*>(this)->loadFile(path);
}

}  // namespace quorva
