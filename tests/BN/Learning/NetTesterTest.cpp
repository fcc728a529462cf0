// The net tester against scores worked out by hand from Bayes' rule on a two-node net.
#include <cmath>

#include "BN/Learning/LearnFixture.h"

namespace {

TEST_F(LearnTest, tester_scores_hidden_node_from_the_others) {
  net_bn* net = NewNet_bn("n", env);
  node_bn* a = addNode(net, "A", 2, "a0,a1", {}, {0.3, 0.7});
  node_bn* b = addNode(net, "B", 2, "b0,b1", {a}, {0.9, 0.1, 0.2, 0.8});
  EnterFinding_bn(a, 1);  // the net's own finding is not disturbed
  // P(a0 | b0) = .27 / .41; P(a0 | b1) = .03 / .59.  Predictions: b0 -> a0, b1 -> a1.
  stream_vq* file = textStream(env, "NumCases\tA\tB\n2\ta0\tb0\n1\ta1\tb1\n1\ta0\tb1\n1\ta1\tb0\n4\t*\tb0\n", "t.cas");
  caseset_cs* cases = NewCaseset_cs("t", env);
  AddFileToCaseset_cs(cases, file, 1, nullptr);
  tester_bn* t = NewNetTester_bn(nodeList(net, {a}), nullptr, -1);
  TestWithCaseset_bn(t, cases);
  ASSERT_EQ(lastMessage(), "");
  double q0 = 0.27 / 0.41, q1 = 0.03 / 0.59;  // P(a0 | b)
  struct Scored {
    double weight, pActual, pOther;
    bool wrong;
  } scored[] = {{2, q0, 1 - q0, false}, {1, 1 - q1, q1, false}, {1, q1, 1 - q1, true}, {1, 1 - q0, q0, true}};
  double weight = 0, errors = 0, logLoss = 0, quad = 0;
  for (const Scored& s : scored) {
    weight += s.weight;
    errors += s.wrong ? s.weight : 0;
    logLoss -= s.weight * std::log(s.pActual);
    quad += s.weight * (1 - 2 * s.pActual + s.pActual * s.pActual + s.pOther * s.pOther);
  }
  EXPECT_NEAR(GetTestErrorRate_bn(t, a), errors / weight, 1e-9);
  EXPECT_NEAR(GetTestLogLoss_bn(t, a), logLoss / weight, 1e-6);
  EXPECT_NEAR(GetTestQuadraticLoss_bn(t, a), quad / weight, 1e-6);
  const double confusion[2][2] = {{2, 1}, {1, 1}};  // [actual][predicted]
  for (int actual = 0; actual < 2; ++actual)
    for (int predicted = 0; predicted < 2; ++predicted)
      EXPECT_EQ(GetTestConfusion_bn(t, a, predicted, actual), confusion[actual][predicted]) << actual << predicted;
  EXPECT_EQ(GetNodeFinding_bn(a), 1);

  ClearErrors_vq(env, INTERNAL_ERR);
  EXPECT_EQ(GetTestErrorRate_bn(t, b), -1);
  EXPECT_EQ(lastMessage(), ">-Bnode 'B' is not one of the test >-node-s of this net tester");
  EXPECT_EQ(GetTestConfusion_bn(t, a, 2, 0), -1);
  EXPECT_EQ(lastMessage(), "argument 'predicted' is 2, but it should be between 0 and 1 inclusive, for >-Bnode 'A'");
  DeleteNetTester_bn(t);
}

}  // namespace
