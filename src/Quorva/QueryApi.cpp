// API functions of queries over several nodes, graph questions and interventions.
#include <algorithm>

#include "BN/Net/Bnet.h"
#include "BN/Net/NodeList.h"
#include "BN/Query/Intervention.h"
#include "BN/Query/JointQuery.h"
#include "BN/Query/QueryErrors.h"
#include "BN/Query/Relevance.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

// The live nodes of a list argument, each checked.
std::vector<const Bnode*> listedNodes(ApiFrame& f, const nodelist_bn* nodes) {
  std::vector<const Bnode*> out;
  for (const Bnode* n : f.list(nodes).nodes) {
    if (!n) argError(&f.env(), err::NullObject, "Bnode (an entry of argument 'nodes')");
    out.push_back(&f.node(handle(const_cast<Bnode*>(n))));
  }
  return out;
}

nodelist_bn* newListOf(ApiFrame& f, Bnet* net, std::vector<Bnode*> nodes) {
  NodeList& out = f.env().newList(net);
  out.nodes = std::move(nodes);
  return handle(&out);
}

}  // namespace

extern "C" {

int GetJointBeliefs_bn(const nodelist_bn* nodes, double* beliefs, int num_entries) {
  return apiCall(__func__, -1, envOf(nodes), [&](ApiFrame& f) {
    std::vector<const Bnode*> query = listedNodes(f, nodes);
    if (query.empty()) {
      if (beliefs && num_entries >= 1) beliefs[0] = 1.0;
      return 1;
    }
    Factor joint = jointBeliefs(*query.front()->net, query);
    int size = static_cast<int>(joint.size());
    if (beliefs && num_entries >= size) std::copy(joint.values.begin(), joint.values.end(), beliefs);
    return size;
  });
}

double MostProbableJointConfig_bn(const nodelist_bn* nodes, state_bn* config) {
  return apiCall(__func__, -1.0, envOf(nodes), [&](ApiFrame& f) {
    std::vector<const Bnode*> query = listedNodes(f, nodes);
    if (query.empty()) return 1.0;
    f.notNull(config, "config");
    JointMode mode = mostProbableJoint(*query.front()->net, query);
    std::copy(mode.states.begin(), mode.states.end(), config);
    return mode.probability;
  });
}

bool_vq IsDSeparated_bn(const nodelist_bn* x, const nodelist_bn* y, const nodelist_bn* given) {
  return apiCall(__func__, static_cast<bool_vq>(false), envOf(x), [&](ApiFrame& f) {
    std::vector<const Bnode*> xs = listedNodes(f, x), ys = listedNodes(f, y);
    std::vector<const Bnode*> zs = given ? listedNodes(f, given) : std::vector<const Bnode*>{};
    const Bnet* net = f.list(x).net ? f.list(x).net : f.list(y).net;
    if (!net) return static_cast<bool_vq>(true);
    for (const auto* group : {&xs, &ys, &zs})
      for (const Bnode* n : *group)
        if (n->net != net) engError(&f.env(), err::QueryDifferentNets, n->name);
    return static_cast<bool_vq>(dSeparated(*net, xs, ys, zs));
  });
}

nodelist_bn* GetMarkovBlanket_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<nodelist_bn*>(nullptr), envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    return newListOf(f, n.net, markovBlanket(n));
  });
}

nodelist_bn* GetRelevantNodes_bn(const nodelist_bn* nodes) {
  return apiCall(__func__, static_cast<nodelist_bn*>(nullptr), envOf(nodes), [&](ApiFrame& f) {
    std::vector<const Bnode*> query = listedNodes(f, nodes);
    Bnet* net = f.list(nodes).net;
    return newListOf(f, net, net ? relevantNodes(*net, query) : std::vector<Bnode*>{});
  });
}

void InterveneNode_bn(node_bn* node, state_bn state) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { interveneNode(f.node(node), state); });
}

}  // extern "C"
