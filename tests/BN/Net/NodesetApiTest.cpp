// Node sets through the C API: user sets and their names, the built-in sets' computed members,
// priorities and colours.
#include "BN/Net/NodesetErrors.h"
#include "Support/NetSnapshot.h"

namespace err = quorva::err;

class NodesetApiTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = NewNode_bn("A", 2, net);
    b = NewNode_bn("B", 3, net);
    AddLink_bn(a, b);
  }
  std::string sets(bool withBuiltin = false) { return GetAllNodesets_bn(net, withBuiltin, nullptr); }
  // Refused with `number` and `text`, leaving the net's sets as they were.
  void refused(const std::function<void()>& call, int number, const std::string& text) {
    std::string before = sets();
    expectRefused(net, call, number, text);
    EXPECT_EQ(sets(), before);
  }
  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr;
};

TEST_F(NodesetApiTest, BuiltInSetsAndIllegalNamesAreRefused) {
  refused([&] { AddNodeToNodeset_bn(a, ":Finding"); }, err::NodesetAddBuiltin.number,
          "couldn't add >-node to >-nodeset ':Finding', since it is a built-in system-defined >-nodeset");
  refused([&] { RemoveNodeFromNodeset_bn(a, ":Node"); }, err::NodesetRemoveBuiltin.number,
          "couldn't remove >-node from >-nodeset ':Node', since it is a built-in system-defined >-nodeset");
  refused([&] { AddNodeToNodeset_bn(a, "GroupNS"); }, err::NodesetReserved.number,
          "you can't create a >-Nodeset named 'GroupNS', because that ends in 'NS' (reserved for >-Quorva)");
  refused([&] { AddNodeToNodeset_bn(a, ":Mine"); }, err::NodesetBadName.number,
          "':Mine' can't be the name of a >-Nodeset, because ':Mine' contains the illegal character ':'");
  refused([&] { EXPECT_EQ(SetNodesetColor_bn(":Finding", 0xff0000, net, nullptr), -1); },
          err::NodesetBuiltinName.number,
          "you can't create a >-Nodeset named ':Finding', because it is already the name of a built-in >-Nodeset");
  refused([&] { RemoveNodeFromNodeset_bn(a, "Blue"); }, err::NodesetMissing.number,
          ">-net 'N' does not have a >-Nodeset called 'Blue'");
  AddNodeToNodeset_bn(a, "GroupNs");
  EXPECT_EQ(sets(), "GroupNs");
  EXPECT_TRUE(IsNodeInNodeset_bn(a, "GroupNs"));
  EXPECT_FALSE(IsNodeInNodeset_bn(b, "GroupNs"));
}

TEST_F(NodesetApiTest, BuiltInSetsFollowEachNodesProperties) {
  node_bn* k = NewNode_bn("K", 2, net);
  SetNodeKind_bn(k, CONSTANT_NODE);
  node_bn* c = NewNode_bn("C", 0, net);
  const prob_bn row[] = {0.25f, 0.75f};
  SetNodeProbs_bn(a, nullptr, row);
  EnterFinding_bn(a, 1);
  EnterFindingNot_bn(b, 0);
  struct Case {
    const char* set;
    node_bn* in;
    node_bn* out;
  };
  const Case cases[] = {
      {":Parentless", a, b},      {":Parentless", c, k},    {":TwoState", a, b},  {":TwoState", k, c},
      {":Discrete", b, c},        {":Continuous", c, a},    {":Finding", a, c},   {":Finding", b, k},
      {":LikelihoodFinding", b, a}, {":HasTable", a, b},    {":Childless", b, a}, {":Node", k, nullptr},
  };
  for (const Case& t : cases) {
    EXPECT_TRUE(IsNodeInNodeset_bn(t.in, t.set)) << t.set << " " << GetNodeName_bn(t.in);
    if (t.out) {
      EXPECT_FALSE(IsNodeInNodeset_bn(t.out, t.set)) << t.set << " " << GetNodeName_bn(t.out);
    }
  }
  EXPECT_TRUE(IsNodeInNodeset_bn(c, ":Node"));
  RetractNodeFindings_bn(b);
  EXPECT_FALSE(IsNodeInNodeset_bn(b, ":Finding"));
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(NodesetApiTest, SetsKeepCreationOrderUntilReorderedAndAnOldListRestoresIt) {
  for (const char* s : {"Red", "Blue", "Green"}) AddNodeToNodeset_bn(a, s);
  AddNodeToNodeset_bn(b, "Red");
  RemoveNodeFromNodeset_bn(a, "Red");
  EXPECT_FALSE(IsNodeInNodeset_bn(a, "Red"));
  EXPECT_TRUE(IsNodeInNodeset_bn(b, "Red"));
  EXPECT_EQ(sets(), "Red,Blue,Green");
  std::string all = sets(true);
  EXPECT_EQ(all.rfind("Red,Blue,Green,:", 0), 0u) << all;
  EXPECT_EQ(all.substr(all.size() - 6), ",:Node");
  ReorderNodesets_bn(net, "Green, Blue", nullptr);
  EXPECT_EQ(sets(), "Green,Blue,Red");
  refused([&] { ReorderNodesets_bn(net, "Red,Nope", nullptr); }, err::NodesetMissing.number,
          ">-net 'N' does not have a >-Nodeset called 'Nope'");
  ReorderNodesets_bn(net, all.c_str(), nullptr);
  EXPECT_EQ(sets(), "Red,Blue,Green");
}

TEST_F(NodesetApiTest, ColourCallReturnsTheColourBefore) {
  AddNodeToNodeset_bn(a, "Red");
  EXPECT_EQ(SetNodesetColor_bn("Red", -1, net, nullptr), -1);  // none yet
  EXPECT_EQ(SetNodesetColor_bn("Red", 0xff0000, net, nullptr), -1);
  EXPECT_EQ(SetNodesetColor_bn("Red", 0x00ff00, net, nullptr), 0xff0000);
  EXPECT_EQ(SetNodesetColor_bn("Red", -1, net, nullptr), 0x00ff00);
  // Reading the colour of a set the net lacks makes no set; setting one does.
  EXPECT_EQ(SetNodesetColor_bn("Blue", -1, net, nullptr), -1);
  EXPECT_EQ(sets(), "Red");
  EXPECT_EQ(SetNodesetColor_bn("Blue", 0x0000ff, net, nullptr), -1);
  EXPECT_EQ(sets(), "Red,Blue");
  EXPECT_EQ(SetNodesetColor_bn("Blue", -1, net, nullptr), 0x0000ff);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}
