// printf-style formatting into std::string, with std::string arguments passed through.
#pragma once
#include <cstdio>
#include <string>
#include <type_traits>

namespace quorva {

inline const char* fmtArg(const std::string& s) { return s.c_str(); }
template <class T>
inline T fmtArg(T v) {
  static_assert(!std::is_class_v<T>, "pass strings as std::string or const char*");
  return v;
}

// Formats `fmt` with `args`; a text without arguments is taken as it stands.
template <class... A>
std::string format(const char* fmt, const A&... args) {
  if constexpr (sizeof...(A) == 0) {
    return fmt;
  } else {
    char small[256];
    int n = std::snprintf(small, sizeof small, fmt, fmtArg(args)...);
    if (n < 0) return fmt;
    if (static_cast<size_t>(n) < sizeof small) return std::string(small, static_cast<size_t>(n));
    std::string out(static_cast<size_t>(n) + 1, '\0');
    std::snprintf(out.data(), out.size(), fmt, fmtArg(args)...);
    out.resize(static_cast<size_t>(n));
    return out;
  }
}

// An ordinal word for messages: 1 -> "1st", 2 -> "2nd", 11 -> "11th".
std::string ordinal(long n);

// A byte count for messages, such as "1.5 MB".
std::string formatBytes(double bytes);

}  // namespace quorva
