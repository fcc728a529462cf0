// The token reader's characters, positions, comments, words, numbers and located messages.
#include "Basic/TokenReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "Basic/EnvCore.h"
#include "Basic/ReaderErrors.h"

namespace quorva {

namespace {

constexpr size_t MESSAGE_LIMIT = 511;  // what a record keeps of a message

constexpr bool isSpace(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
constexpr bool isDigit(int c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
// Bytes above 127 (UTF-8 sequences) count as word characters, so that a name holding one is
// read whole and refused by the name rule with the whole character shown.
constexpr bool isWordStart(int c) { return isLetter(c) || c == '_' || c >= 0x80; }
constexpr bool isWordChar(int c) { return isWordStart(c) || isDigit(c); }
bool isPunctuation(int c) { return c > ' ' && c < 127 && !isWordChar(c); }
// Whether readNumber may find a number (or "@name") at `c`.
bool mayStartNumber(int c) { return isDigit(c) || c == '+' || c == '-' || c == '.' || c == '@'; }

char lowerAscii(int c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); }

// The value of a decimal text that from_chars found out of range: infinity when its magnitude is
// large, 0 when it is small.
double outOfRange(const std::string& text) {
  bool negative = !text.empty() && text[0] == '-';
  long exponent = 0;
  size_t e = text.find_first_of("eE");
  if (e != std::string::npos) exponent = std::strtol(text.c_str() + e + 1, nullptr, 10);
  std::string mantissa = text.substr(0, e);
  size_t first = mantissa.find_first_of("123456789");
  size_t point = std::min(mantissa.find('.'), mantissa.size());
  long magnitude = first == std::string::npos ? -1 : static_cast<long>(point) - static_cast<long>(first);
  double v = exponent + magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
  return negative ? -v : v;
}

// The powers of ten that doubles hold exactly.
constexpr double TENS[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                           1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The value of [+|-] digits [. digits] when it is found exactly by one division: at most 15
// significant digits (so the digits make an exact integer below 2^53) and at most 22 after the
// point (so the power of ten is exact); one correctly rounded division then gives the same double
// as a full conversion.  False, `value` unset, otherwise.
bool exactDecimal(const std::string& text, double& value) {
  size_t i = text[0] == '+' || text[0] == '-' ? 1 : 0;
  uint64_t digits = 0;
  int significant = 0, after = 0;
  bool point = false;
  for (; i < text.size(); ++i) {
    char c = text[i];
    if (c == '.') {
      point = true;
      continue;
    }
    digits = digits * 10 + static_cast<uint64_t>(c - '0');
    significant += digits != 0;
    after += point;
    if (significant > 15 || after > 22) return false;
  }
  value = static_cast<double>(digits) / TENS[after];
  if (text[0] == '-') value = -value;
  return true;
}

}  // namespace

TokenReader::TokenReader(FileSpec& stream, Syntax syntax, size_t block)
    : stream_(stream), input_(stream.openInput()), syntax_(syntax) {
  const std::string_view* bytes = block == DEFAULT_BLOCK || block == WHOLE ? input_->inPlace() : nullptr;
  if (!bytes && block == WHOLE) {
    char part[1 << 16];
    while (size_t got = input_->read(part, sizeof part)) whole_.append(part, got);
    whole_view_ = whole_;
    bytes = &whole_view_;
  }
  if (bytes) {
    data_ = bytes->data();
    end_ = bytes->size();
    eof_ = true;
    return;
  }
  buf_.resize(std::max(block, 2 * MAX_LOOKAHEAD));
  data_ = buf_.data();
}

TokenReader::TokenReader(FileSpec& stream, std::string_view bytes, TextPosition start, Syntax syntax)
    : stream_(stream), syntax_(syntax), data_(bytes.data()), end_(bytes.size()), eof_(true),
      line_(start.line), column_(start.column), tokenStart_(start) {}

// ---------------------------------------------------------------- characters

bool TokenReader::fill(size_t need) {
  if (end_ - pos_ >= need) return true;
  if (eof_) return false;
  size_t rest = end_ - pos_;
  std::memmove(buf_.data(), buf_.data() + pos_, rest);
  pos_ = 0;
  end_ = rest;
  while (end_ < need && !eof_) {
    size_t got = input_->read(buf_.data() + end_, buf_.size() - end_);
    if (got == 0) eof_ = true;
    end_ += got;
  }
  return end_ >= need;
}

bool TokenReader::skipText(std::string_view text) {
  for (size_t i = 0; i < text.size(); ++i)
    if (peek(i) != static_cast<unsigned char>(text[i])) return false;
  for (size_t i = 0; i < text.size(); ++i) readChar();
  return true;
}

std::string TokenReader::readRestOfLine() {
  std::string line;
  readRestOfLine(line);
  return line;
}

namespace {

// How many of the first bytes of p[0, n) are surely not a line end ('\n', '\r' or '\f'):
// looked at eight at a time, stopping at the word that holds one (or at the last whole word).
inline size_t lineEndsFrom(const char* p, size_t n) {
  size_t i = 0;
  if constexpr (std::endian::native == std::endian::little) {
    constexpr uint64_t ONES = 0x0101010101010101ULL, HIGHS = 0x8080808080808080ULL;
    auto zeroByte = [](uint64_t v) { return (v - ONES) & ~v & HIGHS; };
    for (; i + 8 <= n; i += 8) {
      uint64_t w;
      std::memcpy(&w, p + i, 8);
      if (zeroByte(w ^ (ONES * '\n')) | zeroByte(w ^ (ONES * '\r')) | zeroByte(w ^ (ONES * '\f'))) break;
    }
  }
  return i;
}

}  // namespace

void TokenReader::readRestOfLine(std::string& line) {
  line.clear();
  // Whole runs of the buffered block at a time: nothing in a run ends a line.
  while (pos_ < end_ || fill(1)) {
    const char* from = data_ + pos_;
    size_t n = end_ - pos_, i = lineEndsFrom(from, n);
    while (i < n && from[i] != '\n' && from[i] != '\r' && from[i] != '\f') ++i;
    line.append(from, i);
    takeInLine(i);
    if (i < n) break;
  }
  int c = readChar();
  if (c == '\r' && peek() == '\n') readChar();
}

std::string TokenReader::readRawUntil(std::string_view stops) {
  std::string out;
  for (int c = peek(); c != END; c = peek()) {
    if (c == '\n' || c == '\r' || c == '\f' || stops.find(static_cast<char>(c)) != std::string_view::npos)
      break;
    out += static_cast<char>(readChar());
  }
  return out;
}

// ---------------------------------------------------------------- comments

int TokenReader::skipSpaceSlow() {
  const unsigned char intro = static_cast<unsigned char>(syntax_.lineComment[0]);
  for (;;) {
    if (pos_ >= end_ && !fill(1)) return END;
    int c = static_cast<unsigned char>(data_[pos_]);
    if (c == ' ' || c == '\t' || c == '\n') {
      skipBlanks();  // indentation and padding in one loop
    } else if (isSpace(c)) {
      readChar();
    } else if ((c != '/' && c != '<' && c != intro) || !skipComment()) {
      return c;
    }
  }
}

bool TokenReader::skipComment() {
  int c0 = peek(), c1 = peek(1);
  const char* intro = syntax_.lineComment;
  if (intro[0] && c0 == static_cast<unsigned char>(intro[0]) &&
      (!intro[1] || c1 == static_cast<unsigned char>(intro[1]))) {
    skipLineComment();
    return true;
  }
  if (c0 == '/' && c1 == '*') {
    skipBlockComment();
    return true;
  }
  if (c0 == '/' && c1 == '#') {
    skipNestedComment();
    return true;
  }
  return syntax_.markupComments && c0 == '<' && c1 == '!' && skipMarkup();
}

void TokenReader::enterComment(ErrDef tooDeep) {
  if (depth_ >= MAX_COMMENT_DEPTH) {
    depth_ = 0;
    fail(tooDeep);
  }
  ++depth_;
}

void TokenReader::skipLineComment() {
  for (;;) {
    // The bytes at hand up to a line end are taken in one step.
    const char* from = data_ + pos_;
    const size_t avail = end_ - pos_;
    size_t n = lineEndsFrom(from, avail);
    while (n < avail && from[n] != '\n' && from[n] != '\f' && from[n] != '\r') ++n;
    takeInLine(n);
    int c = readChar();
    if (c == END || c == '\n' || c == '\f') return;
    if (c == '\r') {
      if (peek() == '\n') readChar();
      return;
    }
  }
}

void TokenReader::skipBlockComment() {
  TextPosition start = here();
  skipText("/*");
  for (;;) {
    int c = readChar();
    if (c == END) failAt(start, err::UnterminatedBlockComment);
    if (c == '*' && peek() == '/') {
      readChar();
      return;
    }
  }
}

// Nested "/#" comments: the depth counts the openings not yet closed.
void TokenReader::skipNestedComment() {
  TextPosition start = here();
  int outer = depth_;
  enterComment(err::NestedCommentsTooDeep);
  skipText("/#");
  while (depth_ > outer) {
    int c = peek();
    if (c == END) {
      depth_ = 0;
      failAt(start, err::UnterminatedNestedComment);
    }
    if (c == '/' && peek(1) == '#') {
      enterComment(err::NestedCommentsTooDeep);
      skipText("/#");
    } else if (c == '#' && peek(1) == '/') {
      skipText("#/");
      --depth_;
    } else {
      readChar();
    }
  }
}

bool TokenReader::skipMarkup() {
  if (peek(2) == '-' && peek(3) == '-') {
    TextPosition start = here();
    enterComment(err::MarkupCommentsTooDeep);
    skipText("<!--");
    while (!skipText("-->")) {
      if (readChar() == END) {
        depth_ = 0;
        failAt(start, err::UnterminatedMarkupComment);
      }
    }
    --depth_;
    return true;
  }
  TextPosition start = here();
  if (!skipText("<![IGNORE[")) return false;  // "<!" and anything else is no comment
  skipIgnoreSection(start);
  return true;
}

// After "<![IGNORE[": ends where the angle brackets balance, the opening '<' counting 1.
void TokenReader::skipIgnoreSection(TextPosition start) {
  enterComment(err::MarkupCommentsTooDeep);
  auto unterminated = [&] {
    depth_ = 0;
    recordError(start, err::UnterminatedStructure, '<');
    failAt(start, err::UnterminatedIgnoreSection);
  };
  long count = 1;
  while (count >= 1) {
    int c = readChar();
    if (c == END) unterminated();
    if (c == '<') ++count;
    if (c == '>') --count;
    if (c != '"') continue;
    for (c = readChar(); c != '"'; c = readChar()) {
      if (c == '\\') c = readChar();
      if (c == END) unterminated();
    }
  }
  --depth_;
}

// ---------------------------------------------------------------- words, numbers, punctuation

std::string TokenReader::readIdentifier() {
  int c = skipSpace();
  startToken();
  if (c == END || !isWordStart(c)) return "";
  return readWord();
}

std::string TokenReader::readWord(std::string_view extra) {
  skipSpace();
  startToken();
  std::string out;
  for (;;) {
    // The run of word characters at hand in one step (none of them ends a line).
    const char* from = data_ + pos_;
    size_t n = end_ - pos_, i = 0;
    while (i < n && (isWordChar(static_cast<unsigned char>(from[i])) ||
                     extra.find(from[i]) != std::string_view::npos))
      ++i;
    out.append(from, i);
    if (i < n) {
      takeInLine(i);
      return out;
    }
    // The run reached the end of the bytes at hand: one character at a time across the refill.
    takeInLine(i);
    if (!fill(1)) return out;
    int c = static_cast<unsigned char>(data_[pos_]);
    if (!isWordChar(c) && extra.find(static_cast<char>(c)) == std::string_view::npos) return out;
    out += static_cast<char>(readChar());
  }
}

std::string TokenReader::readBareWord(std::string_view stops) {
  std::string out;
  readBareWord(stops, out);
  return out;
}

void TokenReader::readBareWord(std::string_view stops, std::string& out) {
  skipSpace();
  startToken();
  out.clear();
  // The bytes that end a run, made again only when the stops change (words are most often read
  // with the stops of the word before).
  if (stops != wordStops_) {
    wordStops_.assign(stops);
    uint64_t* ends = wordEnds_;
    ends[0] = (uint64_t{1} << 33) - 1;
    ends[1] = ends[2] = ends[3] = 0;
    for (char c : stops) {
      const unsigned char u = static_cast<unsigned char>(c);
      ends[u >> 6] |= uint64_t{1} << (u & 63);
    }
    ends['/' >> 6] |= uint64_t{1} << ('/' & 63);
  }
  const uint64_t* ends = wordEnds_;
  for (;;) {
    // The run of the bytes at hand that can neither end the word nor open a comment, in one step
    // (none of them ends a line).
    const char* from = data_ + pos_;
    size_t n = end_ - pos_, i = 0;
    while (i < n) {
      const unsigned char c = static_cast<unsigned char>(from[i]);
      if ((ends[c >> 6] >> (c & 63)) & 1) break;
      ++i;
    }
    out.append(from, i);
    takeInLine(i);
    if (i == n) {
      if (!fill(1)) return;
      continue;
    }
    if (from[i] != '/' || stops.find('/') != std::string_view::npos) return;
    if (peek(1) == '/' || peek(1) == '*' || peek(1) == '#') return;  // a comment opens
    out += static_cast<char>(readChar());
  }
}

bool TokenReader::startsNumber() {
  size_t i = peek() == '+' || peek() == '-' ? 1 : 0;
  if (isDigit(peek(i))) return true;
  return peek(i) == '.' && isDigit(peek(i + 1));
}

void TokenReader::readDigits(std::string& text) {
  while (isDigit(peek())) text += static_cast<char>(readChar());
}

bool TokenReader::readInfinity(Number& out) {
  size_t sign = peek() == '+' || peek() == '-' ? 1 : 0;
  static const char* const words[] = {"infinity", "inf"};
  for (const char* w : words) {
    size_t n = std::strlen(w), i = 0;
    while (i < n && lowerAscii(peek(sign + i)) == w[i]) ++i;
    if (i < n || isWordChar(peek(sign + n))) continue;
    for (size_t k = 0; k < sign + n; ++k) out.text += static_cast<char>(readChar());
    out.value = out.text[0] == '-' ? -HUGE_VAL : HUGE_VAL;
    return true;
  }
  return false;
}

// The length of the number that starts here (startsNumber holds), when all of it stands in the
// bytes at hand; 0 when it may go on past them.
size_t TokenReader::numberLength(bool& fraction, bool& exponent) {
  size_t want = eof_ ? 0 : std::min<size_t>(64, buf_.size());
  if (end_ - pos_ < want) fill(want);
  const char* p = data_ + pos_;
  size_t avail = end_ - pos_;
  auto at = [&](size_t k) { return k < avail ? static_cast<unsigned char>(p[k]) : END; };
  size_t i = at(0) == '+' || at(0) == '-' ? 1 : 0;
  while (isDigit(at(i))) ++i;
  fraction = at(i) == '.';
  if (fraction)
    for (++i; isDigit(at(i));) ++i;
  size_t sign = at(i + 1) == '+' || at(i + 1) == '-' ? 1 : 0;
  exponent = (at(i) == 'e' || at(i) == 'E') && isDigit(at(i + 1 + sign));
  if (exponent)
    for (i += 2 + sign; isDigit(at(i));) ++i;
  if (!eof_ && i + 3 > avail) return 0;
  return i;
}

bool TokenReader::readNumber(Number& out) {
  int c = skipSpace();
  startToken();
  out.value = 0;  // cleared field by field, so that the strings keep their room
  out.integral = false;
  out.text.clear();
  out.escape.clear();
  if (c == '@' && (isLetter(peek(1)) || peek(1) == '_')) {
    readChar();
    out.escape = readWord();
    out.text = "@" + out.escape;
    out.value = std::numeric_limits<double>::quiet_NaN();
    return true;
  }
  if (!startsNumber()) return readInfinity(out);
  std::string& t = out.text;
  bool fraction = false, exponent = false;
  if (size_t n = numberLength(fraction, exponent)) {
    t.assign(data_ + pos_, n);  // no line end within: taken in one step
    takeInLine(n);
  } else {
    if (peek() == '+' || peek() == '-') t += static_cast<char>(readChar());
    readDigits(t);
    fraction = peek() == '.';
    if (fraction) {
      t += static_cast<char>(readChar());
      readDigits(t);
    }
    size_t sign = peek(1) == '+' || peek(1) == '-' ? 1 : 0;
    exponent = (peek() == 'e' || peek() == 'E') && isDigit(peek(1 + sign));
    if (exponent) {
      for (size_t k = 0; k <= sign; ++k) t += static_cast<char>(readChar());
      readDigits(t);
    }
  }
  out.integral = !fraction && !exponent;
  if (!exponent && exactDecimal(t, out.value)) return true;
  const char* first = t.c_str() + (t[0] == '+' ? 1 : 0);
  auto [ptr, ec] = std::from_chars(first, t.c_str() + t.size(), out.value);
  if (ec == std::errc::result_out_of_range) out.value = outOfRange(t);
  return true;
}

namespace {

// The end of the run of spaces in data[from, end).  Padding is common in tables, so eight bytes
// are looked at a time.
inline size_t spacesEnd(const char* data, size_t from, size_t end) {
  if (from < end && data[from] != ' ') return from;  // one space alone, the most common
  if constexpr (std::endian::native == std::endian::little) {
    constexpr uint64_t SPACES = 0x2020202020202020ULL;
    for (; from + 8 <= end; from += 8) {
      uint64_t word;
      std::memcpy(&word, data + from, 8);
      if (const uint64_t other = word ^ SPACES) return from + static_cast<size_t>(std::countr_zero(other) / 8);
    }
  }
  while (from < end && data[from] == ' ') ++from;
  return from;
}

// A place in the bytes being read, kept in locals by the fast loops (a store through a char
// pointer could alias the reader's members).  The column is pos + base, so that moving along a
// line changes only pos.
struct Cursor {
  size_t pos;
  long line, base;
  Cursor(size_t p, long l, long column) : pos(p), line(l), base(column - static_cast<long>(p)) {}
  long column() const { return static_cast<long>(pos) + base; }
};

// Passes over spaces, tabs and line feeds.
inline void passBlanks(const char* data, size_t end, Cursor& at) {
  size_t pos = at.pos;
  while (pos < end) {
    const char c = data[pos];
    if (c == ' ') {
      pos = spacesEnd(data, pos + 1, end);
    } else if (c == '\t') {
      ++pos;
    } else if (c == '\n') {
      ++at.line;
      ++pos;
      at.base = 1 - static_cast<long>(pos);
    } else {
      break;
    }
  }
  at.pos = pos;
}

// The bytes that may stand right after a plain number: none that could continue it (a digit, a
// letter, '_', '.', or a byte of a UTF-8 sequence).
constexpr auto ENDS_NUMBER = [] {
  std::array<bool, 256> ends{};
  for (int c = 0; c < 256; ++c) ends[c] = !isWordChar(c) && c != '.';
  return ends;
}();

// The length of the plain number at the start of p[0, avail), when all of it and the byte after
// it are at hand (`more`: bytes may follow p[avail - 1]); 0 for anything else.  Its value is
// exact when its digits make an integer of at most 2^53 and at most 22 of them follow the point:
// one correctly rounded division then gives what a full conversion gives.
[[gnu::always_inline]] inline size_t plainNumberLength(const char* p, size_t avail, bool more, uint64_t& digits,
                                                      size_t& after) {
  after = 0;
  // One digit alone, as most entries of deterministic tables are.
  if (avail >= 2 && static_cast<unsigned char>(p[0] - '0') < 10 && ENDS_NUMBER[static_cast<unsigned char>(p[1])]) {
    digits = static_cast<uint64_t>(p[0] - '0');
    return 1;
  }
  const size_t limit = std::min<size_t>(avail, 40);
  size_t i = 0;
  digits = 0;
  for (; i < limit && static_cast<unsigned char>(p[i] - '0') < 10; ++i) digits = digits * 10 + static_cast<uint64_t>(p[i] - '0');
  if (i > 0 && i < limit && p[i] == '.') {
    const size_t point = ++i;
    for (; i < limit && static_cast<unsigned char>(p[i] - '0') < 10; ++i) digits = digits * 10 + static_cast<uint64_t>(p[i] - '0');
    after = i - point;
    if (after == 0) return 0;
  }
  if (i == 0 || i >= 20 || after > 22 || digits > (uint64_t{1} << 53)) return 0;
  if (i == avail ? more : i == limit || !ENDS_NUMBER[static_cast<unsigned char>(p[i])]) return 0;
  return i;
}

}  // namespace

void TokenReader::skipBlanks() {
  Cursor at{pos_, line_, column_};
  passBlanks(data_, end_, at);
  offset_ += at.pos - pos_;
  pos_ = at.pos;
  line_ = at.line;
  column_ = at.column();
}

template <bool Nested, class Take>
size_t TokenReader::plainNumbers(size_t max, char sep, bool sepNeeded, bool first, Take take, Brackets* brackets) {
  const char* const data = data_;
  const size_t end = end_;
  const bool more = !eof_;
  Cursor at{pos_, line_, column_};
  TextPosition start = tokenStart_;
  size_t got = 0;
  while (Nested || got < max) {
    passBlanks(data, end, at);
    if constexpr (Nested) {
      const char c = at.pos < end ? data[at.pos] : 0;
      if (c == brackets->open || c == brackets->close) {
        start = {at.line, at.column()};
        ++at.pos;
        if (c == brackets->open) {
          ++brackets->depth;
        } else if (--brackets->depth == 0) {
          break;
        }
        continue;
      }
      if (got == max) break;
    }
    // A separator is taken only with the number after it.
    Cursor next = at;
    if (sep) {
      const bool follows = !(first && got == 0);  // a number stands before this one
      if (next.pos < end && data[next.pos] == sep && follows) {
        ++next.pos;
        passBlanks(data, end, next);
      } else if (sepNeeded && follows) {
        break;
      }
    }
    uint64_t digits = 0;
    size_t after = 0;
    const size_t n = plainNumberLength(data + next.pos, end - next.pos, more, digits, after);
    if (n == 0) break;
    start = {next.line, next.column()};
    take(digits, after);
    at = next;
    at.pos += n;
    ++got;
  }
  offset_ += at.pos - pos_;
  pos_ = at.pos;
  line_ = at.line;
  column_ = at.column();
  tokenStart_ = start;
  return got;
}

namespace {
// What the number runs do with each number they read: append its value to `out`.
auto appendTo(std::vector<double>& out) {
  return [&out](uint64_t digits, size_t after) {
    out.push_back(after == 0 ? static_cast<double>(digits) : static_cast<double>(digits) / TENS[after]);
  };
}
}  // namespace

size_t TokenReader::readPlainNumbers(std::vector<double>& out, size_t max, char sep, bool sepNeeded) {
  return plainNumbers<false>(max, sep, sepNeeded, out.empty(), appendTo(out));
}

size_t TokenReader::readNestedNumbers(std::vector<double>& out, size_t max, Brackets& brackets) {
  return plainNumbers<true>(max, 0, false, true, appendTo(out), &brackets);
}

size_t TokenReader::skipPlainNumbers(char sep) {
  return plainNumbers<false>(SIZE_MAX, sep, false, true, [](uint64_t, size_t) {});
}

bool TokenReader::readPlainCount(uint64_t low, uint64_t high, uint64_t& out) {
  int c = skipSpace();
  if (c < '0' || c > '9') return false;
  // Digits alone, at most 18 of them (no overflow), and then a byte that ends a number.
  const char* p = data_ + pos_;
  const size_t avail = std::min<size_t>(end_ - pos_, 19);
  uint64_t v = 0;
  size_t n = 0;
  for (; n < avail && static_cast<unsigned char>(p[n] - '0') < 10; ++n) v = v * 10 + static_cast<uint64_t>(p[n] - '0');
  if (n == 19 || (n == end_ - pos_ ? !eof_ : !ENDS_NUMBER[static_cast<unsigned char>(p[n])])) return false;
  if (v < low || v > high) return false;
  startToken();
  takeInLine(n);
  out = v;
  return true;
}

int TokenReader::readPunct() {
  int c = skipSpace();
  startToken();
  if (!isPunctuation(c)) return 0;
  return readChar();
}

Token TokenReader::readToken() {
  Token t;
  readToken(t);
  return t;
}

void TokenReader::readToken(Token& t) {
  t.kind = TokenKind::End;
  t.text.clear();
  t.number.value = 0;
  t.number.integral = false;
  t.number.text.clear();
  t.number.escape.clear();
  int c = skipSpace();
  t.start = here();
  if (c == END) {
    startToken();
    return;
  }
  if (c == '"') {
    t.kind = TokenKind::String;
    t.text = readQuoted();
  } else if (isWordStart(c)) {
    t.kind = TokenKind::Word;
    t.text = readWord();
  } else if (mayStartNumber(c) && readNumber(t.number)) {
    t.kind = TokenKind::Number;
    t.text = t.number.text;
  } else {
    t.kind = TokenKind::Punct;
    t.text.assign(1, static_cast<char>(readChar()));
  }
  tokenStart_ = t.start;
}

TokenKind TokenReader::skipToken(int& punct) {
  int c = skipSpace();
  startToken();
  if (c == END) return TokenKind::End;
  if (c == '"') {
    readQuoted();
    return TokenKind::String;
  }
  TextPosition start = here();
  TokenKind kind = TokenKind::Number;
  bool fraction = false, exponent = false;
  if (isWordStart(c)) {
    kind = TokenKind::Word;
    while (isWordChar(peek())) takeInLine(1);
  } else if (size_t n = startsNumber() ? numberLength(fraction, exponent) : 0) {
    takeInLine(n);
  } else if (Number number; !mayStartNumber(c) || !readNumber(number)) {
    kind = TokenKind::Punct;
    punct = readChar();
  }
  tokenStart_ = start;
  return kind;
}

// ---------------------------------------------------------------- messages

std::string TokenReader::suffix(TextPosition at) const {
  const std::string kind(context_.kind), name(context_.name), field(context_.field);
  std::string s;
  if (!kind.empty() && !name.empty() && !field.empty())
    s = ", while reading field `" + field + "` of " + kind + " '" + name + "'";
  else if (!kind.empty() && !name.empty())
    s = ", while reading " + kind + " '" + name + "'";
  else if (!kind.empty())
    s = ", while reading a " + kind;
  std::string path = stream_.displayName();
  if (at.known()) {
    s += format(", on line %ld char %ld", at.line, at.column);
    if (!path.empty()) s += " of file '" + path + "'";
  } else if (!path.empty()) {
    s += ", in file '" + path + "'";
  }
  return s;
}

ErrorRecord* TokenReader::raise(int severity, TextPosition at, int number, std::string text) {
  std::string tail = suffix(at);
  // Keep the whole suffix when the message is long: the place matters more than the last words.
  if (tail.size() > MESSAGE_LIMIT / 2) tail.resize(MESSAGE_LIMIT / 2);
  if (text.size() + tail.size() > MESSAGE_LIMIT) text.resize(MESSAGE_LIMIT - tail.size());
  return raiseRecord(env(), SOUND_AND_PRINTED, severity, 0, -number, text + tail);
}

}  // namespace quorva
