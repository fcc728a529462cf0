// API functions of the environment: lifecycle, version, checking level, memory, language,
// concurrency and the deliberate test fault.
#include <cstring>
#include <limits>

#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"
#include "Quorva/ApiNames.h"

using namespace quorva;

namespace {

constexpr const char* VERSION_STRING = "1.00 L64,Quorva (threads,memory_limit)";

void writeMessage(char* mesg, const std::string& text) {
  if (!mesg) return;
  std::strncpy(mesg, text.c_str(), MESG_LEN_vq - 1);
  mesg[MESG_LEN_vq - 1] = '\0';
}

const char* remember(std::string& slot, const std::string& value) {
  thread_local std::string previous;
  previous = slot;
  slot = value;
  return previous.c_str();
}

// Sets (or with "?" reads) one process-wide setting; returns the name of the value before.
template <class E>
const char* controlSetting(Environ& e, std::atomic<E>& slot, const std::vector<const char*>& names,
                           const std::string& cmd, const std::string& val) {
  const char* previous = names[static_cast<size_t>(slot.load())];
  if (val == "?") return previous;
  for (size_t i = 0; i < names.size(); ++i)
    if (val == names[i]) {
      slot.store(static_cast<E>(i));
      return previous;
    }
  argError(&e, err::UnknownConcurrencyValue, val, cmd);
}

}  // namespace

extern "C" {

double GetUndefDbl_vq(void) { return std::numeric_limits<double>::quiet_NaN(); }

environ_vq* NewQuorvaEnviron_vq(const char* /*license*/, environ_vq* prev, const char* /*locn*/) {
  if (prev) {
    raiseRecord(nullptr, DIALOG, ERROR_SEV, 0, -err::PrevEnvironNotNull.number, err::PrevEnvironNotNull.text);
    return nullptr;
  }
  try {
    Environ* env = new Environ();
    env->state = 10;
    return handle(env);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

int InitQuorva2_bn(environ_vq* env_h, char* mesg) {
  if (!env_h || !handleIsOfType(env_h, ENVIRON_TYPE)) {
    detail::noEnvironment("InitQuorva2_bn");
    return -1;
  }
  Environ& env = *asEnv(env_h);
  std::lock_guard<std::recursive_mutex> g(env.lock);
  if (env.state < 0) {
    detail::noEnvironment("InitQuorva2_bn");
    return -1;
  }
  env.state = 30;
  setDefaultEnviron(&env);
  writeMessage(mesg, std::string("Quorva ") + VERSION_STRING + ", ready for use.");
  return 0;
}

int CloseQuorva_bn(environ_vq* env_h, char* mesg) {
  Environ* env = envOf(env_h);
  if (env_h && env != asEnv(env_h)) env = nullptr;  // only the environment passed may be closed
  int result = apiCall(__func__, -1, env, [&](ApiFrame& f) {
    Environ& e = f.environ(env_h);
    e.close();
    buryEnviron(std::unique_ptr<Environ>(&e));
    writeMessage(mesg, "Quorva closed.");
    return 0;
  });
  return result;
}

int GetQuorvaVersion_bn(environ_vq* env, const char** version) {
  return apiCall(__func__, -1, envOf(env), [&](ApiFrame& f) {
    f.environ(env);
    if (version) *version = VERSION_STRING;
    return QUORVA_VERSION;
  });
}

int ArgumentChecking_vq(int setting, environ_vq* env) {
  return apiCall(__func__, -1, envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    int previous = e.checkingLevel;
    if (setting > COMPLETE_CHECK || setting == 0) argError(&e, err::CheckingLevel, setting);
    if (setting > 0) e.checkingLevel = setting;
    return previous;
  });
}

double LimitMemoryUsage_vq(double max_mem, environ_vq* env) {
  return apiCall(__func__, -1.0, envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    double previous = e.memory.limit();
    if (max_mem >= 0) e.memory.setLimit(max_mem);
    return previous;
  });
}

const char* SetLanguage_vq(environ_vq* env, const char* language) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    if (!language || std::strcmp(language, "?") == 0) return e.language.c_str();
    if (!isKnownLanguage(language)) argError(&e, err::UnknownLanguage, language);
    return remember(e.language, language);
  });
}

const char* ControlConcurrency_vq(environ_vq* env, const char* command, const char* value) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    f.notNull(command, "command");
    std::string cmd = command, val = value ? value : "?";
    Concurrency& c = concurrency();
    static const std::vector<const char*> threads{"MultiThread", "SingleThread"};
    static const std::vector<const char*> serialize{"NormalBlocking", "Sleep", "CallerAssuresSafety"};
    if (cmd == "ExternalThreads") return controlSetting(e, c.externalThreads, threads, cmd, val);
    if (cmd == "InternalThreads") return controlSetting(e, c.internalThreads, threads, cmd, val);
    if (cmd == "Serialize") return controlSetting(e, c.serialize, serialize, cmd, val);
    argError(&e, err::UnknownConcurrencyCommand, cmd);
  });
}

int TestFaultRecovery_vq(environ_vq* env, int test_num) {
  return apiCall(__func__, -1, envOf(env), [&](ApiFrame& f) -> int {
    argError(&f.environ(env), err::TestFault, test_num);
  });
}

}  // extern "C"
