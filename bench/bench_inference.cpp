// Inference on real nets: compile time, table sizes, the greedy order beside min-fill, and the
// time of one case (retract, enter 5 findings from a forward sample, read every node's beliefs),
// with the time of one streaming read of every clique and separator table as the memory bound.
// Beside them, in a child process of its own (so that the high-water mark is the net's alone):
// the time of the first belief update after compiling, the peak resident memory of the compiled
// and updated net over the process's memory before reading it, and that peak over the clique and
// separator tables' own bytes.  Nets whose tables are small enough for retraction to restore a
// saved copy are timed again as "/rebuilt", with no copy kept, as a net above the bound runs.
//
// Nets come from QUORVA_NETS (a directory of .bif files; default tests/data beside this file).
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Inference/ElimOrder.h"
#include "BN/Inference/JunctionTree.h"
#include "Quorva.h"

namespace {

std::string netPath(const std::string& name) {
  const char* dir = std::getenv("QUORVA_NETS");
  return std::string(dir ? dir : QUORVA_SOURCE_DIR "/tests/data") + "/" + name + ".bif";
}

struct Loaded {
  environ_vq* env = nullptr;
  net_bn* net = nullptr;
  std::vector<node_bn*> nodes;
  explicit Loaded(const std::string& name) {
    env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
    InitQuorva2_bn(env, nullptr);
    stream_vq* s = NewFileStream_vq(netPath(name).c_str(), env, nullptr);
    net = ReadNet_bn(s, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    if (!net) return;
    SetNetAutoUpdate_bn(net, 0);
    const nodelist_bn* list = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(list); ++i) nodes.push_back(GetNthNode_bn(list, i));
  }
  ~Loaded() { CloseQuorva_bn(env, nullptr); }
};

// A forward sample of the whole net (nodes in an order where parents come first).
std::vector<int> forwardSample(const Loaded& l, std::mt19937_64& rng) {
  std::vector<int> value(l.nodes.size(), -1);
  std::vector<size_t> todo(l.nodes.size());
  for (size_t i = 0; i < todo.size(); ++i) todo[i] = i;
  std::uniform_real_distribution<double> u(0, 1);
  while (!todo.empty()) {
    for (size_t k = 0; k < todo.size();) {
      node_bn* n = l.nodes[todo[k]];
      const nodelist_bn* ps = GetNodeParents_bn(n);
      std::vector<state_bn> pstates;
      bool ready = true;
      for (int p = 0; p < LengthNodeList_bn(ps) && ready; ++p) {
        auto it = std::find(l.nodes.begin(), l.nodes.end(), GetNthNode_bn(ps, p));
        int v = value[static_cast<size_t>(it - l.nodes.begin())];
        ready = v >= 0;
        pstates.push_back(v);
      }
      if (!ready) {
        ++k;
        continue;
      }
      const prob_bn* row = GetNodeProbs_bn(n, pstates.empty() ? nullptr : pstates.data());
      double r = u(rng), acc = 0;
      int s = 0, ns = GetNodeNumberStates_bn(n);
      for (; s < ns - 1; ++s) {
        acc += row ? row[s] : 1.0 / ns;
        if (r < acc) break;
      }
      value[todo[k]] = s;
      todo.erase(todo.begin() + static_cast<long>(k));
    }
  }
  return value;
}

struct Case {
  std::vector<std::pair<size_t, int>> findings;
};

std::vector<Case> makeCases(const Loaded& l, int count, int findings, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::vector<Case> cases;
  for (int c = 0; c < count; ++c) {
    std::vector<int> sample = forwardSample(l, rng);
    Case one;
    std::vector<size_t> idx(l.nodes.size());
    for (size_t i = 0; i < idx.size(); ++i) idx[i] = i;
    std::shuffle(idx.begin(), idx.end(), rng);
    for (int k = 0; k < findings && k < static_cast<int>(idx.size()); ++k) one.findings.push_back({idx[static_cast<size_t>(k)], sample[idx[static_cast<size_t>(k)]]});
    cases.push_back(one);
  }
  return cases;
}

double peakMemoryBytes() {
  rusage r{};
  getrusage(RUSAGE_SELF, &r);
  return static_cast<double>(r.ru_maxrss) * 1024.0;
}

// Min-fill's total clique size, for comparison with the greedy order.
double minFillSize(const quorva::UGraph& g) {
  size_t n = g.nodes.size();
  std::vector<std::vector<char>> adj(n, std::vector<char>(n, 0));
  for (size_t v = 0; v < n; ++v)
    for (int u : g.adj[v]) adj[v][static_cast<size_t>(u)] = 1;
  std::vector<char> gone(n, 0);
  std::vector<int> order;
  for (size_t step = 0; step < n; ++step) {
    size_t best = n;
    long bestFill = -1;
    double bestSize = 0;
    for (size_t v = 0; v < n; ++v) {
      if (gone[v]) continue;
      std::vector<size_t> nb;
      for (size_t u = 0; u < n; ++u)
        if (adj[v][u] && !gone[u]) nb.push_back(u);
      long fill = 0;
      for (size_t i = 0; i < nb.size(); ++i)
        for (size_t j = i + 1; j < nb.size(); ++j) fill += !adj[nb[i]][nb[j]];
      std::vector<int> members{static_cast<int>(v)};
      for (size_t u : nb) members.push_back(static_cast<int>(u));
      double size = quorva::setSize(g, members);
      if (bestFill < 0 || fill < bestFill || (fill == bestFill && size < bestSize)) best = v, bestFill = fill, bestSize = size;
    }
    for (size_t u = 0; u < n; ++u)
      if (adj[best][u] && !gone[u])
        for (size_t w = 0; w < n; ++w)
          if (w != u && adj[best][w] && !gone[w]) adj[u][w] = adj[w][u] = 1;
    gone[best] = 1;
    order.push_back(static_cast<int>(best));
  }
  return quorva::scoreOrder(g, order);
}

// What the child process measured: the first update's milliseconds, the memory high-water mark
// before the net was read and after its first update, and the tables' bytes.
struct FirstUpdate {
  double ms = -1, baseBytes = 0, peakBytes = 0, tableBytes = 0;
};

FirstUpdate firstUpdateInChild(const std::string& name) {
  FirstUpdate out;
  int fd[2];
  if (pipe(fd) != 0) return out;
  pid_t pid = fork();
  if (pid == 0) {
    close(fd[0]);
    FirstUpdate r;
    r.baseBytes = peakMemoryBytes();
    {
      Loaded l(name);
      if (l.net) {
        CompileNet_bn(l.net);
        r.tableBytes = 4 * SizeCompiledNet_bn(l.net, 0);
        auto t0 = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(GetNodeBeliefs_bn(l.nodes.front()));
        r.ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
        r.peakBytes = peakMemoryBytes();
      }
    }
    ssize_t wrote = write(fd[1], &r, sizeof r);
    _exit(wrote == static_cast<ssize_t>(sizeof r) ? 0 : 1);
  }
  close(fd[1]);
  if (pid > 0) {
    if (read(fd[0], &out, sizeof out) != static_cast<ssize_t>(sizeof out)) out = FirstUpdate{};
    waitpid(pid, nullptr, 0);
  }
  close(fd[0]);
  return out;
}

void BM_Net(benchmark::State& state, const std::string& name, int cases, bool rebuild) {
  FirstUpdate first = firstUpdateInChild(name);
  Loaded l(name);
  if (!l.net) {
    state.SkipWithError(("can't read " + netPath(name)).c_str());
    return;
  }
  auto t0 = std::chrono::steady_clock::now();
  CompileNet_bn(l.net);
  double compileMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
  double total = SizeCompiledNet_bn(l.net, 0);
  quorva::Bnet& net = *reinterpret_cast<quorva::Bnet*>(l.net);
  if (rebuild) net.jt->baseCopyMaxBytes = 0;
  // The greedy order's clique total beside min-fill's, over the same moral graph.
  quorva::UGraph g = quorva::moralGraph(net);
  std::vector<int> greedy;
  for (auto* n : net.elimOrder)
    greedy.push_back(static_cast<int>(std::find(g.nodes.begin(), g.nodes.end(), n) - g.nodes.begin()));
  std::vector<Case> work = makeCases(l, cases, 5, 1234);
  GetNodeBeliefs_bn(l.nodes.front());  // allocate and initialise outside the timing
  // One streaming read of every clique and separator table.
  auto r0 = std::chrono::steady_clock::now();
  double sink = 0;
  for (const auto& c : net.jt->cliques) sink += c.pot.sum();
  for (const auto& s : net.jt->seps) sink += s.pot.sum();
  double readUs = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - r0).count();
  size_t k = 0;
  for (auto _ : state) {
    const Case& c = work[k++ % work.size()];
    RetractNetFindings_bn(l.net);
    for (auto [i, s] : c.findings) EnterFinding_bn(l.nodes[i], s);
    for (node_bn* n : l.nodes) benchmark::DoNotOptimize(GetNodeBeliefs_bn(n));
  }
  state.counters["compile_ms"] = compileMs;
  state.counters["table_entries"] = total;
  state.counters["greedy_cliques"] = quorva::scoreOrder(g, greedy);
  state.counters["minfill_cliques"] = g.nodes.size() <= 1000 ? minFillSize(g) : 0;
  state.counters["read_all_us"] = readUs + 0 * sink;
  state.counters["first_update_ms"] = first.ms;
  state.counters["tables_MB"] = first.tableBytes / 1e6;
  state.counters["net_peak_MB"] = (first.peakBytes - first.baseBytes) / 1e6;
  state.counters["peak_per_table"] = first.tableBytes > 0 ? (first.peakBytes - first.baseBytes) / first.tableBytes : 0;
  state.counters["copy_kept"] = net.jt->base.have();
}

void registerNets() {
  const std::pair<const char*, int> nets[] = {{"asia", 200}, {"alarm", 200}, {"insurance", 200},
                                              {"hailfinder", 200}, {"Pigs", 200}, {"Link", 20}};
  for (auto [name, cases] : nets) {
    std::string n = name;
    int count = cases;
    for (bool rebuild : {false, true}) {
      if (rebuild && n == "Link") continue;  // above the bound: it rebuilds anyway
      benchmark::RegisterBenchmark(("update/" + n + (rebuild ? "/rebuilt" : "")).c_str(),
                                   [n, count, rebuild](benchmark::State& s) { BM_Net(s, n, count, rebuild); })
          ->Unit(benchmark::kMicrosecond)
          ->Iterations(count);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  registerNets();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
