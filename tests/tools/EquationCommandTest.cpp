// How the tools see equations: the view of a node's equation (which `check` and `equation` print)
// on nets made through the C interface, and `quorva equation` run as a process.
#include <gtest/gtest.h>

#include "ToolRun.h"

#include <string>
#include <vector>

#include "Quorva/EquationView.h"
#include "Support/EnvFixture.h"

namespace {

class EquationViewTest : public EnvTest {
 protected:
  void makeNet(const char* name) {
    net = NewNet_bn(name, env);
    a = addNode(net, "A", 2, "cold,hot");
    y = addNode(net, "Y", 3, nullptr, {a});
  }
  net_bn* net = nullptr;
  node_bn *a = nullptr, *y = nullptr;
};

// An equation that parsed when set and no longer does after the net changed under it.
TEST_F(EquationViewTest, equation_left_behind_by_an_edit_gives_the_message_and_where_it_stopped) {
  struct Case {
    const char* edit;
    int number;
    const char* message;
    const char* stopsAfter;  // the text the parse stops right after (a name and the blanks after it)
  };
  const Case cases[] = {
      {"rename", 2091, "unknown name 'hot'", "Y (A) = A == hot "},
      {"unlink", 2459, "unknown variable 'A' to the left of = in function definition", "Y (A"},
  };
  for (const Case& c : cases) {
    makeNet(c.edit);
    const char* text = "Y (A) = A == hot ? 2 : 0";
    SetNodeEquation_bn(y, text);
    ASSERT_EQ(lastError(), nullptr);
    if (std::string(c.edit) == "rename")
      SetNodeStateName_bn(a, 1, "warm");
    else
      DeleteLink_bn(0, y);
    quorva::tool::EquationView v;
    ASSERT_TRUE(quorva::tool::viewEquation(y, nullptr, v)) << c.edit;
    EXPECT_FALSE(v.parses) << c.edit;
    EXPECT_EQ(v.number, c.number) << c.edit;
    EXPECT_EQ(v.message.rfind(c.message, 0), 0u) << v.message;
    EXPECT_EQ(v.message.find("while reading"), std::string::npos) << v.message;  // the place is apart
    EXPECT_EQ(v.line, 1);
    EXPECT_EQ(v.column, static_cast<long>(std::string(c.stopsAfter).size()) + 1) << c.edit;
    EXPECT_EQ(lastError(), nullptr) << c.edit;  // the failure is in the view, not recorded
    EXPECT_STREQ(GetNodeEquation_bn(y), text);
  }
}

const std::string ASIA = std::string(QUORVA_SOURCE_DIR) + "/examples/asia.dne";

TEST(EquationCommand, prints_the_equation_as_parsed_with_its_form_and_type) {
  ToolRun r = runQuorva({"equation", ASIA, "lung_cancer", "--text", "P(lung_cancer|smoking)=smoking==f1?0.1:0.01"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "text:    P(lung_cancer|smoking)=smoking==f1?0.1:0.01\n"
            "printed: P(lung_cancer | smoking) = smoking == f1 ? 0.1 : 0.01\n"
            "calls:   if (equal (smoking, f1), 0.1, 0.01)\n"
            "type:    probabilistic, real\n");
  // A boolean value for states not named as truth values: the parse's warning is said.
  r = runQuorva({"equation", ASIA, "lung_cancer", "--text", "lung_cancer (smoking) = smoking == f1"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("type:    deterministic, boolean\n"), std::string::npos) << r.out;
  EXPECT_EQ(r.err.rfind("quorva: warning 2462: ", 0), 0u) << r.err;
}

TEST(EquationCommand, equation_that_does_not_parse_fails_with_the_message_and_a_caret) {
  const std::string text = "lung_cancer (smoking) = smoking == zork";
  ToolRun r = runQuorva({"equation", ASIA, "lung_cancer", "--text", text});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  const long column = static_cast<long>(text.size()) + 1;  // right after the unknown name
  EXPECT_EQ(r.err, "quorva: error 2091: unknown name 'zork' (line 1, char " + std::to_string(column) +
                       " of the equation of node 'lung_cancer')\n  " + text + "\n  " +
                       std::string(static_cast<size_t>(column - 1), ' ') + "^\n");
}

TEST(EquationCommand, missing_equation_or_node_fails_and_a_wrong_command_line_exits_with_two) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* err;  // the start of standard error
  };
  const Case cases[] = {
      {{"equation", ASIA, "lung_cancer"}, 1, "quorva: node 'lung_cancer' has no equation"},
      {{"equation", ASIA, "lung"}, 1, "quorva: net 'Asia' has no node named 'lung'"},
      {{"equation", ASIA}, 2, ""},
      {{"equation", ASIA, "lung_cancer", "smoking"}, 2, ""},
      {{"equation", ASIA, "lung_cancer", "--text"}, 2, ""},
  };
  for (const Case& c : cases) {
    ToolRun r = runQuorva(c.args);
    EXPECT_EQ(r.status, c.status) << c.args.size() << " " << r.err;
    EXPECT_EQ(r.err.rfind(c.err, 0), 0u) << r.err;
  }
}

}  // namespace
