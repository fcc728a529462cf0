// Unicode helpers, on the utf8proc library.
#include "Basic/Unicode.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace quorva {

namespace {

const utf8proc_uint8_t* bytesOf(std::string_view s) {
  return reinterpret_cast<const utf8proc_uint8_t*>(s.data());
}

void putUnit(std::string& out, unsigned unit) {
  out += static_cast<char>(unit & 0xFF);
  out += static_cast<char>(unit >> 8);
}

}  // namespace

bool hasNonAscii(std::string_view bytes) {
  return std::any_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) > 127; });
}

size_t utf8SequenceLength(std::string_view bytes) {
  if (bytes.empty()) return 0;
  utf8proc_int32_t cp = 0;
  utf8proc_ssize_t n = utf8proc_iterate(bytesOf(bytes), static_cast<utf8proc_ssize_t>(bytes.size()), &cp);
  return n > 0 && cp >= 0 ? static_cast<size_t>(n) : 0;
}

bool normalizeToNfc(std::string& text) {
  utf8proc_uint8_t* out = nullptr;
  utf8proc_ssize_t n = utf8proc_map(bytesOf(text), static_cast<utf8proc_ssize_t>(text.size()), &out,
                                    static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
  std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owned(out, &std::free);
  if (n < 0) return false;
  std::string_view nfc(reinterpret_cast<const char*>(out), static_cast<size_t>(n));
  if (nfc == text) return false;
  text.assign(nfc);
  return true;
}

std::string utf8ToUtf16le(std::string_view text) {
  std::string out;
  out.reserve(text.size() * 2);
  while (!text.empty()) {
    size_t n = utf8SequenceLength(text);
    utf8proc_int32_t cp = 0xFFFD;
    if (n > 0) {
      utf8proc_iterate(bytesOf(text), static_cast<utf8proc_ssize_t>(n), &cp);
    } else {
      n = 1;
    }
    text.remove_prefix(n);
    if (cp < 0x10000) {
      putUnit(out, static_cast<unsigned>(cp));
    } else {
      unsigned v = static_cast<unsigned>(cp) - 0x10000;
      putUnit(out, 0xD800 + (v >> 10));
      putUnit(out, 0xDC00 + (v & 0x3FF));
    }
  }
  return out;
}

void swapBytePairs(std::string& bytes) {
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
}

}  // namespace quorva
