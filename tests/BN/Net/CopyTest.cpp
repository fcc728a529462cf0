// Copying nets and nodes through the C API.
#include "BN/Net/NetErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

// A -> B <- C, B -> D, with state names, titles and an input name.
class CopyTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("Src", env);
    a = addNode(net, "A", 2, "yes,no");
    b = NewNode_bn("B", 3, net);
    c = NewNode_bn("C", 2, net);
    d = NewNode_bn("D", 0, net);
    SetNodeStateNames_bn(b, "lo,mid,hi");
    SetNodeStateTitle_bn(b, 2, "High");
    AddLink_bn(a, b);
    AddLink_bn(c, b);
    AddLink_bn(b, d);
    SetNodeInputName_bn(b, 1, "other");
    SetNetTitle_bn(net, "Source");
    ASSERT_EQ(errorCount(WARNING_ERR), 0);
  }
  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr, *c = nullptr, *d = nullptr;
};

TEST_F(CopyTest, CopiedNetIsTheSameNetUnderANewName) {
  net_bn* copy = CopyNet_bn(net, "Dup", env, nullptr);
  ASSERT_NE(copy, nullptr);
  EXPECT_STREQ(GetNetName_bn(copy), "Dup");
  EXPECT_STREQ(GetNetTitle_bn(copy), "Source");
  const std::string original = snapshot(net);
  EXPECT_EQ(snapshot(copy), original);
  // The copy is independent of its original.
  DeleteLink_bn(0, GetNodeNamed_bn("B", copy));
  SetNodeStateName_bn(GetNodeNamed_bn("A", copy), 0, "maybe");
  EXPECT_EQ(snapshot(net), original);
  EXPECT_EQ(GetNodeNet_bn(GetNodeNamed_bn("A", copy)), copy);
}

TEST_F(CopyTest, OptionsLeaveOutNodesOrLinks) {
  net_bn* bare = CopyNet_bn(net, "Bare", env, "no_nodes");
  ASSERT_NE(bare, nullptr);
  EXPECT_EQ(LengthNodeList_bn(GetNetNodes_bn(bare)), 0);
  net_bn* unlinked = CopyNet_bn(net, "Unlinked", env, " no_links , no_visual");
  ASSERT_NE(unlinked, nullptr);
  EXPECT_EQ(listNames(GetNetNodes_bn(unlinked)), "A,B,C,D");
  EXPECT_EQ(listNames(GetNodeParents_bn(GetNodeNamed_bn("B", unlinked))), "");
  EXPECT_STREQ(GetNodeStateTitle_bn(GetNodeNamed_bn("B", unlinked), 2), "High");

  clearErrors();
  EXPECT_EQ(CopyNet_bn(net, "Odd", env, "no_links,no_such_thing"), nullptr);
  ASSERT_NE(lastError(), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), err::UnknownOption.number);
  EXPECT_STREQ(ErrorMessage_vq(lastError()), "in argument 'options', 'no_such_thing' is not a known option");
  EXPECT_EQ(CopyNet_bn(net, "bad name", env, nullptr), nullptr);
}

TEST_F(CopyTest, NodesCopiedWithinTheirNetGetFreshNamesAndKeepOutsideParents) {
  nodelist_bn* list = nodeList(net, {b, d});
  nodelist_bn* copies = CopyNodes_bn(list, net, nullptr);
  ASSERT_NE(copies, nullptr);
  ASSERT_EQ(LengthNodeList_bn(copies), 2);
  node_bn* b2 = GetNthNode_bn(copies, 0);
  node_bn* d2 = GetNthNode_bn(copies, 1);
  EXPECT_STRNE(GetNodeName_bn(b2), "B");
  EXPECT_STRNE(GetNodeName_bn(d2), "D");
  EXPECT_EQ(GetNodeNamed_bn(GetNodeName_bn(b2), net), b2);
  EXPECT_EQ(LengthNodeList_bn(GetNetNodes_bn(net)), 6);
  // B's parents A and C were not copied, so the copy of B shares them; D's copy hangs from B's.
  EXPECT_EQ(listNames(GetNodeParents_bn(b2)), "A,C");
  EXPECT_STREQ(GetNodeInputName_bn(b2, 1), "other");
  EXPECT_EQ(GetNthNode_bn(GetNodeParents_bn(d2), 0), b2);
  EXPECT_EQ(listNames(GetNodeChildren_bn(a)), "B," + std::string(GetNodeName_bn(b2)));
  EXPECT_STREQ(GetNodeStateName_bn(b2, 1), "mid");
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  DeleteNodeList_bn(copies);
  expectRefused(net, [&] { EXPECT_EQ(CopyNodes_bn(list, net, "no_links,shift_z"), nullptr); },
                err::UnknownOption.number, "in argument 'options', 'shift_z' is not a known option");
  DeleteNodeList_bn(list);
}

TEST_F(CopyTest, NodesCopiedToAnotherNetGetOneDisconnectedStandInPerParentLeftBehind) {
  node_bn* e = NewNode_bn("E", 2, net);
  AddLink_bn(a, e);
  net_bn* other = NewNet_bn("Other", env);
  NewNode_bn("B", 2, other);  // the copy of B must take another name
  nodelist_bn* list = nodeList(net, {b, d, e});
  EXPECT_EQ(CopyNodes_bn(list, other, "dont_return_list"), nullptr);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  // B's copy (B0) keeps its place among its parents; A and C are left behind and stood in for,
  // A once for both of its copied children.
  EXPECT_EQ(listNames(GetNetNodes_bn(other)), "B,B0,D,E,A,C");
  node_bn* standA = GetNodeNamed_bn("A", other);
  EXPECT_EQ(listNames(GetNodeParents_bn(GetNodeNamed_bn("B0", other))), "A,C");
  EXPECT_EQ(listNames(GetNodeChildren_bn(standA)), "B0,E");
  EXPECT_EQ(listNames(GetNodeParents_bn(GetNodeNamed_bn("D", other))), "B0");
  EXPECT_EQ(GetNodeKind_bn(standA), DISCONNECTED_NODE);
  EXPECT_EQ(GetNodeKind_bn(GetNodeNamed_bn("C", other)), DISCONNECTED_NODE);
  EXPECT_STREQ(GetNodeStateName_bn(standA, 1), "no");
  DeleteNodeList_bn(list);
}
