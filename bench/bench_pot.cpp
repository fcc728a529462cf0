// The two-table kernels on large tables: multiply-in, divide, marginalise and copy with
// reordering, next to a plain memcpy of the same bytes as the machine's bandwidth baseline.
//
// Every benchmark takes two arguments: the number of nodes and their state count (2, 3 or 4), so
// the big table has states^nodes entries.  The separator (the smaller table) is over a third of
// the nodes: the leading ones ("Prefix"), the trailing ones ("Suffix") or every third one from
// the second ("Scattered").
//
// Bytes processed: the size in bytes of the larger table touched (4 bytes per entry of the big
// table), counted once per iteration, for every kernel alike; the memcpy baseline copies that
// many bytes.  Ratios to the memcpy figure of the same size compare like with like.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <cstdint>
#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Tables/PotKernels.h"
#include "BN/Tables/PotTable.h"
#include "Basic/EnvCore.h"

using namespace quorva;

namespace {

enum class Part { Prefix, Suffix, Scattered };

// A net of `count` nodes of `states` states, and tables over them.
struct Fixture {
  EnvCore core;
  std::unique_ptr<Bnet> net;
  std::vector<Bnode*> all;

  Fixture(int count, int states) {
    core.state = ENV_USABLE_STATE;
    net = std::make_unique<Bnet>(&core, "B");
    for (int i = 0; i < count; ++i) all.push_back(&net->addNode("X" + std::to_string(i), states));
  }

  std::vector<Bnode*> part(Part p) const {
    size_t n = all.size(), m = std::max<size_t>(1, n / 3);
    std::vector<Bnode*> out;
    for (size_t i = 0; i < n; ++i) {
      bool in = p == Part::Prefix ? i < m : p == Part::Suffix ? i >= n - m : i % 3 == 1;
      if (in) out.push_back(all[i]);
    }
    return out;
  }

  // A table over `nodes`: random entries in [0.5, 1.5), or all `fill` when it is given.
  PotTable table(std::vector<Bnode*> nodes, float fill = -1) {
    PotTable t(&core, std::move(nodes));
    t.allocate();
    if (fill >= 0) {
      std::fill(t.data(), t.data() + t.size(), fill);
    } else {
      uint32_t x = 12345;
      for (size_t i = 0; i < t.size(); ++i) {
        x = x * 1664525u + 1013904223u;
        t.data()[i] = 0.5f + static_cast<float>(x >> 8) / 16777216.0f;
      }
    }
    return t;
  }
};

void report(benchmark::State& state, size_t entries) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(entries * sizeof(float)));
  state.counters["entries"] = static_cast<double>(entries);
}

// dst (all nodes) *= src (a part); the source is all ones so repeated runs keep the values.
void BM_MultiplyIn(benchmark::State& state, Part p) {
  Fixture f(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  PotTable dst = f.table(f.all), src = f.table(f.part(p), 1.0f);
  for (auto _ : state) {
    multiplyIn(dst, src);
    benchmark::ClobberMemory();
  }
  report(state, dst.size());
}

void BM_DivideBy(benchmark::State& state, Part p) {
  Fixture f(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  PotTable dst = f.table(f.all), src = f.table(f.part(p), 1.0f);
  for (auto _ : state) {
    divideBy(dst, src);
    benchmark::ClobberMemory();
  }
  report(state, dst.size());
}

// dst (a part) := the sum of src (all nodes) over the other nodes.
void BM_Marginalize(benchmark::State& state, Part p) {
  Fixture f(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  PotTable src = f.table(f.all), dst = f.table(f.part(p), 0.0f);
  for (auto _ : state) {
    marginalizeInto(dst, src);
    benchmark::ClobberMemory();
  }
  report(state, src.size());
}

// dst over the nodes in reverse order := src.
void BM_CopyReversed(benchmark::State& state) {
  Fixture f(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  PotTable src = f.table(f.all), dst = f.table({f.all.rbegin(), f.all.rend()}, 0.0f);
  for (auto _ : state) {
    copyFrom(dst, src, true);
    benchmark::ClobberMemory();
  }
  report(state, src.size());
}

// dst over the nodes with the last two moved to the front := src.
void BM_CopyRotated(benchmark::State& state) {
  Fixture f(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  std::vector<Bnode*> rotated(f.all.end() - 2, f.all.end());
  rotated.insert(rotated.end(), f.all.begin(), f.all.end() - 2);
  PotTable src = f.table(f.all), dst = f.table(rotated, 0.0f);
  for (auto _ : state) {
    copyFrom(dst, src, true);
    benchmark::ClobberMemory();
  }
  report(state, src.size());
}

// The bandwidth baseline: memcpy of as many bytes as the big table holds.
void BM_Memcpy(benchmark::State& state) {
  size_t entries = static_cast<size_t>(std::llround(std::pow(state.range(1), state.range(0))));
  std::vector<float> a(entries, 1.0f), b(entries, 0.0f);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), entries * sizeof(float));
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
  report(state, entries);
}

// {nodes, states}: 2^10 .. 2^24 entries of binary nodes, and 3- and 4-state nodes at about 2^20
// and 2^24.
void sizes(benchmark::internal::Benchmark* b) {
  for (int k : {10, 14, 18, 20, 22, 24}) b->Args({k, 2});
  b->Args({13, 3});  // 1.59M entries
  b->Args({15, 3});  // 14.3M entries
  b->Args({10, 4});  // 2^20
  b->Args({12, 4});  // 2^24
  b->ArgNames({"nodes", "states"});
  b->MinTime(0.1);
  b->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK(BM_Memcpy)->Apply(sizes);
BENCHMARK_CAPTURE(BM_MultiplyIn, Prefix, Part::Prefix)->Apply(sizes);
BENCHMARK_CAPTURE(BM_MultiplyIn, Suffix, Part::Suffix)->Apply(sizes);
BENCHMARK_CAPTURE(BM_MultiplyIn, Scattered, Part::Scattered)->Apply(sizes);
BENCHMARK_CAPTURE(BM_DivideBy, Prefix, Part::Prefix)->Apply(sizes);
BENCHMARK_CAPTURE(BM_DivideBy, Suffix, Part::Suffix)->Apply(sizes);
BENCHMARK_CAPTURE(BM_DivideBy, Scattered, Part::Scattered)->Apply(sizes);
BENCHMARK_CAPTURE(BM_Marginalize, Prefix, Part::Prefix)->Apply(sizes);
BENCHMARK_CAPTURE(BM_Marginalize, Suffix, Part::Suffix)->Apply(sizes);
BENCHMARK_CAPTURE(BM_Marginalize, Scattered, Part::Scattered)->Apply(sizes);
BENCHMARK(BM_CopyReversed)->Apply(sizes);
BENCHMARK(BM_CopyRotated)->Apply(sizes);

BENCHMARK_MAIN();
