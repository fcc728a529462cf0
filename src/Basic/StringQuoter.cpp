// The inverse of the token reader's string escapes.
#include "Basic/StringQuoter.h"

#include "Basic/Unicode.h"

namespace quorva {

namespace {
const char HEX[] = "0123456789ABCDEF";
}  // namespace

char namedEscape(unsigned char c) {
  switch (c) {
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    case '\v': return 'v';
    case '\f': return 'f';
    case '\b': return 'b';
    default: return 0;
  }
}

bool needsHexEscape(unsigned char c) { return (c < 32 && !namedEscape(c)) || c >= 127; }

void appendHexPair(std::string& out, unsigned char c) {
  out += HEX[c >> 4];
  out += HEX[c & 0xF];
}

namespace {

// Appends one character that is not a hex escape.
void putPlain(std::string& out, unsigned char c) {
  if (char letter = namedEscape(c)) {
    out += '\\';
    out += letter;
  } else {
    if (c == '"' || c == '\\') out += '\\';
    out += static_cast<char>(c);
  }
}

}  // namespace

std::string escapeString(std::string_view text, QuoteStyle style) {
  std::string out;
  out.reserve(text.size() + 8);
  bool inRun = false;
  while (!text.empty()) {
    auto c = static_cast<unsigned char>(text.front());
    size_t raw = style.rawUtf8 && c >= 128 ? utf8SequenceLength(text) : 0;
    if (needsHexEscape(c) && raw == 0) {
      if (!inRun) out += '\\';
      appendHexPair(out, c);
      inRun = true;
      text.remove_prefix(1);
      continue;
    }
    if (inRun) out += '/';
    inRun = false;
    if (raw > 0) {
      out.append(text.substr(0, raw));
      text.remove_prefix(raw);
    } else {
      putPlain(out, c);
      text.remove_prefix(1);
    }
  }
  if (inRun) out += '/';
  return out;
}

std::string quoteString(std::string_view text, QuoteStyle style) {
  return '"' + escapeString(text, style) + '"';
}

std::string escapeChar(unsigned char c) {
  std::string out;
  if (needsHexEscape(c)) {
    out += '\\';
    appendHexPair(out, c);
  } else {
    putPlain(out, c);
  }
  return out;
}

}  // namespace quorva
