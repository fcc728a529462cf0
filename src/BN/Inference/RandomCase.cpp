// Random cases by forward sampling with rejection, or through the junction tree.
#include "BN/Inference/RandomCase.h"

#include <chrono>
#include <cmath>
#include <unordered_map>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Net/Bnet.h"
#include "BN/Findings/Findings.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/EnvCore.h"
#include "Basic/RandomGen.h"
#include "Basic/Raise.h"

namespace quorva {
namespace {

// The net's nodes with their positions in the net, and an order of them where every parent comes
// before its children.
struct Ordered {
  std::unordered_map<const Bnode*, size_t> pos;
  std::vector<Bnode*> order;
  size_t at(const Bnode* n) const { return pos.at(n); }
};

Ordered parentsFirst(Bnet& net) {
  Ordered o;
  for (size_t i = 0; i < net.nodes.size(); ++i) o.pos[net.nodes[i]] = i;
  std::vector<int> mark(net.nodes.size(), 0);  // 0 new, 1 on the path, 2 placed
  std::vector<std::pair<Bnode*, size_t>> stack;
  for (Bnode* root : net.nodes) {
    if (mark[o.at(root)]) continue;
    stack.push_back({root, 0});
    mark[o.at(root)] = 1;
    while (!stack.empty()) {
      Bnode* n = stack.back().first;
      size_t& next = stack.back().second;
      if (next < n->parents.size()) {
        Bnode* p = n->parents[next++].parent;
        if (!p) continue;
        int& m = mark[o.at(p)];
        if (m == 1) engError(net.env, err::RandomCaseCycle, net.name, p->name, n->name);
        if (m == 0) {
          m = 1;
          stack.push_back({p, 0});
        }
        continue;
      }
      mark[o.at(n)] = 2;
      o.order.push_back(n);
      stack.pop_back();
    }
  }
  return o;
}

int drawFrom(const float* row, int states, RandomGen& rng) {
  double total = 0;
  bool usable = row != nullptr;
  for (int s = 0; usable && s < states; ++s) {
    if (isReservedFloat(row[s]) || !(row[s] >= 0)) usable = false;
    else total += row[s];
  }
  if (!usable || total <= 0) return static_cast<int>(rng.below(static_cast<uint32_t>(states)));
  double r = rng.uniform() * total, acc = 0;
  for (int s = 0; s < states - 1; ++s) {
    acc += row[s];
    if (r < acc) return s;
  }
  return states - 1;
}

// Whether a sampled state passes the node's finding (drawing against a likelihood).
bool agrees(const Bnode& n, int state, RandomGen& rng) {
  const Finding& f = n.finding;
  if (f.state >= 0 && f.state != state) return false;
  if (!f.likelihood.empty()) {
    double w = f.likelihood[static_cast<size_t>(state)];
    if (w <= 0) return false;
    if (w < 1 && rng.uniform() >= w) return false;
  }
  return true;
}

// One forward sample; with `respect`, false as soon as it disagrees with a finding.
bool sampleInto(const Ordered& o, std::vector<int>& value, bool respect, RandomGen& rng) {
  std::vector<int> parentStates;
  for (Bnode* n : o.order) {
    size_t i = o.at(n);
    value[i] = -1;
    if (n->kind == UTILITY || n->numStates <= 0) continue;
    parentStates.clear();
    bool known = true;
    for (const Link& l : n->parents) {
      int v = l.parent ? value[o.at(l.parent)] : -1;
      known = known && v >= 0;
      parentStates.push_back(v);
    }
    int state;
    const NodeTables& t = n->tables;
    if (n->kind == DECISION || !known) {
      state = static_cast<int>(rng.below(static_cast<uint32_t>(n->numStates)));
    } else if (t.cpt.isAllocated()) {
      size_t row = rowOffset(*n, parentStates.data());
      state = drawFrom(t.cpt.data() + row * static_cast<size_t>(n->numStates), n->numStates, rng);
    } else if (t.func.isAllocated() && !t.funcReal) {
      float v = t.func.data()[rowOffset(*n, parentStates.data())];
      state = (v >= 0 && v < static_cast<float>(n->numStates)) ? static_cast<int>(v)
                                                                : static_cast<int>(rng.below(static_cast<uint32_t>(n->numStates)));
    } else {
      state = static_cast<int>(rng.below(static_cast<uint32_t>(n->numStates)));
    }
    if (respect && !agrees(*n, state, rng)) return false;
    value[i] = state;
  }
  return true;
}

// Calls visit(offset, counters) for each configuration of the free places of a table whose other
// places are fixed (at `base`), in row-major order, until visit returns true.
template <class Visit>
void eachFree(const std::vector<size_t>& freeDims, std::span<const int> dims,
              const std::vector<size_t>& strides, size_t base, Visit&& visit) {
  std::vector<int> ctr(freeDims.size(), 0);
  size_t off = base;
  while (true) {
    if (visit(off, ctr)) return;
    size_t k = freeDims.size();
    for (;;) {
      if (k == 0) return;
      size_t d = freeDims[--k];
      if (++ctr[k] < dims[d]) {
        off += strides[d];
        break;
      }
      off -= strides[d] * static_cast<size_t>(dims[d] - 1);
      ctr[k] = 0;
    }
  }
}

// A state for every clique member, drawn clique by clique from the propagated potentials (one
// update): the members a clique shares with the cliques before it are drawn already, and its
// others are drawn from its potential at their states.
std::unordered_map<const Bnode*, int> drawFromTree(Bnet& net, RandomGen& rng) {
  updateBeliefs(net);
  std::unordered_map<const Bnode*, int> drawn;
  for (const Clique& c : net.jt->cliques) {
    const PotTable& t = c.pot;
    const std::span<const int> dims = t.dims();
    std::vector<size_t> strides(dims.size()), freeDims;
    size_t base = 0;
    for (size_t j = dims.size(), acc = 1; j-- > 0; acc *= static_cast<size_t>(dims[j])) strides[j] = acc;
    for (size_t j = 0; j < dims.size(); ++j) {
      auto it = drawn.find(t.nodes()[j]);
      if (it != drawn.end()) base += static_cast<size_t>(it->second) * strides[j];
      else freeDims.push_back(j);
    }
    if (freeDims.empty()) continue;
    double total = 0;
    eachFree(freeDims, dims, strides, base, [&](size_t off, const std::vector<int>&) {
      total += t.data()[off];
      return false;
    });
    double r = rng.uniform() * total, acc = 0;
    std::vector<int> pick(freeDims.size(), 0);
    eachFree(freeDims, dims, strides, base, [&](size_t off, const std::vector<int>& ctr) {
      acc += t.data()[off];
      if (t.data()[off] > 0 || total <= 0) pick = ctr;  // the last possible one, should rounding run past
      return total > 0 && acc > r;
    });
    for (size_t k = 0; k < freeDims.size(); ++k) drawn[t.nodes()[freeDims[k]]] = pick[k];
  }
  return drawn;
}

}  // namespace

std::vector<int> forwardSample(Bnet& net, RandomGen& rng) {
  std::vector<int> value(net.nodes.size(), -1);
  sampleInto(parentsFirst(net), value, false, rng);
  return value;
}

bool generateRandomCase(Bnet& net, const std::vector<Bnode*>& nodes, Sampling method, double timeout,
                        RandomGen& rng) {
  for (const Bnode* n : nodes)
    if (n->numStates <= 0) engError(net.env, err::BeliefsNotDiscrete, n->name);
  std::vector<Finding> saved;
  for (const Bnode* n : nodes) saved.push_back(n->finding);
  // Entering the drawn case is one change of findings: with auto-update, one update at its end.
  auto enterAll = [&](auto&& stateOf) {
    try {
      FindingBatch batch(net);
      for (Bnode* n : nodes) {
        int s = stateOf(*n);
        if (s >= 0) enterState(*n, s, true, false);
      }
      batch.commit();
    } catch (...) {
      for (size_t i = 0; i < nodes.size(); ++i) nodes[i]->finding = saved[i];
      net.findingsChanged();
      throw;
    }
  };
  if (method == Sampling::JoinTree) {
    compileNet(net);
    if (net.jt->hasDecisions) {
      // Decisions make the potentials more than a distribution: node by node through the beliefs.
      enterAll([&](Bnode& n) {
        return n.finding.state >= 0 ? -1 : drawFrom(nodeBeliefs(n).data(), n.numStates, rng);
      });
      return true;
    }
    std::unordered_map<const Bnode*, int> drawn = drawFromTree(net, rng);
    enterAll([&](Bnode& n) {
      auto it = drawn.find(&n);
      return it == drawn.end() || n.finding.state >= 0 ? -1 : it->second;
    });
    return true;
  }
  Ordered order = parentsFirst(net);
  std::vector<int> value(net.nodes.size(), -1);
  auto start = std::chrono::steady_clock::now();
  for (long tries = 1;; ++tries) {
    if (sampleInto(order, value, true, rng)) break;
    if (tries % 256 == 0) {
      double spent = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      if ((timeout > 0 && spent >= timeout) || net.env->progress.haltRequested()) return false;
    }
  }
  enterAll([&](Bnode& n) { return value[order.at(&n)]; });
  return true;
}

}  // namespace quorva
