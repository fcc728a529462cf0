// The errors of the BIF reader and writer.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef BifExpected{2780, "expected %s"};
inline constexpr ErrDef BifExpectedGot{2781, "expected %s, but found '%s'"};
inline constexpr ErrDef BifUnknownVariable{2782, "unknown variable '%s' in probability block"};
inline constexpr ErrDef BifVariableTwice{2783, "variable '%s' is declared twice"};
inline constexpr ErrDef BifStateTwice{2784, "state '%s' appears twice in variable '%s'"};
inline constexpr ErrDef BifStateCount{
    2785, "variable '%s' is declared with %d states, but %d state names are listed"};
inline constexpr ErrDef BifNotDiscrete{2786, "variable '%s' has type '%s'; only discrete variables can be read"};
inline constexpr ErrDef BifProbabilityTwice{2787, "variable '%s' has a second probability block"};
inline constexpr ErrDef BifParentTwice{2788, "parent '%s' of variable '%s' is listed twice"};
inline constexpr ErrDef BifOwnParent{2789, "variable '%s' is listed as its own parent"};
inline constexpr ErrDef BifUnknownState{2790, "unknown state '%s' of variable '%s'"};
inline constexpr ErrDef BifRowParentCount{
    2791, "probability row names %d parent states, but variable '%s' has %d parents"};
inline constexpr ErrDef BifRowCount{
    2792, "probability row has %d numbers, but variable '%s' has %d states"};
inline constexpr ErrDef BifTableCount{
    2793, "probability table has %d numbers, but variable '%s' needs %.0f"};
inline constexpr ErrDef BifRowTwice{2794, "probabilities for row (%s) of variable '%s' are given twice"};
inline constexpr ErrDef BifRowMissing{
    2795, "no probabilities for row (%s) of variable '%s', and no default line"};
inline constexpr ErrDef BifBadProbability{2796, "probability '%s' is not a finite number of 0 or more"};
inline constexpr ErrDef BifTableTooBig{
    2797, "the table of variable '%s' would hold %.0f entries, more than the 400,000,000 allowed"};
inline constexpr ErrDef BifNetworkTwice{2798, "a second network block"};
inline constexpr ErrDef BifNoStates{2799, "node '%s' has no states, so it can't be written as BIF"};

}  // namespace quorva::err
