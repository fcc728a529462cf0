// The evaluator and the built-in functions, against values worked out another way: closed forms
// computed here with the standard library, published table values, and the rules' own examples.
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

#include "Basic/RandomGen.h"
#include "EqnFixture.h"

using namespace quorva;

namespace {

constexpr double PI = std::numbers::pi;
const double INF = std::numeric_limits<double>::infinity();

class EvalTest : public EqnTest {
 protected:
  // The value of `expr` over a, b, c, d (continuous), A (red, green, blue) and N (4 states).
  double value(const std::string& expr, std::vector<double> vals = {}) {
    eq = parse("Flag (a, b, c, d, A, N) = " + expr, "Flag");
    vals.resize(7, 0);
    EvalContext ctx{&env, rng};
    return evalEquation(*eq, vals.data(), ctx);
  }
  std::unique_ptr<Equation> eq;
  RandomGen* rng = nullptr;
};

struct ValueCase {
  const char* expr;
  std::vector<double> vals;
  double expected;
};

// The rules' own examples and exact values.
const ValueCase exact[] = {
    {"0 / 0", {}, 0},
    {"a * Infinity", {0}, 0},
    {"-7 %% 3", {}, 2},
    {"-7 % 3", {}, -1},
    {"mod (5, 0)", {}, 0},
    {"rem (5, 0)", {}, 0},
    {"round (-2.5)", {}, -2},
    {"integer (-2.5)", {}, -2},
    {"frac (-2.5)", {}, -0.5},
    {"ceil (a) + ceiling (a) + floor (a)", {1.5}, 5},
    {"roundto (0.25, 1.3)", {}, 1.25},
    {"sign (a)", {-4}, -1},
    {"abs (a)", {-4}, 4},
    {"argmin0 (3, 1, 1)", {}, 1},
    {"argmin1 (3, 1, 1)", {}, 2},
    {"argmax0 (3, 7, 7)", {}, 1},
    {"argmax1 (3, 7, 7)", {}, 2},
    {"discretize (5, 1, 3, 7)", {}, 2},
    {"discretize (0, 1, 3, 7)", {}, 0},
    {"discretize (9, 1, 3, 7)", {}, 3},
    {"discretize (9)", {}, 0},
    {"select0 (2, 10, 20, 30)", {}, 30},
    {"select1 (2, 10, 20, 30)", {}, 20},
    {"nearest0 (a, 10, 20, 30)", {24}, 1},
    {"nearest1 (a, 10, 20, 30)", {26}, 3},
    {"_find0 (a, 10, 20, 30)", {20.0001}, 1},
    {"member (a, 1, 2, 3)", {2}, 1},
    {"member (a, 1, 2, 3)", {2.5}, 0},
    {"member (A, red, blue)", {0, 0, 0, 0, 2}, 1},
    {"avg (1, 2, 6)", {}, 3},
    {"mag (3, 4)", {}, 5},
    {"min (4, 2, 8) + max (4, 2, 8)", {}, 10},
    {"clip (0, 1, a)", {1.5}, 1},
    {"rect (a, 0, 1)", {0.5}, 1},
    {"increasing (1, 2, 3)", {}, 1},
    {"increasing (1, 2, 2)", {}, 0},
    {"nondecreasing (1, 2, 2)", {}, 1},
    {"increasing_eq (1, 3, 2)", {}, 0},
    {"eqnear (0.1, 1, 1.05)", {}, 1},
    {"eqnear (0.01, 1, 1.05)", {}, 0},
    {"a ~= b", {1, 1.00001}, 1},
    {"a ~= b", {1, 1.001}, 0},
    {"xor (true, true, true)", {}, 1},
    {"ExactlyOneTrue (true, false, false)", {}, 1},
    {"NumberTrue (true, false, true)", {}, 2},
    {"AllUnique (1, 2, 1)", {}, 0},
    {"factorial (5)", {}, 120},
    {"binomial (5, 2)", {}, 10},
    {"multinomial (1, 2, 3)", {}, 60},
    {"2 ^ 3 ^ 2", {}, 512},
    {"a - b - c", {10, 3, 2}, 5},
    {"plus () + mult ()", {}, 1},
    {"A == blue", {0, 0, 0, 0, 2}, 1},
    {"N == #3", {0, 0, 0, 0, 0, 3}, 1},
    {"a > 1 ? b : c", {2, 10, 20}, 10},
    {"a > 1 ? b : c", {0, 10, 20}, 20},
    {"a > 0 ? 1 : log (a)", {1}, 1},  // the branch not taken may be invalid
    {"a > 0 && log (a) > 0", {-1}, 0},
    {"a < 0 || log (a) > 0", {-1}, 1},
    {"pi / deg", {}, 180},
    {"max (1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12)", {}, 12},
    {"UniformDist (a, 1, 3)", {2}, 0.5},
    {"TriangularDist (a, 0, 2)", {1}, 0.25},
    {"SingleDist (3, 3)", {}, 1},
    {"DiscUniformDist (2, 1, 4)", {}, 0.25},
    {"BernoulliDist (1, 0.3)", {}, 0.3},
};

TEST_F(EvalTest, exact_values_of_operators_and_functions) {
  for (const ValueCase& c : exact) {
    EXPECT_DOUBLE_EQ(value(c.expr, c.vals), c.expected) << c.expr;
  }
  EXPECT_EQ(lastError(), "");
}

TEST_F(EvalTest, state_names_resolve_against_the_variable_they_are_compared_with) {
  auto y = parse("Y (A) = red");
  auto eqA = parse("Flag (A) = A == red", "Flag");
  double vals[2] = {0, 0};
  EvalContext ctx{&env, nullptr};
  EXPECT_EQ(evalEquation(*y, vals, ctx), 1);    // red is Y's second state
  EXPECT_EQ(evalEquation(*eqA, vals, ctx), 1);  // and A's first
}

struct ClosedFormCase {
  const char* expr;
  std::vector<double> vals;
  std::function<double(const std::vector<double>&)> expected;
};

double normalPdf(double x, double m, double s) {
  return std::exp(-(x - m) * (x - m) / (2 * s * s)) / (s * std::sqrt(2 * PI));
}
double logChoose(double n, double k) {
  return std::lgamma(n + 1) - std::lgamma(k + 1) - std::lgamma(n - k + 1);
}

// Special functions and densities against their formulas in the standard library.
const ClosedFormCase closedForms[] = {
    {"gamma (a)", {4.5}, [](auto& v) { return std::tgamma(v[0]); }},
    {"loggamma (a)", {30.5}, [](auto& v) { return std::lgamma(v[0]); }},
    {"beta (a, b)", {2.5, 3.5}, [](auto& v) { return std::tgamma(v[0]) * std::tgamma(v[1]) / std::tgamma(v[0] + v[1]); }},
    {"erf (a) + erfc (b)", {0.3, 1.7}, [](auto& v) { return std::erf(v[0]) + std::erfc(v[1]); }},
    {"logfactorial (20)", {}, [](auto&) { return std::lgamma(21.0); }},
    {"logit (a)", {0.8}, [](auto&) { return std::log(4.0); }},
    {"logistic (a)", {0.7}, [](auto& v) { return 1 / (1 + std::exp(-v[0])); }},
    {"atan2 (a, b)", {1, -1}, [](auto& v) { return std::atan2(v[0], v[1]); }},
    {"sin (30 * deg)", {}, [](auto&) { return 0.5; }},
    {"binomial (200, 100)", {}, [](auto&) { return std::round(std::exp(logChoose(200, 100))); }},
    {"NormalDist (a, b, c)", {1.3, 0.5, 2}, [](auto& v) { return normalPdf(v[0], v[1], v[2]); }},
    {"LognormalDist (a, b, c)", {2.0, 0.1, 0.6}, [](auto& v) { return normalPdf(std::log(v[0]), v[1], v[2]) / v[0]; }},
    {"GammaDist (a, b, c)", {2.2, 3, 1.5}, [](auto& v) {
       return std::pow(v[0], v[1] - 1) * std::exp(-v[0] / v[2]) / (std::tgamma(v[1]) * std::pow(v[2], v[1])); }},
    {"ExponentialDist (a, b)", {0.7, 2}, [](auto& v) { return v[1] * std::exp(-v[1] * v[0]); }},
    {"WeibullDist (a, b, c)", {1.2, 2, 3}, [](auto& v) {
       double k = v[1], l = v[2], x = v[0]; return k / l * std::pow(x / l, k - 1) * std::exp(-std::pow(x / l, k)); }},
    {"BetaDist (a, b, c)", {0.3, 2, 5}, [](auto& v) {
       double x = v[0], p = v[1], q = v[2];
       return std::pow(x, p - 1) * std::pow(1 - x, q - 1) * std::tgamma(p + q) / (std::tgamma(p) * std::tgamma(q)); }},
    {"Beta4Dist (a, 2, 5, 10, 20)", {13}, [](auto&) {
       double x = 0.3; return std::pow(x, 1) * std::pow(1 - x, 4) * 30 / 10; }},
    {"BetaPertDist (a, 0, 2, 4)", {1}, [](auto&) {  // alpha = beta = 3 on [0, 4]
       double x = 0.25; return std::pow(x, 2) * std::pow(1 - x, 2) * 30 / 4; }},
    {"Triangular3Dist (a, 0, 1, 4)", {2.5}, [](auto&) { return 2 * (4 - 2.5) / (4 * 3); }},
    // One end, the mode and the mean: a right-angled triangle on [0, 3], its mirror on [1, 4], and
    // the triangle 0, 1, 4 (mean 5 / 3).
    {"TriangularEnd3Dist (a, 0, 0, 1)", {1}, [](auto&) { return 2.0 * (3 - 1) / 9; }},
    {"TriangularEnd3Dist (a, 4, 1, 2)", {3}, [](auto&) { return 2.0 * (4 - 3) / 9; }},
    {"TriangularEnd3Dist (a, 0, 1, 5 / 3)", {2.5}, [](auto&) { return 2 * (4 - 2.5) / (4 * 3); }},
    {"LaplaceDist (a, b, c)", {1, 0.5, 2}, [](auto& v) { return std::exp(-std::fabs(v[0] - v[1]) / v[2]) / (2 * v[2]); }},
    {"LogisticDist (a, b, c)", {1, 0.5, 2}, [](auto& v) {
       double e = std::exp(-(v[0] - v[1]) / v[2]); return e / (v[2] * (1 + e) * (1 + e)); }},
    {"ExtremeValueDist (a, b, c)", {1, 0.5, 2}, [](auto& v) {
       double z = (v[0] - v[1]) / v[2]; return std::exp(-z - std::exp(-z)) / v[2]; }},
    {"ParetoDist (a, b, c)", {3, 2, 1.5}, [](auto& v) { return v[2] * std::pow(v[1], v[2]) / std::pow(v[0], v[2] + 1); }},
    {"LevyDist (a, b, c)", {2, 0.5, 1}, [](auto& v) {
       double d = v[0] - v[1]; return std::sqrt(v[2] / (2 * PI)) * std::exp(-v[2] / (2 * d)) / std::pow(d, 1.5); }},
    {"CauchyDist (a, b, c)", {1, 0.5, 2}, [](auto& v) {
       double z = (v[0] - v[1]) / v[2]; return 1 / (PI * v[2] * (1 + z * z)); }},
    {"ChiSquareDist (a, 3)", {2}, [](auto& v) {
       return std::pow(v[0], 0.5) * std::exp(-v[0] / 2) / (std::pow(2, 1.5) * std::tgamma(1.5)); }},
    {"StudentTDist (a, 4)", {1}, [](auto& v) {
       return std::tgamma(2.5) / (std::sqrt(4 * PI) * std::tgamma(2)) * std::pow(1 + v[0] * v[0] / 4, -2.5); }},
    {"FDist (a, 4, 6)", {1.5}, [](auto& v) {
       double x = v[0], d1 = 4, d2 = 6;
       return std::sqrt(std::pow(d1 * x, d1) * std::pow(d2, d2) / std::pow(d1 * x + d2, d1 + d2)) /
              (x * std::exp(std::lgamma(d1 / 2) + std::lgamma(d2 / 2) - std::lgamma((d1 + d2) / 2))); }},
    {"BinomialDist (3, 10, 0.3)", {}, [](auto&) { return 120 * std::pow(0.3, 3) * std::pow(0.7, 7); }},
    {"BinomialDist (300, 1000, 0.3)", {}, [](auto&) {
       return std::exp(logChoose(1000, 300) + 300 * std::log(0.3) + 700 * std::log(0.7)); }},
    {"PoissonDist (4, 2.5)", {}, [](auto&) { return std::pow(2.5, 4) * std::exp(-2.5) / 24; }},
    {"HypergeometricDist (2, 20, 7, 5)", {}, [](auto&) {
       return std::exp(logChoose(7, 2) + logChoose(13, 3) - logChoose(20, 5)); }},
    {"NegBinomialDist (4, 3, 0.4)", {}, [](auto&) { return 15 * std::pow(0.4, 3) * std::pow(0.6, 4); }},
    {"GeometricDist (3, 0.2)", {}, [](auto&) { return 0.2 * std::pow(0.8, 3); }},
    {"LogarithmicDist (2, 0.5)", {}, [](auto&) { return -0.25 / (2 * std::log(0.5)); }},
    {"MultinomialDist (3, 1, 0.2, 2, 0.8)", {}, [](auto&) { return 3 * 0.2 * 0.64; }},
    {"MultinomialDist (3, 1, 1, 2, 4)", {}, [](auto&) { return 3 * 0.2 * 0.64; }},
    // Noisy-or: out true unless the leak and every true cause fail.
    {"NoisyOrDist (1, 0.1, A == red, 0.6, a > 0, 0.5, b > 0, 0.3)", {1, -1, 0, 0, 0},
     [](auto&) { return 1 - 0.9 * 0.4 * 0.5; }},
    {"NoisyOrDist (0, 0.1, A == red, 0.6)", {0, 0, 0, 0, 1}, [](auto&) { return 0.9; }},
    {"NoisyAndDist (1, 0.1, A == red, 0.6, a > 0, 0.5)", {0, 0, 0, 0, 0}, [](auto&) { return 0.9 * 0.5; }},
    {"NoisyAndDist (0, 0.2, a > 0, 0.5)", {1}, [](auto&) { return 0.2; }},
};

TEST_F(EvalTest, functions_and_densities_agree_with_their_closed_forms) {
  for (const ClosedFormCase& c : closedForms) {
    double want = c.expected(c.vals);
    EXPECT_NEAR(value(c.expr, c.vals), want, 1e-11 * std::max(1.0, std::fabs(want))) << c.expr;
  }
  EXPECT_EQ(lastError(), "");
}

struct CdfCase {
  const char* name;
  std::vector<double> args;  // x first
  double expected;
  double tolerance;
};

// Cumulative routines against published table values and closed forms.
const CdfCase cdfs[] = {
    {"NormalDist", {1.959963984540054, 0, 1}, 0.975, 1e-12},
    {"NormalDist", {7, 5, 2}, 0.8413447460685429, 1e-12},
    {"StudentTDist", {2.228, 10}, 0.975, 1e-4},
    {"ChiSquareDist", {3.841, 1}, 0.95, 1e-4},
    {"FDist", {3.326, 5, 10}, 0.95, 1e-4},
    {"ExponentialDist", {1, 2}, 1 - std::exp(-2.0), 1e-14},
    {"UniformDist", {5, 1, 3}, 1, 0},
    {"UniformDist", {1.5, 1, 3}, 0.25, 1e-15},
    {"UniformDist", {0, 1, 3}, 0, 0},
    {"TriangularDist", {0, 0, 2}, 0.5, 1e-15},
    {"TriangularEnd3Dist", {1, 0, 0, 1}, 1 - 4.0 / 9, 1e-15},
    {"TriangularEnd3Dist", {2, 4, 4, 3}, 1.0 / 9, 1e-15},  // the other end is 1, the mode 4
    {"CauchyDist", {3, 1, 2}, 0.75, 1e-14},
    {"LevyDist", {3, 1, 2}, std::erfc(std::sqrt(0.5)), 1e-14},
    {"GammaDist", {-1, 2, 2}, 0, 0},
    {"SingleDist", {3.5, 3}, 1, 0},
    {"SingleDist", {2.5, 3}, 0, 0},
};

TEST_F(EvalTest, cumulative_routines_give_published_values) {
  for (const CdfCase& c : cdfs) {
    const EqnFunc* f = findEqnFunc(c.name);
    ASSERT_TRUE(f && f->cdf) << c.name;
    EXPECT_NEAR(f->cdf(c.args.data(), static_cast<int>(c.args.size())), c.expected, c.tolerance)
        << c.name << " at " << c.args[0];
  }
}

struct InvalidCase {
  const char* expr;
  std::vector<double> vals;
  const char* message;  // the last error recorded
};

const InvalidCase invalids[] = {
    {"1 / a", {0}, "error evaluating function:  div (1, 0)"},
    {"sqrt (a)", {-1}, "error evaluating function:  sqrt (-1)"},
    {"log (a)", {0}, "error evaluating function:  log (0)"},
    {"asin (2)", {}, "error evaluating function:  asin (2)"},
    {"0 ^ 0", {}, "error evaluating function:  power (0, 0)"},
    {"select0 (3, 10, 20, 30)", {}, "error evaluating function:  select0 (3, *, *, *)"},
    {"min ()", {}, "error evaluating function:  min ()"},
    {"select1 ()", {}, "error evaluating function:  select1 ()"},
    {"logit (1)", {}, "error evaluating function:  logit (1)"},
    {"factorial (-1)", {}, "error evaluating function:  factorial (-1)"},
    {"binomial (3, 5)", {}, "error evaluating function:  binomial (3, 5)"},
    {"NormalDist (a, 0, 0)", {1}, "error evaluating function:  NormalDist (1, 0, 0)"},
    {"GammaDist (a, -1, 1)", {-2}, "error evaluating function:  GammaDist (-2, -1, 1)"},
    {"PoissonDist (1, 0)", {}, "error evaluating function:  PoissonDist (1, 0)"},
    {"sqrt (a) + 1", {-4}, "error evaluating function:  sqrt (-4)"},  // reported once, inside
    {"max (1, 2, 3, 4, 5, 6, 7, 8, 9, log (0))", {}, "error evaluating function:  log (0)"},
    {"min (1, 2, 3, 4, 5, 6, 7, 8, 9) / 0", {}, "error evaluating function:  div (1, 0)"},
    {"avg (a, b, c, d, a, b, c, d, a) + sqrt (-a - 1)", {}, "error evaluating function:  sqrt (-1)"},
    {"MultinomialDist (3, 1, 0.5)", {}, "MultinomialDist has only 3 arguments, but there must be at least 4"},
    {"MultinomialDist (3, 1, 0.5, 2)", {}, "the number of arguments to MultinomialDist must be even (i.e. same number of k and p args) but it is odd (=3)"},
    {"MultinomialDist (2.5, 1, 0.5, 2, 0.5)", {}, "argument 'n' of MultinomialDist must be an integer, but it is 2.5"},
    {"MultinomialDist (3, 1, 0.5, -2, 0.5)", {}, "argument k[2] of MultinomialDist must not be negative, but it is -2"},
    {"MultinomialDist (3, 1, -0.5, 2, 0.5)", {}, "argument p[1] of MultinomialDist must not be negative, but it is -0.5"},
    {"NoisyOrDist (1)", {}, "less than 2 arguments to NoisyOrDist"},
    {"NoisyOrDist (1, 0.1, a > 0)", {}, "odd number of arguments to NoisyOrDist"},
    {"NoisyAndDist (1, 0.1, a > 0)", {}, "odd number of arguments to NoisyAndDist"},
    {"TriangularEnd3Dist (a, 0, 2, 1)", {0.5}, "error evaluating function:  TriangularEnd3Dist (0.5, 0, 2, 1)"},
    {"NoisyOrMultiDist (1, 1)", {}, "less than 3 arguments to NoisyOrMultiDist"},
    {"NoisyOrMultiDist (1, 0, 1)", {}, "second argument (num_states) to NoisyOrMultiDist must be at least 1, but it is 0"},
    {"NoisyOrMultiDist (1, 2, 0.5, 0.5)", {}, "there should be 3 leak probabilities (including the normal state \"leak\") since there are 3 states in NoisyOrMultiDist"},
    {"NoisyOrMultiDist (1, 1, 0.5, 0.5, a > 0, 0.5)", {}, "missing final state of last clause in NoisyOrMultiDist"},
    {"NoisyOrMultiDist (1, 1, 0.5, 0.5, a > 0)", {}, "missing final probability and state of last clause in NoisyOrMultiDist"},
    {"NoisyOrMultiDist (1, 1, 0.5, 1.5)", {}, "fourth argument is 1.5, but it should be in [0,1] range since it is a probability for NoisyOrMultiDist"},
    {"NoisyOrMultiDist (1, 1, 0.5, 0.5, a > 0, -0.5, 1)", {}, "sixth argument is -0.5, but it should be in [0,1] range"},
    {"NoisyOrMultiDist (1, 1, 0.5, 0.5, a > 0, 0.5, 0)", {}, "7th argument (=0) indicates the state that gets triggered, but it should not be state 0, since state 0 is the \"normal\" state for NoisyOrMultiDist"},
    {"NoisyOrMultiDist (1, 1, 0.5, 0.5, a > 0, 0.5, 2)", {}, "7th argument is 2, but it should be in [1,num_states] range since it indicates the state triggered by this clause for NoisyOrMultiDist"},
    {"NoisySumTableDist (1, 2, 0.5, 0.5)", {}, "convert this equation to >-CPTable before using, since it contains the NoisySumTableDist function"},
    {"AsState (a)", {}, "attempt to evaluate 'AsState' function.  It should only be used as the first part"},
    {"sqrt (a)", {std::numeric_limits<double>::quiet_NaN()}, "error evaluating function:  sqrt (undef)"},
};

TEST_F(EvalTest, invalid_result_with_one_error_naming_the_function_and_arguments) {
  for (const InvalidCase& c : invalids) {
    env.errors.clear(ERROR_SEV, false, std::this_thread::get_id());
    EXPECT_TRUE(isEqnInvalid(value(c.expr, c.vals))) << c.expr;
    std::vector<std::string> messages;
    std::vector<int> numbers;
    for (auto* r = env.errors.next(std::this_thread::get_id(), ERROR_SEV, nullptr); r;
         r = env.errors.next(std::this_thread::get_id(), ERROR_SEV, r))
      messages.push_back(r->message), numbers.push_back(-r->number);
    ASSERT_FALSE(messages.empty()) << c.expr;
    EXPECT_EQ(messages[0].rfind(c.message, 0), 0u) << c.expr << " -> " << messages[0];
    // One record (2354, or 2580 for AsState), or an argument fault (2498) followed by the
    // evaluation's own.
    bool asState = messages[0].rfind("attempt", 0) == 0;
    bool argFault = messages[0].rfind("error evaluating", 0) != 0 && !asState;
    std::vector<int> want = argFault ? std::vector<int>{2498, 2354} : std::vector<int>{asState ? 2580 : 2354};
    EXPECT_EQ(numbers, want) << c.expr;
  }
}

// The flattened program against the tree it was made from: the same bits and the same records,
// over every expression above (values, faults, skipped arguments).
TEST_F(EvalTest, flattened_program_gives_the_tree_value_and_records) {
  std::vector<std::pair<std::string, std::vector<double>>> cases;
  for (const ValueCase& c : exact) cases.emplace_back(c.expr, c.vals);
  for (const ClosedFormCase& c : closedForms) cases.emplace_back(c.expr, c.vals);
  for (const InvalidCase& c : invalids) cases.emplace_back(c.expr, c.vals);
  cases.emplace_back("max (a, b, c, log (a - 1), d) + plus (1, 2, sqrt (b - 9))", std::vector<double>{1, 4});
  cases.emplace_back("NormalDist (a, b - 1 / c, 2 * d) * (a > 1 ? 2 : -a)", std::vector<double>{1, 4});
  auto run = [&](const Equation& e, const double* vals, bool flat) {
    env.errors.clear(ERROR_SEV, false, std::this_thread::get_id());
    EvalContext ctx{&env, nullptr};
    double v = flat ? runEqnProgram(e.program, vals, ctx) : evalExpr(*e.root, vals, ctx);
    std::vector<std::string> messages;
    for (auto* r = env.errors.next(std::this_thread::get_id(), ERROR_SEV, nullptr); r;
         r = env.errors.next(std::this_thread::get_id(), ERROR_SEV, r))
      messages.push_back(r->message);
    return std::make_pair(doubleBits(v), messages);
  };
  for (auto& [expr, vals] : cases) {
    auto e = parse("Flag (a, b, c, d, A, N) = " + expr, "Flag");
    ASSERT_FALSE(e->program.empty()) << expr;
    vals.resize(7, 0);
    EXPECT_EQ(run(*e, vals.data(), true), run(*e, vals.data(), false)) << expr;
  }
  // Too deep for the registers: the tree is evaluated.
  std::string deep = "a";
  for (int i = 0; i < 200; ++i) deep = "(" + deep + " + 1)";
  EXPECT_TRUE(parse("Y (a) = " + deep)->program.empty());
  EXPECT_EQ(value(deep, {1}), 201);
}

TEST_F(EvalTest, more_than_eight_arguments_are_cut_short_in_the_message) {
  EXPECT_EQ(describeEvalArgs(std::vector<double>(9, 1.5).data(), 9),
            "1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, ...");
}

TEST_F(EvalTest, undefined_constant_is_reported_by_name) {
  EqnSource s = source("Flag (a) = a + k", "Flag");
  s.addUnknownConsts = true;
  auto e = parseEquation(&env, s);
  double vals[2] = {1, 0};
  EvalContext ctx{&env, nullptr};
  EXPECT_TRUE(isEqnInvalid(evalEquation(*e, vals, ctx)));
  EXPECT_EQ(lastError(), "undefined value 'k'");
  EXPECT_EQ(-env.errors.next(std::this_thread::get_id(), ERROR_SEV, nullptr)->number, 2280);
}

TEST_F(EvalTest, randomized_functions_draw_from_the_given_generator) {
  RandomGen gen(&env, 17);
  rng = &gen;
  auto uniform = parse("Flag (a) = UniformRand (2, 5)", "Flag");
  auto normal = parse("Flag (a) = NormalRand (10, 3)", "Flag");
  auto disc = parse("Flag (a) = DiscUniformRand (-1, 3)", "Flag");
  auto bern = parse("Flag (a) = BernoulliRand (0.25)", "Flag");
  EvalContext ctx{&env, &gen};
  double vals[2] = {0, 0};
  const int draws = 20000;
  double sum = 0, sumSq = 0;
  std::vector<int> seen(5, 0);
  int ones = 0;
  for (int i = 0; i < draws; ++i) {
    double u = evalEquation(*uniform, vals, ctx);
    ASSERT_TRUE(u >= 2 && u < 5) << u;
    double z = evalEquation(*normal, vals, ctx);
    sum += z, sumSq += z * z;
    double k = evalEquation(*disc, vals, ctx);
    ASSERT_TRUE(k == std::floor(k) && k >= -1 && k <= 3) << k;
    ++seen[static_cast<size_t>(k + 1)];
    ones += static_cast<int>(evalEquation(*bern, vals, ctx));
  }
  double mean = sum / draws, sd = std::sqrt(sumSq / draws - mean * mean);
  EXPECT_NEAR(mean, 10, 4 * 3 / std::sqrt(draws));
  EXPECT_NEAR(sd, 3, 0.1);
  for (int count : seen) EXPECT_NEAR(count, draws / 5, 5 * std::sqrt(draws / 5.0));
  EXPECT_NEAR(ones, draws / 4, 5 * std::sqrt(draws * 0.25 * 0.75));
  EXPECT_EQ(value("UniformRand (4, 4)"), 4);
  EXPECT_EQ(value("NormalRand (4, 0)"), 4);
  EXPECT_TRUE(isEqnInvalid(value("UniformRand (5, 4)")));
}

TEST_F(EvalTest, output_state_from_truth_values_levels_and_indexes) {
  auto flag = parse("Flag (a) = a > 1", "Flag");
  EXPECT_EQ(equationOutputState(*flag, 1), 1);
  EXPECT_EQ(equationOutputState(*flag, 0), 0);
  auto lev = parse("Lev (a) = a * 10", "Lev");
  EXPECT_EQ(equationOutputState(*lev, 20), 1);
  EXPECT_EQ(equationOutputState(*lev, 25), -1);
  auto y = parse("Y (N) = N");
  EXPECT_EQ(equationOutputState(*y, 2), 2);
  EXPECT_EQ(equationOutputState(*y, 3), -1);
  EXPECT_EQ(equationOutputState(*y, eqnInvalid()), -1);
}

TEST_F(EvalTest, levels_and_intervals_of_variables) {
  auto eqL = parse("Flag (L, z) = L + #z", "Flag");
  EvalContext ctx{&env, nullptr};
  double vals[3] = {2, 3.0, 0};  // L in its third state (level 4); z = 3 lies in [1, 5)
  EXPECT_EQ(evalEquation(*eqL, vals, ctx), 4 + 1);
  vals[1] = 12;  // beyond the last threshold
  EXPECT_TRUE(isEqnInvalid(evalEquation(*eqL, vals, ctx)));
}

}  // namespace
