// The errors and warnings raised while editing nets, nodes, states and links.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// Nets and nodes.
inline constexpr ErrDef NameUsed{3010, "name '%s' is already used by another >-Bnode in >-Bnet '%s'"};
inline constexpr ErrDef NegativeNumStates{
    5120, "argument 'num_states' is negative (=%d), trying to add new >-Bnode to >-Bnet '%s'"};
inline constexpr ErrDef KindDisconnected{
    5121, "argument 'kind' passed for >-Bnode '%s' is DISCONNECTED_NODE, but link disconnection "
          "should be done with >-SwitchNodeParent_bn or >-CopyNodes_bn"};
inline constexpr ErrDef KindAdversary{
    5122, "argument 'kind' passed for >-Bnode '%s' is ADVERSARY_NODE, but that is not supported yet"};
inline constexpr ErrDef KindRange{
    5123, "argument 'kind' passed for >-Bnode '%s' is %d, but it should be between 0 and %d inclusive"};
inline constexpr ErrDef NotInitialized{
    5124, "This function was called before Quorva finished initialization, or while it was closing"};
inline constexpr ErrDef UnknownOption{5125, "in argument 'options', '%s' is not a known option"};
inline constexpr ErrDef UserFieldKind{5126, "argument 'kind' is %d, but it must be 0"};
inline constexpr ErrDef UserFieldLength{5127, "argument 'length' is %d, but it must be -1 or greater"};

// States.
inline constexpr ErrDef StateOutOfBounds{
    5130, "passed >-int_state (=%d) for >-Bnode '%s' is out of bounds (it must be between 0 and %d "
          "inclusive)"};
inline constexpr ErrDef StateOnContinuous{
    5131, "passed >-int_state (=%d) is illegal (can't use this function with >-Bnode '%s' since it "
          "isn't continuous, and hasn't been discretized)"};
inline constexpr ErrDef StateNamesCount{
    5132, "list of state names has %d entries, but this >-Bnode has %d states"};
inline constexpr ErrDef AddStatesIndex{
    5133, "passed state index should be -1, or between 0 and %d, but it is %d"};
inline constexpr ErrDef AddStatesFill{
    5134, "passed cpt_fill should be -1, 0, or UNDEF_DBL, but it is %g"};
inline constexpr ErrDef AddStatesNegative{5135, "argument 'num_states' is negative (=%d)"};
inline constexpr ErrDef AddStatesNames{
    5136, "in argument 'state_names', the list has %d names, but %d states are being added"};
inline constexpr ErrDef AddStatesUnnamed{
    5137, "in argument 'state_names', names were given for the new states, but the existing states "
          "of >-Bnode '%s' have no names"};
inline constexpr ErrDef ReorderCount{
    5138, "the new order passed has %d entries, but it must have one for each state (i.e. %d "
          "entries) of >-Bnode '%s'"};
inline constexpr ErrDef ReorderRepeat{
    5139, "the new order passed for >-Bnode '%s' names state %d more than once"};
inline constexpr ErrDef LevelsNegative{
    5140, "argument 'numstates' passed for >-Bnode '%s' is negative (= %d)"};
inline constexpr ErrDef LevelsDiscreteCount{
    5141, "trying to change the number of states of a discrete >-Bnode ('%s') from %d to %d"};
inline constexpr ErrDef LevelsNotIncreasing{
    5142, "the thresholds passed for >-Bnode '%s' must be in increasing order, but number %d (%g) "
          "is not greater than the one before it (%g)"};
inline constexpr ErrDef RemoveLastState{
    5143, "can't remove the only state of discrete >-Bnode '%s'"};
inline constexpr ErrDef NoStateNames{
    5145, "can't name one state of >-Bnode '%s', because its other states have no names (use "
          ">-SetNodeStateNames_bn)"};

// Links.
inline constexpr ErrDef PredDisconnected{
    5150, "passed >-Bnode '%s' for argument 'pred' is a DISCONNECTED_NODE, so a link cannot be made "
          "from it to another node (use >-SwitchNodeParent_bn instead?)"};
inline constexpr ErrDef SuccDisconnected{
    5151, "passed >-Bnode '%s' for argument 'succ' is a DISCONNECTED_NODE, so a link cannot be made "
          "to it from another node"};
inline constexpr ErrDef ParentIndex{
    5152, "passed parent_index (=%d) for >-Bnode '%s' is out of bounds (>-Bnode has %d parents, so "
          "it must be between 0 and %d inclusive)"};
inline constexpr ErrDef NewPredDisconnected{
    5153, "passed >-Bnode '%s' for parameter 'newpred' is a DISCONNECTED_NODE, so a link cannot be "
          "made from it to another node (pass NULL instead to disconnect a link)"};
inline constexpr ErrDef DimensionNegative{5154, "argument 'dimension' must be 0 or greater, but it is %d"};
inline constexpr ErrDef SwitchStates{
    5155, "can't switch parent '%s' of >-Bnode '%s' to '%s', because they have different numbers of "
          "states (%d and %d)"};
inline constexpr ErrDef InputNameUsed{
    5156, "input name '%s' is already used by another link into >-Bnode '%s'"};
inline constexpr ErrDef DifferentNets{
    3020, "can't connect >-node '%s' to >-node '%s', because they are in different >-net-s (%s and "
          "%s respectively)"};
inline constexpr ErrDef ChildDisconnected{
    3021, "can't connect >-node '%s' to >-node '%s', because the latter is a >-disconnected-node, so "
          "it can only act as a parent"};
inline constexpr ErrDef CycleWarning{
    3022, "connecting >-node '%s' to >-node '%s' results in a cycle (with no time delays)"};
inline constexpr ErrDef DuplicateLinkWarning{
    3023, "connecting >-node '%s' to >-node '%s' results in multiple links between the same two "
          ">-node-s"};

// Node lists.
inline constexpr ErrDef ListLength{5160, "argument 'length' is %d, but it must be 0 or greater"};
inline constexpr ErrDef ListIndexNegative{5161, "argument 'index' is less than 0 (it is %d)"};
inline constexpr ErrDef ListIndexPastEnd{
    5162, "argument 'index' (%d) is greater than (or equal) the number of >-node-s (%d)"};
inline constexpr ErrDef ListInsertPastEnd{5163, "argument 'index' is more than the number of >-node-s (it is %d)"};
inline constexpr ErrDef ListOtherNet{
    5164, "can't add node '%s' of net named '%s' to list, because list has nodes from a different net "
          "named '%s'"};
inline constexpr ErrDef ListOtherNetSet{
    5167, "can't add node '%s' of net named '%s' to list, because list has nodes from a different net "
          "(named '%s')"};
inline constexpr ErrDef ListRemovePastEnd{5168, "argument 'index' is >= the number of >-node-s (it is %d)"};
inline constexpr ErrDef ListStartNegative{5169, "argument 'start_index' is less than 0 (it is %d)"};
inline constexpr ErrDef ListStartPastEnd{5158, "argument 'start_index' (%d) is > the number of >-node-s (%d)"};
inline constexpr ErrDef ListConstant{
    5165, "you cannot pass a constant >-Bnodes to this function, since this function may modify or "
          "delete it (duplicate it first?)"};
inline constexpr ErrDef ListDeleteConstant{
    5166, "you must not delete this >-Bnodes since it is a constant list returned by >-Quorva "
          "(>-Quorva will manage it)"};

}  // namespace quorva::err
