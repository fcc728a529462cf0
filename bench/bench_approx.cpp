// Sampling and approximate beliefs: one million alarm cases written to a case file on one and two
// threads; approximate beliefs of every node (likelihood weighting, importance sampling, loopy
// propagation) on the shipped nets; and what `quorva beliefs` does with a 40 x 40 grid of binary
// nodes (parents: the node above and the node to the left, random tables, fixed seed) whose
// junction tree would need more than 1e12 entries: read the net, compile it to learn that size
// without allocating a table, and answer by importance sampling at the default budget.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "Quorva.h"

namespace {

struct Env {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  Env() { InitQuorva2_bn(env, nullptr); }
  ~Env() { CloseQuorva_bn(env, nullptr); }
  net_bn* read(const std::string& path) {
    stream_vq* s = NewFileStream_vq(path.c_str(), env, nullptr);
    net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    return net;
  }
};

std::string dataNet(const std::string& name) { return QUORVA_SOURCE_DIR "/tests/data/" + name + ".bif"; }

void SampleAlarmFile(benchmark::State& state) {
  Env e;
  net_bn* net = e.read(dataNet("alarm"));
  const std::string out = "/tmp/bench_approx_alarm_cases.txt";
  stream_vq* s = NewFileStream_vq(out.c_str(), e.env, nullptr);
  const long long cases = 1000000;
  for (auto _ : state)
    if (WriteSampledCases_bn(net, s, cases, 7, static_cast<int>(state.range(0)), nullptr) != cases)
      state.SkipWithError("sampling failed");
  DeleteStream_vq(s);
  std::remove(out.c_str());
  state.counters["cases/s"] = benchmark::Counter(static_cast<double>(cases), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(SampleAlarmFile)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void ApproxBeliefs(benchmark::State& state, const std::string& name, approx_method_bn method) {
  Env e;
  net_bn* net = e.read(dataNet(name));
  const int size = ApproxNetBeliefs_bn(net, method, 0, 0, 0, 1, nullptr, nullptr, 0, nullptr);
  std::vector<double> beliefs(static_cast<size_t>(size)), errors(static_cast<size_t>(size));
  approx_summary_bn summary{};
  for (auto _ : state)
    if (ApproxNetBeliefs_bn(net, method, 0, 0, 0, 1, beliefs.data(), errors.data(), size, &summary) != size)
      state.SkipWithError("approximation failed");
  state.counters["samples_or_rounds"] = summary.samples;
}
BENCHMARK_CAPTURE(ApproxBeliefs, alarm_lw, "alarm", LIKELIHOOD_WEIGHTING)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ApproxBeliefs, hailfinder_is, "hailfinder", IMPORTANCE_SAMPLING)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ApproxBeliefs, Pigs_is, "Pigs", IMPORTANCE_SAMPLING)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ApproxBeliefs, Pigs_loopy, "Pigs", LOOPY_PROPAGATION)->Unit(benchmark::kMillisecond);

// The grid net, written to `path`.
void writeGrid(environ_vq* env, const std::string& path) {
  net_bn* net = NewNet_bn("grid", env);
  std::mt19937 rng(40);
  std::uniform_real_distribution<double> u(0.05, 0.95);
  std::vector<node_bn*> nodes;
  for (int r = 0; r < 40; ++r)
    for (int c = 0; c < 40; ++c) {
      node_bn* n = NewNode_bn(("g" + std::to_string(r) + "_" + std::to_string(c)).c_str(), 2, net);
      int rows = 1;
      if (r > 0) AddLink_bn(nodes[static_cast<size_t>((r - 1) * 40 + c)], n), rows *= 2;
      if (c > 0) AddLink_bn(nodes.back(), n), rows *= 2;
      std::vector<double> cpt;
      for (int k = 0; k < rows; ++k) {
        const double p = u(rng);
        cpt.push_back(p);
        cpt.push_back(1 - p);
      }
      SetNodeTable_bn(n, "cpt", nullptr, 0, cpt.data(), static_cast<int>(cpt.size()));
      nodes.push_back(n);
    }
  stream_vq* s = NewFileStream_vq(path.c_str(), env, nullptr);
  WriteNet_bn(net, s);
  DeleteStream_vq(s);
  DeleteNet_bn(net);
}

void GridBeliefsAsTheToolAnswers(benchmark::State& state) {
  const std::string path = "/tmp/bench_approx_grid.dne";
  {
    Env e;
    writeGrid(e.env, path);
  }
  double treeSize = 0;
  for (auto _ : state) {
    Env e;
    net_bn* net = e.read(path);
    EnterFinding_bn(GetNodeNamed_bn("g0_0", net), 0);
    SetNetAutoUpdate_bn(net, BELIEF_UPDATE);  // tables are allocated at the first update, never here
    CompileNet_bn(net);
    treeSize = SizeCompiledNet_bn(net, 0);
    UncompileNet_bn(net);
    const int size = ApproxNetBeliefs_bn(net, IMPORTANCE_SAMPLING, 0, 0, 0, 1, nullptr, nullptr, 0, nullptr);
    std::vector<double> beliefs(static_cast<size_t>(size)), errors(static_cast<size_t>(size));
    if (ApproxNetBeliefs_bn(net, IMPORTANCE_SAMPLING, 0, 0, 0, 1, beliefs.data(), errors.data(), size, nullptr) != size)
      state.SkipWithError("approximation failed");
  }
  std::remove(path.c_str());
  state.counters["junction_tree_entries"] = treeSize;
}
BENCHMARK(GridBeliefsAsTheToolAnswers)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

}  // namespace

BENCHMARK_MAIN();
