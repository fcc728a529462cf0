// Potentials of decision solving: a probability part p and an expected-utility part w (the
// utility weighted by the probability) over a sorted set of discrete variables, combined by
//   (p1, w1) * (p2, w2) = (p1 p2, p1 w2 + p2 w1)
// and marginalised by summing both parts.  A factor of probabilities alone has no w (all zero).
// Entries are row-major over the variables in increasing number, the last varying fastest.
#pragma once
#include <cstddef>
#include <vector>

namespace quorva {

struct ValueFactor {
  std::vector<int> vars;    // variable numbers, strictly increasing
  std::vector<double> p;    // one entry per configuration of vars
  std::vector<double> w;    // empty, or one entry per configuration

  bool hasUtility() const { return !w.empty(); }
};

// The state counts of the variables, indexed by variable number.
using Cards = std::vector<int>;

// The number of configurations of `vars`.
size_t configCount(const Cards& cards, const std::vector<int>& vars);
// The product of two factors.
ValueFactor multiply(const Cards& cards, const ValueFactor& a, const ValueFactor& b);
// The factor with variable `var` summed out of both parts.
ValueFactor sumOut(const Cards& cards, const ValueFactor& f, int var);
// The product of all `factors` with every variable not in `keep` summed out, eliminating the
// variable whose elimination makes the smallest table first (ties to the lower number).  The
// result is over `keep` (sorted), including variables no factor mentions.
ValueFactor eliminateAllBut(const Cards& cards, std::vector<const ValueFactor*> factors, std::vector<int> keep);

}  // namespace quorva
