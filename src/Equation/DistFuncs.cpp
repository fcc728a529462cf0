// The probability distributions of equations: densities and cumulative routines of the
// continuous ones, and the probabilities of the discrete ones.  Parameter conventions (those of
// the usual statistics texts) are listed in include/Quorva.h beside the equation functions.
//
// Every routine checks its parameters first (outside their domain: the invalid result), then the
// value (outside the support: 0).
#include <algorithm>
#include <cmath>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/cauchy.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/exponential.hpp>
#include <boost/math/distributions/extreme_value.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/laplace.hpp>
#include <boost/math/distributions/logistic.hpp>
#include <boost/math/distributions/lognormal.hpp>
#include <boost/math/distributions/negative_binomial.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/pareto.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/distributions/triangular.hpp>
#include <boost/math/distributions/uniform.hpp>
#include <boost/math/distributions/weibull.hpp>
#include <boost/math/special_functions/erf.hpp>

#include "Basic/Raise.h"
#include "Equation/EqnErrors.h"
#include "Equation/EqnFuncDefs.h"
#include "Equation/EqnPolicy.h"

namespace quorva::eqnfn {
namespace {

namespace bm = boost::math;
using P = EqnPolicy;
using Ctx = EvalContext;

bool positive(double v) { return std::isfinite(v) && v > 0; }
bool finite(double v) { return std::isfinite(v); }
bool probability(double p) { return p >= 0 && p <= 1; }

template <class D>
double pdfIn(const D& d, double x) {
  if (x != x) return nan();
  auto [lo, hi] = bm::support(d);
  if (!std::isfinite(x) || x < lo || x > hi) return 0;
  return bm::pdf(d, x);
}
template <class D>
double cdfIn(const D& d, double x) {
  if (x != x) return nan();
  auto [lo, hi] = bm::support(d);
  if (x <= lo) return 0;
  if (x >= hi) return 1;
  return bm::cdf(d, x);
}

// One continuous family: `Make` builds the distribution from a, `valid` checks a.
#define CONTINUOUS(Name, valid, make)                                                 \
  double Name##Pdf(const double* a, int, Ctx&) { return (valid) ? pdfIn(make, a[0]) : nan(); } \
  double Name##Cdf(const double* a, int) { return (valid) ? cdfIn(make, a[0]) : nan(); }

CONTINUOUS(uniform, finite(a[1]) && finite(a[2]) && a[1] < a[2], (bm::uniform_distribution<double, P>(a[1], a[2])))
CONTINUOUS(triangular, finite(a[1]) && positive(a[2]),
           (bm::triangular_distribution<double, P>(a[1] - a[2], a[1], a[1] + a[2])))
CONTINUOUS(triangular3, finite(a[1]) && finite(a[3]) && a[1] <= a[2] && a[2] <= a[3] && a[1] < a[3],
           (bm::triangular_distribution<double, P>(a[1], a[2], a[3])))
// One end, the mode and the mean: the other end is 3 mean - end - mode, on either side of the
// given end (a mode at the given end makes a right-angled triangle).  x, end, mode, mean.
bool triangularEndParams(const double* a, double* lmh) {
  double end = a[1], mode = a[2], other = 3 * a[3] - end - mode;
  double lo = std::min(end, other), hi = std::max(end, other);
  if (!finite(lo) || !finite(hi) || !(lo <= mode && mode <= hi && lo < hi)) return false;
  lmh[0] = lo, lmh[1] = mode, lmh[2] = hi;
  return true;
}
double triangularEnd3Pdf(const double* a, int, Ctx&) {
  double t[3];
  if (!triangularEndParams(a, t)) return nan();
  return pdfIn(bm::triangular_distribution<double, P>(t[0], t[1], t[2]), a[0]);
}
double triangularEnd3Cdf(const double* a, int) {
  double t[3];
  if (!triangularEndParams(a, t)) return nan();
  return cdfIn(bm::triangular_distribution<double, P>(t[0], t[1], t[2]), a[0]);
}
double normalPdf(const double* a, int, Ctx&) { return normalDensity(a[0], a[1], a[2]); }
double normalCdf(const double* a, int) {
  if (!finite(a[1]) || !positive(a[2])) return nan();
  return cdfIn(bm::normal_distribution<double, P>(a[1], a[2]), a[0]);
}
CONTINUOUS(lognormal, finite(a[1]) && positive(a[2]), (bm::lognormal_distribution<double, P>(a[1], a[2])))
CONTINUOUS(gamma, positive(a[1]) && positive(a[2]), (bm::gamma_distribution<double, P>(a[1], a[2])))
CONTINUOUS(weibull, positive(a[1]) && positive(a[2]), (bm::weibull_distribution<double, P>(a[1], a[2])))
CONTINUOUS(beta, positive(a[1]) && positive(a[2]), (bm::beta_distribution<double, P>(a[1], a[2])))
CONTINUOUS(exponential, positive(a[1]), (bm::exponential_distribution<double, P>(a[1])))
CONTINUOUS(laplace, finite(a[1]) && positive(a[2]), (bm::laplace_distribution<double, P>(a[1], a[2])))
CONTINUOUS(logistic, finite(a[1]) && positive(a[2]), (bm::logistic_distribution<double, P>(a[1], a[2])))
CONTINUOUS(extremeValue, finite(a[1]) && positive(a[2]),
           (bm::extreme_value_distribution<double, P>(a[1], a[2])))
CONTINUOUS(pareto, positive(a[1]) && positive(a[2]), (bm::pareto_distribution<double, P>(a[1], a[2])))
CONTINUOUS(cauchy, finite(a[1]) && positive(a[2]), (bm::cauchy_distribution<double, P>(a[1], a[2])))
CONTINUOUS(chiSquare, positive(a[1]), (bm::chi_squared_distribution<double, P>(a[1])))
CONTINUOUS(studentT, positive(a[1]), (bm::students_t_distribution<double, P>(a[1])))
CONTINUOUS(fisherF, positive(a[1]) && positive(a[2]), (bm::fisher_f_distribution<double, P>(a[1], a[2])))
#undef CONTINUOUS

// Beta on [lo, hi]: x, alpha, beta, lo, hi.
bool beta4Valid(const double* a) { return positive(a[1]) && positive(a[2]) && finite(a[3]) && finite(a[4]) && a[3] < a[4]; }
double beta4Pdf(const double* a, int, Ctx&) {
  if (!beta4Valid(a)) return nan();
  double w = a[4] - a[3];
  return pdfIn(bm::beta_distribution<double, P>(a[1], a[2]), (a[0] - a[3]) / w) / w;
}
double beta4Cdf(const double* a, int) {
  if (!beta4Valid(a)) return nan();
  return cdfIn(bm::beta_distribution<double, P>(a[1], a[2]), (a[0] - a[3]) / (a[4] - a[3]));
}
// PERT: x, low, mode, high; a beta on [low, high] with alpha = 1 + 4 (mode - low) / (high - low)
// and beta = 1 + 4 (high - mode) / (high - low).
bool pertParams(const double* a, double* b4) {
  double lo = a[1], mode = a[2], hi = a[3];
  if (!finite(lo) || !finite(hi) || !(lo <= mode && mode <= hi && lo < hi)) return false;
  b4[0] = a[0], b4[1] = 1 + 4 * (mode - lo) / (hi - lo), b4[2] = 1 + 4 * (hi - mode) / (hi - lo);
  b4[3] = lo, b4[4] = hi;
  return true;
}
double pertPdf(const double* a, int n, Ctx& c) {
  double b[5];
  return pertParams(a, b) ? beta4Pdf(b, n, c) : nan();
}
double pertCdf(const double* a, int n) {
  double b[5];
  return pertParams(a, b) ? beta4Cdf(b, n) : nan();
}
// Levy: x, location mu, scale c; density sqrt(c / 2 pi) e^(-c / 2 (x - mu)) / (x - mu)^1.5.
double levyPdf(const double* a, int, Ctx&) {
  if (!finite(a[1]) || !positive(a[2])) return nan();
  double d = a[0] - a[1], c = a[2];
  if (!(d > 0) || !std::isfinite(d)) return 0;
  return std::sqrt(c / (2 * M_PI)) * std::exp(-c / (2 * d)) / std::pow(d, 1.5);
}
double levyCdf(const double* a, int) {
  if (!finite(a[1]) || !positive(a[2])) return nan();
  double d = a[0] - a[1];
  if (!(d > 0)) return 0;
  return bm::erfc(std::sqrt(a[2] / (2 * d)), P());
}

// Discrete distributions: the probability of the whole number x.
double singlePdf(const double* a, int, Ctx&) { return isWhole(a[0]) && a[0] == a[1] ? 1 : 0; }
double singleCdf(const double* a, int) { return std::floor(a[0]) >= a[1] ? 1 : 0; }
double bernoulli(const double* a, int, Ctx&) {
  if (!probability(a[1])) return nan();
  return a[0] == 1 ? a[1] : a[0] == 0 ? 1 - a[1] : 0;
}
double discUniform(const double* a, int, Ctx&) {
  double lo = a[1], hi = a[2];
  if (!isWhole(lo) || !isWhole(hi) || hi < lo) return nan();
  return isWhole(a[0]) && lo <= a[0] && a[0] <= hi ? 1 / (hi - lo + 1) : 0;
}
double logChoose(double n, double k) { return logFactorial(n) - logFactorial(k) - logFactorial(n - k); }
double binomialDist(const double* a, int, Ctx&) {
  double x = a[0], n = a[1], p = a[2];
  if (!isWhole(n) || n < 0 || !probability(p)) return nan();
  if (!isWhole(x) || x < 0 || x > n) return 0;
  if ((p == 0 && x == 0) || (p == 1 && x == n)) return 1;
  if (p == 0 || p == 1) return 0;
  double lc = logChoose(n, x);
  if (lc < 34.53877639491069) lc = std::log(std::round(std::exp(lc)));
  return std::exp(lc + x * std::log(p) + (n - x) * std::log1p(-p));
}
double poisson(const double* a, int, Ctx&) {
  double x = a[0], lambda = a[1];
  if (!positive(lambda)) return nan();
  if (!isWhole(x) || x < 0) return 0;
  return std::exp(x * std::log(lambda) - lambda - logFactorial(x));
}
// x successes in n draws without replacement from N items of which K are successes: x, N, K, n.
double hypergeometric(const double* a, int, Ctx&) {
  double x = a[0], total = a[1], good = a[2], draws = a[3];
  if (!isWhole(total) || !isWhole(good) || !isWhole(draws) || total < 0 || good < 0 ||
      good > total || draws < 0 || draws > total)
    return nan();
  if (!isWhole(x) || x < 0 || x > good || x > draws || draws - x > total - good) return 0;
  return std::exp(logChoose(good, x) + logChoose(total - good, draws - x) - logChoose(total, draws));
}
// x failures before the r-th success, success probability p: x, r, p.
double negBinomial(const double* a, int, Ctx&) {
  double x = a[0], r = a[1], p = a[2];
  if (!positive(r) || !(p > 0 && p <= 1)) return nan();
  if (!isWhole(x) || x < 0) return 0;
  return bm::pdf(bm::negative_binomial_distribution<double, P>(r, p), x);
}
// x failures before the first success: p (1 - p)^x.
double geometric(const double* a, int, Ctx&) {
  double x = a[0], p = a[1];
  if (!(p > 0 && p <= 1)) return nan();
  if (!isWhole(x) || x < 0) return 0;
  return p * std::pow(1 - p, x);
}
// Logarithmic series: -p^x / (x log(1 - p)) for x = 1, 2, ...
double logarithmic(const double* a, int, Ctx&) {
  double x = a[0], p = a[1];
  if (!(p > 0 && p < 1)) return nan();
  if (!isWhole(x) || x < 1) return 0;
  return -std::pow(p, x) / (x * std::log1p(-p));
}
// n, k1, p1, k2, p2, ...: the probability of the counts k (which must sum to n) when each draw
// falls in class i with probability p_i (the p are normalised to sum 1).
double multinomialDist(const double* a, int n, Ctx& c) {
  if (n < 4) return argFault(c, err::MultinomialFewArgs, n);
  if (n % 2 == 0) return argFault(c, err::MultinomialOddArgs, n - 1);
  if (a[0] < 0) return argFault(c, err::MultinomialNNegative, a[0]);
  if (!isWhole(a[0])) return argFault(c, err::MultinomialNWhole, a[0]);
  double sumK = 0, sumP = 0, logP = logFactorial(a[0]);
  for (int i = 1, j = 1; i + 1 < n; i += 2, ++j) {
    double k = a[i], p = a[i + 1];
    if (k < 0) return argFault(c, err::MultinomialKNegative, j, k);
    if (!isWhole(k)) return argFault(c, err::MultinomialKWhole, j, k);
    if (!(p >= 0)) return argFault(c, err::MultinomialPNegative, j, p);
    sumK += k, sumP += p;
    if (k > 0) logP += k * std::log(p) - logFactorial(k);
  }
  if (sumK != a[0] || !(sumP > 0)) return 0;
  return std::exp(logP - a[0] * std::log(sumP));
}

constexpr T R = T::Real;
constexpr EqnFunc distributions[] = {
    dist("UniformDist", 3, uniformPdf, uniformCdf),
    dist("TriangularDist", 3, triangularPdf, triangularCdf),
    dist("Triangular3Dist", 4, triangular3Pdf, triangular3Cdf),
    dist("TriangularEnd3Dist", 4, triangularEnd3Pdf, triangularEnd3Cdf),
    dist("NormalDist", 3, normalPdf, normalCdf),
    dist("LognormalDist", 3, lognormalPdf, lognormalCdf),
    dist("GammaDist", 3, gammaPdf, gammaCdf),
    dist("WeibullDist", 3, weibullPdf, weibullCdf),
    dist("BetaDist", 3, betaPdf, betaCdf),
    dist("Beta4Dist", 5, beta4Pdf, beta4Cdf),
    dist("BetaPertDist", 4, pertPdf, pertCdf),
    dist("ExponentialDist", 2, exponentialPdf, exponentialCdf),
    dist("LaplaceDist", 3, laplacePdf, laplaceCdf),
    dist("LogisticDist", 3, logisticPdf, logisticCdf),
    dist("ExtremeValueDist", 3, extremeValuePdf, extremeValueCdf),
    dist("ParetoDist", 3, paretoPdf, paretoCdf),
    dist("LevyDist", 3, levyPdf, levyCdf),
    dist("CauchyDist", 3, cauchyPdf, cauchyCdf),
    dist("ChiSquareDist", 2, chiSquarePdf, chiSquareCdf),
    dist("StudentTDist", 2, studentTPdf, studentTCdf),
    dist("FDist", 3, fisherFPdf, fisherFCdf),
    dist("SingleDist", 2, singlePdf, singleCdf),
    fn("BernoulliDist", 2, R, R, R, bernoulli),
    fn("_BernoulliDist", 2, R, R, R, bernoulli),
    fn("DiscUniformDist", 3, R, R, R, discUniform),
    fn("BinomialDist", 3, R, R, R, binomialDist),
    fn("PoissonDist", 2, R, R, R, poisson),
    fn("HypergeometricDist", 4, R, R, R, hypergeometric),
    fn("NegBinomialDist", 3, R, R, R, negBinomial),
    fn("GeometricDist", 2, R, R, R, geometric),
    fn("LogarithmicDist", 2, R, R, R, logarithmic),
    fn("MultinomialDist", VARIABLE_ARGS, R, R, R, multinomialDist),
};

}  // namespace

std::span<const EqnFunc> distributionSection() { return distributions; }

}  // namespace quorva::eqnfn
