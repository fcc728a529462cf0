// Recording undo for CPT row edits: the time per edit and the bytes per record, on nets of very
// different sizes (the record of a row edit must not grow with the net).
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BenchNets.h"
#include "Quorva.h"
#include "Quorva/Handles.h"

namespace {


const char* const NETS[] = {"asia", "alarm", "Link"};


// The first node with the most parents.
node_bn* mostParents(const nodelist_bn* nodes) {
  node_bn* node = GetNthNode_bn(nodes, 0);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i)
    if (LengthNodeList_bn(GetNodeParents_bn(GetNthNode_bn(nodes, i))) > LengthNodeList_bn(GetNodeParents_bn(node)))
      node = GetNthNode_bn(nodes, i);
  return node;
}

// Edits one CPT row of the net's node with the most parents, 10,000 times per run; the second
// argument turns undo on (1) or leaves it off (0) for the cost of the edit alone.
void BM_UndoCptRowEdit(benchmark::State& state) {
  BenchEnv e;
  net_bn* net = readDataNet(e, NETS[state.range(0)]);
  if (!net) {
    state.SkipWithError("net not read");
    return;
  }
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  node_bn* node = mostParents(nodes);
  std::vector<state_bn> ps(static_cast<size_t>(LengthNodeList_bn(GetNodeParents_bn(node))), 0);
  std::vector<prob_bn> row(static_cast<size_t>(GetNodeNumberStates_bn(node)), 0.0f);
  const int edits = 10000;
  const bool undo = state.range(1) != 0;
  if (undo) SetNetNumUndos_bn(net, edits, -1, nullptr);
  quorva::UndoHistory& history = quorva::asNet(net)->undo;
  double bytesPerRecord = 0;
  for (auto _ : state) {
    for (int i = 0; i < edits; ++i) {
      row.assign(row.size(), 0.0f);
      row[static_cast<size_t>(i) % row.size()] = 1.0f;
      SetNodeProbs_bn(node, ps.data(), row.data());
    }
    state.PauseTiming();
    if (undo) {
      bytesPerRecord = static_cast<double>(history.bytes()) / static_cast<double>(history.undoCount());
      SetNetNumUndos_bn(net, 0, 0, nullptr);
      SetNetNumUndos_bn(net, edits, -1, nullptr);
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * edits);
  state.counters["nodes"] = LengthNodeList_bn(nodes);
  state.counters["bytes_per_record"] = bytesPerRecord;
  state.counters["s_per_edit"] =
      benchmark::Counter(static_cast<double>(state.iterations() * edits), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_UndoCptRowEdit)->ArgsProduct({{0, 1, 2}, {0, 1}})->Unit(benchmark::kMillisecond);

// A structural edit saves what it touches: deleting one link of the node with the most parents
// (its links and table, the parent's children) and undoing it, per net; the record's bytes follow
// that node's table, not the size of the net.
void BM_UndoLinkDelete(benchmark::State& state) {
  BenchEnv e;
  net_bn* net = readDataNet(e, NETS[state.range(0)]);
  if (!net) {
    state.SkipWithError("net not read");
    return;
  }
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  node_bn* node = mostParents(nodes);
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  quorva::UndoHistory& history = quorva::asNet(net)->undo;
  double bytes = 0;
  for (auto _ : state) {
    DeleteLink_bn(0, node);
    bytes = static_cast<double>(history.bytes());
    UndoNetLastOper_vq(net, -1);
  }
  state.counters["nodes"] = LengthNodeList_bn(nodes);
  state.counters["bytes_per_record"] = bytes;
}
BENCHMARK(BM_UndoLinkDelete)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
