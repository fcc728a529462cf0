// The errors and warnings of reading DNET text net files.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// The file as a whole.
inline constexpr ErrDef DnetExtraVersion{
    2400, "extra file format version information not recognized: '%.40s', in file '%s'"};
inline constexpr ErrDef DnetIllegalVersion{2401, "illegal version number (%s) in file '%s'"};
inline constexpr ErrDef DnetUnknownFileType{
    2402, "unknown >-Tavlin file type ('%s') recorded within file '%s'"};
inline constexpr ErrDef DnetWrongFileType{2403, "%s"};
inline constexpr ErrDef DnetVersionWarning{
    2404, "this >-net was saved using %s version of file format (=%.2f).  It may not read correctly"};
inline constexpr ErrDef DnetUnknownObject{2405, "unknown object '%s'"};
inline constexpr ErrDef DnetMissingSemicolonAt{2406, "missing semicolon at end of %s '%s'"};
inline constexpr ErrDef DnetMissingSemicolon{2406, "missing semicolon"};
inline constexpr ErrDef DnetIllegalSymbol{2407, "illegal symbol read: '%s' in %s file"};
inline constexpr ErrDef DnetNoNet{2408, "file does not contain a Bayes net (i.e. a '%s' object)"};
inline constexpr ErrDef DnetSecondNet{2409, "file contains more than one Bayes net (i.e. a '%s' object)"};
inline constexpr ErrDef ReadNetOptions{
    2410, "argument 'options' is %d, but it should be NO_VISUAL_INFO (%d), NO_WINDOW (%d), "
          "MINIMIZED_WINDOW (%d) or REGULAR_WINDOW (%d)"};

// Blocks and statements.
inline constexpr ErrDef DnetMissingOpenBrace{2411, "missing '{' to start %s"};
inline constexpr ErrDef DnetNoCloseBrace{2412, "no terminating '}' for %s"};
inline constexpr ErrDef DnetMissingEquals{2413, "missing '=' for `%s` statement"};
inline constexpr ErrDef DnetMissingStatementEnd{2414, "missing semicolon after `%s` statement"};
inline constexpr ErrDef DnetDuplicateNetField{2415, "more than one `%s` statement"};
inline constexpr ErrDef DnetUnknownItem{2416, "unknown %s '%s'"};
inline constexpr ErrDef DnetNotImplemented{
    2417, "parsing `%s` as a %s field is not implemented in this version of >-Quorva"};

// Node objects.
inline constexpr ErrDef DnetIllegalName{2418, "'%s' is not a legal name for a %s"};
inline constexpr ErrDef DnetDuplicateNode{2419, "duplicate %s name '%s'"};
inline constexpr ErrDef DnetDuplicateNodeset{2420, "more than one %s with the name '%s'"};
inline constexpr ErrDef DnetInheritUndefined{
    2421, "declaration of %s '%s' tries to inherit from a %s not yet defined"};
inline constexpr ErrDef DnetDuplicateNodeField{2422, "more than one `%s` statement for %s '%s'"};
inline constexpr ErrDef DnetMissingNodeField{2423, "missing `%s` statement for %s '%s'"};
inline constexpr ErrDef DnetAfterParents{2424, "`%s` statement should appear after PREDS statement"};
inline constexpr ErrDef DnetDefinitionUsed{
    2425, "a >-node meant only for defining others (declared with 'define') '%s' appears"};
inline constexpr ErrDef DnetParamParents{
    2426, "a 'param' node must not have parents, but an attempt was encountered"};

// Field checks.
inline constexpr ErrDef DnetNumStatesLow{2427, "`%s` stated to be %d, but it must not be less than 1"};
inline constexpr ErrDef DnetNumStatesDisagree{
    2428, "`%s` stated to be %d, but other statements imply it is %d"};
inline constexpr ErrDef DnetStateNamesCount{2429, "there are %d states, but %d names"};
inline constexpr ErrDef DnetLevelsCount{
    2430, "has %d entries, but there should be %d, because %s has %d states and is %s"};
inline constexpr ErrDef DnetLevelsMinimum{2431, "has %d entries, but minimum is %d, because %s is %s"};
inline constexpr ErrDef DnetInputsCount{
    2432, "there are %d input names, but require %d (one for each parent)"};
inline constexpr ErrDef DnetUndefinedNode{2433, "undefined >-node '%s'"};
inline constexpr ErrDef DnetIllegalValue{2434, "illegal value '%s'"};
inline constexpr ErrDef DnetLessThanZero{2435, "'%g' is less than zero"};
inline constexpr ErrDef DnetEmptyStateName{2436, "the %s state name is empty"};
inline constexpr ErrDef DnetUnknownState{2437, "unknown state '%s'"};
inline constexpr ErrDef DnetOutOfRange{2438, "'%g' is out-of-range for this >-node"};
inline constexpr ErrDef DnetFindingCount{
    2439, "there are %d entries, but there should be %d, because this %s has that many states"};
inline constexpr ErrDef DnetNotDiscreteFinding{
    2440, "there should not be an `%s` statement for this %s because it is not a discrete or "
          "discretized variable"};

// Tables.
inline constexpr ErrDef DnetTableNotDiscrete{
    2441, "can't have a table for >-node %s because it is not a discrete or discretized variable"};
inline constexpr ErrDef DnetTableParentNotDiscrete{
    2442, "can't have a table for >-node %s because it has a parent (%s) which is not a discrete or "
          "discretized variable"};
inline constexpr ErrDef DnetTooManyOpen{
    2443, "too many open parenthesis (are %d, but should be %d) within table of >-node %s%s"};
inline constexpr ErrDef DnetUnknownEscape{
    2444, "unknown escape name '%s' in table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetUnknownStateEntry{
    2445, "unknown state name '%s' in table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetUnexpectedPunct{
    2446, "unexpected punctuation %s in table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetTooFewClose{
    2447, "only %d close parenthesis (but should be %d) within table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetTooManyItems{
    2448, "too many items in list, or missing ')', within table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetTooManyClose{
    2449, "too many close parenthesis (should be %d) within table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetNotEnoughEntries{2392, "not enough table entries"};
inline constexpr ErrDef DnetNotEnoughElements{
    2451, "not enough elements in table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetTableMissingComma{
    2452, "missing comma (,) in table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetExtraClose{
    2453, "extra close parenthesis at end of table entry [%s] of >-node %s"};
inline constexpr ErrDef DnetRowFault{2454, "%s in table entry [%s] of >-node %s"};

// Node sets and user fields.
inline constexpr ErrDef DnetNodesetMissingEquals{2455, "missing '='"};
inline constexpr ErrDef DnetNodesetMissingSemicolon{2456, "missing ';'"};
inline constexpr ErrDef DnetUnknownUserClass{2390, "unknown user class '%s' (know of 'U1')"};
inline constexpr ErrDef DnetUserMissingSemicolon{2391, "expected ';', but found punctuation '%s'"};

}  // namespace quorva::err
