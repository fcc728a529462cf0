// Writing nets as DNET text: the file's frame, which fields appear and in what order, numbers,
// tables, strings, user fields, node sets and the elimination order.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "BN/Files/DnetNumbers.h"
#include "BN/Files/DnetOut.h"
#include "Basic/Settings.h"
#include "Support/EnvFixture.h"

namespace {

const std::string RAW_UNICODE = "Leave_unicode_raw_when_making_DNET_files = on\n";

class DnetWriterTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    net = NewNet_bn("Net", env);
    ASSERT_NE(net, nullptr);
  }
  void TearDown() override {
    DeleteNet_bn(net);
    EnvTest::TearDown();
  }

  std::string written(const char* streamName = nullptr) { return netText(net, env, streamName); }
  // The text written with a settings file of these lines.
  std::string writtenWith(const std::string& settings) {
    std::string path = ::testing::TempDir() + "dnet_writer_settings.txt";
    std::FILE* f = std::fopen(path.c_str(), "w");
    std::fputs(settings.c_str(), f);
    std::fclose(f);
    ::setenv(quorva::SETTINGS_FILE_VARIABLE, path.c_str(), 1);
    std::string text = written();
    ::unsetenv(quorva::SETTINGS_FILE_VARIABLE);
    return text;
  }

  // The block of node `name`, from its header to its "};".
  std::string nodeBlock(const std::string& text, const std::string& name) {
    size_t at = text.find("\tnode " + name + " {\n");
    if (at == std::string::npos) return "";
    size_t end = text.find("\n\t};\n", at);
    return text.substr(at, end + 5 - at);
  }

  node_bn* node(const char* name, int states, const char* names = nullptr, std::initializer_list<node_bn*> parents = {}) {
    return addNode(net, name, states, names, parents);
  }

  net_bn* net = nullptr;
};

// The position of each text in `in`, which must be found and in rising order.
void expectInOrder(const std::string& in, const std::vector<std::string>& texts) {
  size_t last = 0;
  for (const std::string& t : texts) {
    size_t at = in.find(t, last);
    ASSERT_NE(at, std::string::npos) << "missing or out of order: " << t << "\nin:\n" << in;
    last = at + t.size();
  }
}

TEST_F(DnetWriterTest, FrameAndDefaultFieldsAreLeftOut) {
  std::string text = written();
  // The creator comment carries the version the API reports.
  int version = GetQuorvaVersion_bn(env, nullptr);
  char shown[16];
  std::snprintf(shown, sizeof shown, "%d\\.%02d", version / 100, version % 100);
  std::regex frame(
      "// ~->\\[DNET-1\\]->~\n\n"
      "// File created by someone using Quorva " + std::string(shown) + " on [^\n]+ at [^\n]+ UTC\\.\n\n"
      "bnet Net \\{\n\tautoupdate = TRUE;\n\\};\n");
  EXPECT_TRUE(std::regex_match(text, frame)) << text;
  EXPECT_EQ(errorCount(WARNING_ERR), 0);
  node("Cont", 0);  // fields at their defaults are left out
  node("Plain", 3);
  EXPECT_EQ(nodeBlock(written(), "Cont"), "\tnode Cont {\n\t};\n");
  EXPECT_EQ(nodeBlock(written(), "Plain"), "\tnode Plain {\n\t\tdiscrete = TRUE;\n\t\tnumstates = 3;\n\t};\n");

  SetNetAutoUpdate_bn(net, 0);
  SetNetTitle_bn(net, "T");
  SetNetComment_bn(net, "C");
  expectInOrder(written(), {"bnet Net {\n", "\tautoupdate = FALSE;\n", "\ttitle = \"T\";\n",
                            "\tcomment = \"C\";\n", "};\n"});
}

TEST_F(DnetWriterTest, NodeFieldsFollowTheFixedOrder) {
  node_bn* a = node("A", 2, "a1,a2");
  node_bn* b = node("B", 2, "yes,no", {a});
  SetNodeInputName_bn(b, 0, "cause");
  SetNodeStateTitle_bn(b, 0, "Yes indeed");
  const level_bn levels[] = {1.5, 1e300};
  SetNodeLevels_bn(b, 2, levels);
  SetNodeKind_bn(b, DECISION_NODE);
  const prob_bn row[] = {0.25f, 0.75f};
  const state_bn every[] = {EVERY_STATE};
  SetNodeProbs_bn(b, every, row);
  SetNodeExperience_bn(b, every, 4);
  SetNodeTitle_bn(b, "Bee");
  SetNodeComment_bn(b, "about B");
  EnterFinding_bn(b, 1);
  SetNodeUserField_bn(b, "color", "red", -1, 0);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();

  std::string block = nodeBlock(written(), "B");
  expectInOrder(block, {"\t\tdiscrete = TRUE;\n", "\t\tnumstates = 2;\n", "\t\tstates = (yes, no);\n",
                        "\t\tstatetitles = (\"Yes indeed\", \"\");\n", "\t\tlevels = (1.5, 1e+300);\n",
                        "\t\tkind = DECISION;\n", "\t\tinputs = (cause);\n", "\t\tparents = (A);\n",
                        "\t\tprobs = \n", "\t\tnumcases = 4;\n", "\t\ttitle = \"Bee\";\n",
                        "\t\tcomment = \"about B\";\n", "\t\tevidence = no;\n", "\t\tuser U1 {\n",
                        "\t\t\tcolor = \"red\";\n", "\t\t};\n", "\t};\n"});
  EXPECT_EQ(block.find("chance"), std::string::npos);
  EXPECT_EQ(block.find("measure"), std::string::npos);
}

TEST_F(DnetWriterTest, SignificantDigitPrinter) {
  struct Case {
    double value;
    int digits;
    bool fromFloat;  // binary noise of single-precision data is cleaned away, and only there
    const char* text;
  };
  for (const Case& c : {Case{1.0 / 3, 7, false, "0.3333333"}, {0.001, 7, false, "0.001"}, {0.0001, 7, false, "1e-4"},
                        {0.00001234, 7, false, "1.234e-5"}, {25000, 7, false, "25000"},
                        {123456, 7, false, "1.23456e5"}, {-0.5, 7, false, "-0.5"}, {0.0, 7, false, "0"},
                        {9.99999999, 7, false, "10"},  // rounding carries into the exponent
                        {HUGE_VAL, 7, false, "Infinity"}, {-HUGE_VAL, 7, false, "-Infinity"},
                        // a float prints as its shortest exact decimal when that fits ...
                        {0.1f, 7, true, "0.1"}, {0.1f, 10, true, "0.1"}, {10.00001f, 7, true, "10.00001"},
                        {0.4999997f, 7, true, "0.4999997"}, {123.4561f, 7, true, "123.4561"},
                        // ... and else is rounded, its noise cleaned away
                        {123.40012f, 7, true, "123.4"}, {0.49999985f, 7, true, "0.5"},
                        {123.40012, 7, false, "123.4001"}, {0.4999997, 7, false, "0.4999997"}})
    EXPECT_EQ(quorva::significantDigits(c.value, c.digits, c.fromFloat), c.text) << c.value << " " << c.digits;
  EXPECT_EQ(quorva::significantDigits(HUGE_VAL, 7, false, quorva::NumberStyle::Table, 6), "Inf");
  EXPECT_EQ(quorva::listNumber(0.1), "0.1");
  EXPECT_EQ(quorva::listNumber(1.0 / 3), "0.333333333333333");
  EXPECT_EQ(quorva::listNumber(-HUGE_VAL), "-INFINITY");
}

// Real function entries (10 digits) always read back to the float they came from; probability
// entries (7 digits) do whenever the float's shortest exact form needs no more than 7 digits.
TEST_F(DnetWriterTest, TableEntriesReadBackToTheSameFloat) {
  std::vector<float> values = {0.01f, 0.1f, 1.0f / 3, 2.0f / 3, 0.3f, 0.7f, 1e-5f, 123456.7f, 3.4e37f, 1.17e-38f};
  unsigned seed = 12345;
  for (int i = 0; i < 2000; ++i) {
    seed = seed * 1103515245u + 12345u;
    values.push_back(static_cast<float>(seed % 1000003) / 1000003.0f * (i % 2 ? 1.0f : 1000.0f));
  }
  for (float f : values) {
    std::string ten = quorva::significantDigits(f, 10, true);
    EXPECT_EQ(std::strtof(ten.c_str(), nullptr), f) << ten;
    char shortest[32];
    std::snprintf(shortest, sizeof shortest, "%.7g", static_cast<double>(f));
    if (std::strtof(shortest, nullptr) != f) continue;  // needs more than 7 digits
    std::string seven = quorva::significantDigits(f, 7, true);
    EXPECT_EQ(std::strtof(seven.c_str(), nullptr), f) << seven;
  }
}

TEST_F(DnetWriterTest, ProbabilityTableLayout) {
  node_bn* a = node("A", 2, "a1,a2");
  node_bn* c = node("C", 3, "c1,c2,c3");
  node_bn* b = node("B", 2, "yes,no", {a, c});
  const prob_bn third[] = {1.0f / 3, 2.0f / 3};
  const prob_bn tenth[] = {0.1f, 0.9f};
  const state_bn first[] = {0, 0}, last[] = {1, 2};
  SetNodeProbs_bn(b, first, third);
  SetNodeProbs_bn(b, last, tenth);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();

  // One row a line, nested by parent, each row's parent states in a comment column of its own.
  EXPECT_EQ(nodeBlock(written(), "B"),
            "\tnode B {\n\t\tdiscrete = TRUE;\n\t\tnumstates = 2;\n\t\tstates = (yes, no);\n"
            "\t\tparents = (A, C);\n\t\tprobs = \n"
            "\t\t// yes          no                  A  C\n"
            "\t\t(((0.3333333,   0.6666667),      // a1 c1\n"
            "\t\t  (@undef,      @undef),         // a1 c2\n"
            "\t\t  (@undef,      @undef)),        // a1 c3\n"
            "\t\t ((@undef,      @undef),         // a2 c1\n"
            "\t\t  (@undef,      @undef),         // a2 c2\n"
            "\t\t  (0.1,         0.9)));          // a2 c3\n"
            "\t};\n");
}

TEST_F(DnetWriterTest, FunctionAndExperienceTables) {
  node_bn* a = node("A", 2, "a1,a2");
  node_bn* d = node("D", 2, nullptr, {a});  // no state names: states are written by number
  node_bn* r = node("R", 0, nullptr, {a});
  const state_bn a1[] = {0}, a2[] = {1};
  SetNodeFuncState_bn(d, a1, 1);
  SetNodeFuncReal_bn(r, a1, 2.5);
  SetNodeFuncReal_bn(r, a2, -0.0078125);
  SetNodeExperience_bn(d, a1, 25000);
  SetNodeExperience_bn(d, a2, 0.0001);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();

  std::string text = written();
  std::string dBlock = nodeBlock(text, "D"), rBlock = nodeBlock(text, "R");
  expectInOrder(dBlock, {"\t\tchance = DETERMIN;\n", "\t\tparents = (A);\n", "\t\tfunctable = \n",
                         "(#1,", "// a1", "@undef);", "// a2", "\t\tnumcases = \n", "(25000,",
                         "// a1", "1e-4);", "// a2"});
  expectInOrder(rBlock, {"\t\tfunctable = \n", "(2.5,", "// a1", "-0.0078125);", "// a2"});
  EXPECT_EQ(rBlock.find("probs"), std::string::npos);
}

TEST_F(DnetWriterTest, StringsAreEscaped) {
  node_bn* n = node("N", 0);
  SetNodeTitle_bn(n, "say \"hi\" \\ tab\there \x01\x02" "ok \xC3\xA9");
  SetNodeComment_bn(n, "one\ntwo\n  three\n//four\n/x");
  std::string block = nodeBlock(written(), "N");
  EXPECT_NE(block.find("\t\ttitle = \"say \\\"hi\\\" \\\\ tab\\there \\0102/ok \\C3A9/\";\n"),
            std::string::npos)
      << block;
  // Each line break of the text continues the string on a new line; white space or a comment
  // opener at the start of the continued line is protected by "\|".
  EXPECT_NE(block.find("\t\tcomment = \"one\\n\\\n\t\ttwo\\n\\\n\t\t\\|  three\\n\\\n\t\t\\|//four\\n\\\n"
                       "\t\t/x\";\n"),
            std::string::npos)
      << block;
}

TEST_F(DnetWriterTest, LongStringsBreakAtWhiteSpace) {
  quorva::DnetLayout layout;
  layout.lineWidth = 24;
  quorva::DnetOut out(layout, {});
  out.openBlock("bnet X");
  std::string text = "alpha beta gamma delta epsilon zeta eta theta iota \xC3\xA9";
  out.stringField("comment", text);
  std::string result = out.text();
  std::string inner = result.substr(result.find('"'));
  size_t lineCount = 0;
  for (size_t at = 0, end; (end = result.find('\n', at)) != std::string::npos; at = end + 1, ++lineCount) {
    std::string l = result.substr(at, end - at);
    size_t tabs = l.find_first_not_of('\t');
    EXPECT_LE(tabs * 4 + l.size() - tabs, 24u) << result;
  }
  EXPECT_GT(lineCount, 3u) << result;
  // Removing the continuations gives back the plain escaped string.
  std::string joined = std::regex_replace(inner, std::regex("\\\\\n\t"), "");
  EXPECT_EQ(joined, "\"" + quorva::escapeString(text) + "\";\n");
}

// Raw unicode is written only from format version 2 on; asked for below it, the text is escaped
// with a warning.
TEST_F(DnetWriterTest, RawUnicodeNeedsVersion2) {
  SetNodeTitle_bn(node("N", 0), "\xC3\xA9");
  std::string text = writtenWith("Version_of_format_to_make_DNET_and_QOVA_files = 2.00\n" + RAW_UNICODE);
  EXPECT_EQ(text.rfind("// ~->[DNET-2]->~\n\n", 0), 0u) << text;
  EXPECT_NE(nodeBlock(text, "N").find("title = \"\xC3\xA9\";"), std::string::npos) << text;
  EXPECT_EQ(errorCount(WARNING_ERR), 0);
}

TEST_F(DnetWriterTest, RawUnicodeBelowVersion2IsIgnoredWithAWarning) {
  SetNodeTitle_bn(node("N", 0), "\xC3\xA9");
  std::string text = writtenWith(RAW_UNICODE);
  EXPECT_NE(nodeBlock(text, "N").find("title = \"\\C3A9/\";"), std::string::npos) << text;
  EXPECT_NE(lastMessage(WARNING_ERR).find("version 1.00"), std::string::npos) << lastMessage(WARNING_ERR);
}

TEST_F(DnetWriterTest, FindingsAsStateValuesAndLikelihoods) {
  node_bn* unnamed = node("U", 5);
  node_bn* named = node("L", 2, "lo,hi");
  EnterFinding_bn(unnamed, 3);
  const prob_bn likelihood[] = {1.0f, 0.5f};
  EnterNodeLikelihood_bn(named, likelihood);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  std::string text = written();
  EXPECT_NE(nodeBlock(text, "U").find("\t\tevidence = #3;\n"), std::string::npos) << text;
  EXPECT_NE(nodeBlock(text, "L").find("\t\tlikelihood = (1, 0.5);\n"), std::string::npos) << text;
  EXPECT_EQ(nodeBlock(text, "L").find("evidence"), std::string::npos);
}

TEST_F(DnetWriterTest, UserFieldsNodeSetsAndElimOrder) {
  node_bn* a = node("A", 2);
  node_bn* b = node("B", 2, nullptr, {a});
  node_bn* c = node("C", 2);
  const char binary[] = {'x', '\0', 'y'};
  SetNetUserField_bn(net, "raw", binary, 3, 0);
  SetNetUserField_bn(net, "who", "me", -1, 0);
  AddNodeToNodeset_bn(c, "Obs");
  AddNodeToNodeset_bn(a, "Obs");
  AddNodeToNodeset_bn(b, "Hid");
  nodelist_bn* order = nodeList(net, {c, b, a});
  SetNetElimOrder_bn(net, order);
  DeleteNodeList_bn(order);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();

  std::string text = written();
  expectInOrder(text, {"\tautoupdate = TRUE;\n", "\tuser U1 {\n", "\t\traw = \"x\\00/y\";\n",
                       "\t\twho = \"me\";\n", "\t};\n", "\tnode A {", "\tnode B {", "\tnode C {",
                       "\tNodeSet Obs {Nodes = (A, C);};\n", "\tNodeSet Hid {Nodes = (B);};\n",
                       "\tElimOrder = (C, B, A);\n", "};\n"});
}

TEST_F(DnetWriterTest, ArgumentFaultsAndBifStreams) {
  WriteNet_bn(net, nullptr);
  EXPECT_NE(lastMessage().find("NULL passed for"), std::string::npos);
  ClearErrors_vq(env, ERROR_ERR);

  node("A", 2, "a1,a2");
  std::string bif = written("net.BIF");
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  EXPECT_EQ(bif.find("DNET"), std::string::npos) << bif;
  EXPECT_NE(bif.find("a1"), std::string::npos) << bif;
}

}  // namespace
