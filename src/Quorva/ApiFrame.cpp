// The API frame: environment lookup, locking, the call-frame name, and handle checks.
#include "Quorva/ApiFrame.h"

#include <chrono>
#include <thread>

#include "BN/Net/NodeCheck.h"
#include "BN/Net/NodeStates.h"
#include "Basic/BasicErrors.h"
#include "Basic/CallFrame.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiNames.h"

namespace quorva {

namespace {

bool singleGlobal() { return concurrency().externalThreads == Threads::Single; }
// "CallerAssuresSafety" skips the second look at the objects on the way to the environment.
bool doubleCheck() { return concurrency().serialize != Serialize::CallerAssuresSafety; }

// A generator after DeleteRandomGen_vq: its shell carries the deleted tag, unmasked.
bool isDeletedRandgen(const randgen_vq* h) { return asRandgen(h)->tag == DELETED_TYPE; }

Environ* envOfNetObject(const Bnet* net) {
  if (!net || (doubleCheck() && !net->isOfType(BNET_TYPE))) return defaultEnviron();
  Environ* env = Environ::of(net->env);
  if (!env || (doubleCheck() && !env->isOfType(ENVIRON_TYPE))) return defaultEnviron();
  return env;
}

}  // namespace

Environ* envOf(const environ_vq* env) {
  if (singleGlobal() || !env || !handleIsOfType(env, ENVIRON_TYPE)) return defaultEnviron();
  return asEnv(env);
}

Environ* envOf(const net_bn* net) {
  if (singleGlobal() || !net || !handleIsOfType(net, BNET_TYPE)) return defaultEnviron();
  return envOfNetObject(asNet(net));
}

Environ* envOf(const node_bn* node) {
  if (singleGlobal() || !node || !handleIsOfType(node, BNODE_TYPE)) return defaultEnviron();
  return envOfNetObject(asNode(node)->net);
}

Environ* envOf(const nodelist_bn* list) {
  if (singleGlobal() || !list || !handleIsOfType(list, NODELIST_TYPE)) return defaultEnviron();
  return envOfNetObject(asList(list)->net);
}

Environ* envOf(const report_vq* report) {
  // A cleared record is freed: it is known by its absence from the logs, not by its tag.
  if (singleGlobal() || !report || !ErrorLog::exists(report) || !handleIsOfType(report, REPORT_TYPE))
    return defaultEnviron();
  Environ* env = Environ::of(asReport(report)->env);
  return env && env->isOfType(ENVIRON_TYPE) ? env : defaultEnviron();
}

Environ* envOf(const randgen_vq* rand) {
  if (singleGlobal() || !rand) return defaultEnviron();
  // A deleted generator keeps its environment, where the refusal is recorded.
  if (!handleIsOfType(rand, RANDGEN_TYPE) && !isDeletedRandgen(rand)) return defaultEnviron();
  Environ* env = Environ::of(asRandgen(rand)->env);
  return env && env->isOfType(ENVIRON_TYPE) ? env : defaultEnviron();
}

Environ* envOf(const stream_vq* stream) {
  if (singleGlobal() || !stream || !handleIsOfType(stream, FILESPEC_TYPE)) return defaultEnviron();
  Environ* env = Environ::of(asStream(stream)->env());
  return env && env->isOfType(ENVIRON_TYPE) ? env : defaultEnviron();
}

Environ* envOf(const caseset_cs* cases) {
  if (singleGlobal() || !cases || !handleIsOfType(cases, CASESET_TYPE)) return defaultEnviron();
  Environ* env = Environ::of(asCaseset(cases)->env);
  return env && env->isOfType(ENVIRON_TYPE) ? env : defaultEnviron();
}

namespace {

// The common handle check: null, type tag, deleted flag.  At level 1 nothing is checked, but a
// null handle is still stopped (as an internal error) before it can be followed.
template <class T>
T& checked(ApiFrame& f, const void* h, uint16_t type, const char* glossary, ErrDef deletedDef) {
  Environ& env = f.env();
  if (f.level() >= QUICK_CHECK_LEVEL) {
    if (!h) argError(&env, err::NullObject, glossary);
    if (!handleIsOfType(h, type)) argError(&env, err::WrongType, glossary);
    if (static_cast<const Tagged*>(h)->deleted) argError(&env, deletedDef, glossary);
  }
  QASSERT(&env, h != nullptr);
  return *static_cast<T*>(const_cast<void*>(h));
}

}  // namespace

Bnode& ApiFrame::node(const node_bn* h) {
  Bnode& n = checked<Bnode>(*this, h, BNODE_TYPE, "Bnode", err::DeletedNode);
  if (level() >= COMPLETE_CHECK_LEVEL) checkNodeConsistency(n);
  return n;
}

Bnet& ApiFrame::net(const net_bn* h) {
  return checked<Bnet>(*this, h, BNET_TYPE, "Bnet", err::DeletedNet);
}

NodeList& ApiFrame::list(const nodelist_bn* h) {
  return checked<NodeList>(*this, h, NODELIST_TYPE, "Bnodes", err::DeletedObject);
}

ErrorRecord& ApiFrame::report(const report_vq* h) {
  if (level() >= QUICK_CHECK_LEVEL && h && !ErrorLog::exists(h)) argError(&env_, err::DeletedObject, "report");
  return checked<ErrorRecord>(*this, h, REPORT_TYPE, "report", err::DeletedObject);
}

Environ& ApiFrame::environ(const environ_vq* h) {
  return checked<Environ>(*this, h, ENVIRON_TYPE, "Environ", err::DeletedObject);
}

RandomGen& ApiFrame::randgen(const randgen_vq* h) {
  if (level() >= QUICK_CHECK_LEVEL && h && isDeletedRandgen(h)) argError(&env_, err::DeletedObject, "RandomGenerator");
  return checked<RandomGen>(*this, h, RANDGEN_TYPE, "RandomGenerator", err::DeletedObject);
}

FileSpec& ApiFrame::stream(const stream_vq* h) {
  return checked<FileSpec>(*this, h, FILESPEC_TYPE, "FileSpec", err::DeletedObject);
}

Caseset& ApiFrame::caseset(const caseset_cs* h) {
  return checked<Caseset>(*this, h, CASESET_TYPE, "Caseset", err::DeletedObject);
}

void ApiFrame::state(const Bnode& node, int s) {
  if (level() >= QUICK_CHECK_LEVEL) checkStateIndex(node, s);
  QASSERT(&env_, s >= 0 && s < node.numStates);
}

void ApiFrame::notNull(const void* p, const char* arg) {
  if (!p) argError(&env_, err::NullArgument, arg);
}

namespace detail {

EnvLock::EnvLock(Environ& env) : env_(env) {
  if (concurrency().serialize == Serialize::Sleep) {
    while (!env_.lock.try_lock()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  } else {
    env_.lock.lock();
  }
}

// The frame name is assigned in place, so that the thread's string keeps its capacity and an
// ordinary call allocates nothing (the saved name is empty outside callbacks).
FrameName::FrameName(const char* fname) : saved_(CallFrame::name()) {
  std::string& frame = CallFrame::name();
  if (CallFrame::inCallback()) frame = saved_ + " " + fname;
  else frame.assign(fname);
}

FrameName::~FrameName() { CallFrame::name().assign(saved_); }

void noEnvironment(const char*) { raiseRecord(nullptr, DIALOG, ERROR_SEV, 0, -err::Uninitialized.number, err::Uninitialized.text); }

bool mayStart(Environ& env, const char* fname) {
  if (!env.usable()) {
    noEnvironment(fname);
    return false;
  }
  const std::string& running = CallFrame::name();
  if (!running.empty() && !CallFrame::inCallback()) {
    raiseRecord(&env, DIALOG, ERROR_SEV, FROM_WRAPPER_CAT, -err::NestedCall.number,
                format(err::NestedCall.text, apiNameIn(env.language, fname),
                       apiNameIn(env.language, running)));
    return false;
  }
  return true;
}

void recordFault(Environ& env, const char* what, bool memory, const char* fname) {
  try {
    if (memory && what && *what)
      raiseRecord(&env, DIALOG, ERROR_SEV, OUT_OF_MEMORY_CAT, -err::NoMemoryToStart.number,
                  format(err::NoMemoryToStart.text, apiNameIn(env.language, fname)));
    else if (memory)
      raiseRecord(&env, DIALOG, ERROR_SEV, OUT_OF_MEMORY_CAT, -err::NotEnoughMemory.number,
                  format(err::NotEnoughMemory.text, "to continue", "more memory than is free"));
    else if (what)
      raiseRecord(&env, DIALOG, ERROR_SEV, 0, -err::StdLibFault.number, format(err::StdLibFault.text, what));
    else
      raiseRecord(&env, DIALOG, ERROR_SEV, 0, -err::SystemFault.number, err::SystemFault.text);
  } catch (...) {
    // Nothing more can be recorded; the call still fails with its failure value.
  }
}

}  // namespace detail
}  // namespace quorva
