// The token reader: comments, positions, strings and escapes, numbers, lists and located messages.
// Most cases are rows of (input, what is read, the value read or the exact message of the failure).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "Basic/ReaderErrors.h"
#include "Basic/ReaderFixture.h"
#include "Basic/StringQuoter.h"
#include "Basic/TempFolder.h"

using namespace quorva;

namespace {

using std::string_literals::operator""s;

// What a row reads: the text of the value read (failing rows ignore it).
using Read = std::string (*)(TokenReader&);
std::string ident(TokenReader& r) { return r.readIdentifier(); }
std::string quoted(TokenReader& r) { return r.readQuoted(); }
std::string raw(TokenReader& r) { return r.readQuotedRaw(); }
std::string skip(TokenReader& r) { return std::to_string(r.skipSpace()); }
std::string twoTokens(TokenReader& r) {
  std::string first = r.readToken().text;
  return first + r.readToken().text;
}
std::string threeTokens(TokenReader& r) {
  std::string first = twoTokens(r);
  return first + r.readToken().text;
}
std::string truth(Truth t) { return t == Truth::True ? "T" : t == Truth::False ? "F" : "M"; }
std::string truth2(TokenReader& r) { return truth(r.readTruth()); }
std::string truth3(TokenReader& r) { return truth(r.readTruth(true)); }
std::string twoTruths(TokenReader& r) {
  std::string first = truth2(r);
  return first + truth2(r);
}
std::string joined(const std::vector<std::string>& values) {
  std::string out;
  for (const std::string& v : values) out += v + "|";
  return out;
}
std::string list(TokenReader& r) { return joined(r.readValueList("-")); }
std::string params(TokenReader& r) { return joined(r.readParamList()); }
std::string props(TokenReader& r) {
  std::string out;
  for (const auto& [name, value] : r.readPropertyList()) out += name + "=" + value + "|";
  return out;
}

const Syntax MARKUP{.markupComments = true}, WIDE{.utf16Strings = true};
std::string repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

struct Row {
  std::string text;
  Read read;
  std::string want;  // the value read, or the message without its location
  Syntax syntax = {};
  int line = 0, column = 0;  // where a failure is reported
};

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

TEST_F(TokenReaderTest, CommentsEscapesAndListsReadTheirValues) {
  const Row rows[] = {
      {repeat("/#", 32) + repeat("#/", 32) + " ok", ident, "ok"},
      {"# one char introducer\nx", ident, "x", Syntax{{'#', 0}}},
      {"<!-- a -- b --> x", ident, "x", MARKUP},
      {"<![IGNORE[ <a> \">>\\\"\" <b/> ]> y", ident, "y", MARKUP},
      {R"("\C3A9/x")", quoted, "\xC3\xA9x"},  // hex escapes run until a slash
      {R"("\4g")", quoted, "4g"},
      {R"("\41n/n")", quoted, "A\nn"},  // the sticky n is an escape
      {R"("\41"/")", quoted, "A\""},    // so is a sticky quote
      {R"("\c3")", quoted, "c3"},       // lower case is no hex
      {R"("\41\42")", quoted, "A\0B\0\0\0"s, WIDE},  // no sticky mode in UTF-16
      {R"("a\tb\\c\"d\Oe\|f\qg\e\v\f\b\a\r")", quoted, "a\tb\\c\"d\0e" "fqg\x1B\v\f\b\a\r"s},
      {"\"ab\\\n   // skipped\n  /* too */ cd\" next", quoted, "abcd"},  // a line continuation
      {"\"\\Q\x04\"\\\x00!\""s, quoted, "\"\\\0!"s},  // binary escapes keep their bytes
      {"\"\\R\x02\x00" "ab\\S\x01\0\0\0\0\0\0\0" "c\""s, quoted, "abc"},
      {R"("a\"b\C3" x)", raw, R"(a\"b\C3)"},
      {"\"h\xC3\xA9\xF0\x9F\x98\x80\"", quoted, "h\0\xE9\0\x3D\xD8\x00\xDE\0\0"s, WIDE},
      {"\"\\Q\x04\xFE\xFF\x00h\""s, quoted, "\xFF\xFEh\0\0\0"s, WIDE},  // big-endian is swapped
      {"TRUE FALSE", twoTruths, "TF"},
      {"MAYBE", truth3, "M"},
      {"( a, -1.5 , \"s t\",@undef, Pig-Net)", list, "a|-1.5|s t|@undef|Pig-Net|"},
      {" ( ) ", list, ""},
      {"(a, b_2)", params, "a|b_2|"},
      {"(x = 1, label = \"a b\")", props, "x=1|label=a b|"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.read(reader(row.text, row.syntax)), row.want) << row.text;
}

TEST_F(TokenReaderTest, FailuresAreReportedWhereTheyBegan) {
  const Row rows[] = {
      {"\n  /# a /# b #/ c", ident, "unterminated comment, starting with '/#'", {}, 2, 3},
      {repeat("/#", 33), skip, "nested comments '/#' more than 32 deep", {}, 1, 65},
      {"x\n\t/* never closed", twoTokens, "unterminated comment, starting with '/*'", {}, 2, 2},
      {"<!-- x --", skip, "unterminated comment, starting with '<!--'", MARKUP, 1, 1},
      {"\"\\Q\x05" "abc", quoted,
       "reading binary \\Q needed to read 5 bytes, but only read 3 before reaching end-of-input", {}, 1, 8},
      {"\"\\S\x01\x02", quoted, "reading binary \\S reached end-of-input before finished reading length", {}, 1, 6},
      {"x = \"abc\\\"", threeTokens, "unterminated quote mark (\"), starting", {}, 1, 5},
      {"\n\"ab", raw, "unterminated quote (\"), starting", {}, 2, 1},
      {"  abc", quoted, "missing open quote", {}, 1, 3},
      {"TRUE MAYBE", twoTruths, "illegal value 'MAYBE' (should be TRUE or FALSE)", {}, 1, 6},
      {" true", truth3, "illegal value 'true' (should be TRUE, FALSE or MAYBE)", {}, 1, 2},
      {"a, b)", list, "missing '('", {}, 1, 1},
      {"(a b)", list, "missing ','", {}, 1, 4},
      {"(a; b)", list, "illegal punctuation ';'", {}, 1, 3},
      {"(a, b", list, "missing ')'", {}, 1, 6},
      {"(a, )", list, "illegal punctuation ')'", {}, 1, 5},
      {"(a, a)", params, "duplicated parameter 'a'", {}, 1, 5},
      {"(a, 3b)", params, "illegal parameter name: '3b'", {}, 1, 5},
      {"(a,)", params, "missing parameter name", {}, 1, 4},
      {"(a; b)", params, "incorrect punctuation ';' should be comma ',' or parenthesis ')'", {}, 1, 3},
      {"\n (a, b", params, "missing close parenthesis ')' for parameter list", {}, 2, 2},
      {"(x = 1, x = 2)", props, "duplicated property 'x'", {}, 1, 9},
      {"(x : 1)", props, "incorrect punctuation ':' - should be equals '='", {}, 1, 4},
      {"(x 1)", props, "missing equal sign '='", {}, 1, 4},
      {"(x = 1, )", props, "missing property name", {}, 1, 9},
      {"(*x = 1)", props, "incorrect punctuation '*' - expecting a property name", {}, 1, 2},
      {"(9x = 1)", props, "illegal property name: 9x", {}, 1, 2},
  };
  for (const Row& row : rows)
    EXPECT_EQ(failure([&] { row.read(reader(row.text, row.syntax)); }),
              row.want + ", on line " + std::to_string(row.line) + " char " + std::to_string(row.column) +
                  " of file 't.dne'")
        << row.text;

  // An unterminated markup comment is also an unterminated structure.
  env.errors.clearAll();
  EXPECT_EQ(failure([&] { twoTokens(reader("a <![IGNORE[ <x>", MARKUP)); }),
            "unterminated comment, starting with '<![IGNORE[', on line 1 char 3 of file 't.dne'");
  EXPECT_EQ(records(ERROR_SEV),
            "unterminated structure starting with <, on line 1 char 3 of file 't.dne'|"
            "unterminated comment, starting with '<![IGNORE[', on line 1 char 3 of file 't.dne'");
}

TEST_F(TokenReaderTest, CommentsThatAreNotCommentsAndLineEnds) {
  EXPECT_EQ(reader("/# a /# b #/ still comment #/ x").readIdentifier(), "x");  // "/#" comments nest
  EXPECT_EQ(rd->commentDepth(), 0);
  TokenReader& r = reader("/* a /* b */ c */");  // "/*" comments do not nest
  EXPECT_EQ(r.readIdentifier(), "c");
  EXPECT_EQ(r.readPunct(), '*');
  EXPECT_EQ(reader("<!-- x -->").readPunct(), '<');  // markup comments only when the syntax asks
  TokenReader& notComment = reader("<!x", MARKUP);
  EXPECT_EQ(notComment.readPunct(), '<');
  EXPECT_EQ(notComment.readPunct(), '!');
  EXPECT_EQ(reader("// x", Syntax{{0, 0}}).readPunct(), '/');
  for (std::string end : {"\r", "\r\n", "\f", "\n"}) {
    TokenReader& lines = reader("// note" + end + "  x");
    EXPECT_EQ(lines.readIdentifier(), "x") << "ended by " << int(end[0]);
    EXPECT_EQ(lines.tokenStart().line, 2);
    EXPECT_EQ(lines.tokenStart().column, 3);
  }
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

// Numbers longer than a block, or cut by its end, are read whole; skipToken passes over exactly
// the tokens readToken reads, leaving the same start and the same place after each.
TEST_F(TokenReaderTest, SkipTokenAndLongNumbersAgreeWithReadToken) {
  std::string digits(45, '7');
  std::string text = "(0.25, -INF, @undef, #3, 1e5x, " + digits + "." + digits + "e-40, 'q', \"s t\"\r\n" +
                     "caf\xC3\xA9 /* c */ +.5E+2, 4e, @ 6.0e-1) // end\n-12;";
  for (size_t block : {TokenReader::DEFAULT_BLOCK, size_t{1}, size_t{7}, size_t{40}}) {
    SCOPED_TRACE(block);
    TokenReader& a = reader(text, {}, block);
    std::vector<std::string> read, skipped;
    std::vector<double> values;
    for (Token t = a.readToken(); t.kind != TokenKind::End; t = a.readToken()) {
      read.push_back(std::to_string(static_cast<int>(t.kind)) + "@" + std::to_string(t.start.line) + "." +
                     std::to_string(t.start.column) + ">" + std::to_string(a.offset()));
      if (t.kind == TokenKind::Number) values.push_back(t.number.value);
    }
    TokenReader& b = reader(text, {}, block);
    int punct = 0;
    for (TokenKind k = b.skipToken(punct); k != TokenKind::End; k = b.skipToken(punct))
      skipped.push_back(std::to_string(static_cast<int>(k)) + "@" + std::to_string(b.tokenStart().line) + "." +
                        std::to_string(b.tokenStart().column) + ">" + std::to_string(b.offset()));
    EXPECT_EQ(skipped, read);
    EXPECT_EQ(read.size(), 31u);
    std::vector<double> want{0.25, -HUGE_VAL, 1e5, std::stod(digits + "." + digits + "e-40"), 50, 4, 0.6, -12};
    ASSERT_EQ(values.size(), want.size() + 2);  // and "@undef" and "3" (after "#")
    values.erase(values.begin() + 2, values.begin() + 4);
    for (size_t i = 0; i < want.size(); ++i) EXPECT_DOUBLE_EQ(values[i], want[i]) << i;
  }
}

// A reader over a span of the whole text counts positions from where the span starts, and its
// faults name the stream.
TEST_F(TokenReaderTest, SpanReaderKeepsPositionsOfTheWholeText) {
  TempFolder tmp("span");
  const std::string path = tmp.path("span_reader.dne");
  std::ofstream(path, std::ios::binary) << "a = 1;\n  b = (2,\n 3);";
  FileSpec file(&env, FileSpec::Kind::File, path);
  TokenReader whole(file, {}, TokenReader::WHOLE);
  EXPECT_EQ(whole.text(), "a = 1;\n  b = (2,\n 3);");
  TokenReader span(file, whole.text().substr(13), {2, 7});
  Token t = span.readToken();
  EXPECT_EQ(t.text, "(");
  EXPECT_EQ(span.readToken().text, "2");
  span.readToken();
  t = span.readToken();
  EXPECT_EQ(t.text, "3");
  EXPECT_EQ(t.start.line, 3);
  EXPECT_EQ(t.start.column, 2);
  EXPECT_EQ(failure([&] { span.fail(err::MissingOpenQuote); }),
            "missing open quote, on line 3 char 3 of file '" + path + "'");
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

namespace {

// Reads the whole text as bare words (stops "{},;"), words (extra "-") and punctuation in turn,
// each with its start and the place after it.
std::vector<std::string> wordsOf(TokenReader& r) {
  std::vector<std::string> out;
  std::string bare;
  for (int turn = 0; r.skipSpace() != TokenReader::END; ++turn) {
    std::string got;
    if (turn % 2 == 0) {
      r.readBareWord("{},;", bare);
      got = "b:" + bare;
    } else {
      got = "w:" + r.readWord("-");
    }
    if (got.size() == 2) got = "p:" + std::string(1, static_cast<char>(r.readChar()));
    out.push_back(got + "@" + std::to_string(r.tokenStart().line) + "." + std::to_string(r.tokenStart().column) +
                  ">" + std::to_string(r.here().line) + "." + std::to_string(r.here().column));
  }
  return out;
}

}  // namespace

// Words, bare words and the white space between them are taken a run of the block at a time:
// wherever a block ends (inside a word, on a "/" that may open a comment, inside a run of spaces
// and line ends), the words, their starts and the places after them are those read in place.
TEST_F(TokenReaderTest, WordsCutByEveryBlockEndReadAsInPlace) {
  std::string text;
  for (int i = 0; i < 12; ++i)
    text += "Pig-Net" + std::to_string(i) + " a/b//c\n{x_" + std::string(static_cast<size_t>(i) * 7, 'y') +
            "}\t\t,   \r\n a/*c*/d/#e#/;\f" + std::string(static_cast<size_t>(i), ' ') + "caf\xC3\xA9-" +
            std::to_string(i) + "\n\n";
  std::vector<std::string> whole = wordsOf(reader(text));
  ASSERT_GE(whole.size(), 12u * 8u);
  EXPECT_EQ(whole[0], "b:Pig-Net0@1.1>1.9");
  EXPECT_EQ(whole[1], "w:a@1.10>1.11");
  for (size_t block = 1; block <= 70; ++block) {
    SCOPED_TRACE(block);
    EXPECT_EQ(wordsOf(reader(text, {}, block)), whole);
  }
}

// Plain decimals are converted by one division when that is exact; every value must equal the
// full conversion's, on both sides of the bounds (15 significant digits, 22 after the point).
TEST_F(TokenReaderTest, PlainDecimalsEqualTheFullConversion) {
  std::string text;
  std::vector<std::string> texts;
  unsigned seed = 12345;
  auto digit = [&seed] {
    seed = seed * 1103515245u + 12345u;
    return static_cast<char>('0' + (seed >> 16) % 10);
  };
  for (int before = 0; before <= 17; ++before)
    for (int after : {0, 1, 2, 7, 14, 15, 16, 21, 22, 23, 30}) {
      std::string t = before % 3 == 0 ? "-" : before % 3 == 1 ? "+" : "";
      for (int i = 0; i < before; ++i) t += digit();
      if (before == 0) t += "0";
      if (after > 0) t += ".";
      for (int i = 0; i < after; ++i) t += i < after / 2 && before == 0 ? '0' : digit();
      texts.push_back(t);
      text += t + (texts.size() % 2 ? ", " : "\n");
    }
  for (size_t block : {TokenReader::DEFAULT_BLOCK, size_t{33}}) {
    TokenReader& r = reader(text, {}, block);
    for (const std::string& t : texts) {
      Number n;
      ASSERT_TRUE(r.readNumber(n)) << t;
      EXPECT_EQ(n.text, t);
      double want = std::strtod(t.c_str(), nullptr);
      EXPECT_EQ(n.value, want) << t;
      EXPECT_EQ(std::signbit(n.value), std::signbit(want)) << t;
      r.readPunct(',');
    }
  }
  // The fast run through plain numbers gives the same values and leaves the reader where reading
  // one number at a time does; what is not plain (signs, no digits after the point, too many
  // digits) is left for readNumber.
  for (size_t block : {TokenReader::DEFAULT_BLOCK, size_t{33}}) {
    TokenReader& r = reader(text, {}, block);
    std::vector<double> got;
    size_t fast = 0;
    while (got.size() < texts.size()) {
      fast += r.readPlainNumbers(got, texts.size() - got.size(), ',');
      if (got.size() == texts.size()) break;
      r.readPunct(',');  // a separator is left when no plain number follows it
      Number n;
      ASSERT_TRUE(r.readNumber(n)) << texts[got.size()];
      got.push_back(n.value);
      r.readPunct(',');
    }
    for (size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(got[i], std::strtod(texts[i].c_str(), nullptr)) << texts[i];
    EXPECT_GT(fast, 10u);  // the unsigned ones of few digits
    EXPECT_LT(fast, texts.size());
    const uint64_t offset = r.offset();
    const TextPosition at = r.here();
    TokenReader& slow = reader(text, {}, block);  // the fixture's one reader: `r` is gone
    Number n;
    for (size_t i = 0; i < texts.size(); ++i, slow.readPunct(',')) slow.readNumber(n);
    EXPECT_EQ(offset, slow.offset());
    EXPECT_EQ(at.line, slow.here().line);
    EXPECT_EQ(at.column, slow.here().column);
  }
  // Counts: plain digits in range only, nothing taken otherwise.
  TokenReader& c = reader(" 12 7 9x 4.0 99 ");
  uint64_t v = 0;
  EXPECT_TRUE(c.readPlainCount(0, 20, v));
  EXPECT_EQ(v, 12u);
  EXPECT_FALSE(c.readPlainCount(8, 20, v));  // 7 is out of range
  Number n;
  ASSERT_TRUE(c.readNumber(n));
  EXPECT_EQ(n.value, 7);
  EXPECT_FALSE(c.readPlainCount(0, 20, v));  // 9x is a word
  // Twenty digits at the end of the input would overflow: left to the full number reader.
  EXPECT_FALSE(reader("18446744073709551621").readPlainCount(0, 20, v));

  // A separator goes only with the number after it; a needed one ends the run where it is absent;
  // passing over a run gives the count and the last number's place.
  TokenReader& s = reader("1, 2,\n 3 4, @undef");
  std::vector<double> got;
  EXPECT_EQ(s.readPlainNumbers(got, 10, ',', true), 3u);
  EXPECT_EQ(got, (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(s.peek(), '4');  // no separator before it: left, after the blanks
  EXPECT_EQ(s.readPlainNumbers(got, 10, ','), 1u);
  EXPECT_EQ(s.skipSpace(), ',');  // the comma before '@' is left
  TokenReader& k = reader("  5,6 ,\n7;");
  EXPECT_EQ(k.skipPlainNumbers(','), 3u);
  EXPECT_EQ(k.tokenStart().line, 2);
  EXPECT_EQ(k.tokenStart().column, 1);
  EXPECT_EQ(k.skipSpace(), ';');

  // Nested runs take brackets around and between numbers and stop at the closing bracket that
  // ends the nesting, at a number past the count, or at anything else.
  TokenReader& b = reader("((1 0.5)\n (2 3)) 9 ((4 5) 6 -7)");
  TokenReader::Brackets br{'(', ')', 0};
  got.clear();
  EXPECT_EQ(b.readNestedNumbers(got, 10, br), 4u);
  EXPECT_EQ(got, (std::vector<double>{1, 0.5, 2, 3}));
  EXPECT_EQ(br.depth, 0);
  EXPECT_EQ(b.tokenStart().line, 2);
  EXPECT_EQ(b.tokenStart().column, 7);  // the closing bracket
  EXPECT_EQ(b.readNestedNumbers(got, 3, br), 3u);  // 9 4 5, and the brackets before 6
  EXPECT_EQ(br.depth, 1);
  EXPECT_EQ(b.peek(), '6');
  EXPECT_EQ(b.readNestedNumbers(got, 10, br), 1u);  // "-7" is not plain
  EXPECT_EQ(got.back(), 6);
  EXPECT_EQ(b.peek(), '-');
}
