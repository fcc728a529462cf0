// Nodes through the C API: creation, renaming, kinds and deletion.
#include <cmath>
#include <map>
#include <string>

#include "BN/Net/NetErrors.h"
#include "Basic/BasicErrors.h"
#include "Support/NetSnapshot.h"
#include "Quorva/ApiErrors.h"

namespace err = quorva::err;

void setNodeKindFromC(node_bn* node, int kind);  // CCaller.cpp

class NodeApiTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = NewNode_bn("A", 2, net);
    b = NewNode_bn("B", 3, net);
  }
  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr;
};

TEST_F(NodeApiTest, RefusedNewNodeLeavesNetUnchanged) {
  auto add = [&](const char* name, int states) {
    return [=, this] { EXPECT_EQ(NewNode_bn(name, states, net), nullptr); };
  };
  expectRefused(net, add("", 2), err::EmptyName.number, "empty string passed for name");
  expectRefused(net, add("a b", 2), err::BadName.number, "in argument 'name', 'a b' contains a space");
  expectRefused(net, add("A", 2), err::NameUsed.number,
                "name 'A' is already used by another >-Bnode in >-Bnet 'N'");
  expectRefused(net, add("D", -1), err::NegativeNumStates.number,
                "argument 'num_states' is negative (=-1), trying to add new >-Bnode to >-Bnet 'N'");
}

TEST_F(NodeApiTest, RenamedNodeIsFoundOnlyByItsNewNameAndRefusedRenamesChangeNothing) {
  expectRefused(net, [&] { SetNodeName_bn(a, "B"); }, err::NameUsed.number,
                "name 'B' is already used by another >-Bnode in >-Bnet 'N'");
  expectRefused(net, [&] { SetNodeName_bn(a, "2A"); }, err::BadName.number,
                "in argument 'name', '2A' starts with non-alphabetic character '2'");
  SetNodeName_bn(a, "Z");
  EXPECT_EQ(GetNodeNamed_bn("Z", net), a);
  EXPECT_EQ(GetNodeNamed_bn("A", net), nullptr);
  node_bn* again = NewNode_bn("A", 2, net);  // the old name is free again
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(GetNodeNamed_bn("A", net), again);
}

// Many names in one index, so that runs of neighbouring entries form; deleting and renaming
// from the middle of runs must leave every other name found.
TEST_F(NodeApiTest, EveryNameIsFoundAfterManyDeletionsAndRenames) {
  std::map<std::string, node_bn*> live{{"A", a}, {"B", b}};
  for (int i = 0; i < 600; ++i) {
    std::string name = "N" + std::to_string(i);
    live[name] = NewNode_bn(name.c_str(), 2, net);
  }
  for (int i = 0; i < 600; i += 3) {
    std::string name = "N" + std::to_string(i);
    DeleteNode_bn(live[name]);
    live.erase(name);
  }
  for (int i = 1; i < 600; i += 7) {
    std::string from = "N" + std::to_string(i), to = "R" + std::to_string(i);
    if (!live.count(from)) continue;
    SetNodeName_bn(live[from], to.c_str());
    live[to] = live[from];
    live.erase(from);
  }
  for (int i = 0; i < 600; ++i)
    for (const char* prefix : {"N", "R"}) {
      std::string name = prefix + std::to_string(i);
      auto it = live.find(name);
      EXPECT_EQ(GetNodeNamed_bn(name.c_str(), net), it == live.end() ? nullptr : it->second) << name;
    }
}

TEST_F(NodeApiTest, OnlyTheFourOrdinaryKindsCanBeSet) {
  SetNodeKind_bn(a, DECISION_NODE);
  EXPECT_EQ(GetNodeKind_bn(a), DECISION_NODE);
  expectRefused(net, [&] { SetNodeKind_bn(a, DISCONNECTED_NODE); }, err::KindDisconnected.number,
                "argument 'kind' passed for >-Bnode 'A' is DISCONNECTED_NODE, but link disconnection "
                "should be done with >-SwitchNodeParent_bn or >-CopyNodes_bn");
  expectRefused(net, [&] { SetNodeKind_bn(a, ADVERSARY_NODE); }, err::KindAdversary.number,
                "argument 'kind' passed for >-Bnode 'A' is ADVERSARY_NODE, but that is not supported yet");
  for (int kind : {7, -1})
    expectRefused(net, [&] { setNodeKindFromC(a, kind); }, err::KindRange.number,
                  "argument 'kind' passed for >-Bnode 'A' is " + std::to_string(kind) +
                      ", but it should be between 0 and 4 inclusive");
  EXPECT_EQ(GetNodeKind_bn(a), DECISION_NODE);
}

TEST_F(NodeApiTest, DeletedNodeTakesItsLinksAndItsHandleIsRefused) {
  node_bn* c = NewNode_bn("C", 2, net);
  node_bn* d = NewNode_bn("D", 2, net);
  AddLink_bn(a, b);
  AddLink_bn(c, b);
  AddLink_bn(b, d);
  AddLink_bn(a, d);
  DeleteNode_bn(b);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  EXPECT_EQ(listNames(GetNetNodes_bn(net)), "A,C,D");
  EXPECT_EQ(listNames(GetNodeChildren_bn(a)), "D");
  EXPECT_EQ(listNames(GetNodeChildren_bn(c)), "");
  EXPECT_EQ(listNames(GetNodeParents_bn(d)), "A");
  EXPECT_EQ(GetNodeNamed_bn("B", net), nullptr);

  expectRefused(net, [&] { EXPECT_EQ(GetNodeName_bn(b), nullptr); }, 5184, "deleted >-Bnode passed");
  expectRefused(net, [&] { AddLink_bn(a, b); }, 5184, "deleted >-Bnode passed");
}

TEST_F(NodeApiTest, PositionIsUndoneAndRefusedWhenNotFinite) {
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  SetNodeVisPosition_bn(a, nullptr, 120.5, -40);
  expectRefused(net, [&] { SetNodeVisPosition_bn(a, nullptr, NAN, 1); }, err::VisPositionNotFinite.number,
                "a node position must be finite, not (nan, 1)");
  int dummy = 0;
  expectRefused(net, [&] { SetNodeVisPosition_bn(a, &dummy, 1, 1); }, err::VisNotNull.number,
                "argument 'vis' should be 0 (i.e. NULL) with this version of >-Quorva");
  SetNodeVisPosition_bn(a, nullptr, 7, 8);
  EXPECT_TRUE(UndoNetLastOper_vq(net, -1));
  double x = 0, y = 0;
  GetNodeVisPosition_bn(a, nullptr, &x, &y);
  EXPECT_EQ(x, 120.5);
  EXPECT_EQ(y, -40);
}
