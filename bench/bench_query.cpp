// Questions over several nodes: joint beliefs and the most probable joint state of three nodes of
// alarm and Pigs given a finding, answered by elimination over the nodes the question needs, beside
// compiling and updating the whole net for the same nodes' beliefs.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BenchNets.h"
#include "Quorva.h"

namespace {


const char* const NETS[] = {"alarm", "Pigs"};


// The net, a finding on its first node, and a list of three nodes spread over the net.
struct Question {
  net_bn* net;
  nodelist_bn* list;
  Question(BenchEnv& e, const char* name) : net(readDataNet(e, name)), list(NewNodeList2_bn(0, net)) {
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    int n = LengthNodeList_bn(nodes);
    for (int i : {n / 4, n / 2, 3 * n / 4}) AddNodeToList_bn(GetNthNode_bn(nodes, i), list, -1);
    EnterFinding_bn(GetNthNode_bn(nodes, 0), 0);
  }
};

// arg 0: the net; arg 1: 0 joint beliefs, 1 most probable joint state, 2 compile and update.
void BM_Query(benchmark::State& state) {
  BenchEnv e;
  Question q(e, NETS[state.range(0)]);
  std::vector<double> joint(1024);
  std::vector<state_bn> config(3);
  for (auto _ : state) {
    switch (state.range(1)) {
      case 0: benchmark::DoNotOptimize(GetJointBeliefs_bn(q.list, joint.data(), 1024)); break;
      case 1: benchmark::DoNotOptimize(MostProbableJointConfig_bn(q.list, config.data())); break;
      default:
        CompileNet_bn(q.net);
        for (int i = 0; i < 3; ++i) benchmark::DoNotOptimize(GetNodeBeliefs_bn(GetNthNode_bn(q.list, i)));
        UncompileNet_bn(q.net);
    }
  }
  if (GetError_vq(e.env, ERROR_ERR, nullptr)) state.SkipWithError("the question was refused");
}
BENCHMARK(BM_Query)->ArgsProduct({{0, 1}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
