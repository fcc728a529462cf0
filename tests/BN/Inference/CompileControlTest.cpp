// Control of long work and its records: halting the order search and the compile, the verbose
// compile line, the memory records, the optimising compile; random cases; joint probabilities;
// and the explanation of inconsistent findings by "impossible condition" rows.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "Support/EnvFixture.h"
#include "Quorva/ToolSupport.h"

namespace {

class CompileControlTest : public EnvTest {
 protected:
  net_bn* net = nullptr;
  void SetUp() override {
    EnvTest::SetUp();
    net = NewNet_bn("Net", env);
    SetNetAutoUpdate_bn(net, 0);
  }

  node_bn* node(const char* name, int states) { return NewNode_bn(name, states, net); }

  // n three-state nodes, each a child of the two before it (no tables: compiling needs none).
  std::vector<node_bn*> ladder(int n) {
    std::vector<node_bn*> out;
    for (int i = 0; i < n; ++i) {
      out.push_back(node(("N" + std::to_string(i)).c_str(), 3));
      for (int back = 1; back <= 2 && i - back >= 0; ++back) AddLink_bn(out[static_cast<size_t>(i - back)], out.back());
    }
    return out;
  }

  // The message of a live record with this number, or "" when there is none.
  std::string messageOf(int number) {
    for (report_vq* r = GetError_vq(env, NOTHING_ERR, nullptr); r; r = GetError_vq(env, NOTHING_ERR, r))
      if (ErrorNumber_vq(r) == number) return ErrorMessage_vq(r);
    return "";
  }
  int lastNumber(errseverity_vq sev) {
    report_vq* r = lastError(sev);
    return r ? ErrorNumber_vq(r) : 0;
  }
};

TEST_F(CompileControlTest, HaltDuringTheOrderSearchStopsTheCompileAndKeepsAUsableOrder) {
  ladder(30);
  int reports = 0;
  quorva::tool::setProgressWatcher(env, [&](std::string_view what, double fraction) {
    if (what == "finding elimination order" && fraction > 0 && ++reports == 2) quorva::tool::requestHalt(env, true);
  });
  CompileNet_bn(net);
  EXPECT_EQ(lastNumber(ERROR_ERR), 2074);
  EXPECT_EQ(lastMessage(ERROR_ERR), "compiling halted");
  EXPECT_LT(SizeCompiledNet_bn(net, 0), 0) << "a halted compile leaves the net uncompiled";
  // Only the nodes placed before the halt came from the heuristic.
  std::string notice = messageOf(2295);
  EXPECT_NE(notice.find("only 2 >-node-s of it were found before action was halted"), std::string::npos) << notice;
  const nodelist_bn* order = GetNetElimOrder_bn(net);
  ASSERT_NE(order, nullptr);
  EXPECT_EQ(LengthNodeList_bn(order), 30) << "the order is completed from the remaining nodes";

  quorva::tool::requestHalt(env, false);
  quorva::tool::setProgressWatcher(env, nullptr);
  ClearErrors_vq(env, ERROR_ERR);
  CompileNet_bn(net);
  EXPECT_GT(SizeCompiledNet_bn(net, 0), 0) << "the stored, completed order compiles once the halt is withdrawn";
}

TEST_F(CompileControlTest, VerboseCompilePrintsCliquesAndTotalSize) {
  ladder(12);
  std::FILE* out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  quorva::tool::setVerboseCompile(env, true, out);
  CompileNet_bn(net);
  quorva::tool::setVerboseCompile(env, false, stdout);
  std::string report = ReportJunctionTree_bn(net);
  int cliques = -1;  // the report has a header and two summary lines around one line per clique
  for (char c : report) cliques += c == '\n';
  cliques -= 1;
  char expected[200];
  std::snprintf(expected, sizeof expected, "Compiled to %d cliques, with total table size (including sepsets) of %g.\n",
                cliques, SizeCompiledNet_bn(net, 0));
  std::rewind(out);
  char got[200] = {};
  ASSERT_NE(std::fgets(got, sizeof got, out), nullptr);
  EXPECT_STREQ(got, expected);
  std::fclose(out);
}

TEST_F(CompileControlTest, MemoryRecordsOfTheCompileAndOfTheFirstUpdate) {
  // One child of eight 100-state parents: a clique of 2e16 entries, vastly too large.
  node_bn* child = node("C", 2);
  for (int i = 0; i < 8; ++i) AddLink_bn(node(("P" + std::to_string(i)).c_str(), 100), child);
  CompileNet_bn(net);
  EXPECT_EQ(lastNumber(ERROR_ERR), 3765) << "recorded, yet the net is compiled";
  EXPECT_GT(SizeCompiledNet_bn(net, 0), 1e16);

  UncompileNet_bn(net);
  ClearErrors_vq(env, ERROR_ERR);
  EnterFinding_bn(child, 0);
  CompileNet_bn(net);
  EXPECT_EQ(lastNumber(ERROR_ERR), 0) << "with findings it is only a warning";
  EXPECT_EQ(lastNumber(WARNING_ERR), 2758);
  EXPECT_GT(SizeCompiledNet_bn(net, 0), 1e16);
}

TEST_F(CompileControlTest, MemoryLimitRefusesTheCompileOrTheFirstUpdate) {
  ladder(14);
  LimitMemoryUsage_vq(1000, env);  // bytes: far below any junction tree's tables
  CompileNet_bn(net);
  EXPECT_EQ(lastNumber(ERROR_ERR), 3632);
  EXPECT_NE(lastMessage(ERROR_ERR).find("to compile/update >-net 'Net'"), std::string::npos);
  EXPECT_LT(SizeCompiledNet_bn(net, 0), 0);

  // With auto-update the tables are built, and checked, by the first update.
  ClearErrors_vq(env, ERROR_ERR);
  SetNetAutoUpdate_bn(net, BELIEF_UPDATE);
  CompileNet_bn(net);
  EXPECT_GT(SizeCompiledNet_bn(net, 0), 0);
  EXPECT_EQ(GetNodeBeliefs_bn(GetNthNode_bn(GetNetNodes_bn(net), 0)), nullptr);
  EXPECT_EQ(lastNumber(ERROR_ERR), 2759);
  EXPECT_NE(lastMessage(ERROR_ERR).find("to compile/update this >-net"), std::string::npos);
}

TEST_F(CompileControlTest, OptimisingCompileBeatsOrMatchesGreedyAndRefusesDecisions) {
  ladder(16);
  CompileNet_bn(net);
  double greedy = SizeCompiledNet_bn(net, 0);
  UncompileNet_bn(net);
  ASSERT_TRUE(quorva::tool::compileOptimized(net, 0.2, nullptr));
  double optimised = SizeCompiledNet_bn(net, 0);
  EXPECT_GT(optimised, 0);
  EXPECT_LE(optimised, greedy * 1.0000001);

  UncompileNet_bn(net);
  node_bn* d = node("D", 2);
  SetNodeKind_bn(d, DECISION_NODE);
  EXPECT_FALSE(quorva::tool::compileOptimized(net, 0.1, nullptr));
  EXPECT_EQ(lastNumber(ERROR_ERR), 2007);
}

TEST_F(CompileControlTest, HaltEndsTheOptimisingSearchAndCompilesWithTheBestOrderSoFar) {
  ladder(30);
  CompileNet_bn(net);
  double greedy = SizeCompiledNet_bn(net, 0);
  UncompileNet_bn(net);
  quorva::tool::setProgressWatcher(env, [&](std::string_view what, double fraction) {
    if (what == "optimizing elimination order" && fraction == 0) quorva::tool::requestHalt(env, true);
  });
  // Without the halt the search would run its full 30 seconds.
  EXPECT_TRUE(quorva::tool::compileOptimized(net, 30, nullptr));
  quorva::tool::requestHalt(env, false);
  quorva::tool::setProgressWatcher(env, nullptr);
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage(ERROR_ERR);
  EXPECT_EQ(messageOf(2296), "optimizing of the elimination order was halted, so the best order found before then was used");
  double halted = SizeCompiledNet_bn(net, 0);
  EXPECT_GT(halted, 0) << "the net is compiled";
  EXPECT_LE(halted, greedy * 1.0000001) << "the search starts from the greedy order";
}

// A -> B with P(A) = (0.3, 0.7), P(B | a0) = (0.9, 0.1), P(B | a1) = (0.2, 0.8).
class SmallNetTest : public CompileControlTest {
 protected:
  node_bn *a = nullptr, *b = nullptr;
  nodelist_bn *both = nullptr, *justA = nullptr;
  void SetUp() override {
    CompileControlTest::SetUp();
    a = addNode(net, "A", 2, nullptr, {}, {0.3, 0.7});
    b = addNode(net, "B", 2, nullptr, {a}, {0.9, 0.1, 0.2, 0.8});
    both = nodeList(net, {a, b});
    justA = nodeList(net, {a});
  }
};

TEST_F(SmallNetTest, JointProbabilityWithAndGivenTheFindings) {
  CompileNet_bn(net);
  EnterFinding_bn(b, 1);  // P(b1) = 0.03 + 0.56 = 0.59
  state_bn a1 = 1;
  EXPECT_NEAR(GetJointProbability_bn(justA, &a1), 0.56, 1e-6);
  EXPECT_NEAR(JointProbability_bn(justA, &a1), 0.56 / 0.59, 1e-6);
  state_bn clash[] = {1, 0};
  EXPECT_EQ(GetJointProbability_bn(both, clash), 0.0) << "B's finding rules out state 0";
  EXPECT_EQ(GetNodeFinding_bn(b), 1) << "the findings are put back";
  EXPECT_NEAR(FindingsProbability_bn(net), 0.59, 1e-6);
}

TEST_F(SmallNetTest, RandomCasesFollowTheDistributionGivenTheFindings) {
  randgen_vq* rng = NewRandomGenerator_vq("7", env, nullptr);
  // How often `watched` comes out in state 1 when cases of `list` are drawn after retracting `list`.
  auto shareOfOnes = [&](nodelist_bn* list, node_bn* watched, sampling_bn method) {
    int ones = 0, draws = 4000;
    for (int i = 0; i < draws; ++i) {
      for (int k = 0; k < LengthNodeList_bn(list); ++k) RetractNodeFindings_bn(GetNthNode_bn(list, k));
      EXPECT_EQ(GenerateRandomCase_bn(list, method, 0, rng), 0);
      ones += GetNodeFinding_bn(watched) == 1;
    }
    return ones / static_cast<double>(draws);
  };
  for (sampling_bn method : {FORWARD_SAMPLING, JOIN_TREE_SAMPLING}) {
    EXPECT_NEAR(shareOfOnes(both, b, method), 0.59, 0.03) << "method " << method;
    RetractNetFindings_bn(net);
    EnterFinding_bn(b, 1);
    // P(a1 | b1) = 0.56 / 0.59 = 0.949; four standard errors is about 0.014.
    EXPECT_NEAR(shareOfOnes(justA, a, method), 0.56 / 0.59, 0.015) << "method " << method;
    RetractNetFindings_bn(net);
  }
  // Findings no case can meet: forward sampling gives up after the timeout, changing nothing.
  EnterFinding_bn(b, 1);
  UncompileNet_bn(net);
  setCpt(b, {1, 0, 1, 0});
  RetractNodeFindings_bn(a);
  ASSERT_EQ(GetNodeFinding_bn(b), 1);
  EXPECT_EQ(GenerateRandomCase_bn(justA, FORWARD_SAMPLING, 0.05, rng), -1);
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);
  DeleteRandomGen_vq(rng);
}

TEST_F(SmallNetTest, InconsistentFindingsNameTheImpossibleConditionReached) {
  setCpt(b, {0, 0, 0.2, 0.8});  // "A = a0 cannot happen", yet P(a0) = 0.3
  CompileNet_bn(net);
  EnterFinding_bn(a, 0);
  EXPECT_EQ(GetNodeBeliefs_bn(b), nullptr);
  std::string msg = lastMessage(ERROR_ERR);
  EXPECT_EQ(msg.rfind("according to this model, the >-finding-(s) entered are inconsistent", 0), 0u) << msg;
  EXPECT_NE(msg.find("in the CPT of node B, parent conditions declared \"impossible\" have occurred: [A=#0]"),
            std::string::npos) << msg;

  // The zeros that make these findings impossible are not an indicator row: nothing to blame.
  ClearErrors_vq(env, ERROR_ERR);
  RetractNetFindings_bn(net);
  setCpt(b, {0.5, 0.5, 0.2, 0.8});
  node_bn* c = addNode(net, "C", 3, nullptr, {a}, {0.5, 0.5, 0, 0.2, 0.3, 0.5});
  CompileNet_bn(net);
  EnterFinding_bn(a, 0);
  EnterFinding_bn(c, 2);
  EXPECT_EQ(GetNodeBeliefs_bn(b), nullptr);
  EXPECT_EQ(lastMessage(ERROR_ERR), "according to this model, the >-finding-(s) entered are inconsistent");
  // The explanation changed nothing: with consistent findings the beliefs are right again.
  RetractNodeFindings_bn(c);
  const prob_bn* beliefs = GetNodeBeliefs_bn(c);
  ASSERT_NE(beliefs, nullptr);
  EXPECT_NEAR(beliefs[2], 0.0, 1e-6);
  EXPECT_NEAR(beliefs[1], 0.5, 1e-6);
}

}  // namespace
