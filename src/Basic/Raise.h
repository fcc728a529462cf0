// Raising error records: the one routine and its wrappers of fixed severity and disposition.
//
// Errors (severity 5 and up) are thrown as QuorvaError and unwind to the API frame; warnings and
// notices are recorded and the operation goes on.
#pragma once
#include <cstdint>
#include <string>

#include "Basic/ErrDef.h"
#include "Basic/ErrorRecord.h"
#include "Basic/Format.h"

namespace quorva {

// Carries a raised record to the API frame (null when no environment could hold it).
struct QuorvaError {
  ErrorRecord* record;
};

// The one raising routine.  `text` is cut to 511 bytes.  Without a usable environment the
// message goes to standard error between rows of asterisks and null is returned.
ErrorRecord* raiseRecord(EnvCore* env, int disposition, int severity, uint32_t categories,
                         int number, std::string text);

[[noreturn]] void throwRecord(ErrorRecord* r);

// API argument errors and warnings: disposition 3.
template <class... A>
[[noreturn]] void argError(EnvCore* env, ErrDef d, const A&... a) {
  throwRecord(raiseRecord(env, DIALOG, ERROR_SEV, FROM_WRAPPER_CAT, -d.number, format(d.text, a...)));
}
template <class... A>
void argWarning(EnvCore* env, ErrDef d, const A&... a) {
  raiseRecord(env, DIALOG, WARNING_SEV, FROM_WRAPPER_CAT, -d.number, format(d.text, a...));
}

// Engine messages: disposition 2.
template <class... A>
[[noreturn]] void engError(EnvCore* env, ErrDef d, const A&... a) {
  throwRecord(raiseRecord(env, SOUND_AND_PRINTED, ERROR_SEV, 0, -d.number, format(d.text, a...)));
}
// An error recorded while the operation still succeeds (it is not thrown).
template <class... A>
void engErrorKept(EnvCore* env, ErrDef d, const A&... a) {
  raiseRecord(env, SOUND_AND_PRINTED, ERROR_SEV, 0, -d.number, format(d.text, a...));
}
template <class... A>
void engWarning(EnvCore* env, ErrDef d, const A&... a) {
  raiseRecord(env, SOUND_AND_PRINTED, WARNING_SEV, 0, -d.number, format(d.text, a...));
}
template <class... A>
void engNotice(EnvCore* env, ErrDef d, const A&... a) {
  raiseRecord(env, SOUND_AND_PRINTED, NOTICE_SEV, 0, -d.number, format(d.text, a...));
}

// Memory failures: thrown, in the out-of-memory category.
template <class... A>
[[noreturn]] void raiseMemoryError(EnvCore* env, ErrDef d, const A&... a) {
  throwRecord(raiseRecord(env, SOUND_AND_PRINTED, ERROR_SEV, OUT_OF_MEMORY_CAT, -d.number,
                          format(d.text, a...)));
}

// A failed internal consistency check: an internal error "<file>-<line> (<condition>)."
[[noreturn]] void internalCheckFailed(EnvCore* env, const char* file, int line, const char* cond);

}  // namespace quorva

#define QASSERT(env, cond) \
  ((cond) ? (void)0 : ::quorva::internalCheckFailed((env), __FILE__, __LINE__, #cond))
