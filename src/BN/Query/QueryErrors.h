// Refusals of exact queries over sets of nodes and of interventions.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef QueryTooLarge{
    5900, "can't answer the query on >-net '%s', because it needs a table of %.0f entries (at most %.0f)"};
inline constexpr ErrDef QueryDecisions{
    5901, "can't answer the query on >-net '%s', because it contains >-decision_node-s"};
inline constexpr ErrDef QueryNodeKind{5902, "can't answer the query, because >-node '%s' %s"};
inline constexpr ErrDef QueryCalibration{
    5903, "can't answer the query, because >-node '%s' has a calibration finding"};
inline constexpr ErrDef QueryListedTwice{5904, ">-node '%s' is listed twice in the query"};
inline constexpr ErrDef QueryDifferentNets{5906, ">-node '%s' is not in the same >-net as the other nodes of the question"};
inline constexpr ErrDef InterveneKind{5905, "can't intervene on >-node '%s', because it %s"};

}  // namespace quorva::err
