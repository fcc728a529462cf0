// Exact beliefs of a real-sized net by variable elimination in double precision, one query node at
// a time.  Like ReferenceJoint it knows nothing of the engine's inference: it reads the nodes,
// parents and CPTs back through the API and eliminates every other node from their product.
#pragma once
#include <vector>

#include "Quorva.h"

class ReferenceElimination {
 public:
  explicit ReferenceElimination(const net_bn* net);

  struct Answer {
    double probFindings = 0;
    std::vector<double> beliefs;  // normalised; empty when probFindings is 0
  };
  // The beliefs of node `query` (net order) given one likelihood vector per node (empty: none).
  Answer solve(int query, const std::vector<std::vector<double>>& likelihoods) const;

  struct Factor {
    std::vector<int> vars;    // ascending node numbers
    std::vector<double> v;    // the first variable varying fastest
  };

 private:
  std::vector<int> states_;
  std::vector<Factor> cpts_;
};
