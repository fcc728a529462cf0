// Findings through the C API: states, negative and likelihood findings, values, calibrations,
// intervals and Gaussians; the checks that refuse a finding, and that a refusal keeps the old one.
#include <cmath>

#include "BN/Findings/FindingErrors.h"
#include "BN/Net/NetErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

class FindingApiTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = addNode(net, "A", 3, "a0,a1,a2");
  }
  // A node's finding as one line: its code, likelihood and value.
  std::string finding(node_bn* n) {
    std::string out = std::to_string(GetNodeFinding_bn(n)) + " [";
    const prob_bn* lik = GetNodeLikelihood_bn(n);
    for (int s = 0; lik && s < GetNodeNumberStates_bn(n); ++s) out += (s ? "," : "") + std::to_string(lik[s]);
    return out + "] " + std::to_string(GetNodeValueEntered_bn(n));
  }
  std::vector<float> likelihood(node_bn* n) {
    const prob_bn* lik = GetNodeLikelihood_bn(n);
    return std::vector<float>(lik, lik + GetNodeNumberStates_bn(n));
  }
  // `call` is refused with `number` and `text`, and `n` keeps the finding it had.
  void refused(node_bn* n, const std::function<void()>& call, int number, const std::string& text) {
    std::string before = finding(n);
    expectRefused(net, call, number, text);
    EXPECT_EQ(finding(n), before) << text;
  }
  // A continuous node discretized at 0, 10, 20, 30.
  node_bn* discretized(const char* name) {
    node_bn* c = NewNode_bn(name, 0, net);
    const level_bn cuts[] = {0, 10, 20, 30};
    SetNodeLevels_bn(c, 3, cuts);
    return c;
  }
  net_bn* net = nullptr;
  node_bn* a = nullptr;
};

TEST_F(FindingApiTest, StateOutOfRangeOrContradictingIsRefusedKeepingTheFinding) {
  refused(a, [&] { EnterFinding_bn(a, 3); }, err::FindingTooLarge.number,
          "new finding is too large (3, but states are numbered from 0 to 2)");
  refused(a, [&] { EnterFinding_bn(a, -1); }, err::FindingNegative.number,
          "new finding is negative (-1), and is not UNDEF_STATE (-3)");
  EnterFinding_bn(a, 1);
  EnterFinding_bn(a, UNDEF_STATE);
  EXPECT_EQ(GetNodeFinding_bn(a), 1);
  refused(a, [&] { EnterFinding_bn(a, 2); }, err::FindingContradicts.number,
          "new finding 'a2' contradicts previous finding 'a1' for this >-node");

  node_bn* c = NewNode_bn("C", 0, net);
  refused(a, [&] { EnterFinding_bn(c, 0); }, err::StateOnContinuous.number,
          "passed >-int_state (=0) is illegal (can't use this function with >-Bnode 'C' since it isn't "
          "continuous, and hasn't been discretized)");
  clearErrors();
  EnterFinding_bn(c, UNDEF_STATE);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(FindingApiTest, ReenteringTheKnownStateLeavesBeliefsCurrent) {
  node_bn* c = discretized("C");
  setCpt(a, {0.25, 0.25, 0.5});
  setCpt(c, {0.25, 0.25, 0.5});
  SetNetAutoUpdate_bn(net, 0);
  CompileNet_bn(net);
  EnterFinding_bn(a, 1);
  EnterNodeValue_bn(c, 15);
  ASSERT_NE(GetNodeBeliefs_bn(a), nullptr);
  ASSERT_TRUE(IsBeliefUpdated_bn(a));
  EnterFinding_bn(a, 1);
  EnterFinding_bn(c, 1);  // the state the value fixes: the value stays
  EXPECT_TRUE(IsBeliefUpdated_bn(a));
  EXPECT_EQ(GetNodeValueEntered_bn(c), 15);
  EnterFindingNot_bn(a, 0);  // says less than the state known
  EXPECT_TRUE(IsBeliefUpdated_bn(a));
  RetractNodeFindings_bn(c);
  EXPECT_FALSE(IsBeliefUpdated_bn(a));
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(FindingApiTest, StateRuledOutByTheModelOrTheParentsIsRefused) {
  EnterFindingNot_bn(a, 2);
  refused(a, [&] { EnterFinding_bn(a, 2); }, err::FindingContradictsLikelihood.number,
          "new finding 'a2' contradicts previous negative or likelihood findings for this >-node");
  EnterFinding_bn(a, 0);
  EXPECT_EQ(GetNodeFinding_bn(a), 0);

  // A parentless node whose own table fixes its value.
  node_bn* f = addNode(net, "F", 2, "f0,f1");
  SetNodeFuncState_bn(f, nullptr, 1);
  refused(f, [&] { EnterFinding_bn(f, 0); }, err::FindingStatedValue.number,
          "new finding 'f0' is inconsistent with the model's stated value for this >-node");
  node_bn* p = addNode(net, "P", 2, "p0,p1", {}, {0, 1});
  refused(p, [&] { EnterFinding_bn(p, 0); }, err::FindingStatedValue.number,
          "new finding 'p0' is inconsistent with the model's stated value for this >-node");
  setCpt(p, {0.5, 0.5});
  EnterFinding_bn(p, 0);
  EXPECT_EQ(GetNodeFinding_bn(p), 0);

  // A child whose row for its parents' findings fixes another state; with one parent unknown,
  // nothing follows.
  RetractNodeFindings_bn(a);
  AddLink_bn(a, f);
  AddLink_bn(p, f);
  for (int s = 0; s < 3; ++s)
    for (int t = 0; t < 2; ++t) {
      const state_bn row[] = {s, t};
      SetNodeFuncState_bn(f, row, (s + t) % 2);
    }
  EnterFinding_bn(f, 0);
  RetractNodeFindings_bn(f);
  EnterFinding_bn(a, 2);
  refused(f, [&] { EnterFinding_bn(f, 1); }, err::FindingFromParents.number,
          "new finding 'f1' contradicts state 'f0' calculated from the parent >-node-s of this >-node");
  clearErrors();
  EnterFinding_bn(f, 0);
  EXPECT_EQ(GetNodeFinding_bn(f), 0);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(FindingApiTest, LikelihoodsMultiplyAndReadAsTheFindingTheyAmountTo) {
  const prob_bn negative[] = {1, 1, 0}, soft[] = {0.2f, 0.5f, 1}, ones[] = {1, 1, 1}, only1[] = {0, 0.5f, 0};
  EnterNodeLikelihood_bn(a, negative);
  EXPECT_EQ(GetNodeFinding_bn(a), NEGATIVE_FINDING);
  EnterNodeLikelihood_bn(a, soft);
  EXPECT_EQ(GetNodeFinding_bn(a), LIKELIHOOD_FINDING);
  EXPECT_EQ(likelihood(a), (std::vector<float>{0.2f, 0.5f, 0}));
  EnterFindingNot_bn(a, 0);
  EXPECT_EQ(GetNodeFinding_bn(a), 1);
  EXPECT_EQ(likelihood(a), (std::vector<float>{0, 0.5f, 0}));

  RetractNodeFindings_bn(a);
  EXPECT_EQ(likelihood(a), (std::vector<float>{1, 1, 1}));
  EnterNodeLikelihood_bn(a, ones);
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);
  EnterNodeLikelihood_bn(a, only1);
  EXPECT_EQ(GetNodeFinding_bn(a), 1);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(FindingApiTest, RefusedLikelihoodsKeepTheFinding) {
  auto text = [](const std::string& why) {
    return "can't enter that negative or likelihood finding for >-node 'A', because " + why;
  };
  const int number = err::CantEnterLikelihood.number;
  const prob_bn neg[] = {0.5f, -0.25f, 1}, big[] = {0.5f, 1, 1.5f}, zeros[] = {0, 0, 0}, third[] = {0, 0, 1};
  EnterFindingNot_bn(a, 0);
  EnterFindingNot_bn(a, 1);
  refused(a, [&] { EnterNodeLikelihood_bn(a, neg); }, number, text("it has a negative value (-0.25) at index 1"));
  refused(a, [&] { EnterNodeLikelihood_bn(a, big); }, number, text("it is greater than one (1.5) at index 2"));
  refused(a, [&] { EnterNodeLikelihood_bn(a, zeros); }, number, text("it consists of all zeros"));
  refused(a, [&] { EnterFindingNot_bn(a, 2); }, number,
          text("it is inconsistent with previous finding (a2) for this >-node"));
  RetractNodeFindings_bn(a);
  const prob_bn first2[] = {1, 1, 0};
  EnterNodeLikelihood_bn(a, first2);
  refused(a, [&] { EnterNodeLikelihood_bn(a, third); }, number,
          text("it is inconsistent with previous negative or likelihood findings for this >-node"));
  EXPECT_EQ(likelihood(a), (std::vector<float>{1, 1, 0}));

  node_bn* u = NewNode_bn("U", 2, net);
  SetNodeKind_bn(u, UTILITY_NODE);
  const prob_bn half[] = {0.5f, 1};
  refused(u, [&] { EnterNodeLikelihood_bn(u, half); }, number,
          "can't enter that negative or likelihood finding for >-node 'U', because negative or likelihood "
          "findings are not allowed for utility >-node-s");
}

TEST_F(FindingApiTest, ValuesSetTheStateTheyLabelOrFallIn) {
  auto text = [](const char* v, const char* node, const std::string& why) {
    return std::string("can't enter numeric finding ") + v + " for node '" + node + "', because " + why;
  };
  const int number = err::CantEnterValue.number;
  refused(a, [&] { EnterNodeValue_bn(a, 1); }, number,
          text("1", "A", "the >-node is discrete without any numbers attached to states"));
  const level_bn levels[] = {1.5, 2.5, 4};
  SetNodeLevels_bn(a, 3, levels);
  refused(a, [&] { EnterNodeValue_bn(a, 3); }, number, text("3", "A", "there is no state labeled with that number"));
  EnterNodeValue_bn(a, 4);
  EXPECT_EQ(GetNodeFinding_bn(a), 2);
  EXPECT_EQ(GetNodeValueEntered_bn(a), 4);
  refused(a, [&] { EnterNodeValue_bn(a, 2.5); }, number, text("2.5", "A", "it contradicts previously entered value 4"));

  node_bn* c = discretized("C");
  refused(c, [&] { EnterNodeValue_bn(c, -1); }, number, text("-1", "C", "it is less than lowest allowable (0)"));
  refused(c, [&] { EnterNodeValue_bn(c, 30.5); }, number, text("30.5", "C", "it is higher than highest allowable (30)"));
  EnterFindingNot_bn(c, 1);
  refused(c, [&] { EnterNodeValue_bn(c, 12); }, number,
          text("12", "C", "it is inconsistent with findings previously entered for this node"));
  EnterNodeValue_bn(c, 20);
  EXPECT_EQ(GetNodeFinding_bn(c), 2);
  EXPECT_EQ(GetNodeValueEntered_bn(c), 20);
}

TEST_F(FindingApiTest, CalibrationMustBeAProbabilityVector) {
  refused(a, [&] { EnterNodeCalibration_bn(a, nullptr); }, err::CalibrationNull.number,
          "argument 'calibration' is NULL, for >-Bnode A");
  const prob_bn zeros[] = {0, 0, 0}, short1[] = {0.3f, 0.3f, 0.39f}, neg[] = {0.5f, 0.75f, -0.25f};
  refused(a, [&] { EnterNodeCalibration_bn(a, zeros); }, err::CalibrationZeros.number,
          "not a legal calibration vector, because it consists of all zeros");
  clearErrors();
  EnterNodeCalibration_bn(a, short1);
  ASSERT_NE(lastError(), nullptr);
  EXPECT_NE(std::string(ErrorMessage_vq(lastError()))
                .find("not a legal calibration vector, because it does not sum to one (sums to 0.99"),
            std::string::npos);
  refused(a, [&] { EnterNodeCalibration_bn(a, neg); }, err::CalibrationNegative.number,
          "not a legal calibration vector, because it has a negative value (-0.25) at index 2");
}

TEST_F(FindingApiTest, IntervalsAndGaussiansBecomeLikelihoods) {
  const int w = err::IntervalOrder.number;
  refused(a, [&] { EnterIntervalFinding_bn(a, 2, 1); }, w, "high (=1) should not be less than low (=2).  (>-node is A)");
  refused(a, [&] { EnterIntervalFinding_bn(a, 1.5, 2); }, err::IntervalLowInteger.number,
          "low (=1.5) must be an integer, for discrete >-node A");
  refused(a, [&] { EnterIntervalFinding_bn(a, -1, 2); }, err::IntervalLowNegative.number,
          "low (=-1) should not be negative, for discrete >-node A");
  refused(a, [&] { EnterIntervalFinding_bn(a, 0, 4); }, err::IntervalHighTooBig.number,
          "high (=4) should not be more than the number of states of discrete >-node A (3)");
  node_bn* r = NewNode_bn("R", 0, net);
  refused(a, [&] { EnterIntervalFinding_bn(r, 0, 1); }, err::IntervalContinuous.number,
          ">-node R is continuous, so it should be discretized to use this function");
  EnterIntervalFinding_bn(a, 1, 2);
  EXPECT_EQ(likelihood(a), (std::vector<float>{0, 1, 1}));
  node_bn* c = discretized("C");
  EnterIntervalFinding_bn(c, 12, 18);
  EXPECT_EQ(GetNodeFinding_bn(c), 1);

  refused(a, [&] { EnterGaussianFinding_bn(r, 0, -1); }, err::GaussianStdDev.number,
          "std_dev should not be negative, but it is -1, for >-Bnode R");
  refused(a, [&] { EnterGaussianFinding_bn(a, 1, 1); }, err::GaussianDiscrete.number,
          ">-Bnode A should be a discretized >-node for a continuous variable, but it is just discrete");
  refused(a, [&] { EnterGaussianFinding_bn(r, 1, 1); }, err::GaussianUndiscretized.number,
          ">-Bnode R should be a discretized >-node for a continuous variable, but it hasn't been "
          "discretized yet");
  node_bn* g = discretized("G");
  EnterGaussianFinding_bn(g, 12, 5);
  auto cdf = [](double x) { return 0.5 * (1 + std::erf((x - 12) / (5 * std::sqrt(2.0)))); };
  std::vector<float> lik = likelihood(g);
  const double cuts[] = {0, 10, 20, 30};
  for (int s = 0; s < 3; ++s) EXPECT_NEAR(lik[s], cdf(cuts[s + 1]) - cdf(cuts[s]), 1e-6) << s;
  EXPECT_EQ(GetNodeFinding_bn(g), LIKELIHOOD_FINDING);
}

TEST_F(FindingApiTest, RetractingTheNetKeepsConstantsAndAutoUpdateTakesTwoSettings) {
  node_bn* k = NewNode_bn("K", 2, net);
  SetNodeKind_bn(k, CONSTANT_NODE);
  EnterFinding_bn(k, 1);
  EnterFinding_bn(a, 2);
  RetractNetFindings_bn(net);
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);
  EXPECT_EQ(GetNodeFinding_bn(k), 1);
  RetractNodeFindings_bn(k);
  EXPECT_EQ(GetNodeFinding_bn(k), UNDEF_STATE);

  int first = SetNetAutoUpdate_bn(net, 0);
  EXPECT_TRUE(first == 0 || first == BELIEF_UPDATE);
  EXPECT_EQ(SetNetAutoUpdate_bn(net, BELIEF_UPDATE), 0);
  EXPECT_EQ(SetNetAutoUpdate_bn(net, BELIEF_UPDATE), BELIEF_UPDATE);
  expectRefused(net, [&] { EXPECT_EQ(SetNetAutoUpdate_bn(net, 1), -1); }, err::AutoUpdateValue.number,
                "argument 'auto_update' is 1, but it should be 0 or BELIEF_UPDATE (256)");
  EXPECT_EQ(SetNetAutoUpdate_bn(net, 0), BELIEF_UPDATE);
}
