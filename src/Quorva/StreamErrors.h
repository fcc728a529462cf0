// The argument errors of the stream functions.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef StreamAccess{
    5260, "argument 'access' should be 0 (i.e. NULL) with this version of >-Quorva"};
inline constexpr ErrDef StreamLengthNegative{5261, "argument 'length' is negative (%lld)"};
inline constexpr ErrDef MemoryStreamOnly{
    5262, "this function is only for a >-FileSpec created with >-NewMemoryStream_vq, but this "
          ">-FileSpec was created with >-NewFileStream_vq"};
inline constexpr ErrDef BadFileName{5263, "in argument 'filename', %s"};

}  // namespace quorva::err
