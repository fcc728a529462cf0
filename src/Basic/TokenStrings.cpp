// The token reader's quoted strings: escapes, binary runs, NFC and UTF-16 (rules in TokenReader.h).
#include <cstdint>

#include "Basic/EnvCore.h"
#include "Basic/ReaderErrors.h"
#include "Basic/TokenReader.h"
#include "Basic/Unicode.h"

namespace quorva {

namespace {

bool isSpace(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool isHexDigit(int c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }
int hexValue(int c) { return c <= '9' ? c - '0' : c - 'A' + 10; }

// The byte that a named escape stands for, or -1 when the letter names none.
int namedEscape(int c) {
  switch (c) {
    case 'n': return '\n';
    case 'r': return '\r';
    case 't': return '\t';
    case 'v': return '\v';
    case 'f': return '\f';
    case 'b': return '\b';
    case 'a': return '\a';
    case 'e': return 27;
    case 'O': return 0;
    default: return -1;
  }
}

}  // namespace

std::string TokenReader::readQuoted() {
  int c = skipSpace();
  startToken();
  if (c != '"') fail(err::MissingOpenQuote);
  TextPosition start = here();
  readChar();
  std::string out;
  bool sticky = false;
  for (;;) {
    c = readChar();
    if (c == END) failAt(start, err::UnterminatedQuote);
    if (sticky && c == '/') {
      sticky = false;
      continue;
    }
    if (!sticky) {
      if (c == '"') break;
      if (c != '\\') {
        out += static_cast<char>(c);
        continue;
      }
      c = readChar();
      if (c == END) failAt(start, err::UnterminatedQuote);
    }
    bool hexPair = readEscape(c, out);
    sticky = (sticky || hexPair) && !syntax_.utf16Strings;
  }
  tokenStart_ = start;
  return finishString(std::move(out));
}

// Stores what the escaped character `c` stands for; true when it began a hex pair.
bool TokenReader::readEscape(int c, std::string& out) {
  if (isSpace(c)) {
    skipSpace();
    return false;
  }
  if (c == '|') return false;
  if (c == 'Q' || c == 'R' || c == 'S') {
    readBinary(c, out);
    return false;
  }
  if (isHexDigit(c) && isHexDigit(peek())) {
    out += static_cast<char>(hexValue(c) * 16 + hexValue(readChar()));
    return true;
  }
  int named = namedEscape(c);
  out += static_cast<char>(named >= 0 ? named : c);
  return false;
}

void TokenReader::readBinary(int letter, std::string& out) {
  int lengthBytes = letter == 'Q' ? 1 : letter == 'R' ? 2 : 8;
  uint64_t length = 0;
  for (int i = 0; i < lengthBytes; ++i) {
    int b = readChar();
    if (b == END) fail(err::BinaryLengthCut, letter);
    length |= static_cast<uint64_t>(b) << (8 * i);
  }
  for (uint64_t got = 0; got < length; ++got) {
    int b = readChar();
    if (b == END)
      fail(err::BinaryDataCut, letter, static_cast<long long>(length), static_cast<long long>(got));
    out += static_cast<char>(b);
  }
}

std::string TokenReader::finishString(std::string bytes) {
  if (hasNonAscii(bytes) && env() && env()->settings.nfcStrings() && normalizeToNfc(bytes))
    raiseRecord(env(), SOUND_AND_PRINTED, NOTICE_SEV, 0, -err::NotNormalizationFormC.number,
                err::NotNormalizationFormC.text);
  if (!syntax_.utf16Strings) return bytes;
  std::string wide;
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE &&
      static_cast<unsigned char>(bytes[1]) == 0xFF) {
    wide = std::move(bytes);
    swapBytePairs(wide);
  } else if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
             static_cast<unsigned char>(bytes[1]) == 0xFE) {
    wide = std::move(bytes);  // already little-endian UTF-16
  } else {
    wide = utf8ToUtf16le(bytes);
  }
  wide.append(2, '\0');
  return wide;
}

std::string TokenReader::readQuotedRaw() {
  int c = skipSpace();
  startToken();
  if (c != '"') fail(err::MissingOpenQuote);
  TextPosition start = here();
  readChar();
  std::string out;
  for (c = readChar(); c != '"'; c = readChar()) {
    if (c == END) failAt(start, err::UnterminatedRawQuote);
    out += static_cast<char>(c);
    if (c != '\\') continue;
    c = readChar();
    if (c == END) failAt(start, err::UnterminatedRawQuote);
    out += static_cast<char>(c);
  }
  tokenStart_ = start;
  return out;
}

}  // namespace quorva
