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
  if (method == Sampling::JoinTree) {
    compileNet(net);
    std::vector<Finding> saved;
    for (const Bnode* n : nodes) saved.push_back(n->finding);
    try {
      for (Bnode* n : nodes) {
        if (n->finding.state >= 0) continue;
        const std::vector<float>& b = nodeBeliefs(*n);
        enterState(*n, drawFrom(b.data(), n->numStates, rng), true, false);
      }
    } catch (...) {
      for (size_t i = 0; i < nodes.size(); ++i) nodes[i]->finding = saved[i];
      net.findingsChanged();
      throw;
    }
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
  for (Bnode* n : nodes) enterState(*n, value[order.at(n)], true, false);
  return true;
}

}  // namespace quorva
