// The built-in named constants, units, and the state names read as truth values.
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <limits>
#include <string>

#include "Equation/EqnExpr.h"
#include "Equation/EqnParser.h"

namespace quorva {

const EqnConst* findBuiltinConst(std::string_view name) {
  static const std::array<EqnConst, 5> builtins{{
      {"pi", 3.141592653589793, EqnType::Real},
      {"deg", 0.017453292519943295, EqnType::Real},
      {"Infinity", std::numeric_limits<double>::infinity(), EqnType::Numeric},
      {"true", 1, EqnType::Boolean},
      {"false", 0, EqnType::Boolean},
  }};
  for (const EqnConst& c : builtins)
    if (c.name == name) return &c;
  return nullptr;
}

bool isEqnUnit(std::string_view word) {
  static const char* const units[] = {"state", "m",  "cm", "mm", "km", "kg", "g",  "mg", "s",
                                      "ms",    "min", "h", "hr", "day", "yr", "percent", "deg_C"};
  return std::any_of(std::begin(units), std::end(units), [&](const char* u) { return word == u; });
}

namespace {
std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}
bool oneOf(const std::string& s, std::initializer_list<const char*> words) {
  return std::any_of(words.begin(), words.end(), [&](const char* w) { return s == w; });
}
}  // namespace

int booleanTrueState(const EqnVar& v) {
  if (v.numStates != 2 || v.stateNames.size() != 2) return -1;
  auto isTrue = [](const std::string& n) {
    return oneOf(lower(n), {"true", "t", "yes", "y", "on", "present", "positive", "pos"});
  };
  auto isFalse = [](const std::string& n) {
    return oneOf(lower(n), {"false", "f", "no", "n", "off", "absent", "negative", "neg"});
  };
  if (isTrue(v.stateNames[1]) && isFalse(v.stateNames[0])) return 1;
  if (isTrue(v.stateNames[0]) && isFalse(v.stateNames[1])) return 0;
  return -1;
}

std::string formatEqnNumber(double v) {
  if (isEqnUndefined(v)) return "undef";
  // A literal too large for a double: written so that it reads back as the same number (the
  // name "Infinity" is a constant, which could not carry units).
  if (std::isinf(v)) return v > 0 ? "1e999" : "-1e999";
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.15g", v);
  return buf;
}

}  // namespace quorva
