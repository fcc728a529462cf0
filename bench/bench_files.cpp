// Reading speed of the file readers, in bytes of file per second: the nets of tests/data as BIF
// and as DNET (written by the engine first), and a generated case file read case by case.
#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>

#include "Quorva.h"

namespace {

const char* const NETS[] = {"asia", "alarm", "insurance", "hailfinder", "Pigs", "Link"};

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

std::string bifText(int which) {
  return fileText(std::string(QUORVA_SOURCE_DIR) + "/tests/data/" + NETS[which] + ".bif");
}

// Reads `text` as a net named `name` each iteration; fails the run when a read fails.
void readEach(benchmark::State& state, Env& e, const std::string& text, const char* name) {
  for (auto _ : state) {
    net_bn* net = readNet(e.env, text, name);
    if (!net) {
      state.SkipWithError("the net was not read");
      return;
    }
    DeleteNet_bn(net);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
  state.SetLabel(NETS[state.range(0)]);
}

void BM_ReadBif(benchmark::State& state) {
  Env e;
  readEach(state, e, bifText(static_cast<int>(state.range(0))), "net.bif");
}
BENCHMARK(BM_ReadBif)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

void BM_ReadDnet(benchmark::State& state) {
  Env e;
  net_bn* net = readNet(e.env, bifText(static_cast<int>(state.range(0))), "net.bif");
  stream_vq* out = NewMemoryStream_vq("net.dne", e.env, nullptr);
  WriteNet_bn(net, out);
  long long length = 0;
  const char* bytes = GetStreamContents_vq(out, &length);
  std::string text(bytes, static_cast<size_t>(length));
  DeleteStream_vq(out);
  DeleteNet_bn(net);
  readEach(state, e, text, "net.dne");
}
BENCHMARK(BM_ReadDnet)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

// A case file over every node of alarm, with state names, some missing values, and as many
// cases as the argument; read whole, case after case.
void BM_ReadCases(benchmark::State& state) {
  Env e;
  net_bn* net = readNet(e.env, bifText(1), "net.bif");
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
