// quorva.Node: a node's names, kind, states, links, tables (as numpy arrays), equation and finding.
#include <cmath>

#include "PyEngine.h"

namespace quorva::py {

pb::array_t<double> nodeBeliefs(const Node& n);
void nodeEnterFinding(const Node& n, const pb::handle& value);
pb::object nodeFinding(const Node& n);

namespace {

const char* kindName(nodekind_bn kind) {
  switch (kind) {
    case NATURE_NODE: return "nature";
    case CONSTANT_NODE: return "constant";
    case DECISION_NODE: return "decision";
    case UTILITY_NODE: return "utility";
    case DISCONNECTED_NODE: return "disconnected";
    case ADVERSARY_NODE: return "adversary";
  }
  return "unknown";
}

nodekind_bn kindNamed(const std::string& name) {
  if (name == "nature") return NATURE_NODE;
  if (name == "constant") return CONSTANT_NODE;
  if (name == "decision") return DECISION_NODE;
  if (name == "utility") return UTILITY_NODE;
  throw pb::value_error("a kind is 'nature', 'constant', 'decision' or 'utility', not '" + name + "'");
}

// The table's shape: one axis per parent (its states), then the node's states for a CPT.
std::vector<pb::ssize_t> tableShape(node_bn* node, bool withNode) {
  std::vector<pb::ssize_t> shape;
  const nodelist_bn* parents = GetNodeParents_bn(node);
  for (int i = 0, n = LengthNodeList_bn(parents); i < n; ++i)
    shape.push_back(std::max(1, GetNodeNumberStates_bn(GetNthNode_bn(parents, i))));
  if (withNode) shape.push_back(GetNodeNumberStates_bn(node));
  return shape;
}

size_t product(const std::vector<pb::ssize_t>& shape) {
  size_t p = 1;
  for (pb::ssize_t d : shape) p *= static_cast<size_t>(d);
  return p;
}

const char* functionTableName(node_bn* node) {
  const bool real = GetNodeKind_bn(node) == UTILITY_NODE || GetNodeNumberStates_bn(node) == 0;
  return real ? "function_real" : "function_state";
}

// Reads one of the node's tables into an array of that shape; None when the node has none.
pb::object readTable(node_bn* node, const char* which, bool withNode) {
  if (std::string(which) == "cpt" && !GetNodeProbs_bn(node, nullptr)) {
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    return pb::none();
  }
  std::vector<pb::ssize_t> shape = tableShape(node, withNode);
  pb::array_t<double> out(shape);
  int size = static_cast<int>(product(shape));
  const double* got = GetNodeTable_bn(node, which, nullptr, 0, out.mutable_data(), &size);
  if (!got) {
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    return pb::none();
  }
  double* d = out.mutable_data();
  for (size_t i = 0; i < product(shape); ++i)
    if (d[i] == static_cast<double>(UNDEF_FLT_vq) || std::isnan(d[i])) d[i] = std::nan("");
  return out;
}

// Sets one of the node's tables from an array of exactly its shape (None removes it).
void writeTable(node_bn* node, const char* which, bool withNode, const pb::object& value) {
  if (value.is_none()) {
    SetNodeTable_bn(node, which, nullptr, 0, nullptr, 0);
    check(processEnv());
    return;
  }
  auto table = pb::array_t<double, pb::array::c_style | pb::array::forcecast>::ensure(value);
  if (!table) throw pb::type_error("a table is an array of numbers");
  std::vector<pb::ssize_t> shape = tableShape(node, withNode);
  std::vector<pb::ssize_t> given(table.shape(), table.shape() + table.ndim());
  if (given != shape) {
    std::string want = "(";
    for (size_t i = 0; i < shape.size(); ++i) {
      if (i) want += ", ";
      want += std::to_string(shape[i]);
    }
    throw pb::value_error("the table of node '" + std::string(GetNodeName_bn(node)) + "' has the shape " + want +
                          (shape.size() == 1 ? ",)" : ")") + ": one axis per parent, then the node's states");
  }
  SetNodeTable_bn(node, which, nullptr, 0, table.data(), static_cast<int>(table.size()));
  check(processEnv());
}

std::string text(const char* s) { return s ? s : ""; }

template <typename Setter>
auto setter(Setter set) {
  return [set](const Node& n, const std::string& value) {
    set(n.get(), value.c_str());
    check(processEnv());
  };
}

}  // namespace

void bindNode(pb::module_& m) {
  pb::class_<Node>(m, "Node", "A node of a net; valid while its net lives.")
      .def_property("name", [](const Node& n) { return text(GetNodeName_bn(n.get())); }, setter(SetNodeName_bn))
      .def_property("title", [](const Node& n) { return text(GetNodeTitle_bn(n.get())); }, setter(SetNodeTitle_bn))
      .def_property("comment", [](const Node& n) { return text(GetNodeComment_bn(n.get())); },
                    setter(SetNodeComment_bn))
      .def_property(
          "kind", [](const Node& n) { return kindName(GetNodeKind_bn(n.get())); },
          [](const Node& n, const std::string& kind) {
            SetNodeKind_bn(n.get(), kindNamed(kind));
            check(processEnv());
          },
          "'nature', 'decision', 'utility', 'constant' or 'disconnected'.")
      .def_property_readonly(
          "type", [](const Node& n) { return GetNodeType_bn(n.get()) == CONTINUOUS_TYPE ? "continuous" : "discrete"; })
      .def_property_readonly("net", &Node::net)
      .def_property(
          "states",
          [](const Node& n) {
            pb::list out;
            for (int i = 0, c = n.numStates(); i < c; ++i) out.append(n.stateName(i));
            return pb::tuple(out);
          },
          [](const Node& n, const std::vector<std::string>& names) {
            if (static_cast<int>(names.size()) != n.numStates())
              throw pb::value_error("give one name per state (" + std::to_string(n.numStates()) + ")");
            std::string joined;
            for (const std::string& s : names) joined += (joined.empty() ? "" : ",") + s;
            SetNodeStateNames_bn(n.get(), joined.c_str());
            check(processEnv());
          },
          "The state names as a tuple (indices when the states have no names).")
      .def_property_readonly("num_states", &Node::numStates)
      .def_property_readonly(
          "parents", [](const Node& n) { return pb::tuple(pb::cast(nodesOfList(n.net(), GetNodeParents_bn(n.get())))); },
          "The parents in table order.")
      .def_property_readonly(
          "children",
          [](const Node& n) { return pb::tuple(pb::cast(nodesOfList(n.net(), GetNodeChildren_bn(n.get())))); })
      .def_property(
          "table", [](const Node& n) { return readTable(n.get(), "cpt", true); },
          [](const Node& n, const pb::object& t) { writeTable(n.get(), "cpt", true, t); },
          "The CPT as an array with one axis per parent (in parent order) and the node's states last;\n"
          "None when the node has none.  Undefined entries read as NaN.")
      .def_property(
          "function_table", [](const Node& n) { return readTable(n.get(), functionTableName(n.get()), false); },
          [](const Node& n, const pb::object& t) { writeTable(n.get(), functionTableName(n.get()), false, t); },
          "The function table (state indices, or real values for utility and continuous nodes), one\n"
          "axis per parent.")
      .def_property(
          "experience", [](const Node& n) { return readTable(n.get(), "exper", false); },
          [](const Node& n, const pb::object& t) { writeTable(n.get(), "exper", false, t); },
          "The experience of each CPT row, one axis per parent; None without an experience table.")
      .def_property(
          "equation", [](const Node& n) { return text(GetNodeEquation_bn(n.get())); },
          [](const Node& n, const std::string& e) {
            SetNodeEquation_bn(n.get(), e.c_str());
            check(processEnv());
          },
          "The node's equation text ('' for none); a text that does not parse raises quorva.Error.")
      .def(
          "equation_to_table",
          [](const Node& n, int samples, bool keepSamples, bool add, const pb::object& random) {
            NetRandomScope scope(n.net(), random);
            EquationToTable_bn(n.get(), samples, keepSamples, add);
            check(processEnv());
          },
          pb::arg("samples") = 1, pb::arg("keep_samples_as_experience") = false, pb::arg("add") = false,
          pb::arg("random") = pb::none(),
          "Builds the node's table from its equation, `samples` draws per row (drawn from `random`, a\n"
          "quorva.Random, else from the net's generator).")
      .def_property(
          "levels",
          [](const Node& n) -> pb::object {
            node_bn* node = n.get();
            const level_bn* levels = GetNodeLevels_bn(node);
            if (!levels) return pb::none();
            const int states = GetNodeNumberStates_bn(node);
            const int count = GetNodeType_bn(node) == CONTINUOUS_TYPE ? states + 1 : states;
            return pb::array_t<double>(count, levels);
          },
          [](const Node& n, const pb::object& levels) {
            node_bn* node = n.get();
            if (levels.is_none()) {
              SetNodeLevels_bn(node, GetNodeType_bn(node) == CONTINUOUS_TYPE ? 0 : n.numStates(), nullptr);
            } else {
              std::vector<double> v = levels.cast<std::vector<double>>();
              const int points = GetNodeType_bn(node) == CONTINUOUS_TYPE ? static_cast<int>(v.size()) - 1
                                                                          : static_cast<int>(v.size());
              SetNodeLevels_bn(node, points, v.data());
            }
            check(processEnv());
          },
          "State levels (discrete) or thresholds (continuous, one more than the states).")
      .def_property("finding", &nodeFinding, &nodeEnterFinding,
                    "The node's finding: a state name, a likelihood array, a value, or None.  Setting replaces it.")
      .def_property_readonly("beliefs", &nodeBeliefs, "The beliefs given the findings (compiles the net when needed).")
      .def(
          "retract",
          [](const Node& n) {
            RetractNodeFindings_bn(n.get());
            check(processEnv());
          },
          "Retracts the node's findings.")
      .def(
          "expected_value",
          [](const Node& n) {
            CompileNet_bn(GetNodeNet_bn(n.get()));
            check(processEnv());
            double sd = 0;
            const double mean = GetNodeExpectedValue_bn(n.get(), &sd, nullptr, nullptr);
            check(processEnv());
            return std::make_pair(mean, sd);
          },
          "(mean, standard deviation) of the node's value under its beliefs.")
      .def(
          "delete",
          [](Node& n) {
            Net net = n.net();
            refuseInsideListener(*net.state(), "delete a node of its net");
            DeleteNode_bn(n.get());
            check(processEnv());
            n.markDeleted();
            net.state()->resync();
          },
          "Deletes the node; its handles raise DeletedError from then on.")
      .def_property(
          "position",
          [](const Node& n) {
            double x = 0, y = 0;
            GetNodeVisPosition_bn(n.get(), nullptr, &x, &y);
            check(processEnv());
            return std::make_pair(x, y);
          },
          [](const Node& n, std::pair<double, double> p) {
            SetNodeVisPosition_bn(n.get(), nullptr, p.first, p.second);
            check(processEnv());
          },
          "(x, y) in a drawing of the net.")
      .def(
          "__eq__",
          [](const Node& a, const pb::object& b) {
            return pb::isinstance<Node>(b) && b.cast<Node>().raw() == a.raw() && b.cast<Node>().net().state() == a.net().state();
          },
          pb::is_operator())
      .def("__hash__", [](const Node& a) { return std::hash<const void*>()(a.raw()); })
      .def("__repr__", [](const Node& n) {
        try {
          return "<quorva.Node '" + text(GetNodeName_bn(n.get())) + "'>";
        } catch (const DeletedError&) {
          return std::string("<quorva.Node (deleted)>");
        }
      });
}

}  // namespace quorva::py
