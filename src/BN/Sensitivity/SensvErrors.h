// The errors of sensitivity to findings.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef SensvNotWiggle{
    2516, "request for sensitivity to a wiggle >-node (%s) that was not in the initial list of >-node-s that "
          "sensitivity was calculated for"};
inline constexpr ErrDef SensvWiggleKind{
    2376, "can't calculate sensitivity with respect to wiggle >-node '%s', because it is a %s >-node"};
inline constexpr ErrDef SensvInfiniteEnd{
    2332, "cant calculate error-based sensitivities (mean or variance) for >-node '%s', because it contains +/- "
          "INFINITY for a range endpoint"};
inline constexpr ErrDef SensvNoIntervals{2333, ">-node '%s' must have discretization intervals for this operation"};

// A measure asked for whose bit was not in the mask given at creation.
inline constexpr ErrDef SensvNoReal{
    2517, "currently requesting real values in sensitivity of >-node %s to findings, but earlier didn't ask for "
          "that (REAL_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoRealVariance{
    2518, "currently requesting variance of real values in sensitivity of >-node %s to findings, but earlier "
          "didn't ask for that (VARIANCE_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoRealForVariance{
    2519, "currently requesting real values (for their variance) in sensitivity of >-node %s to findings, but "
          "earlier didn't ask for that (REAL_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoEntropy{
    2520, "currently requesting entropy reduction (i.e. mutual information) in sensitivity of >-node %s to "
          "findings, but earlier didn't ask for that (ENTROPY_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoNodeVar{
    2521, "currently requesting variance of node beliefs in sensitivity of >-node %s to findings, but earlier "
          "didn't ask for that (NODEVAR_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoRatio{
    2522, "currently requesting sensitivity ratio in sensitivity of >-node %s to findings, but earlier didn't ask "
          "for that (RATIO_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoBelief{
    2523, "currently requesting amount of belief change in sensitivity of >-node %s to findings, but earlier "
          "didn't ask for that (BELIEF_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoBeliefVariance{
    2524, "currently requesting variance of belief change in sensitivity of >-node %s to findings, but earlier "
          "didn't ask for that (VARIANCE_SENSV) to be calculated"};
inline constexpr ErrDef SensvNoBeliefRange{
    2525, "currently requesting min or max of belief change in sensitivity of >-node %s to findings, but earlier "
          "didn't ask for that (RANGE_SENSV) to be calculated"};

// Arguments of NewSensvToFinding_bn.
inline constexpr ErrDef SensvWhat{
    5240, "argument 'what' is %d, which holds bits that name no sensitivity measure (allowed: %d)"};
inline constexpr ErrDef SensvTargetStates{5241, "argument 'target' is '%s', which is not discrete or discretized"};
inline constexpr ErrDef SensvTargetKind{5242, "argument 'target' is '%s', which is a %s >-node"};

}  // namespace quorva::err
