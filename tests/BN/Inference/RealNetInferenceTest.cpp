// Beliefs and probabilities of findings on the shipped real nets agree with variable elimination
// in double precision, for state and likelihood findings drawn at random, both where retraction
// restores a saved copy of the potentials and where it builds them again from the node tables.
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "Quorva/Handles.h"
#include "BN/DataNets.h"
#include "Support/ReferenceElimination.h"

namespace {

class RealNetInferenceTest : public EnvTest {};

TEST_F(RealNetInferenceTest, BeliefsAgreeWithVariableElimination) {
  std::mt19937 rng(2026);
  for (bool keepCopy : {true, false}) {
    // Rebuilding the potentials from the node tables is one path whatever the net: the three
    // smaller nets take it, every net the path through the saved copy.
    for (const char* name : {"asia", "survey", "alarm", "insurance", "hailfinder"}) {
      if (!keepCopy && (std::string(name) == "insurance" || std::string(name) == "hailfinder")) continue;
      SCOPED_TRACE(std::string(name) + (keepCopy ? ", copy kept" : ", rebuilt from the tables"));
      net_bn* net = readDataNet(env, std::string(name) + ".bif");
      ASSERT_NE(net, nullptr);
      SetNetAutoUpdate_bn(net, 0);
      CompileNet_bn(net);
      quorva::JunctionTree& jt = *quorva::asNet(net)->jt;
      if (!keepCopy) jt.baseCopyMaxBytes = 0;
      const nodelist_bn* nodes = GetNetNodes_bn(net);
      const int count = LengthNodeList_bn(nodes);
      ReferenceElimination ref(net);
      int checked = 0;
      for (int round = 0; checked < 3 && round < 30; ++round) {
        // Two to six findings, one in three a likelihood, on nodes picked at random.
        std::vector<std::vector<double>> lik(static_cast<size_t>(count));
        for (int k = 2 + static_cast<int>(rng() % 5); k > 0; --k) {
          size_t i = rng() % static_cast<size_t>(count);
          size_t states = static_cast<size_t>(GetNodeNumberStates_bn(GetNthNode_bn(nodes, static_cast<int>(i))));
          lik[i].assign(states, 0.0);
          if (rng() % 3 == 0)
            for (double& x : lik[i]) x = (1 + rng() % 100) / 100.0;
          else lik[i][rng() % states] = 1;
        }
        ReferenceElimination::Answer first = ref.solve(0, lik);
        if (first.probFindings < 1e-9) continue;  // impossible or too unlikely to compare relatively
        ++checked;
        RetractNetFindings_bn(net);
        for (size_t i = 0; i < lik.size(); ++i) {
          if (lik[i].empty()) continue;
          std::vector<prob_bn> l(lik[i].begin(), lik[i].end());
          EnterNodeLikelihood_bn(GetNthNode_bn(nodes, static_cast<int>(i)), l.data());
        }
        ASSERT_EQ(errorCount(ERROR_ERR), 0) << ErrorMessage_vq(lastError());
        EXPECT_NEAR(FindingsProbability_bn(net) / first.probFindings, 1.0, 1e-4);
        for (int q = 0; q < count; ++q) {
          ReferenceElimination::Answer want = q == 0 ? first : ref.solve(q, lik);
          const prob_bn* got = GetNodeBeliefs_bn(GetNthNode_bn(nodes, q));
          ASSERT_NE(got, nullptr);
          for (size_t st = 0; st < want.beliefs.size(); ++st)
            EXPECT_NEAR(got[st], want.beliefs[st], 1e-5) << GetNodeName_bn(GetNthNode_bn(nodes, q)) << " state " << st;
        }
      }
      EXPECT_EQ(checked, 3) << "too few possible sets of findings drawn";
      EXPECT_EQ(jt.base.have(), keepCopy) << "the retractions took the other way";
      DeleteNet_bn(net);
    }
  }
}

}  // namespace
