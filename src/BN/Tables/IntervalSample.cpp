// Drawing values inside discretization intervals.
#include "BN/Tables/IntervalSample.h"

#include <cmath>

#include "Basic/RandomGen.h"

namespace quorva {

namespace {
// u in (0, 1]: 0 becomes 1 where a logarithm is taken.
double openUniform(RandomGen& rng) {
  double u = rng.uniform();
  return u == 0 ? 1.0 : u;
}
}  // namespace

double sampleInInterval(const std::vector<double>& bounds, int i, RandomGen& rng, double* weight) {
  const double lo = bounds[i], hi = bounds[i + 1];
  const bool loInf = std::isinf(lo), hiInf = std::isinf(hi);
  if (!loInf && !hiInf) {
    *weight = std::fabs(hi - lo);
    return lo + rng.uniform() * (hi - lo);
  }
  const double dir = hi > lo ? 1.0 : -1.0;  // +1 for increasing bounds
  if (loInf && hiInf) {
    const bool right = rng.uniform() < 0.5;
    const double u = openUniform(rng);
    *weight = 2.0 / u;  // each side drawn half the time
    return right ? -std::log(u) : std::log(u);
  }
  const double u = openUniform(rng);
  double w;
  if (hiInf) {
    w = i > 0 ? lo - bounds[i - 1] : dir;
    if (w == 0 || std::isinf(w)) w = dir;
    *weight = std::fabs(w) / u;
    return lo - std::log(u) * w;
  }
  w = i + 2 < static_cast<int>(bounds.size()) ? hi - bounds[i + 2] : -dir;
  if (w == 0 || std::isinf(w)) w = -dir;
  *weight = std::fabs(w) / u;
  return hi - std::log(u) * w;
}

int intervalOf(const std::vector<double>& bounds, double x) {
  const int n = static_cast<int>(bounds.size()) - 1;
  if (n < 1 || x != x) return -1;
  const bool up = bounds[n] >= bounds[0];
  for (int i = 0; i < n; ++i) {
    const double lo = up ? bounds[i] : bounds[i + 1], hi = up ? bounds[i + 1] : bounds[i];
    const bool last = up ? i == n - 1 : i == 0;
    if (x >= lo && (x < hi || (last && x == hi))) return i;
  }
  return -1;
}

}  // namespace quorva
