// The server's work behind a click in `quorva serve`: entering (or changing) a finding through the
// JSON interface and answering the beliefs of every node, on Pigs (441 nodes).  The target is
// under 50 ms a click; HTTP itself adds well under a millisecond on 127.0.0.1.
#include <benchmark/benchmark.h>

#include <string>

#include "Engine.h"
#include "ServeSession.h"

namespace {

using quorva::cli::Env;
using quorva::cli::NetFormat;
using quorva::cli::ServeReply;
using quorva::cli::ServeSession;

void ServeClickOnPigs(benchmark::State& state) {
  const std::string path = std::string(QUORVA_SOURCE_DIR) + "/tests/data/Pigs.bif";
  Env env;
  net_bn* net = env.readNet(path, NetFormat::Bif);
  quorva::cli::compileNet(env, net, path, 0);
  ServeSession session(env, net, path, NetFormat::Bif, false);
  session.beliefs();  // the first update, outside the timing
  const std::string node = GetNodeName_bn(GetNthNode_bn(GetNetNodes_bn(net), 200));
  int state_ = 0;
  size_t bytes = 0;
  for (auto _ : state) {
    const ServeReply entered = session.enter("{\"" + node + "\": " + std::to_string(state_) + "}");
    const ServeReply beliefs = session.beliefs();
    if (entered.status != 200 || beliefs.status != 200) state.SkipWithError(entered.body.c_str());
    bytes = beliefs.body.size();
    state_ = (state_ + 1) % GetNodeNumberStates_bn(GetNodeNamed_bn(node.c_str(), net));
  }
  state.counters["beliefs_json_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(ServeClickOnPigs)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
