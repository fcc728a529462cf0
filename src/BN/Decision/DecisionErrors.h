// The errors of solving decision nets.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef DecisionCycle{
    5800, "can't solve the >-decision_node-s of >-net '%s', because >-decision_node '%s' is in a directed cycle "
          "(through its information link from '%s'), so the decisions can't be ordered"};
inline constexpr ErrDef DecisionsUnordered{
    5801, "can't solve the >-decision_node-s of >-net '%s', because there is no directed path between "
          ">-decision_node '%s' and >-decision_node '%s', so the decisions can't be ordered (there must be a "
          "directed path through all the decisions)"};
inline constexpr ErrDef UtilityChild{
    5802, "can't solve the >-decision_node-s of >-net '%s', because >-utility_node '%s' has a child ('%s'), but a "
          ">-utility_node can't have children"};
inline constexpr ErrDef DecisionNoStates{
    5803, "can't solve the >-decision_node-s of >-net '%s', because >-decision_node '%s' has no states, so it has "
          "no options to choose from"};
inline constexpr ErrDef NotDecision{5804, "argument 'node' is '%s', which is not a >-decision_node"};
inline constexpr ErrDef NoUtility{
    5805, "can't find the maximum expected utility of >-net '%s', because it has no >-utility_node-s"};
inline constexpr ErrDef NoForgettingArg{
    5806, "argument 'no_forgetting' is %d, but it should be 0, 1, or -1 (to only ask)"};
inline constexpr ErrDef UtilityIncomplete{
    5807, "some >-utility_node(s) (e.g. %s) doesnt have a complete utility table (missing entries will be "
          "considered zero)"};

}  // namespace quorva::err
