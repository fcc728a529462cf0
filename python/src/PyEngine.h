// The Python package's hold on the engine: the one environment of the process, error records
// turned into Python exceptions and warnings, and handles to nets and nodes that know whether
// what they point at still exists.
#pragma once
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

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

// Thrown for a handle whose net or node has been deleted (quorva.DeletedError).
struct DeletedError {
  std::string what;
};

// What every handle of one net shares: the net while it lives, and one flag per node handed out.
struct NetState {
  net_bn* net = nullptr;
  std::unordered_map<node_bn*, std::shared_ptr<bool>> nodeAlive;
  std::shared_ptr<bool> aliveOf(node_bn* node);
  // Marks the handles of nodes no longer in the net as dead (after undo, redo, deletions).
  void resync();
  void kill();
};

class Node;

class Net {
 public:
  explicit Net(net_bn* net);
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

// One binding function per file.
void bindNet(pb::module_& m);
void bindNode(pb::module_& m);
void bindQueries(pb::module_& m);
void bindLearning(pb::module_& m);
void bindBatch(pb::module_& m);
void bindEdits(pb::module_& m);

}  // namespace quorva::py

namespace quorva::py {
// Adds a method to a class bound in another file.
template <typename F, typename... Extra>
void addMethod(pb::module_& m, const char* cls, const char* name, F&& f, const Extra&... extra) {
  pb::object type = m.attr(cls);
  type.attr(name) = pb::cpp_function(std::forward<F>(f), pb::name(name), pb::is_method(type),
                                     pb::sibling(pb::getattr(type, name, pb::none())), extra...);
}
}  // namespace quorva::py
