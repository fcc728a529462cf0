// The errors of the text net writer.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef TableTooLargeToSave{3650, "table of node '%s' is too large to save"};

}  // namespace quorva::err
