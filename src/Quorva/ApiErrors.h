// The errors of the API frame itself and of the environment and error-record functions.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

inline constexpr ErrDef Uninitialized{
    5101, "memory system (or environment) is uninitialized or has been closed"};
inline constexpr ErrDef NullNode{5105, "NULL passed for >-Bnode"};
inline constexpr ErrDef NullNet{5105, "NULL passed for >-Bnet"};
inline constexpr ErrDef NullObject{5105, "NULL passed for >-%s"};
inline constexpr ErrDef NestedCall{
    5114, "Thread is calling a >-Quorva API function >-%s before the previous one >-%s is finished."};
inline constexpr ErrDef WrongType{5144, "passed object is not a >-%s (it is damaged, or of another type)"};
inline constexpr ErrDef DeletedNode{5184, "deleted >-Bnode passed"};
inline constexpr ErrDef DeletedNet{5184, "deleted or damaged >-Bnet passed"};
inline constexpr ErrDef DeletedObject{5184, "deleted or damaged >-%s passed"};
inline constexpr ErrDef NullArgument{5106, "NULL passed for argument '%s'"};

inline constexpr ErrDef SeverityRange{
    5170, "argument 'severity' is %d, but should be between %d and %d inclusive"};
inline constexpr ErrDef SeverityRangeAllThreads{
    5171, "argument 'severity' is %d after removing %d for ALL_THREADS, but should be between %d and "
          "%d inclusive"};
inline constexpr ErrDef NewErrorNumber{
    5172, "argument 'number' is %d, but it should be between 1 and 999 inclusive"};
inline constexpr ErrDef NewErrorSeverity{
    5173, "argument 'severity' is %d, but it should be between %d and %d inclusive"};
inline constexpr ErrDef UnknownConcurrencyCommand{5174, "unknown concurrency command '%.80s'"};
inline constexpr ErrDef UnknownConcurrencyValue{
    5175, "unknown value '%.80s' for concurrency command '%.80s'"};
inline constexpr ErrDef CheckingLevel{
    5176, "argument 'setting' is %d, but it should be between 1 and 4 inclusive (or negative to query)"};
inline constexpr ErrDef UnknownLanguage{
    5177, "in argument 'language', '%.80s' is not a known language (use C, Java or C#)"};
inline constexpr ErrDef PrevEnvironNotNull{5178, "argument 'prev' must be NULL"};
inline constexpr ErrDef AlreadyInitialized{5179, "the >-Environ has already been initialized"};
inline constexpr ErrDef VisNotNull{
    5270, "argument 'vis' should be 0 (i.e. NULL) with this version of >-Quorva"};
inline constexpr ErrDef VisPositionNotFinite{5271, "a node position must be finite, not (%g, %g)"};
inline constexpr ErrDef TestFault{
    5197, "this is test # %d, an API param error generated deliberately to check recovery"};

}  // namespace quorva::err

namespace quorva::err {
inline constexpr ErrDef NullString{5107, "in argument '%s', NULL was passed instead of a string"};
}  // namespace quorva::err
