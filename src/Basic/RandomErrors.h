// The errors of random generators: seeds, state strings and the generator API.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef RandStateTooShort{
    3612, "string containing random-generator-state is too short (%d characters instead of %d characters)"};
inline constexpr ErrDef RandStateNotHex{
    3839, "string containing random-generator-state has a character that is not a hex digit (the %s "
          "character is %s)"};
inline constexpr ErrDef SeedNotInteger{3840, "'seed' should be an integer with no more than 18 digits"};
inline constexpr ErrDef SeedNegative{3841, "value of 'seed' must not be negative, but it is %lld"};
inline constexpr ErrDef RandgenOptions{
    3842, "argument 'options' must be empty or null (0) with this version of >-Quorva, but it is:  %.80s"};
inline constexpr ErrDef RandomCountNegative{3843, "argument 'num' must not be negative, but it is %d"};
inline constexpr ErrDef RandgenOtherEnviron{
    3844, "in argument 'rand', the >-RandomGenerator belongs to a different >-Environ than the >-Bnet"};

}  // namespace quorva::err
