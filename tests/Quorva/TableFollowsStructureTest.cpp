// Node tables following changes of structure through the C API: links deleted, added and switched,
// and states added, removed and reordered, on the node itself and on its parents.
#include "BN/NetErrors.h"
#include "BN/TableErrors.h"
#include "Quorva/Environ.h"
#include "TableFixture.h"

namespace err = quorva::err;

namespace {
const double U = std::nan("");
}

// X's tables over A(2), B(3): a CPT, an experience and a state-valued function table, all distinct
// enough that a misplaced row shows.
class TableFollowsTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    cpt = distinct(12);
    exper = distinct(6, 1.0);
    func = {0, 1, 1, 0, 0, 1};
    setTable(x, "cpt", cpt);
    setTable(x, "exper", exper);
    setTable(x, "function_state", func);
    ASSERT_EQ(errorText(), "");
  }
  // X's original entries at A=i, B=j (and X=k).
  double cptAt(int i, int j, int k) const { return cpt[static_cast<size_t>((i * 3 + j) * 2 + k)]; }
  double experAt(int i, int j) const { return exper[static_cast<size_t>(i * 3 + j)]; }
  double funcAt(int i, int j) const { return func[static_cast<size_t>(i * 3 + j)]; }
  // A child Y(2) of X with a CPT of its own.
  node_bn* childOfX() {
    node_bn* y = NewNode_bn("Y", 2, net);
    AddLink_bn(x, y);
    setTable(y, "cpt", {0.1, 0.9, 0.8, 0.2});
    return y;
  }

  Values cpt, exper, func;
};

TEST_F(TableFollowsTest, DeletedLinkLeavesTheSliceAtTheParentsFindingState) {
  EnterFinding_bn(b, 2);
  ASSERT_EQ(GetNodeFinding_bn(b), 2);
  DeleteLink_bn(1, x);
  Values wantCpt, wantExper, wantFunc;
  for (int i = 0; i < 2; ++i) {
    wantCpt.insert(wantCpt.end(), {cptAt(i, 2, 0), cptAt(i, 2, 1)});
    wantExper.push_back(experAt(i, 2));
    wantFunc.push_back(funcAt(i, 2));
  }
  expectValues(table(x, "cpt"), wantCpt, "cpt");
  expectValues(table(x, "exper"), wantExper, "exper");
  expectValues(table(x, "function_state"), wantFunc, "function_state");

  // A has no finding: its state 0 stays.
  DeleteLink_bn(0, x);
  expectValues(table(x, "cpt"), {cptAt(0, 2, 0), cptAt(0, 2, 1)});
  expectValues(table(x, "exper"), {experAt(0, 2)});
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableFollowsTest, DeletedParentNodeLeavesTheSliceAtItsFindingState) {
  EnterFinding_bn(a, 1);
  ASSERT_EQ(GetNodeFinding_bn(a), 1);
  DeleteNode_bn(a);
  Values wantCpt, wantExper;
  for (int j = 0; j < 3; ++j) {
    wantCpt.insert(wantCpt.end(), {cptAt(1, j, 0), cptAt(1, j, 1)});
    wantExper.push_back(experAt(1, j));
  }
  expectValues(table(x, "cpt"), wantCpt);
  expectValues(table(x, "exper"), wantExper);
}

TEST_F(TableFollowsTest, AddedParentRepeatsEveryRowForEachOfItsStates) {
  node_bn* c = NewNode_bn("C", 4, net);
  ASSERT_EQ(AddLink_bn(c, x), 2);
  Values wantCpt, wantExper, wantFunc;
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j)
      for (int s = 0; s < 4; ++s) {
        wantCpt.insert(wantCpt.end(), {cptAt(i, j, 0), cptAt(i, j, 1)});
        wantExper.push_back(experAt(i, j));
        wantFunc.push_back(funcAt(i, j));
      }
  expectValues(table(x, "cpt"), wantCpt, "cpt");
  expectValues(table(x, "exper"), wantExper, "exper");
  expectValues(table(x, "function_state"), wantFunc, "function_state");
  const state_bn a1b2c3[] = {1, 2, 3};
  const prob_bn* row = GetNodeProbs_bn(x, a1b2c3);
  ASSERT_NE(row, nullptr);
  EXPECT_NEAR(row[0], cptAt(1, 2, 0), 1e-7);
  EXPECT_NEAR(row[1], cptAt(1, 2, 1), 1e-7);
}

TEST_F(TableFollowsTest, SwitchedParentKeepsTheTable) {
  std::string before = tablesOf(x);
  node_bn* d = NewNode_bn("D", 3, net);
  SwitchNodeParent_bn(1, x, d);
  EXPECT_EQ(listNames(GetNodeParents_bn(x)), "A,D");
  EXPECT_EQ(tablesOf(x), before);
  SwitchNodeParent_bn(0, x, nullptr);  // a disconnected stand-in takes A's place
  EXPECT_EQ(tablesOf(x), before);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableFollowsTest, ParentGainingStatesGivesChildrenUndefinedRowsForThem) {
  AddNodeStates_bn(b, 1, nullptr, 1, 0);  // B: old 0, new, old 1, old 2
  const int oldB[] = {0, -1, 1, 2};
  Values wantCpt, wantExper, wantFunc;
  for (int i = 0; i < 2; ++i)
    for (int j : oldB) {
      wantCpt.insert(wantCpt.end(), {j < 0 ? U : cptAt(i, j, 0), j < 0 ? U : cptAt(i, j, 1)});
      wantExper.push_back(j < 0 ? 0 : experAt(i, j));
      wantFunc.push_back(j < 0 ? U : funcAt(i, j));
    }
  expectValues(table(x, "cpt"), wantCpt, "cpt");
  expectValues(table(x, "exper"), wantExper, "exper");
  expectValues(table(x, "function_state"), wantFunc, "function_state");
  const state_bn a1new[] = {1, 1}, a1b3[] = {1, 3};
  const prob_bn* row = GetNodeProbs_bn(x, a1new);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row[0], UNDEF_FLT_vq);
  EXPECT_EQ(row[1], UNDEF_FLT_vq);
  EXPECT_NEAR(GetNodeProbs_bn(x, a1b3)[1], cptAt(1, 2, 1), 1e-7);
  EXPECT_EQ(GetNodeFuncState_bn(x, a1new), UNDEF_STATE);
  bool_vq complete = 1;
  EXPECT_TRUE(HasNodeTable_bn(x, &complete));
  EXPECT_FALSE(complete);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableFollowsTest, NodeGainingStatesWidensEveryRowWithTheFill) {
  AddNodeStates_bn(x, 0, nullptr, 1, 0);          // X: new(0), old 0, old 1
  AddNodeStates_bn(x, -1, nullptr, 1, -1);        // ..., new(undefined)
  AddNodeStates_bn(x, 2, nullptr, 1, UNDEF_DBL);  // new(0), old 0, new(undefined), old 1, new(undefined)
  Values wantCpt, wantFunc;
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) {
      wantCpt.insert(wantCpt.end(), {0, cptAt(i, j, 0), U, cptAt(i, j, 1), U});
      wantFunc.push_back(funcAt(i, j) == 0 ? 1 : 3);  // the function names X's states by their new numbers
    }
  expectValues(table(x, "cpt"), wantCpt, "cpt");
  expectValues(table(x, "function_state"), wantFunc, "function_state");
  expectValues(table(x, "exper"), exper, "exper");
}

TEST_F(TableFollowsTest, RemovedStateLeavesTheNodesTablesAndItsChildrens) {
  node_bn* y = childOfX();
  RemoveNodeState_bn(b, 1);
  Values wantCpt, wantExper, wantFunc;
  for (int i = 0; i < 2; ++i)
    for (int j : {0, 2}) {
      wantCpt.insert(wantCpt.end(), {cptAt(i, j, 0), cptAt(i, j, 1)});
      wantExper.push_back(experAt(i, j));
      wantFunc.push_back(funcAt(i, j));
    }
  expectValues(table(x, "cpt"), wantCpt, "cpt after B lost a state");
  expectValues(table(x, "exper"), wantExper, "exper after B lost a state");
  expectValues(table(x, "function_state"), wantFunc, "function after B lost a state");

  RemoveNodeState_bn(x, 0);
  Values keptEntry, renumbered;
  for (size_t r = 0; r < 4; ++r) {
    keptEntry.push_back(wantCpt[r * 2 + 1]);
    renumbered.push_back(wantFunc[r] == 1 ? 0 : U);  // state 1 is now 0; state 0 is gone
  }
  expectValues(table(x, "cpt"), keptEntry, "cpt after X lost a state");
  expectValues(table(x, "function_state"), renumbered, "function after X lost a state");
  expectValues(table(x, "exper"), wantExper, "exper after X lost a state");
  expectValues(table(y, "cpt"), {0.8, 0.2}, "child's cpt after X lost a state");
}

TEST_F(TableFollowsTest, ReorderedStatesPermuteTheNodesEntriesAndItsChildrensRows) {
  node_bn* y = childOfX();
  SetNodeExperience_bn(y, std::vector<state_bn>{1}.data(), 7);
  const state_bn newB[] = {2, 0, 1};
  ReorderNodeStates_bn(b, newB);
  Values wantCpt, wantExper, wantFunc;
  for (int i = 0; i < 2; ++i)
    for (int j : newB) {
      wantCpt.insert(wantCpt.end(), {cptAt(i, j, 0), cptAt(i, j, 1)});
      wantExper.push_back(experAt(i, j));
      wantFunc.push_back(funcAt(i, j));
    }
  expectValues(table(x, "cpt"), wantCpt, "cpt after B was reordered");
  expectValues(table(x, "exper"), wantExper, "exper after B was reordered");
  expectValues(table(x, "function_state"), wantFunc, "function after B was reordered");

  const state_bn swap[] = {1, 0};
  ReorderNodeStates_bn(x, swap);
  Values swapped, flipped;
  for (size_t r = 0; r < 6; ++r) {
    swapped.insert(swapped.end(), {wantCpt[r * 2 + 1], wantCpt[r * 2]});
    flipped.push_back(1 - wantFunc[r]);
  }
  expectValues(table(x, "cpt"), swapped, "cpt after X was reordered");
  expectValues(table(x, "function_state"), flipped, "function after X was reordered");
  expectValues(table(x, "exper"), wantExper, "exper after X was reordered");
  expectValues(table(y, "cpt"), {0.8, 0.2, 0.1, 0.9}, "child's cpt after X was reordered");
  expectValues(table(y, "exper"), {7, 0}, "child's experience after X was reordered");

  const state_bn twice[] = {0, 0};
  expectRefusedKeepingTables(x, [&] { ReorderNodeStates_bn(x, twice); }, err::ReorderRepeat.number,
                             "the new order passed for >-Bnode 'X' names state 0 more than once");
}

TEST_F(TableFollowsTest, LinkThatWouldPushACptPastItsLimitIsRefusedAndChangesNothing) {
  LimitMemoryUsage_vq(64e6, env);
  node_bn* p = NewNode_bn("P", 20000, net);
  node_bn* y = NewNode_bn("Y", 2, net);
  AddLink_bn(p, y);
  const state_bn every[] = {EVERY_STATE};
  const prob_bn row[] = {0.25f, 0.75f};
  SetNodeProbs_bn(y, every, row);
  node_bn* q = NewNode_bn("Q", 10001, net);  // 20000 * 10001 * 2 = 400,040,000
  expectRefusedKeepingTables(y, [&] { EXPECT_EQ(AddLink_bn(q, y), -1); }, err::CptTooLargeEdit.number,
                             "can't edit >-CPTable for >-node 'Y', because the >-CPTable would be too large "
                             "(4.0004e+08), due to too many parent >-node-s");
  EXPECT_EQ(table(y, "cpt").size(), 40000u);
}

TEST_F(TableFollowsTest, StatesThatWouldPushTheNodesOwnCptPastItsLimitAreRefused) {
  LimitMemoryUsage_vq(64e6, env);
  node_bn* p = NewNode_bn("P", 20000, net);
  node_bn* y = NewNode_bn("Y", 2, net);
  AddLink_bn(p, y);
  const state_bn every[] = {EVERY_STATE};
  const prob_bn row[] = {0.25f, 0.75f};
  SetNodeProbs_bn(y, every, row);
  // 20000 * 20001 = 400,020,000
  expectRefusedKeepingTables(y, [&] { AddNodeStates_bn(y, -1, nullptr, 19999, 0); }, err::CptTooLargeEdit.number,
                             "can't edit >-CPTable for >-node 'Y', because the >-CPTable would be too large "
                             "(4.0002e+08), due to too many parent >-node-s");
  EXPECT_EQ(GetNodeNumberStates_bn(y), 2);
}

TEST_F(TableFollowsTest, MemoryFailureWhileReindexingLeavesEveryTableAsItWas) {
  node_bn* y = NewNode_bn("Y", 2, net);
  AddLink_bn(b, y);
  setTable(y, "cpt", distinct(6));
  std::string xBefore = tablesOf(x), yBefore = tablesOf(y);
  // X's three tables are rebuilt first; the fourth allocation, for Y's CPT, fails.
  reinterpret_cast<quorva::Environ*>(env)->memory.failAllocationAfter(4);
  AddNodeStates_bn(b, -1, nullptr, 1, 0);
  reinterpret_cast<quorva::Environ*>(env)->memory.failAllocationAfter(0);
  report_vq* r = lastError();
  ASSERT_NE(r, nullptr);
  EXPECT_TRUE(ErrorCategory_vq(OUT_OF_MEMORY_CND, r));
  EXPECT_EQ(GetNodeNumberStates_bn(b), 3);
  EXPECT_EQ(tablesOf(x), xBefore);
  EXPECT_EQ(tablesOf(y), yBefore);
}

TEST_F(TableFollowsTest, ParentLosingItsDiscretizationTakesTheChildsTablesAway) {
  node_bn* c = NewNode_bn("C", 0, net);
  const level_bn thresholds[] = {0, 1, 2};
  SetNodeLevels_bn(c, 2, thresholds);
  node_bn* y = NewNode_bn("Y", 2, net);
  AddLink_bn(c, y);
  setTable(y, "cpt", distinct(4));
  setTable(c, "cpt", {0.5, 0.5});
  SetNodeLevels_bn(c, 0, nullptr);
  EXPECT_EQ(errorText(), "");
  EXPECT_EQ(GetNodeNumberStates_bn(c), 0);
  EXPECT_FALSE(HasNodeTable_bn(c, nullptr));
  EXPECT_FALSE(HasNodeTable_bn(y, nullptr));
  EXPECT_EQ(listNames(GetNodeParents_bn(y)), "C");
}
