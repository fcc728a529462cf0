// Beliefs and the probability of findings on random nets against an exact enumeration of the
// joint: findings of every kind entered one at a time, retracted, and tables changed after
// compiling, with and without automatic updating; impossible findings and recovery from them.
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <sstream>

#include "BN/Findings/FindingErrors.h"
#include "BN/Inference/InferErrors.h"
#include "Support/NetSnapshot.h"
#include "Support/RandomNets.h"
#include "Support/ReferenceJoint.h"

namespace err = quorva::err;

namespace {
const char* const INCONSISTENT = "according to this model, the >-finding-(s) entered are inconsistent";
const char* const OTHERS_RULE_OUT = "it is inconsistent with findings for other >-node-s, according to this model";

size_t nonZeros(const std::vector<double>& lik) {
  return static_cast<size_t>(std::count_if(lik.begin(), lik.end(), [](double v) { return v != 0; }));
}
}  // namespace

class RandomNetInferenceTest : public NetTest {
 protected:
  void start(unsigned seed, bool autoUpdate) {
    rng.seed(seed);
    net = NewNet_bn("R", env);
    nodes = buildRandomNet(net, rng);
    autoUpdating = autoUpdate;
    SetNetAutoUpdate_bn(net, autoUpdate ? BELIEF_UPDATE : 0);
    CompileNet_bn(net);
    ASSERT_EQ(errorCount(ERROR_ERR), 0);
    ref = std::make_unique<ReferenceJoint>(net);
    lik.assign(nodes.size(), {});
  }

  // Every node's beliefs and the probability of the findings against the enumeration.  Findings of
  // probability 0 must make the reads fail as inconsistent.  Returns whether they were consistent.
  bool matchesReference(const std::string& where) {
    ReferenceJoint::Answer want = ref->solve(lik);
    clearErrors();
    if (want.probFindings == 0) {
      EXPECT_EQ(GetNodeBeliefs_bn(nodes[rng() % nodes.size()]), nullptr) << where;
      report_vq* r = lastError();
      EXPECT_TRUE(r && ErrorNumber_vq(r) == err::Inconsistent.number && std::string(ErrorMessage_vq(r)) == INCONSISTENT)
          << where << ": " << (r ? ErrorMessage_vq(r) : "no error");
      EXPECT_EQ(FindingsProbability_bn(net), -1.0) << where;
      ++inconsistentReads;
      return false;
    }
    double worst = 0;
    std::string at;
    for (size_t i = 0; i < nodes.size(); ++i) {
      const prob_bn* b = GetNodeBeliefs_bn(nodes[i]);
      if (!b) {
        ADD_FAILURE() << where << ": no beliefs for V" << i << ": " << ErrorMessage_vq(lastError());
        return true;
      }
      for (size_t s = 0; s < want.beliefs[i].size(); ++s)
        if (std::fabs(b[s] - want.beliefs[i][s]) > worst) {
          worst = std::fabs(b[s] - want.beliefs[i][s]);
          at = "V" + std::to_string(i) + " state " + std::to_string(s);
        }
    }
    EXPECT_LE(worst, 1e-5) << where << ": beliefs of " << at;
    EXPECT_NEAR(FindingsProbability_bn(net), want.probFindings, 1e-4 * want.probFindings) << where;

    // The probability of one to three nodes being in given states, given the findings.
    nodelist_bn* some = NewNodeList2_bn(0, net);
    std::vector<state_bn> config;
    std::vector<std::vector<double>> joint = lik;
    for (unsigned k = 1 + rng() % 3; k > 0; --k) {
      size_t i = rng() % nodes.size();
      if (IndexOfNodeInList_bn(nodes[i], some, 0) >= 0) continue;
      size_t s = rng() % static_cast<unsigned>(GetNodeNumberStates_bn(nodes[i]));
      AddNodeToList_bn(nodes[i], some, -1);
      config.push_back(static_cast<state_bn>(s));
      std::vector<double> only(static_cast<size_t>(GetNodeNumberStates_bn(nodes[i])), 0.0);
      only[s] = joint[i].empty() ? 1.0 : joint[i][s];
      joint[i] = only;
    }
    EXPECT_NEAR(JointProbability_bn(some, config.data()), ref->solve(joint).probFindings / want.probFindings, 1e-5)
        << where << ": joint probability of " << listNames(some);
    DeleteNodeList_bn(some);

    // Now and then, the most probable state of each node: its best configuration is as good as
    // that of any other state (ties allowed).
    if (rng() % 4 == 0) {
      std::vector<state_bn> config(nodes.size(), UNDEF_STATE);
      MostProbableConfig_bn(GetNetNodes_bn(net), config.data(), 0);
      std::vector<std::vector<double>> best = ref->maxMarginals(lik);
      for (size_t i = 0; i < nodes.size(); ++i) {
        double top = *std::max_element(best[i].begin(), best[i].end());
        bool inRange = config[i] >= 0 && static_cast<size_t>(config[i]) < best[i].size();
        double got = inRange ? best[i][static_cast<size_t>(config[i])] : -1;
        EXPECT_NEAR(got, top, 1e-5 * top) << where << ": most probable state of V" << i;
      }
    }
    EXPECT_EQ(errorCount(ERROR_ERR), 0) << where;
    return true;
  }

  // Enters a random state, negative or likelihood finding on a node whose state is not known yet.
  // A refusal must be one the model justifies; with auto-update on, an impossible finding must be
  // refused.
  std::string enterRandomFinding() {
    std::vector<size_t> open;
    for (size_t i = 0; i < nodes.size(); ++i)
      if (lik[i].empty() || nonZeros(lik[i]) > 1) open.push_back(i);
    if (open.empty()) return "none";
    size_t i = open[rng() % open.size()];
    int ns = GetNodeNumberStates_bn(nodes[i]);
    std::vector<double> next = lik[i].empty() ? std::vector<double>(static_cast<size_t>(ns), 1.0) : lik[i];
    std::ostringstream what;
    bool stateFinding = false;
    clearErrors();
    unsigned kind = rng() % 3;
    if (kind == 0 && lik[i].empty()) {
      state_bn s = static_cast<state_bn>(rng() % static_cast<unsigned>(ns));
      what << "V" << i << " = " << s;
      EnterFinding_bn(nodes[i], s);
      std::fill(next.begin(), next.end(), 0.0);
      next[static_cast<size_t>(s)] = 1;
      stateFinding = true;
    } else if (kind == 1) {
      std::vector<size_t> possible;
      for (size_t s = 0; s < next.size(); ++s)
        if (next[s] != 0) possible.push_back(s);
      size_t s = possible[rng() % possible.size()];
      what << "V" << i << " != " << s;
      EnterFindingNot_bn(nodes[i], static_cast<state_bn>(s));
      next[s] = 0;
    } else {
      std::uniform_real_distribution<float> u(0.05f, 1.0f);
      std::vector<float> v(static_cast<size_t>(ns));
      for (float& x : v) x = u(rng);
      if (lik[i].empty() && rng() % 3 == 0) v[rng() % v.size()] = 0;
      what << "V" << i << " likelihood";
      for (size_t s = 0; s < v.size(); ++s) what << " " << v[s], next[s] *= v[s];
      EnterNodeLikelihood_bn(nodes[i], v.data());
    }
    std::vector<std::vector<double>> trial = lik;
    trial[i] = next;
    double p = ref->solve(trial).probFindings;
    if (errorCount(ERROR_ERR) > 0) {
      report_vq* r = lastError();
      int number = ErrorNumber_vq(r);
      std::string text = ErrorMessage_vq(r);
      EXPECT_EQ(p, 0.0) << what.str() << " refused: " << text;
      if (stateFinding)
        EXPECT_TRUE(number == err::FindingInconsistentModel.number || number == err::FindingStatedValue.number ||
                    number == err::FindingFromParents.number)
            << text;
      else
        EXPECT_TRUE(number == err::CantEnterLikelihood.number && text.find(OTHERS_RULE_OUT) != std::string::npos)
            << text;
      if (number == err::FindingInconsistentModel.number) ++refusedAsInconsistent;
      return what.str() + " (refused)";
    }
    EXPECT_FALSE(autoUpdating && p == 0) << what.str() << ": accepted although impossible";
    EXPECT_EQ(IsBeliefUpdated_bn(nodes[i]), autoUpdating) << what.str();
    lik[i] = next;
    return what.str();
  }

  void retract(size_t i) {
    RetractNodeFindings_bn(nodes[i]);
    lik[i].clear();
  }

  // Retracts random findings until the ones left are consistent.
  void retractUntilConsistent(const std::string& where) {
    while (!matchesReference(where)) {
      std::vector<size_t> with;
      for (size_t i = 0; i < lik.size(); ++i)
        if (!lik[i].empty()) with.push_back(i);
      if (with.empty()) return;
      retract(with[rng() % with.size()]);
    }
  }

  // A new random row in one node's CPT of the compiled net; the enumeration reads the tables again.
  void changeRow() {
    node_bn* n = nodes[rng() % nodes.size()];
    const nodelist_bn* ps = GetNodeParents_bn(n);
    std::vector<state_bn> row;
    for (int p = 0; p < LengthNodeList_bn(ps); ++p)
      row.push_back(static_cast<state_bn>(rng() % static_cast<unsigned>(GetNodeNumberStates_bn(GetNthNode_bn(ps, p)))));
    SetNodeProbs_bn(n, row.data(), randomRow(rng, GetNodeNumberStates_bn(n)).data());
    EXPECT_GT(SizeCompiledNet_bn(net, 0), 0) << "a table change uncompiled the net";
    ref = std::make_unique<ReferenceJoint>(net);
  }

  std::mt19937 rng;
  net_bn* net = nullptr;
  std::vector<node_bn*> nodes;
  bool autoUpdating = false;
  std::unique_ptr<ReferenceJoint> ref;
  std::vector<std::vector<double>> lik;  // per node, the findings entered as one likelihood
  int inconsistentReads = 0, refusedAsInconsistent = 0;
};

TEST_F(RandomNetInferenceTest, BeliefsMatchEnumerationAsFindingsComeAndGoAndTablesChange) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed) + (seed % 3 == 0 ? " auto-update" : ""));
    ASSERT_NO_FATAL_FAILURE(start(seed, seed % 3 == 0));
    matchesReference("no findings");
    for (int round = 0; round < 4; ++round) {
      for (unsigned k = 1 + rng() % 4; k > 0; --k) {
        std::string what = enterRandomFinding();
        if (rng() % 3 != 0) retractUntilConsistent("after " + what);
      }
      retractUntilConsistent("round " + std::to_string(round));
      for (unsigned k = rng() % 3; k > 0; --k) retract(rng() % nodes.size());
      retractUntilConsistent("after retracting");
      if (round % 2 == 1) {
        changeRow();
        retractUntilConsistent("after a table change");
      }
    }
    RetractNetFindings_bn(net);
    lik.assign(nodes.size(), {});
    matchesReference("all retracted");
    DeleteNet_bn(net);
  }
  // The seeds reach both ways of meeting impossible findings.
  EXPECT_GT(inconsistentReads, 0);
  EXPECT_GT(refusedAsInconsistent, 0);
}

// With auto-update on, a finding made impossible by the others is refused when entered (the
// reads that meet impossible findings without auto-update are checked on the random nets above).
TEST_F(RandomNetInferenceTest, ImpossibleFindingsAreRefusedWithAutoUpdate) {
  // B and C both copy A, so B = 0 with C = 1 is impossible, though neither finding rules out
  // the other by itself.
  net = NewNet_bn("N", env);
  node_bn* a = NewNode_bn("A", 2, net);
  node_bn* b = NewNode_bn("B", 2, net);
  node_bn* c = NewNode_bn("C", 2, net);
  SetNodeStateNames_bn(c, "c0,c1");
  AddLink_bn(a, b);
  AddLink_bn(a, c);
  const prob_bn prior[] = {0.3f, 0.7f}, copy[] = {1, 0, 0, 1};
  SetNodeProbs_bn(a, nullptr, prior);
  for (node_bn* x : {b, c})
    for (state_bn s = 0; s < 2; ++s) SetNodeProbs_bn(x, &s, copy + 2 * s);
  SetNetAutoUpdate_bn(net, BELIEF_UPDATE);
  CompileNet_bn(net);
  EnterFinding_bn(b, 0);
  expectRefused(net, [&] { EnterFinding_bn(c, 1); }, err::FindingInconsistentModel.number,
                "new finding 'c1' is inconsistent with findings for other >-node-s, according to this model");
  expectRefused(net, [&] { EnterFindingNot_bn(c, 0); }, err::CantEnterLikelihood.number,
                std::string("can't enter that negative or likelihood finding for >-node 'C', because ") + OTHERS_RULE_OUT);
  EXPECT_EQ(GetNodeFinding_bn(c), UNDEF_STATE);
  clearErrors();
  EXPECT_NEAR(GetNodeBeliefs_bn(c)[0], 1.0, 1e-6);
  EXPECT_NEAR(FindingsProbability_bn(net), 0.3, 1e-6);
  RetractNodeFindings_bn(b);
  EnterFinding_bn(c, 1);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  EXPECT_NEAR(GetNodeBeliefs_bn(b)[1], 1.0, 1e-6);
  EXPECT_NEAR(FindingsProbability_bn(net), 0.7, 1e-6);
}
