// The tool with the foreign net formats: convert between every pair, beliefs of the converted
// nets as of the original, decision nets through XMLBIF and Hugin NET, UAI evidence with -e, DOT
// with bars, and refusals.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

using json = nlohmann::json;
const std::string DATA = std::string(QUORVA_SOURCE_DIR) + "/tests/data/";
const std::string EXAMPLES = std::string(QUORVA_SOURCE_DIR) + "/examples/";

using FormatsCommandTest = ToolDirTest;

// Beliefs of node i of two runs agree within 1e-5 (the names may differ: UAI keeps none).
void expectSameBeliefs(const json& a, const json& b) {
  ASSERT_EQ(a["nodes"].size(), b["nodes"].size());
  for (size_t i = 0; i < a["nodes"].size(); ++i)
    for (size_t s = 0; s < a["nodes"][i]["beliefs"].size(); ++s)
      EXPECT_NEAR(a["nodes"][i]["beliefs"][s].get<double>(), b["nodes"][i]["beliefs"][s].get<double>(), 1e-5);
  EXPECT_NEAR(a["findings_probability"].get<double>(), b["findings_probability"].get<double>(), 1e-6);
}

TEST_F(FormatsCommandTest, a_chain_of_conversions_keeps_the_beliefs) {
  const std::string alarm = DATA + "alarm.bif";
  json want = beliefs({alarm});
  std::string prev = alarm;
  for (const char* file : {"a.xml", "a.net", "a.uai", "a.xbif", "a.dne", "a.bif"}) {
    std::string out = dir + "/" + file;
    ToolRun r = quorva({"convert", prev, out});
    ASSERT_EQ(r.status, 0) << file << ": " << r.err;
    expectSameBeliefs(beliefs({out}), want);
    prev = out;
  }
  // The UAI names file brought the names back.
  ToolRun named = quorva({"beliefs", dir + "/a.uai", "-f", "HISTORY=s0", "--nodes", "HISTORY"});
  EXPECT_EQ(named.status, 0) << named.err;
  // A name the extension does not tell is read by its start.
  ToolRun copy = quorva({"convert", dir + "/a.net", dir + "/a.txt", "--to", "net"});
  ASSERT_EQ(copy.status, 0) << copy.err;
  expectSameBeliefs(beliefs({dir + "/a.txt"}), want);
}

TEST_F(FormatsCommandTest, decision_nets_survive_xmlbif_and_hugin) {
  const double want = runJson({"decide", EXAMPLES + "test_treat.dne", "--json"})["expected_utility"];
  for (const char* file : {"t.xml", "t.net"}) {
    std::string out = dir + "/" + file;
    ASSERT_EQ(quorva({"convert", EXAMPLES + "test_treat.dne", out}).status, 0);
    EXPECT_NEAR(runJson({"decide", out, "--json"})["expected_utility"].get<double>(), want, 1e-4) << file;
  }
  for (const char* file : {"t.bif", "t.uai"}) {
    ToolRun r = quorva({"convert", EXAMPLES + "test_treat.dne", dir + "/" + file});
    EXPECT_EQ(r.status, 1) << file;
    EXPECT_NE(r.err.find("error 2955"), std::string::npos) << r.err;
  }
}

TEST_F(FormatsCommandTest, uai_evidence_file_enters_findings) {
  const std::string uai = dir + "/asia.uai";
  ASSERT_EQ(quorva({"convert", DATA + "asia.bif", uai}).status, 0);
  expectSameBeliefs(beliefs({uai, "-e", write("e.evid", "2 3 0 5 1\n")}),  // positive_XraY = d1, smoking = f2
                    beliefs({DATA + "asia.bif", "-f", "positive_XraY=d1", "-f", "smoking=f2"}));
  ToolRun bad = quorva({"beliefs", uai, "-e", write("bad.evid", "1 3 7\n")});
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find("out of range"), std::string::npos) << bad.err;
}

TEST_F(FormatsCommandTest, dot_output_and_its_refusals) {
  const std::string dot = dir + "/n.dot";
  ToolRun r = quorva({"convert", EXAMPLES + "treat.dne", dot});
  ASSERT_EQ(r.status, 0) << r.err;
  std::string text = slurp(dot);
  EXPECT_NE(text.find("Treat [shape=box"), std::string::npos) << text;
  EXPECT_NE(text.find("Health [shape=diamond"), std::string::npos) << text;
  ToolRun bars = quorva({"convert", DATA + "asia.bif", dot, "--bars", "-f", "smoking=f1"});
  ASSERT_EQ(bars.status, 0) << bars.err;
  EXPECT_NE(slurp(dot).find("<TD ALIGN=\"RIGHT\">100.0</TD>"), std::string::npos);  // smoking is known
  EXPECT_EQ(quorva({"convert", DATA + "asia.bif", dir + "/n.net", "--bars"}).status, 2);
  ToolRun readDot = quorva({"beliefs", dot});
  EXPECT_EQ(readDot.status, 1);
  EXPECT_NE(readDot.err.find("written, not read"), std::string::npos) << readDot.err;
  EXPECT_EQ(quorva({"convert", DATA + "asia.bif", dir + "/x", "--to", "graph"}).status, 2);
}

}  // namespace
