// quorva.Net: reading, writing, building, compiling, findings and beliefs of a whole net.
#include <cmath>
#include <fstream>

#include "PyEngine.h"

namespace quorva::py {

namespace {

bool endsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// Whether the text of the file starts as BIF does ("network NAME {"), after blanks and comments.
bool looksLikeBif(const std::string& path) {
  std::ifstream in(path);
  std::string word;
  while (in >> word) {
    if (word.rfind("//", 0) == 0) {
      std::getline(in, word);
      continue;
    }
    return word == "network";
  }
  return false;
}

Net readNet(const std::string& path) {
  environ_vq* env = processEnv();
  const bool bif = endsWith(path, ".bif") || (!endsWith(path, ".dne") && !endsWith(path, ".dnet") && looksLikeBif(path));
  stream_vq* stream = nullptr;
  if (bif && !endsWith(path, ".bif")) {
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    stream = NewMemoryStream_vq((path + ".bif").c_str(), env, nullptr);
    SetStreamContents_vq(stream, text.data(), static_cast<long long>(text.size()), 1);
  } else {
    stream = NewFileStream_vq(path.c_str(), env, nullptr);
  }
  net_bn* net = stream ? ReadNet_bn(stream, NO_VISUAL_INFO) : nullptr;
  if (stream) DeleteStream_vq(stream);
  if (!net) {
    check(env);
    throw std::runtime_error("could not read a net from '" + path + "'");
  }
  try {
    check(env);
  } catch (...) {
    DeleteNet_bn(net);
    throw;
  }
  return Net(net);
}

void writeNet(const Net& net, const std::string& path) {
  environ_vq* env = processEnv();
  stream_vq* stream = NewFileStream_vq(path.c_str(), env, nullptr);
  if (stream) {
    WriteNet_bn(net.get(), stream);
    DeleteStream_vq(stream);
  }
  check(env);
}

// One node's finding as Python sees it: a state name, a likelihood, a value, or None.
pb::object findingOf(const Node& n) {
  node_bn* node = n.get();
  const state_bn s = GetNodeFinding_bn(node);
  if (s >= 0) return n.stateName(s);
  if (GetNodeType_bn(node) == CONTINUOUS_TYPE) {
    const double v = GetNodeValueEntered_bn(node);
    if (v == v) return pb::float_(v);
  }
  if (s == UNDEF_STATE) return pb::none();
  const prob_bn* lik = GetNodeLikelihood_bn(node);
  const int count = GetNodeNumberStates_bn(node);
  pb::array_t<double> out(count);
  for (int i = 0; i < count; ++i) out.mutable_at(i) = lik ? lik[i] : 1.0;
  return out;
}

// Enters one finding: a state (name or index), a likelihood (a sequence of numbers), a real
// value (a float on a node that takes values), or None (retract).
void enterFinding(const Node& n, const pb::handle& value) {
  node_bn* node = n.get();
  if (value.is_none()) {
    RetractNodeFindings_bn(node);
  } else if (pb::isinstance<pb::float_>(value)) {
    RetractNodeFindings_bn(node);
    EnterNodeValue_bn(node, value.cast<double>());
  } else if (pb::isinstance<pb::str>(value) || PyIndex_Check(value.ptr())) {
    const state_bn s = n.stateOf(value);
    RetractNodeFindings_bn(node);
    EnterFinding_bn(node, s);
  } else {
    std::vector<float> lik;
    for (pb::handle x : value) lik.push_back(x.cast<float>());
    if (static_cast<int>(lik.size()) != GetNodeNumberStates_bn(node))
      throw pb::value_error("a likelihood has one entry per state of node '" + std::string(GetNodeName_bn(node)) + "'");
    RetractNodeFindings_bn(node);
    EnterNodeLikelihood_bn(node, lik.data());
  }
  check(processEnv());
}

pb::dict findingsOf(const Net& net) {
  pb::dict out;
  for (const Node& n : net.allNodes()) {
    pb::object f = findingOf(n);
    if (!f.is_none()) out[GetNodeName_bn(n.get())] = f;
  }
  return out;
}

// Replaces every finding by those of `findings`; a refusal puts the findings before back.
void setFindings(const Net& net, const pb::dict& findings) {
  std::vector<std::pair<Node, pb::object>> wanted;
  for (auto [key, value] : findings) wanted.emplace_back(net.nodeOf(key), pb::reinterpret_borrow<pb::object>(value));
  pb::dict before = findingsOf(net);
  try {
    RetractNetFindings_bn(net.get());
    check(processEnv());
    for (auto& [node, value] : wanted) enterFinding(node, value);
  } catch (...) {
    RetractNetFindings_bn(net.get());
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    for (auto [key, value] : before) {
      try {
        enterFinding(net.nodeOf(key), value);
      } catch (...) {
      }
    }
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    throw;
  }
}

pb::array_t<double> beliefsOf(const Node& n) {
  node_bn* node = n.get();
  const int count = GetNodeNumberStates_bn(node);
  net_bn* net = GetNodeNet_bn(node);
  CompileNet_bn(net);
  check(processEnv());
  const prob_bn* b = GetNodeBeliefs_bn(node);
  check(processEnv());
  if (!b) throw std::runtime_error("no beliefs for node '" + std::string(GetNodeName_bn(node)) + "'");
  pb::array_t<double> out(count);
  for (int i = 0; i < count; ++i) out.mutable_at(i) = b[i];
  return out;
}

Node addNode(const Net& net, const std::string& name, const pb::object& states) {
  net_bn* n = net.get();
  std::vector<std::string> names;
  int count = 0;
  if (PyIndex_Check(states.ptr())) {
    count = states.cast<int>();
    if (count < 0) throw pb::value_error("a node has 0 or more states");
  } else {
    for (pb::handle s : states) names.push_back(s.cast<std::string>());
    count = static_cast<int>(names.size());
  }
  node_bn* node = NewNode_bn(name.c_str(), count, n);
  check(processEnv());
  if (!names.empty()) {
    std::string joined;
    for (const std::string& s : names) joined += (joined.empty() ? "" : ",") + s;
    SetNodeStateNames_bn(node, joined.c_str());
    try {
      check(processEnv());
    } catch (...) {
      DeleteNode_bn(node);
      ClearErrors_vq(processEnv(), INTERNAL_ERR);
      net.state()->resync();  // a listener may hold a handle of it
      throw;
    }
  }
  return net.node(node);
}

void deleteNet(Net& net) {
  if (!net.alive()) return;
  refuseInsideListener(*net.state(), "delete its net");
  DeleteNet_bn(net.get());
  net.state()->kill();
  check(processEnv());
}

}  // namespace

pb::array_t<double> nodeBeliefs(const Node& n) { return beliefsOf(n); }
void nodeEnterFinding(const Node& n, const pb::handle& value) { enterFinding(n, value); }
pb::object nodeFinding(const Node& n) { return findingOf(n); }

void bindNet(pb::module_& m) {
  pb::class_<Net>(m, "Net", "A belief or decision net.")
      .def(pb::init([](const std::string& name) {
             net_bn* net = NewNet_bn(name.c_str(), processEnv());
             check(processEnv());
             return Net(net);
           }),
           pb::arg("name") = "Net", "An empty net named `name` (letters, digits and underscores).")
      .def_property(
          "name", [](const Net& n) { return std::string(GetNetName_bn(n.get())); },
          [](const Net& n, const std::string& s) {
            SetNetName_bn(n.get(), s.c_str());
            check(processEnv());
          })
      .def_property(
          "title", [](const Net& n) { return std::string(GetNetTitle_bn(n.get())); },
          [](const Net& n, const std::string& s) {
            SetNetTitle_bn(n.get(), s.c_str());
            check(processEnv());
          })
      .def_property(
          "comment", [](const Net& n) { return std::string(GetNetComment_bn(n.get())); },
          [](const Net& n, const std::string& s) {
            SetNetComment_bn(n.get(), s.c_str());
            check(processEnv());
          })
      .def_property_readonly("alive", &Net::alive, "False once the net has been deleted.")
      .def("_node", &Net::nodeOf)
      .def("_node_list", &Net::allNodes)
      .def("add_node", &addNode, pb::arg("name"), pb::arg("states"),
           "Adds a node with the given state names (or that many unnamed states; 0 for a continuous node).")
      .def(
          "add_link",
          [](const Net& net, const pb::object& parent, const pb::object& child) {
            Node p = net.nodeOf(parent), c = net.nodeOf(child);
            AddLink_bn(p.get(), c.get());
            check(processEnv());
          },
          pb::arg("parent"), pb::arg("child"), "Makes `parent` the last parent of `child` (nodes or names).")
      .def(
          "delete_link",
          [](const Net& net, const pb::object& parent, const pb::object& child) {
            Node p = net.nodeOf(parent), c = net.nodeOf(child);
            const int index = IndexOfNodeInList_bn(p.get(), GetNodeParents_bn(c.get()), 0);
            if (index < 0) throw pb::value_error("there is no such link");
            DeleteLink_bn(index, c.get());
            check(processEnv());
          },
          pb::arg("parent"), pb::arg("child"), "Removes the link from `parent` to `child`.")
      .def(
          "write",
          [](const Net& net, const std::string& path, const pb::object& format) {
            if (format.is_none()) return writeNet(net, path);
            writeNetFormat(net, path, format.cast<std::string>());
          },
          pb::arg("path"), pb::arg("format") = pb::none(),
          "Writes the net in `format` ('dnet', 'bif', 'xmlbif', 'hugin', 'uai', 'dot' or 'dot_beliefs'),\n"
          "or, when None, as the path's extension says (.bif, .xml, .net, .uai, .dot; else DNET).")
      .def(
          "copy",
          [](const Net& net, const std::string& name) {
            net_bn* copy = CopyNet_bn(net.get(), name.c_str(), processEnv(), nullptr);
            check(processEnv());
            return Net(copy);
          },
          pb::arg("name"), "A copy of the net named `name`.")
      .def("delete", &deleteNet, "Deletes the net; its nodes and the net raise DeletedError from then on.")
      .def("__enter__", [](Net& n) { return n; })
      .def("__exit__", [](Net& n, pb::args) { deleteNet(n); })
      .def(
          "compile",
          [](const Net& n) {
            CompileNet_bn(n.get());
            check(processEnv());
          },
          "Compiles the net into a junction tree (reading beliefs does so when needed).")
      .def(
          "uncompile",
          [](const Net& n) {
            UncompileNet_bn(n.get());
            check(processEnv());
          },
          "Drops the compiled form.")
      .def_property_readonly(
          "compiled_size",
          [](const Net& n) {
            const double size = SizeCompiledNet_bn(n.get(), 0);
            check(processEnv());
            return size;
          },
          "The entries of the cliques and separators of the compiled net.")
      .def(
          "beliefs", [](const Net& n, const pb::object& node) { return beliefsOf(n.nodeOf(node)); },
          pb::arg("node"), "The node's beliefs given the findings (compiling the net when needed).")
      .def_property("findings", &findingsOf, &setFindings,
                    "The findings, node name -> state name, value or likelihood.  Setting it replaces every\n"
                    "finding; values are state names or indices, likelihood lists, floats or None.  A\n"
                    "refused finding leaves the findings as they were.")
      .def(
          "retract",
          [](const Net& n) {
            RetractNetFindings_bn(n.get());
            check(processEnv());
          },
          "Retracts every finding.")
      .def_property_readonly(
          "findings_probability",
          [](const Net& n) {
            CompileNet_bn(n.get());
            check(processEnv());
            const double p = FindingsProbability_bn(n.get());
            check(processEnv());
            return p;
          },
          "The probability of the findings entered.")
      .def(
          "__eq__", [](const Net& a, const Net& b) { return a.state() == b.state(); }, pb::is_operator())
      .def("__hash__", [](const Net& a) { return std::hash<const void*>()(a.state().get()); })
      .def("__repr__", [](const Net& n) {
        if (!n.alive()) return std::string("<quorva.Net (deleted)>");
        return "<quorva.Net '" + std::string(GetNetName_bn(n.get())) + "' of " +
               std::to_string(LengthNodeList_bn(GetNetNodes_bn(n.get()))) + " nodes>";
      });
  m.def(
      "read",
      [](const std::string& path, const pb::object& format) {
        return format.is_none() ? readNet(path) : readNetFormat(path, format.cast<std::string>());
      },
      pb::arg("path"), pb::arg("format") = pb::none(),
        "Reads a net file in `format` ('dnet', 'bif', 'xmlbif', 'hugin' or 'uai'; guess_format tells\n"
        "one), or, when None, as its name says: BIF (.bif, or BIF content), XMLBIF (.xml, .xbif,\n"
        ".xmlbif), Hugin NET (.net), UAI (.uai), else DNET.");
}

}  // namespace quorva::py
