// Node tables following changes of structure through the C API: links deleted, added and switched,
// and states added, removed and reordered, on the node itself and on its parents.
#include "BN/Net/NetErrors.h"
#include "BN/Tables/TableErrors.h"
#include "Quorva/Environ.h"
#include "Support/TableFixture.h"

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
  // X's three tables must hold, row by row, the original rows at these (A, B) states; a B state of
  // -1 asks for a new row (undefined, with no experience).
  void expectRows(const std::vector<std::pair<int, int>>& rows, const std::string& what) {
    Values wantCpt, wantExper, wantFunc;
    for (auto [i, j] : rows) {
      size_t r = static_cast<size_t>(i * 3 + j);
      wantCpt.insert(wantCpt.end(), {j < 0 ? U : cpt[r * 2], j < 0 ? U : cpt[r * 2 + 1]});
      wantExper.push_back(j < 0 ? 0 : exper[r]);
      wantFunc.push_back(j < 0 ? U : func[r]);
    }
    expectValues(table(x, "cpt"), wantCpt, "cpt " + what);
    expectValues(table(x, "exper"), wantExper, "exper " + what);
    expectValues(table(x, "function_state"), wantFunc, "function_state " + what);
  }
  // A child Y(2) of X with a CPT of its own.
  node_bn* childOfX() { return addNode(net, "Y", 2, nullptr, {x}, {0.1, 0.9, 0.8, 0.2}); }

  Values cpt, exper, func;
};

TEST_F(TableFollowsTest, DeletedLinkOrParentLeavesTheSliceAtTheParentsFindingState) {
  EnterFinding_bn(b, 2);
  DeleteLink_bn(1, x);
  expectRows({{0, 2}, {1, 2}}, "without B");
  DeleteLink_bn(0, x);  // A has no finding: its state 0 stays
  expectRows({{0, 2}}, "without A");
  EXPECT_EQ(errorText(), "");

  node_bn* x2 = addNode(net, "X2", 2, nullptr, {a}, {0.1, 0.9, 0.7, 0.3});  // a deleted parent goes the same way
  EnterFinding_bn(a, 1);
  DeleteNode_bn(a);
  expectValues(table(x2, "cpt"), {0.7, 0.3});
}

TEST_F(TableFollowsTest, AddedParentRepeatsEveryRowForEachOfItsStates) {
  ASSERT_EQ(AddLink_bn(NewNode_bn("C", 4, net), x), 2);
  std::vector<std::pair<int, int>> rows;
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) rows.insert(rows.end(), 4, {i, j});
  expectRows(rows, "with C");
  const state_bn a1b2c3[] = {1, 2, 3};
  EXPECT_NEAR(GetNodeProbs_bn(x, a1b2c3)[1], cptAt(1, 2, 1), 1e-7);
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
  expectRows({{0, 0}, {0, -1}, {0, 1}, {0, 2}, {1, 0}, {1, -1}, {1, 1}, {1, 2}}, "after B gained a state");
  const state_bn a1new[] = {1, 1};
  EXPECT_EQ(GetNodeProbs_bn(x, a1new)[0], UNDEF_FLT_vq);
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
  for (size_t r = 0; r < 6; ++r) {
    wantCpt.insert(wantCpt.end(), {0, cpt[r * 2], U, cpt[r * 2 + 1], U});
    wantFunc.push_back(func[r] == 0 ? 1 : 3);  // the function names X's states by their new numbers
  }
  expectValues(table(x, "cpt"), wantCpt, "cpt");
  expectValues(table(x, "function_state"), wantFunc, "function_state");
  expectValues(table(x, "exper"), exper, "exper");
}

TEST_F(TableFollowsTest, RemovedStateLeavesTheNodesTablesAndItsChildrens) {
  node_bn* y = childOfX();
  RemoveNodeState_bn(b, 1);
  expectRows({{0, 0}, {0, 2}, {1, 0}, {1, 2}}, "after B lost a state");
  RemoveNodeState_bn(x, 0);
  Values keptEntry, renumbered;
  for (size_t r : {0, 2, 3, 5}) {
    keptEntry.push_back(cpt[r * 2 + 1]);
    renumbered.push_back(func[r] == 1 ? 0 : U);  // state 1 is now 0; state 0 is gone
  }
  expectValues(table(x, "cpt"), keptEntry, "cpt after X lost a state");
  expectValues(table(x, "function_state"), renumbered, "function after X lost a state");
  expectValues(table(y, "cpt"), {0.8, 0.2}, "child's cpt after X lost a state");
}

TEST_F(TableFollowsTest, ReorderedStatesPermuteTheNodesEntriesAndItsChildrensRows) {
  node_bn* y = childOfX();
  SetNodeExperience_bn(y, std::vector<state_bn>{1}.data(), 7);
  const state_bn newB[] = {2, 0, 1};
  ReorderNodeStates_bn(b, newB);
  expectRows({{0, 2}, {0, 0}, {0, 1}, {1, 2}, {1, 0}, {1, 1}}, "after B was reordered");

  const state_bn swap[] = {1, 0};
  ReorderNodeStates_bn(x, swap);
  Values swapped, flipped;
  for (size_t r : {2, 0, 1, 5, 3, 4}) {
    swapped.insert(swapped.end(), {cpt[r * 2 + 1], cpt[r * 2]});
    flipped.push_back(1 - func[r]);
  }
  expectValues(table(x, "cpt"), swapped, "cpt after X was reordered");
  expectValues(table(x, "function_state"), flipped, "function after X was reordered");
  expectValues(table(x, "exper"), {exper[2], exper[0], exper[1], exper[5], exper[3], exper[4]}, "exper");
  expectValues(table(y, "cpt"), {0.8, 0.2, 0.1, 0.9}, "child's cpt after X was reordered");
  expectValues(table(y, "exper"), {7, 0}, "child's experience after X was reordered");
}

// One size check guards every edit: a new link, or new states of the node itself.
TEST_F(TableFollowsTest, EditsThatWouldPushACptPastItsLimitAreRefusedAndChangeNothing) {
  LimitMemoryUsage_vq(64e6, env);
  node_bn* p = NewNode_bn("P", 20000, net);
  node_bn* y = addNode(net, "Y", 2, nullptr, {p});
  const state_bn every[] = {EVERY_STATE};
  const prob_bn row[] = {0.25f, 0.75f};
  SetNodeProbs_bn(y, every, row);
  node_bn* q = NewNode_bn("Q", 10001, net);  // 20000 * 10001 * 2 = 400,040,000
  expectRefusedKeepingTables(y, [&] { EXPECT_EQ(AddLink_bn(q, y), -1); }, err::CptTooLargeEdit.number,
                             "can't edit >-CPTable for >-node 'Y', because the >-CPTable would be too large "
                             "(4.0004e+08), due to too many parent >-node-s");
  expectRefusedKeepingTables(y, [&] { AddNodeStates_bn(y, -1, nullptr, 19999, 0); }, err::CptTooLargeEdit.number,
                             "can't edit >-CPTable for >-node 'Y', because the >-CPTable would be too large "
                             "(4.0002e+08), due to too many parent >-node-s");
  EXPECT_EQ(GetNodeNumberStates_bn(y), 2);
}

TEST_F(TableFollowsTest, MemoryFailureWhileReindexingLeavesEveryTableAsItWas) {
  node_bn* y = addNode(net, "Y", 2, nullptr, {b});
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
  node_bn* y = addNode(net, "Y", 2, nullptr, {c});
  setTable(y, "cpt", distinct(4));
  setTable(c, "cpt", {0.5, 0.5});
  SetNodeLevels_bn(c, 0, nullptr);
  EXPECT_EQ(errorText(), "");
  EXPECT_EQ(GetNodeNumberStates_bn(c), 0);
  EXPECT_FALSE(HasNodeTable_bn(c, nullptr));
  EXPECT_FALSE(HasNodeTable_bn(y, nullptr));
  EXPECT_EQ(listNames(GetNodeParents_bn(y)), "C");
}
