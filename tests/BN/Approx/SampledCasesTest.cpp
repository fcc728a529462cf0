// Cases drawn from a net into a case file: the same file for any number of threads, state
// frequencies that converge to the exact beliefs, and findings honoured through the case weights.
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "BN/DataNets.h"

namespace {

std::string sampledText(net_bn* net, environ_vq* env, long long cases, long long seed, int threads) {
  stream_vq* s = NewMemoryStream_vq("sampled.txt", env, nullptr);
  EXPECT_EQ(WriteSampledCases_bn(net, s, cases, seed, threads, nullptr), cases);
  std::string text = streamText(s);
  DeleteStream_vq(s);
  return text;
}

std::vector<std::string> fields(const std::string& line) {
  std::vector<std::string> out;
  std::stringstream in(line);
  for (std::string f; std::getline(in, f, '\t');) out.push_back(f);
  return out;
}

// The cases of a sampled file: the header's columns, and per case its weight (1 without a
// NumCases column) and the state index of each node column.
struct Parsed {
  std::vector<std::string> columns;
  std::vector<double> weights;
  std::vector<std::vector<int>> states;
};

Parsed parse(const std::string& text, net_bn* net) {
  Parsed p;
  std::stringstream in(text);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line.back(), '\r');
  line.pop_back();
  p.columns = fields(line);
  const bool weighted = !p.columns.empty() && p.columns[0] == "NumCases";
  std::vector<std::map<std::string, int>> stateOf;
  for (size_t c = weighted ? 1 : 0; c < p.columns.size(); ++c) {
    node_bn* node = GetNodeNamed_bn(p.columns[c].c_str(), net);
    std::map<std::string, int> names;
    for (int s = 0; node && s < GetNodeNumberStates_bn(node); ++s) names[GetNodeStateName_bn(node, s)] = s;
    stateOf.push_back(names);
  }
  while (std::getline(in, line)) {
    line.pop_back();
    std::vector<std::string> f = fields(line);
    EXPECT_EQ(f.size(), p.columns.size());
    p.weights.push_back(weighted ? std::strtod(f[0].c_str(), nullptr) : 1.0);
    std::vector<int> row;
    for (size_t c = 0; c < stateOf.size(); ++c) {
      auto it = stateOf[c].find(f[c + (weighted ? 1 : 0)]);
      row.push_back(it == stateOf[c].end() ? -1 : it->second);
    }
    p.states.push_back(row);
  }
  return p;
}

class SampledCasesTest : public EnvTest {};

TEST_F(SampledCasesTest, FileIsTheSameForEveryThreadCountAndDiffersBySeed) {
  net_bn* net = readDataNet(env, "alarm.bif");
  ASSERT_NE(net, nullptr);
  // Not a whole number of blocks, so that the last block is a short one.
  const long long cases = 2 * 4096 + 77;
  const std::string one = sampledText(net, env, cases, 11, 1);
  for (int threads : {2, 3, 8}) EXPECT_EQ(sampledText(net, env, cases, 11, threads), one) << threads << " threads";
  EXPECT_NE(sampledText(net, env, cases, 12, 2), one);
  const Parsed p = parse(one, net);
  EXPECT_EQ(p.states.size(), static_cast<size_t>(cases));
  ASSERT_EQ(p.columns.size(), static_cast<size_t>(LengthNodeList_bn(GetNetNodes_bn(net))));
  for (size_t c = 0; c < p.columns.size(); ++c)
    EXPECT_EQ(p.columns[c], GetNodeName_bn(GetNthNode_bn(GetNetNodes_bn(net), static_cast<int>(c))));
  for (const std::vector<int>& row : p.states)
    for (int s : row) ASSERT_GE(s, 0);
}

// Weighted state frequencies against the exact beliefs of the compiled net.  The tolerance is 4
// standard errors of the weighted frequency (delta method for a ratio, as the engine's own
// estimate but computed here from the file), with the binomial floor p(1-p) >= 1/N so that a
// state of tiny probability that shows up once is not a failure.  The bound narrows with the
// number of cases, so a few ten thousand of them show a fault in the draws as surely as more
// (a row of a table used for another moves a belief by far more than 4 standard errors, about
// 0.015 at 20000 cases).  Fixed seeds: never flaky.
void expectFrequenciesMatch(const Parsed& p, const std::vector<node_bn*>& nodes) {
  double W = 0, W2 = 0;
  for (double w : p.weights) W += w, W2 += w * w;
  ASSERT_GT(W, 0);
  const double n = static_cast<double>(p.weights.size()), ess = W * W / W2;
  int checked = 0;
  for (size_t c = 0; c < nodes.size(); ++c) {
    const prob_bn* exact = GetNodeBeliefs_bn(nodes[c]);
    ASSERT_NE(exact, nullptr);
    const int k = GetNodeNumberStates_bn(nodes[c]);
    for (int s = 0; s < k; ++s) {
      double in = 0, in2 = 0;
      for (size_t i = 0; i < p.states.size(); ++i)
        if (p.states[i][c] == s) in += p.weights[i], in2 += p.weights[i] * p.weights[i];
      const double f = in / W, e = exact[s];
      const double spread = (in2 * (1 - e) * (1 - e) + (W2 - in2) * e * e) / (W * W);
      const double se = std::sqrt(std::max(spread, 1.0 / (n * ess)));
      EXPECT_LE(std::abs(f - e), 4 * se) << GetNodeName_bn(nodes[c]) << " state " << s;
      ++checked;
    }
  }
  EXPECT_GT(checked, 0);
}

std::vector<node_bn*> columnNodes(net_bn* net, const Parsed& p) {
  std::vector<node_bn*> nodes;
  for (const std::string& c : p.columns)
    if (c != "NumCases") nodes.push_back(GetNodeNamed_bn(c.c_str(), net));
  return nodes;
}

TEST_F(SampledCasesTest, FrequenciesConvergeToExactBeliefs) {
  net_bn* net = readDataNet(env, "alarm.bif");
  ASSERT_NE(net, nullptr);
  const Parsed p = parse(sampledText(net, env, 20000, 3, 2), net);
  EXPECT_NE(p.columns[0], "NumCases");  // no findings: no weights
  CompileNet_bn(net);
  expectFrequenciesMatch(p, columnNodes(net, p));
}

TEST_F(SampledCasesTest, FindingsAreHonouredThroughTheWeights) {
  net_bn* net = readDataNet(env, "alarm.bif");
  ASSERT_NE(net, nullptr);
  node_bn* bp = GetNodeNamed_bn("BP", net);
  node_bn* hypo = GetNodeNamed_bn("HYPOVOLEMIA", net);
  EnterFinding_bn(bp, 0);    // a leaf
  EnterFinding_bn(hypo, 0);  // a root
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  const std::string text = sampledText(net, env, 30000, 5, 2);
  const Parsed p = parse(text, net);
  ASSERT_EQ(p.columns[0], "NumCases");
  const std::vector<node_bn*> nodes = columnNodes(net, p);
  for (size_t c = 0; c < nodes.size(); ++c) {
    if (nodes[c] != bp && nodes[c] != hypo) continue;
    for (const std::vector<int>& row : p.states) ASSERT_EQ(row[c], 0) << "a finding's column";
  }
  // The case reader takes the weights as the cases' counts.
  stream_vq* s = textStream(env, text, "weighted.txt");
  nodelist_bn* all = DupNodeList_bn(GetNetNodes_bn(net));
  caseposn_bn posn = FIRST_CASE;
  for (size_t i = 0; i < 20; ++i) {
    double freq = -1;
    ReadNetFindings_bn(&posn, s, all, nullptr, &freq);
    ASSERT_EQ(lastError(), nullptr) << lastMessage();
    EXPECT_NEAR(freq, p.weights[i], 1e-5 * p.weights[i]);
    posn = NEXT_CASE;
  }
  DeleteStream_vq(s);
  RetractNetFindings_bn(net);
  EnterFinding_bn(bp, 0);
  EnterFinding_bn(hypo, 0);
  DeleteNodeList_bn(all);
  CompileNet_bn(net);
  expectFrequenciesMatch(p, nodes);
}

TEST_F(SampledCasesTest, BadArgumentsAreRefusedAndWriteNothing) {
  net_bn* net = readDataNet(env, "asia.bif");
  ASSERT_NE(net, nullptr);
  stream_vq* s = textStream(env, "kept", "kept.txt");
  struct Case {
    long long cases, seed;
    int threads;
    const char* options;
    int error;
  };
  for (const Case& c : {Case{-1, 0, 1, nullptr, 5930}, Case{5, -2, 1, nullptr, 5931}, Case{5, 0, 0, nullptr, 5932},
                        Case{5, 0, 65, nullptr, 5932}, Case{5, 0, 1, "x", 5938}}) {
    EXPECT_EQ(WriteSampledCases_bn(net, s, c.cases, c.seed, c.threads, c.options), -1);
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(ErrorNumber_vq(r), c.error) << ErrorMessage_vq(r);
    ClearErrors_vq(env, INTERNAL_ERR);
    EXPECT_EQ(streamText(s), "kept");
  }
  DeleteStream_vq(s);
}

}  // namespace
