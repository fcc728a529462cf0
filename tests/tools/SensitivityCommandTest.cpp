// quorva sensitivity run as a process: its rows against mutual information worked out from an
// enumeration of asia's joint distribution, their order, and its exit statuses.
#include <gtest/gtest.h>

#include "ToolRun.h"
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "Quorva.h"
#include "Support/ReferenceJoint.h"

namespace {

using json = nlohmann::json;
const std::string ASIA = std::string(QUORVA_SOURCE_DIR) + "/examples/asia.bif";

ToolRun quorva(const std::vector<std::string>& args) { return runQuorva(args); }

// I(T; W) in bits given the findings, from the enumerated joint: P(t, w) = P(e, t, w) / P(e).
double mutualInfo(const ReferenceJoint& ref, std::vector<std::vector<double>> lik, size_t t, size_t w, size_t nt,
                  size_t nw) {
  std::vector<std::vector<double>> joint(nt, std::vector<double>(nw, 0.0));
  double total = 0;
  for (size_t a = 0; a < nt; ++a)
    for (size_t b = 0; b < nw; ++b) {
      // The pair's states as findings, each weighted by the node's own finding.
      std::vector<std::vector<double>> l = lik;
      l[t].assign(nt, 0.0);
      l[t][a] = lik[t].empty() ? 1 : lik[t][a];
      l[w].assign(nw, 0.0);
      l[w][b] = lik[w].empty() ? 1 : lik[w][b];
      joint[a][b] = (t == w && a != b) ? 0.0 : ref.solve(l).probFindings;
      total += joint[a][b];
    }
  double info = 0;
  for (size_t a = 0; a < nt; ++a)
    for (size_t b = 0; b < nw; ++b) {
      double pa = 0, pb = 0;
      for (size_t k = 0; k < nw; ++k) pa += joint[a][k] / total;
      for (size_t k = 0; k < nt; ++k) pb += joint[k][b] / total;
      if (joint[a][b] > 0) info += joint[a][b] / total * std::log2(joint[a][b] / total / (pa * pb));
    }
  return info;
}

TEST(SensitivityCommandTest, RowsMatchTheEnumeratedJointMostTellingFirst) {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  ASSERT_GE(InitQuorva2_bn(env, nullptr), 0);
  stream_vq* s = NewFileStream_vq(ASIA.c_str(), env, nullptr);
  net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
  ASSERT_NE(net, nullptr);
  ReferenceJoint ref(net);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  auto index = [&](const std::string& name) {
    return static_cast<size_t>(IndexOfNodeInList_bn(GetNodeNamed_bn(name.c_str(), net), nodes, 0));
  };
  struct Query {
    std::string target;
    std::vector<std::string> args;
    std::vector<std::pair<std::string, size_t>> findings;  // node, state
  };
  const Query queries[] = {
      {"tuberculos_or_cancer", {}, {}},
      {"lung_cancer", {"-f", "smoking=f1", "-f", "positive_XraY=#0"}, {{"smoking", 0}, {"positive_XraY", 0}}},
  };
  for (const Query& q : queries) {
    std::vector<std::string> args{"sensitivity", ASIA, q.target, "--json"};
    args.insert(args.end(), q.args.begin(), q.args.end());
    ToolRun r = quorva(args);
    ASSERT_EQ(r.status, 0) << r.err;
    json got = json::parse(r.out);
    std::vector<std::vector<double>> lik(static_cast<size_t>(LengthNodeList_bn(nodes)));
    for (const auto& [name, state] : q.findings) {
      lik[index(name)].assign(2, 0.0);
      lik[index(name)][state] = 1;
    }
    const size_t t = index(q.target);
    EXPECT_NEAR(got["entropy"].get<double>(), mutualInfo(ref, lik, t, t, 2, 2), 1e-5);
    ASSERT_EQ(got["nodes"].size(), 8u);
    double previous = 1e9;
    for (const json& row : got["nodes"]) {
      const double info = row["mutual_info"].get<double>();
      EXPECT_LE(info, previous) << "rows out of order at " << row["name"];
      previous = info;
      const size_t w = index(row["name"].get<std::string>());
      EXPECT_NEAR(info, mutualInfo(ref, lik, t, w, 2, 2), 1e-5) << q.target << " / " << row["name"];
      EXPECT_TRUE(row["variance_reduction"].is_null());
    }
    EXPECT_EQ(got["nodes"][0]["name"], q.target);  // the target tells all of itself
    EXPECT_NEAR(got["nodes"][0]["percent"].get<double>(), 100, 1e-9);
  }
  CloseQuorva_bn(env, nullptr);
}

TEST(SensitivityCommandTest, TextReportAndStatuses) {
  ToolRun text = quorva({"sensitivity", ASIA, "lung_cancer", "--nodes", "smoking,bronchitis"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("Sensitivity of 'lung_cancer' to findings at 2 nodes:\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("\n  smoking               "), std::string::npos) << text.out;
  EXPECT_LT(text.out.find("\n  smoking "), text.out.find("\n  bronchitis ")) << text.out;

  struct Bad {
    std::vector<std::string> args;
    int status;
    std::string says;
  };
  const Bad bad[] = {
      {{"sensitivity", ASIA}, 2, "TARGET"},
      {{"sensitivity", ASIA, "no_such_node"}, 1, "no node named 'no_such_node'"},
      {{"sensitivity", ASIA, "lung_cancer", "-f", "smoking"}, 2, "NODE=STATE"},
      {{"sensitivity", ASIA, "lung_cancer", "-f", "tuberculosis=#0", "-f", "tuberculos_or_cancer=#1"}, 1, "inconsistent"},
  };
  for (const Bad& b : bad) {
    ToolRun r = quorva(b.args);
    EXPECT_EQ(r.status, b.status) << b.says << ": " << r.err;
    EXPECT_NE(r.err.find(b.says), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "") << b.says;
  }
}

}  // namespace
