// The errors raised by the basic layer: memory, internal checks, names.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef NotEnoughMemory{2183, "not enough memory %s \n(%s needed)"};
inline constexpr ErrDef MemoryLimitReached{
    3364, ">-Quorva-'s memory usage has reached the limit placed on it: request for %s failing"};
inline constexpr ErrDef NoMemoryToStart{2184, "not enough memory left to even start function >-%s"};
inline constexpr ErrDef InternalCheck{2001, "%s-%d (%s)."};
inline constexpr ErrDef UniqueLabelsRecycle{
    2002, "will soon recycle 'unique' labels.  Save work and restart"};
inline constexpr ErrDef BadName{5110, "in argument '%s', %s"};
inline constexpr ErrDef BadNameList{5111, "in argument '%s', %s"};
inline constexpr ErrDef EmptyName{5112, "empty string passed for name"};
inline constexpr ErrDef SystemFault{2003, "unhandled system-level fault"};
inline constexpr ErrDef StdLibFault{2004, "unhandled standard library fault: %s"};

}  // namespace quorva::err
