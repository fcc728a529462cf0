// Listeners through the C API: which events reach which callbacks, callbacks that call the API,
// and the warnings left by callbacks that fail.
#include <stdexcept>

#include "Support/NetSnapshot.h"

namespace {

// What a callback saw, and how it is to answer.
struct Heard {
  std::vector<std::string> events;
  std::vector<void*> infos;
  int result = 0;       // what the callback returns
  bool throws = false;  // whether it throws instead
};

// Records an event as "EVENT:name", the name read through the API from inside the callback.
int hear(void* object, const char* name, eventtype_vq what, void* info) {
  Heard& heard = *static_cast<Heard*>(object);
  const char* word = what == CREATE_EVENT ? "CREATE" : what == DUPLICATE_EVENT ? "DUPLICATE"
                     : what == REMOVE_EVENT ? "REMOVE" : "CHANGE";
  heard.events.push_back(std::string(word) + ":" + (name ? name : "(failed)"));
  heard.infos.push_back(info);
  if (heard.throws) throw std::runtime_error("listener gave up");
  return heard.result;
}

int onNode(const node_bn* node, eventtype_vq what, void* object, void* info) {
  return hear(object, GetNodeName_bn(node), what, info);
}

int onNet(const net_bn* net, eventtype_vq what, void* object, void* info) {
  return hear(object, GetNetName_bn(net), what, info);
}

}  // namespace

class ListenerTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = NewNode_bn("A", 3, net);
  }
  net_bn* net = nullptr;
  node_bn* a = nullptr;
};

TEST_F(ListenerTest, ChangeEventComesOnlyWhenTheFindingChanges) {
  Heard heard;
  AddNodeListener_bn(a, onNode, &heard, CHANGE_EVENT);
  EnterFinding_bn(a, 1);
  EnterFinding_bn(a, 1);             // already known
  EnterFinding_bn(a, 2);             // refused
  EXPECT_EQ(heard.events, std::vector<std::string>{"CHANGE:A"});
  RetractNodeFindings_bn(a);
  RetractNodeFindings_bn(a);         // nothing to retract
  const prob_bn ones[] = {1, 1, 1}, zeros[] = {0, 0, 0};
  EnterNodeLikelihood_bn(a, ones);   // tells nothing
  EnterFindingNot_bn(a, 0);
  EnterFindingNot_bn(a, 0);          // ruled out already
  EnterNodeLikelihood_bn(a, zeros);  // refused
  EXPECT_EQ(heard.events, (std::vector<std::string>{"CHANGE:A", "CHANGE:A", "CHANGE:A"}));
  EXPECT_EQ(errorCount(ERROR_ERR), 2);
}

TEST_F(ListenerTest, NetHearsCreationAndCopiesNodeHearsRemoval) {
  Heard onN, onA;
  AddNetListener_bn(net, onNet, &onN, CREATE_EVENT | DUPLICATE_EVENT);
  AddNodeListener_bn(a, onNode, &onA, REMOVE_EVENT | DUPLICATE_EVENT);
  node_bn* b = NewNode_bn("B", 2, net);
  ASSERT_EQ(onN.events, std::vector<std::string>{"CREATE:N"});
  EXPECT_EQ(onN.infos[0], static_cast<void*>(b));

  nodelist_bn* just = NewNodeList2_bn(0, net);
  AddNodeToList_bn(a, just, -1);
  nodelist_bn* copies = CopyNodes_bn(just, net, nullptr);
  ASSERT_EQ(LengthNodeList_bn(copies), 1);
  ASSERT_EQ(onA.events, std::vector<std::string>{"DUPLICATE:A"});
  EXPECT_EQ(onA.infos[0], static_cast<void*>(GetNthNode_bn(copies, 0)));
  DeleteNodeList_bn(copies);
  DeleteNodeList_bn(just);

  net_bn* copy = CopyNet_bn(net, "M", env, nullptr);
  EXPECT_EQ(onN.events.back(), "DUPLICATE:N");
  EXPECT_EQ(onN.infos.back(), static_cast<void*>(copy));

  size_t heard = onA.events.size();
  EnterFinding_bn(a, 0);  // not in the filter
  DeleteNode_bn(a);
  EXPECT_EQ(onA.events.size(), heard + 1);
  EXPECT_EQ(onA.events.back(), "REMOVE:A");
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}

TEST_F(ListenerTest, FilterOfZeroEndsTheRegistration) {
  Heard first, second;
  AddNodeListener_bn(a, onNode, &first, CHANGE_EVENT);
  AddNodeListener_bn(a, onNode, &second, CHANGE_EVENT);
  EnterFinding_bn(a, 0);
  AddNodeListener_bn(a, onNode, &first, 0);
  RetractNodeFindings_bn(a);
  EXPECT_EQ(first.events.size(), 1u);
  EXPECT_EQ(second.events.size(), 2u);
}

TEST_F(ListenerTest, FailingCallbacksLeaveWarningsAndTheChangeStands) {
  Heard heard;
  AddNodeListener_bn(a, onNode, &heard, CHANGE_EVENT | REMOVE_EVENT);
  heard.result = -5;
  clearErrors();
  EnterFinding_bn(a, 1);
  heard.result = -2000;
  RetractNodeFindings_bn(a);
  heard.throws = true;
  EnterFinding_bn(a, 2);
  EXPECT_EQ(GetNodeFinding_bn(a), 2);
  EXPECT_EQ(warnings(), (std::vector<std::string>{
                            "callback function for >-Bnode 'A' UNKNOWN_EVENT, returned negative (-5)",
                            "callback function for >-Bnode 'A' UNKNOWN_EVENT, returned an out-of-range (<-1000) value",
                            "callback function for >-Bnode 'A' UNKNOWN_EVENT, threw an exception.  listener gave up"}));
  heard.throws = false;
  heard.result = -1;
  clearErrors();
  DeleteNode_bn(a);
  EXPECT_EQ(warnings(), std::vector<std::string>{"callback function for >-Bnode 'A' REMOVE_EVENT, returned negative (-1)"});
  EXPECT_EQ(GetNodeNamed_bn("A", net), nullptr);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
}
