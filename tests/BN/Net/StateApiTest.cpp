// States through the C API: names, titles, adding, removing, reordering and levels.
#include <set>

#include "BN/Net/NetErrors.h"
#include "Basic/BasicErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

class StateApiTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    x = NewNode_bn("X", 3, net);
    SetNodeStateNames_bn(x, "lo,mid,hi");
    for (int s = 0; s < 3; ++s) SetNodeStateTitle_bn(x, s, std::string(1, char('A' + s)).c_str());
  }
  // "name/title" of each state.
  std::string states(node_bn* n) {
    std::string out;
    for (int s = 0; s < GetNodeNumberStates_bn(n); ++s)
      out += std::string(s ? "," : "") + GetNodeStateName_bn(n, s) + "/" + GetNodeStateTitle_bn(n, s);
    return out;
  }
  net_bn* net = nullptr;
  node_bn* x = nullptr;
};

TEST_F(StateApiTest, RefusedStateNamesLeaveNetUnchanged) {
  expectRefused(net, [&] { SetNodeStateNames_bn(x, "a,b"); }, err::StateNamesCount.number,
                "list of state names has 2 entries, but this >-Bnode has 3 states");
  expectRefused(net, [&] { SetNodeStateNames_bn(x, "a,b,a"); }, err::BadNameList.number,
                "in argument 'state_names', name 'a' is repeated");
  expectRefused(net, [&] { SetNodeStateName_bn(x, 0, "9lives"); }, err::BadNameList.number,
                "in argument 'state_name', '9lives' starts with non-alphabetic character '9'");
  SetNodeStateName_bn(x, 1, "middle");
  EXPECT_EQ(GetStateNamed_bn("middle", x), 1);
  EXPECT_EQ(GetStateNamed_bn("mid", x), UNDEF_STATE);
  SetNodeStateNames_bn(x, nullptr);
  EXPECT_STREQ(GetNodeStateName_bn(x, 0), "");
}

TEST_F(StateApiTest, StateIndexMustBeInBoundsAndNeedsStates) {
  const std::string bounds = "passed >-int_state (=3) for >-Bnode 'X' is out of bounds (it must be "
                             "between 0 and 2 inclusive)";
  expectRefused(net, [&] { SetNodeStateTitle_bn(x, 3, "T"); }, err::StateOutOfBounds.number, bounds);
  node_bn* c = NewNode_bn("C", 0, net);
  expectRefused(net, [&] { SetNodeStateComment_bn(c, 0, "T"); }, err::StateOnContinuous.number,
                "passed >-int_state (=0) is illegal (can't use this function with >-Bnode 'C' since it "
                "isn't continuous, and hasn't been discretized)");
}

TEST_F(StateApiTest, AddedStatesGoWhereAskedWithTheirNames) {
  AddNodeStates_bn(x, 1, "p,q", 2, 0);
  EXPECT_EQ(states(x), "lo/A,p/,q/,mid/B,hi/C");
  AddNodeStates_bn(x, -1, "top", 1, -1);
  AddNodeStates_bn(x, 6, "over", 1, UNDEF_DBL);
  AddNodeStates_bn(x, 0, "bottom", 1, 0);
  EXPECT_EQ(states(x), "bottom/,lo/A,p/,q/,mid/B,hi/C,top/,over/");
  // Without names, the new states get names that clash with none of the others.
  AddNodeStates_bn(x, 2, nullptr, 2, 0);
  EXPECT_EQ(GetNodeNumberStates_bn(x), 10);
  EXPECT_STREQ(GetNodeStateName_bn(x, 4), "p");
  std::set<std::string> names;
  for (int s = 0; s < 10; ++s) names.insert(GetNodeStateName_bn(x, s));
  EXPECT_EQ(names.size(), 10u);
  EXPECT_EQ(names.count(""), 0u);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(StateApiTest, RefusedAddStatesLeavesNetUnchanged) {
  expectRefused(net, [&] { AddNodeStates_bn(x, 4, "z", 1, 0); }, err::AddStatesIndex.number,
                "passed state index should be -1, or between 0 and 3, but it is 4");
  expectRefused(net, [&] { AddNodeStates_bn(x, 0, "z", 1, 0.5); }, err::AddStatesFill.number,
                "passed cpt_fill should be -1, 0, or UNDEF_DBL, but it is 0.5");
  expectRefused(net, [&] { AddNodeStates_bn(x, 0, "mid", 1, 0); }, err::BadNameList.number,
                "in argument 'state_names', name 'mid' is repeated");
  expectRefused(net, [&] { AddNodeStates_bn(x, 0, "u,v", 1, 0); }, err::AddStatesNames.number,
                "in argument 'state_names', the list has 2 names, but 1 states are being added");
}

TEST_F(StateApiTest, ReorderAndRemoveCarryNamesTitlesAndLevels) {
  const level_bn levels[] = {1, 2, 3};
  SetNodeLevels_bn(x, 3, levels);
  const state_bn order[] = {2, 0, 1};
  ReorderNodeStates_bn(x, order);
  EXPECT_EQ(states(x), "hi/C,lo/A,mid/B");
  const level_bn* got = GetNodeLevels_bn(x);
  ASSERT_NE(got, nullptr);
  EXPECT_EQ(std::vector<double>(got, got + 3), (std::vector<double>{3, 1, 2}));

  RemoveNodeState_bn(x, 1);
  EXPECT_EQ(states(x), "hi/C,mid/B");
  got = GetNodeLevels_bn(x);
  EXPECT_EQ(std::vector<double>(got, got + 2), (std::vector<double>{3, 2}));
  EXPECT_EQ(errorCount(ERROR_ERR), 0);

  const state_bn shortOrder[] = {1, -1};
  expectRefused(net, [&] { ReorderNodeStates_bn(x, shortOrder); }, err::ReorderCount.number,
                "the new order passed has 1 entries, but it must have one for each state (i.e. 2 "
                "entries) of >-Bnode 'X'");
  const state_bn twice[] = {1, 1};
  expectRefused(net, [&] { ReorderNodeStates_bn(x, twice); }, err::ReorderRepeat.number,
                "the new order passed for >-Bnode 'X' names state 1 more than once");
}

TEST_F(StateApiTest, LevelsOfDiscreteNodeMatchItsStatesAndThresholdsDiscretizeContinuous) {
  const level_bn levels[] = {1, 2, 3};
  expectRefused(net, [&] { SetNodeLevels_bn(x, 2, levels); }, err::LevelsDiscreteCount.number,
                "trying to change the number of states of a discrete >-Bnode ('X') from 3 to 2");
  expectRefused(net, [&] { SetNodeLevels_bn(x, -1, levels); }, err::LevelsNegative.number,
                "argument 'numstates' passed for >-Bnode 'X' is negative (= -1)");

  node_bn* c = NewNode_bn("C", 0, net);
  const level_bn thresholds[] = {0, 10, 25};
  SetNodeLevels_bn(c, 2, thresholds);
  EXPECT_EQ(GetNodeType_bn(c), CONTINUOUS_TYPE);
  ASSERT_EQ(GetNodeNumberStates_bn(c), 2);
  EXPECT_EQ(GetNodeLevels_bn(c)[2], 25);
  SetNodeStateTitle_bn(c, 1, "high");
  EXPECT_STREQ(GetNodeStateTitle_bn(c, 1), "high");

  const level_bn unordered[] = {0, 30, 20, 40};
  expectRefused(net, [&] { SetNodeLevels_bn(c, 3, unordered); }, err::LevelsNotIncreasing.number,
                "the thresholds passed for >-Bnode 'C' must be in increasing order, but number 2 (20) "
                "is not greater than the one before it (30)");
  SetNodeLevels_bn(c, 0, nullptr);
  EXPECT_EQ(GetNodeNumberStates_bn(c), 0);
  EXPECT_EQ(GetNodeLevels_bn(c), nullptr);
}
