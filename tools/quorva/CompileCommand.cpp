// quorva compile NET [--report] [--optimize SECONDS] [--json]
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "BeliefFormat.h"
#include "Commands.h"
#include "Engine.h"
#include "Progress.h"
#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {

struct CompileOptions {
  std::string net, format;
  bool report = false, json = false;
  double optimize = 0;
};

// A line with its numbers of more than 15 integer digits written as "1.2e+308".
std::string tidyNumbers(const std::string& line) {
  std::string out;
  for (size_t at = 0; at < line.size();) {
    if (!std::isdigit(static_cast<unsigned char>(line[at]))) {
      out += line[at++];
      continue;
    }
    size_t end = at;
    while (end < line.size() && std::isdigit(static_cast<unsigned char>(line[end]))) ++end;
    const size_t digits = end - at;
    if (end < line.size() && line[end] == '.')
      for (++end; end < line.size() && std::isdigit(static_cast<unsigned char>(line[end]));) ++end;
    const std::string number = line.substr(at, end - at);
    out += digits > 15 ? readable(std::strtod(number.c_str(), nullptr)) : number;
    at = end;
  }
  return out;
}

// An estimate line ("Max Required:  Memory = 3.3 MB  Time = 137 ms ...") as numbers: bytes and
// seconds (the time only when the line gives one).
nlohmann::ordered_json estimateNumbers(const std::string& line) {
  nlohmann::ordered_json out = nlohmann::ordered_json::object();
  static const std::pair<const char*, double> units[] = {
      {"bytes", 1}, {"KB", 1024.0}, {"MB", 1024.0 * 1024}, {"GB", 1024.0 * 1024 * 1024},
      {"TB", 1024.0 * 1024 * 1024 * 1024}, {"PB", 1024.0 * 1024 * 1024 * 1024 * 1024},
      {"ms", 0.001}, {"sec", 1}, {"hour", 3600}};
  auto quantity = [&](const char* key, const char* field) {
    const size_t at = line.find(key);
    if (at == std::string::npos) return;
    char* end = nullptr;
    const char* start = line.c_str() + at + std::strlen(key);
    const double x = std::strtod(start, &end);
    if (end == start) return;
    while (*end == ' ') ++end;
    for (const auto& [unit, factor] : units)
      if (std::strncmp(end, unit, std::strlen(unit)) == 0) {
        out[field] = x * factor;
        return;
      }
  };
  quantity("Memory = ", "memory_bytes");
  quantity("Time = ", "seconds");
  return out;
}

// The junction tree as data: per clique its members, which of them it is home to, its size,
// the clique it is joined to (null for a root) and the separator between them.
nlohmann::ordered_json junctionTreeJson(net_bn* net) {
  std::vector<quorva::tool::CliqueInfo> cliques;
  quorva::tool::junctionTree(net, cliques);
  nlohmann::ordered_json out = nlohmann::ordered_json::array();
  for (size_t i = 0; i < cliques.size(); ++i) {
    const quorva::tool::CliqueInfo& c = cliques[i];
    nlohmann::ordered_json homes = nlohmann::ordered_json::array();
    for (size_t m = 0; m < c.members.size(); ++m)
      if (c.home[m]) homes.push_back(c.members[m]);
    nlohmann::ordered_json clique = {{"clique", i}, {"size", c.size}, {"members", c.members}, {"home_of", homes}};
    if (c.joinedTo < 0) {
      clique["joined_to"] = nullptr;
    } else {
      clique["joined_to"] = c.joinedTo;
      clique["separator"] = c.separator;
      clique["separator_size"] = c.separatorSize;
    }
    out.push_back(clique);
  }
  return out;
}

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
    if (first != std::string::npos) lines.push_back(tidyNumbers(line.substr(first, last - first + 1)));
    at = end + 1;
  }
  return lines;
}

int runCompile(const CompileOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  requireNodes(net, o.net);
  buildMissingTables(env, net, true);
  std::vector<std::string> estimates;
  if (o.optimize > 0) {
    // Live estimates on a terminal, unless the progress bar is drawn there; otherwise gathered
    // and printed one per line after the search.
    const bool live = !o.json && isatty(1) && !isatty(2);
    std::FILE* console = live ? stdout : std::tmpfile();
    if (!console) fail("could not make a temporary file for the order search's estimates");
    try {
      compileNet(env, net, o.net, o.optimize, console);
    } catch (...) {
      if (!live) std::fclose(console);
      throw;
    }
    progress.clear();
    if (live) {
      std::printf("\n");
    } else {
      estimates = estimateLines(console);
      std::fclose(console);
    }
  } else {
    compileNet(env, net, o.net, 0);
    progress.clear();
  }
  const double size = SizeCompiledNet_bn(net, 0);
  const int cliques = cliqueCount(net);
  const size_t nodes = netNodes(net).size();
  env.check();
  if (o.json) {
    nlohmann::ordered_json out = {{"net", netName(net)}, {"nodes", nodes}, {"cliques", cliques},
                                  {"total_table_size", size}};
    if (o.optimize > 0) {
      nlohmann::ordered_json found = nlohmann::ordered_json::array();
      for (const std::string& line : estimates) found.push_back(estimateNumbers(line));
      out["estimates"] = found;
    }
    if (o.report) out["junction_tree"] = junctionTreeJson(net);
    std::printf("%s\n", out.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    return 0;
  }
  for (const std::string& line : estimates) std::printf("%s\n", line.c_str());
  std::printf("Net %s: %s, compiled to %s, total table size (with separators) %s\n", netName(net).c_str(),
              counted(static_cast<long long>(nodes), "node").c_str(), counted(cliques, "clique").c_str(),
              size < 1e15 ? std::to_string(static_cast<long long>(size)).c_str() : readable(size).c_str());
  if (o.report) {
    const char* text = ReportJunctionTree_bn(net);
    env.check();
    std::printf("\n%s", tidyNumbers(text ? text : "").c_str());
  }
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
  addOptimizeOption(c, o->optimize,
                    "Search for a better elimination order for this many seconds, showing each improvement's "
                    "estimate (Ctrl-C ends the search and compiles with the best order found so far)");
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->add_flag("--json", o->json,
              "Print one JSON object: net, nodes, cliques, total_table_size, with --optimize \"estimates\" "
              "[{memory_bytes, seconds}...], with --report \"junction_tree\" [{clique, size, members, home_of, "
              "joined_to, separator, separator_size}...]");
  c->callback([o, &chosen] { chosen = [o] { return runCompile(*o); }; });
}

}  // namespace quorva::cli
