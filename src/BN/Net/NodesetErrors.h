// The errors of node sets.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef NodesetAddBuiltin{
    3330, "couldn't add >-node to >-nodeset '%s', since it is a built-in system-defined >-nodeset"};
inline constexpr ErrDef NodesetRemoveBuiltin{
    3331, "couldn't remove >-node from >-nodeset '%s', since it is a built-in system-defined >-nodeset"};
inline constexpr ErrDef NodesetNull{5220, "argument 'nodeset' is NULL"};
inline constexpr ErrDef NodesetNoVisual{3332, "there is no visual information associated with >-net %s"};
inline constexpr ErrDef NodesetBadName{3333, "'%s' can't be the name of a >-Nodeset, because %s"};
inline constexpr ErrDef NodesetReserved{
    3334, "you can't create a >-Nodeset named '%s', because that ends in 'NS' (reserved for >-Quorva)"};
inline constexpr ErrDef NodesetBuiltinName{
    3335, "you can't create a >-Nodeset named '%s', because it is already the name of a built-in >-Nodeset"};
inline constexpr ErrDef NodesetMissing{3336, ">-net '%s' does not have a >-Nodeset called '%s'"};

}  // namespace quorva::err
