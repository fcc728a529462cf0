// Choosing and running the approximate method, with the proposal of importance sampling.
#include "BN/Approx/ApproxBeliefs.h"

#include <algorithm>
#include <cmath>

#include "BN/Approx/ApproxErrors.h"
#include "BN/Approx/LoopyPropagation.h"
#include "BN/Approx/SampleModel.h"
#include "BN/Approx/WeightedSampling.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Net/Bnet.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// Proposal rows q(x | u) = (1 - mix) * normalised(P(x | u) * lambda(x)) + mix * P(x | u).
void setImportanceProposals(SampleModel& model, const LoopyResult& loopy) {
  for (int i : model.order()) {
    const SampleNode& n = model.node(static_cast<size_t>(i));
    const std::vector<double>& lambda = loopy.lambda[static_cast<size_t>(i)];
    if (n.clamp >= 0 || lambda.empty()) continue;
    const auto k = static_cast<size_t>(n.states);
    std::vector<double> q(n.prob.size());
    for (size_t r = 0; r * k < q.size(); ++r) {
      double total = 0;
      for (size_t s = 0; s < k; ++s) total += q[r * k + s] = n.prob[r * k + s] * lambda[s];
      for (size_t s = 0; s < k; ++s) {
        const double guided = total > 0 ? q[r * k + s] / total : n.prob[r * k + s];
        q[r * k + s] = (1 - IMPORTANCE_MIX) * guided + IMPORTANCE_MIX * n.prob[r * k + s];
      }
    }
    model.setProposal(static_cast<size_t>(i), q);
  }
}

ApproxResult fromLoopy(const Bnet& net, const LoopyResult& loopy) {
  if (loopy.inconsistent) engError(net.env, err::Inconsistent, "");
  ApproxResult r;
  r.beliefs = loopy.beliefs;
  r.errors.resize(loopy.beliefs.size());
  for (size_t i = 0; i < loopy.beliefs.size(); ++i) r.errors[i].assign(loopy.beliefs[i].size(), loopy.change[i]);
  r.findingsProbability = std::nan("");
  r.drawn = loopy.rounds;
  r.maxChange = loopy.maxChange;
  r.converged = loopy.converged;
  return r;
}

}  // namespace

ApproxResult approxBeliefs(const Bnet& net, const ApproxOptions& options) {
  SampleModel model(net);
  const auto stop = [&net] { return net.env->progress.haltRequested(); };
  if (options.method == ApproxMethod::Loopy) {
    LoopyOptions lo;
    lo.damping = options.damping;
    lo.seconds = options.seconds;
    if (options.samples > 0) lo.maxRounds = static_cast<int>(std::min(options.samples, 1e9));
    return fromLoopy(net, loopyPropagate(model, lo, stop));
  }
  if (options.method == ApproxMethod::Importance && model.hasFindings()) {
    LoopyOptions lo;
    lo.damping = options.damping;
    lo.maxRounds = IMPORTANCE_ROUNDS;
    lo.tolerance = 1e-4;
    setImportanceProposals(model, loopyPropagate(model, lo, stop));
  }
  SamplingBudget budget;
  const bool byDefault = !(options.samples > 0 || options.seconds > 0);
  budget.samples = byDefault ? DEFAULT_APPROX_SAMPLES : options.samples;
  if (byDefault) {
    budget.targetError = DEFAULT_APPROX_TARGET_ERROR;
    budget.maxSamples = DEFAULT_APPROX_MAX_SAMPLES;
  }
  budget.seconds = options.seconds;
  budget.seed = options.seed;
  WeightedEstimate e = weightedSample(model, budget, stop);
  if (!(e.totalWeight > 0)) engError(net.env, err::ApproxNoWeight, net.name);
  ApproxResult r;
  r.beliefs = std::move(e.beliefs);
  r.errors = std::move(e.errors);
  r.findingsProbability = e.findingsProbability;
  r.drawn = e.drawn;
  r.effective = e.effective;
  return r;
}

}  // namespace quorva
