// Checking a decision net, ordering its decisions, and turning its tables and findings into the
// factors the solver works on.
#include "BN/Decision/DecisionModel.h"

#include <algorithm>
#include <unordered_map>

#include "BN/Decision/DecisionErrors.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/PotTable.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// The nodes reachable from `from` along links (not counting `from` unless a cycle returns to it).
std::vector<bool> descendants(const Bnet& net, const Bnode& from) {
  std::unordered_map<const Bnode*, size_t> index;
  for (size_t i = 0; i < net.nodes.size(); ++i) index[net.nodes[i]] = i;
  std::vector<bool> seen(net.nodes.size(), false);
  std::vector<const Bnode*> stack{&from};
  while (!stack.empty()) {
    const Bnode* n = stack.back();
    stack.pop_back();
    for (const Bnode* c : n->children) {
      size_t i = index.at(c);
      if (seen[i]) continue;
      seen[i] = true;
      stack.push_back(c);
    }
  }
  return seen;
}

size_t placeOf(const Bnet& net, const Bnode* n) {
  return static_cast<size_t>(std::find(net.nodes.begin(), net.nodes.end(), n) - net.nodes.begin());
}

}  // namespace

std::vector<Bnode*> decisionOrder(const Bnet& net) {
  std::vector<std::pair<int, Bnode*>> counted;
  for (Bnode* d : net.nodes) {
    if (d->kind != DECISION) continue;
    std::vector<bool> below = descendants(net, *d);
    int later = 0;
    for (size_t i = 0; i < net.nodes.size(); ++i) later += below[i] && net.nodes[i]->kind == DECISION && net.nodes[i] != d;
    counted.emplace_back(later, d);
  }
  // The decision made first has every other below it.
  std::stable_sort(counted.begin(), counted.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<Bnode*> order;
  for (const auto& c : counted) order.push_back(c.second);
  return order;
}

void checkDecisionNet(const Bnet& net) {
  for (const Bnode* n : net.nodes) {
    if (n->kind == UTILITY && !n->children.empty())
      engError(net.env, err::UtilityChild, net.name, n->name, n->children.front()->name);
    if (n->kind == DECISION && n->numStates <= 0) engError(net.env, err::DecisionNoStates, net.name, n->name);
  }
  for (const Bnode* d : net.nodes) {
    if (d->kind != DECISION) continue;
    std::vector<bool> below = descendants(net, *d);
    for (const Link& l : d->parents)
      if (l.parent && below[placeOf(net, l.parent)])
        engError(net.env, err::DecisionCycle, net.name, d->name, l.parent->name);
  }
}

void checkDecisionOrder(const Bnet& net) {
  std::vector<Bnode*> order = decisionOrder(net);
  for (size_t i = 0; i + 1 < order.size(); ++i)
    if (!descendants(net, *order[i])[placeOf(net, order[i + 1])])
      engError(net.env, err::DecisionsUnordered, net.name, order[i]->name, order[i + 1]->name);
}

int DecisionModel::var(const Bnode& n) const {
  for (size_t i = 0; i < vars.size(); ++i)
    if (vars[i] == &n) return static_cast<int>(i);
  return -1;
}

namespace {

// A factor over the node's parents (and the node itself, `withNode`), with entry i of the node's
// table layout (parents in order, the node last and fastest) given by value(i).
template <class F>
ValueFactor familyFactor(const DecisionModel& m, const Bnode& n, bool withNode, F value) {
  std::vector<int> fam;
  for (const Link& l : n.parents) fam.push_back(m.varOf[placeOf(*n.net, l.parent)]);
  if (withNode) fam.push_back(m.varOf[placeOf(*n.net, &n)]);
  ValueFactor f;
  f.vars = fam;
  std::sort(f.vars.begin(), f.vars.end());
  f.p.assign(configCount(m.cards, f.vars), 0.0);
  // The stride in the sorted layout of each family member, in family order.
  std::vector<size_t> stride(fam.size());
  for (size_t i = 0; i < fam.size(); ++i) {
    size_t s = 1;
    for (int v : f.vars)
      if (v > fam[i]) s *= static_cast<size_t>(m.cards[static_cast<size_t>(v)]);
    stride[i] = s;
  }
  std::vector<size_t> digit(fam.size(), 0);
  for (size_t i = 0, at = 0; i < f.p.size(); ++i) {
    f.p[at] = value(i);
    for (size_t k = fam.size(); k-- > 0;) {
      at += stride[k];
      if (++digit[k] < static_cast<size_t>(m.cards[static_cast<size_t>(fam[k])])) break;
      at -= stride[k] * digit[k];
      digit[k] = 0;
    }
  }
  return f;
}

// A node's probabilities given its parents: its CPT (undefined rows uniform), its function
// table, or uniform when it has neither.
ValueFactor chanceFactor(const DecisionModel& m, const Bnode& n) {
  const NodeTables& t = n.tables;
  size_t len = static_cast<size_t>(n.numStates);
  double uniform = 1.0 / static_cast<double>(len);
  if (t.cpt.isAllocated()) {
    const float* d = t.cpt.data();
    double k = t.cpt.factor();
    return familyFactor(m, n, true, [&](size_t i) {
      const float* row = d + i / len * len;
      bool bad = std::any_of(row, row + len, [](float v) { return isReservedFloat(v) || !(v >= 0); });
      return bad ? uniform : d[i] * k;
    });
  }
  if (t.func.isAllocated() && !t.funcReal) {
    const float* d = t.func.data();
    return familyFactor(m, n, true, [&](size_t i) {
      float v = d[i / len];
      if (isReservedFloat(v) || v < 0) return uniform;
      return static_cast<size_t>(v) == i % len ? 1.0 : 0.0;
    });
  }
  return familyFactor(m, n, true, [&](size_t) { return uniform; });
}

// A factor over the node alone, every entry `v`.
ValueFactor oneVarFactor(const DecisionModel& m, const Bnode& n, double v) {
  ValueFactor f;
  f.vars.push_back(m.varOf[placeOf(*n.net, &n)]);
  f.p.assign(static_cast<size_t>(n.numStates), v);
  return f;
}

// The finding of a node as a factor over it (a likelihood, or one at the known state).
ValueFactor findingFactor(const DecisionModel& m, const Bnode& n, bool normalise) {
  ValueFactor f = oneVarFactor(m, n, 0.0);
  if (!n.finding.likelihood.empty()) {
    double sum = 0;
    for (size_t s = 0; s < f.p.size(); ++s) sum += f.p[s] = n.finding.likelihood[s];
    if (normalise && sum > 0)
      for (double& v : f.p) v /= sum;
  } else {
    f.p[static_cast<size_t>(n.finding.state)] = 1.0;
  }
  return f;
}

bool hasFinding(const Bnode& n) { return n.finding.state >= 0 || !n.finding.likelihood.empty(); }

ValueFactor utilityFactor(DecisionModel& m, const Bnode& u) {
  const PotTable& t = u.tables.func;
  ValueFactor f = familyFactor(m, u, false, [](size_t) { return 1.0; });
  ValueFactor w = familyFactor(m, u, false, [&](size_t i) {
    float v = t.isAllocated() ? t.data()[i] : undefFloat();
    if (isReservedFloat(v) || v != v) {
      if (!m.incompleteUtility) m.incompleteUtility = &u;
      return 0.0;
    }
    return v * t.factor();
  });
  f.w = std::move(w.p);
  return f;
}

}  // namespace

DecisionModel buildDecisionModel(const Bnet& net, bool noForgetting) {
  DecisionModel m;
  for (Bnode* n : net.nodes) {
    bool isVar = n->kind != UTILITY && n->numStates > 0;
    m.varOf.push_back(isVar ? static_cast<int>(m.vars.size()) : -1);
    if (!isVar) continue;
    m.vars.push_back(n);
    m.cards.push_back(n->numStates);
  }
  for (Bnode* n : m.vars) {
    if (n->kind == CONSTANT) {
      ValueFactor f = oneVarFactor(m, *n, 0.0);
      f.p[static_cast<size_t>(std::max(0, n->finding.state))] = 1.0;
      m.chance.push_back(std::move(f));
      m.chanceOwner.push_back(m.varOf[placeOf(net, n)]);
    } else if (n->kind != DECISION) {
      if (n->kind != DISCONNECTED) {
        m.chance.push_back(chanceFactor(m, *n));
        m.chanceOwner.push_back(m.varOf[placeOf(net, n)]);
      }
      if (hasFinding(*n)) m.findings.push_back(findingFactor(m, *n, false));
    }
  }
  for (Bnode* u : net.nodes)
    if (u->kind == UTILITY) m.utilities.push_back(utilityFactor(m, *u));
  m.decisions = decisionOrder(net);
  std::vector<int> known;
  for (Bnode* d : m.decisions) {
    if (!noForgetting) known.clear();
    for (const Link& l : d->parents)
      if (m.varOf[placeOf(net, l.parent)] >= 0) known.push_back(m.varOf[placeOf(net, l.parent)]);
    std::sort(known.begin(), known.end());
    known.erase(std::unique(known.begin(), known.end()), known.end());
    m.informed.push_back(known);
    m.fixed.push_back(hasFinding(*d));
    m.policies.push_back(hasFinding(*d) ? findingFactor(m, *d, true) : oneVarFactor(m, *d, 1.0 / d->numStates));
    if (noForgetting) known.push_back(m.varOf[placeOf(net, d)]);
  }
  return m;
}

}  // namespace quorva
