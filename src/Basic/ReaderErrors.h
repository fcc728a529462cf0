// The errors of streams, of the token reader and of the settings file.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// Files.
inline constexpr ErrDef CantOpenFile{2640, "couldn't open file '%s' for %s"};
inline constexpr ErrDef CantWriteFile{2641, "couldn't write to file '%s'"};
inline constexpr ErrDef DiskReadError{2642, "disk error trying to read file '%s'"};
inline constexpr ErrDef IsDirectory{2644, "couldn't open '%s' for %s, because it is a directory, not a file"};
inline constexpr ErrDef EmptyFile{2645, "the file holds no %s: it is empty, or holds only white space and comments"};
inline constexpr ErrDef PasswordFormat{
    2643, "attempt to set an encryption password for a file which is in a non-encryptable format "
          "(extension is %s)"};

// Comments.
inline constexpr ErrDef UnterminatedBlockComment{2601, "unterminated comment, starting with '/*'"};
inline constexpr ErrDef UnterminatedNestedComment{2602, "unterminated comment, starting with '/#'"};
inline constexpr ErrDef NestedCommentsTooDeep{2603, "nested comments '/#' more than 32 deep"};
inline constexpr ErrDef UnterminatedMarkupComment{2604, "unterminated comment, starting with '<!--'"};
inline constexpr ErrDef UnterminatedStructure{2605, "unterminated structure starting with %c"};
inline constexpr ErrDef UnterminatedIgnoreSection{
    2606, "unterminated comment, starting with '<![IGNORE['"};
inline constexpr ErrDef MarkupCommentsTooDeep{2607, "nested comments '<!--' more than 32 deep"};

// Quoted strings.
inline constexpr ErrDef MissingOpenQuote{2608, "missing open quote"};
inline constexpr ErrDef BinaryLengthCut{
    2609, "reading binary \\%c reached end-of-input before finished reading length"};
inline constexpr ErrDef BinaryDataCut{
    2610, "reading binary \\%c needed to read %lld bytes, but only read %lld before reaching "
          "end-of-input"};
inline constexpr ErrDef UnterminatedQuote{2611, "unterminated quote mark (\"), starting"};
inline constexpr ErrDef UnterminatedRawQuote{2612, "unterminated quote (\"), starting"};
inline constexpr ErrDef NotNormalizationFormC{
    2613, "Contains Unicode not in Normalization Form C.  Converting.\n"};

// Truth values and lists.
inline constexpr ErrDef IllegalTruthValue{2614, "illegal value '%s' (should be TRUE or FALSE)"};
inline constexpr ErrDef IllegalTruthOrMaybe{2615, "illegal value '%s' (should be TRUE, FALSE or MAYBE)"};
inline constexpr ErrDef ListMissingOpen{2616, "missing '('"};
inline constexpr ErrDef ListIllegalPunctuation{2617, "illegal punctuation '%s'"};
inline constexpr ErrDef ListMissingComma{2618, "missing ','"};
inline constexpr ErrDef ListMissingClose{2619, "missing ')'"};
inline constexpr ErrDef ParamListMissingClose{2620, "missing close parenthesis ')' for parameter list"};
inline constexpr ErrDef MissingParamName{2621, "missing parameter name"};
inline constexpr ErrDef IllegalParamName{2622, "illegal parameter name: '%s'"};
inline constexpr ErrDef DuplicateParam{2623, "duplicated parameter '%s'"};
inline constexpr ErrDef ParamListPunctuation{
    2624, "incorrect punctuation '%s' should be comma ',' or parenthesis ')'"};
inline constexpr ErrDef IllegalPropertyName{2625, "illegal property name: %s"};
inline constexpr ErrDef PropertyNotEquals{2626, "incorrect punctuation '%s' - should be equals '='"};
inline constexpr ErrDef PropertyMissingEquals{2627, "missing equal sign '='"};
inline constexpr ErrDef DuplicateProperty{2628, "duplicated property '%s'"};
inline constexpr ErrDef MissingPropertyName{2629, "missing property name"};
inline constexpr ErrDef PropertyNamePunctuation{
    2630, "incorrect punctuation '%s' - expecting a property name"};

// The settings file.
inline constexpr ErrDef SettingsLine{2650, "%s, on line %d of settings file '%s' (line ignored)"};
inline constexpr ErrDef SettingsFileUnread{
    2651, "couldn't read the settings file '%s' (named by %s), so the default settings are used"};
inline constexpr ErrDef UnicodeRawNeedsVersion2{
    2652, "Settings indicated to 'Leave_unicode_raw_when_making_DNET_files', but that will be "
          "ignored, because they also indicated to write files in version %.2f, whereas only "
          "versions >= 2.00 can do that (see 'Version_of_format_to_make_DNET_and_QOVA_files')"};

}  // namespace quorva::err
