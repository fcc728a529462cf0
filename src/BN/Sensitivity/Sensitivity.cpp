// Sensitivity to findings: the pass over the target's states and the keeping of its results.
#include "BN/Sensitivity/Sensitivity.h"

#include <algorithm>

#include "BN/Findings/Findings.h"
#include "BN/Inference/BeliefUpdate.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "Basic/EnvCore.h"
#include "Basic/Progress.h"
#include "Basic/Raise.h"

namespace quorva {

bool suitableWiggle(const Bnode& n) {
  return !n.deleted && n.hasStates() && (n.kind == NATURE || n.kind == DECISION || n.kind == DISCONNECTED);
}

const char* unsuitableWhy(const Bnode& n) {
  switch (n.kind) {
    case UTILITY: return "utility";
    case CONSTANT: return "constant";
    case ADVERSARY: return "adversary";
    default: return n.hasStates() ? "nature" : "continuous";
  }
}

Sensv::Sensv(Bnode& t, const std::vector<Bnode*>& wiggles, int mask)
    : Tagged(SENSV_TYPE), net(t.net), target(&t), what(mask) {
  for (Bnode* w : wiggles) {
    if (!w || !suitableWiggle(*w) || index_.count(w)) continue;
    index_.emplace(w, static_cast<int>(wiggles_.size()));
    wiggles_.push_back(w);
  }
}

int Sensv::indexOf(const Bnode& wiggle) const {
  auto it = index_.find(&wiggle);
  return it == index_.end() ? -1 : it->second;
}

void Sensv::refresh() {
  if (computed_ && stamp_ == net->beliefInputs) return;
  computed_ = false;
  pass();
  computed_ = true;
  stamp_ = net->beliefInputs;
}

double Sensv::targetEntropy() {
  if (entropy_ < 0) entropy_ = entropyBits(pt_);
  return entropy_;
}

void Sensv::release() {
  deleted = 1;
  tag = DELETED_TYPE;
  computed_ = false;
  wiggles_ = {};
  index_ = {};
  pt_ = {};
  tables_ = {};
}

namespace {

// Puts the target's finding back, however the pass ends; the beliefs are then stale.
struct RestoreFinding {
  Bnode& node;
  Finding saved;
  ~RestoreFinding() {
    node.finding = std::move(saved);
    node.net->findingsChanged();
  }
};

}  // namespace

// P(w | t) of every wiggle node, read once the target is in state t.
void Sensv::readWiggles(size_t t, std::vector<std::vector<double>>& given) {
  for (size_t i = 0; i < wiggles_.size(); ++i) {
    Bnode& w = *wiggles_[i];
    if (!suitableWiggle(w)) continue;
    const std::vector<float>& b = nodeBeliefs(w);
    std::copy(b.begin(), b.end(), given[i].begin() + static_cast<std::ptrdiff_t>(t * b.size()));
  }
}

// For each target state t in turn, the target is put in t, the beliefs updated and every wiggle
// node's read.  When the beliefs are not current at the start, P(t) comes from the probability of
// the findings with the target in t (times the target's own likelihood), so that the pass costs
// one update per target state and no more.
void Sensv::pass() {
  Bnet& n = *net;
  if (n.juncStep < 1 || !n.jt) engError(n.env, err::NeedsCompiling, n.name);
  ++passes_;
  entropy_ = -1;
  const size_t states = static_cast<size_t>(target->numStates);
  const std::vector<float> lambda = accumulatedLikelihood(*target);
  const bool current = n.beliefsCurrent() || n.jt->hasDecisions;
  std::vector<double> weight(states, 0.0);
  if (current) {
    const std::vector<float>& b = nodeBeliefs(*target);
    std::copy(b.begin(), b.end(), weight.begin());
  }
  std::vector<std::vector<double>> given(wiggles_.size());
  for (size_t i = 0; i < wiggles_.size(); ++i)
    if (suitableWiggle(*wiggles_[i])) given[i].assign(states * static_cast<size_t>(wiggles_[i]->numStates), 0.0);
  {
    RestoreFinding restore{*target, target->finding};
    Progress progress(n.env->progress, "Sensitivity to findings ...");
    for (size_t t = 0; t < states; ++t) {
      if (!progress.update(static_cast<double>(t + 1) / static_cast<double>(states + 1)))
        engError(n.env, err::UpdateHalted);
      if (!(current ? weight[t] > 0 : lambda[t] > 0)) {
        weight[t] = 0;
        continue;
      }
      Finding in;
      in.state = static_cast<int>(t);
      target->finding = std::move(in);
      if (!findingsHold(n)) {
        weight[t] = 0;
        continue;
      }
      if (!current) weight[t] = findingsProbability(n) * lambda[t];
      readWiggles(t, given);
    }
  }
  double sum = 0;
  for (double x : weight) sum += x;
  if (!(sum > 0)) {
    updateBeliefs(n);  // explains the inconsistency of the findings
    engError(n.env, err::Inconsistent, "");
  }
  pt_.assign(states, 0.0);
  for (size_t t = 0; t < states; ++t) pt_[t] = weight[t] / sum;
  tables_.assign(wiggles_.size(), WiggleBeliefs());
  for (size_t i = 0; i < wiggles_.size(); ++i) {
    if (given[i].empty()) continue;
    WiggleBeliefs& w = tables_[i];
    w.states = given[i].size() / states;
    w.given = std::move(given[i]);
    w.prior.assign(w.states, 0.0);
    for (size_t t = 0; t < states; ++t)
      for (size_t ws = 0; ws < w.states; ++ws) w.prior[ws] += pt_[t] * w.given[t * w.states + ws];
    // A state of probability 0 tells nothing: its row is the prior itself (every ratio 1).
    for (size_t t = 0; t < states; ++t)
      if (!(pt_[t] > 0)) std::copy(w.prior.begin(), w.prior.end(), w.given.begin() + static_cast<std::ptrdiff_t>(t * w.states));
  }
}

}  // namespace quorva
