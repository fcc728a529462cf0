// Checking names and making legal and unique ones.
#include "Basic/IdName.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>

#include "Basic/Format.h"
#include "Basic/Unicode.h"

namespace quorva {

namespace {

// ASCII only, whatever the locale.
bool isNameChar(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}
bool isAsciiLetterOrDigit(unsigned char c) { return c < 0x80 && isNameChar(c); }

// The code point of a well-formed UTF-8 sequence.
unsigned codePoint(std::string_view seq) {
  unsigned lead = static_cast<unsigned char>(seq[0]);
  unsigned cp = seq.size() == 1 ? lead : lead & (0x7Fu >> seq.size());
  for (size_t i = 1; i < seq.size(); ++i) cp = (cp << 6) | (static_cast<unsigned char>(seq[i]) & 0x3Fu);
  return cp;
}

// At most `limit` bytes of `name`, cut before a UTF-8 sequence that would not fit whole.
std::string shown(std::string_view name, size_t limit) {
  size_t end = 0;
  while (end < name.size()) {
    size_t n = std::max<size_t>(1, utf8SequenceLength(name.substr(end)));
    if (end + n > limit) break;
    end += n;
  }
  return std::string(name.substr(0, end));
}

// The message for the character at `at`, which breaks the name rule.  A character outside ASCII
// is shown whole, with its code point, never as one byte of its UTF-8 sequence.
std::string characterMessage(std::string_view name, size_t at) {
  std::string n = shown(name, MAX_NAME_LENGTH);
  unsigned char c = static_cast<unsigned char>(name[at]);
  switch (c) {
    case ' ': return format("'%s' contains a space", n);
    case '\t': return format("'%s' contains a tab", n);
    case '\r': return format("'%s' contains a 'return' character", n);
    case '\n': return format("'%s' contains a 'new-line' character", n);
    default: break;
  }
  if (size_t len = c >= 0x80 ? utf8SequenceLength(name.substr(at)) : 0) {
    std::string ch(name.substr(at, len));
    return format("'%s' contains the illegal character '%s' (U+%04X)", n, ch, codePoint(ch));
  }
  if (c >= 0x80) return format("'%s' contains a byte (code %u) that is not part of a UTF-8 character", n, unsigned{c});
  if (c < 0x20 || c == 0x7F) return format("'%s' contains an illegal character (ascii code %u)", n, unsigned{c});
  return format("'%s' contains the illegal character '%c'", n, int{c});
}

}  // namespace

int checkName(std::string_view name, int flags, std::string* message) {
  int failed = 0;
  auto fail = [&](int bit, std::string text) {
    if (message && failed == 0) *message = std::move(text);
    failed |= bit;
  };
  if (name.empty()) {
    if (flags & NAME_NOT_EMPTY) fail(NAME_NOT_EMPTY, "is empty (contains no characters)");
    return failed;
  }
  if (name == "*") {
    if (flags & NAME_NO_ASTERISK) fail(NAME_NO_ASTERISK, "'*' (meaning every one) can't be used here");
    return failed;
  }
  if ((flags & NAME_LENGTH) && name.size() > MAX_NAME_LENGTH)
    fail(NAME_LENGTH, format("'%s...' is too long (%d characters, maximum is %d)", shown(name, MAX_NAME_LENGTH + 1),
                             static_cast<int>(name.size()), MAX_NAME_LENGTH));
  if (flags & NAME_CHARS) {
    auto bad = std::find_if(name.begin(), name.end(),
                            [](char c) { return !isAsciiLetterOrDigit(static_cast<unsigned char>(c)); });
    if (bad != name.end()) fail(NAME_CHARS, characterMessage(name, static_cast<size_t>(bad - name.begin())));
  }
  unsigned char first = static_cast<unsigned char>(name[0]);
  if ((flags & NAME_FIRST_CHAR) && std::isdigit(first))
    fail(NAME_FIRST_CHAR, format("'%s' starts with non-alphabetic character '%c'", shown(name, MAX_NAME_LENGTH),
                                 int{first}));
  return failed;
}

std::string legalName(std::string_view text) {
  std::string out(text.substr(0, MAX_NAME_LENGTH));
  for (char& c : out)
    if (!isAsciiLetterOrDigit(static_cast<unsigned char>(c))) c = '_';
  if (out.empty()) return "_";
  if (std::isdigit(static_cast<unsigned char>(out[0]))) out[0] = '_';
  return out;
}

std::string uniqueName(std::string_view text, const std::function<bool(const std::string&)>& taken) {
  std::string name = legalName(text);
  if (!taken(name)) return name;
  const size_t stem = std::min<size_t>(name.size(), 20);
  for (unsigned long i = 0;; ++i) {
    char digits[24];
    name.resize(stem);
    name.append(digits, std::to_chars(digits, digits + sizeof digits, i).ptr);
    if (!taken(name)) return name;
  }
}

std::vector<std::string> splitNameList(std::string_view text) {
  std::vector<std::string> out;
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  if (std::all_of(text.begin(), text.end(), blank)) return out;
  size_t start = 0;
  while (true) {
    size_t comma = text.find(',', start);
    std::string_view item = text.substr(start, comma == std::string_view::npos ? text.npos : comma - start);
    while (!item.empty() && blank(item.front())) item.remove_prefix(1);
    while (!item.empty() && blank(item.back())) item.remove_suffix(1);
    out.emplace_back(item);
    if (comma == std::string_view::npos) break;
    start = comma + 1;
  }
  return out;
}

std::string checkNameList(const std::vector<std::string>& names) {
  std::set<std::string> seen;
  for (const std::string& n : names) {
    if (n.empty()) return "names are missing";
    std::string why;
    if (checkName(n, NAME_ALL | NAME_NO_ASTERISK, &why)) return why;
    if (!seen.insert(n).second) return format("name '%.30s' is repeated", n);
  }
  return "";
}

}  // namespace quorva
