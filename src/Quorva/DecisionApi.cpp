// API functions of decision nets: the no-forgetting setting, expected utilities and the maximum
// expected utility.
#include "BN/Decision/DecisionErrors.h"
#include "BN/Decision/DecisionSolver.h"
#include "BN/Inference/BeliefUpdate.h"
#include "BN/Net/Bnet.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

// The net's decisions solved for its present tables and findings.
const DecisionSolution& solved(Bnet& net) {
  updateBeliefs(net);
  return solveDecisions(net);
}

}  // namespace

extern "C" {

int SetNetNoForgetting_bn(net_bn* net, int no_forgetting) {
  return apiCall(__func__, -1, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (no_forgetting < -1 || no_forgetting > 1) argError(&f.env(), err::NoForgettingArg, no_forgetting);
    int before = n.noForgetting ? 1 : 0;
    if (no_forgetting >= 0 && (no_forgetting == 1) != n.noForgetting) {
      n.noForgetting = no_forgetting == 1;
      n.findingsChanged();  // the policies are solved again
    }
    return before;
  });
}

const double* GetNodeExpectedUtils_bn(node_bn* node) {
  return apiCall(__func__, static_cast<const double*>(nullptr), envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    if (n.kind != DECISION) argError(&f.env(), err::NotDecision, n.name);
    const DecisionSolution& s = solved(*n.net);
    for (size_t k = 0; k < s.decisions.size(); ++k)
      if (s.decisions[k] == &n) return s.utils[k].data();
    return static_cast<const double*>(nullptr);
  });
}

double GetNetExpectedUtility_bn(net_bn* net) {
  return apiCall(__func__, undefDouble(), envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    bool any = false;
    for (const Bnode* x : n.nodes) any = any || x->kind == UTILITY;
    if (!any) engError(&f.env(), err::NoUtility, n.name);
    return solved(n).meu;
  });
}

}  // extern "C"
