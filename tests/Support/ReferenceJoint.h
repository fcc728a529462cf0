// Exact beliefs of a small net by enumerating its joint distribution in double precision.  It
// knows nothing of the engine's inference: it reads the nodes, parents and CPTs back through the
// API and multiplies them out over every configuration.
#pragma once
#include <cstddef>
#include <vector>

#include "Quorva.h"

class ReferenceJoint {
 public:
  // Reads the net's nodes (in net order), their parents and their CPTs (which must be complete).
  explicit ReferenceJoint(const net_bn* net);

  struct Answer {
    double probFindings = 0;                  // sum over the joint of the findings' likelihoods
    std::vector<std::vector<double>> beliefs; // per node, normalised; empty when probFindings is 0
  };
  // `likelihoods` holds one vector per node in net order (empty: no finding on that node).
  Answer solve(const std::vector<std::vector<double>>& likelihoods) const;
  // Per node and state, the largest weight of a configuration with the node in that state.
  std::vector<std::vector<double>> maxMarginals(const std::vector<std::vector<double>>& likelihoods) const;

  // The joint of the nodes at `places` (net order places) with the findings, normalised, the last
  // place varying fastest; empty when the findings have probability 0.
  std::vector<double> subsetJoint(const std::vector<std::vector<double>>& likelihoods,
                                  const std::vector<std::size_t>& places) const;

  std::size_t size() const { return joint_.size(); }

 private:
  std::vector<int> states_;                 // per node
  std::vector<double> joint_;               // every configuration, the first node varying fastest
};
