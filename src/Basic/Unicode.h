// Unicode helpers over UTF-8 byte strings: validity, Normalization Form C and UTF-16.
#pragma once
#include <string>
#include <string_view>

namespace quorva {

// Whether any byte is above 127.
bool hasNonAscii(std::string_view bytes);

// The length of the well-formed UTF-8 sequence at the start of `bytes` (1 to 4), or 0 when the
// bytes there are not one (a stray byte, an overlong form, a surrogate, past U+10FFFF).
size_t utf8SequenceLength(std::string_view bytes);

// Puts a UTF-8 text into Normalization Form C.  Returns true when it was not in that form and
// `text` has been replaced; false (text unchanged) when it already was or is not valid UTF-8.
bool normalizeToNfc(std::string& text);

// UTF-16LE of a UTF-8 text; bytes that are not well-formed UTF-8 become U+FFFD.
std::string utf8ToUtf16le(std::string_view text);

// Swaps each pair of bytes (big-endian UTF-16 to little-endian); a last odd byte stays.
void swapBytePairs(std::string& bytes);

}  // namespace quorva
