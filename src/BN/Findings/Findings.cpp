// Findings: the consistency checks and the three-part finding kept consistent.
#include "BN/Findings/Findings.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Net/Bnet.h"
#include "BN/Findings/FindingErrors.h"
#include "BN/Net/Listeners.h"
#include "BN/Net/NetEdit.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

EnvCore* envOf(const Bnode& n) { return n.net->env; }

std::string stateLabel(const Bnode& n, int s) {
  if (s >= 0 && static_cast<size_t>(s) < n.stateNames.size()) return n.stateNames[static_cast<size_t>(s)];
  std::string label = std::to_string(s);
  label.insert(label.begin(), '#');
  return label;
}

// The single state a row of the node's tables gives, or -1 when the row does not fix one: a
// function table's state, or a CPT row holding one 1 and zeros elsewhere.
int rowState(const Bnode& n, size_t row) {
  const PotTable& f = n.tables.func;
  if (f.isAllocated() && !n.tables.funcReal) {
    if (row >= f.size()) return -1;
    float v = f.data()[row];
    if (isReservedFloat(v) || !(v >= 0) || v >= static_cast<float>(n.numStates)) return -1;
    return static_cast<int>(v);
  }
  const PotTable& c = n.tables.cpt;
  if (!c.isAllocated()) return -1;
  size_t len = c.rowLength();
  if (len != static_cast<size_t>(n.numStates) || (row + 1) * len > c.size()) return -1;
  int one = -1;
  for (size_t i = 0; i < len; ++i) {
    float v = c.data()[row * len + i];
    if (v == 0.0f) continue;
    if (one >= 0 || v != 1.0f) return -1;
    one = static_cast<int>(i);
  }
  return one;
}

// The value the node's own table states (a node without parents whose table fixes a state).
int statedValue(const Bnode& n) { return n.parents.empty() ? rowState(n, 0) : -1; }

// The state that follows from the parents' single-state findings, or -1.
int valueFromParents(const Bnode& n) {
  if (n.parents.empty()) return -1;
  size_t row = 0;
  for (const Link& l : n.parents) {
    int s = l.parent->findingState();
    if (s < 0) return -1;
    row = row * static_cast<size_t>(l.parent->numStates) + static_cast<size_t>(s);
  }
  return rowState(n, row);
}

// The finding groups open on this thread: per net, how deep, and whether a finding changed.
struct OpenBatch {
  Bnet* net;
  int depth;
  bool changed;
};
thread_local std::vector<OpenBatch> openBatches;

OpenBatch* batchOf(const Bnet& net) {
  for (OpenBatch& b : openBatches)
    if (b.net == &net) return &b;
  return nullptr;
}

// The finding changed: beliefs are stale and listeners hear of it.  In a group the update waits
// for the group's end.
void changed(Bnode& n) {
  n.net->findingsChanged();
  if (OpenBatch* b = batchOf(*n.net)) b->changed = true;
  else if (n.net->autoUpdate && n.net->juncStep >= 1) updateBeliefs(*n.net);
  fireNodeEvent(n, CHANGE_EVENT_TYPE);
}

// Puts findings back as they were when a change to them fails part way (an automatic update
// refused for want of memory), so that a refused call leaves the previous findings in force.
// Inside a group nothing is kept: the update waits for the group's end, and the group's owner
// puts back what it changed.
class FindingsKept {
 public:
  FindingsKept(Bnet& net, Bnode* only) : net_(net), only_(only), restore_(!batchOf(net)) {
    if (!restore_) return;
    if (only)
      onlyFinding_ = only->finding;  // one node, the usual case: no list to allocate
    else
      for (Bnode* n : net.nodes) saved_.emplace_back(n, n->finding);
  }
  ~FindingsKept() {
    if (!restore_) return;
    if (only_) only_->finding = std::move(onlyFinding_);
    for (auto& [node, finding] : saved_) node->finding = std::move(finding);
    net_.findingsChanged();
  }
  FindingsKept(const FindingsKept&) = delete;
  FindingsKept& operator=(const FindingsKept&) = delete;
  void keep() { restore_ = false; }

 private:
  Bnet& net_;
  Bnode* only_;
  Finding onlyFinding_;
  std::vector<std::pair<Bnode*, Finding>> saved_;
  bool restore_;
};

// Installs a finding, withdrawing it again when the net's findings can no longer hold together.
bool installPossible(Bnode& n, Finding next) {
  Finding previous = std::move(n.finding);
  n.finding = std::move(next);
  if (findingsPossible(*n.net)) return true;
  n.finding = std::move(previous);
  return false;
}

int singleNonZero(const std::vector<float>& lik) {
  int one = -1;
  for (size_t i = 0; i < lik.size(); ++i)
    if (lik[i] != 0.0f) {
      if (one >= 0) return -1;
      one = static_cast<int>(i);
    }
  return one;
}

[[noreturn]] void refuseLikelihood(const Bnode& n, const std::string& why) {
  engError(envOf(n), err::CantEnterLikelihood, n.name, why);
}

[[noreturn]] void refuseValue(const Bnode& n, double v, const std::string& why) {
  engError(envOf(n), err::CantEnterValue, v, n.name, why);
}

}  // namespace

bool findingsPossible(Bnet& net) { return !net.autoUpdate || batchOf(net) || findingsHold(net); }

FindingBatch::FindingBatch(Bnet& net) : net_(net) {
  if (OpenBatch* b = batchOf(net)) ++b->depth;
  else openBatches.push_back({&net, 1, false});
}

FindingBatch::~FindingBatch() {
  if (!open_) return;
  OpenBatch* b = batchOf(net_);
  if (b && --b->depth == 0) openBatches.erase(openBatches.begin() + (b - openBatches.data()));
}

void FindingBatch::commit() {
  OpenBatch* b = batchOf(net_);
  open_ = false;
  if (!b || --b->depth > 0) return;
  bool update = b->changed && net_.autoUpdate && net_.juncStep >= 1;
  openBatches.erase(openBatches.begin() + (b - openBatches.data()));
  if (update) updateBeliefs(net_);
}

std::vector<float> accumulatedLikelihood(const Bnode& n) {
  std::vector<float> lik(static_cast<size_t>(n.numStates), 1.0f);
  if (n.finding.likelihood.size() == lik.size()) {
    lik = n.finding.likelihood;
  } else if (n.finding.state >= 0 && n.finding.state < n.numStates) {
    std::fill(lik.begin(), lik.end(), 0.0f);
    lik[static_cast<size_t>(n.finding.state)] = 1.0f;
  }
  return lik;
}

int findingCode(const Bnode& n) {
  const Finding& f = n.finding;
  if (f.state >= 0) return f.state;
  if (f.likelihood.empty()) return UNDEF_STATE_VALUE;
  float common = 0;
  int nonZero = 0, zeros = 0;
  bool equal = true;
  for (float v : f.likelihood) {
    if (v == 0.0f) {
      ++zeros;
      continue;
    }
    if (nonZero++ == 0) common = v;
    else if (v != common) equal = false;
  }
  if (nonZero == 0) return -1;
  if (nonZero == 1) return singleNonZero(f.likelihood);
  if (!equal) return LIKELIHOOD_FINDING_CODE;
  return zeros > 0 ? NEGATIVE_FINDING_CODE : -3;
}

namespace {

// Refuses `state` for `n` where entering it must be refused; false when nothing would change
// (no state given, or the state is known already: entered, or fixed by a value or likelihood).
bool mayEnterState(const Bnode& n, int state, bool replace, bool check, bool action) {
  EnvCore* env = envOf(n);
  const Finding& f = n.finding;
  if (state == UNDEF_STATE_VALUE) return false;
  if (state >= 0 && state == f.state && f.action == action) return false;
  if (check) {
    if (!n.hasStates()) engError(env, err::FindingContinuous);
    if (state >= n.numStates) engError(env, err::FindingTooLarge, state, n.numStates - 1);
    if (state < 0) engError(env, err::FindingNegative, state, UNDEF_STATE_VALUE);
  }
  // The state as messages name it, made only for a message.
  auto name = [&n, state] { return stateLabel(n, state); };
  if (!replace) {
    if (f.state >= 0 && f.state != state) engError(env, err::FindingContradicts, name(), stateLabel(n, f.state));
    if (!f.likelihood.empty() && f.likelihood[static_cast<size_t>(state)] == 0.0f)
      engError(env, err::FindingContradictsLikelihood, name());
  }
  int stated = statedValue(n);
  if (stated >= 0 && stated != state) engError(env, err::FindingStatedValue, name());
  int fromParents = valueFromParents(n);
  if (fromParents >= 0 && fromParents != state)
    engError(env, err::FindingFromParents, name(), stateLabel(n, fromParents));
  return true;
}

// The finding changed inside a group: what changed() does there, without looking for the group.
void changedInBatch(Bnode& n, OpenBatch& batch) {
  n.net->findingsChanged();
  batch.changed = true;
  fireNodeEvent(n, CHANGE_EVENT_TYPE);
}

OpenBatch& openBatchOf(const Bnet& net) {
  OpenBatch* b = batchOf(net);
  QASSERT(net.env, b);
  return *b;
}

}  // namespace

void enterState(Bnode& n, int state, bool replace, bool check, bool action) {
  if (!mayEnterState(n, state, replace, check, action)) return;
  EnvCore* env = envOf(n);
  auto name = [&n, state] { return stateLabel(n, state); };
  Finding next;
  next.state = state;
  next.action = action;
  NetEdit edit(*n.net, "enter finding", EditKind::Findings, UndoScope::finding(n));
  FindingsKept kept(*n.net, &n);
  if (!installPossible(n, std::move(next))) engError(env, err::FindingInconsistentModel, name());
  changed(n);
  kept.keep();
  edit.commit();
}

void enterLikelihood(Bnode& n, const float* lik, bool action) {
  if (!action && (n.kind == UTILITY || n.kind == DECISION))
    refuseLikelihood(n, format("negative or likelihood findings are not allowed for %s >-node-s",
                               n.kind == UTILITY ? "utility" : "decision"));
  size_t count = static_cast<size_t>(n.numStates);
  std::vector<float> next(lik, lik + count);
  for (size_t i = 0; i < count; ++i) {
    if (next[i] < 0 || std::isnan(next[i]))
      refuseLikelihood(n, format("it has a negative value (%g) at index %d", double{next[i]}, static_cast<int>(i)));
    if (next[i] > 1) refuseLikelihood(n, format("it is greater than one (%g) at index %d", double{next[i]}, static_cast<int>(i)));
  }
  if (std::all_of(next.begin(), next.end(), [](float v) { return v == 0.0f; }))
    refuseLikelihood(n, "it consists of all zeros");
  const Finding& f = n.finding;
  if (f.state >= 0) {
    if (next[static_cast<size_t>(f.state)] == 0.0f)
      refuseLikelihood(n, format("it is inconsistent with previous finding (%s) for this >-node", stateLabel(n, f.state)));
    return;  // the single state known already says more
  }
  // A likelihood the same at every state tells nothing.
  if (f.action == action && std::all_of(next.begin(), next.end(), [&](float v) { return v == next[0]; })) return;
  if (!f.likelihood.empty()) {
    for (size_t i = 0; i < count; ++i) next[i] *= f.likelihood[i];
    if (std::all_of(next.begin(), next.end(), [](float v) { return v == 0.0f; }))
      refuseLikelihood(n, "it is inconsistent with previous negative or likelihood findings for this >-node");
    if (next == f.likelihood && f.action == action) return;  // e.g. the same state ruled out again
  }
  Finding combined;
  combined.state = singleNonZero(next) >= 0 ? singleNonZero(next) : UNDEF_STATE_VALUE;
  combined.likelihood = std::move(next);
  combined.calibration = f.calibration;
  combined.action = action;
  NetEdit edit(*n.net, "enter likelihood", EditKind::Findings, UndoScope::finding(n));
  FindingsKept kept(*n.net, &n);
  if (!installPossible(n, std::move(combined)))
    refuseLikelihood(n, "it is inconsistent with findings for other >-node-s, according to this model");
  changed(n);
  kept.keep();
  edit.commit();
}

void enterNot(Bnode& n, int state) {
  EnvCore* env = envOf(n);
  if (state == UNDEF_STATE_VALUE) return;
  if (!n.hasStates()) engError(env, err::FindingContinuous);
  if (state >= n.numStates) engError(env, err::FindingTooLarge, state, n.numStates - 1);
  if (state < 0) engError(env, err::FindingNegative, state, UNDEF_STATE_VALUE);
  std::vector<float> lik(static_cast<size_t>(n.numStates), 1.0f);
  lik[static_cast<size_t>(state)] = 0.0f;
  enterLikelihood(n, lik.data());
}

namespace {
// The state a real value selects, refusing a value no state holds.
int stateForValue(const Bnode& n, double v) {
  const std::vector<double>& lv = n.details().levels;
  if (n.type == CONTINUOUS) {
    if (lv.size() < 2) return -1;  // undiscretized: the value stands alone
    bool increasing = lv.back() > lv.front();
    double lo = increasing ? lv.front() : lv.back(), hi = increasing ? lv.back() : lv.front();
    if (v < lo) refuseValue(n, v, format("it is less than lowest allowable (%g%s)", lo, ""));
    if (v > hi) refuseValue(n, v, format("it is higher than highest allowable (%g%s)", hi, ""));
    for (size_t i = 0; i + 1 < lv.size(); ++i)
      if (v >= std::min(lv[i], lv[i + 1]) && v < std::max(lv[i], lv[i + 1])) return static_cast<int>(i);
    return n.numStates - 1;  // the top threshold belongs to the last interval
  }
  if (lv.empty()) refuseValue(n, v, "the >-node is discrete without any numbers attached to states");
  for (size_t i = 0; i < lv.size(); ++i)
    if (std::fabs(lv[i] - v) <= 1e-12 * std::max(1.0, std::fabs(v))) return static_cast<int>(i);
  refuseValue(n, v, "there is no state labeled with that number");
}
}  // namespace

void enterValue(Bnode& n, double v, bool action) {
  const Finding& f = n.finding;
  if (!std::isnan(f.value) && f.value == v && f.action == action) return;
  if (!std::isnan(f.value)) refuseValue(n, v, format("it contradicts previously entered value %g", f.value));
  int state = stateForValue(n, v);
  if (state >= 0) {
    bool excluded = (f.state >= 0 && f.state != state) ||
                    (!f.likelihood.empty() && f.likelihood[static_cast<size_t>(state)] == 0.0f);
    if (excluded) refuseValue(n, v, "it is inconsistent with findings previously entered for this node");
    int fromParents = valueFromParents(n);
    if (fromParents >= 0 && fromParents != state && n.details().levels.size() > static_cast<size_t>(fromParents))
      refuseValue(n, v, format("it contradicts value %g calculated from parent >-node values",
                               n.details().levels[static_cast<size_t>(fromParents)]));
  }
  Finding next;
  next.state = state >= 0 ? state : UNDEF_STATE_VALUE;
  next.value = v;
  next.action = action;
  NetEdit edit(*n.net, "enter value", EditKind::Findings, UndoScope::finding(n));
  FindingsKept kept(*n.net, &n);
  if (!installPossible(n, std::move(next)))
    refuseValue(n, v, "it is inconsistent with previous findings, according to this model");
  changed(n);
  kept.keep();
  edit.commit();
}

void enterCalibration(Bnode& n, const float* probs) {
  EnvCore* env = envOf(n);
  std::vector<float> p(probs, probs + n.numStates);
  if (std::all_of(p.begin(), p.end(), [](float v) { return v == 0.0f; })) argError(env, err::CalibrationZeros);
  double sum = 0;
  for (size_t i = 0; i < p.size(); ++i) {
    if (!(p[i] >= 0)) argError(env, err::CalibrationNegative, double{p[i]}, static_cast<int>(i));
    sum += p[i];
  }
  if (!(std::fabs(sum - 1.0) <= 1e-5)) argError(env, err::CalibrationSum, sum);
  if (p == n.finding.calibration) return;
  Finding next = n.finding;
  next.calibration = std::move(p);
  NetEdit edit(*n.net, "enter calibration", EditKind::Findings, UndoScope::finding(n));
  FindingsKept kept(*n.net, &n);
  n.finding = std::move(next);
  changed(n);
  kept.keep();
  edit.commit();
}

void enterInterval(Bnode& n, double low, double high) {
  EnvCore* env = envOf(n);
  if (high < low) argError(env, err::IntervalOrder, high, low, n.name);
  std::vector<float> lik(static_cast<size_t>(n.numStates), 0.0f);
  if (n.type == CONTINUOUS) {
    const std::vector<double>& lv = n.details().levels;
    if (!n.hasStates() || lv.size() < 2) argError(env, err::IntervalContinuous, n.name);
    for (size_t i = 0; i + 1 < lv.size(); ++i) {
      double a = std::min(lv[i], lv[i + 1]), b = std::max(lv[i], lv[i + 1]);
      if (a <= high && low < b) lik[i] = 1.0f;
    }
  } else {
    if (low < 0) argError(env, err::IntervalLowNegative, low, n.name);
    if (high > n.numStates) argError(env, err::IntervalHighTooBig, high, n.name, n.numStates);
    if (low != std::floor(low)) argError(env, err::IntervalLowInteger, low, n.name);
    if (high != std::floor(high)) argError(env, err::IntervalHighInteger, high, n.name);
    for (int s = static_cast<int>(low); s <= static_cast<int>(high) && s < n.numStates; ++s)
      lik[static_cast<size_t>(s)] = 1.0f;
  }
  enterLikelihood(n, lik.data());
}

void enterGaussian(Bnode& n, double mean, double sd) {
  EnvCore* env = envOf(n);
  if (sd < 0) argError(env, err::GaussianStdDev, sd, n.name);
  if (n.type == DISCRETE) argError(env, err::GaussianDiscrete, n.name);
  const std::vector<double>& lv = n.details().levels;
  if (!n.hasStates() || lv.size() < 2) argError(env, err::GaussianUndiscretized, n.name);
  auto cdf = [&](double x) {
    if (sd == 0) return x <= mean ? 0.0 : 1.0;
    return 0.5 * std::erfc(-(x - mean) / (sd * std::sqrt(2.0)));
  };
  std::vector<float> lik(static_cast<size_t>(n.numStates), 0.0f);
  for (size_t i = 0; i + 1 < lv.size(); ++i) {
    double a = std::min(lv[i], lv[i + 1]), b = std::max(lv[i], lv[i + 1]);
    lik[i] = static_cast<float>(std::max(0.0, cdf(b) - cdf(a)));
  }
  if (sd == 0 && std::all_of(lik.begin(), lik.end(), [](float v) { return v == 0.0f; }) && mean == lv.back())
    lik.back() = 1.0f;
  enterLikelihood(n, lik.data());
}

Finding takeInBatch(Bnode& n) {
  Finding was = std::move(n.finding);
  n.finding.clear();
  if (!was.empty() || was.action) changedInBatch(n, openBatchOf(*n.net));
  return was;
}

void replaceStateInBatch(Bnode& n, int state) {
  OpenBatch& batch = openBatchOf(*n.net);
  if (!n.finding.empty() || n.finding.action) {
    n.finding.clear();
    changedInBatch(n, batch);
  }
  if (!mayEnterState(n, state, true, true, false)) return;
  n.finding.state = state;  // the group's owner learns at its end whether the findings hold
  changedInBatch(n, batch);
}

void retractNode(Bnode& n) {
  if (n.finding.empty() && !n.finding.action) return;
  NetEdit edit(*n.net, "retract findings", EditKind::Findings, UndoScope::finding(n));
  FindingsKept kept(*n.net, &n);
  n.finding = Finding();
  changed(n);
  kept.keep();
  edit.commit();
}

void retractNet(Bnet& net) {
  NetEdit edit(net, "retract net findings", EditKind::Findings, UndoScope::findings());
  FindingsKept kept(net, nullptr);
  FindingBatch batch(net);
  for (Bnode* n : net.nodes)
    if (n->kind != CONSTANT) retractNode(*n);
  batch.commit();
  kept.keep();
  edit.commit();
}

}  // namespace quorva
