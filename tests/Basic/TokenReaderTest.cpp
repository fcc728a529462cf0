// The token reader: comments, positions, strings and escapes, numbers, lists and located messages.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Basic/ReaderErrors.h"
#include "Basic/ReaderFixture.h"
#include "Basic/StringQuoter.h"

using namespace quorva;

namespace {

using std::string_literals::operator""s;

class TokenReaderTest : public ReaderTest {
 protected:
  // The kind and text of every token up to the end.
  std::vector<std::string> tokens(TokenReader& r) {
    std::vector<std::string> out;
    for (Token t = r.readToken(); t.kind != TokenKind::End; t = r.readToken())
      out.push_back(std::to_string(static_cast<int>(t.kind)) + ":" + t.text + "@" +
                    std::to_string(t.start.line) + "." + std::to_string(t.start.column));
    return out;
  }
};

TEST_F(TokenReaderTest, HashCommentsNestAndEndOnlyAtTheMatchingClose) {
  EXPECT_EQ(reader("/# a /# b #/ still comment #/ x").readIdentifier(), "x");
  EXPECT_EQ(rd->commentDepth(), 0);
  EXPECT_EQ(failure([&] { reader("\n  /# a /# b #/ c").readIdentifier(); }),
            "unterminated comment, starting with '/#', on line 2 char 3 of file 't.dne'");
}

TEST_F(TokenReaderTest, ThirtyThreeNestedHashCommentsFailAtTheLastOpening) {
  std::string deep32, deep33;
  for (int i = 0; i < 32; ++i) deep32 += "/#";
  for (int i = 0; i < 32; ++i) deep32 += "#/";
  EXPECT_EQ(reader(deep32 + " ok").readIdentifier(), "ok");
  for (int i = 0; i < 33; ++i) deep33 += "/#";
  EXPECT_EQ(failure([&] { reader(deep33).skipSpace(); }),
            "nested comments '/#' more than 32 deep, on line 1 char 65 of file 't.dne'");
}

TEST_F(TokenReaderTest, SlashStarCommentsDoNotNest) {
  TokenReader& r = reader("/* a /* b */ c */");
  EXPECT_EQ(r.readIdentifier(), "c");
  EXPECT_EQ(r.readPunct(), '*');
  EXPECT_EQ(failure([&] { reader("x\n\t/* never closed").readToken(), rd->readToken(); }),
            "unterminated comment, starting with '/*', on line 2 char 2 of file 't.dne'");
}

TEST_F(TokenReaderTest, LineCommentsEndAtCrCrLfFormFeedAndLf) {
  for (std::string end : {"\r", "\r\n", "\f", "\n"}) {
    TokenReader& r = reader("// note" + end + "  x");
    EXPECT_EQ(r.readIdentifier(), "x") << "ended by " << int(end[0]);
    EXPECT_EQ(r.tokenStart().line, 2);
    EXPECT_EQ(r.tokenStart().column, 3);
  }
  Syntax hash;
  hash.lineComment[0] = '#';
  hash.lineComment[1] = 0;
  EXPECT_EQ(reader("# one char introducer\nx", hash).readIdentifier(), "x");
  Syntax none;
  none.lineComment[0] = 0;
  TokenReader& r = reader("// x", none);
  EXPECT_EQ(r.readPunct(), '/');
}

TEST_F(TokenReaderTest, MarkupCommentsOnlyWhenTheSyntaxAsks) {
  Syntax markup;
  markup.markupComments = true;
  EXPECT_EQ(reader("<!-- a -- b --> x", markup).readIdentifier(), "x");
  EXPECT_EQ(reader("<![IGNORE[ <a> \">>\\\"\" <b/> ]> y", markup).readIdentifier(), "y");
  TokenReader& notComment = reader("<!x", markup);
  EXPECT_EQ(notComment.readPunct(), '<');
  EXPECT_EQ(notComment.readPunct(), '!');
  EXPECT_EQ(reader("<!-- x -->").readPunct(), '<');

  EXPECT_EQ(failure([&] { reader("a <![IGNORE[ <x>", markup).readToken(), rd->readToken(); }),
            "unterminated comment, starting with '<![IGNORE[', on line 1 char 3 of file 't.dne'");
  EXPECT_EQ(records(ERROR_SEV),
            "unterminated structure starting with <, on line 1 char 3 of file 't.dne'|"
            "unterminated comment, starting with '<![IGNORE[', on line 1 char 3 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("<!-- x --", markup).skipSpace(); }),
            "unterminated comment, starting with '<!--', on line 1 char 1 of file 't.dne'");
}

TEST_F(TokenReaderTest, HexEscapesRunStickilyUntilSlash) {
  EXPECT_EQ(reader(R"("\C3A9/x")").readQuoted(), "\xC3\xA9x");
  EXPECT_EQ(reader(R"("\4g")").readQuoted(), "4g");
  EXPECT_EQ(reader(R"("\41n/n")").readQuoted(), "A\nn");    // the sticky n is an escape
  EXPECT_EQ(reader(R"("\41"/")").readQuoted(), "A\"");      // so is a sticky quote
  EXPECT_EQ(reader(R"("\c3")").readQuoted(), "c3");         // lower case is no hex
  Syntax wide;
  wide.utf16Strings = true;
  EXPECT_EQ(reader(R"("\41\42")", wide).readQuoted(), "A\0B\0\0\0"s);  // no sticky mode
}

TEST_F(TokenReaderTest, NamedEscapesSeparatorsAndLineContinuations) {
  EXPECT_EQ(reader(R"("a\tb\\c\"d\Oe\|f\qg\e\v\f\b\a\r")").readQuoted(),
            "a\tb\\c\"d\0e" "fqg\x1B\v\f\b\a\r"s);
  TokenReader& r = reader("\"ab\\\n   // skipped\n  /* too */ cd\" next");
  EXPECT_EQ(r.readQuoted(), "abcd");
  EXPECT_EQ(r.readIdentifier(), "next");
  EXPECT_EQ(r.tokenStart().line, 3);
}

TEST_F(TokenReaderTest, BinaryEscapesStoreTheirBytesUnchanged) {
  EXPECT_EQ(reader("\"\\Q\x04\"\\\x00!\""s).readQuoted(), "\"\\\0!"s);
  EXPECT_EQ(reader("\"\\R\x02\x00" "ab\\S\x01\0\0\0\0\0\0\0" "c\""s).readQuoted(), "abc");
  EXPECT_EQ(failure([&] { reader("\"\\Q\x05" "abc").readQuoted(); }),
            "reading binary \\Q needed to read 5 bytes, but only read 3 before reaching "
            "end-of-input, on line 1 char 8 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("\"\\S\x01\x02"s).readQuoted(); }),
            "reading binary \\S reached end-of-input before finished reading length, on line 1 "
            "char 6 of file 't.dne'");
}

TEST_F(TokenReaderTest, UnterminatedAndMissingQuotesAreReportedWhereTheStringBegan) {
  EXPECT_EQ(failure([&] { reader("x = \"abc\\\"").readToken(), rd->readToken(), rd->readToken(); }),
            "unterminated quote mark (\"), starting, on line 1 char 5 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("\n\"ab").readQuotedRaw(); }),
            "unterminated quote (\"), starting, on line 2 char 1 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("  abc").readQuoted(); }),
            "missing open quote, on line 1 char 3 of file 't.dne'");
  EXPECT_EQ(reader(R"("a\"b\C3" x)").readQuotedRaw(), R"(a\"b\C3)");
}

TEST_F(TokenReaderTest, NormalizationFormCOnlyWhenTheSettingIsOn) {
  const std::string decomposed = "\"e\xCC\x81t\xC3\xA9\"";  // e + combining acute, then é
  EXPECT_EQ(reader(decomposed).readQuoted(), "e\xCC\x81t\xC3\xA9");
  EXPECT_EQ(records(NOTICE_SEV), "");

  ASSERT_EQ(env.settings.set(NFC_STRINGS_SETTING, "on"), "");
  EXPECT_EQ(reader(decomposed).readQuoted(), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(records(NOTICE_SEV), "Contains Unicode not in Normalization Form C.  Converting.\n");
  EXPECT_EQ(reader("\"t\xC3\xA9 \xFF\"").readQuoted(), "t\xC3\xA9 \xFF");  // composed or not UTF-8
  EXPECT_EQ(records(NOTICE_SEV), "Contains Unicode not in Normalization Form C.  Converting.\n");
}

TEST_F(TokenReaderTest, Utf16StringsEndInTwoZerosAndBigEndianIsSwapped) {
  Syntax wide;
  wide.utf16Strings = true;
  EXPECT_EQ(reader("\"h\xC3\xA9\xF0\x9F\x98\x80\"", wide).readQuoted(),
            "h\0\xE9\0\x3D\xD8\x00\xDE\0\0"s);
  EXPECT_EQ(reader("\"\\Q\x04\xFE\xFF\x00h\""s, wide).readQuoted(), "\xFF\xFEh\0\0\0"s);
}

TEST_F(TokenReaderTest, TruthValuesRefuseMaybeWhereOnlyTwoAreAllowed) {
  TokenReader& r = reader("TRUE FALSE MAYBE");
  EXPECT_EQ(r.readTruth(), Truth::True);
  EXPECT_EQ(r.readTruth(), Truth::False);
  EXPECT_EQ(failure([&] { r.readTruth(); }),
            "illegal value 'MAYBE' (should be TRUE or FALSE), on line 1 char 12 of file 't.dne'");
  EXPECT_EQ(reader("MAYBE").readTruth(true), Truth::Maybe);
  EXPECT_EQ(failure([&] { reader(" true").readTruth(true); }),
            "illegal value 'true' (should be TRUE, FALSE or MAYBE), on line 1 char 2 of file 't.dne'");
}

TEST_F(TokenReaderTest, ContextSuffixNamesFieldObjectAndPlace) {
  TokenReader& r = reader("abc");
  r.readIdentifier();
  {
    ContextScope scope(r, {"node", "Rain", "probs"});
    EXPECT_EQ(r.suffix(r.here()), ", while reading field `probs` of node 'Rain', on line 1 char 4 of file 't.dne'");
    ContextScope inner(r, {"node", "Rain", ""});
    EXPECT_EQ(r.suffix({}), ", while reading node 'Rain', in file 't.dne'");
  }
  ContextScope kindOnly(r, {"bnet", "", ""});
  EXPECT_EQ(r.suffix(r.tokenStart()), ", while reading a bnet, on line 1 char 1 of file 't.dne'");

  FileSpec unnamed(&env, FileSpec::Kind::Memory, "");
  TokenReader u(unnamed);
  EXPECT_EQ(u.suffix(u.here()), ", on line 1 char 1 of file 'In-memory File'");
}

TEST_F(TokenReaderTest, NumbersIntegersRealsInfinitiesAndEscapes) {
  TokenReader& r = reader("12 -3.5e2 .25 +7 -INFINITY inf 1e999 -1e999 1e-999 @imposs 4e 1.5E+3");
  std::vector<double> want{12, -350, 0.25, 7, -HUGE_VAL, HUGE_VAL, HUGE_VAL, -HUGE_VAL, 0};
  for (double w : want) {
    Number n;
    ASSERT_TRUE(r.readNumber(n));
    EXPECT_EQ(n.value, w) << n.text;
    EXPECT_EQ(n.integral, n.text == "12" || n.text == "+7") << n.text;
  }
  Number n;
  ASSERT_TRUE(r.readNumber(n));
  EXPECT_EQ(n.escape, "imposs");
  EXPECT_TRUE(std::isnan(n.value));
  ASSERT_TRUE(r.readNumber(n));
  EXPECT_EQ(n.text, "4");  // an "e" without digits is not an exponent
  EXPECT_FALSE(r.readNumber(n));
  EXPECT_EQ(r.readIdentifier(), "e");
  ASSERT_TRUE(r.readNumber(n));
  EXPECT_EQ(n.value, 1500);
}

TEST_F(TokenReaderTest, ListsReadItemsAndReportTheirPunctuation) {
  EXPECT_EQ(reader("( a, -1.5 , \"s t\",@undef, Pig-Net)").readValueList("-"),
            (std::vector<std::string>{"a", "-1.5", "s t", "@undef", "Pig-Net"}));
  EXPECT_TRUE(reader(" ( ) ").readValueList().empty());
  EXPECT_EQ(failure([&] { reader("a, b)").readValueList(); }), "missing '(', on line 1 char 1 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a b)").readValueList(); }), "missing ',', on line 1 char 4 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a; b)").readValueList(); }),
            "illegal punctuation ';', on line 1 char 3 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a, b").readValueList(); }), "missing ')', on line 1 char 6 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a, )").readValueList(); }),
            "illegal punctuation ')', on line 1 char 5 of file 't.dne'");
}

TEST_F(TokenReaderTest, ParameterListsWantLegalUniqueNames) {
  EXPECT_EQ(reader("(a, b_2)").readParamList(), (std::vector<std::string>{"a", "b_2"}));
  EXPECT_EQ(failure([&] { reader("(a, a)").readParamList(); }),
            "duplicated parameter 'a', on line 1 char 5 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a, 3b)").readParamList(); }),
            "illegal parameter name: '3b', on line 1 char 5 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a,)").readParamList(); }),
            "missing parameter name, on line 1 char 4 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(a; b)").readParamList(); }),
            "incorrect punctuation ';' should be comma ',' or parenthesis ')', on line 1 char 3 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("\n (a, b").readParamList(); }),
            "missing close parenthesis ')' for parameter list, on line 2 char 2 of file 't.dne'");
}

TEST_F(TokenReaderTest, PropertyListsPairNamesWithValues) {
  using Props = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(reader("(x = 1, label = \"a b\")").readPropertyList(), (Props{{"x", "1"}, {"label", "a b"}}));
  EXPECT_EQ(failure([&] { reader("(x = 1, x = 2)").readPropertyList(); }),
            "duplicated property 'x', on line 1 char 9 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(x : 1)").readPropertyList(); }),
            "incorrect punctuation ':' - should be equals '=', on line 1 char 4 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(x 1)").readPropertyList(); }), "missing equal sign '=', on line 1 char 4 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(x = 1, )").readPropertyList(); }), "missing property name, on line 1 char 9 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(*x = 1)").readPropertyList(); }),
            "incorrect punctuation '*' - expecting a property name, on line 1 char 2 of file 't.dne'");
  EXPECT_EQ(failure([&] { reader("(9x = 1)").readPropertyList(); }),
            "illegal property name: 9x, on line 1 char 2 of file 't.dne'");
}

TEST_F(TokenReaderTest, TinyBlocksGiveTheSameTokensAndPositions) {
  std::string text;
  for (int i = 0; i < 40; ++i)
    text += "node N" + std::to_string(i) + " /* c\r\n */ = \"v\\C3A9/\\\n  w\";\r// end\f" +
            std::to_string(i * 1.5) + "\n";
  std::vector<std::string> whole = tokens(reader(text));
  std::vector<std::string> tiny = tokens(reader(text, {}, 1));
  EXPECT_EQ(tiny, whole);
  EXPECT_EQ(whole.size(), 40u * 6u);
  EXPECT_EQ(whole[3], "3:v\xC3\xA9w@2.7");
  EXPECT_EQ(whole[5], "2:0.000000@5.1");
  EXPECT_EQ(whole[9], "3:v\xC3\xA9w@7.7");
}

TEST_F(TokenReaderTest, QuotedStringsReadBackEveryByte) {
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  const std::vector<std::string> texts{all, "\xC3\xA9x", "\xC3\xA9" "4", "a\"b\\", "\x01" "A", "tail\x80"};
  for (const std::string& t : texts) {
    EXPECT_EQ(reader(quoteString(t) + " rest").readQuoted(), t) << quoteString(t);
    EXPECT_EQ(reader(quoteString(t, {true})).readQuoted(), t) << quoteString(t, {true});
  }
  EXPECT_EQ(quoteString("\xC3\xA9x"), R"("\C3A9/x")");
  EXPECT_EQ(quoteString("\xC3\xA9x", {true}), "\"\xC3\xA9x\"");
  EXPECT_EQ(quoteString("a\tb\n\"\\\x7F"), R"("a\tb\n\"\\\7F/")");
  EXPECT_EQ(escapeChar(0x01), R"(\01)");
}

}  // namespace
