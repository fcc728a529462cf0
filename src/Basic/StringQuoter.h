// Writing strings so that the token reader reads them back byte for byte.
//
// LF, CR, TAB, VT, form feed and backspace are written "\n", "\r", "\t", "\v", "\f", "\b"; the
// double quote and the backslash get a backslash before them; printable ASCII (32..126) stands as
// itself; every other byte (other control characters, 127..255) is a backslash and two upper-case
// hex digits, high digit first.  Consecutive hex escapes share the one backslash (the reader's
// sticky escape mode), and the run is ended by "/" before any character that is not itself a hex
// escape and before the closing quote: the bytes C3 A9 then "x" are written \C3A9/x.
#pragma once
#include <string>
#include <string_view>

namespace quorva {

struct QuoteStyle {
  // Write well-formed UTF-8 sequences as they are, escaping only the other bytes above 127
  // (for files of format version 2.00 and later, under "Leave_unicode_raw_when_making_DNET_files").
  bool rawUtf8 = false;
};

// The text between the quotes.
std::string escapeString(std::string_view text, QuoteStyle style = {});
// The text in double quotes.
std::string quoteString(std::string_view text, QuoteStyle style = {});
// One byte as an escape would show it, for messages ("illegal symbol read: '\01'").
std::string escapeChar(unsigned char c);

// The pieces of the escapes, for writers that lay long strings out over lines themselves: the
// letter of a named escape ('n' for LF, ...) or 0; whether a byte is written as a hex pair; and
// the pair itself (without the backslash).
char namedEscape(unsigned char c);
bool needsHexEscape(unsigned char c);
void appendHexPair(std::string& out, unsigned char c);

}  // namespace quorva
