// Elimination orders over the moral graph: the greedy minimum-clique-size heuristic, scoring an
// order, and the fill-in and maximal cliques of an order.  Graphs here are over node indices
// 0..n-1 with symmetric neighbour lists.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorva {

class Bnode;
class Bnet;
class Progress;

struct UGraph {
  std::vector<Bnode*> nodes;             // index -> node
  std::vector<std::vector<int>> adj;     // symmetric, no duplicates
  std::vector<double> states;            // number of states per node
};

// The product of the state counts of a set, capped (1.0 for none, 0.0 if any is 0).
double setSize(const UGraph& g, const std::vector<int>& members);

// The greedy order over the listed nodes (indices), with decision stages and the simplicial
// shortcut.  `stage[i]` is each node's stage (all 0 in a net without decisions).  Adds the total
// clique size to *cost when given.  With `progress`, reports step / number of nodes and stops
// when the user halts: the nodes not yet placed follow in their list order, *placed (when given)
// is set to the number placed before the halt, and the cost is that of the completed order.
std::vector<int> greedyOrder(const UGraph& g, const std::vector<int>& eliminate,
                             const std::vector<int>& stage, double* cost, Progress* progress = nullptr,
                             size_t* placed = nullptr);

// The total size of the maximal cliques of the order.
double scoreOrder(const UGraph& g, const std::vector<int>& order);

// The maximal cliques of the order, each the eliminated node followed by its later neighbours in
// the filled graph.  They are listed latest first by the last node whose own clique each contains
// (the clique of the last node first), so that the nodes a clique shares with the cliques before
// it all lie in one of them.
std::vector<std::vector<int>> orderCliques(const UGraph& g, const std::vector<int>& order);

// Decision stages: the decision made last gets stage 1, its parents stage 2, the one before it 3
// and 4, and so on; every other node stage 0.
std::vector<int> decisionStages(const UGraph& g);

}  // namespace quorva
