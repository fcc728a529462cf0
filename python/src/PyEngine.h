// The Python package's hold on the engine: the one environment of the process, error records
// turned into Python exceptions and warnings, and handles to nets and nodes that know whether
// what they point at still exists.
#pragma once
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "CaseFileForm.h"
#include "Quorva.h"

namespace quorva::py {

namespace pb = pybind11;

// The process's environment, made and initialised at the first use.
environ_vq* processEnv();
// A fresh environment of its own (for worker threads); the caller closes it with closeEnv.
environ_vq* newEnv();
void closeEnv(environ_vq* env);

// An error record of the engine on its way to Python (quorva.Error and its subclasses).
struct EngineError {
  int number;
  int severity;
  std::string message;
};

// Reads the calling thread's records of `env`, clears them all, issues warnings for warning
// records, and throws EngineError for the first error record (or worse).
void check(environ_vq* env);
// The same, without Python (worker threads): the first error record, or number 0 when none.
EngineError takeError(environ_vq* env);

// Keeps the first Python exception a listener raised on this thread until check() raises it.
void deferListenerError(pb::error_already_set& e);
bool listenerErrorPending();

// A random generator of the process's environment, deleted with its last holder.
struct RandomGen {
  explicit RandomGen(randgen_vq* g) : gen(g) {}
  ~RandomGen();
  RandomGen(const RandomGen&) = delete;
  RandomGen& operator=(const RandomGen&) = delete;
  randgen_vq* gen;
};

// Thrown for a handle whose net or node has been deleted (quorva.DeletedError).
struct DeletedError {
  std::string what;
};

// What every handle of one net shares: the net while it lives, and one flag per node handed out.
struct NetState {
  net_bn* net = nullptr;
  std::unordered_map<node_bn*, std::shared_ptr<bool>> nodeAlive;
  std::shared_ptr<RandomGen> random;  // the net's own generator (net.random), or none
  int firing = 0;                     // listeners of this net running now (they may not delete)
  std::shared_ptr<bool> aliveOf(node_bn* node);
  // Marks the handles of nodes no longer in the net as dead (after undo, redo, deletions).
  void resync();
  void kill();
};

class Node;

class Net {
 public:
  explicit Net(net_bn* net);
  // The handle Python already has of `net`, if any.
  static std::optional<Net> known(net_bn* net);
  Net(std::shared_ptr<NetState> state) : state_(std::move(state)) {}
  net_bn* get() const;  // DeletedError when deleted
  bool alive() const { return state_->net != nullptr; }
  const std::shared_ptr<NetState>& state() const { return state_; }
  Node node(node_bn* node) const;
  // The node of that name or handle; KeyError (unknown name) or ValueError (another net's node).
  Node nodeOf(const pb::handle& key) const;
  std::vector<Node> nodesOf(const pb::object& keys) const;  // None: every node
  std::vector<Node> allNodes() const;

 private:
  std::shared_ptr<NetState> state_;
};

class Node {
 public:
  Node(std::shared_ptr<NetState> net, node_bn* node, std::shared_ptr<bool> alive)
      : net_(std::move(net)), node_(node), alive_(std::move(alive)) {}
  node_bn* get() const;  // DeletedError when the node or its net is deleted
  node_bn* raw() const { return node_; }
  Net net() const { return Net(net_); }
  int numStates() const;
  // A state given by name or index; ValueError / IndexError when the node has no such state.
  state_bn stateOf(const pb::handle& state) const;
  pb::object stateName(state_bn s) const;  // the name, or the index when the states have no names
  void markDeleted() { *alive_ = false; }

 private:
  std::shared_ptr<NetState> net_;
  node_bn* node_;
  std::shared_ptr<bool> alive_;
};

// A new node list of `net` holding `nodes`, deleted with the object.
class NodeList {
 public:
  NodeList(net_bn* net, const std::vector<Node>& nodes);
  ~NodeList();
  NodeList(const NodeList&) = delete;
  NodeList& operator=(const NodeList&) = delete;
  nodelist_bn* get() const { return list_; }

 private:
  nodelist_bn* list_ = nullptr;
};

// The nodes of an engine list as handles of `net`.
std::vector<Node> nodesOfList(const Net& net, const nodelist_bn* list);

// Forgets the listeners of the net (node nullptr) or of one node once they are gone (GIL held).
void dropListeners(const NetState* net, node_bn* node);
// RuntimeError when a listener of the net is running: it may not delete the net or its nodes.
void refuseInsideListener(const NetState& net, const char* what);

// While alive, the net draws from `random` (a quorva.Random, or None for no change); then the
// net's own generator is back.
class NetRandomScope {
 public:
  NetRandomScope(const Net& net, const pb::object& random);
  ~NetRandomScope();
  NetRandomScope(const NetRandomScope&) = delete;
  NetRandomScope& operator=(const NetRandomScope&) = delete;

 private:
  Net net_;
  std::shared_ptr<RandomGen> used_;
};
// The generator of a quorva.Random (None: nullptr).
std::shared_ptr<RandomGen> randomOf(const pb::object& random);

// One binding function per file.
void bindNet(pb::module_& m);
void bindNode(pb::module_& m);
void bindQueries(pb::module_& m);
void bindLearning(pb::module_& m);
void bindBatch(pb::module_& m);
void bindEdits(pb::module_& m);
void bindListeners(pb::module_& m);
void bindRandom(pb::module_& m);
void bindCaseFiles(pb::module_& m);
void bindFormats(pb::module_& m);

// Net files in a named format ("dnet", "bif", "xmlbif", "hugin", "uai", "dot", "dot_beliefs").
int netFormatCode(const std::string& name);  // ValueError for another name
Net readNetFormat(const std::string& path, const std::string& format);
void writeNetFormat(const Net& net, const std::string& path, const std::string& format);

}  // namespace quorva::py

namespace quorva::py {
// Adds a method to a class bound in another file.
template <typename F, typename... Extra>
void addMethod(pb::module_& m, const char* cls, const char* name, F&& f, const Extra&... extra) {
  pb::object type = m.attr(cls);
  type.attr(name) = pb::cpp_function(std::forward<F>(f), pb::name(name), pb::is_method(type),
                                     pb::sibling(pb::getattr(type, name, pb::none())), extra...);
}
// Adds a property with a getter and a setter to a class bound in another file.
template <typename Get, typename Set>
void addProperty(pb::module_& m, const char* cls, const char* name, Get&& get, Set&& set, const char* doc) {
  pb::object type = m.attr(cls);
  pb::object builtins = pb::module_::import("builtins");
  type.attr(name) = builtins.attr("property")(pb::cpp_function(std::forward<Get>(get)),
                                              pb::cpp_function(std::forward<Set>(set)), pb::none(), doc);
}
}  // namespace quorva::py
