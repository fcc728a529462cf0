// Nodes whose tables come from their equations.
#include <cstdio>

#include "Engine.h"

namespace quorva::cli {

std::vector<node_bn*> equationNodes(const net_bn* net, bool onlyWithoutTables) {
  std::vector<node_bn*> nodes;
  for (node_bn* node : netNodes(net)) {
    const char* eq = GetNodeEquation_bn(node);
    if (eq && *eq && (!onlyWithoutTables || !HasNodeTable_bn(node, nullptr))) nodes.push_back(node);
  }
  return nodes;
}

void buildEquationTables(Env& env, const std::vector<node_bn*>& nodes, int samples) {
  for (node_bn* node : nodes) {
    EquationToTable_bn(node, samples, 0, 0);
    env.check();
  }
}

bool tellMissingTables(const net_bn* net) {
  const std::vector<node_bn*> nodes = equationNodes(net, true);
  if (nodes.empty()) return false;
  std::string names;
  for (size_t i = 0; i < nodes.size() && i < 5; ++i) names += (i ? ", " : "") + std::string(GetNodeName_bn(nodes[i]));
  if (nodes.size() > 5) names += ", ...";
  std::fprintf(stderr, "quorva: building the tables of %s from their equations (%s)\n",
               counted(static_cast<long long>(nodes.size()), "node").c_str(), names.c_str());
  return true;
}

void buildMissingTables(Env& env, net_bn* net, bool tell) {
  if (tell && !tellMissingTables(net)) return;
  buildEquationTables(env, equationNodes(net, true), DEFAULT_EQUATION_SAMPLES);
}

}  // namespace quorva::cli
