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

}  // namespace
