// Listeners: Python callables told when a net makes, copies or loses nodes, or a node's finding
// changes.  Each registration has a number of its own, given to the engine as the listener's
// object; the callable is found by that number, so a registration removed while the engine is
// still firing an event is simply not called.
#include <atomic>
#include <cstdint>

#include "PyEngine.h"

namespace quorva::py {

namespace {

struct Registration {
  std::shared_ptr<NetState> net;
  node_bn* node;  // nullptr: registered on the net
  pb::object callback;
};

// The registrations by number.  Read and changed only with the GIL held.
std::unordered_map<std::uintptr_t, Registration>& registrations() {
  static auto* all = new std::unordered_map<std::uintptr_t, Registration>();  // outlives the interpreter's exit
  return *all;
}

struct EventName {
  const char* name;
  int flag;
};
constexpr EventName EVENTS[] = {
    {"create", CREATE_EVENT}, {"duplicate", DUPLICATE_EVENT}, {"remove", REMOVE_EVENT}, {"change", CHANGE_EVENT}};

const char* nameOf(int event) {
  for (const EventName& e : EVENTS)
    if (e.flag == event) return e.name;
  return "unknown";
}

int filterOf(const pb::object& events) {
  std::vector<std::string> names;
  if (pb::isinstance<pb::str>(events)) {
    names.push_back(events.cast<std::string>());
  } else {
    for (pb::handle e : events) names.push_back(pb::cast<std::string>(e));
  }
  int filter = 0;
  for (const std::string& name : names) {
    int flag = 0;
    for (const EventName& e : EVENTS)
      if (name == e.name) flag = e.flag;
    if (!flag) throw pb::value_error("an event is 'create', 'duplicate', 'remove' or 'change', not '" + name + "'");
    filter |= flag;
  }
  if (!filter) throw pb::value_error("a listener needs at least one event");
  return filter;
}

// The other object of an event: the node made, or the copy of a node into a net Python holds;
// None otherwise (a copy of a net is not finished when its event fires, and the copies worker
// threads make are theirs).
pb::object detailOf(const Net& net, const Registration& r, int event, void* info) {
  if (!info) return pb::none();
  if (event == CREATE_EVENT && !r.node) return pb::cast(net.node(static_cast<node_bn*>(info)));
  if (event == DUPLICATE_EVENT && r.node) {
    node_bn* copy = static_cast<node_bn*>(info);
    net_bn* into = GetNodeNet_bn(copy);
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    if (std::optional<Net> known = into ? Net::known(into) : std::nullopt) return pb::cast(known->node(copy));
  }
  return pb::none();
}

// Calls the registration's callable with (source, event, detail).  Takes the GIL (the engine may
// fire from a thread that does not hold it, its own or a Python thread that let it go for a long
// operation).  An exception of the callable is raised again by the operation that fired the
// event when that operation was called from Python on this thread; otherwise (an engine thread,
// no Python caller waiting) it goes to sys.unraisablehook.
int fire(std::uintptr_t id, int event, void* info) {
  const bool pythonCaller = PyGILState_GetThisThreadState() != nullptr;
  pb::gil_scoped_acquire gil;
  auto it = registrations().find(id);
  if (it == registrations().end()) return 0;
  const Registration r = it->second;  // a copy: the callable may remove its registration
  ++r.net->firing;
  try {
    Net net(r.net);
    pb::object source = r.node ? pb::cast(net.node(r.node)) : pb::cast(net);
    r.callback(source, nameOf(event), detailOf(net, r, event, info));
  } catch (pb::error_already_set& e) {
    if (pythonCaller) {
      deferListenerError(e);
    } else {
      e.discard_as_unraisable("a quorva listener called from an engine thread");
    }
  } catch (const std::exception& e) {
    PyErr_SetString(PyExc_RuntimeError, e.what());
    pb::error_already_set err;
    if (pythonCaller) deferListenerError(err);
    else err.discard_as_unraisable("a quorva listener");
  }
  --r.net->firing;
  return 0;
}

int netCallback(const net_bn*, eventtype_vq what, void* object, void* info) {
  return fire(reinterpret_cast<std::uintptr_t>(object), what, info);
}

int nodeCallback(const node_bn*, eventtype_vq what, void* object, void* info) {
  return fire(reinterpret_cast<std::uintptr_t>(object), what, info);
}

// Registers (filter > 0) or removes (filter 0) a registration with the engine.
void tellEngine(const Registration& r, std::uintptr_t id, int filter) {
  void* object = reinterpret_cast<void*>(id);
  if (r.node) {
    AddNodeListener_bn(r.node, &nodeCallback, object, filter);
  } else {
    AddNetListener_bn(r.net->net, &netCallback, object, filter);
  }
}

// What Python holds of a registration: removing it, and whether it is still there.
class Listener {
 public:
  Listener(std::uintptr_t id, int filter) : id_(id), filter_(filter) {}

  bool active() const { return registrations().count(id_) != 0; }

  void remove() {
    auto it = registrations().find(id_);
    if (it == registrations().end()) return;
    const Registration r = it->second;
    registrations().erase(it);
    if (r.net->net && (!r.node || r.net->nodeAlive.count(r.node))) {
      tellEngine(r, id_, 0);
      check(processEnv());
    }
  }

  std::vector<std::string> events() const {
    std::vector<std::string> out;
    for (const EventName& e : EVENTS)
      if (filter_ & e.flag) out.push_back(e.name);
    return out;
  }

 private:
  std::uintptr_t id_;
  int filter_;
};

Listener listen(const Net& net, node_bn* node, const pb::object& events, const pb::object& callback) {
  if (!PyCallable_Check(callback.ptr())) throw pb::type_error("a listener is a callable");
  const int filter = filterOf(events);
  static std::uintptr_t lastId = 0;
  const std::uintptr_t id = ++lastId;
  Registration r{net.state(), node, callback};
  tellEngine(r, id, filter);
  check(processEnv());
  registrations().emplace(id, std::move(r));
  return Listener(id, filter);
}

constexpr const char* ON_DOC =
    "Calls `callback(source, event, detail)` on each of `events` (a name or a list of names) and\n"
    "returns a Listener; `listener.remove()` (or leaving a `with` block) ends it.  Events: 'create'\n"
    "(a node was made in the net; detail: the new Node), 'duplicate' (the net or node was copied;\n"
    "detail: the copy of a node, else None), 'remove' (the net or node is about to be deleted) and\n"
    "'change' (the node's finding changed).  The callback may use the package, but not delete the\n"
    "net, its nodes, or undo and redo while it runs (RuntimeError).  An exception it raises comes\n"
    "out of the operation that fired the event, after that operation is done; when the event fires\n"
    "on an engine thread (beliefs_batch copies the net on its workers), it goes to\n"
    "sys.unraisablehook.  Such a callback takes the GIL while the engine is busy, so it should not\n"
    "wait for other Python threads.  The registration holds the callback until removed, or until\n"
    "the net (or node) is deleted.";

}  // namespace

void dropListeners(const NetState* net, node_bn* node) {
  auto& all = registrations();
  for (auto it = all.begin(); it != all.end();) {
    const bool gone = it->second.net.get() == net && (node == nullptr || it->second.node == node);
    it = gone ? all.erase(it) : std::next(it);
  }
}

void refuseInsideListener(const NetState& net, const char* what) {
  if (net.firing > 0) throw std::runtime_error(std::string("a listener may not ") + what + " while it runs");
}

void bindListeners(pb::module_& m) {
  pb::class_<Listener>(m, "Listener", "A callback registered with Net.on or Node.on.")
      .def("remove", &Listener::remove, "Ends the registration (nothing when it has ended).")
      .def_property_readonly("active", &Listener::active,
                             "False once removed, or once its net or node has been deleted.")
      .def_property_readonly("events", &Listener::events, "The names of the events it is called for.")
      .def("__enter__", [](Listener& l) { return l; })
      .def("__exit__", [](Listener& l, pb::args) { l.remove(); })
      .def("__repr__", [](const Listener& l) {
        std::string names;
        for (const std::string& e : l.events()) names += (names.empty() ? "" : ", ") + e;
        return "<quorva.Listener of " + names + (l.active() ? "" : " (removed)") + ">";
      });
  addMethod(
      m, "Net", "on",
      [](const Net& net, const pb::object& events, const pb::object& callback) {
        net.get();
        return listen(net, nullptr, events, callback);
      },
      pb::arg("events"), pb::arg("callback"), ON_DOC);
  addMethod(
      m, "Node", "on",
      [](const Node& node, const pb::object& events, const pb::object& callback) {
        node_bn* n = node.get();
        return listen(node.net(), n, events, callback);
      },
      pb::arg("events"), pb::arg("callback"), ON_DOC);
}

}  // namespace quorva::py
