// The errors of potential tables and node tables.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef CountNegative{2458, "a count would become negative (by more than 2e-6)"};
inline constexpr ErrDef PrecisionExhausted{2457, "an addition could not change a table entry (precision exhausted)"};
inline constexpr ErrDef CurrentStateRange{2459, "st=%d ns=%d sp=%d gp=%d"};

}  // namespace quorva::err
