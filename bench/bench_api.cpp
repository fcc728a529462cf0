// The cost of the API frame and of the net-editing operations it wraps.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Quorva.h"

namespace {

struct Env {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  Env() { InitQuorva2_bn(env, nullptr); }
  ~Env() { CloseQuorva_bn(env, nullptr); }
};

std::string nodeName(int i) {
  std::string name = std::to_string(i);
  name.insert(name.begin(), 'n');
  return name;
}

// A read through the frame: lock, frame name, handle check, one field.
void BM_FrameRead(benchmark::State& state) {
  Env e;
  ArgumentChecking_vq(static_cast<int>(state.range(0)), e.env);
  net_bn* net = NewNet_bn("Bench", e.env);
  node_bn* node = NewNode_bn("A", 3, net);
  for (auto _ : state) benchmark::DoNotOptimize(GetNodeNumberStates_bn(node));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FrameRead)->Arg(NO_CHECK)->Arg(REGULAR_CHECK)->Arg(COMPLETE_CHECK);

// Name lookup in a net of N nodes.
void BM_NodeNamed(benchmark::State& state) {
  Env e;
  net_bn* net = NewNet_bn("Bench", e.env);
  int n = static_cast<int>(state.range(0));
  std::vector<std::string> names;
  for (int i = 0; i < n; ++i) {
    names.push_back(nodeName(i));
    NewNode_bn(names.back().c_str(), 2, net);
  }
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(GetNodeNamed_bn(names[i++ % names.size()].c_str(), net));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_NodeNamed)->Arg(100)->Arg(10000);

// Building a layered net of N nodes with up to 3 parents each: creation, links, cycle tests.
void BM_BuildNet(benchmark::State& state) {
  Env e;
  int n = static_cast<int>(state.range(0));
  std::vector<std::string> names;
  for (int i = 0; i < n; ++i) names.push_back(nodeName(i));
  for (auto _ : state) {
    net_bn* net = NewNet_bn("Bench", e.env);
    std::vector<node_bn*> nodes;
    for (int i = 0; i < n; ++i) {
      nodes.push_back(NewNode_bn(names[static_cast<size_t>(i)].c_str(), 2, net));
      for (int k = 1; k <= 3 && i - k * 7 >= 0; ++k) AddLink_bn(nodes[static_cast<size_t>(i - k * 7)], nodes.back());
    }
    DeleteNet_bn(net);
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_BuildNet)->Arg(100)->Arg(1000);

}  // namespace

BENCHMARK_MAIN();
