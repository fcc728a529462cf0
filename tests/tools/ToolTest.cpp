// The quorva tool run as a process, on small inputs: its JSON answers against an independent
// enumeration of the joint distribution, DNET against BIF, case files with one and several
// threads, conversions, and its exit statuses and error lines.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>
#include <map>
#include <set>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "Quorva.h"
#include "ToolRun.h"
#include "Support/ReferenceJoint.h"

namespace {

using json = nlohmann::json;
const std::string SRC = QUORVA_SOURCE_DIR;
const std::string ASIA_BIF = SRC + "/examples/asia.bif", ASIA_DNE = SRC + "/examples/asia.dne";
const std::string ASIA_CASES = SRC + "/examples/asia_cases.txt", ALARM = SRC + "/tests/data/alarm.bif";
// "quorva: SEVERITY NUMBER: MESSAGE"
const std::regex RECORD_LINE("(^|\n)quorva: (warning|error|internal error) [0-9]+: [^\n]+");

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream s(text);
  for (std::string line; std::getline(s, line);) out.push_back(line);
  return out;
}

using ToolTest = ToolDirTest;

TEST_F(ToolTest, BeliefsAgreeWithTheEnumeratedJointDistribution) {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  ASSERT_GE(InitQuorva2_bn(env, nullptr), 0);
  net_bn* net = ReadNet_bn(NewFileStream_vq(ASIA_BIF.c_str(), env, nullptr), NO_VISUAL_INFO);
  ASSERT_NE(net, nullptr);
  ReferenceJoint reference(net);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  auto index = [&](const char* name) { return static_cast<size_t>(IndexOfNodeInList_bn(GetNodeNamed_bn(name, net), nodes, 0)); };
  struct Query {
    std::vector<std::string> args;
    std::vector<std::pair<const char*, std::vector<double>>> likelihoods;
  };
  const Query queries[] = {
      {{}, {}},
      {{"-f", "smoking=f1", "-f", "positive_XraY=d1"}, {{"smoking", {1, 0}}, {"positive_XraY", {1, 0}}}},
      {{"-f", "dyspnoea=#0", "-l", "visit_to_Asia=0.9,0.3", "--finding=bronchitis=g2"},
       {{"dyspnoea", {1, 0}}, {"visit_to_Asia", {0.9, 0.3}}, {"bronchitis", {0, 1}}}},
  };
  for (const Query& q : queries) {
    std::vector<std::string> args{ASIA_BIF};
    args.insert(args.end(), q.args.begin(), q.args.end());
    json got = beliefs(args);
    std::vector<std::vector<double>> lik(static_cast<size_t>(LengthNodeList_bn(nodes)));
    for (const auto& [name, l] : q.likelihoods) lik[index(name)] = l;
    ReferenceJoint::Answer want = reference.solve(lik);
    EXPECT_EQ(got["net"], "Asia");
    EXPECT_NEAR(got["findings_probability"].get<double>(), want.probFindings, 1e-6);
    ASSERT_EQ(got["nodes"].size(), want.beliefs.size());
    for (size_t i = 0; i < want.beliefs.size(); ++i) {
      node_bn* node = GetNthNode_bn(nodes, static_cast<int>(i));
      EXPECT_EQ(got["nodes"][i]["name"], GetNodeName_bn(node));
      EXPECT_EQ(got["nodes"][i]["states"][1], GetNodeStateName_bn(node, 1));
      for (size_t st = 0; st < want.beliefs[i].size(); ++st)
        EXPECT_NEAR(got["nodes"][i]["beliefs"][st].get<double>(), want.beliefs[i][st], 1e-6);
    }
  }
  CloseQuorva_bn(env, nullptr);
  // --nodes picks and orders the nodes printed; each belief (a float) is printed with the digits
  // to read it back exactly.
  const json picked = beliefs({ASIA_BIF, "--nodes", "tuberculos_or_cancer,lung_cancer", "-f", "smoking=f2"});
  ASSERT_EQ(picked["nodes"].size(), 2u);
  EXPECT_EQ(picked["nodes"][1]["name"], "lung_cancer");
  for (const json& node : picked["nodes"])
    for (const json& b : node["beliefs"]) EXPECT_EQ(static_cast<double>(static_cast<float>(b.get<double>())), b.get<double>()) << node;
}

TEST_F(ToolTest, CasesPrintALinePerCaseAndAnErrorForTheImpossibleOne) {
  // One case (the fifth) refused: every other case printed, the refusal summed, and status 1.
  ToolRun r = quorva({"cases", ASIA_DNE, ASIA_CASES, "--json", "--threads", "1"});
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_EQ(r.err, "quorva: 1 of 12 cases refused\n");
  std::vector<std::string> got = lines(r.out);
  ASSERT_EQ(got.size(), 12u);
  EXPECT_EQ(json::parse(got[4])["error"], "according to this model, the findings entered are inconsistent");
  // Case 0 is visit_to_Asia=a2, smoking=f1, positive_XraY=d1, dyspnoea=h1: as `beliefs` says.
  // (`beliefs` updates after each finding, the cases after all of them: the floats may differ.)
  json first = json::parse(got[0]);
  EXPECT_EQ(first["net"], "Asia");
  expectSameBeliefs(first, beliefs({ASIA_DNE, "-f", "visit_to_Asia=a2", "-f", "smoking=f1", "-f", "positive_XraY=d1", "-f",
                            "dyspnoea=h1"}), 1e-6);
  // Case 11 holds the likelihood [0.8;0.2] for smoking.
  expectSameBeliefs(json::parse(got[11]), beliefs({ASIA_DNE, "-l", "smoking=0.8,0.2", "-f", "dyspnoea=h1"}), 1e-6);
}

TEST_F(ToolTest, CasesGiveTheSameOutputWithOneAndSeveralThreads) {
  // Enough cases for many batches, with faulty lines among them: an unknown state (skipped by the
  // reader), too few entries, and an impossible case.
  std::string file = "visit_to_Asia\tsmoking\tpositive_XraY\tdyspnoea\n";
  const char* rows[] = {"a2\tf1\td1\th1", "*\tf2\t*\t*", "a1\t*\td2\th2", "*\tf1\tzz\t*", "a2\tf2\td1"};
  for (int i = 0; i < 1500; ++i) file += std::string(rows[i % 5]) + "\n";
  const std::string path = write("many.txt", file);
  ToolRun one = quorva({"cases", ASIA_DNE, path, "--json", "--threads", "1", "--nodes", "lung_cancer"});
  ToolRun two = quorva({"cases", ASIA_DNE, path, "--json", "--threads", "2", "--nodes", "lung_cancer"});
  ASSERT_EQ(one.status, 1) << one.err;
  EXPECT_EQ(two.status, 1);
  EXPECT_EQ(one.err, "quorva: 600 of 1500 cases refused\n");
  EXPECT_EQ(two.err, one.err);
  EXPECT_EQ(one.out, two.out);
  std::vector<std::string> got = lines(one.out);
  ASSERT_EQ(got.size(), 1500u);
  for (size_t k = 0; k < got.size(); ++k) {
    json line = json::parse(got[k]);
    ASSERT_EQ(line["case"], k + 1);  // counted from 1
    EXPECT_EQ(line.contains("error"), k % 5 >= 3) << got[k];
  }
  EXPECT_NE(got[3].find("unknown value 'zz'"), std::string::npos) << got[3];
  EXPECT_NE(got[4].find("too few entries"), std::string::npos) << got[4];
  // The human form: a header per case.
  ToolRun human = quorva({"cases", ASIA_DNE, ASIA_CASES, "--nodes", "smoking"});
  EXPECT_NE(human.out.find("Case 12\n"), std::string::npos);
  EXPECT_NE(human.out.find("Case 5: error: "), std::string::npos);
  EXPECT_EQ(human.out.find("Case 0"), std::string::npos);
}

TEST_F(ToolTest, CompileAndBenchReportTheCompiledNet) {
  const json got = runJson({"compile", ALARM, "--json", "--report"});
  // The size, read independently through the API.
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  ASSERT_GE(InitQuorva2_bn(env, nullptr), 0);
  net_bn* net = ReadNet_bn(NewFileStream_vq(ALARM.c_str(), env, nullptr), NO_VISUAL_INFO);
  CompileNet_bn(net);
  EXPECT_EQ(got["total_table_size"].get<double>(), SizeCompiledNet_bn(net, 0));
  const std::string report = ReportJunctionTree_bn(net);
  CloseQuorva_bn(env, nullptr);
  EXPECT_EQ(got["nodes"], 37);
  EXPECT_EQ(got["cliques"], std::count(report.begin(), report.end(), '\n') - 2);  // less header and sum lines
  // The junction tree as data: every node at home in one clique holding it, each separator in
  // both cliques it joins, sizes as numbers.
  ASSERT_EQ(got["junction_tree"].size(), got["cliques"].get<size_t>());
  std::map<std::string, int> homes;
  double total = 0;
  for (const json& c : got["junction_tree"]) {
    total += c["size"].get<double>() + c.value("separator_size", 0.0);
    std::set<std::string> members(c["members"].begin(), c["members"].end());
    for (const json& h : c["home_of"]) {
      ++homes[h.get<std::string>()];
      EXPECT_TRUE(members.count(h.get<std::string>()));
    }
    if (c["joined_to"].is_null()) continue;
    const json& other = got["junction_tree"][c["joined_to"].get<size_t>()];
    std::set<std::string> theirs(other["members"].begin(), other["members"].end());
    for (const json& m : c["separator"]) EXPECT_TRUE(members.count(m.get<std::string>()) && theirs.count(m.get<std::string>())) << m;
  }
  EXPECT_EQ(homes.size(), 37u);
  for (const auto& [name, count] : homes) EXPECT_EQ(count, 1) << name;
  EXPECT_EQ(total, got["total_table_size"].get<double>());

  ToolRun optimized = quorva({"compile", ALARM, "--optimize", "0.2"});
  EXPECT_EQ(optimized.status, 0) << optimized.err;
  EXPECT_NE(optimized.out.find("Max Required:"), std::string::npos) << optimized.out;
  json estimated = json::parse(quorva({"compile", ALARM, "--optimize", "0.2", "--json"}).out);
  ASSERT_FALSE(estimated["estimates"].empty());
  EXPECT_GT(estimated["estimates"].back()["memory_bytes"].get<double>(), 0);

  const json b = runJson({"bench", ASIA_BIF, "--cases", "7", "--findings", "3", "--json"});
  EXPECT_EQ(b["cases"], 7);
  EXPECT_EQ(b["findings"], 3);
  EXPECT_GT(b["mean_update_ms"].get<double>(), 0);
  EXPECT_GT(b["first_update_ms"].get<double>(), 0);
  EXPECT_GT(b["read_mb_per_s"].get<double>(), 0);
  EXPECT_NEAR(b["read_mb_per_s"].get<double>() * b["read_ms"].get<double>() / 1000, b["file_mb"].get<double>(), 1e-9);
  EXPECT_GT(b["peak_memory_mb"].get<double>(), 0);
}

// Each command line with its status: 2 when it is wrong, 1 when the command failed (with an
// error line that says why), and what it says or prints.
TEST_F(ToolTest, CommandLinesGiveTheirStatusAndSayWhy) {
  const std::string one =
      write("one.dne", "// ~->[DNET-1]->~\nbnet One { node A { states = (x, y); probs = (0.5, 0.5); }; };\n");
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err, out;  // substrings; "" for no check
    bool record = false;   // standard error holds an engine record line
  } cases[] = {
      {{"frob"}, 2, "quorva: unknown command 'frob' (the commands are beliefs, cases, compile, convert, check, bench", ""},
      {{}, 2, "a command is required", ""},
      {{"beliefs"}, 2, "", ""},
      {{"beliefs", ASIA_BIF, "--bogus"}, 2, "", ""},
      {{"beliefs", ASIA_BIF, "-f", "smoking"}, 2, "", ""},
      {{"beliefs", ASIA_BIF, "-f"}, 2, "", ""},
      {{"beliefs", ASIA_BIF, "-l", "smoking=0.5,x"}, 2, "", ""},
      {{"beliefs", ASIA_BIF, "-v", "smoking=high"}, 2, "", ""},
      {{"cases", ASIA_BIF}, 2, "", ""},
      {{"cases", ASIA_BIF, ASIA_CASES, "--threads", "0"}, 2, "", ""},
      {{"compile", ASIA_BIF, "--optimize", "soon"}, 2, "", ""},
      {{"compile", ASIA_BIF, "--optimize", "0"}, 2, "expected a number of seconds above 0, got '0'", ""},
      {{"beliefs", dir + "/nothing.dne"}, 1, "nothing.dne", "", true},
      {{"beliefs", ASIA_BIF, "-f", "smoking=#2"}, 1, "no state #2 in node 'smoking'", ""},
      {{"beliefs", ASIA_BIF, "-l", "smoking=0.5,0.5,0.5"}, 1, "", ""},
      {{"beliefs", ASIA_BIF, "-l", "smoking=0.5"}, 1, "has 2 states, but the likelihood given has 1 number\n", ""},
      {{"cases", ASIA_BIF, dir + "/none.txt"}, 1, "", ""},
      {{"cases", ASIA_BIF, write("empty.txt", "smoking\n")}, 1, "", "", true},
      {{"compile", one}, 0, "", "Net One: 1 node, compiled to 1 clique, total table size (with separators) 2\n"},
      {{"compile", SRC + "/tests/data/Link.bif"}, 0, "", "Net Link: 724 nodes, compiled to 591 cliques"},
      {{"beliefs", ASIA_BIF, "--nodes", "smoking, lung_cancer", "--json"}, 0, "", "\"name\":\"lung_cancer\""},
  };
  for (const Case& c : cases) {
    ToolRun r = quorva(c.args);
    const std::string what = c.args.empty() ? "(none)" : c.args[0] + " " + c.args.back();
    EXPECT_EQ(r.status, c.status) << what << ": " << r.err;
    EXPECT_EQ(r.err.empty(), c.status == 0) << what << ": " << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << what << ": " << r.err;
    EXPECT_NE(r.out.find(c.out), std::string::npos) << what << ": " << r.out;
    if (c.record) {
      EXPECT_TRUE(std::regex_search(r.err, RECORD_LINE)) << what << ": " << r.err;
    }
    if (c.err.empty()) continue;
    EXPECT_LT(r.err.size(), 200u) << what;
    EXPECT_EQ((r.out + r.err).find("Unknown"), std::string::npos) << what;
  }
  for (const char* command : {"beliefs", "cases", "compile", "convert", "check", "bench", "decide", "equation", "graph",
                              "joint", "learn", "mpe", "sample", "sensitivity", "serve", "tables", "test"}) {
    ToolRun help = quorva({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find(std::string("quorva ") + command), std::string::npos) << help.out;
  }
  EXPECT_EQ(quorva({"beliefs", ASIA_BIF, "-f", "smokes=f1"}).err,
            "quorva: net 'Asia' has no node named 'smokes'\n");
  // Impossible findings: the engine's record, once.
  ToolRun impossible = quorva({"beliefs", ASIA_BIF, "-f", "tuberculosis=b1", "-f", "tuberculos_or_cancer=c2"});
  EXPECT_EQ(impossible.status, 1);
  EXPECT_TRUE(std::regex_search(impossible.err, std::regex("^quorva: error [0-9]+: [^\n]*inconsistent[^\n]*\n$")))
      << impossible.err;
  EXPECT_TRUE(impossible.out.empty());
}

TEST_F(ToolTest, RealValuesGoToTheIntervalTheyFallIn) {
  // A continuous node discretized into [0, 10) and [10, 30).
  const std::string net = write("thermo.dne",
                                "// ~->[DNET-1]->~\nbnet Thermo {\n"
                                " node Heating { discrete = TRUE; states = (on, off); probs = (0.3, 0.7); };\n"
                                " node Temp { discrete = FALSE; numstates = 2; levels = (0, 10, 30); parents = (Heating);\n"
                                "   probs = ((0.2, 0.8), (0.9, 0.1)); };\n};\n");
  // P(on | Temp in [10, 30)) = 0.3 * 0.8 / (0.3 * 0.8 + 0.7 * 0.1)
  json byValue = beliefs({net, "-v", "Temp=21.5"});
  EXPECT_NEAR(byValue["nodes"][0]["beliefs"][0].get<double>(), 0.24 / 0.31, 1e-6);
  expectSameBeliefs(byValue, beliefs({net, "-f", "Temp=#1"}), 1e-7);
  // The same value read from a case file (comma-separated, with IDnum and NumCases columns).
  ToolRun r = quorva({"cases", net, write("t.csv", "IDnum,NumCases,Temp,Heating\n1,2,21.5,*\n2,1,*,off\n3,1,55,*\n"),
                  "--json", "--threads", "2"});
  std::vector<std::string> got = lines(r.out);
  ASSERT_EQ(got.size(), 3u) << r.out << r.err;
  expectSameBeliefs(json::parse(got[0]), byValue, 1e-7);
  EXPECT_NEAR(json::parse(got[1])["nodes"][1]["beliefs"][0].get<double>(), 0.9, 1e-6);
  EXPECT_TRUE(json::parse(got[2]).contains("error")) << got[2];  // 55 is in no interval
  // The human form: a table row per state with its percentage and a bar of blocks.
  ToolRun human = quorva({"beliefs", net, "-v", "Temp=21.5", "--nodes", "Heating"});
  EXPECT_NE(human.out.find("  on    77.42% \u2588\u2588\u2588"), std::string::npos) << human.out;
}

// A net of `count` nodes of 100 states, each with every earlier node as a parent and no tables:
// a small file whose junction tree is one clique of 100^count entries.
std::string denseNet(int count) {
  std::string states;
  for (int s = 0; s < 100; ++s) states += (s ? ",s" : "s") + std::to_string(s);
  std::string text = "// ~->[DNET-1]->~\nbnet Dense {\n";
  for (int i = 0; i < count; ++i) {
    std::string parents;
    for (int j = 0; j < i; ++j) parents += (j ? ",N" : "N") + std::to_string(j);
    text += " node N" + std::to_string(i) + " { states = (" + states + "); parents = (" + parents + "); };\n";
  }
  return text + "};\n";
}

const char* const UTILITY_NET =
    "// ~->[DNET-1]->~\nbnet U {\n node A { states = (x, y); probs = (0.5, 0.5); };\n"
    " node V { kind = UTILITY; discrete = FALSE; parents = (A); };\n};\n";
// Rows summing to 0.9995 (within a reader's rounding) and to 0, and a node without a table.
const char* const ROWS_BIF =
    "network Rows {\n}\nvariable A {\n  type discrete [ 2 ] { x, y };\n}\nvariable B {\n  type discrete [ 2 ] { p, q };\n}\n"
    "variable C {\n  type discrete [ 2 ] { u, v };\n}\n"
    "probability ( A ) {\n  table 0.5, 0.4995;\n}\nprobability ( B | A ) {\n  (x) 0.0, 0.0;\n  (y) 0.3, 0.7;\n}\n";
// Names a BIF reader must make legal, with the labels kept as titles.
const char* const LABELS_BIF =
    "network Labels {\n}\nvariable 2nd {\n  type discrete [ 3 ] { 0, 1, 2 };\n}\nvariable C {\n  type discrete [ 2 ] { 1_1, 2_1 };\n}\n"
    "probability ( 2nd ) {\n  table 0.2, 0.3, 0.5;\n}\nprobability ( C | 2nd ) {\n  (0) 0.1, 0.9;\n  (1) 0.6, 0.4;\n  (2) 0.5, 0.5;\n}\n";

// check names the fault that beliefs meets, and beliefs says only that fault.
TEST_F(ToolTest, CheckReportsWhatBeliefsWouldMeet) {
  struct Case {
    std::string file, text;
    int status;
    std::vector<std::string> lines;  // check's output: each a regular expression matching a whole line
    std::string said;                // in the standard error of beliefs
  } cases[] = {
      {"empty.dne", "", 1, {"error: '.*empty.dne' is empty", ".*: not read, 1 error, 0 warnings"},
       "quorva: '" + dir + "/empty.dne' is empty\n"},
      {"none.dne", "// ~->[DNET-1]->~\nbnet None { };\n", 1, {"error: the net has no nodes"}, "has no nodes\n"},
      {"u.dne", UTILITY_NET, 1, {"error: node 'V' is a utility node, which this tool cannot use yet"},
       "quorva: node 'V' is a utility node, which this tool cannot use yet\n"},
      {"dense.dne", denseNet(6), 1, {"error [0-9]+: not enough memory .*", "\\(3.6 TB needed\\)"}, "not enough memory"},
      {"dir", "", 1, {"error: '.*/dir' is a directory, not a net file"}, "is a directory, not a net file\n"},
      // A fault in the file: the record with its line (and the old header's warning); a
      // warning alone does not fail it.
      {"broken.dne", "bnet B {\n node A {\n  states = (x, y);\n  probs = (0.5, 0.5, 0.1);\n };\n};\n", 1,
       {"warning [0-9]+: .*", "error [0-9]+: .* on line 4 char 25 of file .*", ".*: not read, 1 error, 1 warning"},
       "quorva: error 2448: too many items"},
      {"rows.bif", ROWS_BIF, 0,
       {"warning: node 'A', row \\(no parents\\), sums to 0.9995, not 1 \\(it is used as it is\\)",
        "warning: node 'B', row \\(A=x\\), is all zeros: .*", "notice 3046: some node\\(s\\) \\(e.g. C\\) don't have .*",
        "junction tree: 2 cliques, total table size .*", ".*rows.bif: read, compiled and updated, 0 errors, 2 warnings, 1 notice"},
       ""},
  };
  std::system(("mkdir '" + dir + "/dir'").c_str());
  for (const Case& c : cases) {
    const std::string path = c.file == "dir" ? dir + "/dir" : write(c.file, c.text);
    ToolRun r = quorva({"check", path});
    EXPECT_EQ(r.status, c.status) << c.file << ":\n" << r.out;
    const std::vector<std::string> got = lines(r.out);
    for (const std::string& want : c.lines)
      EXPECT_TRUE(std::any_of(got.begin(), got.end(), [&](const std::string& l) { return std::regex_match(l, std::regex(want)); }))
          << c.file << ": no line " << want << " in\n" << r.out;
    // beliefs fails exactly when check does, saying the fault and nothing else.
    ToolRun b = quorva({"beliefs", path});
    EXPECT_EQ(b.status == 0, c.status == 0) << c.file;
    if (c.status == 0) continue;
    EXPECT_NE(b.err.find(c.said), std::string::npos) << c.file << ": " << b.err;
    EXPECT_EQ(b.err.find("impossible"), std::string::npos) << c.file << ": " << b.err;
    EXPECT_TRUE(b.out.empty()) << c.file;
  }
}

TEST_F(ToolTest, TitlesStandForNamesThatTheReaderHadToChange) {
  const std::string net = write("labels.bif", LABELS_BIF);
  // The name first ("_0" is the legal name of state "1"), a title where no name fits.
  json byTitle = beliefs({net, "-f", "2nd=1", "--nodes", " C ,2nd"});
  ASSERT_EQ(byTitle["nodes"].size(), 2u);
  const json& c = byTitle["nodes"][0];
  const json& second = byTitle["nodes"][1];
  EXPECT_EQ(second["title"], "2nd");
  EXPECT_NE(second["name"], "2nd");
  EXPECT_EQ(second["titles"], json({"0", "1", "2"}));
  EXPECT_EQ(c["titles"], json({"1_1", "2_1"}));
  EXPECT_FALSE(c.contains("title"));
  EXPECT_NEAR(second["beliefs"][1].get<double>(), 1.0, 1e-7);
  EXPECT_NEAR(c["beliefs"][0].get<double>(), 0.6, 1e-6);
  const std::string secondName = second["name"], one = second["states"][1];
  expectSameBeliefs(byTitle, beliefs({net, "-f", secondName + "=" + one, "--nodes", "C," + secondName}), 0);
  expectSameBeliefs(beliefs({net, "-f", "C=2_1"}), beliefs({net, "-f", "C=#1"}), 0);
  // The text form gives each title beside its name.
  ToolRun text = quorva({"beliefs", net, "--nodes", "2nd"});
  EXPECT_NE(text.out.find(secondName + ": 2nd\n  " + std::string(second["states"][0]) + " (0) "), std::string::npos) << text.out;
  // --nodes names by title in `cases` too.
  ToolRun cases = quorva({"cases", net, write("c.txt", "C\n*\n"), "--json", "--nodes", "2nd"});
  EXPECT_EQ(json::parse(lines(cases.out).at(0))["nodes"][0]["name"], secondName) << cases.err;
}

TEST_F(ToolTest, FormatsComeFromTheContentWhenTheNameDoesNotSay) {
  const std::string dnet = slurp(ASIA_DNE), bif = slurp(ASIA_BIF);
  const json want = beliefs({ASIA_BIF, "--nodes", "lung_cancer"});
  struct Case {
    std::string file, text;
    std::vector<std::string> extra;
  } readable[] = {
      {"asia.txt", dnet, {}}, {"asia.net", bif, {}}, {"asia", dnet, {}}, {"asia.xml", bif, {"--format", "bif"}},
      {"asia.bif.bak", bif, {}}, {"really_dnet.bif", dnet, {"--format", "dnet"}},
  };
  for (const Case& c : readable) {
    std::vector<std::string> args{write(c.file, c.text), "--nodes", "lung_cancer"};
    args.insert(args.end(), c.extra.begin(), c.extra.end());
    expectSameBeliefs(beliefs(args), want, 1e-7);
  }
  ToolRun unknown = quorva({"beliefs", write("notes.txt", "// a note\nhello world\n")});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_NE(unknown.err.find("is neither a DNET net"), std::string::npos) << unknown.err;
  EXPECT_EQ(quorva({"beliefs", ASIA_BIF, "--format", "xml"}).status, 2);

  // Writing: the extension or --to says the format; nothing is written otherwise, and the input is
  // never overwritten.
  EXPECT_EQ(quorva({"convert", ASIA_BIF, dir + "/out.xyz"}).status, 2);
  EXPECT_FALSE(std::ifstream(dir + "/out.xyz").good());
  ASSERT_EQ(quorva({"convert", ASIA_DNE, dir + "/out.txt", "--to", "bif"}).status, 0);
  EXPECT_EQ(slurp(dir + "/out.txt").rfind("network", 0), 0u);
  const std::string copy = write("copy.dne", dnet);
  ToolRun same = quorva({"convert", copy, dir + "/./copy.dne"});
  EXPECT_EQ(same.status, 2);
  EXPECT_NE(same.err.find("is the net being read"), std::string::npos) << same.err;
  EXPECT_EQ(slurp(copy), dnet);
}

TEST_F(ToolTest, TheOrderSearchGivesSmallerTablesWhereverItIsOffered) {
  const std::string link = SRC + "/tests/data/Link.bif";
  const double greedy = json::parse(quorva({"compile", link, "--json"}).out)["total_table_size"];
  // The order found is saved with the net, and a later compile uses it.
  ASSERT_EQ(quorva({"convert", link, dir + "/link.dne", "--optimize", "1"}).status, 0);
  EXPECT_NE(slurp(dir + "/link.dne").find("ElimOrder"), std::string::npos);
  // How far a 1 s search gets depends on the machine (a sanitizer build may not improve on the
  // greedy order at all), but the saved order is never worse than the greedy one.
  const double saved = json::parse(quorva({"compile", dir + "/link.dne", "--json"}).out)["total_table_size"];
  EXPECT_LE(saved, greedy);
  // beliefs and cases with a search give the beliefs they give without one.
  expectSameBeliefs(beliefs({ASIA_BIF, "--optimize", "0.1", "-f", "smoking=f1"}), beliefs({ASIA_BIF, "-f", "smoking=f1"}), 1e-6);
  ToolRun searched = quorva({"cases", ASIA_DNE, ASIA_CASES, "--json", "--optimize", "0.1", "--threads", "2"});
  EXPECT_EQ(searched.out, quorva({"cases", ASIA_DNE, ASIA_CASES, "--json", "--threads", "2"}).out);
  ToolRun bench = quorva({"bench", ASIA_BIF, "--cases", "3", "--optimize", "0.1", "--json"});
  EXPECT_EQ(bench.status, 0) << bench.err;
}

TEST_F(ToolTest, CtrlCDuringTheOrderSearchCompilesWithTheBestOrderSoFar) {
  const std::string out = dir + "/stdout", err = dir + "/stderr";
  pid_t pid = fork();
  if (pid == 0) {
    if (!freopen(out.c_str(), "w", stdout) || !freopen(err.c_str(), "w", stderr)) _exit(127);
    execl(QUORVA_TOOL, QUORVA_TOOL, "compile", (SRC + "/tests/data/Link.bif").c_str(), "--optimize", "60", nullptr);
    _exit(127);
  }
  usleep(1500 * 1000);
  kill(pid, SIGINT);
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << slurp(err);
  EXPECT_EQ(slurp(err), "quorva: stopped: compiled with the best elimination order found so far\n");
  EXPECT_NE(slurp(out).find("Net Link: 724 nodes, compiled to "), std::string::npos) << slurp(out);
}

// A net whose nodes have equations but no tables: a probabilistic root, a deterministic child.
const char* EQUATION_NET = R"(// ~->[DNET-1]->~
bnet Eqn {
  node A {states = (false, true); equation = "P (A) = 0.25";};
  node B {states = (b0, b1, b2); parents = (A); equation = "B (A) = A ? 2 : 0";};
};
)";

TEST_F(ToolTest, TablesAreBuiltFromEquationsWhenANetNeedsThem) {
  const std::string net = write("eqn.dne", EQUATION_NET);
  // beliefs builds the missing tables, and says so.
  ToolRun r = quorva({"beliefs", "--json", net});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "quorva: building the tables of 2 nodes from their equations (A, B)\n");
  const json b = json::parse(r.out);
  EXPECT_NEAR(b["nodes"][0]["beliefs"][1].get<double>(), 0.25, 1e-6);
  EXPECT_NEAR(b["nodes"][1]["beliefs"][2].get<double>(), 0.25, 1e-6);
  EXPECT_NEAR(b["nodes"][1]["beliefs"][1].get<double>(), 0.0, 1e-9);

  // tables writes them; the net read back needs nothing built and gives the same beliefs.
  r = quorva({"tables", net, "-o", dir + "/built.dne"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Built the tables of 2 nodes from their equations in"), std::string::npos) << r.out;
  const std::string built = slurp(dir + "/built.dne");
  EXPECT_NE(built.find("probs"), std::string::npos);
  EXPECT_NE(built.find("functable"), std::string::npos);
  r = quorva({"beliefs", "--json", dir + "/built.dne"});
  EXPECT_EQ(r.err, "");
  expectSameBeliefs(json::parse(r.out), b, 1e-9);

  // Sampled tables: the same seed writes the same file (but for its creation time).
  auto body = [&](const std::string& path) {
    const std::string t = slurp(path);
    return t.substr(t.find("bnet"));
  };
  const std::string commute = SRC + "/examples/commute.dne";
  for (const char* out : {"/c1.dne", "/c2.dne"})
    ASSERT_EQ(quorva({"tables", commute, "-o", dir + out, "--seed", "11", "--samples", "500"}).status, 0);
  EXPECT_EQ(body(dir + "/c1.dne"), body(dir + "/c2.dne"));

  // Refusals: no equation anywhere (1), a bad sample count (2), an equation that fails (1).
  r = quorva({"tables", ASIA_DNE, "-o", dir + "/x.dne"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quorva: no node of the net in '" + ASIA_DNE + "' has an equation\n");
  EXPECT_EQ(quorva({"tables", net, "-o", dir + "/x.dne", "--samples", "0"}).status, 2);
  std::string bad = EQUATION_NET;
  bad.replace(bad.find("A ? 2 : 0"), 9, "A ? 3 : 0");
  // check lists an equation kept in the file that does not parse.
  std::string unparsed = EQUATION_NET;
  unparsed.replace(unparsed.find("A ? 2 : 0"), 9, "A == warm");
  r = quorva({"check", write("unparsed.dne", unparsed)});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("node 'B', equation \"B (A) = A == warm\" stops at line 1 char 18: unknown name 'warm' (2091)"),
            std::string::npos)
      << r.out;
  r = quorva({"beliefs", write("bad.dne", bad)});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("error 2285: value for node 'B' is 3, which is greater than its highest allowed state 2"),
            std::string::npos)
      << r.err;
}

}  // namespace
