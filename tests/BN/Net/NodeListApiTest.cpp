// Node lists through the C API: building, editing and searching lists, and the constant lists the
// engine hands out, which no call may change or delete.
#include "BN/Net/NetErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

class NodeListApiTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = NewNode_bn("A", 2, net);
    b = NewNode_bn("B", 2, net);
    c = addNode(net, "C", 2, nullptr, {a, b});
  }
  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr, *c = nullptr;
};

TEST_F(NodeListApiTest, NewListHasEmptyEntriesAndInsertsWhereAsked) {
  expectRefused(net, [&] { EXPECT_EQ(NewNodeList2_bn(-1, net), nullptr); }, err::ListLength.number,
                "argument 'length' is -1, but it must be 0 or greater");
  nodelist_bn* list = NewNodeList2_bn(2, net);
  EXPECT_EQ(listNames(list), "-,-");
  ClearNodeList_bn(list);
  EXPECT_EQ(LengthNodeList_bn(list), 0);
  AddNodeToList_bn(b, list, 0);
  AddNodeToList_bn(c, list, 1);   // index == length appends
  AddNodeToList_bn(a, list, 0);
  AddNodeToList_bn(a, list, -1);  // -1 appends too
  EXPECT_EQ(listNames(list), "A,B,C,A");
  expectRefused(net, [&] { AddNodeToList_bn(b, list, 5); }, err::ListInsertPastEnd.number,
                "argument 'index' is more than the number of >-node-s (it is 5)");
  net_bn* other = NewNet_bn("O", env);
  node_bn* x = NewNode_bn("X", 2, other);
  expectRefused(net, [&] { AddNodeToList_bn(x, list, 0); }, err::ListOtherNet.number,
                "can't add node 'X' of net named 'O' to list, because list has nodes from a different net "
                "named 'N'");
  expectRefused(net, [&] { SetNthNode_bn(list, 0, x); }, err::ListOtherNetSet.number,
                "can't add node 'X' of net named 'O' to list, because list has nodes from a different net "
                "(named 'N')");
  EXPECT_EQ(listNames(list), "A,B,C,A");

  EXPECT_EQ(IndexOfNodeInList_bn(a, list, 0), 0);
  EXPECT_EQ(IndexOfNodeInList_bn(a, list, 1), 3);
  EXPECT_EQ(IndexOfNodeInList_bn(b, list, 2), -1);
  EXPECT_EQ(IndexOfNodeInList_bn(a, list, 4), -1);
  expectRefused(net, [&] { IndexOfNodeInList_bn(a, list, 5); }, err::ListStartPastEnd.number,
                "argument 'start_index' (5) is > the number of >-node-s (4)");
  expectRefused(net, [&] { IndexOfNodeInList_bn(a, list, -1); }, err::ListStartNegative.number,
                "argument 'start_index' is less than 0 (it is -1)");
  DeleteNodeList_bn(list);
  DeleteNet_bn(other);
}

TEST_F(NodeListApiTest, RemoveSetAndDuplicateWorkOnTheRightEntries) {
  nodelist_bn* list = NewNodeList2_bn(0, net);
  for (node_bn* n : {a, b, c}) AddNodeToList_bn(n, list, -1);
  EXPECT_EQ(RemoveNthNode_bn(list, -1), c);
  EXPECT_EQ(RemoveNthNode_bn(list, 0), a);
  EXPECT_EQ(listNames(list), "B");
  expectRefused(net, [&] { RemoveNthNode_bn(list, 1); }, err::ListRemovePastEnd.number,
                "argument 'index' is >= the number of >-node-s (it is 1)");
  SetNthNode_bn(list, 0, c);
  EXPECT_EQ(GetNthNode_bn(list, 0), c);
  expectRefused(net, [&] { GetNthNode_bn(list, 1); }, err::ListIndexPastEnd.number,
                "argument 'index' (1) is greater than (or equal) the number of >-node-s (1)");

  nodelist_bn* dup = DupNodeList_bn(list);
  AddNodeToList_bn(a, dup, -1);
  EXPECT_EQ(listNames(dup), "C,A");
  EXPECT_EQ(listNames(list), "C");
  DeleteNodeList_bn(dup);
  DeleteNodeList_bn(list);
}

TEST_F(NodeListApiTest, ConstantListsCannotBeChangedOrDeleted) {
  const std::string constant = "you cannot pass a constant >-Bnodes to this function, since this function may "
                               "modify or delete it (duplicate it first?)";
  for (const nodelist_bn* fixed : {GetNetNodes_bn(net), GetNodeParents_bn(c), GetNodeChildren_bn(a)}) {
    auto* list = const_cast<nodelist_bn*>(fixed);
    std::string before = listNames(list);
    SCOPED_TRACE(before);
    expectRefused(net, [&] { AddNodeToList_bn(a, list, -1); }, err::ListConstant.number, constant);
    expectRefused(net, [&] { RemoveNthNode_bn(list, 0); }, err::ListConstant.number, constant);
    expectRefused(net, [&] { SetNthNode_bn(list, 0, c); }, err::ListConstant.number, constant);
    expectRefused(net, [&] { ClearNodeList_bn(list); }, err::ListConstant.number, constant);
    expectRefused(net, [&] { DeleteNodeList_bn(list); }, err::ListDeleteConstant.number,
                  "you must not delete this >-Bnodes since it is a constant list returned by >-Quorva "
                  "(>-Quorva will manage it)");
    EXPECT_EQ(listNames(list), before);
    clearErrors();

    // A copy is the application's own.
    nodelist_bn* dup = DupNodeList_bn(list);
    ClearNodeList_bn(dup);
    EXPECT_EQ(LengthNodeList_bn(dup), 0);
    DeleteNodeList_bn(dup);
    EXPECT_EQ(listNames(list), before);
  }
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}
