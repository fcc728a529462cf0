// Reading speed of every net reader, in bytes of file per second: Link and Pigs of tests/data
// written into memory as DNET, BIF, XMLBIF, Hugin NET and UAI by the engine, then read back.
// Besides the mean over all reads, fastest_MB/s gives the fastest single read (MiB per second, as
// bytes_per_second counts), the figure least disturbed by other work on a shared machine.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "BenchNets.h"

namespace {

const char* const NETS[] = {"Pigs", "Link"};
const int FORMATS[] = {DNET_FORMAT, BIF_FORMAT, XMLBIF_FORMAT, HUGIN_NET_FORMAT, UAI_FORMAT};
const char* const FORMAT_NAMES[] = {"", "DNET", "BIF", "XMLBIF", "HuginNET", "UAI"};

std::string streamText(stream_vq* s) {
  long long length = 0;
  const char* bytes = GetStreamContents_vq(s, &length);
  return std::string(bytes, static_cast<size_t>(length));
}

// The net of tests/data written in `format`.
std::string netText(BenchEnv& e, const char* name, int format) {
  net_bn* net = readDataNet(e, name);
  stream_vq* s = NewMemoryStream_vq("bench", e.env, nullptr);
  WriteNetFormat_bn(net, s, format);
  std::string text = streamText(s);
  DeleteStream_vq(s);
  DeleteNet_bn(net);
  return text;
}

void BM_ReadFormat(benchmark::State& state) {
  const char* name = NETS[state.range(0)];
  const int format = static_cast<int>(state.range(1));
  BenchEnv e;
  const std::string text = netText(e, name, format);
  stream_vq* s = NewMemoryStream_vq("bench", e.env, nullptr);
  SetStreamContents_vq(s, text.data(), static_cast<long long>(text.size()), 1);
  double fastest = 1e30;  // seconds: the fastest single read, the least disturbed by other work
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    net_bn* net = ReadNetFormat_bn(s, format, NO_VISUAL_INFO);
    fastest = std::min(fastest, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    if (!net) {
      state.SkipWithError("the net was not read");
      break;
    }
    state.PauseTiming();  // deleting the net is not reading it
    DeleteNet_bn(net);
    state.ResumeTiming();
  }
  DeleteStream_vq(s);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
  state.counters["fastest_MB/s"] = static_cast<double>(text.size()) / (1 << 20) / fastest;
  state.SetLabel(std::string(name) + " " + FORMAT_NAMES[format] + " " + std::to_string(text.size() / 1024) + " KB");
}

void formatArgs(benchmark::internal::Benchmark* b) {
  for (int n = 0; n < 2; ++n)
    for (int f : FORMATS) b->Args({n, f});
}

}  // namespace

BENCHMARK(BM_ReadFormat)->Apply(formatArgs)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
