// `quorva learn` and `quorva test` run as processes: the learnt tables are the engine's, the test
// scores hang together, and wrong command lines exit with 2 and failures with 1.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ToolRun.h"
#include "Quorva.h"
#include "Support/EnvFixture.h"

namespace {

const std::string SRC = QUORVA_SOURCE_DIR;
const std::string ASIA = SRC + "/examples/asia.bif", ASIA_CASES = SRC + "/examples/asia_cases.txt";

class LearnCommandTest : public EnvTest {
 protected:
  void SetUp() override { EnvTest::SetUp(); ASSERT_FALSE((tmp = makeTempDir()).empty()); }
  void TearDown() override { removeDir(tmp); EnvTest::TearDown(); }
  ToolRun quorva(const std::vector<std::string>& args) { return runQuorva(args, tmp); }
  // Every CPT entry of `net`, in net order.
  static std::vector<double> cpts(net_bn* net) {
    std::vector<double> out;
    const nodelist_bn* nodes = net ? GetNetNodes_bn(net) : nullptr;
    for (int i = 0; nodes && i < LengthNodeList_bn(nodes); ++i) {
      int size = 0;
      GetNodeTable_bn(GetNthNode_bn(nodes, i), "cpt", nullptr, 0, nullptr, &size);
      std::vector<double> t(static_cast<size_t>(size));
      GetNodeTable_bn(GetNthNode_bn(nodes, i), "cpt", nullptr, 0, t.data(), &size);
      out.insert(out.end(), t.begin(), t.end());
    }
    return out;
  }
  net_bn* read(const std::string& path) { return ReadNet_bn(NewFileStream_vq(path.c_str(), env, nullptr), NO_VISUAL_INFO); }
  std::string tmp;
};

// Thread counts are the engine's concern (LearningThreadsTest); the tool, on two threads, learns
// what the engine learns from the same net with its tables removed.
TEST_F(LearnCommandTest, em_learns_what_the_engine_learns) {
  ToolRun two = quorva({"learn", ASIA, ASIA_CASES, "-o", tmp + "/two.dne", "--em", "--threads", "2"});
  ASSERT_EQ(two.status, 0) << two.err;
  EXPECT_NE(two.out.find("by EM in"), std::string::npos) << two.out;
  const std::vector<double> got = cpts(read(tmp + "/two.dne"));
  ASSERT_FALSE(got.empty());

  net_bn* net = read(ASIA);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) DeleteNodeTables_bn(GetNthNode_bn(nodes, i));
  caseset_cs* cases = NewCaseset_cs("c", env);
  AddFileToCaseset_cs(cases, NewFileStream_vq(ASIA_CASES.c_str(), env, nullptr), 1, nullptr);
  LearnCPTs_bn(NewLearner_bn(EM_LEARNING, nullptr, env), nodes, cases, 1);
  const std::vector<double> engine = cpts(net);
  ASSERT_EQ(engine.size(), got.size());
  for (size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], engine[i], 1e-6) << i;
}

// The JSON scores hang together: the confusion matrix holds every scored case, the error rate is
// its off-diagonal share, and the losses lie in their ranges.
TEST_F(LearnCommandTest, test_json_scores_agree_with_the_confusion_matrix) {
  const nlohmann::json j = runJson({"test", ASIA, ASIA_CASES, "--nodes", "lung_cancer,smoking", "--json", "--threads", "2"});
  ASSERT_EQ(j["nodes"].size(), 2u);
  for (const auto& n : j["nodes"]) {
    double total = 0, right = 0;
    const auto& m = n["confusion"];
    for (size_t a = 0; a < m.size(); ++a)
      for (size_t p = 0; p < m[a].size(); ++p) {
        total += m[a][p].get<double>();
        if (a == p) right += m[a][p].get<double>();
      }
    ASSERT_GT(total, 0);
    EXPECT_NEAR(n["error_rate"].get<double>(), 1 - right / total, 1e-12) << n["name"];
    EXPECT_GE(n["log_loss"].get<double>(), 0);
    EXPECT_GE(n["quadratic_loss"].get<double>(), 0);
    EXPECT_LE(n["quadratic_loss"].get<double>(), 2);
  }
}

TEST_F(LearnCommandTest, wrong_command_lines_exit_with_two_and_failures_with_one) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* said;
  } cases[] = {
      {{"learn", ASIA, ASIA_CASES}, 2, "--out is required"},
      {{"test", ASIA, ASIA_CASES}, 2, "--nodes is required"},
      {{"learn", ASIA, ASIA_CASES, "-o", "x.dne", "--max-iterations", "0"}, 2, "--max-iterations"},
      {{"learn", ASIA, "/no/such/cases.txt", "-o", "x.dne"}, 1, "couldn't open file '/no/such/cases.txt'"},
      {{"test", ASIA, ASIA_CASES, "--nodes", "nowhere"}, 1, "has no node named 'nowhere'"},
  };
  for (const Case& c : cases) {
    ToolRun r = quorva(c.args);
    EXPECT_EQ(r.status, c.status) << c.said << ": " << r.err;
    EXPECT_NE(r.err.find(c.said), std::string::npos) << r.err;
  }
}

}  // namespace
