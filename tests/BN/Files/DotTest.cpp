// DOT output: shapes by node kind, titles as labels, an edge per link, and belief bars that read
// the compiled net's beliefs given its findings.
#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <string>

#include "BN/DataNets.h"

namespace {

class DotTest : public EnvTest {
 protected:
  std::string dot(net_bn* net, int format) {
    stream_vq* s = NewMemoryStream_vq("n.dot", env, nullptr);
    WriteNetFormat_bn(net, s, format);
    std::string text = streamText(s);
    DeleteStream_vq(s);
    return text;
  }
};

TEST_F(DotTest, shapes_follow_kinds_and_labels_are_titles) {
  net_bn* net = NewNet_bn("T", env);
  node_bn* a = addNode(net, "Disease", 2, "yes,no", {}, {0.1, 0.9});
  SetNodeTitle_bn(a, "Has \"the\" disease");
  node_bn* d = addNode(net, "Treat", 2, "y,n", {});
  SetNodeKind_bn(d, DECISION_NODE);
  node_bn* u = NewNode_bn("Health", 0, net);
  SetNodeKind_bn(u, UTILITY_NODE);
  AddLink_bn(a, u);
  AddLink_bn(d, u);
  std::string text = dot(net, DOT_FORMAT);
  EXPECT_NE(text.find("Disease [shape=ellipse, label=\"Has \\\"the\\\" disease\"]"), std::string::npos) << text;
  EXPECT_NE(text.find("Treat [shape=box, label=\"Treat\"]"), std::string::npos) << text;
  EXPECT_NE(text.find("Health [shape=diamond, label=\"Health\"]"), std::string::npos) << text;
  EXPECT_NE(text.find("Disease -> Health;"), std::string::npos);
  EXPECT_NE(text.find("Treat -> Health;"), std::string::npos);
  EXPECT_EQ(text.rfind("digraph", 0), 0u);
  // Bars need a compiled net.
  EXPECT_EQ(dot(net, DOT_BELIEFS_FORMAT), "");
  EXPECT_EQ(ErrorNumber_vq(lastError()), 2959);
}

TEST_F(DotTest, bars_show_beliefs_given_findings) {
  net_bn* net = readDataNet(env, "asia.bif");
  ASSERT_NE(net, nullptr) << lastMessage();
  CompileNet_bn(net);
  EnterFinding_bn(GetNodeNamed_bn("positive_XraY", net), 0);
  std::string text = dot(net, DOT_BELIEFS_FORMAT);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  node_bn* lung = GetNodeNamed_bn("lung_cancer", net);
  const prob_bn* b = GetNodeBeliefs_bn(lung);
  // The rows of lung's table: state, percentage, bar width.
  size_t at = text.find("  lung_cancer [");
  ASSERT_NE(at, std::string::npos);
  std::string row = text.substr(at, text.find('\n', at) - at);
  std::regex cell("<TD ALIGN=\"LEFT\">([a-zA-Z0-9_]+)</TD><TD ALIGN=\"RIGHT\">([0-9.]+)</TD><TD ALIGN=\"LEFT\" WIDTH=\"100\">"
                  "(<TABLE[^>]*><TR><TD BGCOLOR=\"#336699\" WIDTH=\"([0-9]+)\")?");
  int state = 0;
  for (std::sregex_iterator it(row.begin(), row.end(), cell), end; it != end; ++it, ++state) {
    EXPECT_EQ((*it)[1].str(), GetNodeStateName_bn(lung, state));
    EXPECT_NEAR(std::stod((*it)[2].str()), 100 * b[state], 0.051);
    double width = (*it)[4].matched ? std::stod((*it)[4].str()) : 0;
    EXPECT_NEAR(width, 100 * b[state], 0.51);
  }
  EXPECT_EQ(state, 2);
  EXPECT_GT(b[0], 0.4);  // the finding moved the beliefs (prior about 0.055)
}

}  // namespace
