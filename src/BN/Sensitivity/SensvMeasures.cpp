// The measures of sensitivity to findings, from the beliefs of one pass over the target's states.
#include "BN/Sensitivity/SensvMeasures.h"

#include <algorithm>
#include <cmath>

namespace quorva {

namespace {
// Beliefs are read as floats, good to about 1e-7; measures that are second order in a change of
// belief carry noise below 1e-12 where the true value is 0 (an independent node), and read 0 there.
constexpr double RESOLUTION = 1e-12;
double resolved(double x, double scale = 1.0) { return x < RESOLUTION * scale ? 0.0 : x; }
}  // namespace

double entropyBits(const std::vector<double>& pt) {
  double h = 0;
  for (double p : pt)
    if (p > 0) h -= p * std::log2(p);
  return h;
}

double beliefRatio(const WiggleBeliefs& w, size_t ws, size_t t) {
  const double pw = w.prior[ws];
  return pw > 0 ? w.given[t * w.states + ws] / pw : 1.0;
}

double mutualInfoBits(const std::vector<double>& pt, const WiggleBeliefs& w) {
  double info = 0;
  for (size_t t = 0; t < pt.size(); ++t) {
    if (!(pt[t] > 0)) continue;
    for (size_t ws = 0; ws < w.states; ++ws) {
      const double r = beliefRatio(w, ws, t);
      if (r > 0) info += pt[t] * w.given[t * w.states + ws] * std::log2(r);
    }
  }
  return resolved(info);
}

double beliefGiven(const std::vector<double>& pt, const WiggleBeliefs& w, size_t ws, size_t t) {
  return beliefRatio(w, ws, t) * pt[t];
}

double beliefChangeVariance(const std::vector<double>& pt, const WiggleBeliefs& w, size_t t) {
  double v = 0;
  for (size_t ws = 0; ws < w.states; ++ws) {
    const double change = beliefGiven(pt, w, ws, t) - pt[t];
    v += w.prior[ws] * change * change;
  }
  return v;
}

void beliefRange(const std::vector<double>& pt, const WiggleBeliefs& w, size_t t, double& least, double& most) {
  least = most = pt[t];
  bool first = true;
  for (size_t ws = 0; ws < w.states; ++ws) {
    if (!(w.prior[ws] > 0)) continue;
    const double b = beliefGiven(pt, w, ws, t);
    least = first ? b : std::min(least, b);
    most = first ? b : std::max(most, b);
    first = false;
  }
}

double beliefVariance(const std::vector<double>& pt, const WiggleBeliefs& w) {
  double v = 0;
  for (size_t t = 0; t < pt.size(); ++t) v += beliefChangeVariance(pt, w, t);
  return resolved(v);
}

double realMeanGiven(const std::vector<double>& pt, const std::vector<double>& value, const WiggleBeliefs& w,
                     size_t ws) {
  double mean = 0;
  for (size_t t = 0; t < pt.size(); ++t) mean += beliefGiven(pt, w, ws, t) * value[t];
  return mean;
}

namespace {
double mean(const std::vector<double>& pt, const std::vector<double>& value) {
  double m = 0;
  for (size_t t = 0; t < pt.size(); ++t) m += pt[t] * value[t];
  return m;
}
}  // namespace

double varianceReduction(const std::vector<double>& pt, const std::vector<double>& value, const WiggleBeliefs& w) {
  const double m = mean(pt, value);
  double v = 0;
  for (size_t ws = 0; ws < w.states; ++ws) {
    if (!(w.prior[ws] > 0)) continue;
    const double d = realMeanGiven(pt, value, w, ws) - m;
    v += w.prior[ws] * d * d;
  }
  return resolved(v, valueVariance(pt, value));
}

double valueVariance(const std::vector<double>& pt, const std::vector<double>& value) {
  const double m = mean(pt, value);
  double v = 0;
  for (size_t t = 0; t < pt.size(); ++t) v += pt[t] * (value[t] - m) * (value[t] - m);
  return v;
}

}  // namespace quorva
