// API functions of a node's states and levels.
#include "BN/Net/NodeStates.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {
using Texts = const std::vector<std::string>& (*)(const Bnode&);
const std::vector<std::string>& namesOf(const Bnode& n) { return n.stateNames; }
const std::vector<std::string>& titlesOf(const Bnode& n) { return n.details().stateTitles; }
const std::vector<std::string>& commentsOf(const Bnode& n) { return n.details().stateComments; }

// One state's name, title or comment, as `list` finds the texts of the node.
const char* stateText(ApiFrame& f, const node_bn* h, int state, Texts list) {
  const Bnode& n = f.node(h);
  f.state(n, state);
  const std::vector<std::string>& texts = list(n);
  return texts.empty() ? "" : texts[static_cast<size_t>(state)].c_str();
}
}  // namespace

extern "C" {

void SetNodeStateName_bn(node_bn* node, state_bn state, const char* state_name) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    f.state(n, state);
    setStateName(n, state, state_name);
  });
}

void SetNodeStateNames_bn(node_bn* node, const char* state_names) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { setStateNames(f.node(node), state_names); });
}

const char* GetNodeStateName_bn(const node_bn* node, state_bn state) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return stateText(f, node, state, namesOf); });
}

state_bn GetStateNamed_bn(const char* name, const node_bn* node) {
  return apiCall(__func__, state_bn{UNDEF_STATE}, envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    for (size_t i = 0; name && i < n.stateNames.size(); ++i)
      if (n.stateNames[i] == name) return static_cast<state_bn>(i);
    return state_bn{UNDEF_STATE};
  });
}

void SetNodeStateTitle_bn(node_bn* node, state_bn state, const char* state_title) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    f.state(n, state);
    setStateTitle(n, state, state_title);
  });
}

const char* GetNodeStateTitle_bn(const node_bn* node, state_bn state) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return stateText(f, node, state, titlesOf); });
}

void SetNodeStateComment_bn(node_bn* node, state_bn state, const char* state_comment) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    f.state(n, state);
    setStateComment(n, state, state_comment);
  });
}

const char* GetNodeStateComment_bn(const node_bn* node, state_bn state) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return stateText(f, node, state, commentsOf); });
}

void AddNodeStates_bn(node_bn* node, state_bn first_state, const char* state_names, int num_states,
                      double cpt_fill) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    addStates(f.node(node), first_state, state_names, num_states, cpt_fill);
  });
}

void RemoveNodeState_bn(node_bn* node, state_bn state) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    f.state(n, state);
    removeState(n, state);
  });
}

void ReorderNodeStates_bn(node_bn* node, const state_bn* new_order) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    f.notNull(new_order, "new_order");
    reorderStates(n, new_order);
  });
}

void SetNodeLevels_bn(node_bn* node, int num_points, const level_bn* levels) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { setLevels(f.node(node), num_points, levels); });
}

const level_bn* GetNodeLevels_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const level_bn*>(nullptr), envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    return n.details().levels.empty() ? nullptr : n.details().levels.data();
  });
}

}  // extern "C"
