// API functions of compiling, elimination orders and belief reading.
#include <algorithm>
#include <cmath>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Findings/Findings.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Inference/OrderCheck.h"
#include "BN/Net/NetEdit.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

Bnode& discrete(ApiFrame& f, const node_bn* node) {
  Bnode& n = f.node(node);
  if (!n.hasStates()) argError(&f.env(), err::BeliefsNotDiscrete, n.name);
  return n;
}

// The value each state stands for: its level, its interval's midpoint, or its number.
double stateValue(const Bnode& n, size_t s) {
  if (n.type == CONTINUOUS && n.details().levels.size() == static_cast<size_t>(n.numStates) + 1)
    return (n.details().levels[s] + n.details().levels[s + 1]) / 2;
  if (n.details().levels.size() == static_cast<size_t>(n.numStates)) return n.details().levels[s];
  return static_cast<double>(s);
}


// The probability of the listed nodes being in `states` together with the current findings, or
// (conditional) given them.  The states are entered as findings for the moment and the findings
// put back afterwards, whatever happens.
double jointProbability(ApiFrame& f, const nodelist_bn* nodes, const state_bn* states, bool conditional) {
  const NodeList& list = f.list(nodes);
  f.notNull(states, "states");
  for (const Bnode* n : list.nodes)
    if (!n) argError(&f.env(), err::NullObject, "Bnode (an entry of argument 'nodes')");
  if (!list.net) return 1.0;
  Bnet& net = *list.net;
  if (!net.jt) engError(&f.env(), err::JointNotCompiled, net.name);
  for (size_t i = 0; i < list.nodes.size(); ++i) f.state(*list.nodes[i], states[i]);
  double before = findingsProbability(net);
  if (before <= 0) return 0.0;
  struct Restore {
    Bnet& net;
    const NodeList& list;
    std::vector<Finding> saved;
    bool autoUpdate;
    ~Restore() {
      for (size_t i = 0; i < list.nodes.size(); ++i) list.nodes[i]->finding = saved[i];
      net.findingsChanged();
      net.autoUpdate = autoUpdate;
    }
  } restore{net, list, {}, net.autoUpdate};
  for (Bnode* n : list.nodes) restore.saved.push_back(n->finding);
  net.autoUpdate = false;
  bool possible = true;
  for (size_t i = 0; i < list.nodes.size() && possible; ++i) {
    Bnode& n = *list.nodes[i];
    if (n.finding.state >= 0 && n.finding.state != states[i]) possible = false;
    Finding one = n.finding;
    if (!one.likelihood.empty() && one.likelihood[static_cast<size_t>(states[i])] == 0) possible = false;
    // A likelihood keeps its weight at the state asked for and rules out the others.
    for (size_t s = 0; s < one.likelihood.size(); ++s)
      if (s != static_cast<size_t>(states[i])) one.likelihood[s] = 0;
    one.state = states[i];
    n.finding = one;
  }
  net.findingsChanged();
  double joint = 0;
  try {
    if (possible) joint = findingsProbability(net);
  } catch (const QuorvaError& e) {
    if (!e.record || e.record->number != -err::Inconsistent.number) throw;
    f.env().errors.remove(e.record);
  }
  // findingsProbability is relative to the no-findings base, so `joint` already includes the
  // earlier findings' probability.
  return conditional ? joint / before : joint;
}

}  // namespace

extern "C" {

void CompileNet_bn(net_bn* net) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) { compileNet(f.net(net)); });
}

void UncompileNet_bn(net_bn* net) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) { uncompileNet(f.net(net)); });
}

double SizeCompiledNet_bn(net_bn* net, int method) {
  return apiCall(__func__, -1.0, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (method != 0) argError(&f.env(), err::SizeMethod, method);
    if (!n.jt) engError(&f.env(), err::NeedsCompiling, n.name);
    return n.jt->totalSize();
  });
}

const char* ReportJunctionTree_bn(net_bn* net) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (!n.jt) engError(&f.env(), err::NeedsCompiling, n.name);
    n.reportRead = junctionTreeReport(n);
    return n.reportRead.c_str();
  });
}

void SetNetElimOrder_bn(net_bn* net, const nodelist_bn* elim_order) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    std::vector<Bnode*> order;
    if (elim_order) {
      const NodeList& list = f.list(elim_order);
      std::string fault = orderFault(n, list.nodes);
      if (!fault.empty()) engError(&f.env(), err::BadElimOrder, n.name, fault);
      order = list.nodes;
    }
    if (order == n.elimOrder) return;
    NetEdit edit(n, "set elimination order", EditKind::Structure, UndoScope::lists());
    n.elimOrder = std::move(order);
    edit.commit();
  });
}

const nodelist_bn* GetNetElimOrder_bn(const net_bn* net) {
  return apiCall(__func__, static_cast<const nodelist_bn*>(nullptr), envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    dropStaleOrder(n);
    if (n.elimOrder.empty()) return static_cast<const nodelist_bn*>(nullptr);
    n.elimOrderList.nodes = n.elimOrder;
    return static_cast<const nodelist_bn*>(handle(&n.elimOrderList));
  });
}

const prob_bn* GetNodeBeliefs_bn(node_bn* node) {
  return apiCall(__func__, static_cast<const prob_bn*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return static_cast<const prob_bn*>(nodeBeliefs(discrete(f, node)).data()); });
}

double FindingsProbability_bn(net_bn* net) {
  return apiCall(__func__, -1.0, envOf(net), [&](ApiFrame& f) { return findingsProbability(f.net(net)); });
}

double GetNodeExpectedValue_bn(node_bn* node, double* std_dev, double* x3, double* x4) {
  return apiCall(__func__, GetUndefDbl_vq(), envOf(node), [&](ApiFrame& f) {
    Bnode& n = discrete(f, node);
    const std::vector<float>& b = nodeBeliefs(n);
    double mean = 0, second = 0;
    for (size_t s = 0; s < b.size(); ++s) {
      double v = stateValue(n, s);
      mean += b[s] * v;
      second += b[s] * v * v;
    }
    if (std_dev) *std_dev = std::sqrt(std::max(0.0, second - mean * mean));
    if (x3) *x3 = GetUndefDbl_vq();
    if (x4) *x4 = GetUndefDbl_vq();
    return mean;
  });
}

void MostProbableConfig_bn(const nodelist_bn* nodes, state_bn* config, int /*nth*/) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    const NodeList& list = f.list(nodes);
    f.notNull(config, "config");
    if (!list.net) return;
    Bnet& net = *list.net;
    for (const Bnode* n : net.nodes) {
      if (n->kind == DECISION) engError(&f.env(), err::MpeDecisions, net.name);
      if (!n->hasStates() && n->kind != UTILITY) engError(&f.env(), err::MpeContinuous, net.name, n->name);
    }
    std::vector<int> all = mostProbableConfig(net);
    for (size_t i = 0; i < list.nodes.size(); ++i) {
      auto it = std::find(net.nodes.begin(), net.nodes.end(), list.nodes[i]);
      config[i] = it == net.nodes.end() ? UNDEF_STATE : all[static_cast<size_t>(it - net.nodes.begin())];
    }
  });
}

double JointProbability_bn(const nodelist_bn* nodes, const state_bn* states) {
  return apiCall(__func__, -1.0, envOf(nodes), [&](ApiFrame& f) { return jointProbability(f, nodes, states, true); });
}

double GetJointProbability_bn(const nodelist_bn* nodes, const state_bn* states) {
  return apiCall(__func__, -1.0, envOf(nodes), [&](ApiFrame& f) { return jointProbability(f, nodes, states, false); });
}

}  // extern "C"
