// The name rule, and the routines that repair, uniquify, split and check names.
#include "Basic/IdName.h"

#include <gtest/gtest.h>

#include <set>

using namespace quorva;

namespace {
int check(const std::string& name, std::string* why, int flags = NAME_ALL | NAME_NO_ASTERISK) {
  why->clear();
  return checkName(name, flags, why);
}
}  // namespace

// Thirty characters pass, and a leading underscore; each fault is described by its kind.
TEST(IdName, EachFaultIsDescribedByItsKind) {
  std::string why;
  EXPECT_EQ(check(std::string(30, 'a'), &why), 0);
  EXPECT_EQ(check("_a", &why), 0);
  EXPECT_EQ(why, "");
  const std::string longName = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";  // 40 characters
  struct Case {
    std::string name;
    int fault;
    std::string why;
  } cases[] = {
      {longName, NAME_LENGTH, "'" + longName.substr(0, 31) + "...' is too long (40 characters, maximum is 30)"},
      {"1a", NAME_FIRST_CHAR, "'1a' starts with non-alphabetic character '1'"},
      {"a b", NAME_CHARS, "'a b' contains a space"},
      {"a\tb", NAME_CHARS, "'a\tb' contains a tab"},
      {"a\rb", NAME_CHARS, "'a\rb' contains a 'return' character"},
      {"a\nb", NAME_CHARS, "'a\nb' contains a 'new-line' character"},
      {"a-b", NAME_CHARS, "'a-b' contains the illegal character '-'"},
      {"a\x01" "b", NAME_CHARS, "'a\x01" "b' contains an illegal character (ascii code 1)"},
      {"a\xE9" "b", NAME_CHARS, "'a\xE9" "b' contains a byte (code 233) that is not part of a UTF-8 character"},
      // A character outside ASCII is shown whole, with its code point.
      {"caf\xC3\xA9", NAME_CHARS, "'caf\xC3\xA9' contains the illegal character '\xC3\xA9' (U+00E9)"},
      {"x\xE2\x82\xAC", NAME_CHARS, "'x\xE2\x82\xAC' contains the illegal character '\xE2\x82\xAC' (U+20AC)"},
      {"p\xF0\x9F\x90\xB7", NAME_CHARS, "'p\xF0\x9F\x90\xB7' contains the illegal character '\xF0\x9F\x90\xB7' (U+1F437)"},
      // A name shown cut never ends in part of a character.
      {std::string(29, 'a') + "\xC3\xA9", NAME_LENGTH | NAME_CHARS,
       "'" + std::string(29, 'a') + "\xC3\xA9...' is too long (31 characters, maximum is 30)"},
      {std::string(28, 'a') + "-\xC3\xA9", NAME_CHARS | NAME_LENGTH,
       "'" + std::string(28, 'a') + "-\xC3\xA9...' is too long (31 characters, maximum is 30)"},
      {std::string(29, 'a') + "\xE2\x82\xAC", NAME_LENGTH | NAME_CHARS,
       "'" + std::string(29, 'a') + "...' is too long (32 characters, maximum is 30)"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(check(c.name, &why), c.fault) << c.why;
    EXPECT_EQ(why, c.why);
  }
}

TEST(IdName, EveryFailedTestIsReturnedButOnlyTheFirstIsDescribed) {
  std::string why;
  EXPECT_EQ(check("", &why), NAME_NOT_EMPTY);
  EXPECT_EQ(check("*", &why), NAME_NO_ASTERISK);
  EXPECT_EQ(check("*", &why, NAME_ALL), 0);
  std::string bad = "9" + std::string(30, 'x') + "-";
  EXPECT_EQ(check(bad, &why), NAME_LENGTH | NAME_CHARS | NAME_FIRST_CHAR);
  EXPECT_EQ(why, "'" + bad.substr(0, 31) + "...' is too long (32 characters, maximum is 30)");
  // Tests that were not asked for do not fail.
  EXPECT_EQ(check("1-", &why, NAME_LENGTH), 0);
  EXPECT_EQ(check("1-", &why, NAME_FIRST_CHAR), NAME_FIRST_CHAR);
}

TEST(IdName, LegalNameRepairsAnyText) {
  EXPECT_EQ(legalName("1a"), "_a");
  EXPECT_EQ(legalName(""), "_");
  EXPECT_EQ(legalName("a b-c\xE9"), "a_b_c_");
  EXPECT_EQ(legalName(std::string(29, 'q') + "xyz"), std::string(29, 'q') + "x");
  std::string why;
  EXPECT_EQ(check(legalName("7 up!"), &why), 0) << why;
}

TEST(IdName, UniqueNameKeepsTwentyCharactersAndCountsUp) {
  std::set<std::string> taken;
  auto isTaken = [&](const std::string& n) { return taken.count(n) > 0; };
  EXPECT_EQ(uniqueName("Free", isTaken), "Free");
  std::string name25 = "Temperature_of_the_room_X";
  ASSERT_EQ(name25.size(), 25u);
  taken.insert(name25);
  EXPECT_EQ(uniqueName(name25, isTaken), name25.substr(0, 20) + "0");
  taken.insert(name25.substr(0, 20) + "0");
  EXPECT_EQ(uniqueName(name25, isTaken), name25.substr(0, 20) + "1");
  taken.insert("_a");
  EXPECT_EQ(uniqueName("1a", isTaken), "_a0");
}

TEST(IdName, NameListsAreSplitTrimmedAndChecked) {
  using V = std::vector<std::string>;
  EXPECT_EQ(splitNameList(" lo , mid,hi\t"), (V{"lo", "mid", "hi"}));
  EXPECT_EQ(splitNameList("  "), V{});
  EXPECT_EQ(splitNameList("a,,b"), (V{"a", "", "b"}));
  EXPECT_EQ(checkNameList({"lo", "mid", "hi"}), "");
  EXPECT_EQ(checkNameList({"lo", "mid", "lo"}), "name 'lo' is repeated");
  EXPECT_EQ(checkNameList({"lo", "2x"}), "'2x' starts with non-alphabetic character '2'");
  EXPECT_NE(checkNameList({"a", "", "b"}), "");
}
