// The errors of building a node's table from its equation.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef EqnTableNumSamples{5192, "argument 'num_samples' must be one or more (it is %d)"};
inline constexpr ErrDef EqnTableSampUnc{5193, "argument 'samp_unc' must be 0 or 1 (it is %d)"};
inline constexpr ErrDef EqnTableParentNoLevels{
    2020, "can't convert equation to table for >-node '%s' because it has a parent >-node (%s) with no "
          "discretization intervals set (it needs them because it is continuous)"};
inline constexpr ErrDef EqnTableNodeNoLevels{
    2313, "can't convert equation to table for >-node '%s' because it has no discretization intervals set "
          "(it needs them because it is continuous and nondeterministic)"};
inline constexpr ErrDef EqnTableNoEquation{
    2286, "can't convert equation to table for >-node '%s' because it has no equation"};
inline constexpr ErrDef EqnTableRandomized{
    3988, "can't build table from this equation because it contains a randomized funtion (one whose name "
          "ends with '%s')"};
inline constexpr ErrDef EqnTableCantForm{
    2284, "can't build >-CPTable from equation for >-node %s, because can't form/revise its >-CPTable"};
inline constexpr ErrDef EqnTableNotInteger{
    2285, "value for >-node '%s' is %g, but it should be an integer, since this is a >-discrete >-node%s"};
inline constexpr ErrDef EqnTableNegativeState{
    2285, "value for >-node '%s' is %d, which is not a valid state index, because it is negative (and this "
          ">-node is >-discrete%s)"};
inline constexpr ErrDef EqnTableStateTooHigh{
    2285, "value for >-node '%s' is %d, which is greater than its highest allowed state %d (they start at "
          "0), since this >-node is >-discrete%s"};
inline constexpr ErrDef EqnTableNotALevel{
    2287, "value for >-node '%s' is %g, which is not one of the levels of its states"};
inline constexpr ErrDef EqnTableOutsideIntervals{
    2287, "value for >-node '%s' is %g, which lies outside all of its discretization intervals"};
inline constexpr ErrDef EqnTableNegativeProb{
    2288, "the equation of >-node '%s' gives a negative probability (%g) for its state %s"};
inline constexpr ErrDef EqnTableUndefined{
    2289, "the equation of >-node '%s' gives an undefined value"};
inline constexpr ErrDef EqnTableRowOverflow{
    2851, "only doing %d samples (instead of %d) for a table row of node %s, because otherwise would "
          "overflow"};
inline constexpr ErrDef EqnTableCellOverflow{
    2852, "only doing %d samples (instead of %d) for a cell (#%d) of node %s, because otherwise would "
          "overflow"};
inline constexpr ErrDef EqnTableUniformRows{
    2290, "In equation of >-node %s, for %d out of %d parent settings (i.e. conditions), %s, so they were "
          "given uniform distributions"};
inline constexpr ErrDef EqnTableParentlessZero{
    3810, "In equation of >-node %s, %s, which is not allowed for a node with no parents. (It was given a "
          "uniform distribution)"};
inline constexpr ErrDef EqnTableTooLarge{
    2291, "cannot create table for >- node %s because the table would be too large"};
inline constexpr ErrDef EqnTableHalted{
    2292, "generating the table of >-node %s was halted after %d of its %d rows (the others are left "
          "undefined)"};

}  // namespace quorva::err
