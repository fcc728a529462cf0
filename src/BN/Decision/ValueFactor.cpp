// Product, summing out and variable elimination over value factors.
#include "BN/Decision/ValueFactor.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <limits>

namespace quorva {

size_t configCount(const Cards& cards, const std::vector<int>& vars) {
  size_t n = 1;
  for (int v : vars) n *= static_cast<size_t>(cards[static_cast<size_t>(v)]);
  return n;
}

namespace {

std::vector<int> unionOf(const std::vector<int>& a, const std::vector<int>& b) {
  std::vector<int> u;
  std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(u));
  return u;
}

// The stride of each variable of `all` in a factor over `sub` (0 for variables not in it).
std::vector<size_t> stridesIn(const Cards& cards, const std::vector<int>& all, const std::vector<int>& sub) {
  std::vector<size_t> strides(all.size(), 0);
  size_t s = 1;
  for (size_t i = sub.size(); i-- > 0;) {
    size_t at = static_cast<size_t>(std::lower_bound(all.begin(), all.end(), sub[i]) - all.begin());
    strides[at] = s;
    s *= static_cast<size_t>(cards[static_cast<size_t>(sub[i])]);
  }
  return strides;
}

// Walks every configuration of `vars`, keeping the matching offsets into two factors.
class Odometer {
 public:
  Odometer(const Cards& cards, const std::vector<int>& vars, std::vector<size_t> sa, std::vector<size_t> sb)
      : sa_(std::move(sa)), sb_(std::move(sb)), digit_(vars.size(), 0) {
    for (int v : vars) card_.push_back(cards[static_cast<size_t>(v)]);
  }
  size_t a() const { return a_; }
  size_t b() const { return b_; }
  void next() {
    for (size_t i = digit_.size(); i-- > 0;) {
      a_ += sa_[i];
      b_ += sb_[i];
      if (++digit_[i] < card_[i]) return;
      a_ -= sa_[i] * static_cast<size_t>(card_[i]);
      b_ -= sb_[i] * static_cast<size_t>(card_[i]);
      digit_[i] = 0;
    }
  }

 private:
  std::vector<size_t> sa_, sb_;
  std::vector<int> digit_, card_;
  size_t a_ = 0, b_ = 0;
};

}  // namespace

ValueFactor multiply(const Cards& cards, const ValueFactor& a, const ValueFactor& b) {
  ValueFactor r;
  r.vars = unionOf(a.vars, b.vars);
  size_t n = configCount(cards, r.vars);
  r.p.resize(n);
  bool util = a.hasUtility() || b.hasUtility();
  if (util) r.w.resize(n);
  Odometer at(cards, r.vars, stridesIn(cards, r.vars, a.vars), stridesIn(cards, r.vars, b.vars));
  for (size_t i = 0; i < n; ++i, at.next()) {
    double pa = a.p[at.a()], pb = b.p[at.b()];
    r.p[i] = pa * pb;
    if (util) r.w[i] = (a.hasUtility() ? a.w[at.a()] * pb : 0.0) + (b.hasUtility() ? pa * b.w[at.b()] : 0.0);
  }
  return r;
}

ValueFactor sumOut(const Cards& cards, const ValueFactor& f, int var) {
  ValueFactor r;
  r.vars = f.vars;
  r.vars.erase(std::find(r.vars.begin(), r.vars.end(), var));
  size_t n = configCount(cards, r.vars);
  r.p.assign(n, 0.0);
  if (f.hasUtility()) r.w.assign(n, 0.0);
  // The source walks its own layout in order; the target offset skips the summed variable.
  Odometer at(cards, f.vars, std::vector<size_t>(f.vars.size(), 0), stridesIn(cards, f.vars, r.vars));
  for (size_t i = 0; i < f.p.size(); ++i, at.next()) {
    r.p[at.b()] += f.p[i];
    if (f.hasUtility()) r.w[at.b()] += f.w[i];
  }
  return r;
}

namespace {

// The order in which to eliminate the variables the factors mention but `keep` does not: each
// step takes the variable whose elimination makes the smallest table (ties to the lower number),
// and joins its neighbours.
std::vector<int> eliminationOrder(const Cards& cards, const std::vector<const ValueFactor*>& factors,
                                  const std::vector<int>& keep) {
  std::vector<int> vars;
  for (const ValueFactor* f : factors) vars.insert(vars.end(), f->vars.begin(), f->vars.end());
  std::sort(vars.begin(), vars.end());
  vars.erase(std::unique(vars.begin(), vars.end()), vars.end());
  size_t n = vars.size();
  auto local = [&](int v) { return static_cast<size_t>(std::lower_bound(vars.begin(), vars.end(), v) - vars.begin()); };
  std::vector<std::vector<char>> adj(n, std::vector<char>(n, 0));
  for (const ValueFactor* f : factors)
    for (int a : f->vars)
      for (int b : f->vars) adj[local(a)][local(b)] = 1;
  std::vector<char> gone(n, 0);
  for (int k : keep)
    if (std::binary_search(vars.begin(), vars.end(), k)) gone[local(k)] = 2;  // never eliminated
  std::vector<int> order;
  while (true) {
    size_t best = n;
    double bestSize = std::numeric_limits<double>::infinity();
    for (size_t v = 0; v < n; ++v) {
      if (gone[v]) continue;
      double size = 1;
      for (size_t u = 0; u < n; ++u)
        if ((adj[v][u] && gone[u] != 1) || u == v) size *= cards[static_cast<size_t>(vars[u])];
      if (size < bestSize) best = v, bestSize = size;
    }
    if (best == n) break;
    for (size_t a = 0; a < n; ++a)
      for (size_t b = 0; b < n; ++b)
        if (adj[best][a] && adj[best][b] && gone[a] != 1 && gone[b] != 1) adj[a][b] = 1;
    gone[best] = 1;
    order.push_back(vars[best]);
  }
  return order;
}

}  // namespace

ValueFactor eliminateAllBut(const Cards& cards, std::vector<const ValueFactor*> factors, std::vector<int> keep) {
  std::sort(keep.begin(), keep.end());
  keep.erase(std::unique(keep.begin(), keep.end()), keep.end());
  std::vector<int> order = eliminationOrder(cards, factors, keep);
  std::vector<size_t> position(cards.size(), order.size());
  for (size_t i = 0; i < order.size(); ++i) position[static_cast<size_t>(order[i])] = i;
  // Bucket i holds the factors whose first variable to go is order[i]; the last bucket, the rest.
  std::vector<std::vector<const ValueFactor*>> bucket(order.size() + 1);
  auto place = [&](const ValueFactor* f) {
    size_t first = order.size();
    for (int v : f->vars) first = std::min(first, position[static_cast<size_t>(v)]);
    bucket[first].push_back(f);
  };
  for (const ValueFactor* f : factors) place(f);
  std::deque<ValueFactor> made;
  for (size_t i = 0; i < order.size(); ++i) {
    if (bucket[i].empty()) continue;
    ValueFactor joined = *bucket[i][0];
    for (size_t k = 1; k < bucket[i].size(); ++k) joined = multiply(cards, joined, *bucket[i][k]);
    made.push_back(sumOut(cards, joined, order[i]));
    place(&made.back());
  }
  ValueFactor result;
  result.vars = keep;
  result.p.assign(configCount(cards, keep), 1.0);
  for (const ValueFactor* f : bucket[order.size()]) result = multiply(cards, result, *f);
  return result;
}

}  // namespace quorva
