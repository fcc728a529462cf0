// The token reader's truth values, parenthesised lists, parameter lists and property lists.
#include <algorithm>
#include <set>

#include "Basic/IdName.h"
#include "Basic/ReaderErrors.h"
#include "Basic/TokenReader.h"

namespace quorva {

namespace {

constexpr size_t QUOTED_LIMIT = 80;  // the most of a read text that a message quotes

std::string clip(std::string s) {
  if (s.size() > QUOTED_LIMIT) s.resize(QUOTED_LIMIT);
  return s;
}

bool isNameStart(int c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool isPunctuation(int c) { return c > ' ' && c < 127 && !isNameStart(c); }

bool legalName(const std::string& name) { return checkName(name, NAME_ALL, nullptr) == 0; }

}  // namespace

Truth TokenReader::readTruth(bool allowMaybe) {
  std::string word = readWord();
  if (word == "TRUE") return Truth::True;
  if (word == "FALSE") return Truth::False;
  if (allowMaybe && word == "MAYBE") return Truth::Maybe;
  int c = peek();
  if (word.empty() && c != END) word = std::string(1, static_cast<char>(c));
  failAt(tokenStart(), allowMaybe ? err::IllegalTruthOrMaybe : err::IllegalTruthValue, clip(word));
}

void TokenReader::readList(const std::function<void()>& item) {
  if (!readPunct('(')) fail(err::ListMissingOpen);
  if (readPunct(')')) return;
  for (;;) {
    item();
    int c = skipSpace();
    if (c == ',' || c == ')') readChar();
    if (c == ')') return;
    if (c == ',') continue;
    if (c == END) fail(err::ListMissingClose);
    if (isPunctuation(c)) fail(err::ListIllegalPunctuation, std::string(1, static_cast<char>(c)));
    fail(err::ListMissingComma);
  }
}

std::string TokenReader::readValueText(std::string_view extra) {
  int c = skipSpace();
  if (c == '"') return readQuoted();
  Number n;
  if (readNumber(n)) return n.text;
  std::string word = readWord(extra);
  if (!word.empty()) return word;
  if (c == END) fail(err::ListMissingClose);
  fail(err::ListIllegalPunctuation, std::string(1, static_cast<char>(c)));
}

std::vector<std::string> TokenReader::readValueList(std::string_view extra) {
  std::vector<std::string> items;
  items.reserve(4);  // most lists are short: one allocation, not three
  readList([&] { items.push_back(readValueText(extra)); });
  return items;
}

std::vector<std::string> TokenReader::readParamList() {
  if (!readPunct('(')) fail(err::ListMissingOpen);
  TextPosition start = tokenStart();
  std::vector<std::string> names;
  if (readPunct(')')) return names;
  for (;;) {
    int c = skipSpace();
    if (c == END) failAt(start, err::ParamListMissingClose);
    if (!isNameStart(c)) fail(err::MissingParamName);
    std::string name = readWord();
    if (!legalName(name)) failAt(tokenStart(), err::IllegalParamName, clip(name));
    if (std::find(names.begin(), names.end(), name) != names.end())
      failAt(tokenStart(), err::DuplicateParam, name);
    names.push_back(name);
    c = skipSpace();
    if (c == END) failAt(start, err::ParamListMissingClose);
    if (c != ',' && c != ')') fail(err::ParamListPunctuation, std::string(1, static_cast<char>(c)));
    readChar();
    if (c == ')') return names;
  }
}

void TokenReader::readPropertyList(const std::function<void(const std::string& name)>& value) {
  if (!readPunct('(')) fail(err::ListMissingOpen);
  if (readPunct(')')) return;
  std::set<std::string> seen;
  for (;;) {
    int c = skipSpace();
    if (c == END || c == ')' || c == ',') fail(err::MissingPropertyName);
    if (!isNameStart(c)) fail(err::PropertyNamePunctuation, std::string(1, static_cast<char>(c)));
    std::string name = readWord();
    if (!legalName(name)) failAt(tokenStart(), err::IllegalPropertyName, clip(name));
    if (!seen.insert(name).second) failAt(tokenStart(), err::DuplicateProperty, name);
    c = skipSpace();
    if (c != '=') {
      if (isPunctuation(c)) fail(err::PropertyNotEquals, std::string(1, static_cast<char>(c)));
      fail(err::PropertyMissingEquals);
    }
    readChar();
    value(name);
    c = skipSpace();
    if (c == ',' || c == ')') readChar();
    if (c == ')') return;
    if (c == ',') continue;
    if (c == END) fail(err::ListMissingClose);
    if (isPunctuation(c)) fail(err::ListIllegalPunctuation, std::string(1, static_cast<char>(c)));
    fail(err::ListMissingComma);
  }
}

std::vector<std::pair<std::string, std::string>> TokenReader::readPropertyList() {
  std::vector<std::pair<std::string, std::string>> props;
  readPropertyList([&](const std::string& name) { props.emplace_back(name, readValueText()); });
  return props;
}

}  // namespace quorva
