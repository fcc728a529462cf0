// quorva compile NET [--report] [--optimize SECONDS] [--json]
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "BeliefFormat.h"
#include "Commands.h"
#include "Engine.h"
#include "Progress.h"
#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {

struct CompileOptions {
  std::string net;
  bool report = false, json = false;
  double optimize = 0;
};

// The estimate lines written to `console`: each one is padded with blanks and ends in "\r" so
// that it overwrites the one before on a terminal; here they are split and trimmed.
std::vector<std::string> estimateLines(std::FILE* console) {
  std::vector<std::string> lines;
  std::rewind(console);
  std::string all;
  char buffer[4096];
  for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, console)) > 0;) all.append(buffer, got);
  size_t at = 0;
  while (at < all.size()) {
    size_t end = all.find_first_of("\r\n", at);
    if (end == std::string::npos) end = all.size();
    std::string line = all.substr(at, end - at);
    size_t first = line.find_first_not_of(' '), last = line.find_last_not_of(' ');
    if (first != std::string::npos) lines.push_back(line.substr(first, last - first + 1));
    at = end + 1;
  }
  return lines;
}

int runCompile(const CompileOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net);
  std::vector<std::string> estimates;
  if (o.optimize > 0) {
    // Live estimates on a terminal, unless the progress bar is drawn there; otherwise gathered
    // and printed one per line after the search.
    const bool live = !o.json && isatty(1) && !isatty(2);
    std::FILE* console = live ? stdout : std::tmpfile();
    if (!console) fail("could not make a temporary file for the order search's estimates");
    bool done = quorva::tool::compileOptimized(net, o.optimize, console);
    progress.clear();
    if (live) {
      std::printf("\n");
    } else {
      estimates = estimateLines(console);
      std::fclose(console);
    }
    if (!done || env.flush()) fail("could not compile net '" + std::string(GetNetName_bn(net)) + "'");
  } else {
    CompileNet_bn(net);
    progress.clear();
    env.check();
  }
  const double size = SizeCompiledNet_bn(net, 0);
  const int cliques = cliqueCount(net);
  const char* text = ReportJunctionTree_bn(net);
  env.check();
  const std::string report = text ? text : "";
  if (o.json) {
    nlohmann::ordered_json out = {{"net", GetNetName_bn(net)}, {"nodes", netNodes(net).size()},
                                  {"cliques", cliques}, {"total_table_size", size}};
    if (o.optimize > 0) out["estimates"] = estimates;
    if (o.report) out["report"] = report;
    std::printf("%s\n", out.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    return 0;
  }
  for (const std::string& line : estimates) std::printf("%s\n", line.c_str());
  std::printf("Net %s: %zu nodes, compiled to %d cliques, total table size (with separators) %.10g\n",
              GetNetName_bn(net), netNodes(net).size(), cliques, size);
  if (o.report) std::printf("\n%s", report.c_str());
  return 0;
}

}  // namespace

void addCompileCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<CompileOptions>();
  CLI::App* c = app.add_subcommand("compile", "Compile a net into a junction tree and print its size");
  c->footer(
      "Prints the number of cliques and the total size of the clique and separator tables.\n"
      "Examples:\n"
      "  quorva compile tests/data/alarm.bif --report\n"
      "  quorva compile tests/data/Pigs.bif --optimize 10");
  addNetArgument(c, o->net);
  c->add_flag("--report", o->report, "Also print the junction tree: each clique, its size and members");
  c->add_option("--optimize", o->optimize,
                "Search for a better elimination order for this many seconds, showing each improvement's estimate")
      ->type_name("SECONDS")
      ->check(CLI::PositiveNumber);
  c->add_flag("--json", o->json, "Print one JSON object (net, nodes, cliques, total_table_size[, estimates][, report])");
  c->callback([o, &chosen] { chosen = [o] { return runCompile(*o); }; });
}

}  // namespace quorva::cli
