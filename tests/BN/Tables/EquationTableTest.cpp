// Tables built from equations: each kind of table against values worked out independently, the
// draws inside intervals, and faults that change nothing.
#include <cmath>
#include <string>
#include <vector>

#include "Support/EnvFixture.h"

namespace {

class EquationTableTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    net = NewNet_bn("eqt", env);
  }
  node_bn* continuousNode(const char* name, std::vector<level_bn> bounds) {
    node_bn* n = NewNode_bn(name, 0, net);
    SetNodeLevels_bn(n, static_cast<int>(bounds.size()) - 1, bounds.data());
    return n;
  }
  void equation(node_bn* n, const char* text) {
    SetNodeEquation_bn(n, text);
    ASSERT_EQ(lastError(), nullptr) << lastMessage();
  }
  std::vector<double> cpt(node_bn* n) {
    int size = 0;
    const double* t = GetNodeTable_bn(n, "cpt", nullptr, 0, nullptr, &size);
    return t ? std::vector<double>(t, t + size) : std::vector<double>{};
  }
  void seed(const char* s) {
    SetNetRandomGen_bn(net, NewRandomGenerator_vq(s, env, nullptr), true);
  }
  net_bn* net = nullptr;
};

double normalCdf(double x, double mean, double sd) { return 0.5 * std::erfc(-(x - mean) / (sd * std::sqrt(2.0))); }

TEST_F(EquationTableTest, DeterministicOverDiscreteParentsGivesOneStatePerRow) {
  node_bn* a = addNode(net, "A", 3);
  node_bn* b = addNode(net, "B", 2, "off,on");
  node_bn* y = addNode(net, "Y", 4, nullptr, {a, b});
  equation(y, "Y (A, B) = A + (B == on ? 1 : 0)");
  EquationToTable_bn(y, 50, 0, 0);  // the samples do not matter: nothing is drawn
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  for (state_bn i = 0; i < 3; ++i)
    for (state_bn j = 0; j < 2; ++j) {
      const state_bn row[] = {i, j};
      EXPECT_EQ(GetNodeFuncState_bn(y, row), i + j);
    }
  // A boolean equation picks the true state by its name.
  node_bn* flag = addNode(net, "Flag", 2, "false,true", {a});
  equation(flag, "Flag (A) = A >= 1");
  EquationToTable_bn(flag, 1, 0, 0);
  for (state_bn i = 0; i < 3; ++i) EXPECT_EQ(GetNodeFuncState_bn(flag, &i), i >= 1 ? 1 : 0);
}

TEST_F(EquationTableTest, ProbabilisticDiscreteRowsAreTheDistribution) {
  node_bn* a = addNode(net, "A", 2, "low,high");
  node_bn* k = addNode(net, "K", 4, nullptr, {a});
  equation(k, "P (K | A) = BinomialDist (K, 3, A == low ? 0.2 : 0.7)");
  EquationToTable_bn(k, 1, 0, 0);
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  const std::vector<double> t = cpt(k);
  ASSERT_EQ(t.size(), 8u);
  const double choose[] = {1, 3, 3, 1};
  for (int r = 0; r < 2; ++r) {
    const double p = r == 0 ? 0.2 : 0.7;
    for (int x = 0; x < 4; ++x)
      EXPECT_NEAR(t[r * 4 + x], choose[x] * std::pow(p, x) * std::pow(1 - p, 3 - x), 1e-6) << r << " " << x;
  }
}

TEST_F(EquationTableTest, ContinuousNodeTakesIntervalProbabilitiesFromTheCumulative) {
  node_bn* m = addNode(net, "M", 2);
  node_bn* x = continuousNode("X", {-INFINITY, 0, 1, 2.5, INFINITY});
  AddLink_bn(m, x);
  equation(x, "P (X | M) = NormalDist (X, M == 0 ? 0.5 : 2, 1.5)");
  EquationToTable_bn(x, 10, 0, 0);
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  const std::vector<double> t = cpt(x);
  const double bounds[] = {-INFINITY, 0, 1, 2.5, INFINITY};
  for (int r = 0; r < 2; ++r)
    for (int j = 0; j < 4; ++j) {
      const double mean = r == 0 ? 0.5 : 2;
      EXPECT_NEAR(t[r * 4 + j], normalCdf(bounds[j + 1], mean, 1.5) - normalCdf(bounds[j], mean, 1.5), 1e-6);
    }
}

// A continuous parent's value is drawn inside the interval of its state: a threshold inside an
// interval splits the row's counts by the share of the interval on each side.
TEST_F(EquationTableTest, ContinuousParentsAreDrawnInsideTheirIntervals) {
  node_bn* x = continuousNode("X", {0, 1, 4});
  node_bn* y = addNode(net, "Y", 2, "false,true", {x});
  equation(y, "Y (X) = X > 2.5");
  seed("7");
  EquationToTable_bn(y, 4000, 1, 0);
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  const std::vector<double> t = cpt(y);
  ASSERT_EQ(t.size(), 4u);
  EXPECT_EQ(t[1], 0.0);  // X in [0, 1] is never above 2.5
  EXPECT_NEAR(t[3], 0.5, 0.03);
  const state_bn second = 1;
  EXPECT_EQ(GetNodeExperience_bn(y, &second), 4000);

  // A probabilistic equation of a continuous node that is no distribution of it is estimated
  // from weighted draws inside each interval: a flat density gives each interval its width.
  node_bn* z = continuousNode("Z", {-INFINITY, 0, 2, 3});
  equation(z, "P (Z) = Z >= 0 && Z <= 3 ? 1 / 3 : 0");
  EquationToTable_bn(z, 2000, 0, 0);
  const std::vector<double> zt = cpt(z);
  EXPECT_NEAR(zt[0], 0, 1e-9);
  EXPECT_NEAR(zt[1], 2.0 / 3, 1e-6);
  EXPECT_NEAR(zt[2], 1.0 / 3, 1e-6);
}

TEST_F(EquationTableTest, RealFunctionTablesHoldTheMeanValue) {
  node_bn* a = addNode(net, "A", 3);
  node_bn* u = NewNode_bn("U", 0, net);
  AddLink_bn(a, u);
  SetNodeKind_bn(u, UTILITY_NODE);
  equation(u, "U (A) = 10 * A - 2");
  EquationToTable_bn(u, 1, 0, 0);
  for (state_bn i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(GetNodeFuncReal_bn(u, &i), 10 * i - 2);
  // With a drawn parent, the mean of the samples: X uniform on [0, 2] gives X^2 a mean of 4/3.
  node_bn* x = continuousNode("X", {0, 2});
  node_bn* v = NewNode_bn("V", 0, net);
  AddLink_bn(x, v);
  SetNodeKind_bn(v, UTILITY_NODE);
  equation(v, "V (X) = X ^ 2");
  EquationToTable_bn(v, 20000, 0, 0);
  const state_bn zero = 0;
  EXPECT_NEAR(GetNodeFuncReal_bn(v, &zero), 4.0 / 3, 0.03);
}

TEST_F(EquationTableTest, ZeroRowsBecomeUniformWithAWarning) {
  node_bn* a = addNode(net, "A", 3);
  node_bn* y = addNode(net, "Y", 2, "no,yes", {a});
  equation(y, "P (Y | A) = A == 2 ? 0 : (Y == yes ? 0.25 : 0.75)");
  EquationToTable_bn(y, 1, 0, 0);
  EXPECT_EQ(lastError(), nullptr) << lastMessage();
  const std::vector<double> t = cpt(y);
  EXPECT_EQ(t, (std::vector<double>{0.75, 0.25, 0.75, 0.25, 0.5, 0.5}));
  EXPECT_EQ(lastMessage(WARNING_ERR),
            "In equation of >-node Y, for 1 out of 3 parent settings (i.e. conditions), its equation specified zero "
            "for all its states, so they were given uniform distributions");
}

// Every refusal and fault leaves the node's tables as they were.
TEST_F(EquationTableTest, FaultsNameTheirRowAndChangeNothing) {
  node_bn* a = addNode(net, "A", 3, "a0,a1,a2");
  const level_bn levels[] = {0, 1, 2};
  SetNodeLevels_bn(a, 3, levels);  // A's value is the level of its state
  node_bn* x = NewNode_bn("X", 0, net);  // continuous, no intervals
  node_bn* y = addNode(net, "Y", 2, "no,yes", {a}, {0.1, 0.9, 0.2, 0.8, 0.3, 0.7});
  const std::vector<double> before = cpt(y);
  struct Case {
    const char* equation;
    int samples, sampUnc;
    const char* message;  // the start of the error message, then its end
    const char* ending;
  };
  const Case cases[] = {
      {"P (Y | A) = Y == yes ? 1 / ((A - 1) * (A - 1)) : 0.5", 1, 0, "error evaluating function:  div (1, 0)",
       ", for parent values A = a1 of >-node 'Y'"},
      {"Y (A) = A / 2", 1, 0, "value for >-node 'Y' is 0.5, but it should be an integer, since this is a >-discrete >-node", ", for parent values A = a1 of >-node 'Y'"},
      {"Y (A) = A", 1, 0, "value for >-node 'Y' is 2, which is greater than its highest allowed state 1", "a2 of >-node 'Y'"},
      {"P (Y | A) = Y == yes ? 0.5 - A : 0.5", 1, 0, "the equation of >-node 'Y' gives a negative probability (-0.5) "
       "for its state yes", "a1 of >-node 'Y'"},
      {"Y (A) = UniformRand (0, 1) > 0.5", 1, 0, "can't build table from this equation because it contains a "
       "randomized funtion (one whose name ends with 'Rand')", ""},
      {"Y (A) = 1", 0, 0, "argument 'num_samples' must be one or more (it is 0)", ""},
      {"Y (A) = 1", 1, 2, "argument 'samp_unc' must be 0 or 1 (it is 2)", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.equation);
    equation(y, c.equation);
    EquationToTable_bn(y, c.samples, static_cast<bool_vq>(c.sampUnc), 0);
    const std::string m = lastMessage();
    EXPECT_EQ(m.rfind(c.message, 0), 0u) << m << "\n" << c.message;
    EXPECT_EQ(m.substr(m.size() - std::string(c.ending).size()), c.ending) << m;
    EXPECT_EQ(cpt(y), before);
    ClearErrors_vq(env, ERROR_ERR);
  }
  AddLink_bn(x, y);
  const std::vector<double> linked = cpt(y);
  equation(y, "Y (A, X) = X > 1");
  EquationToTable_bn(y, 10, 0, 0);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 2020);
  EXPECT_EQ(cpt(y), linked);
}

}  // namespace
