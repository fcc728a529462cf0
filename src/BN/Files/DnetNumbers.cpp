// The number printers of the text net writer.
#include "BN/Files/DnetNumbers.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace quorva {

namespace {

// Adds one at the last digit of `digits`, carrying left; returns true when the carry ran out of
// the front (the digits then read "1" followed by zeros and the exponent must rise).
bool roundUp(std::string& digits) {
  for (size_t i = digits.size(); i-- > 0;) {
    if (digits[i] != '9') {
      ++digits[i];
      return false;
    }
    digits[i] = '0';
  }
  digits.insert(digits.begin(), '1');
  digits.pop_back();
  return true;
}

// Float noise in the last digits: "...00d" with d below 4 is cut before the zeros, "...99d" with
// d of 7 or more is rounded up there.
void cleanBinaryNoise(std::string& digits, int& exponent) {
  size_t n = digits.size();
  if (n < 3) return;
  char last = digits[n - 1];
  if (digits[n - 3] == '0' && digits[n - 2] == '0' && last < '4') {
    digits.resize(n - 3);
    if (digits.empty()) digits = "0";
  } else if (digits[n - 3] == '9' && digits[n - 2] == '9' && last >= '7') {
    digits.resize(n - 3);
    if (digits.empty()) {
      digits = "1";
      ++exponent;
    } else if (roundUp(digits)) {
      ++exponent;
    }
  }
}

// Splits "d[.ddd]e±xx" into its digits and its decimal exponent.
void scientificParts(const char* text, std::string& digits, int& exponent) {
  digits.clear();
  const char* p = text;
  for (; *p && *p != 'e'; ++p)
    if (*p != '.') digits += *p;
  exponent = *p ? std::atoi(p + 1) : 0;
}

// The digits and exponent of the shortest decimal that reads back to the same float, or false
// when `value` is not a float's value (so no such form is exact).
bool shortestFloat(double value, std::string& digits, int& exponent) {
  float f = static_cast<float>(value);
  if (static_cast<double>(f) != value) return false;
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf - 1, f, std::chars_format::scientific);
  if (ec != std::errc()) return false;
  *end = '\0';
  scientificParts(buf, digits, exponent);
  return true;
}

std::string fixedForm(const std::string& digits, int exponent) {
  int count = static_cast<int>(digits.size());
  if (exponent < 0) return "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
  if (exponent + 1 >= count) return digits + std::string(static_cast<size_t>(exponent + 1 - count), '0');
  return digits.substr(0, static_cast<size_t>(exponent + 1)) + "." +
         digits.substr(static_cast<size_t>(exponent + 1));
}

std::string exponentForm(const std::string& digits, int exponent) {
  std::string out(1, digits[0]);
  if (digits.size() > 1) out += "." + digits.substr(1);
  return out + "e" + std::to_string(exponent);
}

}  // namespace

std::string significantDigits(double value, int digits, bool singlePrecision, NumberStyle style,
                              int widthLimit) {
  if (value == 0) return "0";
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) {
    if (value > 0) return widthLimit > 0 && widthLimit < 8 ? "Inf" : "Infinity";
    return widthLimit > 0 && widthLimit < 9 ? "-Inf" : "-Infinity";
  }
  if (digits < 1) digits = 1;
  if (digits > 17) digits = 17;
  std::string sign = value < 0 ? "-" : "";
  std::string mantissa;
  int exponent = 0;
  bool exact = singlePrecision && shortestFloat(std::fabs(value), mantissa, exponent) &&
               mantissa.size() <= static_cast<size_t>(digits);
  if (!exact) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", digits - 1, std::fabs(value));
    scientificParts(buf, mantissa, exponent);
    if (singlePrecision && digits > 6) cleanBinaryNoise(mantissa, exponent);
  }
  while (mantissa.size() > 1 && mantissa.back() == '0') mantissa.pop_back();
  if (mantissa == "0") return "0";

  bool fixed = false;
  switch (style) {
    case NumberStyle::Table: fixed = exponent >= -3 && exponent <= 4; break;
    case NumberStyle::General: fixed = exponent >= -4 && exponent <= 6; break;
    case NumberStyle::Fixed: fixed = true; break;
    case NumberStyle::Exponent: fixed = false; break;
  }
  return sign + (fixed ? fixedForm(mantissa, exponent) : exponentForm(mantissa, exponent));
}

std::string listNumber(double value) {
  if (std::isinf(value)) return value > 0 ? "INFINITY" : "-INFINITY";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15g", value);
  return buf;
}

}  // namespace quorva
