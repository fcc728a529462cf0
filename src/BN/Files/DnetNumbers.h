// Printing numbers for text net files: table entries to a number of significant digits, and the
// numbers of lists ("levels", "position", ...).
#pragma once
#include <string>

namespace quorva {

// Where the printer switches between fixed and exponent notation.
enum class NumberStyle {
  Table,    // fixed when the decimal exponent is -3..4
  General,  // fixed when it is -4..6
  Fixed,    // always fixed
  Exponent  // always exponent
};

// `value` rounded to `digits` significant digits, with trailing zeros dropped: "0", "0.3333333",
// "1e-4", "1.23456e5".  Single-precision data whose shortest exact decimal has no more than
// `digits` digits prints as that decimal (0.1f is "0.1" at any count), so it reads back to the
// same float; otherwise, printed with more than 6 digits, its binary noise is cleaned away
// after rounding (123.40012f prints "123.4" at 7).  `widthLimit` (0: none) below 8 or
// 9 shortens the infinities to "Inf" and "-Inf".
std::string significantDigits(double value, int digits, bool singlePrecision,
                              NumberStyle style = NumberStyle::Table, int widthLimit = 0);

// A number of a list: "%.15g", with "INFINITY" and "-INFINITY".
std::string listNumber(double value);

}  // namespace quorva
