// The two example decision nets solved against answers worked out by hand, with and without
// findings.
#include <cmath>
#include <string>

#include "BN/DataNets.h"

namespace {

class DecisionExamplesTest : public EnvTest {
 protected:
  net_bn* read(const char* file) {
    net_bn* net = readDataNet(env, std::string("../../examples/") + file);
    EXPECT_NE(net, nullptr) << lastMessage();
    CompileNet_bn(net);
    EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
    return net;
  }
  node_bn* at(net_bn* net, const char* name) { return GetNodeNamed_bn(name, net); }
  double eu(net_bn* net, const char* decision, int option) {
    const double* u = GetNodeExpectedUtils_bn(at(net, decision));
    EXPECT_NE(u, nullptr) << lastMessage();
    return u ? u[option] : -1e300;
  }
  int policy(net_bn* net, const char* decision, state_bn parentState) {
    return GetNodeFuncState_bn(at(net, decision), &parentState);
  }
  double belief(net_bn* net, const char* node, int state) { return GetNodeBeliefs_bn(at(net, node))[state]; }
};

// treat.dne.  P(pos) = .1*.9 + .9*.2 = .27, P(neg) = .73.
// Positive: P(present) = .09/.27 = 1/3; EU(treat) = 80/3 + 90*2/3 = 86.667, EU(dont) = 100*2/3 = 66.667.
// Negative: P(present) = .01/.73; EU(treat) = (.8 + 64.8)/.73 = 89.863, EU(dont) = 72/.73 = 98.630.
// MEU = .09*80 + .18*90 + .72*100 = 95.4.  Options with no finding: EU(treat) = 8 + 81 = 89,
// EU(dont) = 90.  P(Treat = treat) under the policy = P(pos) = .27.
TEST_F(DecisionExamplesTest, OneDecisionNetGivesHandWorkedPolicyAndUtilities) {
  net_bn* net = read("treat.dne");
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 95.4, 1e-4);
  EXPECT_EQ(policy(net, "Treat", 0), 0);
  EXPECT_EQ(policy(net, "Treat", 1), 1);
  EXPECT_NEAR(eu(net, "Treat", 0), 89, 1e-4);
  EXPECT_NEAR(eu(net, "Treat", 1), 90, 1e-4);
  EXPECT_NEAR(belief(net, "Treat", 0), 0.27, 1e-5);
  EXPECT_NEAR(belief(net, "Disease", 0), 0.1, 1e-6);
  EXPECT_TRUE(IsNodeInNodeset_bn(at(net, "Treat"), ":DecisionSolved"));

  EnterFinding_bn(at(net, "Test"), 0);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 260.0 / 3, 1e-4);
  EXPECT_NEAR(eu(net, "Treat", 0), 260.0 / 3, 1e-4);
  EXPECT_NEAR(eu(net, "Treat", 1), 200.0 / 3, 1e-4);
  EXPECT_NEAR(belief(net, "Disease", 0), 1.0 / 3, 1e-5);
  EXPECT_NEAR(belief(net, "Treat", 0), 1.0, 1e-6);

  RetractNodeFindings_bn(at(net, "Test"));
  EnterFinding_bn(at(net, "Test"), 1);
  EXPECT_NEAR(eu(net, "Treat", 0), 65.6 / 0.73, 1e-4);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 72 / 0.73, 1e-4);

  // An action fixes the decision: the utility follows it whatever the policy would say.
  RetractNodeFindings_bn(at(net, "Test"));
  EnterAction_bn(at(net, "Treat"), 0);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 89, 1e-4);
  EXPECT_NEAR(belief(net, "Test", 0), 0.27, 1e-5);
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
}

// test_treat.dne.  Run: 95.4 - 5 = 90.4 (the one-decision net's MEU less the cost).  Skip: the
// result is "none", so Treat chooses by the prior: dont, 90.  Run wins: MEU 90.4.
// With Run followed, Treat's options: treat 89 - 5 = 84, dont 90 - 5 = 85.
// Beliefs: Result positive .27, negative .73, none 0; RunTest run 1.
// Finding Disease = present: skip and treat gives 80, run and treat 75: MEU 80, skip; Treat
// treats whatever the result (80 against 0).
TEST_F(DecisionExamplesTest, TwoDecisionNetGivesHandWorkedPoliciesWithAndWithoutFinding) {
  net_bn* net = read("test_treat.dne");
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 90.4, 1e-4);
  EXPECT_NEAR(eu(net, "RunTest", 0), 90.4, 1e-4);
  EXPECT_NEAR(eu(net, "RunTest", 1), 90, 1e-4);
  EXPECT_EQ(GetNodeFuncState_bn(at(net, "RunTest"), nullptr), 0);
  const int treatBy[3] = {0, 1, 1};
  for (state_bn r = 0; r < 3; ++r) EXPECT_EQ(policy(net, "Treat", r), treatBy[r]) << "result " << r;
  EXPECT_NEAR(eu(net, "Treat", 0), 84, 1e-4);
  EXPECT_NEAR(eu(net, "Treat", 1), 85, 1e-4);
  EXPECT_NEAR(belief(net, "Result", 0), 0.27, 1e-5);
  EXPECT_NEAR(belief(net, "Result", 2), 0.0, 1e-6);
  EXPECT_NEAR(belief(net, "RunTest", 0), 1.0, 1e-6);

  EnterFinding_bn(at(net, "Disease"), 0);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 80, 1e-4);
  EXPECT_EQ(GetNodeFuncState_bn(at(net, "RunTest"), nullptr), 1);
  EXPECT_NEAR(eu(net, "RunTest", 0), 75, 1e-4);
  for (state_bn r = 0; r < 3; ++r) EXPECT_EQ(policy(net, "Treat", r), 0) << "result " << r;
  EXPECT_NEAR(belief(net, "Result", 2), 1.0, 1e-6);
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
}

}  // namespace
