// Sensitivity queries that are refused: each leaves one error record of the right number and the
// net's findings as they were.
#include <cmath>
#include <functional>
#include <string>

#include "Support/NetSnapshot.h"

namespace {

class SensitivityErrorsTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("S", env);
    a = addNode(net, "A", 2, nullptr, {}, {0.3, 0.7});
    b = addNode(net, "B", 3, nullptr, {a}, {0.1, 0.2, 0.7, 0.5, 0.4, 0.1});
    u = NewNode_bn("U", 0, net);
    SetNodeKind_bn(u, UTILITY_NODE);
    AddLink_bn(b, u);
    CompileNet_bn(net);
    EnterFinding_bn(b, 2);
  }

  // `call` fails with `number` (and its failure value, checked by the caller's lambda), and the
  // findings stay.
  void expectError(const std::function<bool()>& call, int number, const std::string& what) {
    clearErrors();
    EXPECT_TRUE(call()) << what << ": not the failure value";
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr) << what;
    EXPECT_EQ(ErrorNumber_vq(r), number) << what << ": " << ErrorMessage_vq(r);
    EXPECT_EQ(errorCount(ERROR_ERR), 1) << what;
    EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE) << what;
    EXPECT_EQ(GetNodeFinding_bn(b), 2) << what;
  }

  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr, *u = nullptr, *c = nullptr;
};

TEST_F(SensitivityErrorsTest, MeasuresNotAskedForNameTheirBit) {
  struct Case {
    int what;
    std::function<bool(sensv_bn*)> call;
    int number;
  };
  double lo = 0, hi = 0;
  const double levels[] = {0, 1};
  SetNodeLevels_bn(a, 2, levels);
  CompileNet_bn(net);
  const int all = 0x31F;
  const Case cases[] = {
      {all & ~ENTROPY_SENSV, [&](sensv_bn* s) { return GetSensvMutualInfo_bn(s, b) == -1; }, 2520},
      {all & ~REAL_SENSV, [&](sensv_bn* s) { return std::isnan(GetSensvRealMean_bn(s, b, 0)); }, 2517},
      {all & ~REAL_SENSV, [&](sensv_bn* s) { return GetSensvVarianceReduction_bn(s, b) == -1; }, 2519},
      {all & ~VARIANCE_SENSV, [&](sensv_bn* s) { return GetSensvVarianceReduction_bn(s, b) == -1; }, 2518},
      {all & ~NODEVAR_SENSV, [&](sensv_bn* s) { return GetSensvBeliefVariance_bn(s, b) == -1; }, 2521},
      {all & ~RATIO_SENSV, [&](sensv_bn* s) { return GetSensvRatio_bn(s, b, 0, 0) == -1; }, 2522},
      {all & ~BELIEF_SENSV, [&](sensv_bn* s) { return GetSensvBeliefChange_bn(s, b, 0) == -1; }, 2523},
      {all & ~BELIEF_SENSV, [&](sensv_bn* s) { return GetSensvBeliefChangeVariance_bn(s, b, 0) == -1; }, 2523},
      {all & ~VARIANCE_SENSV, [&](sensv_bn* s) { return GetSensvBeliefChangeVariance_bn(s, b, 0) == -1; }, 2524},
      {all & ~BELIEF_SENSV, [&](sensv_bn* s) { return GetSensvBeliefRange_bn(s, b, 0, &lo, &hi) == -1; }, 2523},
      {all & ~RANGE_SENSV, [&](sensv_bn* s) { return GetSensvBeliefRange_bn(s, b, 0, &lo, &hi) == -1; }, 2525},
  };
  for (const Case& k : cases) {
    sensv_bn* s = NewSensvToFinding_bn(a, nodeList(net, {a, b}), k.what);
    ASSERT_NE(s, nullptr);
    expectError([&] { return k.call(s); }, k.number, "bit " + std::to_string(k.number));
    DeleteSensvToFinding_bn(s);
  }
  sensv_bn* s = NewSensvToFinding_bn(a, nodeList(net, {b}), ENTROPY_SENSV);
  clearErrors();
  EXPECT_GE(GetSensvMutualInfo_bn(s, b), 0);  // no error when the bit was given
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
}

TEST_F(SensitivityErrorsTest, WiggleNodesAndTargetsThatCannotBe) {
  sensv_bn* s = NewSensvToFinding_bn(b, nodeList(net, {a, u}), 0x31F);
  ASSERT_NE(s, nullptr);
  net_bn* other = NewNet_bn("O", env);
  node_bn* foreign = addNode(other, "A", 2, nullptr, {}, {0.5, 0.5});
  double lo, hi;
  expectError([&] { return GetSensvMutualInfo_bn(s, u) == -1; }, 2376, "utility wiggle");
  EXPECT_EQ(lastMessage(), "can't calculate sensitivity with respect to wiggle >-node 'U', because it is a utility >-node");
  expectError([&] { return GetSensvBeliefVariance_bn(s, foreign) == -1; }, 2516, "node of another net");
  EXPECT_EQ(lastMessage(), "request for sensitivity to a wiggle >-node (A) that was not in the initial list of "
                           ">-node-s that sensitivity was calculated for");
  expectError([&] { return GetSensvRatio_bn(s, a, 2, 0) == -1; }, 5130, "wiggle state out of range");
  expectError([&] { return GetSensvBeliefRange_bn(s, a, 3, &lo, &hi) == -1; }, 5130, "target state out of range");
  expectError([&] { return GetSensvVarianceReduction_bn(s, a) == -1; }, 2333, "target without levels");
  expectError([&] { return NewSensvToFinding_bn(u, nodeList(net, {a}), 0) == nullptr; }, 5241, "utility target");
  expectError([&] { return NewSensvToFinding_bn(a, nodeList(net, {a}), 0x400) == nullptr; }, 5240, "unknown bit");
  expectError([&] { return NewSensvToFinding_bn(a, nullptr, 0) == nullptr; }, 5105, "no list");
  // A continuous node without intervals: neither target nor wiggle node (no compile needed to say so).
  c = NewNode_bn("C", 0, net);
  expectError([&] { return GetSensvMutualInfo_bn(s, c) == -1; }, 2376, "continuous wiggle");
  EXPECT_EQ(lastMessage(), "can't calculate sensitivity with respect to wiggle >-node 'C', because it is a "
                           "continuous >-node");
  expectError([&] { return NewSensvToFinding_bn(c, nodeList(net, {a}), 0) == nullptr; }, 5241, "continuous target");
}

TEST_F(SensitivityErrorsTest, RealValuesNeedFiniteIntervals) {
  c = NewNode_bn("C", 0, net);
  const double ends[] = {0, 1, 3, 1e300 * 1e300};
  SetNodeLevels_bn(c, 3, ends);
  AddLink_bn(a, c);
  SetNodeTable_bn(c, "cpt", nullptr, 0, std::vector<double>{0.2, 0.3, 0.5, 0.6, 0.3, 0.1}.data(), 6);
  CompileNet_bn(net);
  sensv_bn* s = NewSensvToFinding_bn(c, nodeList(net, {a}), 0x31F);
  expectError([&] { return std::isnan(GetSensvRealMean_bn(s, a, 0)); }, 2332, "infinite end");
  const double finite[] = {0, 1, 3, 5};
  SetNodeLevels_bn(c, 3, finite);
  CompileNet_bn(net);
  clearErrors();
  // Given A = 0 the mean is that of A's first CPT row over the midpoints 0.5, 2, 4.
  const double pa0 = GetNodeBeliefs_bn(a)[0];
  EXPECT_GT(pa0, 0);
  EXPECT_NEAR(GetSensvRealMean_bn(s, a, 0), 0.2 * 0.5 + 0.3 * 2 + 0.5 * 4, 1e-5);
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
}

TEST_F(SensitivityErrorsTest, NetStateAndHandles) {
  sensv_bn* s = NewSensvToFinding_bn(a, nodeList(net, {b}), ENTROPY_SENSV);
  UncompileNet_bn(net);
  expectError([&] { return GetSensvMutualInfo_bn(s, b) == -1; }, 3044, "not compiled");
  CompileNet_bn(net);
  RetractNodeFindings_bn(b);
  SetNetAutoUpdate_bn(net, 0);
  // A finding on B of a state whose CPT column is all zero: impossible.
  const prob_bn zero[] = {0.5f, 0.5f, 0.0f};
  const state_bn row0[] = {0}, row1[] = {1};
  SetNodeProbs_bn(b, row0, zero);
  SetNodeProbs_bn(b, row1, zero);
  EnterFinding_bn(b, 2);
  clearErrors();
  EXPECT_EQ(GetSensvMutualInfo_bn(s, b), -1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 3045);
  EXPECT_EQ(GetNodeFinding_bn(b), 2);
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);

  DeleteSensvToFinding_bn(s);
  expectError([&] { return GetSensvMutualInfo_bn(s, b) == -1; }, 5184, "deleted object");
  expectError([&] { return GetSensvMutualInfo_bn(nullptr, b) == -1; }, 5105, "null object");
  sensv_bn* t = NewSensvToFinding_bn(a, nodeList(net, {b}), ENTROPY_SENSV);
  DeleteNet_bn(net);
  clearErrors();
  EXPECT_EQ(GetSensvMutualInfo_bn(t, b), -1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5184);
  net_bn* again = NewNet_bn("S2", env);
  node_bn* x = addNode(again, "X", 2, nullptr, {}, {0.5, 0.5});
  EXPECT_NE(NewSensvToFinding_bn(x, nodeList(again, {x}), ENTROPY_SENSV), nullptr);  // frees t's results
  EXPECT_EQ(GetSensvMutualInfo_bn(t, b), -1);
}

}  // namespace
