// Findings saved in a DNET file come back when it is read: states, likelihoods, and the refusal
// of a state the node does not have.
#include <string>

#include "EnvFixture.h"

namespace {

class FindingsInFilesTest : public EnvTest {
 protected:
  net_bn* read(const std::string& text) {
    stream_vq* s = NewMemoryStream_vq("findings.dne", env, nullptr);
    SetStreamContents_vq(s, text.data(), static_cast<long long>(text.size()), 1);
    net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    return net;
  }
  std::string write(net_bn* net) {
    stream_vq* s = NewMemoryStream_vq("findings.dne", env, nullptr);
    WriteNet_bn(net, s);
    long long n = 0;
    const char* bytes = GetStreamContents_vq(s, &n);
    std::string text(bytes, static_cast<size_t>(n));
    DeleteStream_vq(s);
    return text;
  }
};

TEST_F(FindingsInFilesTest, StatesAndLikelihoodsSurviveWritingAndReading) {
  net_bn* net = NewNet_bn("F", env);
  node_bn* a = NewNode_bn("A", 3, net);
  node_bn* b = NewNode_bn("B", 2, net);
  node_bn* c = NewNode_bn("C", 2, net);
  SetNodeStateNames_bn(a, "low,mid,high");
  AddLink_bn(a, b);
  EnterFinding_bn(a, 2);
  const prob_bn lik[] = {0.25f, 1.0f};
  EnterNodeLikelihood_bn(b, lik);
  EnterFinding_bn(c, 1);  // unnamed states are written "#1"
  net_bn* back = read(write(net));
  ASSERT_NE(back, nullptr) << ErrorMessage_vq(lastError());
  EXPECT_EQ(GetNodeFinding_bn(GetNodeNamed_bn("A", back)), 2);
  EXPECT_EQ(GetNodeFinding_bn(GetNodeNamed_bn("C", back)), 1);
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
