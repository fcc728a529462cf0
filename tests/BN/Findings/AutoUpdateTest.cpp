// Auto-update: a call that changes many findings (retracting a net's findings, drawing a random
// case, reading a case) updates the beliefs once, not once per finding, and leaves them current.
#include <functional>
#include <string>

#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "Quorva/Handles.h"
#include "BN/DataNets.h"

namespace {

class AutoUpdateTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    net = readDataNet(env, "alarm.bif");
    ASSERT_NE(net, nullptr);
    nodes = GetNetNodes_bn(net);
    CompileNet_bn(net);
    ASSERT_EQ(lastError(), nullptr);
  }
  uint64_t updates() const { return quorva::asNet(net)->jt->updates; }
  node_bn* nth(int i) const { return GetNthNode_bn(nodes, i); }

  net_bn* net = nullptr;
  const nodelist_bn* nodes = nullptr;
};

TEST_F(AutoUpdateTest, CallsThatChangeManyFindingsUpdateOnce) {
  ASSERT_EQ(SetNetAutoUpdate_bn(net, BELIEF_UPDATE), BELIEF_UPDATE) << "nets read from files update automatically";
  randgen_vq* rng = NewRandomGenerator_vq("11", env, nullptr);
  stream_vq* cases = NewMemoryStream_vq("cases.cas", env, nullptr);
  struct Call {
    const char* name;
    std::function<void()> run;
  };
  const Call calls[] = {
      {"RetractNetFindings_bn", [&] { RetractNetFindings_bn(net); }},
      {"GenerateRandomCase_bn forward", [&] { GenerateRandomCase_bn(nodes, FORWARD_SAMPLING, 0, rng); }},
      {"GenerateRandomCase_bn join tree", [&] { GenerateRandomCase_bn(nodes, JOIN_TREE_SAMPLING, 0, rng); }},
      {"ReadNetFindings_bn", [&] {
         caseposn_bn posn = FIRST_CASE;
         ReadNetFindings_bn(&posn, cases, nodes, nullptr, nullptr);
       }},
  };
  for (const Call& call : calls) {
    SCOPED_TRACE(call.name);
    // Findings on five nodes, and a case of every node's finding for the reader.
    RetractNetFindings_bn(net);
    GenerateRandomCase_bn(nodes, FORWARD_SAMPLING, 0, rng);
    WriteNetFindings_bn(nodes, cases, -1, 1);
    RetractNetFindings_bn(net);
    for (int i = 0; i < 5; ++i) EnterFinding_bn(nth(7 * i), 0);
    ASSERT_EQ(lastError(), nullptr) << lastMessage();
    ASSERT_TRUE(IsBeliefUpdated_bn(nth(0)));
    uint64_t before = updates();
    call.run();
    EXPECT_EQ(lastError(), nullptr) << lastMessage();
    EXPECT_EQ(updates() - before, 1u) << "one call, one update";
    EXPECT_TRUE(IsBeliefUpdated_bn(nth(1))) << "auto-update leaves the beliefs current";
  }
  DeleteStream_vq(cases);
  DeleteRandomGen_vq(rng);
}

}  // namespace
