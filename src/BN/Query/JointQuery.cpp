// Joint beliefs and the most probable joint state of a set of nodes, by variable elimination over
// the tables the query needs.
#include "BN/Query/JointQuery.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "BN/Query/QueryErrors.h"
#include "BN/Query/Relevance.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/PotKernels.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

const char* kindFault(const Bnode& n) {
  if (n.kind == UTILITY) return "is a utility node";
  if (n.kind == CONSTANT) return "is a constant node";
  if (!n.hasStates()) return "has no states";
  return nullptr;
}

void checkQuery(Bnet& net, const std::vector<const Bnode*>& query) {
  for (const Bnode* n : net.nodes) {
    if (n->kind == DECISION) engError(net.env, err::QueryDecisions, net.name);
    if (!n->finding.calibration.empty()) engError(net.env, err::QueryCalibration, n->name);
  }
  for (size_t i = 0; i < query.size(); ++i) {
    if (const char* why = kindFault(*query[i])) engError(net.env, err::QueryNodeKind, query[i]->name, why);
    if (std::find(query.begin(), query.begin() + static_cast<long>(i), query[i]) != query.begin() + static_cast<long>(i))
      engError(net.env, err::QueryListedTwice, query[i]->name);
  }
}

// The node's table as inference takes it: the CPT with undefined rows uniform, a CPT made from
// its function table, or uniform.  A parent listed twice takes one state in both places.
Factor nodeFactor(const Bnode& n) {
  size_t k = static_cast<size_t>(n.numStates);
  const NodeTables& t = n.tables;
  bool cpt = t.cpt.isAllocated(), func = !cpt && t.func.isAllocated() && !t.funcReal;
  if (!cpt && !func) return Factor({&n}, {n.numStates}, 1.0 / static_cast<double>(k));
  std::vector<const Bnode*> vars;
  std::vector<int> card;
  std::vector<size_t> dimOf;  // each table dimension's place among `vars`
  for (const Bnode* d : tableNodes(n, true)) {
    auto it = std::find(vars.begin(), vars.end(), d);
    dimOf.push_back(static_cast<size_t>(it - vars.begin()));
    if (it == vars.end()) vars.push_back(d), card.push_back(d->numStates);
  }
  Factor f(vars, card, 0.0);
  std::vector<size_t> dimStride(dimOf.size(), 1);
  for (size_t d = dimOf.size(); d-- > 1;) dimStride[d - 1] = dimStride[d] * static_cast<size_t>(tableNodes(n, true)[d]->numStates);
  std::vector<int> at(vars.size(), 0);
  for (size_t i = 0; i < f.size(); ++i) {
    size_t row = 0;
    for (size_t d = 0; d + 1 < dimOf.size(); ++d) row += dimStride[d] * static_cast<size_t>(at[dimOf[d]]);
    size_t state = static_cast<size_t>(at[dimOf.back()]);
    double v;
    if (cpt) {
      const float* r = t.cpt.data() + row;
      bool undefined = std::any_of(r, r + k, [](float x) { return isReservedFloat(x) || !(x >= 0); });
      v = undefined ? 1.0 / static_cast<double>(k) : r[state] * t.cpt.factor();
    } else {
      float s = t.func.data()[row / k];
      v = isReservedFloat(s) ? 1.0 / static_cast<double>(k) : (static_cast<size_t>(s) == state ? 1.0 : 0.0);
    }
    f.values[i] = v;
    for (size_t d = vars.size(); d-- > 0;) {
      if (++at[d] < card[d]) break;
      at[d] = 0;
    }
  }
  return f;
}

// The factors whose product, over the query and the other nodes they hold, is proportional to
// the joint of the query and the findings.
std::vector<Factor> queryFactors(const Bnet& net, const std::vector<const Bnode*>& query) {
  size_t n = net.nodes.size();
  const auto [observed, soft] = findingMarks(net);
  BallMarks m = passBall(net, query, observed, soft);
  std::vector<Factor> out;
  std::vector<char> held(n, 0);
  for (size_t i = 0; i < n; ++i) {
    const Bnode& node = *net.nodes[i];
    if (m.top[i]) {
      out.push_back(nodeFactor(node));
      for (const Bnode* v : out.back().vars) held[nodePlace(net, v)] = 1;
    }
    if (m.softTop[i]) {
      Factor lik({&node}, {node.numStates}, 0.0);
      for (size_t s = 0; s < lik.size(); ++s) lik.values[s] = node.finding.likelihood[s];
      out.push_back(std::move(lik));
      held[i] = 1;
    }
  }
  for (const Bnode* q : query) held[nodePlace(net, q)] = 1;
  // Observed nodes fixed wherever they appear.
  for (size_t i = 0; i < n; ++i)
    if (observed[i] && held[i]) {
      const Bnode& node = *net.nodes[i];
      Factor pin({&node}, {node.numStates}, 0.0);
      pin.values[static_cast<size_t>(node.finding.state)] = 1.0;
      out.push_back(std::move(pin));
    }
  return out;
}

// Multiplies the factors that hold `v` into one and takes `v` out of it.
void eliminateOne(EnvCore* env, const std::string& netName, std::vector<Factor>& factors, const Bnode* v,
                  bool maximum, std::vector<int>* argmax, std::vector<const Bnode*>* rest) {
  Factor product;
  std::vector<Factor> keep;
  for (Factor& f : factors) {
    if (!f.has(v)) {
      keep.push_back(std::move(f));
      continue;
    }
    double size = productSize(product, f);
    if (size > MAX_QUERY_ENTRIES) engError(env, err::QueryTooLarge, netName, size, MAX_QUERY_ENTRIES);
    product = multiply(product, f);
  }
  Factor out = eliminate(product, v, maximum, argmax);
  if (rest) *rest = out.vars;
  keep.push_back(std::move(out));
  factors = std::move(keep);
}

// The cost of taking `v` out next: the entries of the product of the factors that hold it.
double eliminationCost(const std::vector<Factor>& factors, const Bnode* v) {
  std::vector<const Bnode*> seen;
  double n = 1;
  for (const Factor& f : factors)
    if (f.has(v))
      for (size_t i = 0; i < f.vars.size(); ++i)
        if (std::find(seen.begin(), seen.end(), f.vars[i]) == seen.end()) seen.push_back(f.vars[i]), n *= f.card[i];
  return n;
}

// Sums out every node the factors hold but `keep`, cheapest first.
void sumOutAllBut(const Bnet& net, std::vector<Factor>& factors, const std::vector<const Bnode*>& keep) {
  for (;;) {
    const Bnode* best = nullptr;
    double bestCost = 0;
    for (const Factor& f : factors)
      for (const Bnode* v : f.vars) {
        if (std::find(keep.begin(), keep.end(), v) != keep.end()) continue;
        double c = eliminationCost(factors, v);
        if (!best || c < bestCost) best = v, bestCost = c;
      }
    if (!best) return;
    eliminateOne(net.env, net.name, factors, best, false, nullptr, nullptr);
  }
}

Factor productOf(const Bnet& net, const std::vector<Factor>& factors) {
  Factor all;
  for (const Factor& f : factors) {
    double size = productSize(all, f);
    if (size > MAX_QUERY_ENTRIES) engError(net.env, err::QueryTooLarge, net.name, size, MAX_QUERY_ENTRIES);
    all = multiply(all, f);
  }
  return all;
}

// The query's joint from the clique that holds it, when the net is compiled and one does.
bool fromClique(Bnet& net, const std::vector<const Bnode*>& query, Factor& out) {
  if (!net.jt || query.empty()) return false;
  JunctionTree& jt = *net.jt;
  const Clique* home = nullptr;
  for (const Clique& c : jt.cliques)
    if (std::all_of(query.begin(), query.end(), [&](const Bnode* q) {
          return std::find(c.members.begin(), c.members.end(), q) != c.members.end();
        }) && (!home || c.size < home->size))
      home = &c;
  if (!home) return false;
  updateBeliefs(net);
  std::vector<Bnode*> nodes;
  for (const Bnode* q : query) nodes.push_back(const_cast<Bnode*>(q));
  PotTable marginal(net.env, nodes);
  marginal.allocate();
  marginalizeInto(marginal, home->pot);
  std::vector<int> card;
  for (const Bnode* q : query) card.push_back(q->numStates);
  out = Factor(query, card, 0.0);
  for (size_t i = 0; i < out.size(); ++i) out.values[i] = marginal.data()[i];
  return true;
}

void normalize(Bnet& net, Factor& f) {
  double sum = 0;
  for (double v : f.values) sum += v;
  if (!(sum > 0)) engError(net.env, err::Inconsistent, "");
  for (double& v : f.values) v /= sum;
}

// Refuses findings that cannot hold together, even where the query does not need them: from the
// junction tree when the net is compiled, else by summing the findings' nodes and their ancestors.
void requireConsistent(Bnet& net) {
  if (net.jt) return updateBeliefs(net);
  size_t n = net.nodes.size();
  std::vector<char> needed(n, 0);
  std::vector<const Bnode*> todo;
  for (const Bnode* node : net.nodes)
    if (node->finding.state >= 0 || !node->finding.likelihood.empty()) todo.push_back(node);
  std::vector<Factor> factors;
  while (!todo.empty()) {
    const Bnode* node = todo.back();
    todo.pop_back();
    size_t i = nodePlace(net, node);
    if (needed[i]) continue;
    needed[i] = 1;
    factors.push_back(nodeFactor(*node));
    for (const Link& l : node->parents) todo.push_back(l.parent);
    const Finding& f = node->finding;
    if (f.state >= 0 || !f.likelihood.empty()) {
      Factor weight({node}, {node->numStates}, 0.0);
      for (size_t st = 0; st < weight.size(); ++st)
        weight.values[st] = f.state >= 0 ? (static_cast<int>(st) == f.state ? 1.0 : 0.0) : f.likelihood[st];
      factors.push_back(std::move(weight));
    }
  }
  if (factors.empty()) return;
  sumOutAllBut(net, factors, {});
  if (!(productOf(net, factors).values[0] > 0)) engError(net.env, err::Inconsistent, "");
}

}  // namespace

Factor jointBeliefs(Bnet& net, const std::vector<const Bnode*>& query) {
  checkQuery(net, query);
  requireConsistent(net);
  Factor joint;
  if (!fromClique(net, query, joint)) {
    std::vector<Factor> factors = queryFactors(net, query);
    sumOutAllBut(net, factors, query);
    joint = reorder(productOf(net, factors), query);
  }
  normalize(net, joint);
  return joint;
}

JointMode mostProbableJoint(Bnet& net, const std::vector<const Bnode*>& query) {
  checkQuery(net, query);
  requireConsistent(net);
  std::vector<Factor> factors = queryFactors(net, query);
  sumOutAllBut(net, factors, query);
  Factor evidence = productOf(net, factors);  // for the probability of the findings
  double total = 0;
  for (double v : evidence.values) total += v;
  if (!(total > 0)) engError(net.env, err::Inconsistent, "");
  // Maximise the query nodes out one by one, cheapest first, keeping each one's best state for
  // every state of the nodes still in; then read the best states back in reverse.
  struct Step {
    const Bnode* node;
    std::vector<const Bnode*> rest;
    std::vector<int> card;
    std::vector<int> argmax;
  };
  std::vector<Step> steps;
  std::vector<const Bnode*> left = query;
  while (!left.empty()) {
    auto best = std::min_element(left.begin(), left.end(), [&](const Bnode* a, const Bnode* b) {
      return eliminationCost(factors, a) < eliminationCost(factors, b);
    });
    Step s{*best, {}, {}, {}};
    eliminateOne(net.env, net.name, factors, s.node, true, &s.argmax, &s.rest);
    for (const Bnode* r : s.rest) s.card.push_back(r->numStates);
    steps.push_back(std::move(s));
    left.erase(best);
  }
  double best = productOf(net, factors).values[0];
  std::unordered_map<const Bnode*, int> chosen;
  for (size_t i = steps.size(); i-- > 0;) {
    const Step& s = steps[i];
    size_t at = 0;
    for (size_t d = 0; d < s.rest.size(); ++d) at = at * static_cast<size_t>(s.card[d]) + static_cast<size_t>(chosen.at(s.rest[d]));
    chosen[s.node] = s.argmax.empty() ? 0 : s.argmax[at];
  }
  JointMode mode;
  for (const Bnode* q : query) mode.states.push_back(chosen.at(q));
  mode.probability = best / total;
  return mode;
}

}  // namespace quorva
