// The rest of a net's and a node's make-up: user fields, state titles and comments, adding,
// removing and reordering states, link input names, drawing positions, node sets, the
// elimination order and junction-tree report, the other kinds of finding, random cases, copying
// nodes, and the process-wide engine settings.
#include <sstream>

#include "PyEngine.h"

namespace quorva::py {

namespace {

// User fields of a net or a node as a dict of strings.
template <typename Owner, typename NthField>
pb::dict userFields(Owner owner, NthField nth) {
  pb::dict out;
  for (int i = 0;; ++i) {
    const char *name = nullptr, *value = nullptr;
    int length = 0;
    nth(owner, i, &name, &value, &length, 0);
    check(processEnv());
    if (!name) break;
    out[pb::str(name)] = pb::str(value ? std::string(value, static_cast<size_t>(std::max(length, 0))) : "");
  }
  return out;
}

template <typename Owner, typename NthField, typename SetField>
void setUserFields(Owner owner, NthField nth, SetField set, const pb::dict& fields) {
  std::vector<std::string> old;
  for (auto item : userFields(owner, nth)) old.push_back(pb::str(item.first));
  for (auto item : fields)
    if (!pb::isinstance<pb::str>(item.first) || !pb::isinstance<pb::str>(item.second))
      throw pb::type_error("user fields are str -> str");
  for (const std::string& name : old) set(owner, name.c_str(), nullptr, 0, 0);
  for (auto item : fields) {
    const std::string name = pb::str(item.first), value = pb::str(item.second);
    set(owner, name.c_str(), value.data(), static_cast<int>(value.size()), 0);
    check(processEnv());
  }
}

// A node's per-state texts (titles or comments) as a list.
template <typename Get>
std::vector<std::string> stateTexts(const Node& n, Get get) {
  std::vector<std::string> out;
  for (int s = 0; s < n.numStates(); ++s) {
    const char* text = get(n.get(), s);
    check(processEnv());
    out.emplace_back(text ? text : "");
  }
  return out;
}

template <typename Set>
void setStateTexts(const Node& n, Set set, const std::vector<std::string>& texts) {
  if (static_cast<int>(texts.size()) != n.numStates())
    throw pb::value_error("give one text per state (" + std::to_string(n.numStates()) + ")");
  for (int s = 0; s < n.numStates(); ++s) {
    set(n.get(), s, texts[static_cast<size_t>(s)].c_str());
    check(processEnv());
  }
}

std::vector<std::string> splitCommas(const char* text) {
  std::vector<std::string> out;
  std::stringstream in(text ? text : "");
  for (std::string item; std::getline(in, item, ',');)
    if (!item.empty()) out.push_back(item);
  return out;
}

void bindNodeEdits(pb::module_& m) {
  addProperty(
      m, "Node", "user_fields", [](const Node& n) { return userFields(n.get(), GetNodeNthUserField_bn); },
      [](const Node& n, const pb::dict& f) { setUserFields(n.get(), GetNodeNthUserField_bn, SetNodeUserField_bn, f); },
      "The node's user fields, name -> text; setting it replaces them all.");
  addProperty(
      m, "Node", "state_titles", [](const Node& n) { return stateTexts(n, GetNodeStateTitle_bn); },
      [](const Node& n, const std::vector<std::string>& t) { setStateTexts(n, SetNodeStateTitle_bn, t); },
      "One title per state (\"\" for none).");
  addProperty(
      m, "Node", "state_comments", [](const Node& n) { return stateTexts(n, GetNodeStateComment_bn); },
      [](const Node& n, const std::vector<std::string>& t) { setStateTexts(n, SetNodeStateComment_bn, t); },
      "One comment per state (\"\" for none).");
  addProperty(
      m, "Node", "position",
      [](const Node& n) {
        double x = 0, y = 0;
        GetNodeVisPosition_bn(n.get(), nullptr, &x, &y);
        check(processEnv());
        return pb::make_tuple(x, y);
      },
      [](const Node& n, std::pair<double, double> at) {
        SetNodeVisPosition_bn(n.get(), nullptr, at.first, at.second);
        check(processEnv());
      },
      "The node's (x, y) in a drawing of the net.");
  addProperty(
      m, "Node", "input_names",
      [](const Node& n) {
        std::vector<std::string> out;
        const int parents = LengthNodeList_bn(GetNodeParents_bn(n.get()));
        for (int i = 0; i < parents; ++i) {
          const char* name = GetNodeInputName_bn(n.get(), i);
          check(processEnv());
          out.emplace_back(name ? name : "");
        }
        return out;
      },
      [](const Node& n, const std::vector<std::string>& names) {
        const int parents = LengthNodeList_bn(GetNodeParents_bn(n.get()));
        if (static_cast<int>(names.size()) != parents)
          throw pb::value_error("give one input name per parent (" + std::to_string(parents) + ")");
        for (int i = 0; i < parents; ++i) {
          SetNodeInputName_bn(n.get(), i, names[static_cast<size_t>(i)].empty() ? nullptr : names[static_cast<size_t>(i)].c_str());
          check(processEnv());
        }
      },
      "The name of each link into the node, in parent order (\"\" for none).");
  addProperty(
      m, "Node", "nodesets",
      [](const Node& n) {
        pb::set out;
        for (const std::string& set : splitCommas(GetAllNodesets_bn(GetNodeNet_bn(n.get()), false, nullptr)))
          if (IsNodeInNodeset_bn(n.get(), set.c_str())) out.add(pb::str(set));
        check(processEnv());
        return out;
      },
      [](const Node& n, const std::vector<std::string>& sets) {
        for (const std::string& set : splitCommas(GetAllNodesets_bn(GetNodeNet_bn(n.get()), false, nullptr)))
          if (IsNodeInNodeset_bn(n.get(), set.c_str())) RemoveNodeFromNodeset_bn(n.get(), set.c_str());
        for (const std::string& set : sets) {
          AddNodeToNodeset_bn(n.get(), set.c_str());
          check(processEnv());
        }
      },
      "The names of the user node sets the node is in; setting it replaces them.");
  addMethod(
      m, "Node", "add_states",
      [](const Node& n, const std::vector<std::string>& names, int before) {
        std::string joined;
        for (const std::string& s : names) joined += (joined.empty() ? "" : ",") + s;
        AddNodeStates_bn(n.get(), before, joined.c_str(), static_cast<int>(names.size()), -1);
        check(processEnv());
      },
      pb::arg("names"), pb::arg("before") = -1,
      "Inserts states with these names before state `before` (-1: at the end); new table entries are\n"
      "undefined until set.");
  addMethod(
      m, "Node", "remove_state",
      [](const Node& n, const pb::object& state) {
        RemoveNodeState_bn(n.get(), n.stateOf(state));
        check(processEnv());
      },
      pb::arg("state"), "Removes the state (name or index) and its slice of every table it is in.");
  addMethod(
      m, "Node", "reorder_states",
      [](const Node& n, const std::vector<pb::object>& order) {
        if (static_cast<int>(order.size()) != n.numStates())
          throw pb::value_error("give every state once, in the new order");
        std::vector<state_bn> indices;
        for (const pb::object& s : order) indices.push_back(n.stateOf(s));
        ReorderNodeStates_bn(n.get(), indices.data());
        check(processEnv());
      },
      pb::arg("order"), "Puts the states (names or indices, each once) in this order, tables too.");
  addMethod(
      m, "Node", "enter_not",
      [](const Node& n, const pb::object& state) {
        EnterFindingNot_bn(n.get(), n.stateOf(state));
        check(processEnv());
      },
      pb::arg("state"), "Enters the finding that the node is not in this state.");
  addMethod(
      m, "Node", "enter_interval",
      [](const Node& n, double low, double high) {
        EnterIntervalFinding_bn(n.get(), low, high);
        check(processEnv());
      },
      pb::arg("low"), pb::arg("high"), "Enters the finding that the node's value lies in [low, high).");
  addMethod(
      m, "Node", "enter_gaussian",
      [](const Node& n, double mean, double sd) {
        EnterGaussianFinding_bn(n.get(), mean, sd);
        check(processEnv());
      },
      pb::arg("mean"), pb::arg("std_dev"), "Enters a Gaussian likelihood on the node's value.");
}

void bindNetEdits(pb::module_& m) {
  addProperty(
      m, "Net", "user_fields", [](const Net& n) { return userFields(n.get(), GetNetNthUserField_bn); },
      [](const Net& n, const pb::dict& f) { setUserFields(n.get(), GetNetNthUserField_bn, SetNetUserField_bn, f); },
      "The net's user fields, name -> text; setting it replaces them all.");
  addProperty(
      m, "Net", "nodesets",
      [](const Net& n) {
        auto sets = splitCommas(GetAllNodesets_bn(n.get(), false, nullptr));
        check(processEnv());
        return sets;
      },
      [](const Net& n, const std::vector<std::string>& order) {
        std::string joined;
        for (const std::string& s : order) joined += (joined.empty() ? "" : ",") + s;
        ReorderNodesets_bn(n.get(), joined.c_str(), nullptr);
        check(processEnv());
      },
      "The user node sets, highest priority first; setting a list puts those first, in that order.");
  addProperty(
      m, "Net", "elimination_order",
      [](const Net& n) -> pb::object {
        const nodelist_bn* order = GetNetElimOrder_bn(n.get());
        check(processEnv());
        if (!order) return pb::none();
        pb::list names;
        for (const Node& node : nodesOfList(n, order)) names.append(std::string(GetNodeName_bn(node.get())));
        return names;
      },
      [](const Net& n, const pb::object& order) {
        if (order.is_none()) {
          SetNetElimOrder_bn(n.get(), nullptr);
        } else {
          NodeList list(n.get(), n.nodesOf(order));
          SetNetElimOrder_bn(n.get(), list.get());
        }
        check(processEnv());
      },
      "The order in which compiling eliminates nodes (names), or None to let compiling choose.");
  addMethod(
      m, "Net", "junction_tree_report",
      [](const Net& n) {
        const char* text = ReportJunctionTree_bn(n.get());
        check(processEnv());
        return std::string(text ? text : "");
      },
      "A text report of the junction tree (compile first).");
  addMethod(
      m, "Net", "random_case",
      [](const Net& n, const pb::object& nodes, double timeout, const pb::object& random) {
        std::vector<Node> chosen = n.nodesOf(nodes);
        NodeList list(n.get(), chosen);
        std::shared_ptr<RandomGen> gen = randomOf(random);
        const int got = GenerateRandomCase_bn(list.get(), DEFAULT_SAMPLING, timeout, gen ? gen->gen : nullptr);
        check(processEnv());
        if (got < 0) throw pb::value_error("no case agreeing with the findings was drawn in time");
        pb::dict out;
        for (const Node& node : chosen) out[pb::str(std::string(GetNodeName_bn(node.get())))] = node.stateName(GetNodeFinding_bn(node.get()));
        check(processEnv());
        return out;
      },
      pb::arg("nodes") = pb::none(), pb::arg("timeout") = 0.0, pb::arg("random") = pb::none(),
      "Draws a case agreeing with the findings and enters it as findings of `nodes` (None: every\n"
      "node); returns node -> state.  Draws from `random` (a quorva.Random), else the net's generator.");
  addMethod(
      m, "Net", "copy_nodes",
      [](const Net& into, const pb::object& nodes) {
        std::vector<Node> from;
        for (const pb::handle& h : nodes) from.push_back(pb::cast<Node>(h));
        if (from.empty()) return std::vector<Node>{};
        NodeList list(from.front().net().get(), from);
        nodelist_bn* copies = CopyNodes_bn(list.get(), into.get(), nullptr);
        check(processEnv());
        std::vector<Node> out = nodesOfList(into, copies);
        DeleteNodeList_bn(copies);
        return out;
      },
      pb::arg("nodes"), "Copies the nodes (of one net) with the links among them into this net.");
}

}  // namespace

void bindEdits(pb::module_& m) {
  bindNodeEdits(m);
  bindNetEdits(m);
  m.def(
      "set_memory_limit",
      [](double bytes) {
        const double before = LimitMemoryUsage_vq(bytes, processEnv());
        check(processEnv());
        return before;
      },
      pb::arg("bytes"), "Limits the bytes the engine's tables may take; returns the limit before.");
  m.def(
      "set_argument_checking",
      [](int level) {
        const int before = ArgumentChecking_vq(level, processEnv());
        check(processEnv());
        return before;
      },
      pb::arg("level"), "Sets how thoroughly API arguments are checked (0-4); returns the level before.");
}

}  // namespace quorva::py
