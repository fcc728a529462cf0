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

// Long lines, whose delimiters are found many bytes at a time: fields keep their trimmed text
// and first position wherever they fall against those blocks; a comment or quote far along sends
// a line the careful way; a line of tabs is blank, a line of commas a case of empty fields.
TEST_F(ReaderTest, LongLinesSplitAlikeWhereverTheirFieldsFall) {
  const size_t columns = 23;
  for (char delim : {'\t', ','}) {
    SCOPED_TRACE(std::string("delimiter ") + delim);
    const std::string quoted = std::string("\"q") + delim + "x\"", empties(columns - 1, delim);
    std::string text;
    for (size_t c = 0; c < columns; ++c) text += std::string(c ? 1 : 0, delim) + "c" + std::to_string(c);
    text += "\n";
    std::vector<Expected> want;
    unsigned seed = 11;
    for (int r = 0; r < 40; ++r) {
      Expected e{r + 2, 0, {}, {}};
      std::string row;
      for (size_t c = 0; c < columns; ++c, seed = seed * 1103515245u + 12345u) {
        row += std::string(c ? 1 : 0, delim) + std::string((seed >> 16) % 3, ' ');  // trimmed blanks
        const size_t width = (seed >> 20) % 19;
        e.fields.push_back(std::string_view("abcdefghijklmnopqrs").substr(0, width));
        row += e.fields.back();
        e.chars.push_back(static_cast<long>(row.size() + 1 - width));  // a blank field is where it ends
        row += std::string(width ? (seed >> 24) % 2 : 0, ' ');
      }
      if (r == 7) row += "   // a comment far along";
      if (r == 9) {
        row = row.substr(0, row.rfind(delim) + 1) + quoted;
        e.fields.back() = quoted;
        e.chars.back() = static_cast<long>(row.size() + 1 - quoted.size());
      }
      if (r == 13) {  // a line of delimiters: blank for tabs, empty fields for commas
        row = empties;
        e.fields.assign(columns, "");
        for (size_t c = 0; c < columns; ++c) e.chars[c] = static_cast<long>(c + 1);
      }
      text += row + "\n";
      if (r != 13 || delim == ',') want.push_back(e);
    }
    quorva::FileSpec file(&env, quorva::FileSpec::Kind::Memory, "t.cas");
    file.setContents(text.data(), text.size(), true);
    CaseReader reader(file, quorva::CaseFormat{delim}, true);
    ASSERT_TRUE(reader.readHeader());
    ASSERT_EQ(reader.columns().size(), columns);
    CaseRow row;
    for (const Expected& w : want) {
      ASSERT_TRUE(reader.next(row));
      EXPECT_EQ(row.line, w.line);
      EXPECT_EQ(row.fields, w.fields) << "line " << w.line;
      EXPECT_EQ(row.chars, w.chars) << "line " << w.line;
    }
    EXPECT_FALSE(reader.next(row));
  }
}

}  // namespace
