// Solving a decision net: two decisions in sequence among 30 chance nodes of a random DAG (fixed
// seed), three utility nodes.  Each iteration changes a finding and asks for the maximum expected
// utility, so the net is updated and its decisions solved again.
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "Quorva.h"

namespace {

struct DecisionNet {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  net_bn* net = nullptr;
  std::vector<node_bn*> chance;

  DecisionNet() {
    InitQuorva2_bn(env, nullptr);
    std::mt19937 rng(2026);
    net = NewNet_bn("Bench", env);
    for (int i = 0; i < 30; ++i) chance.push_back(NewNode_bn(("C" + std::to_string(i)).c_str(), 2 + static_cast<int>(rng() % 2), net));
    node_bn* d1 = NewNode_bn("D1", 3, net);
    node_bn* d2 = NewNode_bn("D2", 2, net);
    SetNodeKind_bn(d1, DECISION_NODE);
    SetNodeKind_bn(d2, DECISION_NODE);
    // D1 sees two of C0..C9 and acts on C10..C12; D2 sees C10 and one of C11..C19 and acts on C20..C22.
    AddLink_bn(chance[rng() % 10], d1);
    AddLink_bn(chance[rng() % 10], d1);
    for (int i = 10; i < 13; ++i) AddLink_bn(d1, chance[static_cast<size_t>(i)]);
    AddLink_bn(chance[10], d2);
    AddLink_bn(chance[11 + rng() % 9], d2);
    for (int i = 20; i < 23; ++i) AddLink_bn(d2, chance[static_cast<size_t>(i)]);
    for (size_t i = 1; i < chance.size(); ++i)
      for (int k = 0, parents = static_cast<int>(rng() % 3); k < parents; ++k) AddLink_bn(chance[rng() % i], chance[i]);
    std::uniform_real_distribution<double> u(0.05, 1);
    for (node_bn* n : chance) randomTable(n, rng, u);
    const int utilityOver[3][2] = {{25, -1}, {28, -2}, {15, 29}};
    for (int k = 0; k < 3; ++k) {
      node_bn* v = NewNode_bn(("U" + std::to_string(k)).c_str(), 0, net);
      SetNodeKind_bn(v, UTILITY_NODE);
      for (int p : utilityOver[k]) AddLink_bn(p == -1 ? d1 : p == -2 ? d2 : chance[static_cast<size_t>(p)], v);
      for (state_bn a = 0; a < 3; ++a)
        for (state_bn b = 0; b < 3; ++b) {
          state_bn ps[2] = {a, b};
          if (a < GetNodeNumberStates_bn(GetNthNode_bn(GetNodeParents_bn(v), 0)) &&
              b < GetNodeNumberStates_bn(GetNthNode_bn(GetNodeParents_bn(v), 1)))
            SetNodeFuncReal_bn(v, ps, static_cast<double>(rng() % 100));
        }
    }
    CompileNet_bn(net);
  }
  ~DecisionNet() { CloseQuorva_bn(env, nullptr); }

  static void randomTable(node_bn* n, std::mt19937& rng, std::uniform_real_distribution<double>& u) {
    const nodelist_bn* parents = GetNodeParents_bn(n);
    int rows = 1;
    for (int i = 0; i < LengthNodeList_bn(parents); ++i) rows *= GetNodeNumberStates_bn(GetNthNode_bn(parents, i));
    int states = GetNodeNumberStates_bn(n);
    std::vector<float> cpt;
    for (int r = 0; r < rows; ++r) {
      std::vector<double> row(static_cast<size_t>(states));
      double sum = 0;
      for (double& x : row) sum += x = u(rng);
      for (double x : row) cpt.push_back(static_cast<float>(x / sum));
    }
    std::vector<double> all(cpt.begin(), cpt.end());
    SetNodeTable_bn(n, "cpt", nullptr, 0, all.data(), static_cast<int>(all.size()));
  }
};

void BM_SolveTwoDecisionsThirtyChanceNodes(benchmark::State& state) {
  DecisionNet d;
  int s = 0;
  for (auto _ : state) {
    RetractNodeFindings_bn(d.chance[5]);
    EnterFinding_bn(d.chance[5], s);
    s = 1 - s;
    benchmark::DoNotOptimize(GetNetExpectedUtility_bn(d.net));
  }
  if (GetError_vq(d.env, ERROR_ERR, nullptr)) state.SkipWithError(ErrorMessage_vq(GetError_vq(d.env, ERROR_ERR, nullptr)));
}
BENCHMARK(BM_SolveTwoDecisionsThirtyChanceNodes)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
