// The built-in mathematical, rounding, selection, logical and combinatorial functions.
#include <algorithm>
#include <cmath>

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/factorials.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include "Equation/EqnFuncDefs.h"
#include "Equation/EqnPolicy.h"

namespace quorva::eqnfn {

double logFactorial(double n) { return boost::math::lgamma(n + 1, EqnPolicy()); }

namespace {

using Ctx = EvalContext;

// One-argument functions of the standard library, with their domains.
double fSqrt(const double* a, int, Ctx&) { return a[0] < 0 ? nan() : std::sqrt(a[0]); }
double fExp(const double* a, int, Ctx&) { return std::exp(a[0]); }
double fLog(const double* a, int, Ctx&) { return a[0] <= 0 ? nan() : std::log(a[0]); }
double fLog2(const double* a, int, Ctx&) { return a[0] <= 0 ? nan() : std::log2(a[0]); }
double fLog10(const double* a, int, Ctx&) { return a[0] <= 0 ? nan() : std::log10(a[0]); }
double fSin(const double* a, int, Ctx&) { return std::sin(a[0]); }
double fCos(const double* a, int, Ctx&) { return std::cos(a[0]); }
double fTan(const double* a, int, Ctx&) { return std::tan(a[0]); }
double fAsin(const double* a, int, Ctx&) { return std::fabs(a[0]) > 1 ? nan() : std::asin(a[0]); }
double fAcos(const double* a, int, Ctx&) { return std::fabs(a[0]) > 1 ? nan() : std::acos(a[0]); }
double fAtan(const double* a, int, Ctx&) { return std::atan(a[0]); }
double fAtan2(const double* a, int, Ctx&) { return std::atan2(a[0], a[1]); }
double fSinh(const double* a, int, Ctx&) { return std::sinh(a[0]); }
double fCosh(const double* a, int, Ctx&) { return std::cosh(a[0]); }
double fTanh(const double* a, int, Ctx&) { return std::tanh(a[0]); }

// Rounding.
double fCeil(const double* a, int, Ctx&) { return std::ceil(a[0]); }
double fFloor(const double* a, int, Ctx&) { return std::floor(a[0]); }
double fRound(const double* a, int, Ctx&) { return std::floor(a[0] + 0.5); }
double fInteger(const double* a, int, Ctx&) { return std::trunc(a[0]); }
double fFrac(const double* a, int, Ctx&) { return a[0] - std::trunc(a[0]); }
double fRoundTo(const double* a, int, Ctx&) {
  double step = a[0], x = a[1];
  return step <= 0 ? nan() : std::floor((step * 0.5 + x) / step) * step;
}
double fSign(const double* a, int, Ctx&) { return a[0] > 0 ? 1 : a[0] < 0 ? -1 : 0; }
double fAbs(const double* a, int, Ctx&) { return std::fabs(a[0]); }

// Over all arguments.
double fMin(const double* a, int n, Ctx&) { return n == 0 ? nan() : *std::min_element(a, a + n); }
double fMax(const double* a, int n, Ctx&) { return n == 0 ? nan() : *std::max_element(a, a + n); }
double fArgMin0(const double* a, int n, Ctx&) {
  return n == 0 ? nan() : static_cast<double>(std::min_element(a, a + n) - a);
}
double fArgMax0(const double* a, int n, Ctx&) {
  return n == 0 ? nan() : static_cast<double>(std::max_element(a, a + n) - a);
}
double fArgMin1(const double* a, int n, Ctx& c) { return fArgMin0(a, n, c) + 1; }
double fArgMax1(const double* a, int n, Ctx& c) { return fArgMax0(a, n, c) + 1; }
double fAvg(const double* a, int n, Ctx&) {
  if (n == 0) return nan();
  double s = 0;
  for (int i = 0; i < n; ++i) s += a[i];
  return s / n;
}
double fMag(const double* a, int n, Ctx&) {
  double s = 0;
  for (int i = 0; i < n; ++i) s += a[i] * a[i];
  return std::sqrt(s);
}

// The position among a[1..n-1] of the value nearest a[0], or -1 when there is none.
int nearestIndex(const double* a, int n) {
  if (n < 2) return -1;
  int best = 1;
  for (int i = 2; i < n; ++i)
    if (std::fabs(a[i] - a[0]) < std::fabs(a[best] - a[0])) best = i;
  return best - 1;
}
// Equal within a ratio: same sign and min/max of magnitudes at least `ratio`, or both 0.
bool nearlyEqual(double x, double y, double ratio) {
  if (x == y) return true;
  if ((x < 0) != (y < 0)) return false;
  x = std::fabs(x), y = std::fabs(y);
  return std::min(x, y) / std::max(x, y) >= ratio;
}
double fNearest0(const double* a, int n, Ctx&) {
  int i = nearestIndex(a, n);
  return i < 0 ? nan() : i;
}
double fNearest1(const double* a, int n, Ctx& c) { return fNearest0(a, n, c) + 1; }
double fFind0(const double* a, int n, Ctx&) {
  int i = nearestIndex(a, n);
  if (i < 0 || !nearlyEqual(a[0], a[i + 1], 0.99999)) return nan();
  return i;
}
double fMember(const double* a, int n, Ctx&) {
  for (int i = 1; i < n; ++i)
    if (nearlyEqual(a[0], a[i], 0.99999999)) return 1;
  return 0;
}
double fDiscretize(const double* a, int n, Ctx&) {
  if (n == 0) return nan();
  int count = 0;
  for (int i = 1; i < n && a[i] <= a[0]; ++i) ++count;
  return count;
}
double fSelect0(const double* a, int n, Ctx&) {
  if (n == 0) return nan();
  double i = a[0];
  return (!isWhole(i) || i < 0 || i >= n - 1) ? nan() : a[static_cast<int>(i) + 1];
}
double fSelect1(const double* a, int n, Ctx&) {
  if (n == 0) return nan();
  double i = a[0];
  return (!isWhole(i) || i < 1 || i > n - 1) ? nan() : a[static_cast<int>(i)];
}
double fClip(const double* a, int, Ctx&) {
  return a[0] > a[1] ? nan() : std::clamp(a[2], a[0], a[1]);
}
double fRect(const double* a, int, Ctx&) {
  return a[1] > a[2] ? nan() : (a[1] <= a[0] && a[0] <= a[2]) ? 1 : 0;
}
double fAsState(const double*, int, Ctx&) { return nan(); }  // the evaluator reports it
double fIncreasing(const double* a, int n, Ctx&) {
  for (int i = 1; i < n; ++i)
    if (!(a[i] > a[i - 1]) || nearlyEqual(a[i], a[i - 1], 0.99998)) return 0;
  return 1;
}
double fNondecreasing(const double* a, int n, Ctx&) {
  for (int i = 1; i < n; ++i)
    if (a[i] < a[i - 1] && !nearlyEqual(a[i], a[i - 1], 0.99998)) return 0;
  return 1;
}
double fEqNear(const double* a, int, Ctx&) { return nearlyEqual(a[1], a[2], 1 - a[0]) ? 1 : 0; }

// Truth values.
double fNot(const double* a, int, Ctx&) { return a[0] == 0 ? 1 : 0; }
int countTrue(const double* a, int n) {
  return static_cast<int>(std::count_if(a, a + n, [](double x) { return truth(x); }));
}
double fXor(const double* a, int n, Ctx&) { return countTrue(a, n) % 2; }
double fExactlyOne(const double* a, int n, Ctx&) { return countTrue(a, n) == 1 ? 1 : 0; }
double fNumberTrue(const double* a, int n, Ctx&) { return countTrue(a, n); }
double fAllUnique(const double* a, int n, Ctx&) {
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j)
      if (a[i] == a[j]) return 0;
  return 1;
}

// Special functions and counting.
double fFactorial(const double* a, int, Ctx&) {
  double n = a[0];
  if (!isWhole(n) || n < 0) return nan();
  if (n > boost::math::max_factorial<double>::value) return HUGE_VAL;
  return boost::math::unchecked_factorial<double>(static_cast<unsigned>(n));
}
double fLogFactorial(const double* a, int, Ctx&) {
  return (!isWhole(a[0]) || a[0] < 0) ? nan() : logFactorial(a[0]);
}
double fGamma(const double* a, int, Ctx&) { return boost::math::tgamma(a[0], EqnPolicy()); }
double fLogGamma(const double* a, int, Ctx&) { return boost::math::lgamma(a[0], EqnPolicy()); }
double fBeta(const double* a, int, Ctx&) { return boost::math::beta(a[0], a[1], EqnPolicy()); }
double fErf(const double* a, int, Ctx&) { return boost::math::erf(a[0], EqnPolicy()); }
double fErfc(const double* a, int, Ctx&) { return boost::math::erfc(a[0], EqnPolicy()); }
double fLogit(const double* a, int, Ctx&) {
  double p = a[0];
  return (p <= 0 || p >= 1) ? nan() : std::log(p / (1 - p));
}
double fLogistic(const double* a, int, Ctx&) { return a[0] < -700 ? 0 : 1 / (1 + std::exp(-a[0])); }
double fBinomial(const double* a, int, Ctx&) {
  double n = a[0], k = a[1];
  if (!isWhole(n) || !isWhole(k) || k < 0 || k > n) return nan();
  if (n <= 150) {
    auto f = [](double v) { return boost::math::unchecked_factorial<double>(static_cast<unsigned>(v)); };
    return std::round(f(n) / (f(k) * f(n - k)));
  }
  return std::round(std::exp(logFactorial(n) - logFactorial(k) - logFactorial(n - k)));
}
double fMultinomial(const double* a, int n, Ctx&) {
  double total = 0, logDen = 0;
  for (int i = 0; i < n; ++i) {
    if (!isWhole(a[i]) || a[i] < 0) return nan();
    total += a[i];
    logDen += logFactorial(a[i]);
  }
  return std::round(std::exp(logFactorial(total) - logDen));
}

constexpr T B = T::Boolean, N = T::Numeric, R = T::Real, I = T::Integer, A = T::Any, S = T::State;
constexpr int V = VARIABLE_ARGS;

constexpr EqnFunc functions[] = {
    fn("_not", 1, B, B, B, fNot),
    fn("sqrt", 1, R, R, R, fSqrt),
    fn("exp", 1, R, R, R, fExp),
    fn("log", 1, R, R, R, fLog),
    fn("log2", 1, R, R, R, fLog2),
    fn("log10", 1, R, R, R, fLog10),
    fn("sin", 1, R, R, R, fSin),
    fn("cos", 1, R, R, R, fCos),
    fn("tan", 1, R, R, R, fTan),
    fn("asin", 1, R, R, R, fAsin),
    fn("acos", 1, R, R, R, fAcos),
    fn("atan", 1, R, R, R, fAtan),
    fn("atan2", 2, R, R, R, fAtan2),
    fn("sinh", 1, R, R, R, fSinh),
    fn("cosh", 1, R, R, R, fCosh),
    fn("tanh", 1, R, R, R, fTanh),
    fn("ceil", 1, I, R, R, fCeil),
    fn("ceiling", 1, I, R, R, fCeil),
    fn("floor", 1, I, R, R, fFloor),
    fn("round", 1, I, R, R, fRound),
    fn("integer", 1, I, R, R, fInteger),
    fn("frac", 1, R, R, R, fFrac),
    fn("roundto", 2, R, R, R, fRoundTo),
    fn("sign", 1, I, R, R, fSign),
    fn("abs", 1, N, N, N, fAbs),
    fn("min", V, N, N, N, fMin),
    fn("max", V, N, N, N, fMax),
    fn("argmin0", V, I, R, R, fArgMin0),
    fn("argmax0", V, I, R, R, fArgMax0),
    fn("argmin1", V, I, R, R, fArgMin1),
    fn("argmax1", V, I, R, R, fArgMax1),
    fn("nearest0", V, I, N, N, fNearest0, SPECIAL_NEAREST0),
    fn("nearest1", V, I, N, N, fNearest1, SPECIAL_NEAREST1),
    fn("_find0", V, I, N, N, fFind0, SPECIAL_NEAREST0),
    fn("member", V, B, A, A, fMember, SPECIAL_MEMBER),
    fn("discretize", V, I, N, N, fDiscretize, SPECIAL_DISCRETIZE),
    fn("_discretize", V, I, N, N, fDiscretize, SPECIAL_DISCRETIZE),
    fn("select0", V, A, I, A, fSelect0, SPECIAL_SELECT0),
    fn("_select0", V, A, I, A, fSelect0, SPECIAL_SELECT0),
    fn("_levels", V, A, I, A, fSelect0, SPECIAL_SELECT0),
    fn("select1", V, A, I, A, fSelect1, SPECIAL_SELECT1),
    fn("avg", V, N, N, N, fAvg),
    fn("mag", V, N, N, N, fMag),
    fn("clip", 3, N, N, N, fClip),
    fn("rect", 3, N, N, N, fRect),
    fn("AsState", 1, S, N, N, fAsState, SPECIAL_AS_STATE),
    fn("increasing", V, B, R, R, fIncreasing, SPECIAL_INCREASING),
    fn("increasing_eq", V, B, R, R, fNondecreasing, SPECIAL_NONDECREASING),
    fn("nondecreasing", V, B, R, R, fNondecreasing, SPECIAL_NONDECREASING),
    fn("eqnear", 3, B, R, R, fEqNear),
    fn("xor", V, B, B, B, fXor),
    fn("factorial", 1, I, I, I, fFactorial),
    fn("logfactorial", 1, R, I, I, fLogFactorial),
    fn("gamma", 1, R, R, R, fGamma),
    fn("loggamma", 1, R, R, R, fLogGamma),
    fn("beta", 2, R, R, R, fBeta),
    fn("erf", 1, R, R, R, fErf),
    fn("erfc", 1, R, R, R, fErfc),
    fn("logit", 1, R, R, R, fLogit),
    fn("logistic", 1, R, R, R, fLogistic),
    fn("binomial", 2, I, I, I, fBinomial),
    fn("multinomial", V, I, I, I, fMultinomial),
    fn("ExactlyOneTrue", V, B, B, B, fExactlyOne),
    fn("NumberTrue", V, I, B, B, fNumberTrue),
    fn("AllUnique", V, B, A, A, fAllUnique),
};

}  // namespace

std::span<const EqnFunc> mathSection() { return functions; }

}  // namespace quorva::eqnfn
