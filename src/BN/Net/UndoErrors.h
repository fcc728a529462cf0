// The errors of setting undo limits and of undoing and redoing.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef UndoCountNegative{
    5250, "argument 'count_limit' must not be negative (unless it is -1), but it is %d"};
inline constexpr ErrDef UndoMemoryNegative{
    5251, "argument 'memory_limit' must not be negative (unless it is -1), but it is %g"};
inline constexpr ErrDef UndoOptions{
    5252, "argument 'options' must be empty or null (0) with this version of >-Quorva, but it is:  %.80s"};
inline constexpr ErrDef UndoToWhen{5253, "argument 'to_when' must be -1 with this version of >-Quorva"};
inline constexpr ErrDef UndoBothZero{
    3595, "can't turn on undoing, because both the number of undos and the amount of undo memory are "
          "set to zero"};
inline constexpr ErrDef UndoGarbled{3596, "can't undo/redo because of garbled record (%d)"};

}  // namespace quorva::err
