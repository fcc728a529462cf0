// quorva decide run as a process on the example decision nets: its JSON answers against the
// values worked out by hand (see tests/BN/Decision/DecisionExamplesTest.cpp), the readable
// policy table, and its exit statuses.
#include <gtest/gtest.h>

#include "ToolRun.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

using json = nlohmann::json;
const std::string EXAMPLES = std::string(QUORVA_SOURCE_DIR) + "/examples/";

// Two decisions: run the test (90.4 against 90), then treat on a positive result only.
// (A finding through -f is checked against the serve command's in ServeCommandTest.)
TEST(DecideCommand, JsonGivesUtilityPoliciesAndOptionUtilities) {
  const json j = runJson({"decide", EXAMPLES + "test_treat.dne", "--json"});
  EXPECT_NEAR(j["expected_utility"].get<double>(), 90.4, 1e-5);
  ASSERT_EQ(j["decisions"].size(), 2u);
  const json& run = j["decisions"][0];
  EXPECT_EQ(run["name"], "RunTest");
  EXPECT_EQ(run["policy"][0]["choice"], "run");
  EXPECT_NEAR(run["options"][1]["expected_utility"].get<double>(), 90, 1e-5);
  const json& treat = j["decisions"][1];
  const char* choice[3] = {"treat", "dont", "dont"};
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(treat["policy"][i]["choice"], choice[i]) << i;
}

TEST(DecideCommand, TextShowsOnePolicyLinePerParentStateAndKeepsPolicyUnderFindingAtParent) {
  ToolRun r = runQuorva({"decide", EXAMPLES + "treat.dne", "-f", "Test=positive"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Maximum expected utility: 86.6667"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Policy (given Test):"), std::string::npos) << r.out;
  // The finding picks the row; the row it rules out keeps its choice.
  EXPECT_NE(r.out.find("positive                -> treat"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("negative                -> dont"), std::string::npos) << r.out;
}

TEST(DecideCommand, BadInputGivesItsMessageAndStatus) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* says;
  } cases[] = {
      {{"decide", EXAMPLES + "treat.dne", "-f", "Tst=positive"}, 1, "no node named 'Tst'"},
      {{"decide", EXAMPLES + "treat.dne", "-f", "Test=pos"}, 1, "no state 'pos'"},
      {{"decide", EXAMPLES + "treat.dne", "-f", "Test"}, 2, "NODE=STATE"},
      {{"decide", EXAMPLES + "asia.dne"}, 1, "has no decision nodes"},
      {{"decide", EXAMPLES + "treat.dne", "--frobnicate"}, 2, "frobnicate"},
  };
  for (const Case& c : cases) {
    ToolRun r = runQuorva(c.args);
    EXPECT_EQ(r.status, c.status) << c.says << "\n" << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
  }
}

}  // namespace
