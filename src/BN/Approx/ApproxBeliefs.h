// Approximate beliefs of every node of a net given its findings, for nets whose junction tree
// would be too large: read straight from the node tables, never compiled.
//
//   Likelihood weighting: cases drawn from the node tables, findings clamped and weighted.
//   Importance sampling by evidence pre-propagation: a few rounds of loopy propagation first;
//     each node without a finding is then drawn from q(x | parents) proportional to
//     P(x | parents) times the messages its children's factors send it (what the findings below
//     it say), mixed 9 to 1 with P(x | parents) itself so that no weight P / q exceeds 10.
//   Loopy propagation: see LoopyPropagation.h.
// The error of a sampled belief is its standard error (WeightedSampling.h); of a belief from
// loopy propagation, how much it moved in the last round (with a converged flag for the net).
#pragma once
#include <cstdint>
#include <vector>

namespace quorva {

class Bnet;

enum class ApproxMethod : int { LikelihoodWeighting = 1, Importance = 2, Loopy = 3 };

// The default budget: DEFAULT_APPROX_SAMPLES cases, and as many more again, up to
// DEFAULT_APPROX_MAX_SAMPLES in all, while some belief's standard error is above
// DEFAULT_APPROX_TARGET_ERROR (so that beliefs are within about 0.01 of the exact ones).
inline constexpr double DEFAULT_APPROX_SAMPLES = 200000;
inline constexpr double DEFAULT_APPROX_MAX_SAMPLES = 2000000;
inline constexpr double DEFAULT_APPROX_TARGET_ERROR = 0.0025;
inline constexpr double IMPORTANCE_MIX = 0.1;  // the share of P(x | parents) in a proposal row
inline constexpr int IMPORTANCE_ROUNDS = 30;   // the loopy rounds before importance sampling

struct ApproxOptions {
  ApproxMethod method = ApproxMethod::Importance;
  double samples = 0;  // sampling: cases to draw; loopy: rounds (0: the default)
  double seconds = 0;  // a time limit (0: none)
  double damping = 0;  // loopy propagation (also before importance sampling)
  uint64_t seed = 0;
};

struct ApproxResult {
  std::vector<std::vector<double>> beliefs, errors;  // per net position (empty: not drawn)
  double findingsProbability = 0;  // an estimate when sampling; NaN from loopy propagation
  double drawn = 0;       // cases drawn, or rounds of loopy propagation run
  double effective = 0;   // sampling: the effective sample size
  double maxChange = 0;   // loopy: the largest change of a belief in the last round
  bool converged = true;  // loopy: whether maxChange fell below the tolerance
};

// Raises error 3045 (inconsistent findings) when loopy propagation finds a node's beliefs all
// zero, and 5937 when every case drawn has weight 0.
ApproxResult approxBeliefs(const Bnet& net, const ApproxOptions& options);

}  // namespace quorva
