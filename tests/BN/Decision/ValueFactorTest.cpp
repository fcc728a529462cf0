// Value factors: elimination of random factor sets against summing their product entry by entry
// over every configuration.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "BN/Decision/ValueFactor.h"

namespace {

using quorva::Cards;
using quorva::ValueFactor;

// The entry of `f` at the full configuration `at` (one state per variable).
size_t offsetOf(const Cards& cards, const ValueFactor& f, const std::vector<int>& at) {
  size_t o = 0;
  for (int v : f.vars) o = o * static_cast<size_t>(cards[static_cast<size_t>(v)]) + static_cast<size_t>(at[static_cast<size_t>(v)]);
  return o;
}

TEST(ValueFactor, EliminationEqualsSummingTheProductOverEveryConfiguration) {
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> u(0, 1);
  for (int round = 0; round < 40; ++round) {
    Cards cards;
    for (int v = 0; v < 5; ++v) cards.push_back(2 + static_cast<int>(rng() % 2));
    std::vector<ValueFactor> fs(4);
    for (ValueFactor& f : fs) {
      for (int v = 0; v < 5; ++v)
        if (rng() % 2) f.vars.push_back(v);
      size_t n = quorva::configCount(cards, f.vars);
      for (size_t i = 0; i < n; ++i) f.p.push_back(u(rng));
      if (rng() % 2)
        for (size_t i = 0; i < n; ++i) f.w.push_back(u(rng) - 0.5);
    }
    std::vector<int> keep;
    for (int v = 0; v < 5; ++v)
      if (rng() % 3 == 0) keep.push_back(v);
    ValueFactor r = quorva::eliminateAllBut(cards, {&fs[0], &fs[1], &fs[2], &fs[3]}, keep);
    ASSERT_EQ(r.vars, keep);
    // Direct: p = prod p_i, w = sum_i w_i * prod_{j != i} p_j, summed onto the kept variables.
    std::vector<double> p(r.p.size(), 0.0), w(r.p.size(), 0.0);
    std::vector<int> at(5, 0);
    for (size_t c = 0; c < quorva::configCount(cards, {0, 1, 2, 3, 4}); ++c) {
      size_t rest = c;
      for (int v = 4; v >= 0; --v) at[static_cast<size_t>(v)] = static_cast<int>(rest % static_cast<size_t>(cards[static_cast<size_t>(v)])), rest /= static_cast<size_t>(cards[static_cast<size_t>(v)]);
      double prod = 1, util = 0;
      for (const ValueFactor& f : fs) prod *= f.p[offsetOf(cards, f, at)];
      for (const ValueFactor& f : fs)
        if (f.hasUtility() && f.p[offsetOf(cards, f, at)] > 0) util += f.w[offsetOf(cards, f, at)] * prod / f.p[offsetOf(cards, f, at)];
      size_t o = offsetOf(cards, r, at);
      p[o] += prod;
      w[o] += util;
    }
    // A variable no factor mentions and not kept is not summed over: the enumeration counted it.
    double absent = 1;
    for (int v = 0; v < 5; ++v) {
      bool used = std::find(keep.begin(), keep.end(), v) != keep.end();
      for (const ValueFactor& f : fs) used = used || std::find(f.vars.begin(), f.vars.end(), v) != f.vars.end();
      if (!used) absent *= cards[static_cast<size_t>(v)];
    }
    for (double& x : p) x /= absent;
    for (double& x : w) x /= absent;
    for (size_t i = 0; i < p.size(); ++i) {
      EXPECT_NEAR(r.p[i], p[i], 1e-9) << "round " << round;
      EXPECT_NEAR(r.hasUtility() ? r.w[i] : 0.0, w[i], 1e-9) << "round " << round;
    }
  }
}

}  // namespace
