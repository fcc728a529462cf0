// Message passing on the factor graph of the node tables.
#include "BN/Approx/LoopyPropagation.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "BN/Approx/SampleModel.h"

namespace quorva {

namespace {

using Vec = std::vector<double>;

// Scales `v` to sum 1; false (and v left uniform) when it sums to 0 or is not finite.
bool normalise(Vec& v) {
  double total = 0;
  for (double x : v) total += x;
  if (!(total > 0) || !std::isfinite(total)) {
    std::fill(v.begin(), v.end(), 1.0 / static_cast<double>(v.size()));
    return false;
  }
  for (double& x : v) x /= total;
  return true;
}

class FactorGraph {
 public:
  explicit FactorGraph(const SampleModel& m) : m_(m) {
    const size_t n = m.size();
    evidence_.resize(n);
    incidences_.resize(n);
    for (int i : m.order()) {
      const SampleNode& node = m.node(static_cast<size_t>(i));
      Vec ev(static_cast<size_t>(node.states), 1.0);
      if (node.clamp >= 0) {
        std::fill(ev.begin(), ev.end(), 0.0);
        ev[static_cast<size_t>(node.clamp)] = 1.0;
      } else if (!node.likelihood.empty()) {
        ev = node.likelihood;
      }
      evidence_[static_cast<size_t>(i)] = ev;
      Factor f;
      f.node = i;
      f.vars = node.parents;
      f.vars.push_back(i);
      for (size_t j = 0; j < f.vars.size(); ++j) {
        const auto k = static_cast<size_t>(m.node(static_cast<size_t>(f.vars[j])).states);
        f.toVar.emplace_back(k, 1.0 / static_cast<double>(k));
        f.toFactor.emplace_back(k, 1.0);
        incidences_[static_cast<size_t>(f.vars[j])].push_back({factors_.size(), j});
      }
      factors_.push_back(std::move(f));
    }
  }

  // One pass over the factors in `forward` or reverse order.
  void pass(bool forward, double damping) {
    const size_t count = factors_.size();
    for (size_t t = 0; t < count; ++t) update(factors_[forward ? t : count - 1 - t], damping);
  }

  // The beliefs of node i (normalised; false when all zero).
  bool belief(size_t i, Vec& out, bool childrenOnly) const {
    out = evidence_[i];
    for (const Incidence& inc : incidences_[i]) {
      const Factor& f = factors_[inc.factor];
      if (childrenOnly && f.node == static_cast<int>(i)) continue;
      const Vec& msg = f.toVar[inc.slot];
      for (size_t s = 0; s < out.size(); ++s) out[s] *= msg[s];
    }
    return normalise(out);
  }

 private:
  struct Factor {
    int node = 0;
    std::vector<int> vars;     // the parents, then the node
    std::vector<Vec> toVar;    // per var: the factor's message to it
    std::vector<Vec> toFactor; // per var: its message to the factor
  };
  struct Incidence {
    size_t factor, slot;
  };

  // The message of var `v` to factor `to`: its finding times the messages of its other factors.
  void varMessage(int v, size_t to, Vec& out) const {
    out = evidence_[static_cast<size_t>(v)];
    for (const Incidence& inc : incidences_[static_cast<size_t>(v)]) {
      if (inc.factor == to) continue;
      const Vec& msg = factors_[inc.factor].toVar[inc.slot];
      for (size_t s = 0; s < out.size(); ++s) out[s] *= msg[s];
    }
    normalise(out);
  }

  void update(Factor& f, double damping) {
    const size_t fi = static_cast<size_t>(&f - factors_.data());
    const size_t m = f.vars.size();
    for (size_t j = 0; j < m; ++j) varMessage(f.vars[j], fi, f.toFactor[j]);
    std::vector<size_t> dims(m), x(m, 0);
    for (size_t j = 0; j < m; ++j) dims[j] = f.toFactor[j].size();
    std::vector<Vec> sums(m);
    for (size_t j = 0; j < m; ++j) sums[j].assign(dims[j], 0.0);
    Vec prefix(m + 1), suffix(m + 1);
    const Vec& table = m_.node(static_cast<size_t>(f.node)).prob;
    // Entries in table order: the last var (the node) varies fastest.
    for (size_t e = 0; e < table.size(); ++e) {
      prefix[0] = 1.0;
      for (size_t j = 0; j < m; ++j) prefix[j + 1] = prefix[j] * f.toFactor[j][x[j]];
      suffix[m] = 1.0;
      for (size_t j = m; j-- > 0;) suffix[j] = suffix[j + 1] * f.toFactor[j][x[j]];
      for (size_t j = 0; j < m; ++j) sums[j][x[j]] += table[e] * prefix[j] * suffix[j + 1];
      for (size_t j = m; j-- > 0;) {
        if (++x[j] < dims[j]) break;
        x[j] = 0;
      }
    }
    for (size_t j = 0; j < m; ++j) {
      normalise(sums[j]);
      Vec& old = f.toVar[j];
      for (size_t s = 0; s < old.size(); ++s) old[s] = (1 - damping) * sums[j][s] + damping * old[s];
    }
  }

  const SampleModel& m_;
  std::vector<Vec> evidence_;
  std::vector<std::vector<Incidence>> incidences_;
  std::vector<Factor> factors_;
};

}  // namespace

LoopyResult loopyPropagate(const SampleModel& model, const LoopyOptions& options, const std::function<bool()>& stop) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  FactorGraph graph(model);
  LoopyResult r;
  r.beliefs.resize(model.size());
  r.change.assign(model.size(), 0.0);
  r.lambda.resize(model.size());
  Vec b;
  for (int i : model.order()) graph.belief(static_cast<size_t>(i), r.beliefs[static_cast<size_t>(i)], false);
  while (r.rounds < options.maxRounds) {
    graph.pass(r.rounds % 2 == 0, options.damping);
    ++r.rounds;
    r.maxChange = 0;
    r.inconsistent = false;
    for (int i : model.order()) {
      const auto at = static_cast<size_t>(i);
      r.inconsistent = !graph.belief(at, b, false) || r.inconsistent;
      double change = 0;
      for (size_t s = 0; s < b.size(); ++s) change = std::max(change, std::abs(b[s] - r.beliefs[at][s]));
      r.change[at] = change;
      r.maxChange = std::max(r.maxChange, change);
      r.beliefs[at].swap(b);
    }
    r.converged = r.maxChange < options.tolerance;
    if (r.converged) break;
    const double spent = std::chrono::duration<double>(Clock::now() - start).count();
    if ((options.seconds > 0 && spent >= options.seconds) || (stop && stop())) break;
  }
  for (int i : model.order()) graph.belief(static_cast<size_t>(i), r.lambda[static_cast<size_t>(i)], true);
  return r;
}

}  // namespace quorva
