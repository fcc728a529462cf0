// The frame of every API call: find the environment, take its lock, name the call for the
// thread, check handles and arguments at the checking level, run one engine operation, and turn
// any failure into the function's failure value.
#pragma once
#include <new>
#include <stdexcept>
#include <string>

#include "Basic/Raise.h"
#include "Quorva/Handles.h"

namespace quorva {

// Finding the environment of a call from its first object argument.  With a null or unrecognised
// object the default environment is used, so that the refusal can still be recorded.
Environ* envOf(const environ_vq* env);
Environ* envOf(const net_bn* net);
Environ* envOf(const node_bn* node);
Environ* envOf(const nodelist_bn* list);
Environ* envOf(const report_vq* report);
Environ* envOf(const stream_vq* stream);
Environ* envOf(const randgen_vq* rand);
Environ* envOf(const caseset_cs* cases);

// The checks a call makes on its arguments, at the environment's checking level.
class ApiFrame {
 public:
  explicit ApiFrame(Environ& env) : env_(env) {}

  Environ& env() { return env_; }
  int level() const { return env_.checkingLevel; }

  Bnode& node(const node_bn* h);
  Bnet& net(const net_bn* h);
  NodeList& list(const nodelist_bn* h);
  ErrorRecord& report(const report_vq* h);
  Environ& environ(const environ_vq* h);
  FileSpec& stream(const stream_vq* h);
  // A random generator; one already deleted is refused as deleted.
  RandomGen& randgen(const randgen_vq* h);
  Caseset& caseset(const caseset_cs* h);
  // A state index of a node with states (refused on one without).
  void state(const Bnode& node, int state);
  // A pointer argument that must not be null.
  void notNull(const void* p, const char* arg);

 private:
  Environ& env_;
};

namespace detail {
class EnvLock {
 public:
  explicit EnvLock(Environ& env);
  ~EnvLock() { env_.lock.unlock(); }
  EnvLock(const EnvLock&) = delete;
  EnvLock& operator=(const EnvLock&) = delete;

 private:
  Environ& env_;
};

class FrameName {
 public:
  explicit FrameName(const char* fname);
  ~FrameName();
  FrameName(const FrameName&) = delete;
  FrameName& operator=(const FrameName&) = delete;

 private:
  std::string saved_;
};

// Reports a call that found no environment at all.
void noEnvironment(const char* fname);
// Checks, under the lock, what must hold before the call can begin: an initialised environment
// and no other API function running on this thread (unless from a callback).
bool mayStart(Environ& env, const char* fname);
void recordFault(Environ& env, const char* what, bool memory, const char* fname);
}  // namespace detail

// Runs `body(frame)` inside the frame of API function `fname`; returns its result, or `fail`
// when anything was refused or failed.
template <class R, class F>
R apiCall(const char* fname, R fail, Environ* env, F&& body) {
  if (!env || !env->isOfType(ENVIRON_TYPE)) {
    detail::noEnvironment(fname);
    return fail;
  }
  detail::EnvLock lock(*env);
  if (!detail::mayStart(*env, fname)) return fail;
  try {
    detail::FrameName name(fname);
    try {
      ApiFrame frame(*env);
      return body(frame);
    } catch (const QuorvaError&) {
    } catch (const std::bad_alloc&) {
      detail::recordFault(*env, "", true, fname);
    } catch (const std::exception& e) {
      detail::recordFault(*env, e.what(), false, fname);
    } catch (...) {
      detail::recordFault(*env, nullptr, false, fname);
    }
  } catch (const std::bad_alloc&) {
    detail::recordFault(*env, "left to even start", true, fname);
  }
  return fail;
}

// The same for functions without a result.
template <class F>
void apiRun(const char* fname, Environ* env, F&& body) {
  apiCall(fname, 0, env, [&](ApiFrame& f) {
    body(f);
    return 0;
  });
}

}  // namespace quorva
