// Factors for exact queries by variable elimination: a table of doubles over some nodes (the last
// varying fastest), with products, sums and maxima over nodes.
#pragma once
#include <cstddef>
#include <vector>

namespace quorva {

class Bnode;

struct Factor {
  std::vector<const Bnode*> vars;
  std::vector<int> card;
  std::vector<double> values;

  // The factor that is 1 everywhere over no nodes.
  Factor() : values(1, 1.0) {}
  Factor(std::vector<const Bnode*> vars, std::vector<int> card, double fill);

  size_t size() const { return values.size(); }
  bool has(const Bnode* v) const;
};

// The number of entries a factor over the union of the nodes of `a` and `b` would hold.
double productSize(const Factor& a, const Factor& b);
Factor multiply(const Factor& a, const Factor& b);
// Sums (or, with `maximum`, maximises) `v` out of `f`.  With `argmax`, also the state of `v` that
// gave each entry of the result.
Factor eliminate(const Factor& f, const Bnode* v, bool maximum, std::vector<int>* argmax = nullptr);
// The same factor with its nodes in `order` (a permutation of its nodes).
Factor reorder(const Factor& f, const std::vector<const Bnode*>& order);

}  // namespace quorva
