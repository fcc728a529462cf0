// quorva mpe, joint and graph on asia: the answers agree with each other and with beliefs, and
// wrong command lines fail as the other commands do.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ToolRun.h"

namespace {

using json = nlohmann::json;
const std::string ASIA = std::string(QUORVA_SOURCE_DIR) + "/examples/asia.dne";

// The joint's rows summed over lung_cancer are tuberculosis's beliefs; the mode of the pair is its
// largest row; the mode of every node (junction tree) and of all nodes listed (elimination) agree.
TEST(QueryCommands, joint_mode_and_beliefs_agree) {
  const json rows = runJson({"joint", ASIA, "--nodes", "tuberculosis,lung_cancer", "-f", "positive_XraY=d1", "--json"})["joint"];
  ASSERT_EQ(rows.size(), 4u);
  const double tb = runJson({"beliefs", ASIA, "-f", "positive_XraY=d1", "--nodes", "tuberculosis", "--json"})["nodes"][0]["beliefs"][0];
  EXPECT_NEAR(rows[0]["p"].get<double>() + rows[1]["p"].get<double>(), tb, 1e-6);
  json best = rows[0];
  for (const auto& r : rows)
    if (r["p"].get<double>() > best["p"].get<double>()) best = r;
  const json m = runJson({"mpe", ASIA, "--nodes", "tuberculosis,lung_cancer", "-f", "positive_XraY=d1", "--json"});
  EXPECT_EQ(m["states"]["tuberculosis"], best["tuberculosis"]);
  EXPECT_EQ(m["states"]["lung_cancer"], best["lung_cancer"]);
  EXPECT_NEAR(m["probability"].get<double>(), best["p"].get<double>(), 1e-9);

  const std::string all = "visit_to_Asia,tuberculosis,tuberculos_or_cancer,positive_XraY,lung_cancer,smoking,bronchitis,dyspnoea";
  const json t = runJson({"mpe", ASIA, "-f", "smoking=f1", "--json"});
  const json l = runJson({"mpe", ASIA, "-f", "smoking=f1", "--nodes", all, "--json"});
  EXPECT_EQ(t["states"], l["states"]);
  EXPECT_NEAR(t["probability"].get<double>(), l["probability"].get<double>(), 1e-6);
}

TEST(QueryCommands, graph_answers_and_wrong_command_lines) {
  ToolRun r = runQuorva({"graph", ASIA, "--blanket", "tuberculosis"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "Markov blanket of tuberculosis: visit_to_Asia, tuberculos_or_cancer, lung_cancer\n");
  r = runQuorva({"graph", ASIA, "--dsep", "visit_to_Asia", "--from", "smoking"});
  EXPECT_EQ(r.out, "visit_to_Asia is d-separated from smoking given (none)\n");
  r = runQuorva({"graph", ASIA, "--dsep", "visit_to_Asia", "--from", "smoking", "--given", "dyspnoea"});
  EXPECT_EQ(r.out, "visit_to_Asia is not d-separated from smoking given dyspnoea\n");
  r = runQuorva({"graph", ASIA, "--relevant", "lung_cancer"});
  EXPECT_EQ(r.out, "Nodes the beliefs of lung_cancer need given 0 findings (2 nodes of 8): lung_cancer, smoking\n");
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* err;
  } cases[] = {
      {{"graph", ASIA}, 2, "quorva: give one of --blanket, --dsep or --relevant\n"},
      {{"graph", ASIA, "--dsep", "smoking"}, 2, "quorva: --dsep needs --from\n"},
      {{"mpe", ASIA, "--nodes", "lung"}, 1, "quorva: net 'Asia' has no node named 'lung'\n"},
      {{"joint", ASIA}, 2, "--nodes is required\n"},
      {{"mpe", ASIA, "-f", "smoking=yes"}, 1, "quorva: no state 'yes' in node 'smoking'"},
  };
  for (const Case& c : cases) {
    r = runQuorva(c.args);
    EXPECT_EQ(r.status, c.status) << c.args[0] << " " << r.err;
    EXPECT_EQ(r.err.rfind(c.err, 0), 0u) << r.err;
  }
}

// do(either = c1) leaves the causes at their priors and moves the effects as observing does.
TEST(QueryCommands, beliefs_under_an_intervention) {
  auto beliefs = [](std::vector<std::string> args) {
    args.insert(args.begin(), {"beliefs", ASIA, "--nodes", "lung_cancer,positive_XraY", "--json"});
    const json nodes = runJson(args)["nodes"];
    return std::vector<double>{nodes[0]["beliefs"][0], nodes[1]["beliefs"][0]};
  };
  std::vector<double> prior = beliefs({}), done = beliefs({"--do", "tuberculos_or_cancer=c1"}),
                      seen = beliefs({"-f", "tuberculos_or_cancer=c1"});
  EXPECT_NEAR(done[0], prior[0], 1e-6);
  EXPECT_GT(seen[0], prior[0] + 0.5);
  EXPECT_NEAR(done[1], seen[1], 1e-6);
  EXPECT_EQ(runQuorva({"beliefs", ASIA, "--do", "tuberculos_or_cancer=zz"}).status, 1);
}

}  // namespace
