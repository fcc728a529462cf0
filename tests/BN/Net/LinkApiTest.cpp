// Links through the C API: adding, cycles and duplicates, deleting, switching parents, input
// names, delays and the constant parent and child lists.
#include "BN/Net/NetErrors.h"
#include "Basic/BasicErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

class LinkApiTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = NewNode_bn("A", 2, net);
    b = NewNode_bn("B", 2, net);
    c = NewNode_bn("C", 2, net);
  }
  using Strings = std::vector<std::string>;
  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr, *c = nullptr;
};

TEST_F(LinkApiTest, NewParentGoesLastAndItsIndexIsReturned) {
  EXPECT_EQ(AddLink_bn(b, c), 0);
  EXPECT_EQ(AddLink_bn(a, c), 1);
  EXPECT_EQ(listNames(GetNodeParents_bn(c)), "B,A");
  EXPECT_EQ(listNames(GetNodeChildren_bn(a)), "C");
  EXPECT_TRUE(warnings().empty());
  DeleteLink_bn(0, c);
  EXPECT_EQ(listNames(GetNodeParents_bn(c)), "A");
  EXPECT_EQ(listNames(GetNodeChildren_bn(b)), "");
}

TEST_F(LinkApiTest, LinkClosingACycleIsMadeWithAWarning) {
  AddLink_bn(a, b);
  EXPECT_EQ(AddLink_bn(b, a), 0);
  EXPECT_EQ(warnings(), Strings{"connecting >-node 'B' to >-node 'A' results in a cycle (with no time delays)"});
  EXPECT_EQ(listNames(GetNodeParents_bn(a)), "B");

  clearErrors();
  node_bn* d = NewNode_bn("D", 2, net);
  AddLink_bn(b, c);
  AddLink_bn(c, d);
  EXPECT_TRUE(warnings().empty());
  AddLink_bn(d, a);  // A -> B -> C -> D -> A
  EXPECT_EQ(warnings(), Strings{"connecting >-node 'D' to >-node 'A' results in a cycle (with no time delays)"});
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(LinkApiTest, LinkWithTimeDelayDoesNotCountTowardCycles) {
  AddLink_bn(a, b);
  AddLink_bn(b, c);
  EXPECT_STREQ(SetNodeInputDelay_bn(c, 0, 0, "1"), "1");
  EXPECT_STREQ(SetNodeInputDelay_bn(c, 0, 0, "~query_only~"), "1");
  EXPECT_STREQ(SetNodeInputDelay_bn(c, 0, 2, "~query_only~"), "");
  AddLink_bn(c, a);  // A -> B =1=> C -> A: the delay breaks the loop
  EXPECT_TRUE(warnings().empty());
  // Without the delay, the same loop is a cycle.
  SetNodeInputDelay_bn(c, 0, 0, "0");
  AddLink_bn(c, b);
  EXPECT_EQ(warnings(), Strings{"connecting >-node 'C' to >-node 'B' results in a cycle (with no time delays)"});
  expectRefused(net, [&] { EXPECT_EQ(SetNodeInputDelay_bn(c, 0, -1, "2"), nullptr); },
                err::DimensionNegative.number, "argument 'dimension' must be 0 or greater, but it is -1");
}

TEST_F(LinkApiTest, RepeatedLinkIsWarnedAndKept) {
  AddLink_bn(a, b);
  EXPECT_EQ(AddLink_bn(a, b), 1);
  EXPECT_EQ(warnings(), Strings{"connecting >-node 'A' to >-node 'B' results in multiple links between the "
                                "same two >-node-s"});
  EXPECT_EQ(listNames(GetNodeParents_bn(b)), "A,A");
  EXPECT_EQ(listNames(GetNodeChildren_bn(a)), "B,B");
  DeleteLink_bn(1, b);
  EXPECT_EQ(listNames(GetNodeParents_bn(b)), "A");
  EXPECT_EQ(listNames(GetNodeChildren_bn(a)), "B");
}

TEST_F(LinkApiTest, NullNewParentLeavesADisconnectedStandInWithTheSameStates) {
  SetNodeStateNames_bn(a, "yes,no");
  AddLink_bn(a, c);
  AddLink_bn(b, c);
  SwitchNodeParent_bn(0, c, nullptr);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  node_bn* stand = GetNthNode_bn(GetNodeParents_bn(c), 0);
  ASSERT_NE(stand, nullptr);
  EXPECT_EQ(GetNodeKind_bn(stand), DISCONNECTED_NODE);
  EXPECT_STREQ(GetNodeStateName_bn(stand, 1), "no");
  EXPECT_EQ(listNames(GetNodeChildren_bn(a)), "");
  EXPECT_EQ(GetNthNode_bn(GetNodeParents_bn(c), 1), b);

  // A disconnected node can only be switched away from, never linked from or to.
  const std::string standName = GetNodeName_bn(stand);
  expectRefused(net, [&] { AddLink_bn(stand, b); }, err::PredDisconnected.number,
                "passed >-Bnode '" + standName + "' for argument 'pred' is a DISCONNECTED_NODE, so a link "
                "cannot be made from it to another node (use >-SwitchNodeParent_bn instead?)");
  expectRefused(net, [&] { AddLink_bn(a, stand); }, err::SuccDisconnected.number,
                "passed >-Bnode '" + standName + "' for argument 'succ' is a DISCONNECTED_NODE, so a link "
                "cannot be made to it from another node");
  expectRefused(net, [&] { SwitchNodeParent_bn(1, c, stand); }, err::NewPredDisconnected.number,
                "passed >-Bnode '" + standName + "' for parameter 'newpred' is a DISCONNECTED_NODE, so a "
                "link cannot be made from it to another node (pass NULL instead to disconnect a link)");
  SwitchNodeParent_bn(0, c, a);
  EXPECT_EQ(listNames(GetNodeParents_bn(c)), "A,B");
  EXPECT_EQ(listNames(GetNodeChildren_bn(stand)), "");
}

TEST_F(LinkApiTest, RefusedLinkChangesLeaveNetUnchanged) {
  AddLink_bn(a, c);
  expectRefused(net, [&] { DeleteLink_bn(1, c); }, err::ParentIndex.number,
                "passed parent_index (=1) for >-Bnode 'C' is out of bounds (>-Bnode has 1 parents, so it "
                "must be between 0 and 0 inclusive)");
  node_bn* three = NewNode_bn("Three", 3, net);
  expectRefused(net, [&] { SwitchNodeParent_bn(0, c, three); }, err::SwitchStates.number,
                "can't switch parent 'A' of >-Bnode 'C' to 'Three', because they have different numbers "
                "of states (2 and 3)");
  net_bn* other = NewNet_bn("Other", env);
  node_bn* far = NewNode_bn("Far", 2, other);
  expectRefused(net, [&] { EXPECT_EQ(AddLink_bn(far, c), -1); }, err::DifferentNets.number,
                "can't connect >-node 'Far' to >-node 'C', because they are in different >-net-s (Other "
                "and N respectively)");
  EXPECT_EQ(listNames(GetNodeChildren_bn(far)), "");
}

TEST_F(LinkApiTest, InputNamesAreCheckedAndUniquePerChild) {
  AddLink_bn(a, c);
  AddLink_bn(b, c);
  SetNodeInputName_bn(c, 1, "cause");
  EXPECT_STREQ(GetNodeInputName_bn(c, 0), "");
  expectRefused(net, [&] { SetNodeInputName_bn(c, 0, "cause"); }, err::InputNameUsed.number,
                "input name 'cause' is already used by another link into >-Bnode 'C'");
  expectRefused(net, [&] { SetNodeInputName_bn(c, 0, "a-b"); }, err::BadName.number,
                "in argument 'link_name', 'a-b' contains the illegal character '-'");
  // The name moves with its link when an earlier link goes.
  DeleteLink_bn(0, c);
  EXPECT_STREQ(GetNodeInputName_bn(c, 0), "cause");
}
