// Node tables through the C API: rows of the CPT, function and experience tables, whole tables and
// sub-tables as doubles, their argument checks, and the size limit of a CPT.
#include "BN/Net/Bnode.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/TableErrors.h"
#include "Quorva/ApiErrors.h"
#include "Support/TableFixture.h"

namespace err = quorva::err;

namespace {
const double U = std::nan("");
}

class TableApiTest : public TableTest {
 protected:
  quorva::Bnode& engineNode(node_bn* n) { return *reinterpret_cast<quorva::Bnode*>(n); }
};

TEST_F(TableApiTest, ProbsRowLandsAtItsOffsetAndEveryOtherEntryIsUndefined) {
  EXPECT_EQ(GetNodeProbs_bn(x, nullptr), nullptr);
  EXPECT_EQ(errorText(), "");
  const state_bn a1b2[] = {1, 2};
  const prob_bn row[] = {0.3f, 0.7f};
  SetNodeProbs_bn(x, a1b2, row);
  const prob_bn* all = GetNodeProbs_bn(x, nullptr);
  ASSERT_NE(all, nullptr);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(all[i], UNDEF_FLT_vq) << i;
  EXPECT_NEAR(all[10], 0.3, 1e-6);
  EXPECT_NEAR(all[11], 0.7, 1e-6);
  const prob_bn* got = GetNodeProbs_bn(x, a1b2);
  ASSERT_NE(got, nullptr);
  EXPECT_NEAR(got[0], 0.3, 1e-6);
  EXPECT_NEAR(got[1], 0.7, 1e-6);
  bool_vq complete = 1;
  EXPECT_TRUE(HasNodeTable_bn(x, &complete));
  EXPECT_FALSE(complete);

  // EVERY_STATE sets each matching row: A=0,B=0 at 0 and A=1,B=0 at 6.
  const state_bn everyA[] = {EVERY_STATE, 0};
  const prob_bn certain[] = {1, 0};
  SetNodeProbs_bn(x, everyA, certain);
  expectValues(table(x, "cpt"), {1, 0, U, U, U, U, 1, 0, U, U, 0.3, 0.7});
  const state_bn every[] = {EVERY_STATE, EVERY_STATE};
  const prob_bn half[] = {0.5f, 0.5f};
  SetNodeProbs_bn(x, every, half);
  expectValues(table(x, "cpt"), Values(12, 0.5));
  EXPECT_TRUE(HasNodeTable_bn(x, &complete));
  EXPECT_TRUE(complete);
  const prob_bn unknown[] = {0.5f, std::nanf("")};  // a NaN leaves the entry undefined
  SetNodeProbs_bn(x, a1b2, unknown);
  EXPECT_EQ(GetNodeProbs_bn(x, a1b2)[1], UNDEF_FLT_vq);
  EXPECT_TRUE(HasNodeTable_bn(x, &complete));
  EXPECT_FALSE(complete);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableApiTest, ProbsAreRefusedWithoutStatesOrAtParentStatesOutOfRange) {
  node_bn* c = NewNode_bn("C", 0, net);
  const prob_bn row[] = {0.2f, 0.8f};
  expectRefused(net, [&] { SetNodeProbs_bn(c, nullptr, row); }, err::ProbsNotDiscrete.number,
                "can't set probability array for >-Bnode 'C' because it is not discrete or discretized");
  EXPECT_FALSE(HasNodeTable_bn(c, nullptr));
  // A parent without states gives no rows to set, even for EVERY_STATE.
  node_bn* y = addNode(net, "Y", 2, nullptr, {c});
  const state_bn every[] = {EVERY_STATE};
  expectRefused(net, [&] { SetNodeProbs_bn(y, every, row); }, err::SetContinuousParent.number,
                "can't set table of node 'Y' because it has a parent node that is continuous and undiscretized");
  EXPECT_FALSE(HasNodeTable_bn(y, nullptr));

  const state_bn a0b0[] = {0, 0};
  SetNodeProbs_bn(x, a0b0, row);
  const state_bn badB[] = {0, 3};
  expectRefusedKeepingTables(x, [&] { SetNodeProbs_bn(x, badB, row); }, err::ParentStateRange.number,
                             "passed parent state (=3) for parent 'B' of >-Bnode 'X' is out of bounds (it must "
                             "be between 0 and 2 inclusive, or EVERY_STATE)");
  expectRefusedKeepingTables(x, [&] { SetNodeProbs_bn(x, a0b0, nullptr); }, err::NullArgument.number,
                             "NULL passed for argument 'probs'");
}

TEST_F(TableApiTest, TablesWhoseFactorIsNotOneReadAsTheValuesTheyStandFor) {
  const state_bn a1b2[] = {1, 2}, a0b1[] = {0, 1}, a0b0[] = {0, 0}, a1b1[] = {1, 1};
  const prob_bn row[] = {0.3f, 0.7f};
  SetNodeProbs_bn(x, a1b2, row);
  quorva::PotTable& cpt = engineNode(x).tables.cpt;
  cpt.multiplyScalar(2.0);  // the stored entries stay; the factor doubles
  ASSERT_DOUBLE_EQ(cpt.factor(), 2.0);
  expectValues(table(x, "cpt", {1, 2}), {0.6, 1.4});
  const prob_bn* got = GetNodeProbs_bn(x, a1b2);
  ASSERT_NE(got, nullptr);
  EXPECT_NEAR(got[0], 0.6, 1e-6);
  EXPECT_NEAR(got[1], 1.4, 1e-6);
  EXPECT_EQ(GetNodeProbs_bn(x, nullptr)[0], UNDEF_FLT_vq);  // rescaling leaves undefined entries alone

  // Setting another row keeps what the scaled rows stand for.
  cpt.multiplyScalar(0.5);
  const prob_bn other[] = {0.4f, 0.6f};
  SetNodeProbs_bn(x, a0b1, other);
  expectValues(table(x, "cpt", {1, 2}), {0.3, 0.7});
  expectValues(table(x, "cpt", {0, 1}), {0.4, 0.6});

  SetNodeExperience_bn(x, a0b0, 3);
  engineNode(x).tables.exper.multiplyScalar(2.0);
  EXPECT_NEAR(GetNodeExperience_bn(x, a0b0), 6, 1e-9);
  SetNodeExperience_bn(x, a1b1, 1);
  EXPECT_NEAR(GetNodeExperience_bn(x, a1b1), 1, 1e-9);
  EXPECT_NEAR(GetNodeExperience_bn(x, a0b0), 6, 1e-9);
  expectValues(table(x, "exper"), {6, 0, 0, 0, 1, 0});
}

TEST_F(TableApiTest, FunctionStatesReadBackAndStatesOutOfRangeAreRefused) {
  const state_bn everyA_b1[] = {EVERY_STATE, 1}, a0b2[] = {0, 2}, a1b1[] = {1, 1}, a1b0[] = {1, 0};
  SetNodeFuncState_bn(x, everyA_b1, 1);
  SetNodeFuncState_bn(x, a0b2, 0);
  EXPECT_EQ(GetNodeFuncState_bn(x, a1b1), 1);
  EXPECT_EQ(GetNodeFuncState_bn(x, a0b2), 0);
  EXPECT_EQ(GetNodeFuncState_bn(x, a1b0), UNDEF_STATE);
  expectValues(table(x, "function_state"), {U, 1, 0, U, 1, U});
  EXPECT_TRUE(IsNodeDeterministic_bn(x));
  bool_vq complete = 1;
  EXPECT_TRUE(HasNodeTable_bn(x, &complete));
  EXPECT_FALSE(complete);

  expectRefusedKeepingTables(x, [&] { SetNodeFuncState_bn(x, a1b0, 2); }, err::FuncStateRange.number,
                             "argument 'state' is 2, but it should be between 0 and 1 inclusive, because >-node "
                             "'X' is discrete with 2 states");
  node_bn* c = NewNode_bn("C", 0, net);
  expectRefused(net, [&] { SetNodeFuncState_bn(c, nullptr, 0); }, err::FuncOnContinuous.number,
                "can't use this function on >-Bnode 'C', because that >-node is continuous and has not yet been "
                "discretized");

  // With levels, a state-valued row reads as its state's level.
  const level_bn levels[] = {10, 20};
  SetNodeLevels_bn(x, 2, levels);
  EXPECT_NEAR(GetNodeFuncReal_bn(x, a1b1), 20, 1e-9);
  EXPECT_NEAR(GetNodeFuncReal_bn(x, a0b2), 10, 1e-9);
  EXPECT_TRUE(isUndef(GetNodeFuncReal_bn(x, a1b0)));
}

TEST_F(TableApiTest, RealFunctionNeedsLevelsOnADiscreteNode) {
  const state_bn a0b0[] = {0, 0}, a1b1[] = {1, 1};
  SetNodeFuncState_bn(x, a0b0, 1);
  SetNodeFuncReal_bn(x, a0b0, 1.5);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::FuncRealNoLevels.number);  // the message: SetNodeTable refusals
  clearErrors();
  const level_bn levels[] = {0, 1};
  SetNodeLevels_bn(x, 2, levels);
  SetNodeFuncReal_bn(x, a1b1, 0.25);
  EXPECT_NEAR(GetNodeFuncReal_bn(x, a1b1), 0.25, 1e-7);
  EXPECT_EQ(GetNodeFuncState_bn(x, a1b1), UNDEF_STATE);  // the table now holds reals

  // A continuous node without states may have a real function of its parents.
  node_bn* c = addNode(net, "C", 0, nullptr, {a});
  const state_bn a1[] = {1};
  SetNodeFuncReal_bn(c, a1, -2.5);
  EXPECT_NEAR(GetNodeFuncReal_bn(c, a1), -2.5, 1e-7);
  expectValues(table(c, "function_real"), {U, -2.5});
  EXPECT_TRUE(IsNodeDeterministic_bn(c));
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableApiTest, ExperienceMayBeZeroButNotNegative) {
  const state_bn a0b0[] = {0, 0}, everyA_b2[] = {EVERY_STATE, 2}, a1b0[] = {1, 0};
  EXPECT_TRUE(isUndef(GetNodeExperience_bn(x, a0b0)));
  SetNodeExperience_bn(x, a0b0, -0.5);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::ExperienceNegative.number);  // the message: SetNodeTable refusals
  EXPECT_TRUE(isUndef(GetNodeExperience_bn(x, a0b0)));
  clearErrors();
  SetNodeExperience_bn(x, everyA_b2, 0);
  SetNodeExperience_bn(x, a1b0, 12.5);
  EXPECT_EQ(errorText(), "");
  EXPECT_NEAR(GetNodeExperience_bn(x, a1b0), 12.5, 1e-9);
  expectValues(table(x, "exper"), {0, 0, 0, 12.5, 0, 0});
  // An undefined experience given as a table entry reads back undefined.
  SetNodeTable_bn(x, "exper", a1b0, 2, &U, 1);
  EXPECT_TRUE(isUndef(GetNodeExperience_bn(x, a1b0)));
}

TEST_F(TableApiTest, DeterministicMeansEveryDefinedRowIsCertain) {
  EXPECT_FALSE(IsNodeDeterministic_bn(x));
  const state_bn a0b0[] = {0, 0}, a1b2[] = {1, 2}, a1b1[] = {1, 1};
  const prob_bn yes[] = {0, 1}, no[] = {1, 0}, half[] = {0.5f, 0.5f};
  SetNodeProbs_bn(x, a0b0, yes);
  EXPECT_TRUE(IsNodeDeterministic_bn(x));  // the rows not given do not count
  SetNodeProbs_bn(x, a1b2, no);
  EXPECT_TRUE(IsNodeDeterministic_bn(x));
  SetNodeProbs_bn(x, a1b1, half);
  EXPECT_FALSE(IsNodeDeterministic_bn(x));

  SetNodeExperience_bn(x, a0b0, 4);
  SetNodeFuncState_bn(x, a0b0, 1);
  DeleteNodeTables_bn(x);
  EXPECT_FALSE(HasNodeTable_bn(x, nullptr));
  EXPECT_FALSE(IsNodeDeterministic_bn(x));
  EXPECT_EQ(GetNodeProbs_bn(x, nullptr), nullptr);
  EXPECT_TRUE(isUndef(GetNodeExperience_bn(x, a0b0)));
  EXPECT_EQ(GetNodeFuncState_bn(x, a0b0), UNDEF_STATE);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableApiTest, SubTablesTakeTheEveryStateParentsFirstParentSlowest) {
  setTable(x, "cpt", distinct(12));
  expectValues(table(x, "cpt", {EVERY_STATE, 1}), {0.003, 0.004, 0.009, 0.010});
  expectValues(table(x, "cpt", {1, EVERY_STATE}), {0.007, 0.008, 0.009, 0.010, 0.011, 0.012});
  expectValues(table(x, "cpt", {EVERY_STATE, EVERY_STATE}), distinct(12));
  expectValues(table(x, "cpt", {0, 2}), {0.005, 0.006});

  const state_bn everyA_b2[] = {EVERY_STATE, 2}, a0_everyB[] = {0, EVERY_STATE};
  const double exper[] = {5, 7};
  SetNodeTable_bn(x, "exper", everyA_b2, 2, exper, 2);
  expectValues(table(x, "exper"), {0, 0, 5, 0, 0, 7});
  const double rows[] = {1, 0, 0, 1, 0.5, 0.5};
  SetNodeTable_bn(x, "cpt", a0_everyB, 2, rows, 6);
  expectValues(table(x, "cpt"), {1, 0, 0, 1, 0.5, 0.5, 0.007, 0.008, 0.009, 0.010, 0.011, 0.012});
  const double fs[] = {1, U, 0};
  SetNodeTable_bn(x, "function_state", a0_everyB, 2, fs, 3);
  expectValues(table(x, "function_state"), {1, U, 0, U, U, U});
  const state_bn a0b0[] = {0, 0};
  EXPECT_EQ(GetNodeFuncState_bn(x, a0b0), 1);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableApiTest, GetNodeTableRefusesBadArguments) {
  setTable(x, "cpt", distinct(12));
  double buf[16];
  int size = 16;
  const state_bn every_b1[] = {EVERY_STATE, 1}, a1b1[] = {1, 1}, a1b2[] = {1, 2};
  auto refusedGet = [&](const char* which, const state_bn* ps, int nps, double* t, int* sz, int number,
                        const std::string& text) {
    expectRefused(net, [&] { EXPECT_EQ(GetNodeTable_bn(x, which, ps, nps, t, sz), nullptr); }, number, text);
  };
  refusedGet(nullptr, nullptr, 0, buf, &size, err::WhichTableNull.number, "argument 'which_table' is NULL");
  refusedGet("probs", nullptr, 0, buf, &size, err::WhichTableUnknown.number,
             "argument 'which_table' is 'probs', but it must be one of 'cpt', 'exper', 'function_state', or "
             "'function_real'");
  refusedGet("cpt", a1b1, 1, buf, &size, err::SizeParentStates.number,
             "argument size_parent_states is 1, but it should be the number of parents of node 'X', which is 2");
  refusedGet("cpt", nullptr, 2, buf, &size, err::SizeParentStatesNull.number,
             "argument size_parent_states is 2, but it should be 0, since parent_states is NULL");
  refusedGet("cpt", nullptr, 0, buf, nullptr, err::SizeTableNull.number,
             "argument 'size_table' is NULL, which is not allowed when argument 'table' is non-NULL");
  size = 11;
  refusedGet("cpt", nullptr, 0, buf, &size, err::SizeTableSmall.number,
             "the maximum number of entries in the passed table to be filled is declared to be 11 (i.e. "
             "'size_table'), but it must be at least 12");
  size = 12;
  refusedGet("cpt", nullptr, 0, nullptr, &size, err::SizeTableNotZero.number,
             "argument size_table is 12, but it should be 0, since argument 'table' is NULL");
  size = 0;
  refusedGet("cpt", every_b1, 2, nullptr, &size, err::TableNullSubtable.number,
             "argument 'table' is NULL, which is not allowed when retrieving a subtable that is neither the whole "
             "table nor a single element, for node 'X'");

  // Without a buffer: the whole table, or one entry.
  clearErrors();
  const double* whole = GetNodeTable_bn(x, "cpt", nullptr, 0, nullptr, &size);
  ASSERT_NE(whole, nullptr);
  EXPECT_EQ(size, 12);
  expectValues(Values(whole, whole + size), distinct(12));
  SetNodeExperience_bn(x, a1b2, 9);
  const double* one = GetNodeTable_bn(x, "exper", a1b2, 2, nullptr, nullptr);
  ASSERT_NE(one, nullptr);
  EXPECT_NEAR(*one, 9, 1e-9);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableApiTest, TableTooLargeToReadIsRefusedWithoutBuildingIt) {
  node_bn* w = NewNode_bn("W", 1, net);
  for (const char* name : {"P", "Q", "R"}) AddLink_bn(NewNode_bn(name, 2000, net), w);  // 8e9 rows
  int size = 0;
  expectRefused(net, [&] { EXPECT_EQ(GetNodeTable_bn(w, "exper", nullptr, 0, nullptr, &size), nullptr); },
                err::GetTooLarge.number, "can't get table of node 'W' because it would be too large");
}

TEST_F(TableApiTest, SetNodeTableRefusalsLeaveTheTablesAsTheyWere) {
  setTable(x, "cpt", distinct(12));
  setTable(x, "exper", distinct(6, 1.0));
  const double values[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  const state_bn every_b0[] = {EVERY_STATE, 0};
  auto refusedSet = [&](node_bn* n, const char* which, const state_bn* ps, int nps, const double* t, int size,
                        int number, const std::string& text) {
    expectRefusedKeepingTables(n, [&] { SetNodeTable_bn(n, which, ps, nps, t, size); }, number, text);
  };
  refusedSet(x, "cpt", every_b0, 2, values, 3, err::SetTableCount.number,
             "the number of entries in the passed table is declared to be 3, but it must be 4 for node X and given "
             "the passed parent_states");
  refusedSet(x, "cpt", every_b0, 2, nullptr, 0, err::SetTableNull.number,
             "passed table is NULL (when parent_states is non-NULL, table must be passed");
  // Entries are checked before any is written.
  const double states[] = {1, 0, 1, 1, 0, 2};
  refusedSet(x, "function_state", nullptr, 0, states, 6, err::FuncStateRange.number,
             "argument 'state' is 2, but it should be between 0 and 1 inclusive, because >-node 'X' is discrete "
             "with 2 states");
  const double exper[] = {3, 3, 3, 3, 3, -1};
  refusedSet(x, "exper", nullptr, 0, exper, 6, err::ExperienceNegative.number,
             "argument 'experience' passed for >-Bnode 'X', is negative (-1)");
  refusedSet(x, "function_real", nullptr, 0, values, 6, err::FuncRealNoLevels.number,
             "can't use this function on >-Bnode 'X', because that >-node is discrete and has no output levels "
             "defined");

  node_bn* c = NewNode_bn("C", 0, net);
  refusedSet(c, "cpt", nullptr, 0, values, 1, err::SetNotDiscrete.number,
             "can't set cpt table for node 'C' because the node is not discrete or discretized");
  node_bn* y = addNode(net, "Y", 2, nullptr, {c});
  refusedSet(y, "exper", nullptr, 0, values, 1, err::SetContinuousParent.number,
             "can't set table of node 'Y' because it has a parent node that is continuous and undiscretized");
}

TEST_F(TableApiTest, NullTableRemovesJustThatTableAndTheCompiledNetSeesIt) {
  // X copies A, which is in state 0 with probability 0.2; X -> Y gives the compiled net two cliques.
  AddLink_bn(x, NewNode_bn("Y", 2, net));
  setTable(a, "cpt", {0.2, 0.8});
  setTable(x, "cpt", {1, 0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 1});
  setTable(x, "exper", distinct(6, 1.0));
  setTable(x, "function_state", {0, 1, 0, 1, 0, 1});
  CompileNet_bn(net);
  const prob_bn* beliefs = GetNodeBeliefs_bn(x);
  ASSERT_NE(beliefs, nullptr);
  EXPECT_NEAR(beliefs[0], 0.2, 1e-6);

  SetNodeTable_bn(x, "exper", nullptr, 0, nullptr, 0);
  const state_bn a0b1[] = {0, 1};
  EXPECT_TRUE(isUndef(GetNodeExperience_bn(x, a0b1)));
  expectValues(table(x, "cpt"), {1, 0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 1});
  // Removing the real-valued form leaves a state-valued function alone.
  SetNodeTable_bn(x, "function_real", nullptr, 0, nullptr, 0);
  EXPECT_EQ(GetNodeFuncState_bn(x, a0b1), 1);
  SetNodeTable_bn(x, "function_state", nullptr, 0, nullptr, 0);
  EXPECT_EQ(GetNodeFuncState_bn(x, a0b1), UNDEF_STATE);
  SetNodeTable_bn(x, "cpt", nullptr, 0, nullptr, 0);
  EXPECT_FALSE(HasNodeTable_bn(x, nullptr));
  beliefs = GetNodeBeliefs_bn(x);  // without a table, X is uniform
  ASSERT_NE(beliefs, nullptr);
  EXPECT_NEAR(beliefs[0], 0.5, 1e-6);
  EXPECT_EQ(errorText(), "");
}

TEST_F(TableApiTest, CptPastFourHundredMillionEntriesIsRefusedBeforeAnythingIsAllocated) {
  LimitMemoryUsage_vq(64e6, env);  // a missing size check would show as a memory refusal
  // Each case in a net of its own, so that the snapshots taken around a refusal stay small.
  net_bn* over = NewNet_bn("Over", env);
  // 19801 * 20201 = 400,000,001
  node_bn* y = addNode(over, "Y", 1, nullptr, {NewNode_bn("P", 19801, over), NewNode_bn("Q", 20201, over)});
  const state_bn ps[] = {0, 0};
  const prob_bn one[] = {1};
  expectRefused(over, [&] { SetNodeProbs_bn(y, ps, one); }, err::CptTooLargeCreate.number,
                "can't create >-CPTable for >-node 'Y', because the >-CPTable would be too large (4e+08), due to "
                "too many parent >-node-s");
  const double entry = 1;
  expectRefused(over, [&] { SetNodeTable_bn(y, "cpt", nullptr, 0, &entry, 1); }, err::SetTooLarge.number,
                "can't set table of node 'Y' because it would be too large");
  EXPECT_FALSE(HasNodeTable_bn(y, nullptr));

  // At exactly 400,000,000 the size is accepted: the call goes on to count the entries passed.
  net_bn* at = NewNet_bn("At", env);
  node_bn* z = addNode(at, "Z", 1, nullptr, {NewNode_bn("R", 20000, at), NewNode_bn("S", 20000, at)});
  expectRefused(at, [&] { SetNodeTable_bn(z, "cpt", nullptr, 0, &entry, 1); }, err::SetTableCount.number,
                "the number of entries in the passed table is declared to be 1, but it must be 400000000 for node "
                "Z and given the passed parent_states");
  const int atBound[] = {20000, 20000, 1};
  EXPECT_DOUBLE_EQ(quorva::cptEntries(atBound), 4e8);
  EXPECT_NO_THROW(quorva::checkCptSize(engineNode(z), atBound, "create"));
  EXPECT_EQ(errorCount(ERROR_ERR), 1);  // only the count refusal above
}
