// The errors of the foreign net formats: XMLBIF, the Hugin NET text, UAI and its evidence files,
// DOT, and the choice of format.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// Shared by the readers.
inline constexpr ErrDef FmtExpected{2900, "expected %s"};
inline constexpr ErrDef FmtExpectedGot{2901, "expected %s, but found '%s'"};
inline constexpr ErrDef FmtVariableTwice{2902, "variable '%s' is declared twice"};
inline constexpr ErrDef FmtUnknownVariable{2903, "unknown variable '%s'"};
inline constexpr ErrDef FmtStateTwice{2904, "state '%s' appears twice in variable '%s'"};
inline constexpr ErrDef FmtNoStates{2905, "variable '%s' has no states"};
inline constexpr ErrDef FmtTableTwice{2906, "variable '%s' has a second table"};
inline constexpr ErrDef FmtParentTwice{2907, "parent '%s' of variable '%s' is listed twice"};
inline constexpr ErrDef FmtOwnParent{2908, "variable '%s' is listed as its own parent"};
inline constexpr ErrDef FmtTableCount{2909, "the table of variable '%s' has %d numbers, but it needs %.0f"};
inline constexpr ErrDef FmtBadNumber{2910, "'%s' is not a number"};
inline constexpr ErrDef FmtBadProbability{2911, "probability '%s' of variable '%s' is not a finite number of 0 or more"};
inline constexpr ErrDef FmtTableTooBig{
    2912, "the table of variable '%s' would hold %.0f entries, more than the 400,000,000 allowed"};
inline constexpr ErrDef FmtUtilityChild{2913, "utility variable '%s' is a parent of '%s', but a utility can have no children"};
inline constexpr ErrDef FmtEmpty{2914, "the file is empty: no net in it"};
inline constexpr ErrDef FmtRowSum{2915,
    "the probabilities of %.0f of the %.0f rows of the table of '%s' do not sum to 1 (the first such row sums "
    "to %g), so they were scaled to sum to 1"};

// XMLBIF.
inline constexpr ErrDef XmlSyntax{2920, "the XML is not well formed: %s"};
inline constexpr ErrDef XmlNoElement{2921, "there is no <%s> element in <%s>"};
inline constexpr ErrDef XmlVersion{2922, "<BIF> has VERSION '%s', but only 0.3 can be read"};
inline constexpr ErrDef XmlVariableType{
    2923, "<VARIABLE> '%s' has TYPE '%s', but it should be 'nature', 'decision' or 'utility'"};
inline constexpr ErrDef XmlPosition{2924, "the position '%s' of variable '%s' should be \"(x, y)\" with two numbers"};

// Hugin NET.
inline constexpr ErrDef HuginContinuous{2930, "node '%s' is continuous, and only discrete nodes can be read"};
inline constexpr ErrDef HuginClass{2931, "the file holds a class (an object-oriented net); only plain nets can be read"};
inline constexpr ErrDef HuginJoint{2932, "potential for '%s' names %d nodes before '|', but only one can be read"};
inline constexpr ErrDef HuginParentheses{2934, "unbalanced parentheses in the data of '%s'"};
inline constexpr ErrDef HuginNodeKeyword{
    2935, "expected 'net', 'node', 'decision', 'utility' or 'potential', but found '%s'"};

// UAI.
inline constexpr ErrDef UaiMarkov{
    2940, "the file is a MARKOV net (undirected factors), which can't be read as a Bayes net; only BAYES files can be read"};
inline constexpr ErrDef UaiPreamble{2941, "the file should start with BAYES, but it starts with '%s'"};
inline constexpr ErrDef UaiCount{2942, "%s should be a whole number from %d to %d, but it is '%s'"};
inline constexpr ErrDef UaiVariableIndex{2943, "variable index %s is out of range (there are %d variables)"};
inline constexpr ErrDef UaiTwoTables{2944, "variable %d is the child (last in the scope) of two tables"};
inline constexpr ErrDef UaiNoTable{2945, "variable %d is the child (last in the scope) of no table"};
inline constexpr ErrDef UaiTrailing{2946, "unexpected '%s' after the last table"};
inline constexpr ErrDef UaiNames{2947, "the names file '%s' has %d names, but the net has %d variables"};
inline constexpr ErrDef UaiEvidenceCount{
    2948, "the evidence holds %d numbers after its count, but %d observed variables need %d"};
inline constexpr ErrDef UaiEvidenceValue{2949, "value %s of variable %d is out of range (it has %d states)"};
inline constexpr ErrDef UaiEvidenceTwice{2950, "variable %d is observed twice"};

// Writing and choosing formats.
inline constexpr ErrDef FmtCantHoldKind{
    2955, "node '%s' is a %s node, which a %s file can't hold (write it as DNET, XMLBIF or Hugin NET)"};
inline constexpr ErrDef FmtNoStatesWrite{2956, "node '%s' has no states, so it can't be written as %s"};
inline constexpr ErrDef FmtUnknownFormat{2957, "the net format %d is unknown"};
inline constexpr ErrDef FmtWriteOnly{2958, "%s files can be written, not read"};
inline constexpr ErrDef FmtNeedsCompiled{
    2959, "belief bars need the beliefs of a compiled net, but net '%s' is not compiled"};
inline constexpr ErrDef FmtIncompleteTable{
    2960, "node '%s' has no complete table, which a %s file must give"};

inline constexpr ErrDef FmtArgFormat{
    2961, "argument 'format' is %d, but it should be one of the net formats (from %d to %d)"};
inline constexpr ErrDef FmtArgReadFormat{
    2962, "argument 'format' is %d, but only DNET, BIF, XMLBIF, Hugin NET and UAI (1 to 5) can be read, or 0 to guess"};

}  // namespace quorva::err
