// Building the text of a net file.
#include "BN/Files/DnetOut.h"

#include "Basic/StringQuoter.h"
#include "Basic/Unicode.h"

namespace quorva {

namespace {

bool isLineBreak(unsigned char c) { return c == '\n' || c == '\r' || c == '\f'; }
bool isBlank(unsigned char c) { return c == ' '; }

// The room a string needs on its line before it may begin.
constexpr int MIN_ROOM = 6;

}  // namespace

void DnetOut::startLine() {
  for (int i = 0; i < depth_; ++i) text_ += layout_.indentUnit;
}

void DnetOut::line(std::string_view s) {
  startLine();
  text_ += s;
  endLine();
}

void DnetOut::openBlock(std::string_view header) {
  startLine();
  text_ += header;
  text_ += " {";
  endLine();
  ++depth_;
}

void DnetOut::closeBlock() {
  --depth_;
  line("};");
}

void DnetOut::field(std::string_view keyword, std::string_view value) {
  startLine();
  text_ += keyword;
  text_ += " = ";
  text_ += value;
  text_ += ';';
  endLine();
}

void DnetOut::stringField(std::string_view keyword, std::string_view value) {
  startLine();
  text_ += keyword;
  text_ += " = ";
  quoted(value);
  text_ += ';';
  endLine();
}

void DnetOut::listField(std::string_view keyword, const std::vector<std::string>& items) {
  field(keyword, list(items));
}

std::string DnetOut::list(const std::vector<std::string>& items) {
  std::string out = "(";
  for (size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += ", ";
    out += items[i];
  }
  return out + ")";
}

int DnetOut::column() const {
  size_t start = text_.rfind('\n');
  start = start == std::string::npos ? 0 : start + 1;
  int col = 0;
  size_t unit = layout_.indentUnit.size();
  size_t i = start;
  while (unit > 0 && text_.compare(i, unit, layout_.indentUnit) == 0) {
    col += layout_.indentColumns;
    i += unit;
  }
  return col + static_cast<int>(text_.size() - i);
}

// A backslash and a line end inside a string, then the indentation; and "\|" when what follows
// would otherwise be skipped by the reader as white space or taken for a comment.
void DnetOut::continuation(std::string_view rest) {
  text_ += "\\\n";
  startLine();
  if (rest.empty()) return;
  auto c = static_cast<unsigned char>(rest[0]);
  bool guard = isBlank(c);
  if (c == '/' && rest.size() > 1) guard = rest[1] == '/' || rest[1] == '*' || rest[1] == '#';
  if (guard) text_ += "\\|";
}

void DnetOut::quoted(std::string_view s) {
  int width = layout_.lineWidth;
  if (width > 0 && width - column() < MIN_ROOM) {
    endLine();
    startLine();
    text_ += layout_.indentUnit;
  }
  text_ += '"';
  bool inRun = false;
  bool lineHasText = false;  // whether this line holds part of the string already
  while (!s.empty()) {
    auto c = static_cast<unsigned char>(s.front());
    size_t raw = quote_.rawUtf8 && c >= 128 ? utf8SequenceLength(s) : 0;
    bool hex = raw == 0 && needsHexEscape(c);

    // Break before a word that would run past the line, after the white space that ends the
    // word before it.
    if (width > 0 && lineHasText && !inRun && !isBlank(c)) {
      size_t prev = text_.size();
      if (prev > 0 && text_[prev - 1] == ' ') {
        size_t wordEnd = 0;
        int wordWidth = 0;
        while (wordEnd < s.size() && !isBlank(static_cast<unsigned char>(s[wordEnd])) &&
               !isLineBreak(static_cast<unsigned char>(s[wordEnd]))) {
          auto w = static_cast<unsigned char>(s[wordEnd]);
          wordWidth += (w < 32 || w >= 127 || w == '"' || w == '\\') ? 3 : 1;
          ++wordEnd;
        }
        // room for the word and a closing quote, semicolon or continuation mark
        if (column() + wordWidth + 2 > width) {
          continuation(s);
          lineHasText = false;
        }
      }
    }

    if (hex) {
      if (!inRun) text_ += '\\';
      appendHexPair(text_, c);
      inRun = true;
      s.remove_prefix(1);
      lineHasText = true;
      continue;
    }
    if (inRun) text_ += '/';
    inRun = false;
    if (raw > 0) {
      text_ += s.substr(0, raw);
      s.remove_prefix(raw);
    } else if (char letter = namedEscape(c)) {
      text_ += '\\';
      text_ += letter;
      s.remove_prefix(1);
      // a CR that starts a CR LF pair is continued after the LF
      bool pairedCr = c == '\r' && !s.empty() && s.front() == '\n';
      if (isLineBreak(c) && !s.empty() && !pairedCr) {
        continuation(s);
        lineHasText = false;
        continue;
      }
    } else {
      if (c == '"' || c == '\\') text_ += '\\';
      text_ += static_cast<char>(c);
      s.remove_prefix(1);
    }
    lineHasText = true;
  }
  if (inRun) text_ += '/';
  text_ += '"';
}

}  // namespace quorva
