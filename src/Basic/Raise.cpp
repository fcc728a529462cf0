// The raising routine: per-thread limits, the 512-byte cut, and the fallback to standard error.
#include "Basic/Raise.h"

#include <cstdio>
#include <mutex>

#include "Basic/BasicErrors.h"
#include "Basic/CallFrame.h"
#include "Basic/EnvCore.h"
#include "Basic/Glossary.h"

namespace quorva {

namespace {

constexpr size_t MESSAGE_BUFFER = 512;

// Without an environment there is nowhere to keep a record: tell the person directly.
void reportWithoutEnvironment(int number, const std::string& text) {
  static std::mutex showing;
  std::unique_lock<std::mutex> lock(showing, std::try_to_lock);
  if (!lock.owns_lock()) return;  // one is being shown already: drop the second
  int magnitude = number < 0 ? -number : number;
  std::fprintf(stderr, "*********\n%s Error %d:\n%s\n*********\n", "Quorva", magnitude,
               stripGlossary(text).c_str());
}

std::string baseName(const char* path) {
  std::string s(path);
  size_t slash = s.find_last_of("/\\");
  if (slash != std::string::npos) s.erase(0, slash + 1);
  size_t dot = s.find_last_of('.');
  if (dot != std::string::npos) s.erase(dot);
  return s;
}

}  // namespace

ErrorRecord* raiseRecord(EnvCore* env, int disposition, int severity, uint32_t categories,
                         int number, std::string text) {
  if (text.size() >= MESSAGE_BUFFER) text.resize(MESSAGE_BUFFER - 1);
  if (!env || !env->usable()) {
    reportWithoutEnvironment(number, text);
    return nullptr;
  }
  return env->errors.add(number, severity, disposition, categories, std::move(text),
                         CallFrame::name());
}

void throwRecord(ErrorRecord* r) { throw QuorvaError{r}; }

void internalCheckFailed(EnvCore* env, const char* file, int line, const char* cond) {
  throwRecord(raiseRecord(env, NOT_DISPLAYED, INTERNAL_SEV, 0, -err::InternalCheck.number,
                          format(err::InternalCheck.text, baseName(file), line, cond)));
}

}  // namespace quorva
