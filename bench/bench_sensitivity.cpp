// Sensitivity to findings on Pigs with every node as a wiggle node, beside its bound: as many belief
// updates as the target has states, each followed by a read of every node's beliefs.  The pass
// should stay within 1.5 times the bound; "updates" counts the belief updates each query made.
//
// The net comes from QUORVA_NETS (a directory of .bif files; default tests/data beside this file).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "Quorva.h"

namespace {

struct Pigs {
  environ_vq* env = nullptr;
  net_bn* net = nullptr;
  node_bn* target = nullptr;
  nodelist_bn* every = nullptr;
  std::vector<node_bn*> nodes;

  Pigs() {
    const char* dir = std::getenv("QUORVA_NETS");
    const std::string path = std::string(dir ? dir : QUORVA_SOURCE_DIR "/tests/data") + "/Pigs.bif";
    env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
    InitQuorva2_bn(env, nullptr);
    stream_vq* s = NewFileStream_vq(path.c_str(), env, nullptr);
    net = ReadNet_bn(s, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    if (!net) return;
    SetNetAutoUpdate_bn(net, 0);
    CompileNet_bn(net);
    every = DupNodeList_bn(GetNetNodes_bn(net));
    for (int i = 0; i < LengthNodeList_bn(every); ++i) nodes.push_back(GetNthNode_bn(every, i));
    target = nodes[nodes.size() / 2];  // a node in the middle of the pedigree (3 states)
  }
  ~Pigs() { CloseQuorva_bn(env, nullptr); }
  uint64_t updates() const { return reinterpret_cast<const quorva::Bnet*>(net)->jt->updates; }
};

Pigs& pigs() {
  static Pigs p;
  return p;
}

void report(benchmark::State& state, const Pigs& p, uint64_t updatesBefore) {
  state.counters["target_states"] = GetNodeNumberStates_bn(p.target);
  state.counters["wiggle_nodes"] = static_cast<double>(p.nodes.size());
  state.counters["updates"] = benchmark::Counter(static_cast<double>(p.updates() - updatesBefore),
                                                 benchmark::Counter::kAvgIterations);
}

// One query of a new sensitivity object: the pass over the target's states with every node.
void BM_SensitivityPass(benchmark::State& state) {
  Pigs& p = pigs();
  if (!p.net) return state.SkipWithError("Pigs.bif not read");
  const uint64_t before = p.updates();
  for (auto _ : state) {
    sensv_bn* s = NewSensvToFinding_bn(p.target, p.every, ENTROPY_SENSV | NODEVAR_SENSV);
    benchmark::DoNotOptimize(GetSensvMutualInfo_bn(s, p.nodes[0]));
    DeleteSensvToFinding_bn(s);
  }
  report(state, p, before);
}

// The bound: the target put in each of its states in turn, the beliefs updated and every node's
// read, then its finding taken back.
void BM_UpdatePerTargetState(benchmark::State& state) {
  Pigs& p = pigs();
  if (!p.net) return state.SkipWithError("Pigs.bif not read");
  const uint64_t before = p.updates();
  const int states = GetNodeNumberStates_bn(p.target);
  for (auto _ : state) {
    for (state_bn t = 0; t < states; ++t) {
      RetractNodeFindings_bn(p.target);
      EnterFinding_bn(p.target, t);
      for (node_bn* n : p.nodes) benchmark::DoNotOptimize(GetNodeBeliefs_bn(n));
    }
    RetractNodeFindings_bn(p.target);
  }
  report(state, p, before);
}

BENCHMARK(BM_UpdatePerTargetState)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SensitivityPass)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
