// The text of a net file as it is built: indented lines, "keyword = value;" statements, blocks,
// and quoted strings that are escaped and continued across lines.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "Basic/StringQuoter.h"

namespace quorva {

// How the text is laid out.
struct DnetLayout {
  std::string indentUnit = "\t";  // one level of indentation
  int indentColumns = 4;          // how many columns one level counts for when lines are measured
  int lineWidth = 0;              // strings are broken to fit this width; 0: no limit
};

class DnetOut {
 public:
  DnetOut(DnetLayout layout, QuoteStyle quote) : layout_(std::move(layout)), quote_(quote) {}

  const std::string& text() const { return text_; }
  std::string take() { return std::move(text_); }

  // Raw text, which the caller keeps free of line ends.
  void put(std::string_view s) { text_ += s; }
  // Starts a line at the present indentation.
  void startLine();
  void endLine() { text_ += '\n'; }
  // A whole line at the present indentation.
  void line(std::string_view s);

  // "header {" and a deeper indentation; "};" at the indentation before.
  void openBlock(std::string_view header);
  void closeBlock();
  int depth() const { return depth_; }

  // Statements: keyword " = " value ";".
  void field(std::string_view keyword, std::string_view value);
  void stringField(std::string_view keyword, std::string_view text);
  void listField(std::string_view keyword, const std::vector<std::string>& items);

  // `text` in double quotes, escaped, with continuations at its line breaks and where it would
  // run past the line width.
  void quoted(std::string_view text);

  static std::string list(const std::vector<std::string>& items);

 private:
  int column() const;
  int indentWidth() const { return depth_ * layout_.indentColumns; }
  void continuation(std::string_view rest);

  DnetLayout layout_;
  QuoteStyle quote_;
  std::string text_;
  int depth_ = 0;
};

}  // namespace quorva
