// Reading DNET text nets through ReadNet_bn: what is built from good files, and the located
// error (with no net) that each kind of bad file gives.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Support/NetSnapshot.h"

namespace {

const char* MAGIC = "// ~->[DNET-1]->~\n\n";

class DnetReaderTest : public EnvTest {
 protected:
  net_bn* read(const std::string& text, const char* name = "t.dne", int options = NO_VISUAL_INFO) {
    return netFromText(env, text, name, options);
  }

  // Reads a net that must fail, and returns the display message of its error.
  std::string failure(const std::string& text, const char* name = "t.dne") {
    net_bn* net = read(text, name);
    EXPECT_EQ(net, nullptr) << text;
    report_vq* r = lastError();
    if (!r) return "(no error)";
    std::string m = ErrorDisplayMessage_vq(r);
    ClearErrors_vq(env, ERROR_ERR);
    return m;
  }

  std::string warning() {
    report_vq* r = lastError(WARNING_ERR);
    return r ? ErrorDisplayMessage_vq(r) : "(no warning)";
  }

  static std::vector<float> probs(node_bn* n, std::vector<state_bn> parentStates) {
    const prob_bn* p = GetNodeProbs_bn(n, parentStates.empty() ? nullptr : parentStates.data());
    if (!p) return {};
    return std::vector<float>(p, p + GetNodeNumberStates_bn(n));
  }
};

bool undefined(float x) { return x < -1e30f; }

// A net in the writer's layout, with the child written before its parents.
const char* CHILD_FIRST = R"(// ~->[DNET-1]->~

// File created by someone using Quorva 1.00.

bnet Clinic {
autoupdate = FALSE;
title = "Chest \"clinic\"";
comment = "two\nlines";
user U1 {
	owner = "lab 3";
	};
node Dyspnea {
	discrete = TRUE;
	states = (present, absent);
	statetitles = ("Short of breath", "");
	parents = (Tub, Smoke);
	probs =
		// present      absent         // Tub     Smoke
		(((0.9,         0.1),          // yes     yes
		  (0.7,         0.3)),         // yes     no
		 ((0.8,         0.2),          // no      yes
		  (0.1,         0.9)));        // no      no
	title = "Dyspnea";
	user U1 {
		shown = "yes";
		};
	};
node Tub {
	states = (yes, no);
	probs = (0.05, 0.95);
	/* a block comment */ /# nested /# twice #/ #/
	};
node Smoke {
	kind = NATURE;
	numstates = 2;
	states = (yes, no);
	levels = (1, 0);
	probs = (0.5, 0.5);
	position = (10, 20);
	};
NodeSet Findings {Nodes = (Dyspnea, Tub);};
ElimOrder = (Tub, Smoke, Dyspnea);
};
)";

TEST_F(DnetReaderTest, ReadsNetWithParentsDeclaredLater) {
  net_bn* net = read(CHILD_FIRST);
  ASSERT_NE(net, nullptr) << ErrorDisplayMessage_vq(lastError());
  EXPECT_STREQ(GetNetName_bn(net), "Clinic");
  EXPECT_STREQ(GetNetTitle_bn(net), "Chest \"clinic\"");
  EXPECT_STREQ(GetNetComment_bn(net), "two\nlines");
  EXPECT_STREQ(GetNetUserField_bn(net, "owner", nullptr, 0), "lab 3");
  EXPECT_EQ(LengthNodeList_bn(GetNetNodes_bn(net)), 3);

  node_bn* dys = GetNodeNamed_bn("Dyspnea", net);
  ASSERT_NE(dys, nullptr);
  EXPECT_EQ(listNames(GetNodeParents_bn(dys)), "Tub,Smoke");
  EXPECT_STREQ(GetNodeStateName_bn(dys, 1), "absent");
  EXPECT_STREQ(GetNodeStateTitle_bn(dys, 0), "Short of breath");
  EXPECT_STREQ(GetNodeTitle_bn(dys), "Dyspnea");
  EXPECT_STREQ(GetNodeUserField_bn(dys, "shown", nullptr, 0), "yes");
  EXPECT_FLOAT_EQ(probs(dys, {0, 1})[0], 0.7f);
  EXPECT_FLOAT_EQ(probs(dys, {1, 0})[1], 0.2f);
  EXPECT_FLOAT_EQ(probs(dys, {1, 1})[1], 0.9f);

  node_bn* smoke = GetNodeNamed_bn("Smoke", net);
  EXPECT_EQ(GetNodeKind_bn(smoke), NATURE_NODE);
  EXPECT_EQ(GetNodeLevels_bn(smoke)[0], 1.0);
  EXPECT_EQ(IsNodeInNodeset_bn(dys, "Findings"), 1);
  EXPECT_EQ(IsNodeInNodeset_bn(smoke, "Findings"), 0);
  const nodelist_bn* order = GetNetElimOrder_bn(net);
  ASSERT_EQ(LengthNodeList_bn(order), 3);
  EXPECT_STREQ(GetNodeName_bn(GetNthNode_bn(order, 2)), "Dyspnea");
  EXPECT_EQ(errorCount(WARNING_ERR), 0);
}

TEST_F(DnetReaderTest, FlatShallowAndPartialTables) {
  std::string text = std::string(MAGIC) + R"(bnet T {
node A {states = (a0, a1);};
node B {states = (b0, b1, b2);};
node Flat {states = (x, y); parents = (A, B);
  probs = (0.1, 0.9, 0.2, 0.8, 0.3, 0.7, 0.4, 0.6, 0.5, 0.5, 0.6, 0.4);};
node Shallow {states = (x, y); parents = (A, B); probs = (0.25, 0.75);};
node Half {states = (x, y); parents = (A); probs = ((0.5), (@undef, @undef));};
node Imp {states = (x, y); parents = (A); probs = ((@imposs, @imposs), (1, 0));};
node Func {states = (x, y); parents = (A); functable = (y, #0);};
node Cases {states = (x, y); parents = (A); numcases = 12;};
};
)";
  net_bn* net = read(text);
  ASSERT_NE(net, nullptr) << ErrorDisplayMessage_vq(lastError());
  node_bn* flat = GetNodeNamed_bn("Flat", net);
  EXPECT_FLOAT_EQ(probs(flat, {0, 2})[0], 0.3f);
  EXPECT_FLOAT_EQ(probs(flat, {1, 2})[1], 0.4f);
  node_bn* shallow = GetNodeNamed_bn("Shallow", net);
  for (state_bn a = 0; a < 2; ++a)
    for (state_bn b = 0; b < 3; ++b) EXPECT_FLOAT_EQ(probs(shallow, {a, b})[1], 0.75f);
  node_bn* half = GetNodeNamed_bn("Half", net);
  EXPECT_FLOAT_EQ(probs(half, {0})[0], 0.5f);
  EXPECT_TRUE(undefined(probs(half, {0})[1]));
  EXPECT_TRUE(undefined(probs(half, {1})[0]));
  node_bn* imp = GetNodeNamed_bn("Imp", net);
  EXPECT_EQ(probs(imp, {0}), (std::vector<float>{0, 0}));
  node_bn* func = GetNodeNamed_bn("Func", net);
  state_bn a0 = 0, a1 = 1;
  EXPECT_EQ(GetNodeFuncState_bn(func, &a0), 1);
  EXPECT_EQ(GetNodeFuncState_bn(func, &a1), 0);
  EXPECT_EQ(GetNodeExperience_bn(GetNodeNamed_bn("Cases", net), &a1), 12.0);
}

TEST_F(DnetReaderTest, DefinitionsParamsAndSkippedParts) {
  std::string text = std::string(MAGIC) + R"(bnet T {
AutoCompile = TRUE;
whenchanged = 1700000000;
define node Binary {states = (off, on); title = "from definition"; probs = (0.5, 0.5);};
node Switch (Binary) {probs = (0.3, 0.7); equation = "Switch (x) = 1"; EqnDirty = TRUE;
  visual V1 {center = (10, 20); height = 3;};
  delays = ((0)); whochanged = "me";};
visual V1 {defdispform = BELIEFBARS; NodeSet Findings {BuiltIn = 1; Color = 0x00ff00;};};
};
visual V2 {extra = (1, 2);};
)";
  net_bn* net = read(text, "t.dnet", REGULAR_WINDOW);
  ASSERT_NE(net, nullptr) << ErrorDisplayMessage_vq(lastError());
  EXPECT_EQ(LengthNodeList_bn(GetNetNodes_bn(net)), 1);  // a definition is no node of the net
  node_bn* sw = GetNodeNamed_bn("Switch", net);
  EXPECT_STREQ(GetNodeStateName_bn(sw, 1), "on");
  EXPECT_STREQ(GetNodeTitle_bn(sw), "from definition");
  EXPECT_FLOAT_EQ(probs(sw, {})[1], 0.7f);  // its own table replaces the one it inherits
  EXPECT_EQ(errorCount(WARNING_ERR), 0);
}

TEST_F(DnetReaderTest, WarningsLetTheReadGoOn) {
  net_bn* net = read("// ~->[DNET-2.10]->~\nbnet W {node A {states = (s, t); colour = 3; probs = (1, 0);};};");
  ASSERT_NE(net, nullptr);
  EXPECT_NE(warning().find("unknown field 'colour', while reading field `colour` of node 'A', on line 2 "
                           "char 34 of file 't.dne'"),
            std::string::npos)
      << warning();
  EXPECT_EQ(errorCount(WARNING_ERR), 2);
  report_vq* first = GetError_vq(env, WARNING_ERR, nullptr);
  EXPECT_STREQ(ErrorDisplayMessage_vq(first),
               "this net was saved using a new version of file format (=2.10).  It may not read correctly");
  ClearErrors_vq(env, WARNING_ERR);

  ASSERT_NE(read("// ~->[DNET-1]->~\nbnet Q {};\nwidget Z {a = 1;};"), nullptr);
  EXPECT_EQ(warning(), "unknown object 'widget', on line 3 char 1 of file 't.dne'");
  ClearErrors_vq(env, WARNING_ERR);

  // A cycle is kept, with one warning naming the node whose parents close it.
  net = read(std::string(MAGIC) +
             "bnet C {node A {states = (s, t); parents = (B);}; node B {states = (s, t); parents = (A);};"
             "node D {states = (s, t); parents = (A, B);};};");
  ASSERT_NE(net, nullptr);
  EXPECT_EQ(errorCount(WARNING_ERR), 1);
  EXPECT_EQ(warning(), "connecting node 'A' to node 'B' results in a cycle (with no time delays)");
  EXPECT_EQ(listNames(GetNodeChildren_bn(GetNodeNamed_bn("A", net))), "B,D");
  EXPECT_EQ(listNames(GetNodeParents_bn(GetNodeNamed_bn("D", net))), "A,B");
}

// A bad option, a file of another type or version, or one holding no net is refused with a
// message naming the file; a name outside ASCII is shown whole.
TEST_F(DnetReaderTest, RefusesBadOptionsFileTypesAndFilesHoldingNoNet) {
  EXPECT_EQ(read("bnet A {};", "t.dne", 7), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 2410);
  ClearErrors_vq(env, ERROR_ERR);
  EXPECT_EQ(failure("// ~->[CASE-1]->~\nbnet A {};"),
            "'t.dne' is not a DNET file (but by file extension it looks like a DNET - by starting contents "
            "it looks like a CASE file)");
  EXPECT_EQ(failure("// ~->[ZZZZ-1]->~\nbnet A {};"), "unknown Tavlin file type ('ZZZZ') recorded within file 't.dne'");
  EXPECT_EQ(failure("// ~->[DNET-x]->~\nbnet A {};"), "illegal version number (x) in file 't.dne'");
  EXPECT_EQ(failure(MAGIC), "file does not contain a Bayes net (i.e. a 'bnet' object), in file 't.dne'");
  EXPECT_EQ(failure(std::string(MAGIC) + "bnet A {} $"), "missing semicolon at end of bnet 'A', on line 3 char 11 of file 't.dne'");
  EXPECT_EQ(failure(std::string(MAGIC) + "$"), "illegal symbol read: '$' in DNET file, on line 3 char 1 of file 't.dne'");
  const std::string none = "the file holds no net: it is empty, or holds only white space and comments, in file ";
  for (const char* text : {"", " \r\n\t", "/* old */\n// no magic\n/# x #/"}) EXPECT_EQ(failure(text), none + "'t.dne'");
  for (const char* text : {"", "\n// nothing here\n"}) EXPECT_EQ(failure(text, "t.bif"), none + "'t.bif'");
  EXPECT_EQ(failure(std::string(MAGIC) + "bnet N {\nnode Caf\xC3\xA9 {};\n};\n"),
            "'Caf\xC3\xA9' is not a legal name for a node, while reading net 'N', on line 4 char 6 of file 't.dne'");
}

// Each bad node or table is refused with its message and where it was met ("@" stands for
// ", while reading ... of file 't.dne'").
TEST_F(DnetReaderTest, NodeAndTableFaultsAreLocated) {
  struct Bad {
    std::string body, message;
  };
  const std::string probs = "node A {states = (a0, a1);};\nnode B {states = (s, t); parents = (A);\nprobs = ";
  const std::string inProbs = ", while reading field `probs` of node 'B', on line 6 char ";
  const Bad cases[] = {
      {"node B {states = (s, t); parents = (Zed);};",
       "undefined node 'Zed', while reading field `parents` of node 'B', on line 4 char 26"},
      {"node B {states = (s, t); probs = (0.5, 0.5); parents = ();};",
       "`probs` statement should appear after PREDS statement, while reading field `probs` of node 'B', on line 4 char 26"},
      {"node B {states = (s, t);};\nnode B {states = (s, t);};",
       "duplicate node name 'B', while reading node 'B', on line 5 char 6"},
      {"node 9B {};", "'9B' is not a legal name for a node, while reading net 'N', on line 4 char 6"},
      {"node B {title = \"a\"; title = \"b\";};",
       "more than one `title` statement for node 'B', while reading field `title` of node 'B', on line 4 char 22"},
      {"node B {numstates = 0;};", "`numstates` stated to be 0, but it must not be less than 1, while reading "
                                   "field `numstates` of node 'B', on line 4 char 21"},
      {"node B {numstates = 3; states = (s, t);};", "`numstates` stated to be 3, but other statements imply it "
                                                    "is 2, while reading field `numstates` of node 'B', on line 4 char 9"},
      {"node B {states = (s, t); levels = (1, 2, 3);};",
       "has 3 entries, but there should be 2, because B has 2 states and is discrete, while reading field "
       "`levels` of node 'B', on line 4 char 26"},
      {"node B {states = (s, t); evidence = z;};",
       "unknown state 'z', while reading field `evidence` of node 'B', on line 4 char 26"},
      {"node B {kind = SOMETIMES;};", "illegal value 'SOMETIMES', while reading field `kind` of node 'B', on line 4 char 16"},
      {"node B {states = (s, t) title = \"x\";};",
       "missing semicolon after `states` statement, while reading field `states` of node 'B', on line 4 char 25"},
      {"node B (Base) {};", "declaration of node 'B' tries to inherit from a node not yet defined, while reading "
                            "node 'B', on line 4 char 9"},
      {"node B {states = (s, t); inputs = (i1);};", "there are 1 input names, but require 0 (one for each "
                                                    "parent), while reading field `inputs` of node 'B', on line 4 char 26"},
      {"node B {states = (s, t);", "no terminating '}' for node B, while reading node 'B', on line 4 char 25"},
      {"user U2 {a = \"1\";};", "unknown user class 'U2' (know of 'U1'), while reading net 'N', on line 4 char 6"},
      {"NodeSet S {Nodes = (Q);};", "undefined node 'Q', while reading field `Nodes` of NodeSet 'S', on line 4 char 9"},
      {probs + "((0.5, 0.5), (0.2, 0.9));};", "sum of probabilities isn't 1 (100%),  in table entry [a1] of node B" + inProbs + "23"},
      {probs + "((0.5, 0.5), (-0.2, 1.2));};", "has a negative probability,  in table entry [a1] of node B" + inProbs + "23"},
      {probs + "((@imposs, 1), (0.5, 0.5));};", "some probabilities indicate an impossible condition and some "
                                                 "don't,  in table entry [a0] of node B" + inProbs + "11"},
      {probs + "((0.5, 0.5), (0.5, 0.5, 0));};",
       "too many items in list, or missing ')', within table entry [a1] of node B" + inProbs + "34"},
      {probs + "((0.5, 0.5));};", "not enough table entries" + inProbs + "20"},
      {probs + "(((0.5, 0.5)), (0.5, 0.5));};",
       "too many open parenthesis (are 3, but should be 2) within table of node B" + inProbs + "11"},
      {probs + "((0.5, 0.5), (0.5, 0.5);};",
       "only 2 close parenthesis (but should be 3) within table entry [] of node B" + inProbs + "31"},
      {probs + "((0.5 0.5), (0.5, 0.5));};", "missing comma (,) in table entry [a0] of node B" + inProbs + "15"},
      {probs + "((0.5, 0.5), (0.5, 0.5), (0.5 0.5));};",  // a group beyond the parent's states
       "missing comma (,) in table entry [#2] of node B" + inProbs + "39"},
      {probs + "((0.5, @maybe), (0.5, 0.5));};", "unknown escape name 'maybe' in table entry [a0] of node B" + inProbs + "16"},
      {probs + "((0.5, 0.5), (0.5, 0.5)));};",
       "extra close parenthesis at end of table entry [] of node B" + inProbs + "33"},
  };
  for (const Bad& c : cases) {
    const bool open = c.body.substr(c.body.size() - 2) != "};";  // the file ends inside the node
    EXPECT_EQ(failure(std::string(MAGIC) + "bnet N {\n" + c.body + (open ? "" : "\n};\n")),
              c.message + " of file 't.dne'");
  }
}

}  // namespace
