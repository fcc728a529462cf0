// Findings saved in a DNET file come back when it is read: states, likelihoods, real values (on a
// discretized node, which stays continuous), and the refusal of a state the node does not have.
#include <string>

#include "Support/EnvFixture.h"

namespace {

class FindingsInFilesTest : public EnvTest {
 protected:
  net_bn* read(const std::string& text) { return netFromText(env, text, "findings.dne"); }
  std::string write(net_bn* net) { return netText(net, env, "findings.dne"); }
};

TEST_F(FindingsInFilesTest, StatesAndLikelihoodsSurviveWritingAndReading) {
  net_bn* net = NewNet_bn("F", env);
  node_bn* a = addNode(net, "A", 3, "low,mid,high");
  node_bn* b = addNode(net, "B", 2, nullptr, {a});
  node_bn* c = addNode(net, "C", 2);
  node_bn* t = NewNode_bn("T", 0, net);  // continuous, discretized into [0,10) and [10,30)
  const level_bn cuts[] = {0, 10, 30};
  SetNodeLevels_bn(t, 2, cuts);
  EnterNodeValue_bn(t, 12);
  EnterFinding_bn(a, 2);
  const prob_bn lik[] = {0.25f, 1.0f};
  EnterNodeLikelihood_bn(b, lik);
  EnterFinding_bn(c, 1);  // unnamed states are written "#1"
  net_bn* back = read(write(net));
  ASSERT_NE(back, nullptr) << ErrorMessage_vq(lastError());
  EXPECT_EQ(GetNodeFinding_bn(GetNodeNamed_bn("A", back)), 2);
  EXPECT_EQ(GetNodeFinding_bn(GetNodeNamed_bn("C", back)), 1);
  node_bn* tBack = GetNodeNamed_bn("T", back);
  EXPECT_EQ(GetNodeType_bn(tBack), CONTINUOUS_TYPE);
  EXPECT_EQ(GetNodeFinding_bn(tBack), 1);
  EXPECT_EQ(GetNodeValueEntered_bn(tBack), 12);
  const prob_bn* got = GetNodeLikelihood_bn(GetNodeNamed_bn("B", back));
  ASSERT_NE(got, nullptr);
  EXPECT_FLOAT_EQ(got[0], 0.25f);
  EXPECT_FLOAT_EQ(got[1], 1.0f);
  EXPECT_EQ(write(back), write(net));

  const std::string bad = "bnet G {\nnode A {\n discrete = TRUE;\n states = (x, y);\n evidence = z;\n };\n};\n";
  EXPECT_EQ(read(bad), nullptr);
  ASSERT_NE(lastError(), nullptr);
  EXPECT_NE(std::string(ErrorMessage_vq(lastError())).find("unknown state 'z'"), std::string::npos)
      << ErrorMessage_vq(lastError());
}

}  // namespace
