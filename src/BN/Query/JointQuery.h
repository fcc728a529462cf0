// Exact answers about several nodes at once, given the findings: their joint beliefs, and their
// most probable joint state with the other nodes summed out.  Only the nodes the query needs take
// part (barren and d-separated nodes are pruned); the rest is variable elimination in a greedy
// smallest-table-first order.
#pragma once
#include <vector>

#include "BN/Query/Factor.h"

namespace quorva {

class Bnet;

// The largest table a query may build.
inline constexpr double MAX_QUERY_ENTRIES = 50'000'000.0;

// The joint beliefs of `query` (nodes of `net`, each once) given the findings: a factor over the
// query nodes in the order given, summing to 1.  A compiled net whose cliques hold the query in
// one is answered from that clique after one propagation.
Factor jointBeliefs(Bnet& net, const std::vector<const Bnode*>& query);

// The most probable joint state of `query` given the findings (others summed out), and its
// probability given the findings.
struct JointMode {
  std::vector<int> states;
  double probability = 0;
};
JointMode mostProbableJoint(Bnet& net, const std::vector<const Bnode*>& query);

}  // namespace quorva
