// Sensitivity to findings against independent answers: the joint of target and wiggle node by
// enumeration of random nets, and by JointProbability_bn on asia; the findings left as they were;
// the results kept until findings or tables change.
#include <cmath>
#include <memory>
#include <random>
#include <string>

#include "BN/DataNets.h"
#include "BN/Sensitivity/Sensitivity.h"
#include "Support/NetSnapshot.h"
#include "Support/RandomNets.h"
#include "Support/ReferenceJoint.h"

namespace {

const int ALL_MEASURES = BELIEF_SENSV | ENTROPY_SENSV | REAL_SENSV | NODEVAR_SENSV | RATIO_SENSV | VARIANCE_SENSV |
                         RANGE_SENSV;

// The measures worked out from a joint table P(t, w | findings), by their defining sums.
struct FromJoint {
  std::vector<std::vector<double>> joint;  // [t][w]
  std::vector<double> pt, pw;

  explicit FromJoint(std::vector<std::vector<double>> j) : joint(std::move(j)) {
    pt.assign(joint.size(), 0.0);
    pw.assign(joint[0].size(), 0.0);
    for (size_t t = 0; t < joint.size(); ++t)
      for (size_t w = 0; w < pw.size(); ++w) pt[t] += joint[t][w], pw[w] += joint[t][w];
  }
  double mutualInfo() const {
    double i = 0;
    for (size_t t = 0; t < pt.size(); ++t)
      for (size_t w = 0; w < pw.size(); ++w)
        if (joint[t][w] > 0) i += joint[t][w] * std::log2(joint[t][w] / (pt[t] * pw[w]));
    return i;
  }
  double given(size_t t, size_t w) const { return pw[w] > 0 ? joint[t][w] / pw[w] : pt[t]; }
  double beliefVariance() const {
    double v = 0;
    for (size_t t = 0; t < pt.size(); ++t) v += changeVariance(t);
    return v;
  }
  double changeVariance(size_t t) const {
    double v = 0;
    for (size_t w = 0; w < pw.size(); ++w) v += pw[w] * (given(t, w) - pt[t]) * (given(t, w) - pt[t]);
    return v;
  }
  // Var(V) - E[Var(V | W)], each variance as E[V^2] - E[V]^2.
  double varianceReduction(const std::vector<double>& value) const {
    auto variance = [&](auto p) {
      double m = 0, m2 = 0;
      for (size_t t = 0; t < pt.size(); ++t) m += p(t) * value[t], m2 += p(t) * value[t] * value[t];
      return m2 - m * m;
    };
    double expected = 0;
    for (size_t w = 0; w < pw.size(); ++w)
      if (pw[w] > 0) expected += pw[w] * variance([&](size_t t) { return joint[t][w] / pw[w]; });
    return variance([&](size_t t) { return pt[t]; }) - expected;
  }
};

// The likelihood of every node's finding, read through the API (empty: none).
std::vector<std::vector<double>> findingLikelihoods(const std::vector<node_bn*>& nodes) {
  std::vector<std::vector<double>> out;
  for (node_bn* n : nodes) {
    std::vector<double> lik;
    if (GetNodeFinding_bn(n) != UNDEF_STATE) {
      const prob_bn* l = GetNodeLikelihood_bn(n);
      lik.assign(l, l + GetNodeNumberStates_bn(n));
    }
    out.push_back(lik);
  }
  return out;
}

class SensitivityTest : public NetTest {
 protected:
  quorva::Sensv& engine(sensv_bn* s) { return *reinterpret_cast<quorva::Sensv*>(s); }

  // Checks every measure of `s` for wiggle node `w` against `want`.
  void expectMeasures(sensv_bn* s, node_bn* w, const FromJoint& want, const std::string& where) {
    const double tol = 2e-5;
    EXPECT_NEAR(GetSensvMutualInfo_bn(s, w), want.mutualInfo(), tol) << where;
    EXPECT_NEAR(GetSensvBeliefVariance_bn(s, w), want.beliefVariance(), tol) << where;
    for (size_t t = 0; t < want.pt.size(); ++t) {
      state_bn ts = static_cast<state_bn>(t);
      EXPECT_NEAR(GetSensvBeliefChangeVariance_bn(s, w, ts), want.changeVariance(t), tol) << where;
      EXPECT_NEAR(GetSensvBeliefChange_bn(s, w, ts), std::sqrt(want.changeVariance(t)), 1e-3) << where;
      double least = 2, most = -1, lo = 0, hi = 0;
      for (size_t ws = 0; ws < want.pw.size(); ++ws) {
        if (want.pw[ws] > 1e-9) least = std::min(least, want.given(t, ws)), most = std::max(most, want.given(t, ws));
        if (want.pt[t] > 1e-9 && want.pw[ws] > 1e-9) {
          const double r = want.joint[t][ws] / (want.pt[t] * want.pw[ws]);
          EXPECT_NEAR(GetSensvRatio_bn(s, w, static_cast<state_bn>(ws), ts), r, 1e-3 * (1 + r)) << where;
        }
      }
      ASSERT_EQ(GetSensvBeliefRange_bn(s, w, ts, &lo, &hi), 0) << where;
      EXPECT_NEAR(lo, least, tol) << where;
      EXPECT_NEAR(hi, most, tol) << where;
    }
  }
};

// P(t, w | findings) by enumeration: the target put in t (with its own likelihood kept as weight).
FromJoint enumerated(const ReferenceJoint& ref, std::vector<std::vector<double>> lik, size_t target, size_t wiggle,
                     int targetStates, int wiggleStates) {
  std::vector<std::vector<double>> joint(static_cast<size_t>(targetStates),
                                         std::vector<double>(static_cast<size_t>(wiggleStates), 0.0));
  const std::vector<double> own = lik[target];
  double total = 0;
  for (size_t t = 0; t < joint.size(); ++t) {
    lik[target].assign(joint.size(), 0.0);
    lik[target][t] = own.empty() ? 1.0 : own[t];
    ReferenceJoint::Answer a = ref.solve(lik);
    if (a.probFindings == 0) continue;
    for (size_t w = 0; w < joint[t].size(); ++w) joint[t][w] = a.probFindings * a.beliefs[wiggle][w];
    total += a.probFindings;
  }
  for (auto& row : joint)
    for (double& x : row) x /= total;
  return FromJoint(joint);
}

TEST_F(SensitivityTest, RandomNetsMatchEnumerationWithBeliefsCurrentOrStale) {
  int checked = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    for (bool current : {false, true}) {
      std::mt19937 rng(seed);
      net_bn* net = NewNet_bn("R", env);
      std::vector<node_bn*> nodes = buildRandomNet(net, rng);
      SetNetAutoUpdate_bn(net, 0);
      CompileNet_bn(net);
      ReferenceJoint ref(net);
      size_t target = rng() % nodes.size();
      // A likelihood on the target on odd seeds, a state finding on another node when possible.
      std::vector<std::vector<double>> lik(nodes.size());
      if (seed % 2) {
        std::vector<prob_bn> l;
        for (int s = 0; s < GetNodeNumberStates_bn(nodes[target]); ++s) l.push_back(0.2f + 0.3f * static_cast<float>(s % 3));
        lik[target].assign(l.begin(), l.end());
        if (ref.solve(lik).probFindings > 0) EnterNodeLikelihood_bn(nodes[target], l.data());
        else lik[target].clear();
      }
      size_t other = (target + 1 + rng() % (nodes.size() - 1)) % nodes.size();
      std::vector<std::vector<double>> with = lik;
      with[other].assign(static_cast<size_t>(GetNodeNumberStates_bn(nodes[other])), 0.0);
      with[other][0] = 1;
      if (ref.solve(with).probFindings > 0) {
        EnterFinding_bn(nodes[other], 0);
        lik = with;
      }
      ASSERT_EQ(errorCount(ERROR_ERR), 0) << ErrorMessage_vq(lastError());
      if (current) GetNodeBeliefs_bn(nodes[0]);
      const auto before = findingLikelihoods(nodes);
      nodelist_bn* all = nodeList(net, {});
      for (node_bn* n : nodes) AddNodeToList_bn(n, all, -1);
      sensv_bn* s = NewSensvToFinding_bn(nodes[target], all, ALL_MEASURES);
      ASSERT_NE(s, nullptr);
      const std::string where = "seed " + std::to_string(seed) + (current ? " current" : " stale");
      for (size_t w = 0; w < nodes.size(); ++w) {
        FromJoint want = enumerated(ref, lik, target, w, GetNodeNumberStates_bn(nodes[target]),
                                    GetNodeNumberStates_bn(nodes[w]));
        expectMeasures(s, nodes[w], want, where + " V" + std::to_string(w));
        ++checked;
      }
      EXPECT_EQ(engine(s).passes(), 1u) << where;
      EXPECT_EQ(findingLikelihoods(nodes), before) << where;
      EXPECT_EQ(errorCount(ERROR_ERR), 0) << where << ": " << ErrorMessage_vq(lastError());
      DeleteSensvToFinding_bn(s);
      DeleteNet_bn(net);
    }
  }
  EXPECT_GT(checked, 200);
}

class AsiaSensitivityTest : public SensitivityTest {
 protected:
  void SetUp() override {
    SensitivityTest::SetUp();
    net = readDataNet(env, "asia.bif");
    ASSERT_NE(net, nullptr);
    CompileNet_bn(net);
    const nodelist_bn* list = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(list); ++i) nodes.push_back(GetNthNode_bn(list, i));
    everyNode = DupNodeList_bn(list);
  }
  node_bn* node(const char* name) { return GetNodeNamed_bn(name, net); }

  // P(t, w | findings) by JointProbability_bn.
  FromJoint byJointProbability(node_bn* t, node_bn* w) {
    nodelist_bn* pair = nodeList(net, {t, w});
    std::vector<std::vector<double>> joint(static_cast<size_t>(GetNodeNumberStates_bn(t)),
                                           std::vector<double>(static_cast<size_t>(GetNodeNumberStates_bn(w))));
    for (size_t a = 0; a < joint.size(); ++a)
      for (size_t b = 0; b < joint[a].size(); ++b) {
        state_bn states[2] = {static_cast<state_bn>(a), static_cast<state_bn>(b)};
        joint[a][b] = JointProbability_bn(pair, states);
      }
    DeleteNodeList_bn(pair);
    return FromJoint(joint);
  }

  net_bn* net = nullptr;
  std::vector<node_bn*> nodes;
  nodelist_bn* everyNode = nullptr;
};

TEST_F(AsiaSensitivityTest, MeasuresMatchJointProbabilitiesUnderFindings) {
  struct Case {
    const char* target;
    std::vector<std::pair<const char*, int>> findings;
  };
  const Case cases[] = {
      {"lung_cancer", {}},
      {"tuberculos_or_cancer", {{"smoking", 0}}},
      {"bronchitis", {{"positive_XraY", 0}, {"visit_to_Asia", 1}}},
      {"smoking", {{"dyspnoea", 0}}},
  };
  const double levels[] = {1.5, -4.0};
  for (const Case& c : cases) {
    node_bn* target = node(c.target);
    SetNodeLevels_bn(target, 2, levels);  // a change of structure: compiled again below
    CompileNet_bn(net);
    RetractNetFindings_bn(net);
    for (const auto& [name, state] : c.findings) EnterFinding_bn(node(name), state);
    sensv_bn* s = NewSensvToFinding_bn(target, everyNode, ALL_MEASURES);
    for (node_bn* w : nodes) {
      if (w == target) continue;
      FromJoint want = byJointProbability(target, w);
      std::string where = std::string(c.target) + " / " + GetNodeName_bn(w);
      expectMeasures(s, w, want, where);
      EXPECT_NEAR(GetSensvVarianceReduction_bn(s, w), want.varianceReduction({1.5, -4.0}), 1e-4) << where;
      for (size_t ws = 0; ws < 2; ++ws) {
        const double mean = 1.5 * want.given(0, ws) - 4.0 * want.given(1, ws);
        if (want.pw[ws] > 0) {
          EXPECT_NEAR(GetSensvRealMean_bn(s, w, static_cast<state_bn>(ws)), mean, 1e-4) << where;
        }
      }
    }
    // With itself: the target's entropy, its whole variance, and its whole belief variance.
    FromJoint self = byJointProbability(target, target);
    double h = -(self.pt[0] * std::log2(self.pt[0]) + self.pt[1] * std::log2(self.pt[1]));
    EXPECT_NEAR(GetSensvMutualInfo_bn(s, target), h, 1e-5) << c.target;
    EXPECT_NEAR(GetSensvBeliefVariance_bn(s, target), 1 - self.pt[0] * self.pt[0] - self.pt[1] * self.pt[1], 1e-5);
    EXPECT_NEAR(GetSensvVarianceReduction_bn(s, target), self.pt[0] * self.pt[1] * 5.5 * 5.5, 1e-4);
    EXPECT_EQ(errorCount(ERROR_ERR), 0) << ErrorMessage_vq(lastError());
    DeleteSensvToFinding_bn(s);
  }
}

TEST_F(AsiaSensitivityTest, TargetOutsideTheListStillGivesItsEntropy) {
  nodelist_bn* one = nodeList(net, {node("positive_XraY")});
  sensv_bn* s = NewSensvToFinding_bn(node("lung_cancer"), one, ENTROPY_SENSV);
  const prob_bn* b = GetNodeBeliefs_bn(node("lung_cancer"));
  EXPECT_NEAR(GetSensvMutualInfo_bn(s, node("lung_cancer")), -(b[0] * std::log2(b[0]) + b[1] * std::log2(b[1])), 1e-6);
}

TEST_F(SensitivityTest, IndependentNodeTellsNothing) {
  net_bn* net = NewNet_bn("I", env);
  node_bn* a = addNode(net, "A", 3, nullptr, {}, {0.2, 0.5, 0.3});
  node_bn* b = addNode(net, "B", 2, nullptr, {a}, {0.9, 0.1, 0.4, 0.6, 0.5, 0.5});
  node_bn* c = addNode(net, "C", 2, nullptr, {}, {0.7, 0.3});
  CompileNet_bn(net);
  sensv_bn* s = NewSensvToFinding_bn(a, nodeList(net, {b, c}), ALL_MEASURES);
  EXPECT_EQ(GetSensvMutualInfo_bn(s, c), 0.0);
  EXPECT_EQ(GetSensvBeliefVariance_bn(s, c), 0.0);
  for (state_bn w = 0; w < 2; ++w)
    for (state_bn t = 0; t < 3; ++t) EXPECT_NEAR(GetSensvRatio_bn(s, c, w, t), 1.0, 1e-6);
  EXPECT_GT(GetSensvMutualInfo_bn(s, b), 0.01);
}

TEST_F(SensitivityTest, ImpossibleTargetStateAddsNothing) {
  // B copies A's state; A's state 1 is ruled out by a finding on B.
  net_bn* net = NewNet_bn("Z", env);
  node_bn* a = addNode(net, "A", 2, nullptr, {}, {0.5, 0.5});
  node_bn* b = addNode(net, "B", 2, nullptr, {a}, {1, 0, 0, 1});
  node_bn* c = addNode(net, "C", 2, nullptr, {a}, {0.9, 0.1, 0.2, 0.8});
  SetNetAutoUpdate_bn(net, 0);
  CompileNet_bn(net);
  EnterFinding_bn(b, 0);
  sensv_bn* s = NewSensvToFinding_bn(a, nodeList(net, {c}), ALL_MEASURES);
  EXPECT_EQ(GetSensvMutualInfo_bn(s, c), 0.0);
  EXPECT_EQ(GetSensvMutualInfo_bn(s, a), 0.0);  // the target is known: no entropy
  EXPECT_NEAR(GetSensvRatio_bn(s, c, 0, 1), 1.0, 1e-9);
  EXPECT_EQ(errorCount(ERROR_ERR), 0) << ErrorMessage_vq(lastError());
  EXPECT_EQ(GetNodeFinding_bn(b), 0);
  EXPECT_EQ(GetNodeFinding_bn(a), UNDEF_STATE);
}

TEST_F(AsiaSensitivityTest, ResultsAreKeptUntilFindingsOrTablesChange) {
  node_bn* target = node("tuberculos_or_cancer");
  sensv_bn* s = NewSensvToFinding_bn(target, everyNode, ENTROPY_SENSV);
  const double first = GetSensvMutualInfo_bn(s, node("positive_XraY"));
  GetSensvMutualInfo_bn(s, node("dyspnoea"));
  GetNodeBeliefs_bn(node("visit_to_Asia"));  // an update after the pass, with the same findings
  GetSensvMutualInfo_bn(s, node("smoking"));
  EXPECT_EQ(engine(s).passes(), 1u);

  EnterFinding_bn(node("smoking"), 0);
  EXPECT_NEAR(GetSensvMutualInfo_bn(s, node("positive_XraY")), byJointProbability(target, node("positive_XraY")).mutualInfo(), 1e-5);
  EXPECT_EQ(engine(s).passes(), 2u);
  RetractNodeFindings_bn(node("smoking"));
  EXPECT_NEAR(GetSensvMutualInfo_bn(s, node("positive_XraY")), first, 1e-6);

  const prob_bn row[] = {0.5f, 0.5f};
  const state_bn parents[] = {0};
  SetNodeProbs_bn(node("positive_XraY"), parents, row);  // the X-ray says less of the first state
  EXPECT_NEAR(GetSensvMutualInfo_bn(s, node("positive_XraY")), byJointProbability(target, node("positive_XraY")).mutualInfo(), 1e-5);
  EXPECT_EQ(engine(s).passes(), 4u);
}

}  // namespace
