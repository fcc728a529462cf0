// Elimination orders on small graphs: the greedy heuristic's ties, zero-state nodes and decision
// stages; order scores and cliques against a brute-force search of the filled graph.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

#include "BN/Net/Bnet.h"
#include "BN/Inference/ElimOrder.h"
#include "Basic/EnvCore.h"

using namespace quorva;

namespace {

class ElimOrderTest : public ::testing::Test {
 protected:
  ElimOrderTest() { core.state = ENV_USABLE_STATE; }

  // A graph over new nodes of these state counts with these edges.
  UGraph graph(const std::vector<int>& states, const std::vector<std::pair<int, int>>& edges) {
    UGraph g;
    for (int s : states) {
      g.nodes.push_back(&net.addNode("N" + std::to_string(net.nodes.size()), s));
      g.states.push_back(s);
    }
    g.adj.resize(states.size());
    for (auto [a, b] : edges) {
      g.adj[static_cast<size_t>(a)].push_back(b);
      g.adj[static_cast<size_t>(b)].push_back(a);
    }
    return g;
  }

  static std::vector<int> all(const UGraph& g) {
    std::vector<int> v(g.nodes.size());
    std::iota(v.begin(), v.end(), 0);
    return v;
  }

  static std::vector<int> noStages(const UGraph& g) { return std::vector<int>(g.nodes.size(), 0); }

  EnvCore core;
  Bnet net{&core, "N"};
};

using Clique = std::set<int>;

// The maximal cliques of the graph filled in along `order`, by trying every subset of nodes.
std::set<Clique> bruteForceCliques(const UGraph& g, const std::vector<int>& order) {
  size_t n = g.nodes.size();
  std::vector<std::vector<bool>> edge(n, std::vector<bool>(n, false));
  for (size_t v = 0; v < n; ++v)
    for (int u : g.adj[v]) edge[v][static_cast<size_t>(u)] = true;
  std::vector<bool> gone(n, false);
  for (int v : order) {
    for (size_t a = 0; a < n; ++a)
      for (size_t b = 0; b < n; ++b)
        if (a != b && !gone[a] && !gone[b] && edge[static_cast<size_t>(v)][a] && edge[static_cast<size_t>(v)][b])
          edge[a][b] = true;
    gone[static_cast<size_t>(v)] = true;
  }
  auto complete = [&](unsigned mask) {
    for (size_t a = 0; a < n; ++a)
      for (size_t b = a + 1; b < n; ++b)
        if ((mask >> a & 1u) && (mask >> b & 1u) && !edge[a][b]) return false;
    return true;
  };
  std::set<Clique> out;
  for (unsigned mask = 1; mask < (1u << n); ++mask) {
    if (!complete(mask)) continue;
    bool maximal = true;
    for (size_t x = 0; x < n && maximal; ++x)
      if (!(mask >> x & 1u) && complete(mask | 1u << x)) maximal = false;
    if (!maximal) continue;
    Clique c;
    for (size_t x = 0; x < n; ++x)
      if (mask >> x & 1u) c.insert(static_cast<int>(x));
    out.insert(c);
  }
  return out;
}

TEST_F(ElimOrderTest, TiesGoToTheEarlierNodeInTheList) {
  // A cycle of four: every node costs the same.
  UGraph cycle = graph({2, 2, 2, 2}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}});
  EXPECT_EQ(greedyOrder(cycle, {0, 1, 2, 3}, noStages(cycle), nullptr).front(), 0);
  EXPECT_EQ(greedyOrder(cycle, {2, 0, 1, 3}, noStages(cycle), nullptr).front(), 2);
  EXPECT_EQ(greedyOrder(cycle, {3, 1, 2, 0}, noStages(cycle), nullptr).front(), 3);
  // A path: the two ends tie, then the middle ties with the other end.
  UGraph path = graph({2, 2, 2}, {{0, 1}, {1, 2}});
  EXPECT_EQ(greedyOrder(path, {0, 1, 2}, noStages(path), nullptr), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(greedyOrder(path, {2, 1, 0}, noStages(path), nullptr), (std::vector<int>{2, 1, 0}));
  // A strictly cheaper node wins wherever it is listed; then the two left tie.
  UGraph uneven = graph({4, 2, 2}, {{0, 1}, {1, 2}});
  EXPECT_EQ(greedyOrder(uneven, {0, 1, 2}, noStages(uneven), nullptr), (std::vector<int>{2, 0, 1}));
}

TEST_F(ElimOrderTest, ZeroStateNodeIsEliminatedFirst) {
  // Node 2 has no states; the nodes listed before it are not its neighbours, so they cost more.
  UGraph g = graph({2, 3, 0, 2}, {{0, 1}, {2, 3}, {1, 3}});
  EXPECT_EQ(setSize(g, {0, 1, 2}), 0.0);
  EXPECT_EQ(setSize(g, {}), 1.0);
  EXPECT_EQ(setSize(g, {0, 1, 3}), 12.0);
  std::vector<int> order = greedyOrder(g, {0, 1, 2, 3}, noStages(g), nullptr);
  ASSERT_EQ(order.size(), 4u);
  EXPECT_EQ(order.front(), 2);
}

TEST_F(ElimOrderTest, ScoreAndCliquesMatchBruteForceOnSmallGraphs) {
  std::mt19937 rng(11);
  for (int trial = 0; trial < 300; ++trial) {
    size_t n = 2 + rng() % 8;
    std::vector<int> states;
    for (size_t i = 0; i < n; ++i) states.push_back(1 + static_cast<int>(rng() % 4));
    std::vector<std::pair<int, int>> edges;
    double density = (rng() % 100) / 150.0;
    for (size_t a = 0; a < n; ++a)
      for (size_t b = a + 1; b < n; ++b)
        if ((rng() % 1000) / 1000.0 < density) edges.emplace_back(static_cast<int>(a), static_cast<int>(b));
    UGraph g = graph(states, edges);
    std::vector<int> order = all(g);
    if (trial % 2) std::shuffle(order.begin(), order.end(), rng);
    else order = greedyOrder(g, order, noStages(g), nullptr);
    SCOPED_TRACE("trial " + std::to_string(trial));

    std::set<Clique> want = bruteForceCliques(g, order);
    double total = 0;
    for (const Clique& c : want) total += setSize(g, std::vector<int>(c.begin(), c.end()));
    EXPECT_DOUBLE_EQ(scoreOrder(g, order), total);

    std::vector<std::vector<int>> cliques = orderCliques(g, order);
    std::set<Clique> got;
    for (const auto& c : cliques) got.insert(Clique(c.begin(), c.end()));
    EXPECT_EQ(got, want);
    EXPECT_EQ(got.size(), cliques.size());
    // In list order, what a clique shares with the cliques before it lies within one of them.
    Clique seen;
    for (size_t i = 0; i < cliques.size(); ++i) {
      Clique shared;
      for (int v : cliques[i])
        if (seen.count(v)) shared.insert(v);
      seen.insert(cliques[i].begin(), cliques[i].end());
      bool held = i == 0 || std::any_of(cliques.begin(), cliques.begin() + static_cast<long>(i), [&](const auto& c) {
                    Clique earlier(c.begin(), c.end());
                    return std::includes(earlier.begin(), earlier.end(), shared.begin(), shared.end());
                  });
      EXPECT_TRUE(held) << "clique " << i;
    }
  }
}

TEST_F(ElimOrderTest, DecisionStagesKeepDecisionsAndTheirParentsLast) {
  // Chance nodes A, B, C in a triangle of 4-state nodes (expensive); decisions D1 and D2, where
  // D2 is a parent of D1, so D1 is made last although listed first; P1 informs D1, P2 informs D2.
  // The staged nodes are binary and unconnected, so cost alone would take them first.
  UGraph g = graph({4, 4, 4, 2, 2, 2, 2}, {{0, 1}, {1, 2}, {0, 2}});
  enum { A, B, C, D1, D2, P1, P2 };
  auto link = [&](int parent, int child) {
    Link l;
    l.parent = g.nodes[static_cast<size_t>(parent)];
    g.nodes[static_cast<size_t>(child)]->parents.push_back(l);
    g.nodes[static_cast<size_t>(parent)]->children.push_back(g.nodes[static_cast<size_t>(child)]);
  };
  g.nodes[D1]->kind = DECISION;
  g.nodes[D2]->kind = DECISION;
  link(P1, D1);
  link(D2, D1);
  link(P2, D2);

  EXPECT_EQ(greedyOrder(g, all(g), noStages(g), nullptr).front(), D1) << "without stages cost decides";
  std::vector<int> stage = decisionStages(g);
  EXPECT_EQ(stage, (std::vector<int>{0, 0, 0, 1, 3, 2, 4}));
  for (const std::vector<int>& list : {all(g), std::vector<int>{P2, P1, D2, D1, C, B, A}}) {
    std::vector<int> order = greedyOrder(g, list, stage, nullptr);
    ASSERT_EQ(order.size(), 7u);
    EXPECT_EQ(std::set<int>(order.begin(), order.begin() + 3), (std::set<int>{A, B, C}));
    EXPECT_EQ(std::vector<int>(order.begin() + 3, order.end()), (std::vector<int>{D1, P1, D2, P2}));
  }
}

}  // namespace
