// BIF import and export: the nets of tests/data, legal names with the original text kept, the
// round trips BIF -> net -> BIF and net -> DNET -> net, and located faults.
#include <gtest/gtest.h>

#include <string>

#include "BN/Files/BifReader.h"
#include "BN/Files/BifWriter.h"
#include "BN/Net/Bnet.h"
#include "Support/NetSnapshot.h"
#include "Quorva/Environ.h"
#include "Quorva/Handles.h"

using namespace quorva;

namespace {

class BifTest : public NetTest {
 protected:
  // Reads the stream as a BIF net, adopted by the environment; null when the read fails.
  net_bn* read(stream_vq* s) {
    try {
      Bnet* net = readBifNet(*asStream(s), asEnv(env));
      return handle(&asEnv(env)->adoptNet(net));
    } catch (const QuorvaError&) {
      return nullptr;
    }
  }
  net_bn* readFile(const std::string& file) {
    stream_vq* s = NewFileStream_vq(dataPath(file).c_str(), env, nullptr);
    net_bn* net = read(s);
    DeleteStream_vq(s);
    return net;
  }
  net_bn* readText(const std::string& text) {
    stream_vq* s = textStream(env, text, "bad.bif");
    net_bn* net = read(s);
    DeleteStream_vq(s);
    return net;
  }
  std::string write(const net_bn* net) {
    stream_vq* s = NewMemoryStream_vq("out.bif", env, nullptr);
    writeBifNet(*asNet(net), *asStream(s));
    std::string text = streamText(s);
    DeleteStream_vq(s);
    return text;
  }
  float prob(net_bn* net, const char* node, std::vector<state_bn> parents, int state) {
    node_bn* n = GetNodeNamed_bn(node, net);
    EXPECT_NE(n, nullptr) << node;
    return n ? GetNodeProbs_bn(n, parents.data())[state] : -1;
  }
};

// Names, titles, parents and every CPT entry of two nets agree (tables within 1e-6).
void expectSameNet(const net_bn* a, const net_bn* b) {
  EXPECT_STREQ(GetNetName_bn(a), GetNetName_bn(b));
  EXPECT_STREQ(GetNetTitle_bn(a), GetNetTitle_bn(b));
  ASSERT_EQ(snapshot(a), snapshot(b));  // names, state names and titles, parents, children
  const nodelist_bn* an = GetNetNodes_bn(a);
  const nodelist_bn* bn = GetNetNodes_bn(b);
  for (int i = 0; i < LengthNodeList_bn(an); ++i) {
    node_bn* x = GetNthNode_bn(an, i);
    node_bn* y = GetNthNode_bn(bn, i);
    EXPECT_STREQ(GetNodeTitle_bn(x), GetNodeTitle_bn(y));
    size_t entries = static_cast<size_t>(GetNodeNumberStates_bn(x));
    const nodelist_bn* ps = GetNodeParents_bn(x);
    for (int p = 0; p < LengthNodeList_bn(ps); ++p)
      entries *= static_cast<size_t>(GetNodeNumberStates_bn(GetNthNode_bn(ps, p)));
    const prob_bn* px = GetNodeProbs_bn(x, nullptr);
    if (!px) {  // no table: none in the other net either
      EXPECT_EQ(GetNodeProbs_bn(y, nullptr), nullptr) << GetNodeName_bn(x);
      continue;
    }
    std::vector<float> tx(px, px + entries);
    const prob_bn* ty = GetNodeProbs_bn(y, nullptr);
    ASSERT_NE(ty, nullptr) << GetNodeName_bn(x);
    for (size_t k = 0; k < entries; ++k) ASSERT_NEAR(tx[k], ty[k], 1e-6) << GetNodeName_bn(x) << " " << k;
  }
}

struct NetFacts {
  const char* file;
  int nodes;
  const char* node;  // a node and its number of states
  int states;
};

// Each net reads with complete tables; written as BIF it reads back as the same net and writes the
// same text; likewise written as DNET (the creator line, which holds the time, aside).
TEST_F(BifTest, EveryTestNetReadsAndSurvivesBifAndDnetRoundTrips) {
  for (const NetFacts& f : {NetFacts{"asia.bif", 8, "lung_cancer", 2}, {"survey.bif", 6, "T", 3},
                            {"alarm.bif", 37, "EXPCO2", 4}, {"insurance.bif", 27, "Age", 3},
                            {"hailfinder.bif", 56, "Scenario", 11}, {"Pigs.bif", 441, "p630400490", 3},
                            {"Link.bif", 724, "N56_d_g", 3}}) {
    SCOPED_TRACE(f.file);
    net_bn* net = readFile(f.file);
    ASSERT_NE(net, nullptr) << lastMessage();
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    EXPECT_EQ(LengthNodeList_bn(nodes), f.nodes);
    node_bn* n = GetNodeNamed_bn(f.node, net);
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(GetNodeNumberStates_bn(n), f.states);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i)
      EXPECT_TRUE(asNode(GetNthNode_bn(nodes, i))->tables.cpt.isAllocated());

    std::string text = write(net);
    net_bn* again = readText(text);
    ASSERT_NE(again, nullptr) << lastMessage();
    expectSameNet(net, again);
    EXPECT_EQ(write(again), text);
    DeleteNet_bn(again);

    if (std::string(f.file) == "asia.bif") {  // texts the DNET writer must escape and continue
      SetNodeComment_bn(n, "line one\n  line two");
      SetNodeTitle_bn(n, "The \"lung\"");
      SetNetUserField_bn(net, "owner", "lab", -1, 0);
    }
    std::string dnet = netText(net, env, "round.dne");
    net_bn* fromDnet = netFromText(env, dnet, "round.dne");
    ASSERT_NE(fromDnet, nullptr) << lastMessage();
    expectSameNet(net, fromDnet);
    EXPECT_STREQ(GetNodeComment_bn(GetNodeNamed_bn(f.node, fromDnet)), GetNodeComment_bn(n));
    auto body = [](const std::string& t) { return t.substr(t.find("bnet")); };
    EXPECT_EQ(body(netText(fromDnet, env, "round.dne")), body(dnet));
    DeleteNet_bn(net);
    DeleteNet_bn(fromDnet);
  }
  EXPECT_EQ(errorCount(WARNING_ERR), 0);
  net_bn* pigs = readFile("Pigs.bif");
  std::string text = write(pigs);
  EXPECT_NE(text.find("network Pig-Network {"), std::string::npos);
  EXPECT_NE(text.find("type discrete [ 3 ] { 0, 1, 2 };"), std::string::npos);
}

TEST_F(BifTest, TablesFollowTheFileInBothRowAndTableForms) {
  net_bn* asia = readFile("asia.bif");  // table line: the child's states slowest
  ASSERT_NE(asia, nullptr);
  EXPECT_FLOAT_EQ(prob(asia, "tuberculosis", {0}, 0), 0.05f);
  EXPECT_FLOAT_EQ(prob(asia, "tuberculosis", {1}, 0), 0.01f);
  EXPECT_FLOAT_EQ(prob(asia, "dyspnoea", {0, 1}, 0), 0.7f);  // (c1, g2): the last parent fastest
  EXPECT_FLOAT_EQ(prob(asia, "dyspnoea", {1, 0}, 0), 0.8f);
  EXPECT_FLOAT_EQ(prob(asia, "dyspnoea", {1, 1}, 1), 0.9f);
  EXPECT_EQ(listNames(GetNodeParents_bn(GetNodeNamed_bn("dyspnoea", asia))), "tuberculos_or_cancer,bronchitis");
  net_bn* alarm = readFile("alarm.bif");  // rows name the parent states
  ASSERT_NE(alarm, nullptr);
  EXPECT_FLOAT_EQ(prob(alarm, "STROKEVOLUME", {1, 0}, 1), 0.04f);  // (FALSE, TRUE)
  EXPECT_FLOAT_EQ(prob(alarm, "STROKEVOLUME", {0, 1}, 0), 0.5f);   // (TRUE, FALSE)
  net_bn* pigs = readFile("Pigs.bif");
  ASSERT_NE(pigs, nullptr);
  EXPECT_FLOAT_EQ(prob(pigs, "p48124091", {1, 2}, 2), 0.5f);  // ( 1, 2 ) 0, 0.5, 0.5
  EXPECT_FLOAT_EQ(prob(pigs, "p48124091", {2, 0}, 1), 1.0f);  // ( 2, 0 ) 0, 1, 0
}

TEST_F(BifTest, IllegalNamesBecomeLegalAndUniqueWithTheTextKeptAsTitle) {
  net_bn* pigs = readFile("Pigs.bif");
  ASSERT_NE(pigs, nullptr);
  EXPECT_STREQ(GetNetName_bn(pigs), "Pig_Network");
  EXPECT_STREQ(GetNetTitle_bn(pigs), "Pig-Network");
  node_bn* p = GetNodeNamed_bn("p630400490", pigs);
  EXPECT_STREQ(GetNodeStateName_bn(p, 0), "_");
  EXPECT_STREQ(GetNodeStateName_bn(p, 1), "_0");
  EXPECT_STREQ(GetNodeStateName_bn(p, 2), "_1");
  EXPECT_STREQ(GetNodeStateTitle_bn(p, 2), "2");

  net_bn* net = readText(
      "network n { property x = \"a;b\"; }\n"
      "variable a-b { type discrete[2] { lo-w, 9x }; }\n"
      "variable a_b { type discrete[1] { s }; }\n"
      "variable 2nd_variable_with_a_very_long_name_indeed { type discrete[2] { y, n }; }\n"
      "probability ( 2nd_variable_with_a_very_long_name_indeed | a-b ) {\n"
      "  (9x) 0.25, 0.75;  default 0.5, 0.5; }\n"
      "probability ( a-b ) { table 0.3, 0.7; }\n");
  ASSERT_NE(net, nullptr) << ErrorDisplayMessage_vq(lastError());
  EXPECT_EQ(listNames(GetNetNodes_bn(net)), "a_b,a_b0,_nd_variable_with_a_very_long_");
  node_bn* ab = GetNodeNamed_bn("a_b", net);
  EXPECT_STREQ(GetNodeTitle_bn(ab), "a-b");
  EXPECT_STREQ(GetNodeTitle_bn(GetNodeNamed_bn("a_b0", net)), "a_b");  // renamed: a_b is taken
  EXPECT_STREQ(GetNodeStateName_bn(ab, 0), "lo_w");
  EXPECT_STREQ(GetNodeStateName_bn(ab, 1), "_x");
  EXPECT_FLOAT_EQ(prob(net, "_nd_variable_with_a_very_long_", {1}, 0), 0.25f);
  EXPECT_FLOAT_EQ(prob(net, "_nd_variable_with_a_very_long_", {0}, 0), 0.5f);  // from the default
  EXPECT_EQ(asNode(GetNodeNamed_bn("a_b0", net))->tables.cpt.isAllocated(), false);  // no block

  // Written back, the original names return; read again, the same net.
  std::string text = write(net);
  EXPECT_NE(text.find("variable a-b {"), std::string::npos) << text;
  EXPECT_NE(text.find("variable a_b {"), std::string::npos) << text;
  EXPECT_NE(text.find("(9x) 0.25, 0.75;"), std::string::npos) << text;
  net_bn* again = readText(text);
  ASSERT_NE(again, nullptr) << ErrorDisplayMessage_vq(lastError());
  expectSameNet(net, again);
}

// Each probability is written as the shortest decimal that reads back to the same float.
TEST_F(BifTest, ProbabilitiesAreWrittenInTheirShortestExactForm) {
  struct Row {
    float p;
    const char* text;
  };
  const Row rows[] = {{0.01f, "0.01"}, {0.1f, "0.1"}, {1.0f / 3, "0.33333334"}, {0.999f, "0.999"},
                      {1e-7f, "1e-07"}, {0.123456789f, "0.12345679"}, {0.0f, "0"}, {1.0f, "1"}};
  net_bn* net = NewNet_bn("Net", env);
  node_bn* a = NewNode_bn("A", 2, net);
  for (const Row& r : rows) {
    const state_bn none[1] = {0};
    const prob_bn row[] = {r.p, 1 - r.p};
    SetNodeProbs_bn(a, none, row);
    std::string text = write(net);
    std::string want = std::string("table ") + r.text + ", ";
    EXPECT_NE(text.find(want), std::string::npos) << want << " in\n" << text;
    net_bn* again = readText(text);
    ASSERT_NE(again, nullptr) << ErrorDisplayMessage_vq(lastError());
    EXPECT_EQ(prob(again, "A", {0}, 0), r.p) << r.text;
    DeleteNet_bn(again);
  }
}

// Words of the public nets (Mildew's "0_00___0_01_%", signs, slashes, dots) read as names:
// legalised, the text kept as the title, and written back as they were.
TEST_F(BifTest, WordsWithAnyNonSeparatingCharacterAreNames) {
  struct Word {
    const char* text;  // as written in the file
    const char* name;  // the legal state name made from it
  };
  const Word words[] = {{"0_00___0_01_%", "__00___0_01__"}, {"1.5+", "__5_"}, {"a/b", "a_b"},
                        {"x*y", "x_y"}, {"-3", "_3"}, {"50%-60%", "_0__60_"}, {"<=2", "__2"}, {"a#b", "a_b0"}};
  std::string states, row;
  for (const Word& w : words) {
    states += std::string(states.empty() ? "" : ", ") + w.text;
    row += std::string(row.empty() ? "" : ", ") + "0.125";
  }
  const std::string text = "network n {}\nvariable dry%matter {\n type discrete[8] {" + states +
                           "};\n}\nvariable B { type discrete[2] { y, n }; }\n"
                           "probability ( B | dry%matter ) {\n (" + words[0].text + ") 0.5, 0.5;\n"
                           " (a/b) 0.25, 0.75; // a comment after a word\n default 0.1, 0.9; }\n"
                           "probability ( dry%matter ) { table " + row + "; }\n";
  net_bn* net = readText(text);
  ASSERT_NE(net, nullptr) << ErrorDisplayMessage_vq(lastError());
  node_bn* dry = GetNodeNamed_bn("dry_matter", net);
  ASSERT_NE(dry, nullptr) << listNames(GetNetNodes_bn(net));
  EXPECT_STREQ(GetNodeTitle_bn(dry), "dry%matter");
  for (int s = 0; s < 8; ++s) {
    EXPECT_STREQ(GetNodeStateName_bn(dry, s), words[s].name);
    EXPECT_STREQ(GetNodeStateTitle_bn(dry, s), words[s].text);
  }
  EXPECT_FLOAT_EQ(prob(net, "B", {0}, 0), 0.5f);
  EXPECT_FLOAT_EQ(prob(net, "B", {2}, 0), 0.25f);
  EXPECT_FLOAT_EQ(prob(net, "B", {1}, 0), 0.1f);
  std::string written = write(net);
  EXPECT_NE(written.find("variable dry%matter {"), std::string::npos) << written;
  EXPECT_NE(written.find("0_00___0_01_%, 1.5+, a/b"), std::string::npos) << written;
  net_bn* again = readText(written);
  ASSERT_NE(again, nullptr) << ErrorDisplayMessage_vq(lastError());
  expectSameNet(net, again);
}

TEST_F(BifTest, TitlesThatDoNotMapBackAreNotWritten) {
  net_bn* net = NewNet_bn("Net", env);
  node_bn* a = NewNode_bn("Visit", 2, net);
  node_bn* b = NewNode_bn("b", 2, net);
  SetNodeStateNames_bn(a, "yes,no");
  SetNodeTitle_bn(a, "Visit to Asia");  // not one word
  SetNodeTitle_bn(b, "Visit");          // a word, but it maps to another name
  SetNodeStateTitle_bn(a, 0, "no");     // a word, but it maps to another state
  AddLink_bn(a, b);                     // b has no table: its parents are still written
  net_bn* again = readText(write(net));
  ASSERT_NE(again, nullptr) << ErrorDisplayMessage_vq(lastError());
  EXPECT_EQ(listNames(GetNetNodes_bn(again)), "Visit,b");
  EXPECT_STREQ(GetNodeStateName_bn(GetNodeNamed_bn("Visit", again), 0), "yes");
  EXPECT_EQ(listNames(GetNodeParents_bn(GetNodeNamed_bn("b", again))), "Visit");
}

struct Fault {
  const char* text;
  const char* message;  // the start of the message
  int line, column;
};

// A cycle in the file gives the net with one warning, for the link that closes it in the order
// of the variables.
TEST_F(BifTest, ACycleIsReadWithAWarningForTheLinkThatClosesIt) {
  clearErrors();
  net_bn* net = readText(
      "network n {}\n"
      "variable A { type discrete [2] { a0, a1 }; }\nvariable B { type discrete [2] { b0, b1 }; }\n"
      "variable C { type discrete [2] { c0, c1 }; }\n"
      "probability ( A | B ) { (b0) 0.5, 0.5; (b1) 0.5, 0.5; }\n"
      "probability ( B | A ) { (a0) 0.5, 0.5; (a1) 0.5, 0.5; }\n"
      "probability ( C | A ) { (a0) 0.5, 0.5; (a1) 0.5, 0.5; }\n");
  ASSERT_NE(net, nullptr);
  std::vector<std::string> w = warnings();
  ASSERT_EQ(w.size(), 1u);
  EXPECT_NE(w[0].find("'A' to >-node 'B' results in a cycle"), std::string::npos) << w[0];
  EXPECT_EQ(GetNodeNumberStates_bn(GetNodeNamed_bn("C", net)), 2);
  DeleteNet_bn(net);
}

TEST_F(BifTest, FaultsAreLocatedAndLeaveNoNet) {
  const std::string head = "network n {}\nvariable A { type discrete[2] { a1, a2 }; }\n";
  for (const Fault& f : {
           Fault{"variable B { type discrete[2] { b1, b2 } }", "expected ';', but found '}'", 3, 42},
           {"probability ( X ) { table 1; }", "unknown variable 'X' in probability block", 3, 15},
           {"variable A { type discrete[1] { z }; }", "variable 'A' is declared twice", 3, 10},
           {"probability ( A ) { table 0.1, 0.2, 0.7; }", "probability table has 3 numbers", 3, 21},
           {"variable B { type discrete[2] { b }; }", "variable 'B' is declared with 2 states", 3, 28},
           {"variable B { type discrete[2] { b, b }; }", "state 'b' appears twice", 3, 36},
           {"variable B { type continuous; }", "variable 'B' has type 'continuous'", 3, 19},
           {"variable B { type discrete[2] { b1, b2 }; }\nprobability ( B | A ) {\n (a1) 0.5, 0.5;\n}",
            "no probabilities for row (a2) of variable 'B', and no default line", 6, 2},
           {"variable B { type discrete[2] { b1, b2 }; }\nprobability ( B | A ) {\n (a3) 0.5, 0.5;\n}",
            "unknown state 'a3' of variable 'A'", 5, 3},
           {"variable B { type discrete[2] { b1, b2 }; }\nprobability ( B | A ) {\n (a1) 0.5, 0.2, 0.3;\n}",
            "probability row has 3 numbers, but variable 'B' has 2 states", 5, 2},
           {"probability ( A | A ) { }", "variable 'A' is listed as its own parent", 3, 19},
           {"probability ( A ) { table 0.5 -0.5; }", "probability '-0.5' is not a finite number", 3, 31},
           {"probability ( A ) { table 1, 0; }\nprobability ( A ) { table 1, 0; }",
            "variable 'A' has a second probability block", 4, 15},
           {"probability ( A ) { table 1, 0 }", "expected a number or ';', but found '}'", 3, 32},
           {"probability ( A ) { table 1, 0; /* open", "unterminated comment", 3, 33},
           {"nodes A;", "expected 'network', 'variable' or 'probability', but found 'nodes'", 3, 1},
       }) {
    ClearErrors_vq(env, ERROR_ERR);
    EXPECT_EQ(readText(head + f.text), nullptr) << f.text;
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr) << f.text;
    std::string m = ErrorDisplayMessage_vq(r);
    EXPECT_EQ(m.rfind(f.message, 0), 0u) << m;
    std::string where = ", on line " + std::to_string(f.line) + " char " + std::to_string(f.column) +
                        " of file 'bad.bif'";
    EXPECT_NE(m.find(where), std::string::npos) << m << "\n  wanted" << where;
  }
}

}  // namespace
