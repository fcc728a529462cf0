// Learning from cases: counting learning streaming a case file, and one EM iteration over cases
// with missing values on one and two threads.  The case files are drawn from alarm inside the
// benchmark (GenerateRandomCase_bn, WriteNetFindings_bn) into temporary files.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>

#include "Quorva.h"

namespace {

const std::string ALARM = std::string(QUORVA_SOURCE_DIR) + "/tests/data/alarm.bif";

struct Env {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  Env() { InitQuorva2_bn(env, nullptr); }
  ~Env() { CloseQuorva_bn(env, nullptr); }
};

net_bn* readAlarm(environ_vq* env) {
  stream_vq* s = NewFileStream_vq(ALARM.c_str(), env, nullptr);
  net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
  DeleteStream_vq(s);
  return net;
}

// A temporary file of `count` alarm cases, each value hidden with probability `missing`.
std::string drawCases(environ_vq* env, net_bn* net, int count, double missing) {
  char path[] = "/tmp/quorva_bench_cases_XXXXXX";
  int fd = mkstemp(path);
  if (fd >= 0) close(fd);
  std::remove(path);
  stream_vq* out = NewFileStream_vq(path, env, nullptr);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  randgen_vq* rand = NewRandomGenerator_vq("17", env, nullptr);
  std::mt19937 hide(17);
  std::uniform_real_distribution<double> u(0, 1);
  for (int c = 0; c < count; ++c) {
    RetractNetFindings_bn(net);
    GenerateRandomCase_bn(nodes, FORWARD_SAMPLING, 0, rand);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i)
      if (u(hide) < missing) RetractNodeFindings_bn(GetNthNode_bn(nodes, i));
    WriteNetFindings_bn(nodes, out, -1, 1);
  }
  RetractNetFindings_bn(net);
  DeleteRandomGen_vq(rand);
  DeleteStream_vq(out);
  return path;
}

// Counting learning of every node of alarm from 50,000 complete case lines; items are lines.
void BM_CountingCaseFile(benchmark::State& state) {
  Env e;
  net_bn* net = readAlarm(e.env);
  const int lines = 50000;
  std::string path = drawCases(e.env, net, lines, 0.0);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) DeleteNodeTables_bn(GetNthNode_bn(nodes, i));
  stream_vq* file = NewFileStream_vq(path.c_str(), e.env, nullptr);
  for (auto _ : state) ReviseCPTsByCaseFile_bn(file, nodes, 0, 1.0);
  state.SetItemsProcessed(state.iterations() * lines);
  ClearErrors_vq(e.env, INTERNAL_ERR);
  std::remove(path.c_str());
}
BENCHMARK(BM_CountingCaseFile)->Unit(benchmark::kMillisecond);

// EM over 10,000 alarm cases with 30% of the values missing, on 1 and 2 threads (first
// argument), for 1 and 6 iterations (second): one run also reads the file and compiles a copy
// of the net per thread, so the cost of an iteration is (time at 6 - time at 1) / 5.
void BM_EmIteration(benchmark::State& state) {
  Env e;
  net_bn* net = readAlarm(e.env);
  const int cases = 10000;
  std::string path = drawCases(e.env, net, cases, 0.3);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) DeleteNodeTables_bn(GetNthNode_bn(nodes, i));
  caseset_cs* set = NewCaseset_cs("bench", e.env);
  AddFileToCaseset_cs(set, NewFileStream_vq(path.c_str(), e.env, nullptr), 1, nullptr);
  learner_bn* learner = NewLearner_bn(EM_LEARNING, nullptr, e.env);
  SetLearnerMaxIters_bn(learner, static_cast<int>(state.range(1)));
  SetLearnerMaxTol_bn(learner, 1e-12);
  SetLearnerThreads_bn(learner, static_cast<int>(state.range(0)));
  for (auto _ : state) LearnCPTs_bn(learner, nodes, set, 1.0);
  state.SetItemsProcessed(state.iterations() * cases);
  ClearErrors_vq(e.env, INTERNAL_ERR);
  std::remove(path.c_str());
}
BENCHMARK(BM_EmIteration)->ArgsProduct({{1, 2}, {1, 6}})->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
