// What the page draws of a net: every node with its states, parents, position, comment, equation
// and table, as JSON.
#include "ServeNetView.h"

#include <cmath>

namespace quorva::cli {

namespace {

// Rows shown of one node's table; a larger table is cut ("rows_total" says how many it has).
constexpr long MAX_TABLE_ROWS = 1000;

using json = nlohmann::ordered_json;

const char* kindWord(int kind) {
  switch (kind) {
    case DECISION_NODE: return "decision";
    case UTILITY_NODE: return "utility";
    case CONSTANT_NODE: return "constant";
    case DISCONNECTED_NODE: return "disconnected";
    default: return "nature";
  }
}

std::string stateWord(const node_bn* node, int s) {
  const char* name = GetNodeStateName_bn(node, s);
  return name && *name ? name : "#" + std::to_string(s);
}

json number(double x) { return std::isfinite(x) && x != UNDEF_DBL ? json(x) : json(); }

// The node's table row by row, parents' states the last fastest:
// {"kind": "probabilities" | "function", "rows": [{"given": [S...], "values": [V...]}...]}, or null.
json tableOf(const node_bn* node, const std::vector<node_bn*>& parents) {
  if (!HasNodeTable_bn(node, nullptr)) return json();
  const int states = GetNodeNumberStates_bn(node);
  const prob_bn* probs = states > 0 ? GetNodeProbs_bn(node, nullptr) : nullptr;
  const bool real = states <= 0 || GetNodeKind_bn(node) == UTILITY_NODE;
  json rows = json::array();
  std::vector<state_bn> at(parents.size(), 0);
  long total = 1;
  for (node_bn* p : parents) total *= std::max(1, GetNodeNumberStates_bn(p));
  for (long r = 0; r < total && r < MAX_TABLE_ROWS; ++r) {
    json given = json::array(), values = json::array();
    for (size_t k = 0; k < parents.size(); ++k) given.push_back(stateWord(parents[k], at[k]));
    const state_bn* row = at.empty() ? nullptr : at.data();
    if (probs) {
      for (int s = 0; s < states; ++s) {
        const float p = probs[r * states + s];
        values.push_back(p == UNDEF_FLT_vq ? json() : json(static_cast<double>(p)));
      }
    } else if (real) {
      values.push_back(number(GetNodeFuncReal_bn(node, row)));
    } else {
      const state_bn s = GetNodeFuncState_bn(node, row);
      values.push_back(s >= 0 && s < states ? json(stateWord(node, s)) : json());
    }
    rows.push_back({{"given", given}, {"values", values}});
    for (size_t k = at.size(); k-- > 0;) {
      if (++at[k] < GetNodeNumberStates_bn(parents[k])) break;
      at[k] = 0;
    }
  }
  json table = {{"kind", probs ? "probabilities" : "function"}, {"rows", rows}};
  if (total > MAX_TABLE_ROWS) table["rows_total"] = total;
  return table;
}

json describeNode(node_bn* node) {
  json out;
  out["name"] = GetNodeName_bn(node);
  const char* title = GetNodeTitle_bn(node);
  out["title"] = title && *title ? title : GetNodeName_bn(node);
  out["kind"] = kindWord(GetNodeKind_bn(node));
  json states = json::array();
  for (int s = 0, n = GetNodeNumberStates_bn(node); s < n; ++s) {
    const char* stateTitle = GetNodeStateTitle_bn(node, s);
    states.push_back(stateTitle && *stateTitle ? stateTitle : stateWord(node, s));
  }
  json names = json::array();
  for (int s = 0, n = GetNodeNumberStates_bn(node); s < n; ++s) names.push_back(stateWord(node, s));
  out["states"] = names;
  out["state_titles"] = states;
  std::vector<node_bn*> parents;
  const nodelist_bn* list = GetNodeParents_bn(node);
  for (int i = 0, n = LengthNodeList_bn(list); i < n; ++i) parents.push_back(GetNthNode_bn(list, i));
  json parentNames = json::array();
  for (node_bn* p : parents) parentNames.push_back(GetNodeName_bn(p));
  out["parents"] = parentNames;
  double x = 0, y = 0;
  GetNodeVisPosition_bn(node, nullptr, &x, &y);
  out["position"] = {x, y};
  const char* comment = GetNodeComment_bn(node);
  out["comment"] = comment ? comment : "";
  const char* equation = GetNodeEquation_bn(node);
  out["equation"] = equation && *equation ? json(equation) : json();
  out["table"] = tableOf(node, parents);
  return out;
}

}  // namespace

nlohmann::ordered_json describeNet(const net_bn* net) {
  json out;
  out["name"] = netName(net);
  const char* title = GetNetTitle_bn(net);
  out["title"] = title && *title ? title : netName(net);
  json nodes = json::array();
  for (node_bn* node : netNodes(net)) nodes.push_back(describeNode(node));
  out["nodes"] = nodes;
  ClearErrors_vq(GetNetEnviron_bn(net), INTERNAL_ERR);  // a row a table lacks is shown as null
  return out;
}

}  // namespace quorva::cli
