// The errors of node tables.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef CptOfContinuous{
    3614, "can't make a >-CPTable because it is a continuous variable which hasn't been discretized"};
inline constexpr ErrDef CptTooLargeCreate{
    3615, "can't create >-CPTable for >-node '%s', because the >-CPTable would be too large (%g), due to "
          "too many parent >-node-s"};
inline constexpr ErrDef CptTooLargeEdit{
    3615, "can't edit >-CPTable for >-node '%s', because the >-CPTable would be too large (%g), due to "
          "too many parent >-node-s"};
inline constexpr ErrDef ProbsNotDiscrete{
    3620, "can't set probability array for >-Bnode '%s' because it is not discrete or discretized"};
inline constexpr ErrDef FuncOnContinuous{
    3621, "can't use this function on >-Bnode '%s', because that >-node is continuous and has not yet "
          "been discretized"};
inline constexpr ErrDef FuncStateRange{
    5180, "argument 'state' is %d, but it should be between 0 and %d inclusive, because >-node '%s' is "
          "discrete with %d states"};
inline constexpr ErrDef FuncRealNoLevels{
    3622, "can't use this function on >-Bnode '%s', because that >-node is discrete and has no output "
          "levels defined"};
inline constexpr ErrDef ExperienceNegative{
    5181, "argument 'experience' passed for >-Bnode '%s', is negative (%g)"};
inline constexpr ErrDef ParentStateRange{
    5182, "passed parent state (=%d) for parent '%s' of >-Bnode '%s' is out of bounds (it must be "
          "between 0 and %d inclusive, or EVERY_STATE)"};
inline constexpr ErrDef WhichTableNull{5183, "argument 'which_table' is NULL"};
inline constexpr ErrDef WhichTableUnknown{
    5185, "argument 'which_table' is '%.20s', but it must be one of 'cpt', "
          "'exper', 'function_state', or 'function_real'"};
inline constexpr ErrDef SizeParentStates{
    5186, "argument size_parent_states is %d, but it should be the number of parents of node '%s', which "
          "is %d"};
inline constexpr ErrDef SizeParentStatesNull{
    5187, "argument size_parent_states is %d, but it should be 0, since parent_states is NULL"};
inline constexpr ErrDef SizeTableNull{
    5188, "argument 'size_table' is NULL, which is not allowed when argument 'table' is non-NULL"};
inline constexpr ErrDef SizeTableSmall{
    5189, "the maximum number of entries in the passed table to be filled is declared to be %d (i.e. "
          "'size_table'), but it must be at least %d"};
inline constexpr ErrDef SizeTableNotZero{
    5190, "argument size_table is %d, but it should be 0, since argument 'table' is NULL"};
inline constexpr ErrDef TableNullSubtable{
    5191, "argument 'table' is NULL, which is not allowed when retrieving a subtable that is neither the "
          "whole table nor a single element, for node '%s'"};
inline constexpr ErrDef GetTooLarge{3623, "can't get table of node '%s' because it would be too large"};
inline constexpr ErrDef SetNotDiscrete{
    3624, "can't set %s table for node '%s' because the node is not discrete or discretized"};
inline constexpr ErrDef SetContinuousParent{
    3625, "can't set table of node '%s' because it has a parent node that is continuous and undiscretized"};
inline constexpr ErrDef SetTooLarge{3626, "can't set table of node '%s' because it would be too large"};
inline constexpr ErrDef SetTableNull{
    5192, "passed table is NULL (when parent_states is non-NULL, table must be passed"};
inline constexpr ErrDef SetTableCount{
    5193, "the number of entries in the passed table is declared to be %d, but it must be %d for node %s "
          "and given the passed parent_states"};

}  // namespace quorva::err
