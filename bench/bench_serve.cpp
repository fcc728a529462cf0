// quorva serve on Pigs (441 nodes): what a click on a state costs.  Each iteration enters a finding
// at another node (retracting the one before), POST /api/findings, then reads the beliefs of every
// node, GET /api/beliefs, over HTTP on 127.0.0.1.  The real time is the round trip as the page sees
// it; the counters give the server's own time for the two requests (its Server-Timing header).
#include <benchmark/benchmark.h>
#include <httplib.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

#include "../tests/tools/ServeProcess.h"

namespace {

double serverMs(const httplib::Result& res) {
  const std::string timing = res->get_header_value("Server-Timing");
  const size_t at = timing.find("dur=");
  return at == std::string::npos ? 0 : std::atof(timing.c_str() + at + 4);
}

void BM_ServeFindingClick(benchmark::State& state) {
  ServeProcess server(std::string(QUORVA_SOURCE_DIR) + "/tests/data/" + "Pigs.bif");
  if (server.port() <= 0) {
    state.SkipWithError(("the server did not start: " + server.output()).c_str());
    return;
  }
  httplib::Client client("127.0.0.1", server.port());
  client.set_read_timeout(60);
  auto net = client.Get("/api/net");
  if (!net || net->status != 200) {
    state.SkipWithError("no net from the server");
    return;
  }
  std::vector<std::string> names;
  for (const auto& node : nlohmann::json::parse(net->body)["nodes"]) names.push_back(node["name"]);
  double postMs = 0, getMs = 0, worstMs = 0;
  size_t i = 0;
  std::string previous;
  for (auto _ : state) {
    const std::string& name = names[(i++ * 37) % names.size()];
    nlohmann::json body = {{name, 0}};
    if (!previous.empty() && previous != name) body[previous] = nullptr;
    auto posted = client.Post("/api/findings", body.dump(), "application/json");
    auto read = client.Get("/api/beliefs");
    if (!posted || posted->status != 200 || !read || read->status != 200) {
      state.SkipWithError("a request was refused");
      break;
    }
    previous = name;
    const double post = serverMs(posted), get = serverMs(read);
    postMs += post;
    getMs += get;
    worstMs = std::max(worstMs, post + get);
  }
  const double n = static_cast<double>(std::max<size_t>(i, 1));
  state.counters["server_post_ms"] = postMs / n;
  state.counters["server_get_ms"] = getMs / n;
  state.counters["server_click_ms"] = (postMs + getMs) / n;
  state.counters["server_worst_click_ms"] = worstMs;
}
BENCHMARK(BM_ServeFindingClick)->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace

BENCHMARK_MAIN();
