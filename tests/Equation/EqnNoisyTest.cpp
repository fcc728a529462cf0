// The noisy distributions with several output states, against the joint of their independent
// parts enumerated here: the leak and each cause (or clause) draw separately, the output is the
// highest state drawn.
#include <cmath>
#include <string>
#include <vector>

#include "EqnFixture.h"

using namespace quorva;

namespace {

using Vec = std::vector<double>;

std::string join(const Vec& v) {
  std::string s;
  for (double x : v) s += ", " + formatEqnNumber(x);
  return s;
}

class NoisyTest : public EqnTest {
 protected:
  double eval(const Equation& eq, std::vector<double> vals) {
    EvalContext ctx{&env, nullptr};
    return evalEquation(eq, vals.data(), ctx);
  }
};

// Causes A (3 states), L (3 states with levels: read by state) and z (3 intervals).
const Vec leak = {0.8, 0.15, 0.05};
const std::vector<Vec> byA = {{1, 0, 0}, {0.3, 0.6, 0.1}, {0.1, 0.3, 0.6}};
const std::vector<Vec> byL = {{0.9, 0.1, 0}, {0.5, 0.5, 0}, {0.2, 0.2, 0.6}};
const std::vector<Vec> byZ = {{1, 0, 0}, {0.25, 0.75, 0}, {0, 0.5, 0.5}};

std::string causeBlock(const char* name, const std::vector<Vec>& vs) {
  std::string s = std::string(", ") + name;
  for (const Vec& v : vs) s += join(v);
  return s;
}

// P(out = y) by enumerating what the leak and each cause give.
double enumeratedMax(int a, int l, int zi, int y) {
  double p = 0;
  for (int s0 = 0; s0 < 3; ++s0)
    for (int s1 = 0; s1 < 3; ++s1)
      for (int s2 = 0; s2 < 3; ++s2)
        for (int s3 = 0; s3 < 3; ++s3)
          if (std::max({s0, s1, s2, s3}) == y) p += leak[s0] * byA[a][s1] * byL[l][s2] * byZ[zi][s3];
  return p;
}

TEST_F(NoisyTest, noisy_max_table_is_the_distribution_of_the_highest_state_any_cause_gives) {
  std::string text = "P (Y | A, L, z) = NoisyMaxTableDist (Y, 3" + join(leak) + causeBlock("A", byA) +
                     causeBlock("L", byL) + causeBlock("z", byZ) + ")";
  auto eq = parse(text);
  auto again = parse(printEquation(*eq));  // printed and read back, the causes still read by state
  const double zValues[3] = {0.5, 3, 7};   // one in each interval of z
  for (int a = 0; a < 3; ++a)
    for (int l = 0; l < 3; ++l)
      for (int zi = 0; zi < 3; ++zi)
        for (int y = 0; y < 3; ++y) {
          std::vector<double> vals = {double(a), double(l), zValues[zi], double(y)};
          double want = enumeratedMax(a, l, zi, y);
          EXPECT_NEAR(eval(*eq, vals), want, 1e-12) << a << l << zi << y;
          EXPECT_NEAR(eval(*again, vals), want, 1e-12) << printEquation(*eq);
        }
  EXPECT_EQ(lastError(), "");
}

TEST_F(NoisyTest, noisy_max_table_checks_its_layout_when_evaluated) {
  auto eq = parse("P (Y | A) = NoisyMaxTableDist (Y, 3, 1, 0, 0" + causeBlock("A", byA) + ")");
  const EqnFunc& f = *eq->root->func;
  std::vector<double> args = {1, 3, 1, 0, 0, 2};
  for (const Vec& v : byA) args.insert(args.end(), v.begin(), v.end());
  int n = static_cast<int>(args.size());
  struct Case {
    int at;
    double value;
    bool withCall;
    const char* message;
  };
  const Case cases[] = {
      {0, 1, false, "wrong number of arguments to NoisyMaxTableDist"},
      {1, 0, true, "number of states for output >-node in NoisyMaxTableDist is declared 0, but it must be 1 or more"},
      {1, 2, true, "wrong number of arguments to NoisyMaxTableDist"},
      {3, 0.5, true, "a probability vector in NoisyMaxDist doesn't sum to 1"},
      {7, 0.5, true, "a probability vector in NoisyMaxDist doesn't sum to 1"},  // a state not taken
  };
  for (const Case& c : cases) {
    std::vector<double> a = args;
    a[static_cast<size_t>(c.at)] = c.value;
    EvalContext ctx{&env, nullptr, c.withCall ? eq->root.get() : nullptr};
    EXPECT_TRUE(std::isnan(f.eval(a.data(), n, ctx))) << c.message;
    EXPECT_EQ(lastError(), c.message);
  }
  EvalContext ctx{&env, nullptr, eq->root.get()};
  EXPECT_DOUBLE_EQ(f.eval(args.data(), n, ctx), byA[2][1]);  // one cause, no leak: its vector
}

// P(out = y) by enumerating the leak's state and which clauses trigger.
double enumeratedOrMulti(const Vec& leakP, const std::vector<Vec>& clauses, int y) {
  double p = 0;
  size_t n = clauses.size();
  for (size_t s = 0; s < leakP.size(); ++s)
    for (unsigned mask = 0; mask < (1u << n); ++mask) {
      double q = leakP[s];
      int top = static_cast<int>(s);
      for (size_t i = 0; i < n; ++i) {
        bool fires = (mask >> i) & 1u;
        double pi = clauses[i][0] != 0 ? clauses[i][1] : 0;  // a false condition never fires
        q *= fires ? pi : 1 - pi;
        if (fires) top = std::max(top, static_cast<int>(clauses[i][2]));
      }
      if (top == y) p += q;
    }
  return p;
}

TEST_F(NoisyTest, noisy_or_multi_is_the_highest_state_the_leak_or_a_clause_triggers) {
  const Vec leakP = {0.7, 0.2, 0.1};
  for (unsigned conds = 0; conds < 8; ++conds) {
    // Clauses (condition, probability, state).
    std::vector<Vec> clauses = {{double(conds & 1), 0.6, 2}, {double((conds >> 1) & 1), 0.5, 1},
                                {double((conds >> 2) & 1), 0.3, 2}};
    std::string args;
    for (const Vec& c : clauses) args += join(c);
    for (int y = 0; y < 3; ++y) {
      auto eq = parse("Y (a) = NoisyOrMultiDist (" + std::to_string(y) + ", 2" + join(leakP) + args + ")");
      EXPECT_NEAR(eval(*eq, {0, 0}), enumeratedOrMulti(leakP, clauses, y), 1e-12) << conds << " " << y;
    }
  }
}

TEST_F(NoisyTest, noisy_or_multi_with_one_state_is_noisy_or) {
  for (double x : {0.0, 1.0})
    for (double a : {-1.0, 1.0})
      for (double b : {-1.0, 1.0}) {
        auto multi = parse("Y (a, b) = NoisyOrMultiDist (" + formatEqnNumber(x) +
                           ", 1, 0.9, 0.1, a > 0, 0.6, 1, b > 0, 0.5, 1)");
        auto single = parse("Y (a, b) = NoisyOrDist (" + formatEqnNumber(x) + ", 0.1, a > 0, 0.6, b > 0, 0.5)");
        EXPECT_NEAR(eval(*multi, {a, b, 0}), eval(*single, {a, b, 0}), 1e-15) << x << a << b;
      }
}

}  // namespace
