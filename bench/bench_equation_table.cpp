// Building tables from equations, through EquationToTable_bn (on every processor) and with one
// thread for comparison:
//   Deterministic: Y (A, B, C) = (A + 2 * B + 3 * C) % 100 over three parents of 100 states each
//   (10^6 rows, one evaluation each, a state function table).  Target: under 0.5 s on two cores.
//   Probabilistic: P (Y | A, X) = NormalDist (Y, A + X, 2) for Y continuous with 10 intervals, A
//   with 100 states and X continuous with 1,000 intervals (10^5 rows), 20 samples per row (X is
//   drawn inside its interval).  Target: under 1 s on two cores.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Tables/EquationTable.h"
#include "Quorva.h"
#include "Quorva/Handles.h"

namespace {

struct Model {
  environ_vq* env = nullptr;
  net_bn* net = nullptr;
  node_bn* y = nullptr;
  Model() {
    env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
    InitQuorva2_bn(env, nullptr);
    net = NewNet_bn("bench", env);
  }
  ~Model() { CloseQuorva_bn(env, nullptr); }
  node_bn* discrete(const char* name, int states) { return NewNode_bn(name, states, net); }
  node_bn* continuous(const char* name, int intervals, double width) {
    node_bn* n = NewNode_bn(name, 0, net);
    std::vector<level_bn> bounds;
    for (int i = 0; i <= intervals; ++i) bounds.push_back(i * width);
    SetNodeLevels_bn(n, intervals, bounds.data());
    return n;
  }
  void check(benchmark::State& state) {
    if (GetError_vq(env, ERROR_ERR, nullptr)) state.SkipWithError(ErrorMessage_vq(GetError_vq(env, ERROR_ERR, nullptr)));
  }
};

void convert(benchmark::State& state, Model& m, int samples) {
  const int threads = static_cast<int>(state.range(0));
  quorva::Bnode& node = *quorva::asNode(m.y);
  for (auto _ : state) {
    if (threads == 0)
      EquationToTable_bn(m.y, samples, 0, 0);
    else
      quorva::equationToTable(node, {samples, false, false, threads});
  }
  m.check(state);
}

void BM_DeterministicMillionRows(benchmark::State& state) {
  Model m;
  node_bn* a = m.discrete("A", 100);
  node_bn* b = m.discrete("B", 100);
  node_bn* c = m.discrete("C", 100);
  m.y = m.discrete("Y", 100);
  for (node_bn* p : {a, b, c}) AddLink_bn(p, m.y);
  SetNodeEquation_bn(m.y, "Y (A, B, C) = (A + 2 * B + 3 * C) % 100");
  convert(state, m, 1);
}

void BM_ProbabilisticSampled(benchmark::State& state) {
  Model m;
  node_bn* a = m.discrete("A", 100);
  node_bn* x = m.continuous("X", 1000, 0.01);
  m.y = m.continuous("Y", 10, 12);
  AddLink_bn(a, m.y);
  AddLink_bn(x, m.y);
  SetNodeEquation_bn(m.y, "P (Y | A, X) = NormalDist (Y, A + X, 2)");
  convert(state, m, 20);
}

// Argument: 0 = the API (one thread per processor), else that many threads.
BENCHMARK(BM_DeterministicMillionRows)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ProbabilisticSampled)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
