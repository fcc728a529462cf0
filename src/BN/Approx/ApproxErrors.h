// The errors of sampling and approximate inference.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef SampleCountNegative{5930, "argument 'num_cases' should not be negative (it is %lld)"};
inline constexpr ErrDef SampleSeedNegative{5931, "argument 'seed' should not be negative, other than -1 (it is %lld)"};
inline constexpr ErrDef SampleThreads{5932, "argument 'threads' should be from 1 to 64 (it is %d)"};
inline constexpr ErrDef ApproxMethod{
    5933, "argument 'method' is %d, but it should be LIKELIHOOD_WEIGHTING (1), IMPORTANCE_SAMPLING (2) or "
          "LOOPY_PROPAGATION (3)"};
inline constexpr ErrDef ApproxBudget{
    5934, "argument '%s' is %g, but it should be 0 (the default) or more"};
inline constexpr ErrDef ApproxDamping{5935, "argument 'damping' is %g, but it should be at least 0 and below 1"};
inline constexpr ErrDef ApproxSize{
    5936, "argument 'size' is %d, but the beliefs of the net's nodes take %d entries"};
inline constexpr ErrDef ApproxNoWeight{
    5937, "no case drawn for >-net '%s' agrees with its findings (every weight was 0), so they may be "
          "inconsistent; approximate beliefs can't be found"};
inline constexpr ErrDef SampleOptions{5938, "argument 'options' should be NULL or empty (it is \"%s\")"};

}  // namespace quorva::err
