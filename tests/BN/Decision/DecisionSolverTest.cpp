// The solver against brute-force enumeration of every policy on small random decision nets, and
// the refusals of nets whose decisions can't be solved.
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "BN/DataNets.h"

namespace {

// A random net: chance nodes X0 X1 (before the first decision), D1 (parent X0), Y (parents D1
// and X1), D2 (parents X0, D1, Y: all it remembers, so its function table is its whole policy),
// Z (parents D2, X1), and utilities U1 (Z, X1) and U2 (D1, D2).  All binary.
struct RandomDecisionNet {
  // Variables in this order: X0 X1 D1 Y D2 Z.
  enum { X0, X1, D1, Y, D2, Z, N };
  double px0[2], px1[2], py[2][2][2], pz[2][2][2];  // py[d1][x1][y], pz[d2][x1][z]
  double u1[2][2], u2[2][2];                        // u1[z][x1], u2[d1][d2]
  net_bn* net = nullptr;
  node_bn* nodes[N] = {};

  RandomDecisionNet(environ_vq* env, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(0.05, 1), val(-10, 10);
    auto row = [&](double* r) { r[0] = u(rng), r[1] = 1 - r[0]; };
    row(px0), row(px1);
    for (auto& a : py) for (auto& b : a) row(b);
    for (auto& a : pz) for (auto& b : a) row(b);
    for (auto& a : u1) for (double& v : a) v = std::round(val(rng));
    for (auto& a : u2) for (double& v : a) v = std::round(val(rng));
    net = NewNet_bn("R", env);
    const char* names[N] = {"X0", "X1", "D1", "Y", "D2", "Z"};
    for (int i = 0; i < N; ++i) nodes[i] = NewNode_bn(names[i], 2, net);
    SetNodeKind_bn(nodes[D1], DECISION_NODE);
    SetNodeKind_bn(nodes[D2], DECISION_NODE);
    AddLink_bn(nodes[X0], nodes[D1]);
    AddLink_bn(nodes[D1], nodes[Y]), AddLink_bn(nodes[X1], nodes[Y]);
    AddLink_bn(nodes[X0], nodes[D2]), AddLink_bn(nodes[D1], nodes[D2]), AddLink_bn(nodes[Y], nodes[D2]);
    AddLink_bn(nodes[D2], nodes[Z]), AddLink_bn(nodes[X1], nodes[Z]);
    setCpt(nodes[X0], {px0[0], px0[1]});
    setCpt(nodes[X1], {px1[0], px1[1]});
    setCpt(nodes[Y], {py[0][0][0], py[0][0][1], py[0][1][0], py[0][1][1], py[1][0][0], py[1][0][1], py[1][1][0], py[1][1][1]});
    setCpt(nodes[Z], {pz[0][0][0], pz[0][0][1], pz[0][1][0], pz[0][1][1], pz[1][0][0], pz[1][0][1], pz[1][1][0], pz[1][1][1]});
    node_bn* a = NewNode_bn("U1", 0, net);
    node_bn* b = NewNode_bn("U2", 0, net);
    SetNodeKind_bn(a, UTILITY_NODE), SetNodeKind_bn(b, UTILITY_NODE);
    AddLink_bn(nodes[Z], a), AddLink_bn(nodes[X1], a), AddLink_bn(nodes[D1], b), AddLink_bn(nodes[D2], b);
    for (state_bn i = 0; i < 2; ++i)
      for (state_bn j = 0; j < 2; ++j) {
        state_bn ps[2] = {i, j};
        SetNodeFuncReal_bn(a, ps, u1[i][j]);
        SetNodeFuncReal_bn(b, ps, u2[i][j]);
      }
  }

  // Sums P(x) * (weight of x) over every configuration with D1 = pol1(x0), D2 = pol2(x0, d1, y),
  // where `fixD1` >= 0 forces D1 instead; returns (probability, expected utility numerator).
  template <class F>
  std::pair<double, double> sum(int pol1, int pol2, int fixD1, int findX1, F weight) const {
    double p = 0, w = 0;
    for (int c = 0; c < 16; ++c) {
      int x0 = c >> 3 & 1, x1 = c >> 2 & 1, y = c >> 1 & 1, z = c & 1;
      if (findX1 >= 0 && x1 != findX1) continue;
      int d1 = fixD1 >= 0 ? fixD1 : pol1 >> x0 & 1;
      int d2 = pol2 >> (x0 * 4 + d1 * 2 + y) & 1;
      double q = px0[x0] * px1[x1] * py[d1][x1][y] * pz[d2][x1][z];
      p += q * weight(x0, x1, d1, y, d2, z);
      w += q * (u1[z][x1] + u2[d1][d2]);
    }
    return {p, w};
  }
};

class DecisionSolverTest : public EnvTest {
 protected:
  std::string text(net_bn* net) { return withoutCreatorLine(netText(net, env)); }
};

// Every deterministic policy pair (4 for D1 times 256 for D2) enumerated over the joint: the best
// expected utility is the solver's MEU; so is the utility of the policies it wrote; each option of
// D1 is worth the best D2 policy's utility with D1 forced; and Y's belief is its marginal under
// the solver's policies.  With and without a finding at X1 (which both decisions then know).
TEST_F(DecisionSolverTest, MaximumExpectedUtilityMatchesEnumerationOfAllPolicies) {
  for (unsigned seed = 1; seed <= 25; ++seed) {
    RandomDecisionNet r(env, seed);
    CompileNet_bn(r.net);
    for (int findX1 = -1; findX1 < 2; ++findX1) {
      if (findX1 >= 0) EnterFinding_bn(r.nodes[RandomDecisionNet::X1], findX1);
      auto one = [](int, int, int, int, int, int) { return 1.0; };
      double best = -1e300, bestWith[2] = {-1e300, -1e300};
      for (int p1 = 0; p1 < 4; ++p1)
        for (int p2 = 0; p2 < 256; ++p2) {
          auto [p, w] = r.sum(p1, p2, -1, findX1, one);
          best = std::max(best, w / p);
          for (int d = 0; d < 2; ++d) {
            auto [pd, wd] = r.sum(p1, p2, d, findX1, one);
            bestWith[d] = std::max(bestWith[d], wd / pd);
          }
        }
      SCOPED_TRACE("seed " + std::to_string(seed) + " finding " + std::to_string(findX1));
      EXPECT_NEAR(GetNetExpectedUtility_bn(r.net), best, 1e-6 * (1 + std::fabs(best))) << lastMessage();
      const double* eu = GetNodeExpectedUtils_bn(r.nodes[RandomDecisionNet::D1]);
      ASSERT_NE(eu, nullptr) << lastMessage();
      for (int d = 0; d < 2; ++d) EXPECT_NEAR(eu[d], bestWith[d], 1e-6 * (1 + std::fabs(bestWith[d])));
      // The policies written into the function tables.
      int p1 = 0, p2 = 0;
      for (state_bn x0 = 0; x0 < 2; ++x0) p1 |= GetNodeFuncState_bn(r.nodes[RandomDecisionNet::D1], &x0) << x0;
      for (int i = 0; i < 8; ++i) {
        state_bn ps[3] = {i >> 2 & 1, i >> 1 & 1, i & 1};
        p2 |= GetNodeFuncState_bn(r.nodes[RandomDecisionNet::D2], ps) << i;
      }
      auto [p, w] = r.sum(p1, p2, -1, findX1, one);
      EXPECT_NEAR(w / p, best, 1e-6 * (1 + std::fabs(best)));
      auto [py1, unused] = r.sum(p1, p2, -1, findX1, [](int, int, int, int y, int, int) { return y == 1 ? 1.0 : 0.0; });
      (void)unused;
      EXPECT_NEAR(GetNodeBeliefs_bn(r.nodes[RandomDecisionNet::Y])[1], py1 / p, 1e-5);
      if (findX1 >= 0) RetractNodeFindings_bn(r.nodes[RandomDecisionNet::X1]);
    }
    DeleteNet_bn(r.net);
  }
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
}

// Nets whose decisions can't be solved: compiling (or, for decisions that can't be ordered,
// solving) is refused with a message naming the node, and the net stays as it was (the same
// text; uncompiled when compiling was refused).
TEST_F(DecisionSolverTest, UnsolvableDecisionNetsAreRefusedNamingTheNode) {
  struct Case {
    const char* what;
    int number;
    const char* named;
    void (*build)(net_bn*);
  };
  auto decision = [](net_bn* net, const char* name, int states) {
    node_bn* d = NewNode_bn(name, states, net);
    SetNodeKind_bn(d, DECISION_NODE);
    return d;
  };
  static decltype(decision) dec = decision;
  const Case cases[] = {
      {"cycle through an information link", 5800, "'Act'",
       [](net_bn* net) {
         node_bn* a = dec(net, "Act", 2);
         node_bn* x = NewNode_bn("Seen", 2, net);
         AddLink_bn(a, x);
         AddLink_bn(x, a);
       }},
      {"two decisions on no common path", 5801, "'Left'",
       [](net_bn* net) {
         node_bn* x = NewNode_bn("X", 2, net);
         AddLink_bn(x, dec(net, "Left", 2));
         AddLink_bn(x, dec(net, "Right", 2));
       }},
      {"utility with a child", 5802, "'Worth'",
       [](net_bn* net) {
         node_bn* u = NewNode_bn("Worth", 0, net);
         SetNodeKind_bn(u, UTILITY_NODE);
         AddLink_bn(dec(net, "Act", 2), u);
         AddLink_bn(u, NewNode_bn("After", 2, net));
       }},
      {"decision without states", 5803, "'Empty'", [](net_bn* net) { dec(net, "Empty", 0); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    net_bn* net = NewNet_bn("Bad", env);
    c.build(net);
    std::string before = text(net);
    ClearErrors_vq(env, ERROR_ERR);
    CompileNet_bn(net);
    if (c.number == 5801) {
      EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
      before = text(net);  // the compile stores the order it found
      EXPECT_EQ(GetNodeBeliefs_bn(GetNodeNamed_bn("X", net)), nullptr);
    }
    ASSERT_NE(lastError(), nullptr);
    EXPECT_EQ(ErrorNumber_vq(lastError()), c.number) << lastMessage();
    EXPECT_NE(lastMessage().find(c.named), std::string::npos) << lastMessage();
    EXPECT_EQ(text(net), before);
    if (c.number != 5801) {
      EXPECT_EQ(SizeCompiledNet_bn(net, 0), -1) << "left uncompiled";
    }
    DeleteNet_bn(net);
  }
}

// X (.3, .7) -> First; First -> Second; Pay(X, Second) = (10, 0 | 0, 5); Fee(First) = (0, -1000),
// so First never signals X through its choice.  Remembering X, Second gets .3*10 + .7*5 = 6.5.
// Forgetting it, Second knows only First (always option 0): max(.3*10, .7*5) = 3.5.
TEST_F(DecisionSolverTest, NoForgettingLetsALaterDecisionUseWhatAnEarlierOneSaw) {
  net_bn* net = NewNet_bn("Remember", env);
  node_bn* x = addNode(net, "X", 2, nullptr, {}, {0.3, 0.7});
  node_bn* first = addNode(net, "First", 2, nullptr, {x});
  node_bn* second = addNode(net, "Second", 2, nullptr, {first});
  SetNodeKind_bn(first, DECISION_NODE);
  SetNodeKind_bn(second, DECISION_NODE);
  node_bn* pay = NewNode_bn("Pay", 0, net);
  node_bn* fee = NewNode_bn("Fee", 0, net);
  SetNodeKind_bn(pay, UTILITY_NODE);
  SetNodeKind_bn(fee, UTILITY_NODE);
  AddLink_bn(x, pay), AddLink_bn(second, pay), AddLink_bn(first, fee);
  const double payOf[2][2] = {{10, 0}, {0, 5}};
  for (state_bn a = 0; a < 2; ++a) {
    SetNodeFuncReal_bn(fee, &a, a == 0 ? 0 : -1000);
    for (state_bn b = 0; b < 2; ++b) {
      state_bn ps[2] = {a, b};
      SetNodeFuncReal_bn(pay, ps, payOf[a][b]);
    }
  }
  CompileNet_bn(net);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 6.5, 1e-5) << lastMessage();
  EXPECT_EQ(SetNetNoForgetting_bn(net, 0), 1);
  EXPECT_EQ(SetNetNoForgetting_bn(net, -1), 0);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 3.5, 1e-5) << lastMessage();
  EXPECT_EQ(SetNetNoForgetting_bn(net, 2), -1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5806);
  EXPECT_EQ(SetNetNoForgetting_bn(net, -1), 0) << "a refused setting changes nothing";
  SetNetNoForgetting_bn(net, 1);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 6.5, 1e-5) << lastMessage();
}

TEST_F(DecisionSolverTest, ExpectedUtilsRefuseNodesThatAreNotDecisions) {
  RandomDecisionNet r(env, 7);
  CompileNet_bn(r.net);
  EXPECT_EQ(GetNodeExpectedUtils_bn(r.nodes[RandomDecisionNet::Y]), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5804);
  EXPECT_NE(lastMessage().find("'Y'"), std::string::npos);
}

}  // namespace
