// The case reader on its own: lines split into fields the same way whatever the size of the
// blocks the file is read in, with every kind of line end.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "Basic/ReaderFixture.h"
#include "VarVal/CaseReader.h"

namespace {

using quorva::CaseReader;
using quorva::CaseRow;

struct Expected {
  long line;
  uint64_t offset;
  std::vector<std::string_view> fields;
  std::vector<long> chars;
};

TEST_F(ReaderTest, CaseLinesReadTheSameOverBlocksOfEverySize) {
  // LF, CR LF, a lone CR and form feed end lines; a quoted field holds the delimiter; fields are
  // trimmed and keep the position of their first character; comments are blanked.
  const std::string text =
      "A\tB\tC\n"
      "yes\t low \t*\r\n"
      "no\t\"a\tb\"\t1.5\r"
      "// a comment line\f"
      "yes\tmid\thigh /* note */\n";
  const Expected want[] = {
      {2, 6, {"yes", "low", "*"}, {1, 6, 11}},
      {3, 19, {"no", "\"a\tb\"", "1.5"}, {1, 4, 10}},
      {5, 50, {"yes", "mid", "high"}, {1, 5, 9}},
  };
  std::string path = ::testing::TempDir() + "quorva_case_blocks.cas";
  std::ofstream(path, std::ios::binary) << text;
  for (size_t block : {1, 2, 3, 5, 8, 64}) {
    SCOPED_TRACE("block " + std::to_string(block));
    quorva::FileSpec file(&env, quorva::FileSpec::Kind::File, path);
    CaseReader reader(file, quorva::CaseFormat{}, true, block);
    ASSERT_TRUE(reader.readHeader());
    ASSERT_EQ(reader.columns().size(), 3u);
    EXPECT_EQ(reader.columns()[1].name, "B");
    CaseRow row;
    for (const Expected& w : want) {
      ASSERT_TRUE(reader.next(row));
      EXPECT_EQ(row.line, w.line);
      EXPECT_EQ(row.offset, w.offset);
      EXPECT_EQ(row.fields, w.fields);
      EXPECT_EQ(row.chars, w.chars);
    }
    EXPECT_FALSE(reader.next(row));
    EXPECT_EQ(reader.offset(), text.size());
  }
  std::remove(path.c_str());
}

// Long lines, whose delimiters are found many bytes at a time: every field keeps its trimmed text
// and the position of its first character, wherever it falls against those blocks; a comment or
// quote far into a line still sends it the careful way; a line of tabs is blank, a line of
// commas is a case of empty fields.
TEST_F(ReaderTest, LongLinesSplitAlikeWhereverTheirFieldsFall) {
  for (char delim : {'\t', ','}) {
    SCOPED_TRACE(std::string("delimiter ") + delim);
    const size_t columns = 23;
    std::string text;
    for (size_t c = 0; c < columns; ++c) text += (c ? std::string(1, delim) : "") + "c" + std::to_string(c);
    text += "\n";
    std::vector<Expected> want;
    long line = 2;
    unsigned seed = 11;
    for (int r = 0; r < 40; ++r, ++line) {
      Expected e{line, text.size(), {}, {}};
      std::string row;
      for (size_t c = 0; c < columns; ++c) {
        if (c) row += delim;
        seed = seed * 1103515245u + 12345u;
        row += std::string((seed >> 16) % 3, ' ');  // blanks before and after are trimmed
        e.chars.push_back(static_cast<long>(row.size() + 1));
        size_t width = (seed >> 20) % 19;  // 0 to 18 characters
        e.fields.push_back(std::string_view("abcdefghijklmnopqrs").substr(0, width));
        row += std::string(e.fields.back());
        row += std::string((seed >> 24) % 2, ' ');
        if (width == 0) e.chars.back() = static_cast<long>(row.size() + 1);  // a blank field is where it ends
      }
      if (r == 7) row += "   // a comment far along";
      if (r == 9) row = row.substr(0, row.rfind(delim) + 1) + "\"q" + delim + "x\"";  // a quoted last field
      text += row + "\n";
      want.push_back(e);
      if (r == 12) {
        text += std::string(columns - 1, delim) + "\n";
        ++line;
        if (delim == ',') want.push_back({line, text.size() - columns, {}, {}});
      }
    }
    quorva::FileSpec file(&env, quorva::FileSpec::Kind::Memory, delim == ',' ? "t.csv" : "t.cas");
    file.setContents(text.data(), text.size(), true);
    CaseReader reader(file, quorva::CaseFormat{}, true);
    ASSERT_TRUE(reader.readHeader());
    ASSERT_EQ(reader.columns().size(), columns);
    CaseRow row;
    for (const Expected& w : want) {
      SCOPED_TRACE("line " + std::to_string(w.line));
      ASSERT_TRUE(reader.next(row));
      EXPECT_EQ(row.line, w.line);
      EXPECT_EQ(row.offset, w.offset);
      if (w.chars.empty()) {  // the line of commas
        EXPECT_EQ(row.fields, std::vector<std::string_view>(columns));
        continue;
      }
      if (w.line == 11) {
        EXPECT_EQ(row.fields.back(), std::string("\"q") + delim + "x\"");
        row.fields.back() = w.fields.back();
        row.chars.back() = w.chars.back();
      }
      EXPECT_EQ(row.fields, w.fields);
      EXPECT_EQ(row.chars, w.chars);
    }
  }
}

}  // namespace
