// Malformed XMLBIF, Hugin NET, UAI and UAI evidence files: each gets its error, located on the
// right line (XMLBIF's naming the element being read), and leaves no net (or no finding) behind;
// and the format is told by the first bytes.
#include <gtest/gtest.h>

#include <string>

#include "Support/EnvFixture.h"

namespace {

const char* const XML_HEAD = "<?xml version=\"1.0\"?>\n<BIF VERSION=\"0.3\">\n<NETWORK><NAME>n</NAME>\n";
#define XML(body) (std::string(XML_HEAD) + body + "</NETWORK></BIF>\n")
const std::string XML_A = "<VARIABLE TYPE=\"nature\"><NAME>A</NAME><OUTCOME>a0</OUTCOME><OUTCOME>a1</OUTCOME></VARIABLE>\n";

struct BadText {
  int format;
  std::string text;
  int error, line;
  const char* words;
};

std::vector<BadText> badInputs() {
  const std::string hA = "net { }\nnode A { states = (\"a0\" \"a1\"); }\n";
  return {
      // XMLBIF
      {XMLBIF_FORMAT, "<?xml version=\"1.0\"?>\n<BIF>\n<NETWORK>\n</BIF>", 2920, 4, "not well formed"},
      {XMLBIF_FORMAT, "<?xml version=\"1.0\"?>\n<NET/>\n", 2921, 1, "<BIF>"},
      {XMLBIF_FORMAT, "<?xml version=\"1.0\"?>\n<BIF VERSION=\"0.2\"><NETWORK/></BIF>", 2922, 2, "0.2"},
      {XMLBIF_FORMAT, XML("<VARIABLE TYPE=\"chance\"><NAME>A</NAME><OUTCOME>x</OUTCOME></VARIABLE>\n"), 2923, 4, "chance"},
      {XMLBIF_FORMAT, XML("<VARIABLE><OUTCOME>x</OUTCOME></VARIABLE>\n"), 2921, 4, "<NAME>"},
      {XMLBIF_FORMAT, XML("<VARIABLE><NAME>A</NAME></VARIABLE>\n"), 2905, 4, "no states"},
      {XMLBIF_FORMAT, XML(XML_A + XML_A), 2902, 5, "twice"},
      {XMLBIF_FORMAT, XML("<VARIABLE><NAME>A</NAME>\n<OUTCOME>x</OUTCOME>\n<OUTCOME>x</OUTCOME></VARIABLE>\n"), 2904, 6, "'x'"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>B</FOR></DEFINITION>\n"), 2903, 5, "'B'"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>A</FOR>\n<GIVEN>A</GIVEN></DEFINITION>\n"), 2908, 6, "own parent"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>A</FOR>\n<TABLE>0.5 0.25 0.25</TABLE></DEFINITION>\n"), 2909, 6, "has 3 numbers"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>A</FOR>\n<TABLE>0.5</TABLE></DEFINITION>\n"), 2909, 6, "while reading DEFINITION 'A'"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>A</FOR>\n<TABLE>0.5 x</TABLE></DEFINITION>\n"), 2910, 6, "'x'"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>A</FOR>\n<TABLE>1.5 -0.5</TABLE></DEFINITION>\n"), 2911, 6, "'-0.5'"},
      {XMLBIF_FORMAT, XML(XML_A + "<DEFINITION><FOR>A</FOR><TABLE>.5 .5</TABLE></DEFINITION>\n<DEFINITION><FOR>A</FOR></DEFINITION>\n"), 2906, 6, "second"},
      {XMLBIF_FORMAT, XML("<VARIABLE><NAME>A</NAME><OUTCOME>x</OUTCOME>\n<PROPERTY>position = (1, y)</PROPERTY></VARIABLE>\n"), 2924, 5, "position"},
      {XMLBIF_FORMAT, "  \n", 2914, 1, "empty"},
      // Hugin NET
      {HUGIN_NET_FORMAT, "net { }\nnode A { states = (\"a0\" \"a0\"); }\n", 2904, 2, "'a0'"},
      {HUGIN_NET_FORMAT, "net { }\n\ncontinuous node X { }\n", 2930, 3, "'X'"},
      {HUGIN_NET_FORMAT, "class C { }\n", 2931, 1, "class"},
      {HUGIN_NET_FORMAT, hA + "potential (A B) { }\n", 2932, 3, "2 nodes"},
      {HUGIN_NET_FORMAT, hA + "potential (A | Z) { }\n", 2903, 3, "'Z'"},
      {HUGIN_NET_FORMAT, hA + "potential (A) { data = (0.5 0.5 0.5); }\n", 2909, 3, "has 3 numbers"},
      {HUGIN_NET_FORMAT, hA + "potential (A) {\n data = ((0.5 0.5); }\n", 2934, 4, "unbalanced"},
      {HUGIN_NET_FORMAT, hA + "potential (A) {\n data = (0.5 x); }\n", 2910, 4, "'x'"},
      {HUGIN_NET_FORMAT, hA + "potential (A) { data = (0.5 0.5); }\npotential (A) { }\n", 2906, 4, "second"},
      {HUGIN_NET_FORMAT, hA + "node B { states = (\"b\"); }\npotential (B | A A) { }\n", 2907, 4, "twice"},
      {HUGIN_NET_FORMAT, "net { }\nnode A {\n states = (\"a0\" \"a1\")\n}\n", 2901, 4, "';'"},
      {HUGIN_NET_FORMAT, "net { }\nnode A { label = \"x\"; }\n", 2905, 2, "no states"},
      {HUGIN_NET_FORMAT, "net { }\nbanana A { }\n", 2935, 2, "'banana'"},
      {HUGIN_NET_FORMAT, "net { }\nnode A {\n position = (1); states = (\"a\"); }\n", 2900, 3, "two numbers"},
      {HUGIN_NET_FORMAT, hA + "utility U { }\nnode B { states = (\"b\"); }\npotential (B | U) { }\n", 2913, 5, "utility"},
      // UAI
      {UAI_FORMAT, "MARKOV\n1\n2\n1\n1 0\n2 0.5 0.5\n", 2940, 1, "MARKOV"},
      {UAI_FORMAT, "BAYESIAN\n", 2941, 1, "BAYESIAN"},
      {UAI_FORMAT, "BAYES\n2\n2 0\n", 2942, 3, "cardinality"},
      {UAI_FORMAT, "BAYES\n2\n2 2\n2\n1 0\n2 0 5\n", 2943, 6, "index 5"},
      {UAI_FORMAT, "BAYES\n2\n2 2\n2\n1 0\n1 0\n", 2944, 6, "two tables"},
      {UAI_FORMAT, "BAYES\n2\n2 2\n1\n1 0\n2 .5 .5\n", 2945, 5, "variable 1"},
      {UAI_FORMAT, "BAYES\n1\n2\n1\n1 0\n\n3 .5 .5 .5\n", 2909, 7, "has 3 numbers"},
      {UAI_FORMAT, "BAYES\n1\n2\n1\n1 0\n\n2 .5\n -1\n", 2911, 8, "'-1'"},
      {UAI_FORMAT, "BAYES\n1\n2\n1\n1 0\n2 .5 .5\n7\n", 2946, 7, "'7'"},
      {UAI_FORMAT, "BAYES\n1\n2\n1\n1 0\n2 .5\n", 2910, 7, "end of file"},
      {UAI_FORMAT, "BAYES\n2\n2 2\n2\n1 0\n2 0 0\n", 2907, 6, "twice"},
  };
}

class NetFormatFaults : public EnvTest {};

TEST_F(NetFormatFaults, each_bad_file_is_refused_with_a_located_message_and_no_net) {
  for (const BadText& b : badInputs()) {
    SCOPED_TRACE(b.text);
    stream_vq* s = textStream(env, b.text, "bad.x");
    net_bn* net = ReadNetFormat_bn(s, b.format, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    EXPECT_EQ(net, nullptr);
    ASSERT_NE(lastError(), nullptr);
    EXPECT_EQ(ErrorNumber_vq(lastError()), b.error) << lastMessage();
    std::string m = lastMessage();
    EXPECT_NE(m.find(b.words), std::string::npos) << m;
    EXPECT_NE(m.find("on line " + std::to_string(b.line) + " "), std::string::npos) << m;
    EXPECT_NE(m.find("of file 'bad.x'"), std::string::npos) << m;
    ClearErrors_vq(env, INTERNAL_ERR);
  }
}

// The format told by the first bytes, whatever the name; by the name when the bytes say nothing.
TEST_F(NetFormatFaults, format_is_guessed_from_first_bytes_then_name) {
  struct {
    const char* text;
    const char* name;
    int format;
  } cases[] = {
      {"\xEF\xBB\xBF<?xml version=\"1.0\"?><BIF/>", "a.txt", XMLBIF_FORMAT},
      {"  <BIF VERSION=\"0.3\">", "a", XMLBIF_FORMAT},
      {"% made by hand\nnet\n{\n}", "a.dne", HUGIN_NET_FORMAT},
      {"class Foo {", "a", HUGIN_NET_FORMAT},
      {"BAYES\n3\n", "a.bif", UAI_FORMAT},
      {"MARKOV 3", "a", UAI_FORMAT},
      {"// a comment\nnetwork x {}", "a.net", BIF_FORMAT},
      {"// ~->[DNET-1]->~\nbnet x {", "a.xml", DNET_FORMAT},
      {"/* c */ bnet x {", "a", DNET_FORMAT},
      {"network_of_things", "a.uai", UAI_FORMAT},
      {"netz {", "a.XBIF", XMLBIF_FORMAT},
      {"", "net.net", HUGIN_NET_FORMAT},
      {"hello", "a.txt", DNET_FORMAT},
      {"hello", "a.dot", DNET_FORMAT},
  };
  for (const auto& c : cases) {
    stream_vq* s = textStream(env, c.text, c.name);
    EXPECT_EQ(GuessNetFormat_bn(s), c.format) << c.text << " / " << c.name;
    DeleteStream_vq(s);
  }
}

// Evidence files: both forms enter the same findings; a bad one enters none.
TEST_F(NetFormatFaults, uai_evidence_enters_all_pairs_or_none) {
  const std::string uai = "BAYES\n3\n2 3 2\n3\n1 0\n2 0 1\n2 1 2\n2 .3 .7\n6 .1 .2 .7 .5 .25 .25\n6 .9 .1 .5 .5 .2 .8\n";
  stream_vq* s = textStream(env, uai, "n.uai");
  net_bn* net = ReadNetFormat_bn(s, UNKNOWN_FORMAT, NO_VISUAL_INFO);
  DeleteStream_vq(s);
  ASSERT_NE(net, nullptr) << lastMessage();
  node_bn* v1 = GetNodeNamed_bn("v1", net);
  node_bn* v2 = GetNodeNamed_bn("v2", net);
  EXPECT_STREQ(GetNodeStateName_bn(v1, 2), "s2");
  for (const char* text : {"2 1 2 2 0", "1\n2\n1 2 2 0\n"}) {
    RetractNetFindings_bn(net);
    stream_vq* e = textStream(env, text, "n.evid");
    EXPECT_EQ(EnterUaiEvidence_bn(net, e), 2) << lastMessage();
    DeleteStream_vq(e);
    EXPECT_EQ(GetNodeFinding_bn(v1), 2) << text;
    EXPECT_EQ(GetNodeFinding_bn(v2), 0) << text;
  }
  struct {
    const char* text;
    int error;
  } bad[] = {{"2 1 2 2", 2948}, {"1 5 0", 2943}, {"1 1 3", 2949}, {"2 1 0 1 1", 2950}, {"1 x 0", 2910}, {"", 2914}};
  for (const auto& b : bad) {
    RetractNetFindings_bn(net);
    EnterFinding_bn(v2, 1);
    stream_vq* e = textStream(env, b.text, "bad.evid");
    EXPECT_EQ(EnterUaiEvidence_bn(net, e), -1) << b.text;
    EXPECT_EQ(ErrorNumber_vq(lastError()), b.error) << b.text << ": " << lastMessage();
    EXPECT_EQ(GetNodeFinding_bn(v1), UNDEF_STATE) << b.text;
    EXPECT_EQ(GetNodeFinding_bn(v2), 1) << b.text;
    ClearErrors_vq(env, INTERNAL_ERR);
    DeleteStream_vq(e);
  }
}

// Names and titles: texts that are not legal names are made legal and kept as titles.
TEST_F(NetFormatFaults, illegal_names_are_made_legal_with_the_text_kept_as_title) {
  stream_vq* s = textStream(env,
                            XML("<VARIABLE><NAME>smoker?</NAME><OUTCOME>yes, often</OUTCOME><OUTCOME>no</OUTCOME>"
                                "</VARIABLE>\n<VARIABLE><NAME>smoker!</NAME><OUTCOME>1</OUTCOME></VARIABLE>\n"),
                            "n.xml");
  net_bn* net = ReadNetFormat_bn(s, XMLBIF_FORMAT, NO_VISUAL_INFO);
  DeleteStream_vq(s);
  ASSERT_NE(net, nullptr) << lastMessage();
  node_bn* a = GetNthNode_bn(GetNetNodes_bn(net), 0);
  node_bn* b = GetNthNode_bn(GetNetNodes_bn(net), 1);
  EXPECT_STREQ(GetNodeName_bn(a), "smoker_");
  EXPECT_STREQ(GetNodeTitle_bn(a), "smoker?");
  EXPECT_STREQ(GetNodeName_bn(b), "smoker_0");
  EXPECT_STREQ(GetNodeStateName_bn(a, 0), "yes__often");
  EXPECT_STREQ(GetNodeStateTitle_bn(a, 0), "yes, often");
  EXPECT_STREQ(GetNodeStateName_bn(b, 0), "_");
}

}  // namespace
