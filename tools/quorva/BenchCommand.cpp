// quorva bench NET... [--cases N] [--findings K] [--seed S] [--max-seconds S] [--json]
//
// The inference workload: compile, then N updates, each retracting every finding, entering K
// findings drawn from a forward sample of the net, and reading the beliefs of every node.  Cases
// are sampled before the timing starts.  With several nets each is measured in a process of its
// own, so that its peak memory is its own.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <random>

#include "BeliefFormat.h"
#include "Commands.h"
#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct BenchOptions {
  std::vector<std::string> nets;
  std::string format;
  double optimize = 0;
  int cases = 200, findings = 5;
  long long seed = 1;
  double maxSeconds = 0;
  bool json = false;
};

struct BenchResult {
  std::string net, file;
  size_t nodes = 0;
  int cliques = 0;
  double fileMB = 0, readMs = 0, equationMs = 0, tableSize = 0, compileMs = 0, firstUpdateMs = 0, meanMs = 0, medianMs = 0, peakMB = 0;
  double readMBps() const { return readMs > 0 ? fileMB / (readMs / 1000) : 0; }
  int cases = 0, findings = 0;
};

using Clock = std::chrono::steady_clock;
double msSince(Clock::time_point t0) { return std::chrono::duration<double, std::milli>(Clock::now() - t0).count(); }

double peakMemoryMB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in kilobytes
}

struct Case {
  std::vector<std::pair<node_bn*, state_bn>> findings;
};

// N cases of K findings each: a forward sample of every discrete nature node, of which K nodes
// picked at random give their sampled states.
std::vector<Case> sampleCases(Env& env, net_bn* net, const BenchOptions& o) {
  std::vector<node_bn*> pool;
  for (node_bn* n : netNodes(net))
    if (GetNodeKind_bn(n) == NATURE_NODE && GetNodeNumberStates_bn(n) > 0) pool.push_back(n);
  nodelist_bn* list = NewNodeList2_bn(0, net);
  for (node_bn* n : pool) AddNodeToList_bn(n, list, -1);
  randgen_vq* rand = NewRandomGenerator_vq(std::to_string(o.seed).c_str(), env.get(), nullptr);
  env.check();
  std::mt19937_64 pick(static_cast<uint64_t>(o.seed));
  std::vector<Case> cases(static_cast<size_t>(o.cases));
  std::vector<size_t> order(pool.size());
  const size_t k = std::min(pool.size(), static_cast<size_t>(o.findings));
  for (Case& c : cases) {
    RetractNetFindings_bn(net);
    if (GenerateRandomCase_bn(list, FORWARD_SAMPLING, 0, rand) < 0) {
      env.flush();
      fail("could not sample a case of net '" + netName(net) + "'");
    }
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    for (size_t i = 0; i < k; ++i) {
      std::uniform_int_distribution<size_t> d(i, order.size() - 1);
      std::swap(order[i], order[d(pick)]);
      node_bn* n = pool[order[i]];
      c.findings.push_back({n, GetNodeFinding_bn(n)});
    }
  }
  RetractNetFindings_bn(net);
  DeleteRandomGen_vq(rand);
  DeleteNodeList_bn(list);
  env.check();
  return cases;
}

BenchResult benchOne(const std::string& path, const BenchOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  BenchResult r;
  r.file = path;
  struct stat info {};
  if (stat(path.c_str(), &info) == 0) r.fileMB = static_cast<double>(info.st_size) / (1024.0 * 1024.0);
  Clock::time_point t0 = Clock::now();
  net_bn* net = env.readNet(path, formatNamed(o.format));
  r.readMs = msSince(t0);
  // Every table that comes from an equation, built again.
  t0 = Clock::now();
  buildEquationTables(env, equationNodes(net, false), DEFAULT_EQUATION_SAMPLES);
  r.equationMs = msSince(t0);
  requireUsable(net, path);
  r.net = netName(net);
  std::vector<node_bn*> nodes = netNodes(net);
  r.nodes = nodes.size();
  SetNetAutoUpdate_bn(net, 0);
  t0 = Clock::now();
  compileNet(env, net, path, o.optimize);
  r.compileMs = msSince(t0);
  progress.clear();
  r.tableSize = SizeCompiledNet_bn(net, 0);
  r.cliques = cliqueCount(net);
  t0 = Clock::now();
  for (node_bn* n : nodes) GetNodeBeliefs_bn(n);
  r.firstUpdateMs = msSince(t0);
  env.check();

  std::vector<Case> cases = sampleCases(env, net, o);
  std::vector<double> times;
  times.reserve(cases.size());
  double total = 0;
  for (const Case& c : cases) {
    if (halted()) fail("interrupted");
    t0 = Clock::now();
    RetractNetFindings_bn(net);
    for (const auto& f : c.findings) EnterFinding_bn(f.first, f.second);
    for (node_bn* n : nodes) GetNodeBeliefs_bn(n);
    const double ms = msSince(t0);
    times.push_back(ms);
    total += ms;
    if (o.maxSeconds > 0 && total >= o.maxSeconds * 1000) break;
  }
  env.check();
  r.cases = static_cast<int>(times.size());
  r.findings = cases.empty() ? 0 : static_cast<int>(cases.front().findings.size());
  if (!times.empty()) {
    r.meanMs = total / static_cast<double>(times.size());
    std::sort(times.begin(), times.end());
    const size_t m = times.size() / 2;
    r.medianMs = times.size() % 2 ? times[m] : (times[m - 1] + times[m]) / 2;
  }
  r.peakMB = peakMemoryMB();
  return r;
}

const char* const TABLE_HEAD =
    "| file | net | read (MB/s) | equation tables (ms) | nodes | cliques | table entries | compile (ms) | first update (ms) | cases | findings | "
    "mean update (ms) | median update (ms) | peak memory (MB) |\n"
    "|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n";

void print(const BenchResult& r, bool json) {
  if (json) {
    nlohmann::ordered_json out = {{"net", r.net},           {"file", r.file},
                                  {"file_mb", r.fileMB},    {"read_ms", r.readMs},
                                  {"read_mb_per_s", r.readMBps()}, {"equation_tables_ms", r.equationMs},
                                  {"nodes", r.nodes},       {"cliques", r.cliques},
                                  {"total_table_size", r.tableSize}, {"compile_ms", r.compileMs},
                                  {"first_update_ms", r.firstUpdateMs}, {"cases", r.cases},
                                  {"findings", r.findings}, {"mean_update_ms", r.meanMs},
                                  {"median_update_ms", r.medianMs}, {"peak_memory_mb", r.peakMB}};
    std::printf("%s\n", out.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
  } else {
    const std::string name = r.file.substr(r.file.find_last_of('/') + 1);
    std::printf("| %s | %s | %.4g | %.4g | %zu | %d | %.0f | %.4g | %.4g | %d | %d | %.4g | %.4g | %.1f |\n", name.c_str(),
                r.net.c_str(), r.readMBps(), r.equationMs, r.nodes, r.cliques, r.tableSize, r.compileMs, r.firstUpdateMs, r.cases, r.findings,
                r.meanMs, r.medianMs, r.peakMB);
  }
  std::fflush(stdout);
}

int runBench(const BenchOptions& o) {
  if (!o.json) std::printf("%s", TABLE_HEAD);
  if (o.nets.size() == 1) {
    print(benchOne(o.nets.front(), o), o.json);
    return 0;
  }
  int status = 0;
  for (const std::string& path : o.nets) {
    std::fflush(stdout);
    std::fflush(stderr);
    pid_t child = fork();
    if (child < 0) fail("could not start a process for " + path);
    if (child == 0) {
      int code = 0;
      try {
        print(benchOne(path, o), o.json);
      } catch (const Failure&) {
        code = 1;
      } catch (const std::exception& e) {
        std::fprintf(stderr, "quorva: %s\n", e.what());
        code = 1;
      }
      std::fflush(stdout);
      std::fflush(stderr);
      _exit(code);
    }
    int childStatus = 0;
    if (waitpid(child, &childStatus, 0) < 0 || !WIFEXITED(childStatus) || WEXITSTATUS(childStatus) != 0) status = 1;
    if (halted()) fail("interrupted");
  }
  return status;
}

}  // namespace

void addBenchCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<BenchOptions>();
  CLI::App* c = app.add_subcommand("bench", "Measure compiling and belief updating on nets");
  c->footer(
      "For each net: compile it, then run N updates, each retracting every finding, entering K findings\n"
      "(states of K distinct nodes drawn from one forward sample of the net) and reading the beliefs\n"
      "of every node.  Sampling is done before the timing; the same seed gives the same cases.\n"
      "The first update (building the clique tables from the node tables) is timed on its own;\n"
      "the mean and median are of the later updates.\n"
      "Prints a table (Markdown) with a row per net, or with --json one object per net per line:\n"
      "net, file, file_mb, read_ms, read_mb_per_s, equation_tables_ms (building again every table\n"
      "that comes from an equation, 200 samples per row), nodes, cliques, total_table_size, compile_ms,\n"
      "first_update_ms, cases, findings,\n"
      "mean_update_ms, median_update_ms, peak_memory_mb (ru_maxrss).  With several nets, each is run\n"
      "in a process of its own.\n"
      "Example:\n"
      "  quorva bench tests/data/alarm.bif tests/data/Pigs.bif --cases 500");
  c->add_option("NET", o->nets, "The nets (.dne, .dnet, .bif, .xml, .net or .uai, or another told by its start)")->required();
  c->add_option("--cases", o->cases, "Updates to time per net")->capture_default_str()->check(CLI::Range(1, 10000000));
  c->add_option("--findings", o->findings, "Findings entered per update")->capture_default_str()->check(CLI::NonNegativeNumber);
  c->add_option("--seed", o->seed, "Seed of the sampling and the choice of nodes")->capture_default_str()->check(CLI::NonNegativeNumber);
  c->add_option("--max-seconds", o->maxSeconds,
                "Stop a net's updates once they have taken this long (0: no limit; at least one update runs)")
      ->capture_default_str()
      ->check(CLI::NonNegativeNumber);
  addFormatOption(c, o->format, "--format", "Read the nets as this format, whatever their names");
  addOptimizeOption(c, o->optimize, "Search this many seconds for an elimination order before compiling (timed in compile)");
  c->add_flag("--json", o->json, "Print one JSON object per net");
  c->callback([o, &chosen] { chosen = [o] { return runBench(*o); }; });
}

}  // namespace quorva::cli
