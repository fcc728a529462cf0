// quorva sample, and the approximate methods and expected values of quorva beliefs and cases, run
// as processes: the sampled file the same for any thread count, approximate beliefs near the exact
// ones with their errors printed, the automatic choice on a net too large to compile, and the
// statuses of bad command lines.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

using json = nlohmann::json;
const std::string ASIA = std::string(QUORVA_SOURCE_DIR) + "/examples/asia.dne";
const std::string ASIA_CASES = std::string(QUORVA_SOURCE_DIR) + "/examples/asia_cases.txt";
const std::string ALARM = std::string(QUORVA_SOURCE_DIR) + "/tests/data/alarm.bif";

using SampleCommandTest = ToolDirTest;

TEST_F(SampleCommandTest, FileIsTheSameForOneAndTwoThreads) {
  std::string first;
  for (const char* threads : {"1", "2"}) {
    const std::string out = dir + "/cases" + threads + ".txt";
    const ToolRun r = quorva({"sample", ALARM, "-n", "10000", "--seed", "9", "--threads", threads, "-o", out});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string text = slurp(out);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10001);
    if (first.empty()) first = text;
    else EXPECT_EQ(text, first);
  }
  // A finding: every case keeps its state, and a weight column comes first.
  const std::string out = dir + "/weighted.txt";
  ASSERT_EQ(quorva({"sample", ASIA, "-n", "50", "-f", "smoking=smoker", "-o", out}).status, 0);
  std::istringstream in(slurp(out));
  std::string header;
  std::getline(in, header);
  EXPECT_EQ(header.rfind("NumCases\t", 0), 0u) << header;
}

TEST_F(SampleCommandTest, BadCommandLinesAndNetsFail) {
  struct Case {
    std::vector<std::string> args;
    int status;
  };
  const std::string out = dir + "/x.txt";
  for (const Case& c : {Case{{"sample", ASIA, "-o", out}, 2}, Case{{"sample", ASIA, "-n", "5"}, 2},
                        Case{{"sample", ASIA, "-n", "-5", "-o", out}, 2},
                        Case{{"sample", ASIA, "-n", "5", "--threads", "0", "-o", out}, 2},
                        Case{{"sample", ASIA, "-n", "5", "-f", "nonode=yes", "-o", out}, 1},
                        Case{{"sample", dir + "/none.dne", "-n", "5", "-o", out}, 1},
                        Case{{"beliefs", ASIA, "--method", "guess"}, 2},
                        Case{{"beliefs", ASIA, "--method", "loopy", "--damping", "1"}, 2}}) {
    const ToolRun r = quorva(c.args);
    EXPECT_EQ(r.status, c.status) << c.args[1] << " " << r.err;
    EXPECT_FALSE(r.err.empty());
  }
}

// Every method against the exact beliefs of the same findings, through the JSON output.
TEST_F(SampleCommandTest, ApproximateMethodsPrintBeliefsNearTheExactOnesWithErrors) {
  const std::vector<std::string> args{ASIA, "-f", "smoking=smoker", "-f", "dyspnoea=present"};
  const json exact = beliefs(args);
  EXPECT_FALSE(exact.contains("method"));
  for (const char* method : {"lw", "is", "loopy"}) {
    SCOPED_TRACE(method);
    std::vector<std::string> a = args;
    a.insert(a.end(), {"--method", method, "--seed", "3"});
    const json approx = beliefs(a);
    EXPECT_EQ(approx["method"], method);
    ASSERT_EQ(approx["nodes"].size(), exact["nodes"].size());
    for (size_t i = 0; i < exact["nodes"].size(); ++i) {
      const json& e = exact["nodes"][i]["beliefs"];
      const json& b = approx["nodes"][i]["beliefs"];
      const json& err = approx["nodes"][i]["errors"];
      ASSERT_EQ(err.size(), e.size());
      for (size_t s = 0; s < e.size(); ++s) {
        // Loopy propagation on asia's one loop is not exact; 0.05 is its known reach there.
        EXPECT_NEAR(b[s].get<double>(), e[s].get<double>(), std::string(method) == "loopy" ? 0.05 : 0.01);
        EXPECT_GE(err[s].get<double>(), 0);
      }
    }
    if (std::string(method) == "loopy") EXPECT_TRUE(approx["findings_probability"].is_null());
    else EXPECT_NEAR(approx["findings_probability"].get<double>(), exact["findings_probability"].get<double>(), 0.01);
  }
  const ToolRun t = quorva({"beliefs", ASIA, "--method", "lw", "-f", "smoking=smoker"});
  ASSERT_EQ(t.status, 0) << t.err;
  EXPECT_NE(t.out.find("estimated by likelihood weighting"), std::string::npos) << t.out;
  EXPECT_NE(t.out.find("\u00B1"), std::string::npos);
}

TEST_F(SampleCommandTest, CasesTakeTheMethodToo) {
  const ToolRun r = quorva({"cases", ASIA, ASIA_CASES, "--json", "--method", "is", "--samples", "20000", "--threads", "2"});
  const ToolRun exact = quorva({"cases", ASIA, ASIA_CASES, "--json", "--threads", "1"});
  EXPECT_EQ(r.status, exact.status) << r.err;  // the impossible case is refused by both
  std::istringstream a(r.out), e(exact.out);
  int compared = 0;
  for (std::string la, le; std::getline(a, la) && std::getline(e, le);) {
    const json ja = json::parse(la), je = json::parse(le);
    EXPECT_EQ(ja["case"], je["case"]);
    if (je.contains("error")) continue;
    ASSERT_TRUE(ja.contains("nodes")) << la;
    for (size_t i = 0; i < je["nodes"].size(); ++i)
      for (size_t s = 0; s < je["nodes"][i]["beliefs"].size(); ++s)
        EXPECT_NEAR(ja["nodes"][i]["beliefs"][s].get<double>(), je["nodes"][i]["beliefs"][s].get<double>(), 0.02);
    EXPECT_TRUE(ja["nodes"][0].contains("errors"));
    ++compared;
  }
  EXPECT_GT(compared, 2);
}

// A 40 x 40 grid of binary nodes, each with the node above and the node to its left as parents:
// its junction tree would need far more than 2e8 entries, so beliefs answers approximately and
// says so.  (How fast it answers is shown by bench_approx, not here.)
TEST_F(SampleCommandTest, GridTooLargeToCompileIsAnsweredWithANotice) {
  std::mt19937 rng(40);
  std::string text = "// ~->[DNET-1]->~\nbnet Grid {\n";
  auto name = [](int r, int c) { return "g" + std::to_string(r) + "_" + std::to_string(c); };
  for (int r = 0; r < 40; ++r)
    for (int c = 0; c < 40; ++c) {
      std::string parents = r > 0 ? name(r - 1, c) : "", probs;
      if (c > 0) parents += (parents.empty() ? "" : ", ") + name(r, c - 1);
      for (int row = 0; row < 1 << ((r > 0) + (c > 0)); ++row) {  // each row (p, 1 - p), p in [0.05, 0.95]
        const int p = 5 + static_cast<int>(rng() % 91);
        probs += (row ? ", " : "") + std::to_string(p / 100.0) + ", " + std::to_string((100 - p) / 100.0);
      }
      text += " node " + name(r, c) + " { states = (s0, s1); parents = (" + parents + "); probs = (" + probs + "); };\n";
    }
  const std::string grid = write("grid.dne", text + "};\n");
  const ToolRun r = quorva({"beliefs", grid, "--nodes", "g39_39", "--samples", "2000", "-f", "g0_0=#0"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("notice"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("approximated by importance sampling"), std::string::npos) << r.err;
  EXPECT_NE(r.out.find("g39_39"), std::string::npos) << r.out;
}

// Nodes with levels print their expected value: the mean and standard deviation of the levels
// under the printed beliefs, for the exact and the approximate methods.
TEST_F(SampleCommandTest, ExpectedValuesOfNodesWithLevels) {
  const std::string net = write("levels.dne",
      "// ~->[DNET-1]->~\nbnet Levels {\n node A { states = (s0, s1, s2); levels = (1.5, 4, 10); probs = (0.2, 0.5, 0.3); };\n"
      // continuous, discretized into two intervals
      " node T { discrete = FALSE; numstates = 2; levels = (0, 20, 50); parents = (A); probs = (0.9, 0.1, 0.5, 0.5, 0.2, 0.8); };\n"
      " node B { states = (b0, b1); parents = (A); };\n};\n");  // no levels: no expected value
  for (const char* method : {"exact", "lw"}) {
    SCOPED_TRACE(method);
    const json j = beliefs({net, "--method", method});
    const std::vector<std::vector<double>> values{{1.5, 4, 10}, {10, 35}};
    for (size_t i = 0; i < 2; ++i) {
      const json& node = j["nodes"][i];
      ASSERT_TRUE(node.contains("expected")) << node.dump();
      double mean = 0, second = 0;
      for (size_t s = 0; s < values[i].size(); ++s) {
        const double p = node["beliefs"][s].get<double>();
        mean += p * values[i][s];
        second += p * values[i][s] * values[i][s];
      }
      EXPECT_NEAR(node["expected"]["mean"].get<double>(), mean, 1e-5);
      EXPECT_NEAR(node["expected"]["std_dev"].get<double>(), std::sqrt(second - mean * mean), 1e-5);
    }
    EXPECT_FALSE(j["nodes"][2].contains("expected"));
  }
  const ToolRun text = quorva({"beliefs", net});
  EXPECT_NE(text.out.find("expected value: "), std::string::npos) << text.out;
}

}  // namespace
