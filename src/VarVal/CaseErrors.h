// The errors, warnings and notices of case files and casesets.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// Settings.
inline constexpr ErrDef CaseDelimChar{
    5574, "argument 'newchar' should be %d (means query only), or a comma, space or tab (it is %s)"};
inline constexpr ErrDef CaseDelimNeedsComma{
    5575, "argument 'newchar' should be a comma (it is %s), unless the missing data symbol is not a "
          "space or absent (it is %s)"};
inline constexpr ErrDef MissingDataChar{
    5576, "argument 'newchar' should be %d (means query only), 0 (means absent), or a space, *, ? or "
          "- (it is %s)"};
inline constexpr ErrDef MissingNeedsComma{
    5577, "argument 'newchar' cannot be absent (0) or a space (it is %s), unless the delimeter is a "
          "comma (it is %s)"};
inline constexpr ErrDef CaseValueFormArg{
    5578, "argument 'form' should be -1 (means query only), or 0 to 3 (it is %d)"};

// Writing.
inline constexpr ErrDef CaseIdNumArg{5579, "argument 'ID_num' is less than -1 (it is %lld)"};
inline constexpr ErrDef CaseFreqArg{5580, "argument 'freq' is less than 0 (it is %g)"};
inline constexpr ErrDef CaseNoFreqColumn{
    2090, "case file '%s' has no NumCases column, so the frequency %g cannot be written to it"};
inline constexpr ErrDef CaseNoIdColumn{
    2091, "case file '%s' has no IDnum column, so the ID number %lld cannot be written to it"};

// The file as a whole.
inline constexpr ErrDef CaseNotAscii{
    3893, "the case data file must be an ASCII file, but it is %s character encoded, in file %s"};
inline constexpr ErrDef NotCaseFile{2081, "not a case data file (it is a %s file), for file %s"};
inline constexpr ErrDef CaseFileVersion{
    2082, "these cases were stored using a %s version of file format (%.2f), in file %s.  They may "
          "not read correctly"};
inline constexpr ErrDef CaseNoVersion{2450, "case file doesn't indicate format version, for file %s"};
inline constexpr ErrDef MultipleIdNum{2083, "multiple IDnum columns in case file '%s'"};
inline constexpr ErrDef MultipleNumCases{2084, "multiple NumCases columns in case file '%s'"};
inline constexpr ErrDef DuplicateColumn{
    2085, "more than 1 column for variable '%s' in case file '%s' (only first column will be used)"};
inline constexpr ErrDef QueryAddNode{2086, "Add node '%s' from case file '%s'?"};
inline constexpr ErrDef NodesNotInNet{
    2087, "Case file '%s' referred to these >-node-s not in >-net '%s':\n%s"};
inline constexpr ErrDef AddedNode{2088, "added >-node '%s' to >-net '%s', to read case file '%s'"};

// Values of one case.
inline constexpr ErrDef CaseIllegalValue{2100, "illegal value '%.80s' for variable '%s', in %s"};
inline constexpr ErrDef CaseValueNoState{
    2101, "value %g does not correspond to any state of variable '%s', in %s"};
inline constexpr ErrDef CaseNotAState{
    2102, "value '%.80s' is not one of the possible states of variable '%s', in %s"};
inline constexpr ErrDef CaseUnknownValue{
    2103, "unknown value '%.80s' for variable '%s', so case is skipped, in %s"};
inline constexpr ErrDef CaseIllegalNumCases{2104, "illegal number '%.80s' for NumCases, in %s"};
inline constexpr ErrDef CaseTooFew{2105, "too few entries (%d, but preceeding row had %d), in %s"};
inline constexpr ErrDef CaseTooMany{
    2106, "too many entries (the preceeding row only had %d, but this has more), in %s"};
inline constexpr ErrDef CaseMultiLineComment{
    2107, "multi-line comment found starting on a line which has case information"};

// Reading one case at a time.
inline constexpr ErrDef CaseStartingOver{
    2110, "already read last (%s) case from file '%s', so starting over with first"};
inline constexpr ErrDef CaseFileEmpty{2111, "file has no cases in it, or is in an unknown format"};
inline constexpr ErrDef CaseNoMore{2112, "there are no more cases"};
inline constexpr ErrDef CaseNoSuchPosition{
    2113, "no case begins at position %lld of file '%s'"};
inline constexpr ErrDef CasePosnArg{
    5581, "argument 'case_posn' should point to FIRST_CASE, NEXT_CASE or a position returned before "
          "(it is %lld)"};
inline constexpr ErrDef CaseAddModeArg{
    5582, "argument 'add_new' should be DONT_ADD_NEW, QUERY_ADD_NEW, PRINT_AND_ADD_NEW or "
          "QUIETLY_ADD_NEW (it is %d)"};

// Casesets.
inline constexpr ErrDef CaseOptionsArg{5583, "argument 'options' should be empty or NULL (it is '%.80s')"};
inline constexpr ErrDef CaseDegreeArg{5584, "argument 'degree' is less than 0 (it is %g)"};
inline constexpr ErrDef CasesetFileDeleted{
    2115, ">-FileSpec '%s' of >-caseset '%s' has been deleted"};

}  // namespace quorva::err
