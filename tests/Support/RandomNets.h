// Seeded random nets built through the API: a random DAG whose creation order is not its
// topological order, 2-4 states a node, a few parents each, and random CPT rows among which some
// are deterministic and some hold zeros.
#pragma once
#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "Quorva.h"

struct RandomNetShape {
  int minNodes = 6, maxNodes = 14;
  int maxParents = 4;
  double maxJoint = 20000;  // the product of all state counts stays at or below this
  bool tables = true;
};

// A row of `n` probabilities: one-hot (25%), with some zeros (30%), or all positive.
inline std::vector<float> randomRow(std::mt19937& rng, int n) {
  std::uniform_real_distribution<double> u(0, 1);
  std::vector<double> w(static_cast<size_t>(n), 0.0);
  double kind = u(rng);
  if (kind < 0.25) {
    w[rng() % static_cast<unsigned>(n)] = 1;
  } else {
    for (double& x : w) x = u(rng) + 0.02;
    if (kind < 0.55) {
      std::vector<size_t> at(w.size());
      std::iota(at.begin(), at.end(), size_t{0});
      std::shuffle(at.begin(), at.end(), rng);
      size_t zeros = 1 + rng() % static_cast<unsigned>(n - 1);
      for (size_t i = 0; i < zeros; ++i) w[at[i]] = 0;
    }
  }
  double sum = std::accumulate(w.begin(), w.end(), 0.0);
  std::vector<float> row;
  for (double x : w) row.push_back(static_cast<float>(x / sum));
  return row;
}

// Fills every row of the node's CPT with a random row.
inline void randomCpt(std::mt19937& rng, node_bn* node) {
  const nodelist_bn* ps = GetNodeParents_bn(node);
  std::vector<state_bn> config(static_cast<size_t>(LengthNodeList_bn(ps)), 0);
  while (true) {
    SetNodeProbs_bn(node, config.data(), randomRow(rng, GetNodeNumberStates_bn(node)).data());
    size_t i = config.size();
    while (i > 0 && ++config[i - 1] == GetNodeNumberStates_bn(GetNthNode_bn(ps, static_cast<int>(i - 1)))) config[--i] = 0;
    if (i == 0) return;
  }
}

// Nodes V0..Vn-1 in `net`, returned in net order.
inline std::vector<node_bn*> buildRandomNet(net_bn* net, std::mt19937& rng, const RandomNetShape& shape = {}) {
  int count = shape.minNodes + static_cast<int>(rng() % static_cast<unsigned>(shape.maxNodes - shape.minNodes + 1));
  std::vector<node_bn*> nodes;
  double joint = 1;
  for (int i = 0; i < count; ++i) {
    int states = 2 + static_cast<int>(rng() % 3);
    while (states > 2 && joint * states * std::pow(2.0, count - i - 1) > shape.maxJoint) --states;
    joint *= states;
    nodes.push_back(NewNode_bn(("V" + std::to_string(i)).c_str(), states, net));
  }
  std::vector<size_t> topo(nodes.size());
  std::iota(topo.begin(), topo.end(), size_t{0});
  std::shuffle(topo.begin(), topo.end(), rng);
  for (size_t k = 1; k < topo.size(); ++k) {
    std::vector<size_t> earlier(topo.begin(), topo.begin() + static_cast<long>(k));
    std::shuffle(earlier.begin(), earlier.end(), rng);
    size_t parents = std::min(earlier.size(), static_cast<size_t>(rng() % static_cast<unsigned>(shape.maxParents + 1)));
    for (size_t p = 0; p < parents; ++p) AddLink_bn(nodes[earlier[p]], nodes[topo[k]]);
  }
  if (shape.tables)
    for (node_bn* n : nodes) randomCpt(rng, n);
  return nodes;
}
