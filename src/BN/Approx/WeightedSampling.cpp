// Drawing weighted cases and turning their weighted counts into beliefs with standard errors.
#include "BN/Approx/WeightedSampling.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "BN/Approx/SampleModel.h"
#include "Basic/RandomGen.h"

namespace quorva {

namespace {

constexpr long long CHECK_EVERY = 512;  // cases between looks at the clock and the halt

struct Sums {
  std::vector<std::vector<double>> w, w2;  // per node and state
  double total = 0, total2 = 0;
};

void finish(const SampleModel& model, const Sums& sums, WeightedEstimate& e) {
  e.totalWeight = sums.total;
  e.findingsProbability = e.drawn > 0 ? sums.total / e.drawn : 0;
  if (!(sums.total > 0)) return;
  e.effective = sums.total * sums.total / sums.total2;
  const double granularity = 1.0 / (e.effective * e.effective);
  e.beliefs.resize(model.size());
  e.errors.resize(model.size());
  for (int i : model.order()) {
    const auto at = static_cast<size_t>(i);
    const size_t k = sums.w[at].size();
    e.beliefs[at].resize(k);
    e.errors[at].resize(k);
    for (size_t s = 0; s < k; ++s) {
      const double p = sums.w[at][s] / sums.total;
      const double inState = sums.w2[at][s], outState = sums.total2 - inState;
      const double spread = (inState * (1 - p) * (1 - p) + outState * p * p) / (sums.total * sums.total);
      e.beliefs[at][s] = p;
      e.errors[at][s] = std::sqrt(std::max(0.0, spread) + granularity);
    }
  }
}

}  // namespace

WeightedEstimate weightedSample(const SampleModel& model, const SamplingBudget& budget,
                                const std::function<bool()>& stop) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  Sums sums;
  sums.w.resize(model.size());
  sums.w2.resize(model.size());
  for (int i : model.order()) {
    const auto k = static_cast<size_t>(model.node(static_cast<size_t>(i)).states);
    sums.w[static_cast<size_t>(i)].assign(k, 0.0);
    sums.w2[static_cast<size_t>(i)].assign(k, 0.0);
  }
  RandomGen rng(nullptr, budget.seed);
  std::vector<int> values(model.size());
  WeightedEstimate e;
  const double limit = budget.samples > 0 ? budget.samples : HUGE_VAL;
  for (long long n = 0; n < limit; ++n) {
    if (n % CHECK_EVERY == 0 && n > 0) {
      const double spent = std::chrono::duration<double>(Clock::now() - start).count();
      if ((budget.seconds > 0 && spent >= budget.seconds) || (stop && stop())) break;
    }
    const double w = model.draw(rng, values.data());
    e.drawn += 1;
    if (w == 0) continue;
    const double w2 = w * w;
    sums.total += w;
    sums.total2 += w2;
    for (int i : model.order()) {
      const auto at = static_cast<size_t>(i);
      const auto s = static_cast<size_t>(values[at]);
      sums.w[at][s] += w;
      sums.w2[at][s] += w2;
    }
  }
  finish(model, sums, e);
  return e;
}

}  // namespace quorva
