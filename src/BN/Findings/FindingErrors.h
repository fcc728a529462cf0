// The errors of findings and listeners.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef FindingTooLarge{3300, "new finding is too large (%d, but states are numbered from 0 to %d)"};
inline constexpr ErrDef FindingNegative{3301, "new finding is negative (%d), and is not UNDEF_STATE (%d)"};
inline constexpr ErrDef FindingInconsistentModel{
    3302, "new finding '%s' is inconsistent with findings for other >-node-s, according to this model"};
inline constexpr ErrDef FindingContradicts{3310, "new finding '%s' contradicts previous finding '%s' for this >-node"};
inline constexpr ErrDef FindingContradictsLikelihood{
    3313, "new finding '%s' contradicts previous negative or likelihood findings for this >-node"};
inline constexpr ErrDef FindingStatedValue{
    3315, "new finding '%s' is inconsistent with the model's stated value for this >-node"};
inline constexpr ErrDef FindingContinuous{3316, "the >-node is continuous without any discretization intervals defined"};
inline constexpr ErrDef FindingFromParents{
    3319, "new finding '%s' contradicts state '%s' calculated from the parent >-node-s of this >-node"};
inline constexpr ErrDef CantEnterLikelihood{
    3320, "can't enter that negative or likelihood finding for >-node '%s', because %s"};
inline constexpr ErrDef CantEnterValue{3321, "can't enter numeric finding %g for node '%s', because %s"};
inline constexpr ErrDef CantEnterFinding{3322, "can't enter finding for >-node '%s', because %s"};
inline constexpr ErrDef LikelihoodNull{5200, "argument 'likelihood' is NULL, for >-Bnode %s"};
inline constexpr ErrDef CalibrationNull{5201, "argument 'calibration' is NULL, for >-Bnode %s"};
inline constexpr ErrDef CalibrationZeros{5202, "not a legal calibration vector, because it consists of all zeros"};
inline constexpr ErrDef CalibrationSum{
    5203, "not a legal calibration vector, because it does not sum to one (sums to %g)"};
inline constexpr ErrDef CalibrationNegative{
    5216, "not a legal calibration vector, because it has a negative value (%g) at index %d"};
inline constexpr ErrDef IntervalOrder{5204, "high (=%g) should not be less than low (=%g).  (>-node is %s)"};
inline constexpr ErrDef IntervalContinuous{5205, ">-node %s is continuous, so it should be discretized to use this function"};
inline constexpr ErrDef IntervalLowNegative{5206, "low (=%g) should not be negative, for discrete >-node %s"};
inline constexpr ErrDef IntervalHighTooBig{
    5207, "high (=%g) should not be more than the number of states of discrete >-node %s (%d)"};
inline constexpr ErrDef IntervalLowInteger{5208, "low (=%g) must be an integer, for discrete >-node %s"};
inline constexpr ErrDef IntervalHighInteger{5209, "high (=%g) must be an integer, for discrete >-node %s"};
inline constexpr ErrDef GaussianStdDev{5210, "std_dev should not be negative, but it is %g, for >-Bnode %s"};
inline constexpr ErrDef GaussianDiscrete{
    5211, ">-Bnode %s should be a discretized >-node for a continuous variable, but it is just discrete"};
inline constexpr ErrDef GaussianUndiscretized{
    5212, ">-Bnode %s should be a discretized >-node for a continuous variable, but it hasn't been discretized yet"};
inline constexpr ErrDef NotDiscrete{5213, "argument 'node' is '%s', which is not discrete or discretized"};
inline constexpr ErrDef AutoUpdateValue{5214, "argument 'auto_update' is %d, but it should be 0 or BELIEF_UPDATE (%d)"};
inline constexpr ErrDef ActionProbsNull{5215, "argument 'probs' is NULL, for >-Bnode %s"};

inline constexpr ErrDef CallbackThrew{2460, "callback function for >-%s '%s' %s, threw an exception.  %s"};
inline constexpr ErrDef CallbackNegative{2461, "callback function for >-%s '%s' %s, returned negative (%d)"};
inline constexpr ErrDef CallbackOutOfRange{
    2462, "callback function for >-%s '%s' %s, returned an out-of-range (<-1000) value"};

}  // namespace quorva::err
