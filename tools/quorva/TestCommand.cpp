// quorva test NET CASES --nodes A,B [--json] [--threads N]
#include <cstdio>
#include <memory>
#include <thread>

#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct TestOptions {
  std::string net, cases, format;
  std::vector<std::string> nodes;
  bool json = false;
  int threads = 0;
};

struct NodeResult {
  node_bn* node;
  double errorRate, logLoss, quadLoss;
  std::vector<std::vector<double>> confusion;  // [actual][predicted]
};

std::string textReport(const net_bn* net, const std::vector<NodeResult>& results) {
  std::string out = "Net " + netName(net) + "\n";
  for (const NodeResult& r : results) {
    out += "\nNode " + std::string(GetNodeName_bn(r.node)) + ": error rate " + readable(r.errorRate) +
           ", logarithmic loss " + readable(r.logLoss) + ", quadratic loss " + readable(r.quadLoss) +
           "\nConfusion (rows actual, columns predicted):\n";
    int states = GetNodeNumberStates_bn(r.node);
    for (int p = 0; p < states; ++p) out += "\t" + std::string(GetNodeStateName_bn(r.node, p));
    out += "\n";
    for (int a = 0; a < states; ++a) {
      out += GetNodeStateName_bn(r.node, a);
      for (int p = 0; p < states; ++p) out += "\t" + readable(r.confusion[static_cast<size_t>(a)][static_cast<size_t>(p)]);
      out += "\n";
    }
  }
  return out;
}

std::string jsonReport(const net_bn* net, const std::vector<NodeResult>& results) {
  nlohmann::ordered_json j;
  j["net"] = netName(net);
  j["nodes"] = nlohmann::ordered_json::array();
  for (const NodeResult& r : results) {
    nlohmann::ordered_json n;
    n["name"] = GetNodeName_bn(r.node);
    std::vector<std::string> states;
    for (int s = 0; s < GetNodeNumberStates_bn(r.node); ++s) states.emplace_back(GetNodeStateName_bn(r.node, s));
    n["states"] = states;
    n["error_rate"] = r.errorRate;
    n["log_loss"] = r.logLoss;
    n["quadratic_loss"] = r.quadLoss;
    n["confusion"] = r.confusion;
    j["nodes"].push_back(n);
  }
  return j.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

int runTest(const TestOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  requireUsable(net, o.net);
  std::vector<node_bn*> tested = selectNodes(net, o.nodes);
  nodelist_bn* list = NewNodeList2_bn(0, net);
  for (node_bn* n : tested) AddNodeToList_bn(n, list, -1);
  stream_vq* file = NewFileStream_vq(o.cases.c_str(), env.get(), nullptr);
  caseset_cs* cases = NewCaseset_cs("cases", env.get());
  AddFileToCaseset_cs(cases, file, 1, nullptr);
  env.check();
  tester_bn* tester = NewNetTester_bn(list, nullptr, -1);
  int threads = o.threads > 0 ? o.threads : static_cast<int>(std::thread::hardware_concurrency());
  SetNetTesterThreads_bn(tester, threads < 1 ? 1 : threads);
  TestWithCaseset_bn(tester, cases);
  progress.clear();
  env.check();
  std::vector<NodeResult> results;
  for (node_bn* n : tested) {
    NodeResult r{n, GetTestErrorRate_bn(tester, n), GetTestLogLoss_bn(tester, n), GetTestQuadraticLoss_bn(tester, n), {}};
    int states = GetNodeNumberStates_bn(n);
    for (int a = 0; a < states; ++a) {
      r.confusion.emplace_back();
      for (int p = 0; p < states; ++p) r.confusion.back().push_back(GetTestConfusion_bn(tester, n, p, a));
    }
    results.push_back(std::move(r));
  }
  env.check();
  std::string out = o.json ? jsonReport(net, results) : textReport(net, results);
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace

void addTestCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<TestOptions>();
  CLI::App* c = app.add_subcommand("test", "Score how well a net predicts chosen nodes over the cases of a case file");
  c->footer(
      "For each case the --nodes are hidden and every other value is entered; each hidden node's\n"
      "beliefs are scored against its value in the case: error rate (its most probable state is\n"
      "wrong), logarithmic loss (mean -ln belief in the actual state), quadratic (Brier) loss, and\n"
      "the confusion matrix (rows the actual state, columns the predicted one).\n"
      "With --json, one object: {\"net\": NAME, \"nodes\": [{\"name\": N, \"states\": [...],\n"
      "\"error_rate\": E, \"log_loss\": L, \"quadratic_loss\": Q, \"confusion\": [[...], ...]}, ...]}.\n"
      "Example:\n"
      "  quorva test examples/asia.dne cases.txt --nodes lung_cancer --json");
  addNetArgument(c, o->net);
  c->add_option("CASEFILE", o->cases, "The case file")->required();
  addNodesOption(c, o->nodes)->description("The nodes to test")->required();
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->add_flag("--json", o->json, "Print one JSON object instead of tables");
  c->add_option("--threads", o->threads,
                "Threads sharing the cases, each with its own compiled copy of the net (default: the number of cores)")
      ->check(CLI::Range(1, 64));
  c->callback([o, &chosen] { chosen = [o] { return runTest(*o); }; });
}

}  // namespace quorva::cli
