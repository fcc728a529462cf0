// API functions that read, make and clear error records.
#include "Basic/Glossary.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

void checkSeverity(Environ& env, int severity) {
  if (severity > 0 && (severity & ALL_THREADS)) {
    int bare = severity & ~ALL_THREADS;
    if (bare < NOTHING_ERR || bare > INTERNAL_ERR)
      argError(&env, err::SeverityRangeAllThreads, bare, int{ALL_THREADS}, int{NOTHING_ERR}, int{INTERNAL_ERR});
  } else if (severity < NOTHING_ERR || severity > INTERNAL_ERR) {
    argError(&env, err::SeverityRange, severity, int{NOTHING_ERR}, int{INTERNAL_ERR});
  }
}

}  // namespace

extern "C" {

report_vq* GetError_vq(environ_vq* env, errseverity_vq severity, const report_vq* after) {
  return apiCall(__func__, static_cast<report_vq*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    const ErrorRecord* from = after ? &f.report(after) : nullptr;
    return handle(e.errors.next(std::this_thread::get_id(), enumBits(severity), from));
  });
}

int ErrorNumber_vq(const report_vq* error) {
  return apiCall(__func__, -1, envOf(error), [&](ApiFrame& f) {
    int n = f.report(error).number;
    return n < 0 ? -n : n;
  });
}

const char* ErrorMessage_vq(const report_vq* error) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(error),
                 [&](ApiFrame& f) { return f.report(error).message.c_str(); });
}

const char* ErrorDisplayMessage_vq(const report_vq* error) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(error), [&](ApiFrame& f) {
    ErrorRecord& r = f.report(error);
    r.display = stripGlossary(r.message);
    return r.display.c_str();
  });
}

errseverity_vq ErrorSeverity_vq(const report_vq* error) {
  return apiCall(__func__, NOTHING_ERR, envOf(error), [&](ApiFrame& f) {
    return static_cast<errseverity_vq>(f.report(error).severity);
  });
}

bool_vq ErrorCategory_vq(errcond_vq cond, const report_vq* error) {
  return apiCall(__func__, bool_vq{0}, envOf(error), [&](ApiFrame& f) {
    return static_cast<bool_vq>((f.report(error).categories & static_cast<uint32_t>(enumBits(cond))) != 0);
  });
}

void ClearError_vq(report_vq* error) {
  apiRun(__func__, envOf(error), [&](ApiFrame& f) {
    ErrorRecord& r = f.report(error);
    if (!f.env().errors.isShared(&r)) f.env().errors.remove(&r);
  });
}

void ClearErrors_vq(environ_vq* env, int severity) {
  apiRun(__func__, envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    int s = severity;
    checkSeverity(e, s);
    e.errors.clear(s & ~ALL_THREADS, (s & ALL_THREADS) != 0, std::this_thread::get_id());
  });
}

report_vq* NewError_vq(environ_vq* env, int number, errseverity_vq severity, const char* mesg) {
  return apiCall(__func__, static_cast<report_vq*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    if (number < 1 || number > 999) argError(&e, err::NewErrorNumber, number);
    int s = enumBits(severity);
    if (s < NOTHING_ERR || s > INTERNAL_ERR)
      argError(&e, err::NewErrorSeverity, s, int{NOTHING_ERR}, int{INTERNAL_ERR});
    if (!mesg) argError(&e, err::NullString, "mesg");
    return handle(raiseRecord(&e, NOT_DISPLAYED, s, FROM_DEVELOPER_CAT, -number, mesg));
  });
}

}  // extern "C"
