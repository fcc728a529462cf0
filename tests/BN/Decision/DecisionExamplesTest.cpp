// The two example decision nets solved against answers worked out by hand, with and without
// findings, and the no-forgetting setting.
#include <cmath>
#include <cstdio>
#include <string>

#include "Support/EnvFixture.h"

namespace {

class DecisionExamplesTest : public EnvTest {
 protected:
  net_bn* read(const char* file) {
    net_bn* net = netFromText(env, fileText(file), file);
    EXPECT_NE(net, nullptr) << lastMessage();
    CompileNet_bn(net);
    EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
    return net;
  }
  static std::string fileText(const char* file) {
    std::string path = dataPath(std::string("../../examples/") + file);
    FILE* f = std::fopen(path.c_str(), "rb");
    EXPECT_NE(f, nullptr) << path;
    std::string text;
    char buf[4096];
    for (size_t n; f && (n = std::fread(buf, 1, sizeof buf, f)) > 0;) text.append(buf, n);
    if (f) std::fclose(f);
    return text;
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

// Treat's own parent (Result) tells whether the test ran, so forgetting RunTest changes nothing
// here; single policy updating without no forgetting reaches the same optimum.
TEST_F(DecisionExamplesTest, NoForgettingSettingReadsBackAndBothSettingsSolveTheSequence) {
  net_bn* net = read("test_treat.dne");
  EXPECT_EQ(SetNetNoForgetting_bn(net, -1), 1);
  EXPECT_EQ(SetNetNoForgetting_bn(net, 0), 1);
  EXPECT_EQ(SetNetNoForgetting_bn(net, -1), 0);
  EXPECT_NEAR(GetNetExpectedUtility_bn(net), 90.4, 1e-4);
  EXPECT_EQ(SetNetNoForgetting_bn(net, 2), -1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5806);
  EXPECT_EQ(SetNetNoForgetting_bn(net, -1), 0) << "a refused setting changes nothing";
}

// Every kind of node and table a decision net uses survives writing and reading: a decision with
// a policy function table, utilities with real function tables, a constant with its value.
TEST_F(DecisionExamplesTest, DecisionNetWrittenReadAndWrittenAgainGivesTheSameText) {
  net_bn* net = NewNet_bn("Round", env);
  node_bn* k = addNode(net, "Dose", 3, "low,mid,high");
  SetNodeKind_bn(k, CONSTANT_NODE);
  EnterFinding_bn(k, 1);
  node_bn* x = addNode(net, "Sick", 2, "yes,no", {k}, {0.2, 0.8, 0.3, 0.7, 0.5, 0.5});
  node_bn* d = addNode(net, "Act", 2, "act,wait", {x});
  SetNodeKind_bn(d, DECISION_NODE);
  for (state_bn s = 0; s < 2; ++s) SetNodeFuncState_bn(d, &s, 1 - s);
  node_bn* u = NewNode_bn("Gain", 0, net);
  SetNodeKind_bn(u, UTILITY_NODE);
  AddLink_bn(x, u);
  AddLink_bn(d, u);
  for (state_bn a = 0; a < 2; ++a)
    for (state_bn b = 0; b < 2; ++b) {
      state_bn ps[2] = {a, b};
      SetNodeFuncReal_bn(u, ps, 12.5 * a - 3.25 * b + 0.125);
    }
  node_bn* c = NewNode_bn("Cost", 0, net);
  SetNodeKind_bn(c, UTILITY_NODE);
  AddLink_bn(d, c);
  for (state_bn a = 0; a < 2; ++a) SetNodeFuncReal_bn(c, &a, -7.75 * a);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  // The creator line carries the time of writing.
  auto text = [&](net_bn* n) {
    std::string t = netText(n, env, "round.dne");
    size_t at = t.find("// File created");
    return at == std::string::npos ? t : t.erase(at, t.find('\n', at) - at);
  };
  std::string first = text(net);
  net_bn* back = netFromText(env, netText(net, env, "round.dne"), "round.dne");
  ASSERT_NE(back, nullptr) << lastMessage();
  EXPECT_EQ(text(back), first);
  EXPECT_EQ(GetNodeKind_bn(GetNodeNamed_bn("Act", back)), DECISION_NODE);
  EXPECT_EQ(GetNodeKind_bn(GetNodeNamed_bn("Dose", back)), CONSTANT_NODE);
  state_bn ps[2] = {1, 0};
  EXPECT_EQ(GetNodeFuncReal_bn(GetNodeNamed_bn("Gain", back), ps), 12.625);
}

}  // namespace
