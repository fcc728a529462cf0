// Drawing weighted cases on the machine's cores, block by block, and turning their weighted counts
// into beliefs with standard errors.  Block b of SAMPLE_BLOCK_CASES cases draws from a generator
// seeded from the seed and b, and the blocks' sums are added in block order, so that the result is
// the same whatever the number of threads.
#include "BN/Approx/WeightedSampling.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "BN/Approx/CaseSampler.h"
#include "BN/Approx/SampleModel.h"
#include "Basic/RandomGen.h"

namespace quorva {

namespace {

constexpr long long CHECK_EVERY = 512;  // cases between looks at the clock and the halt
constexpr unsigned MAX_THREADS = 8;

using Clock = std::chrono::steady_clock;

// The weighted counts of some cases: per node and state (flat, at the node's offset).
struct Sums {
  std::vector<double> w, w2;
  double total = 0, total2 = 0, drawn = 0;
  void reset(size_t entries) {
    w.assign(entries, 0.0);
    w2.assign(entries, 0.0);
    total = total2 = drawn = 0;
  }
  void add(const Sums& o) {
    for (size_t i = 0; i < w.size(); ++i) w[i] += o.w[i], w2[i] += o.w2[i];
    total += o.total;
    total2 += o.total2;
    drawn += o.drawn;
  }
};

struct Plan {
  const SampleModel& model;
  std::vector<size_t> offsets;  // per net position
  size_t entries = 0;
  const SamplingBudget& budget;
  Clock::time_point start;
  const std::function<bool()>& stop;

  bool outOfTime() const {
    return budget.seconds > 0 && std::chrono::duration<double>(Clock::now() - start).count() >= budget.seconds;
  }
};

// Draws cases `from` to `to` (exclusive) of block `block` into `sums`, drawing and passing over
// the ones before `from` (counted in an earlier step), so that a block drawn in two steps holds
// the same cases as one drawn at once.  False when the time ran out first.
bool drawBlock(const Plan& plan, uint64_t block, long long from, long long to, Sums& sums) {
  RandomGen rng(nullptr, blockSeed(plan.budget.seed, block));
  std::vector<int> values(plan.model.size());
  std::vector<double> uniforms;
  const std::vector<int>& order = plan.model.order();
  for (long long n = 0; n < to; ++n) {
    if (n % CHECK_EVERY == 0 && n > from && plan.outOfTime()) return false;
    const double w = plan.model.draw(rng, values.data(), uniforms);
    if (n < from) continue;
    sums.drawn += 1;
    if (w == 0) continue;
    const double w2 = w * w;
    sums.total += w;
    sums.total2 += w2;
    for (int i : order) {
      const size_t at = plan.offsets[static_cast<size_t>(i)] + static_cast<size_t>(values[static_cast<size_t>(i)]);
      sums.w[at] += w;
      sums.w2[at] += w2;
    }
  }
  return true;
}

void finish(const Plan& plan, const Sums& sums, WeightedEstimate& e) {
  const SampleModel& model = plan.model;
  e.drawn = sums.drawn;
  e.totalWeight = sums.total;
  e.findingsProbability = e.drawn > 0 ? sums.total / e.drawn : 0;
  if (!(sums.total > 0)) return;
  e.effective = sums.total * sums.total / sums.total2;
  const double granularity = 1.0 / (e.effective * e.effective);
  e.beliefs.resize(model.size());
  e.errors.resize(model.size());
  for (int i : model.order()) {
    const auto at = static_cast<size_t>(i);
    const auto k = static_cast<size_t>(model.node(at).states);
    e.beliefs[at].resize(k);
    e.errors[at].resize(k);
    for (size_t s = 0; s < k; ++s) {
      const size_t x = plan.offsets[at] + s;
      const double p = sums.w[x] / sums.total;
      const double inState = sums.w2[x], outState = sums.total2 - inState;
      const double spread = (inState * (1 - p) * (1 - p) + outState * p * p) / (sums.total * sums.total);
      e.beliefs[at][s] = p;
      e.errors[at][s] = std::sqrt(std::max(0.0, spread) + granularity);
    }
  }
}

double largestError(const WeightedEstimate& e) {
  double worst = 0;
  for (const std::vector<double>& errors : e.errors)
    for (double x : errors) worst = std::max(worst, x);
  return worst;
}

// Whether to draw another `samples` cases for the error target, having drawn exactly `limit`.
bool wantsMore(const Plan& plan, const Sums& all, double limit) {
  const SamplingBudget& b = plan.budget;
  if (!(b.targetError > 0) || b.samples <= 0 || limit + b.samples > b.maxSamples) return false;
  WeightedEstimate e;
  finish(plan, all, e);
  return all.total > 0 && largestError(e) > b.targetError;
}

}  // namespace

WeightedEstimate weightedSample(const SampleModel& model, const SamplingBudget& budget,
                                const std::function<bool()>& stop) {
  Plan plan{model, std::vector<size_t>(model.size(), 0), 0, budget, Clock::now(), stop};
  for (int i : model.order()) {
    plan.offsets[static_cast<size_t>(i)] = plan.entries;
    plan.entries += static_cast<size_t>(model.node(static_cast<size_t>(i)).states);
  }
  double limit = budget.samples > 0 ? budget.samples : HUGE_VAL;
  const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1u, MAX_THREADS);
  std::vector<Sums> round(2 * threads);
  Sums all;
  all.reset(plan.entries);
  const auto block = static_cast<double>(SAMPLE_BLOCK_CASES);
  for (double from = 0;; from = limit, limit += budget.samples) {
    bool going = true;
    for (auto first = static_cast<uint64_t>(from / block); going; first += round.size()) {
      std::vector<char> finished(round.size(), 1);
      auto work = [&](size_t w) {
        for (size_t j = w; j < round.size(); j += threads) {
          const double begin = static_cast<double>(first + j) * block;
          round[j].reset(plan.entries);
          const double lo = std::max(from - begin, 0.0), hi = std::min(block, limit - begin);
          if (hi > lo)
            finished[j] = drawBlock(plan, first + j, static_cast<long long>(lo), static_cast<long long>(hi), round[j]);
        }
      };
      std::vector<std::thread> pool;
      for (size_t w = 1; w < threads; ++w) pool.emplace_back(work, w);
      work(0);
      for (std::thread& t : pool) t.join();
      for (size_t j = 0; j < round.size(); ++j) {
        all.add(round[j]);
        going = going && finished[j];
      }
      going = going && all.drawn < limit && !plan.outOfTime() && !(stop && stop());
    }
    if (all.drawn < limit || !wantsMore(plan, all, limit)) break;
  }
  WeightedEstimate e;
  finish(plan, all, e);
  return e;
}

}  // namespace quorva
