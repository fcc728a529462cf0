// Single policy updating, expected utilities and beliefs under the policies.
#include "BN/Decision/DecisionSolver.h"

#include <algorithm>
#include <cmath>

#include "BN/Decision/DecisionErrors.h"
#include "BN/Decision/DecisionModel.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

constexpr int MAX_PASSES = 50;

// The stride of variable `v` in a factor over `vars`.
size_t strideOf(const Cards& cards, const std::vector<int>& vars, int v) {
  size_t s = 1;
  for (int u : vars)
    if (u > v) s *= static_cast<size_t>(cards[static_cast<size_t>(u)]);
  return s;
}

// Whether option `d` beats `best` (near-ties keep the lower option).
bool better(double d, double best) { return d > best + 1e-12 * std::max(1.0, std::fabs(best)); }

// The best option of `dvar` at the configuration whose offset (with dvar at 0) is `base`.
int bestOption(const Cards& cards, const ValueFactor& w, int dvar, size_t base) {
  if (!w.hasUtility()) return 0;
  size_t s = strideOf(cards, w.vars, dvar);
  int best = 0;
  for (int d = 1; d < cards[static_cast<size_t>(dvar)]; ++d)
    if (better(w.w[base + static_cast<size_t>(d) * s], w.w[base + static_cast<size_t>(best) * s])) best = d;
  return best;
}

// The deterministic policy choosing the best option of `dvar` at each configuration of the rest.
ValueFactor argmaxPolicy(const Cards& cards, const ValueFactor& w, int dvar) {
  ValueFactor pol{w.vars, std::vector<double>(w.p.size(), 0.0), {}};
  size_t s = strideOf(cards, w.vars, dvar), c = static_cast<size_t>(cards[static_cast<size_t>(dvar)]);
  for (size_t i = 0; i < pol.p.size(); ++i) {
    if ((i / s) % c != 0) continue;
    pol.p[i + static_cast<size_t>(bestOption(cards, w, dvar, i)) * s] = 1.0;
  }
  return pol;
}

// Every factor but the policy of decision `skipDecision` and the findings at `unseen` variables.
std::vector<const ValueFactor*> factorsBut(const DecisionModel& m, size_t skipDecision, const std::vector<int>& unseen = {}) {
  std::vector<const ValueFactor*> all;
  for (const ValueFactor& f : m.chance) all.push_back(&f);
  for (const ValueFactor& f : m.findings)
    if (std::find(unseen.begin(), unseen.end(), f.vars[0]) == unseen.end()) all.push_back(&f);
  for (const ValueFactor& f : m.utilities) all.push_back(&f);
  for (size_t k = 0; k < m.policies.size(); ++k)
    if (k != skipDecision) all.push_back(&m.policies[k]);
  return all;
}

// Writes into the decision's function table, for each configuration of its own parents, the
// option best over `w` (a factor over what it knows and itself) summed over what it remembers.
void writePolicyTable(const DecisionModel& m, Bnode& d, ValueFactor w, int dvar) {
  std::vector<int> own;
  for (const Link& l : d.parents) own.push_back(m.var(*l.parent));
  for (int v : std::vector<int>(w.vars))
    if (v != dvar && std::find(own.begin(), own.end(), v) == own.end()) w = sumOut(m.cards, w, v);
  PotTable& t = ensureFunc(d, false);
  std::vector<int> digit(own.size(), 0);
  for (size_t row = 0; row < t.size(); ++row) {
    size_t base = 0;
    for (size_t k = 0; k < own.size(); ++k)
      base += static_cast<size_t>(digit[k]) * strideOf(m.cards, w.vars, own[k]);
    t.data()[row] = static_cast<float>(bestOption(m.cards, w, dvar, base));
    for (size_t k = own.size(); k-- > 0;) {
      if (++digit[k] < m.cards[static_cast<size_t>(own[k])]) break;
      digit[k] = 0;
    }
  }
}

// One backward pass of policy updates; whether any policy changed.
bool updatePolicies(DecisionModel& m, bool writeTables) {
  bool changed = false;
  for (size_t k = m.decisions.size(); k-- > 0;) {
    if (m.fixed[k]) continue;
    int dvar = m.var(*m.decisions[k]);
    std::vector<int> keep = m.informed[k];
    keep.push_back(dvar);
    // A finding at a variable the decision knows only scales that variable's rows: left out, it
    // leaves the rows it allows as they are and gives the rows it rules out a policy too.
    ValueFactor w = eliminateAllBut(m.cards, factorsBut(m, k, m.informed[k]), keep);
    ValueFactor pol = argmaxPolicy(m.cards, w, dvar);
    if (pol.vars != m.policies[k].vars || pol.p != m.policies[k].p) changed = true;
    m.policies[k] = std::move(pol);
    if (writeTables) writePolicyTable(m, *m.decisions[k], std::move(w), dvar);
  }
  return changed;
}

// A fixed decision's function table holds its action, when the action is one option.
void writeActionTable(Bnode& d) {
  if (d.finding.state < 0) return;
  PotTable& t = ensureFunc(d, false);
  std::fill(t.data(), t.data() + t.size(), static_cast<float>(d.finding.state));
}

void findPolicies(DecisionModel& m, bool noForgetting) {
  if (noForgetting) {
    updatePolicies(m, true);
  } else {
    for (int pass = 0; pass < MAX_PASSES && updatePolicies(m, false); ++pass) {
    }
    updatePolicies(m, true);
  }
  for (size_t k = 0; k < m.decisions.size(); ++k)
    if (m.fixed[k]) writeActionTable(*m.decisions[k]);
}

// The tables, policies and findings a variable's marginal depends on: those of the variable, of
// the variables with findings, and of their ancestors (a decision's parents being what it knows).
// The others sum to one and drop out.
std::vector<const ValueFactor*> ancestralFactors(const DecisionModel& m, int var) {
  std::vector<const ValueFactor*> owned(m.vars.size(), nullptr);
  for (size_t i = 0; i < m.chance.size(); ++i) owned[static_cast<size_t>(m.chanceOwner[i])] = &m.chance[i];
  for (size_t k = 0; k < m.decisions.size(); ++k) owned[static_cast<size_t>(m.var(*m.decisions[k]))] = &m.policies[k];
  std::vector<char> needed(m.vars.size(), 0);
  std::vector<int> stack{var};
  for (const ValueFactor& f : m.findings) stack.push_back(f.vars[0]);
  std::vector<const ValueFactor*> out;
  while (!stack.empty()) {
    int v = stack.back();
    stack.pop_back();
    if (needed[static_cast<size_t>(v)]) continue;
    needed[static_cast<size_t>(v)] = 1;
    const ValueFactor* f = owned[static_cast<size_t>(v)];
    if (!f) continue;
    out.push_back(f);
    for (int u : f->vars) stack.push_back(u);
  }
  for (const ValueFactor& f : m.findings) out.push_back(&f);
  return out;
}

void findResults(const DecisionModel& m, DecisionSolution& s) {
  for (size_t k = 0; k < m.decisions.size(); ++k) {
    ValueFactor r = eliminateAllBut(m.cards, factorsBut(m, k), {m.var(*m.decisions[k])});
    std::vector<double> eu(r.p.size());
    for (size_t d = 0; d < eu.size(); ++d)
      eu[d] = r.p[d] > 0 && r.hasUtility() ? r.w[d] / r.p[d] : r.p[d] > 0 ? 0.0 : undefDouble();
    s.decisions.push_back(m.decisions[k]);
    s.utils.push_back(std::move(eu));
  }
  std::vector<const ValueFactor*> all = factorsBut(m, m.decisions.size());
  ValueFactor total = eliminateAllBut(m.cards, all, {});
  s.meu = total.p[0] > 0 ? (total.hasUtility() ? total.w[0] / total.p[0] : 0.0) : undefDouble();
  for (size_t v = 0; v < m.vars.size(); ++v) {
    ValueFactor b = eliminateAllBut(m.cards, ancestralFactors(m, static_cast<int>(v)), {static_cast<int>(v)});
    double sum = 0;
    for (double x : b.p) sum += x;
    std::vector<float> bel(b.p.size(), 0.0f);
    for (size_t i = 0; i < bel.size(); ++i) bel[i] = sum > 0 ? static_cast<float>(b.p[i] / sum) : 0.0f;
    s.vars.push_back(m.vars[v]);
    s.beliefs.push_back(std::move(bel));
  }
}

}  // namespace

const DecisionSolution& solveDecisions(Bnet& net) {
  JunctionTree& jt = *net.jt;
  if (jt.decisions && jt.decisions->inputs == net.beliefInputs && jt.decisions->noForgetting == net.noForgetting)
    return *jt.decisions;
  checkDecisionOrder(net);
  DecisionModel m = buildDecisionModel(net, net.noForgetting);
  if (m.incompleteUtility) engNotice(net.env, err::UtilityIncomplete, m.incompleteUtility->name);
  auto s = std::make_shared<DecisionSolution>();
  findPolicies(m, net.noForgetting);
  findResults(m, *s);
  s->inputs = net.beliefInputs;
  s->noForgetting = net.noForgetting;
  jt.decisions = std::move(s);
  return *jt.decisions;
}

const std::vector<float>* solvedBeliefs(Bnet& net, const Bnode& node) {
  const DecisionSolution& s = solveDecisions(net);
  for (size_t i = 0; i < s.vars.size(); ++i)
    if (s.vars[i] == &node) return &s.beliefs[i];
  return nullptr;
}

}  // namespace quorva
