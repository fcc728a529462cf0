// The errors of compiling and belief updating.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef CantCompile{3040, "can't compile >-net '%s', because %s"};
inline constexpr ErrDef CycleAtCompile{3041, "there is a cycle (containing link %s -> %s)"};
inline constexpr ErrDef OptimizingWithDecisions{
    2007, "can't use optimizing compiler for >-net '%s' because it has a >-decision_node(s)"};
inline constexpr ErrDef CompileHalted{2074, "compiling halted"};
inline constexpr ErrDef UpdateHalted{2075, "belief updating halted"};
inline constexpr ErrDef SearchHalted{
    2296, "optimizing of the elimination order was halted, so the best order found before then was used"};
inline constexpr ErrDef VastlyTooLarge{
    2758, "you will not be able to do >-exact_inference with this >-net unless you enter significant findings "
          "first, because the tables would be vastly too large"};
inline constexpr ErrDef VastlyTooLargeError{
    3765, "compiled successfully, but will not be able to do >-exact_inference because the tables would be vastly "
          "too large (unless significant findings are entered)"};
inline constexpr ErrDef OrderHalted{
    2295, "resulting elimination order will probably be poor because only %d >-node-s of it were found before "
          "action was halted"};
inline constexpr ErrDef CompileMemory{3632, "not enough memory %s \n(%s needed)"};
inline constexpr ErrDef UpdateMemory{2759, "not enough memory %s \n(%s needed)"};
inline constexpr ErrDef FindingsRemovedSize{
    2493, "if all current findings are removed, updating will result in tables requiring %s"};
inline constexpr ErrDef OrderRemoved{3042, "removing elimination order of >-net '%s', because it %s"};
inline constexpr ErrDef BadElimOrder{3043, "couldn't set the elimination order of >-net '%s', because new list %s"};
inline constexpr ErrDef SizeMethod{5230, "argument 'method' is %d, but with this version of >-Quorva it must be 0"};
inline constexpr ErrDef NeedsCompiling{3044, "can't update beliefs because >-net '%s' needs to be compiled"};
inline constexpr ErrDef Inconsistent{3045, "according to this model, the >-finding-(s) entered are inconsistent%s"};
inline constexpr ErrDef NoTables{
    3046, "some >-node(s) (e.g. %s) don't have conditional probability tables (CPTs) (they will be taken as "
          "having uniform probabilities)"};
inline constexpr ErrDef IncompleteTables{
    3047, "some >-node(s) (e.g. %s) don't have complete conditional probability tables (CPTs) (missing entries "
          "will be taken as uniform probabilities)"};
inline constexpr ErrDef JointNotCompiled{
    3048, "can't find joint probability, because >-net '%s' hasn't been recently compiled"};
inline constexpr ErrDef MpeDecisions{
    3049, "can't find the most probable explanation (MPE) of >-net '%s' because it contains >-decision_node-s"};
inline constexpr ErrDef MpeContinuous{
    3050, "can't find the most probable explanation (MPE) of >-net '%s' because it contains >-node '%s' which is "
          "not discrete or discretized"};
inline constexpr ErrDef RandomCaseCycle{
    3051, "can't generate a random case for >-net '%s', because there is a cycle (containing link %s -> %s)"};
inline constexpr ErrDef SamplingMethod{
    5232, "argument 'method' should be DEFAULT_SAMPLING, JOIN_TREE_SAMPLING or FORWARD_SAMPLING (it is %d)"};
inline constexpr ErrDef BeliefsNotDiscrete{5231, "argument 'node' is '%s', which is not discrete or discretized"};

}  // namespace quorva::err
