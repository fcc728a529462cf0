// Helpers for writing the sections of the built-in function table.  Each section (operators,
// mathematical functions, distributions, randomized functions) is an array of EqnFunc records
// defined in its own file; EqnFuncTable.cpp joins them once into the one table.
#pragma once
#include <cmath>
#include <span>
#include <string>

#include "Basic/Raise.h"
#include "Equation/EqnErrors.h"
#include "Equation/EqnFunc.h"

namespace quorva {
// "first" ... "sixth", then "7th" and so on (EqnParser.cpp).
std::string ordinalWord(int n);
}  // namespace quorva

namespace quorva::eqnfn {

using T = EqnType;

// A plain function.
constexpr EqnFunc fn(const char* name, int n, T result, T first, T rest, EqnEvalFn eval,
                     uint8_t special = SPECIAL_NONE) {
  return EqnFunc{name, n, result, first, rest, "", "", 0, true, false, false, false, special,
                 eval, nullptr, false};
}
// A continuous distribution: x and n - 1 real parameters, a density and a cumulative routine.
constexpr EqnFunc dist(const char* name, int n, EqnEvalFn density, EqnCdfFn cdf) {
  return EqnFunc{name, n, T::Real, T::Real, T::Real, "", "", 0, true, false, false, false,
                 SPECIAL_NONE, density, cdf, false};
}
// A randomized function (its name ends in "Rand").
constexpr EqnFunc rand(const char* name, int n, T result, EqnEvalFn eval) {
  return EqnFunc{name, n, result, T::Real, T::Real, "", "", 0, true, false, false, false,
                 SPECIAL_NONE, eval, nullptr, true};
}

// The same record with arguments of mixed kinds (a variable's states beside probabilities).
constexpr EqnFunc mixed(EqnFunc f) {
  f.mixedArgs = true;
  return f;
}

// True where a boolean is asked for: any value other than 0.
inline bool truth(double x) { return x != 0; }
inline bool isWhole(double x) { return std::isfinite(x) && x == std::floor(x); }
inline double nan() { return eqnInvalid(); }

// The normal density (sd > 0 and a finite mean, else the invalid result), in closed form: it is
// the density evaluated most, once per table row and sample.
inline double normalDensity(double x, double mean, double sd) {
  if (!std::isfinite(mean) || !(sd > 0) || !std::isfinite(sd) || x != x) return nan();
  double inv = 1 / sd;  // one division
  double z = (x - mean) * inv;
  return std::exp(-0.5 * z * z) * inv * 0.3989422804014327;  // 1 / sqrt (2 pi)
}

// The sections.
std::span<const EqnFunc> operatorSection();
std::span<const EqnFunc> mathSection();
std::span<const EqnFunc> distributionSection();
std::span<const EqnFunc> noisySection();
std::span<const EqnFunc> randomSection();

// How far the sum of a probability vector may be from 1 (or above 1) before it is refused.
inline constexpr double PROB_SUM_TOLERANCE = 1e-5;

// Records a fault in a function's arguments and gives the invalid result (the evaluator then adds
// its own "error evaluating function").
template <class... A>
double argFault(EvalContext& c, ErrDef d, const A&... args) {
  if (c.env) raiseRecord(c.env, SOUND_AND_PRINTED, ERROR_SEV, 0, -d.number, format(d.text, args...));
  return nan();
}

// Shared by sections: the natural logarithm of n! for whole n >= 0.
double logFactorial(double n);

}  // namespace quorva::eqnfn
