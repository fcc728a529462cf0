// Small formatting helpers shared by messages.
#include "Basic/Format.h"

namespace quorva {

std::string ordinal(long n) {
  long tens = n % 100;
  const char* suffix = "th";
  if (tens < 11 || tens > 13) {
    switch (n % 10) {
      case 1: suffix = "st"; break;
      case 2: suffix = "nd"; break;
      case 3: suffix = "rd"; break;
      default: break;
    }
  }
  return std::to_string(n) + suffix;
}

std::string formatBytes(double bytes) {
  static const char* const units[] = {"bytes", "KB", "MB", "GB", "TB", "PB"};
  int u = 0;
  while (bytes >= 1024.0 && u < 5) {
    bytes /= 1024.0;
    ++u;
  }
  return u == 0 ? format("%.0f bytes", bytes) : format("%.1f %s", bytes, units[u]);
}

}  // namespace quorva
