// Product, summing out and variable elimination over value factors.
#include "BN/Decision/ValueFactor.h"

#include <algorithm>
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

// The variable (not kept) whose elimination makes the smallest table.
int cheapestVar(const Cards& cards, const std::vector<ValueFactor>& pool, const std::vector<int>& keep) {
  std::vector<int> candidates;
  for (const ValueFactor& f : pool) candidates = unionOf(candidates, f.vars);
  int best = -1;
  double bestSize = std::numeric_limits<double>::infinity();
  for (int v : candidates) {
    if (std::binary_search(keep.begin(), keep.end(), v)) continue;
    std::vector<int> joined;
    for (const ValueFactor& f : pool)
      if (std::binary_search(f.vars.begin(), f.vars.end(), v)) joined = unionOf(joined, f.vars);
    double size = 1;
    for (int j : joined) size *= cards[static_cast<size_t>(j)];
    if (size < bestSize) best = v, bestSize = size;
  }
  return best;
}

}  // namespace

ValueFactor eliminateAllBut(const Cards& cards, std::vector<const ValueFactor*> factors, std::vector<int> keep) {
  std::sort(keep.begin(), keep.end());
  keep.erase(std::unique(keep.begin(), keep.end()), keep.end());
  std::vector<ValueFactor> pool;
  pool.reserve(factors.size());
  for (const ValueFactor* f : factors) pool.push_back(*f);
  for (int v; (v = cheapestVar(cards, pool, keep)) >= 0;) {
    ValueFactor joined;
    joined.p = {1.0};
    std::vector<ValueFactor> rest;
    for (ValueFactor& f : pool) {
      if (std::binary_search(f.vars.begin(), f.vars.end(), v)) joined = multiply(cards, joined, f);
      else rest.push_back(std::move(f));
    }
    rest.push_back(sumOut(cards, joined, v));
    pool = std::move(rest);
  }
  ValueFactor result;
  result.vars = keep;
  result.p.assign(configCount(cards, keep), 1.0);
  for (const ValueFactor& f : pool) result = multiply(cards, result, f);
  return result;
}

}  // namespace quorva
