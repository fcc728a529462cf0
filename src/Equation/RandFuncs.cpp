// The randomized functions: each evaluation draws from the evaluation's random generator.
#include <cmath>

#include "Basic/RandomGen.h"
#include "Equation/EqnFuncDefs.h"

namespace quorva::eqnfn {
namespace {

using Ctx = EvalContext;

double uniformRand(const double* a, int, Ctx& c) {
  double lo = a[0], hi = a[1];
  if (!c.rng || !(lo <= hi)) return nan();
  return lo == hi ? lo : lo + c.rng->uniform() * (hi - lo);
}
double normalRand(const double* a, int, Ctx& c) {
  double mean = a[0], sd = a[1];
  if (!c.rng || !(sd >= 0)) return nan();
  return sd == 0 ? mean : mean + sd * c.rng->normal();
}
double bernoulliRand(const double* a, int, Ctx& c) {
  if (!c.rng || !(a[0] >= 0)) return nan();
  return a[0] >= c.rng->uniform() ? 1 : 0;
}
// A whole number from lo to hi inclusive, each equally likely (whole lo <= hi, at most 2^32 apart).
double discUniformRand(const double* a, int, Ctx& c) {
  double lo = a[0], hi = a[1];
  if (!c.rng || !isWhole(lo) || !isWhole(hi) || hi < lo || hi - lo >= 4294967295.0) return nan();
  return lo + c.rng->below(static_cast<uint32_t>(hi - lo + 1));
}

constexpr EqnFunc randoms[] = {
    rand("UniformRand", 2, T::Real, uniformRand),
    rand("NormalRand", 2, T::Real, normalRand),
    rand("BernoulliRand", 1, T::Boolean, bernoulliRand),
    rand("DiscUniformRand", 2, T::Integer, discUniformRand),
};

}  // namespace

std::span<const EqnFunc> randomSection() { return randoms; }

}  // namespace quorva::eqnfn
