// The environment of the process, error records as exceptions, and the handle bookkeeping.
#include "PyEngine.h"

#include <algorithm>
#include <mutex>

namespace quorva::py {

environ_vq* newEnv() {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  if (!env) throw std::runtime_error("the engine could not make an environment");
  char mesg[MESG_LEN_vq];
  if (InitQuorva2_bn(env, mesg) < 0) throw std::runtime_error(std::string("the engine could not start: ") + mesg);
  return env;
}

void closeEnv(environ_vq* env) {
  char mesg[MESG_LEN_vq];
  if (env) CloseQuorva_bn(env, mesg);
}

environ_vq* processEnv() {
  static std::once_flag once;
  static environ_vq* env = nullptr;
  std::call_once(once, [] { env = newEnv(); });
  return env;
}

namespace {

std::string messageOf(const report_vq* r) {
  const char* text = ErrorDisplayMessage_vq(r);
  return text ? text : "";
}

// The exception a listener raised on this thread, owned (a strong reference) until raised.
thread_local PyObject* pendingListenerError = nullptr;

// A net Python has a handle of, by its engine handle (looked at with the GIL held).
std::unordered_map<net_bn*, std::weak_ptr<NetState>>& knownNets() {
  static std::unordered_map<net_bn*, std::weak_ptr<NetState>> nets;
  return nets;
}

}  // namespace

void deferListenerError(pb::error_already_set& e) {
  if (pendingListenerError) {
    e.discard_as_unraisable("a quorva listener (a later exception of the same operation)");
    return;
  }
  pendingListenerError = e.value().inc_ref().ptr();
}

bool listenerErrorPending() { return pendingListenerError != nullptr; }

namespace {

// Raises the exception a listener left for this thread, if any.
void raiseListenerError() {
  if (!pendingListenerError) return;
  PyObject* error = pendingListenerError;
  pendingListenerError = nullptr;
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error)), error);
  Py_DECREF(error);
  throw pb::error_already_set();
}

}  // namespace

EngineError takeError(environ_vq* env) {
  EngineError e{0, 0, ""};
  if (const report_vq* r = GetError_vq(env, ERROR_ERR, nullptr))
    e = {ErrorNumber_vq(r), static_cast<int>(ErrorSeverity_vq(r)), messageOf(r)};
  ClearErrors_vq(env, INTERNAL_ERR);
  return e;
}

void check(environ_vq* env) {
  std::vector<EngineError> warnings;
  EngineError error{0, 0, ""};
  for (const report_vq* r = GetError_vq(env, WARNING_ERR, nullptr); r; r = GetError_vq(env, WARNING_ERR, r)) {
    const int severity = static_cast<int>(ErrorSeverity_vq(r));
    if (severity >= ERROR_ERR) {
      if (error.number == 0) error = {ErrorNumber_vq(r), severity, messageOf(r)};
    } else {
      warnings.push_back({ErrorNumber_vq(r), severity, messageOf(r)});
    }
  }
  ClearErrors_vq(env, INTERNAL_ERR);
  raiseListenerError();
  if (!warnings.empty()) {
    pb::object category = pb::module_::import("quorva._errors").attr("QuorvaWarning");
    for (const EngineError& w : warnings) {
      std::string text = "warning " + std::to_string(w.number) + ": " + w.message;
      if (PyErr_WarnEx(category.ptr(), text.c_str(), 2) < 0) throw pb::error_already_set();
    }
  }
  if (error.number != 0) throw error;
}

std::shared_ptr<bool> NetState::aliveOf(node_bn* node) {
  auto it = nodeAlive.find(node);
  if (it != nodeAlive.end()) return it->second;
  auto flag = std::make_shared<bool>(true);
  nodeAlive.emplace(node, flag);
  return flag;
}

void NetState::resync() {
  if (!net) return;
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  std::vector<node_bn*> live;
  for (int i = 0, n = LengthNodeList_bn(nodes); i < n; ++i) live.push_back(GetNthNode_bn(nodes, i));
  std::sort(live.begin(), live.end());
  for (auto it = nodeAlive.begin(); it != nodeAlive.end();) {
    if (!std::binary_search(live.begin(), live.end(), it->first)) {
      *it->second = false;
      dropListeners(this, it->first);
      it = nodeAlive.erase(it);
    } else {
      ++it;
    }
  }
}

void NetState::kill() {
  dropListeners(this, nullptr);
  random.reset();
  for (auto& [node, flag] : nodeAlive) *flag = false;
  nodeAlive.clear();
  net = nullptr;
}

Net::Net(net_bn* net) : state_(std::make_shared<NetState>()) {
  state_->net = net;
  auto& nets = knownNets();
  if (nets.size() > 64 && nets.size() % 64 == 0)  // now and then, forget the nets no handle holds
    for (auto it = nets.begin(); it != nets.end();) it = it->second.expired() ? nets.erase(it) : std::next(it);
  nets[net] = state_;
}

std::optional<Net> Net::known(net_bn* net) {
  auto it = knownNets().find(net);
  if (it != knownNets().end())
    if (std::shared_ptr<NetState> state = it->second.lock(); state && state->net == net) return Net(state);
  return std::nullopt;
}

net_bn* Net::get() const {
  if (!state_->net) throw DeletedError{"the net has been deleted"};
  return state_->net;
}

Node Net::node(node_bn* node) const { return Node(state_, node, state_->aliveOf(node)); }

Node Net::nodeOf(const pb::handle& key) const {
  net_bn* net = get();
  if (pb::isinstance<Node>(key)) {
    Node n = key.cast<Node>();
    if (GetNodeNet_bn(n.get()) != net) throw pb::value_error("the node belongs to another net");
    return n;
  }
  if (!pb::isinstance<pb::str>(key)) throw pb::type_error("a node is given by its name or as a Node");
  const std::string name = key.cast<std::string>();
  node_bn* n = GetNodeNamed_bn(name.c_str(), net);
  ClearErrors_vq(processEnv(), INTERNAL_ERR);  // a name the engine refuses is simply not found
  if (!n) throw pb::key_error("net '" + std::string(GetNetName_bn(net)) + "' has no node named '" + name + "'");
  return node(n);
}

std::vector<Node> Net::nodesOf(const pb::object& keys) const {
  if (keys.is_none()) return allNodes();
  if (pb::isinstance<pb::str>(keys) || pb::isinstance<Node>(keys)) return {nodeOf(keys)};
  std::vector<Node> out;
  for (pb::handle k : keys) out.push_back(nodeOf(k));
  return out;
}

std::vector<Node> Net::allNodes() const { return nodesOfList(*this, GetNetNodes_bn(get())); }

node_bn* Node::get() const {
  if (!net_->net) throw DeletedError{"the net of this node has been deleted"};
  if (!*alive_) throw DeletedError{"the node has been deleted"};
  return node_;
}

int Node::numStates() const { return GetNodeNumberStates_bn(get()); }

state_bn Node::stateOf(const pb::handle& state) const {
  node_bn* n = get();
  const int count = GetNodeNumberStates_bn(n);
  if (pb::isinstance<pb::str>(state)) {
    const std::string name = state.cast<std::string>();
    const state_bn s = GetStateNamed_bn(name.c_str(), n);
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    if (s < 0)
      throw pb::value_error("node '" + std::string(GetNodeName_bn(n)) + "' has no state named '" + name + "'");
    return s;
  }
  if (pb::isinstance<pb::bool_>(state) || !PyIndex_Check(state.ptr()))
    throw pb::type_error("a state is given by its name or its index");
  const long long s = state.cast<long long>();
  if (s < 0 || s >= count)
    throw pb::index_error("state " + std::to_string(s) + " is out of range for node '" + GetNodeName_bn(n) +
                          "' (" + std::to_string(count) + " states)");
  return static_cast<state_bn>(s);
}

pb::object Node::stateName(state_bn s) const {
  const char* name = GetNodeStateName_bn(get(), s);
  if (name && *name) return pb::str(name);
  return pb::int_(s);
}

NodeList::NodeList(net_bn* net, const std::vector<Node>& nodes) {
  list_ = NewNodeList2_bn(0, net);
  for (const Node& n : nodes) AddNodeToList_bn(n.get(), list_, -1);
  check(processEnv());
}

NodeList::~NodeList() {
  if (list_) DeleteNodeList_bn(list_);
}

std::vector<Node> nodesOfList(const Net& net, const nodelist_bn* list) {
  std::vector<Node> out;
  for (int i = 0, n = list ? LengthNodeList_bn(list) : 0; i < n; ++i)
    if (node_bn* node = GetNthNode_bn(list, i)) out.push_back(net.node(node));
  return out;
}

}  // namespace quorva::py

PYBIND11_MODULE(_core, m) {
  using namespace quorva::py;
  m.doc() = "The compiled core of the quorva package (use the quorva package itself).";
  pb::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const EngineError& e) {
      pb::object errors = pb::module_::import("quorva._errors");
      pb::object inst = errors.attr("_error_for")(e.number, e.severity, e.message);
      PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(inst.ptr())), inst.ptr());
    } catch (const DeletedError& e) {
      pb::object cls = pb::module_::import("quorva._errors").attr("DeletedError");
      PyErr_SetString(cls.ptr(), e.what.c_str());
    }
  });
  m.def("_version", [] {
    const char* text = nullptr;
    GetQuorvaVersion_bn(processEnv(), &text);
    check(processEnv());
    return std::string(text ? text : "");
  });
  bindNet(m);
  bindNode(m);
  bindQueries(m);
  bindLearning(m);
  bindBatch(m);
  bindEdits(m);
  bindListeners(m);
  bindRandom(m);
  bindCaseFiles(m);
  bindFormats(m);
}
