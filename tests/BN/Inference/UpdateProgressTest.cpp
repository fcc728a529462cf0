// Progress and halt of a belief update: the fraction done reaches the watcher a clique at a time,
// and a halt leaves the net compiled with its beliefs not updated, error 2075, and the next
// update right.
#include <string>
#include <vector>

#include "Quorva/ToolSupport.h"
#include "BN/DataNets.h"

namespace {

class UpdateProgressTest : public EnvTest {
 protected:
  net_bn* read() {
    net_bn* net = readDataNet(env, "alarm.bif");
    SetNetAutoUpdate_bn(net, 0);
    CompileNet_bn(net);
    return net;
  }
  static node_bn* nth(net_bn* net, int i) { return GetNthNode_bn(GetNetNodes_bn(net), i); }
  static std::vector<float> beliefs(net_bn* net, int i) {
    const prob_bn* b = GetNodeBeliefs_bn(nth(net, i));
    return b ? std::vector<float>(b, b + GetNodeNumberStates_bn(nth(net, i))) : std::vector<float>();
  }
};

TEST_F(UpdateProgressTest, UpdateReportsItsFractionACliqueAtATime) {
  net_bn* net = read();
  std::vector<double> seen;
  quorva::tool::setProgressWatcher(env, [&](std::string_view what, double fraction) {
    if (what == "Operation in progress ...") seen.push_back(fraction);
  });
  ASSERT_FALSE(beliefs(net, 0).empty());
  quorva::tool::setProgressWatcher(env, nullptr);
  ASSERT_GE(seen.size(), 10u) << "a report per clique or message, not just the start and end";
  EXPECT_EQ(seen.front(), 0.0);
  EXPECT_EQ(seen.back(), -1.0) << "the end of the work";
  for (size_t i = 1; i + 1 < seen.size(); ++i) {
    EXPECT_GT(seen[i], seen[i - 1]);
    EXPECT_LE(seen[i], 1.0);
  }
}

TEST_F(UpdateProgressTest, HaltedUpdateLeavesTheNetCompiledAndTheNextUpdateRight) {
  struct Case {
    const char* name;
    bool updatedBefore;  // an update ran before the findings changed (the halt is in a later one)
    bool retract;        // a finding is taken away (the potentials are built again)
  };
  for (const Case& c : {Case{"first update", false, false}, Case{"finding added", true, false},
                        Case{"finding retracted", true, true}}) {
    SCOPED_TRACE(c.name);
    net_bn* net = read();
    net_bn* reference = read();
    for (net_bn* n : {net, reference}) EnterFinding_bn(nth(n, 3), 1);
    if (c.updatedBefore) {
      ASSERT_FALSE(beliefs(net, 0).empty());
    }
    for (net_bn* n : {net, reference}) {
      EnterFinding_bn(nth(n, 20), 0);
      if (c.retract) RetractNodeFindings_bn(nth(n, 3));
    }
    quorva::tool::setProgressWatcher(env, [&](std::string_view what, double fraction) {
      if (what == "Operation in progress ..." && fraction > 0.2) quorva::tool::requestHalt(env, true);
    });
    EXPECT_TRUE(beliefs(net, 0).empty()) << "halted";
    quorva::tool::setProgressWatcher(env, nullptr);
    quorva::tool::requestHalt(env, false);
    ASSERT_NE(lastError(), nullptr);
    EXPECT_EQ(ErrorNumber_vq(lastError()), 2075);
    EXPECT_EQ(lastMessage(), "belief updating halted");
    EXPECT_FALSE(IsBeliefUpdated_bn(nth(net, 0)));
    EXPECT_GT(SizeCompiledNet_bn(net, 0), 0) << "still compiled";
    ClearErrors_vq(env, ERROR_ERR);
    for (int i : {0, 3, 20, 30}) {
      std::vector<float> got = beliefs(net, i), want = beliefs(reference, i);
      ASSERT_EQ(got.size(), want.size());
      for (size_t s = 0; s < got.size(); ++s) EXPECT_NEAR(got[s], want[s], 1e-5) << "node " << i;
    }
    EXPECT_NEAR(FindingsProbability_bn(net), FindingsProbability_bn(reference), 1e-6);
    EXPECT_EQ(lastError(), nullptr);
    DeleteNet_bn(net);
    DeleteNet_bn(reference);
  }
}

}  // namespace
