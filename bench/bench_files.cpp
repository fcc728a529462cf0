// Reading speed of the file readers, in bytes of file per second: the nets of tests/data as BIF
// and as DNET (written by the engine first), and a generated case file read case by case.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Quorva.h"

namespace {

const char* const NETS[] = {"asia", "alarm", "insurance", "hailfinder", "Pigs", "Link", "Big"};
constexpr int BIG = 6;

struct Env {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  Env() { InitQuorva2_bn(env, nullptr); }
  ~Env() { CloseQuorva_bn(env, nullptr); }
};

std::string fileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream all;
  all << in.rdbuf();
  return all.str();
}

stream_vq* memoryStream(environ_vq* env, const std::string& text, const char* name) {
  stream_vq* s = NewMemoryStream_vq(name, env, nullptr);
  SetStreamContents_vq(s, text.data(), static_cast<long long>(text.size()), 1);
  return s;
}

net_bn* readNet(environ_vq* env, const std::string& text, const char* name) {
  stream_vq* s = memoryStream(env, text, name);
  net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
  DeleteStream_vq(s);
  return net;
}

std::string streamText(stream_vq* s) {
  long long length = 0;
  const char* bytes = GetStreamContents_vq(s, &length);
  return std::string(bytes, static_cast<size_t>(length));
}

// A generated net about the size of the largest public ones: a chain of 150 nodes of 12 states,
// each after the second with the two before it as parents (1728 probabilities a table), the
// probabilities drawn at random; written as BIF or DNET (about 2.9 MB).  With the environment
// variable QUORVA_BENCH_SAVE set to a folder, the texts are also saved there as big.bif and
// big.dne, for timing whole programs on them.
std::string bigText(Env& e, bool dnet) {
  net_bn* net = NewNet_bn("Big", e.env);
  std::vector<node_bn*> nodes;
  const int STATES = 12;
  std::string names;
  for (int s = 0; s < STATES; ++s) names += (s ? ",s" : "s") + std::to_string(s);
  for (int i = 0; i < 150; ++i) {
    nodes.push_back(NewNode_bn(("N" + std::to_string(i)).c_str(), STATES, net));
    SetNodeStateNames_bn(nodes.back(), names.c_str());
    for (int p = i < 2 ? i : 2; p >= 1; --p) AddLink_bn(nodes[static_cast<size_t>(i - p)], nodes.back());
  }
  unsigned seed = 11;
  for (node_bn* node : nodes) {
    int parents = LengthNodeList_bn(GetNodeParents_bn(node));
    int rows = parents == 0 ? 1 : parents == 1 ? STATES : STATES * STATES;
    for (int r = 0; r < rows; ++r) {
      state_bn at[2] = {static_cast<state_bn>(parents == 2 ? r / STATES : r % STATES), static_cast<state_bn>(r % STATES)};
      float row[STATES];
      float sum = 0;
      for (float& p : row) {
        seed = seed * 1103515245u + 12345u;
        p = static_cast<float>((seed >> 8) % 100000 + 1);
        sum += p;
      }
      for (float& p : row) p /= sum;
      SetNodeProbs_bn(node, at, row);
    }
  }
  stream_vq* out = NewMemoryStream_vq(dnet ? "big.dne" : "big.bif", e.env, nullptr);
  WriteNet_bn(net, out);
  std::string text = streamText(out);
  DeleteStream_vq(out);
  DeleteNet_bn(net);
  if (const char* dir = std::getenv("QUORVA_BENCH_SAVE")) {
    std::ofstream save(std::string(dir) + (dnet ? "/big.dne" : "/big.bif"), std::ios::binary);
    save << text;
  }
  return text;
}

std::string bifText(Env& e, int which) {
  if (which == BIG) return bigText(e, false);
  return fileText(std::string(QUORVA_SOURCE_DIR) + "/tests/data/" + NETS[which] + ".bif");
}

// The resident memory of this process now and at its peak since the last reset, in bytes (Linux;
// 0 where /proc cannot tell).
long long statusBytes(const char* field) {
  std::ifstream in("/proc/self/status");
  std::string line;
  size_t n = std::string(field).size();
  while (std::getline(in, line))
    if (line.compare(0, n, field) == 0) return std::atoll(line.c_str() + n + 1) * 1024;
  return 0;
}
void resetPeak() {
  std::ofstream clear("/proc/self/clear_refs");
  clear << "5";
}

// Reads `text` once and sets counters: the growth of resident memory at its peak while reading,
// and what the net's tables hold (4 bytes an entry), in MB; with the file's size beside them.
void peakCounters(benchmark::State& state, Env& e, const std::string& text, const char* name) {
  resetPeak();
  long long before = statusBytes("VmRSS:");
  net_bn* net = readNet(e.env, text, name);
  long long peak = statusBytes("VmHWM:");
  double tables = 0;
  if (net) {
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      node_bn* node = GetNthNode_bn(nodes, i);
      double rows = 1;
      const nodelist_bn* parents = GetNodeParents_bn(node);
      for (int k = 0; k < LengthNodeList_bn(parents); ++k) rows *= GetNodeNumberStates_bn(GetNthNode_bn(parents, k));
      if (GetNodeProbs_bn(node, nullptr)) tables += rows * GetNodeNumberStates_bn(node) * 4;
    }
    DeleteNet_bn(net);
  }
  state.counters["file_MB"] = static_cast<double>(text.size()) / 1e6;
  state.counters["peak_MB"] = before && peak ? static_cast<double>(peak - before) / 1e6 : 0;
  state.counters["tables_MB"] = tables / 1e6;
}

// Reads `text` as a net named `name` each iteration; fails the run when a read fails.
void readEach(benchmark::State& state, Env& e, const std::string& text, const char* name) {
  for (auto _ : state) {
    net_bn* net = readNet(e.env, text, name);
    if (!net) {
      state.SkipWithError("the net was not read");
      return;
    }
    state.PauseTiming();  // deleting the net is not reading it
    DeleteNet_bn(net);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
  state.SetLabel(NETS[state.range(0)]);
}

void BM_ReadBif(benchmark::State& state) {
  Env e;
  std::string text = bifText(e, static_cast<int>(state.range(0)));
  peakCounters(state, e, text, "net.bif");
  readEach(state, e, text, "net.bif");
}
BENCHMARK(BM_ReadBif)->DenseRange(0, 6)->Unit(benchmark::kMillisecond);

void BM_ReadDnet(benchmark::State& state) {
  Env e;
  std::string text;
  if (state.range(0) == BIG) {
    text = bigText(e, true);
  } else {
    net_bn* net = readNet(e.env, bifText(e, static_cast<int>(state.range(0))), "net.bif");
    stream_vq* out = NewMemoryStream_vq("net.dne", e.env, nullptr);
    WriteNet_bn(net, out);
    text = streamText(out);
    DeleteStream_vq(out);
    DeleteNet_bn(net);
  }
  peakCounters(state, e, text, "net.dne");
  readEach(state, e, text, "net.dne");
}
BENCHMARK(BM_ReadDnet)->DenseRange(0, 6)->Unit(benchmark::kMillisecond);

// A case file over every node of alarm, with state names, some missing values, and as many
// cases as the argument; read whole, case after case.
void BM_ReadCases(benchmark::State& state) {
  Env e;
  net_bn* net = readNet(e.env, bifText(e, 1), "net.bif");
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  int count = LengthNodeList_bn(nodes);
  std::string text;
  for (int i = 0; i < count; ++i) text += std::string(i ? "\t" : "") + GetNodeName_bn(GetNthNode_bn(nodes, i));
  text += "\r\n";
  unsigned seed = 7;
  for (long c = 0; c < state.range(0); ++c) {
    for (int i = 0; i < count; ++i) {
      seed = seed * 1103515245u + 12345u;
      node_bn* node = GetNthNode_bn(nodes, i);
      unsigned pick = (seed >> 16) % static_cast<unsigned>(GetNodeNumberStates_bn(node) + 1);
      text += i ? "\t" : "";
      text += pick == 0 ? "*" : GetNodeStateName_bn(node, static_cast<state_bn>(pick - 1));
    }
    text += "\r\n";
  }
  stream_vq* file = memoryStream(e.env, text, "cases.cas");
  for (auto _ : state) {
    caseposn_bn posn = FIRST_CASE;
    long read = 0;
    for (;;) {
      ReadNetFindings_bn(&posn, file, nodes, nullptr, nullptr);
      if (posn == NO_MORE_CASES) break;
      ++read;
      posn = NEXT_CASE;
    }
    if (read != state.range(0)) {
      state.SkipWithError("not every case was read");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
  DeleteStream_vq(file);
  DeleteNet_bn(net);
}
BENCHMARK(BM_ReadCases)->Arg(20000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
