// quorva sensitivity run as a process: its rows, their order, and its exit statuses.
#include <gtest/gtest.h>

#include "ToolRun.h"

#include <algorithm>
#include <set>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace {

using json = nlohmann::json;
const std::string ASIA = std::string(QUORVA_SOURCE_DIR) + "/examples/asia.bif";

// The values are the engine's (checked against an enumerated joint in SensitivityTest); here, the
// rows as JSON: every node once, most telling first, the target first at 100% with the entropy,
// and the findings given on the command line entered (a found node tells nothing more).
TEST(SensitivityCommandTest, RowsComeMostTellingFirstUnderTheFindingsGiven) {
  struct Query {
    std::string target;
    std::vector<std::string> args, found;
  };
  const Query queries[] = {
      {"tuberculos_or_cancer", {}, {}},
      {"lung_cancer", {"-f", "smoking=f1", "-f", "positive_XraY=#0"}, {"smoking", "positive_XraY"}},
  };
  for (const Query& q : queries) {
    std::vector<std::string> args{"sensitivity", ASIA, q.target, "--json"};
    args.insert(args.end(), q.args.begin(), q.args.end());
    const json got = runJson(args);
    ASSERT_EQ(got["nodes"].size(), 8u);
    std::set<std::string> seen;
    double previous = 1e9;
    for (const json& row : got["nodes"]) {
      const double info = row["mutual_info"].get<double>();
      EXPECT_LE(info, previous) << "rows out of order at " << row["name"];
      previous = info;
      seen.insert(row["name"].get<std::string>());
      EXPECT_TRUE(row["variance_reduction"].is_null());
      if (std::find(q.found.begin(), q.found.end(), row["name"]) != q.found.end()) {
        EXPECT_NEAR(info, 0, 1e-9) << row["name"];
      }
    }
    EXPECT_EQ(seen.size(), 8u);
    EXPECT_GT(got["entropy"].get<double>(), 0);
    EXPECT_EQ(got["nodes"][0]["name"], q.target);  // the target tells all of itself
    EXPECT_NEAR(got["nodes"][0]["mutual_info"].get<double>(), got["entropy"].get<double>(), 1e-9);
    EXPECT_NEAR(got["nodes"][0]["percent"].get<double>(), 100, 1e-9);
  }
}

TEST(SensitivityCommandTest, TextReportAndStatuses) {
  ToolRun text = runQuorva({"sensitivity", ASIA, "lung_cancer", "--nodes", "smoking,bronchitis"});
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
    ToolRun r = runQuorva(b.args);
    EXPECT_EQ(r.status, b.status) << b.says << ": " << r.err;
    EXPECT_NE(r.err.find(b.says), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "") << b.says;
  }
}

}  // namespace
