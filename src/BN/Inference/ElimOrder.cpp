// The greedy elimination heuristic, order scoring and clique extraction.
#include "BN/Inference/ElimOrder.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>

#include "BN/Net/Bnet.h"
#include "Basic/Progress.h"
#include "BN/Tables/PotTable.h"

namespace quorva {

double setSize(const UGraph& g, const std::vector<int>& members) {
  double s = 1.0;
  for (int m : members) {
    double f = g.states[static_cast<size_t>(m)];
    if (f == 0) return 0.0;
    if (s >= SIZE_CAP / f) return SIZE_CAP;
    s *= f;
  }
  return s;
}

namespace {

// A growing adjacency: lists plus a bit matrix for the "already adjacent" test.
struct Filled {
  explicit Filled(const UGraph& g) : n(g.adj.size()), words((n + 63) / 64), bits(n * words, 0), adj(g.adj) {
    for (size_t v = 0; v < n; ++v)
      for (int u : adj[v]) set(v, static_cast<size_t>(u));
  }
  bool has(size_t a, size_t b) const { return bits[a * words + b / 64] >> (b % 64) & 1u; }
  void set(size_t a, size_t b) { bits[a * words + b / 64] |= uint64_t{1} << (b % 64); }
  void link(int a, int b) {
    if (has(static_cast<size_t>(a), static_cast<size_t>(b))) return;
    set(static_cast<size_t>(a), static_cast<size_t>(b));
    set(static_cast<size_t>(b), static_cast<size_t>(a));
    adj[static_cast<size_t>(a)].push_back(b);
    adj[static_cast<size_t>(b)].push_back(a);
  }
  size_t n, words;
  std::vector<uint64_t> bits;
  std::vector<std::vector<int>> adj;
};

// Names decide from which side a fill-in pair is added (greater name first, then identity).
bool nameGreater(const Bnode* a, const Bnode* b) {
  int c = std::strncmp(a->name.c_str(), b->name.c_str(), 30);
  return c != 0 ? c > 0 : a > b;
}

}  // namespace

std::vector<int> decisionStages(const UGraph& g) {
  std::vector<int> stage(g.nodes.size(), 0);
  std::vector<int> decisions;
  for (size_t i = 0; i < g.nodes.size(); ++i)
    if (g.nodes[i]->kind == DECISION) decisions.push_back(static_cast<int>(i));
  if (decisions.empty()) return stage;
  // The decision made last comes first: a decision that is an ancestor of another is made earlier.
  auto ancestor = [&](const Bnode* a, const Bnode* b) {
    std::vector<const Bnode*> todo{b};
    std::vector<const Bnode*> seen;
    while (!todo.empty()) {
      const Bnode* x = todo.back();
      todo.pop_back();
      for (const Link& l : x->parents) {
        if (l.parent == a) return true;
        if (std::find(seen.begin(), seen.end(), l.parent) == seen.end()) {
          seen.push_back(l.parent);
          todo.push_back(l.parent);
        }
      }
    }
    return false;
  };
  std::stable_sort(decisions.begin(), decisions.end(), [&](int a, int b) {
    return ancestor(g.nodes[static_cast<size_t>(b)], g.nodes[static_cast<size_t>(a)]);
  });
  std::map<const Bnode*, int> index;
  for (size_t i = 0; i < g.nodes.size(); ++i) index[g.nodes[i]] = static_cast<int>(i);
  for (size_t i = 0; i < decisions.size(); ++i) {
    const Bnode* d = g.nodes[static_cast<size_t>(decisions[i])];
    stage[static_cast<size_t>(decisions[i])] = static_cast<int>(2 * i + 1);
    for (const Link& l : d->parents) {
      auto it = index.find(l.parent);
      if (it != index.end() && l.parent->kind != DECISION) stage[static_cast<size_t>(it->second)] = static_cast<int>(2 * i + 2);
    }
  }
  return stage;
}

std::vector<int> greedyOrder(const UGraph& g, const std::vector<int>& eliminate, const std::vector<int>& stage,
                             double* cost, Progress* progress, size_t* placed) {
  Filled f(g);
  size_t n = g.nodes.size();
  std::vector<char> eliminated(n, 1);
  for (int v : eliminate) eliminated[static_cast<size_t>(v)] = 0;
  std::vector<int> remaining = eliminate, order;
  std::vector<std::vector<int>> recorded;        // sorted sets of neighbours left by eliminations
  std::vector<std::vector<int>> setsOf(n);       // node -> recorded set ids holding it
  std::vector<char> setLive;
  int maxStage = 0;
  for (int v : eliminate) maxStage = std::max(maxStage, stage[static_cast<size_t>(v)]);
  int current = 0;
  double total = 0;
  std::vector<int> nbrs;
  while (!remaining.empty()) {
    while (current < maxStage && std::none_of(remaining.begin(), remaining.end(), [&](int v) {
             return stage[static_cast<size_t>(v)] == current;
           }))
      ++current;
    int best = -1;
    size_t bestAt = 0;
    double bestCost = 0;
    for (size_t k = 0; k < remaining.size(); ++k) {
      int c = remaining[k];
      if (stage[static_cast<size_t>(c)] != current) continue;
      nbrs.clear();
      for (int u : f.adj[static_cast<size_t>(c)])
        if (!eliminated[static_cast<size_t>(u)]) nbrs.push_back(u);
      double cst = -1;
      if (!f.adj[static_cast<size_t>(c)].empty())
        for (int id : setsOf[static_cast<size_t>(c)])
          if (setLive[static_cast<size_t>(id)] && recorded[static_cast<size_t>(id)].size() > nbrs.size()) cst = 0;
      if (cst < 0) {
        nbrs.push_back(c);
        cst = setSize(g, nbrs);
      }
      if (best < 0 || cst < bestCost) {
        best = c;
        bestAt = k;
        bestCost = cst;
        if (cst == 0) break;
      }
    }
    remaining.erase(remaining.begin() + static_cast<long>(bestAt));
    order.push_back(best);
    total += bestCost;
    eliminated[static_cast<size_t>(best)] = 1;
    for (int id : setsOf[static_cast<size_t>(best)]) setLive[static_cast<size_t>(id)] = 0;
    nbrs.clear();
    for (int u : f.adj[static_cast<size_t>(best)])
      if (!eliminated[static_cast<size_t>(u)]) nbrs.push_back(u);
    if (!f.adj[static_cast<size_t>(best)].empty()) {
      std::vector<int> set = nbrs;
      std::sort(set.begin(), set.end());
      int id = static_cast<int>(recorded.size());
      for (int u : set) setsOf[static_cast<size_t>(u)].push_back(id);
      recorded.push_back(std::move(set));
      setLive.push_back(1);
    }
    for (size_t i = 0; i < nbrs.size(); ++i)
      for (size_t j = i + 1; j < nbrs.size(); ++j) {
        int a = nbrs[i], b = nbrs[j];
        if (nameGreater(g.nodes[static_cast<size_t>(b)], g.nodes[static_cast<size_t>(a)])) std::swap(a, b);
        f.link(a, b);
      }
    if (progress && !progress->update(static_cast<double>(order.size()) / static_cast<double>(eliminate.size())) &&
        !remaining.empty()) {
      if (placed) *placed = order.size();
      order.insert(order.end(), remaining.begin(), remaining.end());
      total = scoreOrder(g, order);
      break;
    }
  }
  if (cost) *cost += total;
  return order;
}

namespace {
// Positions of the order's nodes (INT_MAX for nodes it leaves out) and the later neighbours of
// each node in the filled graph of the order.
std::vector<std::vector<int>> laterNeighbours(const UGraph& g, const std::vector<int>& order,
                                              std::vector<int>& position) {
  Filled f(g);
  position.assign(g.nodes.size(), INT_MAX);
  for (size_t i = 0; i < order.size(); ++i) position[static_cast<size_t>(order[i])] = static_cast<int>(i);
  std::vector<std::vector<int>> later(g.nodes.size());
  for (int v : order) {
    std::vector<int>& L = later[static_cast<size_t>(v)];
    for (int u : f.adj[static_cast<size_t>(v)])
      if (position[static_cast<size_t>(u)] > position[static_cast<size_t>(v)] && position[static_cast<size_t>(u)] != INT_MAX)
        L.push_back(u);
    for (size_t i = 0; i < L.size(); ++i)
      for (size_t j = i + 1; j < L.size(); ++j) f.link(L[i], L[j]);
  }
  return later;
}
}  // namespace

double scoreOrder(const UGraph& g, const std::vector<int>& order) {
  double total = 0;
  for (const auto& c : orderCliques(g, order)) total += setSize(g, c);
  return total;
}

std::vector<std::vector<int>> orderCliques(const UGraph& g, const std::vector<int>& order) {
  std::vector<int> position;
  std::vector<std::vector<int>> later = laterNeighbours(g, order, position);
  std::vector<size_t> bound(g.nodes.size(), 0);
  // A node whose clique is contained in an earlier one belongs to the clique that holds that one
  // (its owner).  A clique's place is that of the last node it owns, so that each clique comes
  // after the one holding its separator when the list is reversed.
  std::vector<int> subsumer(g.nodes.size(), -1), owner(g.nodes.size(), -1), last(g.nodes.size(), -1);
  std::vector<int> heads;
  for (int v : order) {
    const std::vector<int>& L = later[static_cast<size_t>(v)];
    if (!L.empty()) {
      int m = *std::min_element(L.begin(), L.end(), [&](int a, int b) {
        return position[static_cast<size_t>(a)] < position[static_cast<size_t>(b)];
      });
      size_t& b = bound[static_cast<size_t>(m)];
      if (L.size() - 1 > b || subsumer[static_cast<size_t>(m)] < 0) {
        b = std::max(b, L.size() - 1);
        subsumer[static_cast<size_t>(m)] = v;
      }
    }
    bool hasNeighbours = !g.adj[static_cast<size_t>(v)].empty();
    int& own = owner[static_cast<size_t>(v)];
    if (hasNeighbours && L.size() <= bound[static_cast<size_t>(v)] && subsumer[static_cast<size_t>(v)] >= 0) {
      own = owner[static_cast<size_t>(subsumer[static_cast<size_t>(v)])];
    } else {
      own = v;
      heads.push_back(v);
    }
    last[static_cast<size_t>(own)] = position[static_cast<size_t>(v)];
  }
  std::stable_sort(heads.begin(), heads.end(),
                   [&](int a, int b) { return last[static_cast<size_t>(a)] > last[static_cast<size_t>(b)]; });
  std::vector<std::vector<int>> cliques;
  for (int v : heads) {
    std::vector<int> clique{v};
    const std::vector<int>& L = later[static_cast<size_t>(v)];
    clique.insert(clique.end(), L.begin(), L.end());
    cliques.push_back(std::move(clique));
  }
  return cliques;
}

}  // namespace quorva
