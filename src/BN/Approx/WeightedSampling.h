// Beliefs estimated from weighted forward samples: each case is drawn parents first (from the
// node tables, or from a proposal set on the model) with the findings clamped, and counts for the
// states it holds with its weight.
//
// The belief of state s of a node is p = W_s / W (W the sum of the weights, W_s of those of the
// cases in s).  Its standard error is the ratio estimator's (delta method):
//   se^2 = (sum over cases of w^2 (I_s - p)^2) / W^2  +  1 / ESS^2,
// where ESS = W^2 / (sum of w^2) is the effective sample size; the second term is the
// granularity of one effective case, so that a state never drawn still gets an error of 1 / ESS
// rather than 0.  The probability of the findings is estimated by W / (cases drawn).
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

namespace quorva {

class SampleModel;

struct SamplingBudget {
  double samples = 0;  // cases to draw (0: no count limit, then `seconds` must be above 0)
  double seconds = 0;  // 0: no time limit
  uint64_t seed = 0;
  // With a target, `samples` more cases are drawn while the largest standard error is above it,
  // up to `maxSamples` in all (the checks fall at multiples of `samples`, whatever the threads).
  double targetError = 0;
  double maxSamples = 0;
};

struct WeightedEstimate {
  std::vector<std::vector<double>> beliefs, errors;  // per net position (empty: not drawn)
  double drawn = 0;        // cases drawn
  double effective = 0;    // ESS
  double totalWeight = 0;  // W
  double findingsProbability = 0;
};

// Cases are drawn in blocks of SAMPLE_BLOCK_CASES on up to 8 threads (the machine's cores); block
// b draws from a generator seeded from the seed and b, and the blocks are summed in order, so the
// estimate does not depend on the number of threads (unless a time limit cuts the run short).
// `stop` is asked between rounds of blocks whether to stop early (a user halt); it may be empty.
WeightedEstimate weightedSample(const SampleModel& model, const SamplingBudget& budget,
                                const std::function<bool()>& stop = {});

}  // namespace quorva
