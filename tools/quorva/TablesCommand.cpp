// quorva tables NET -o OUT [--samples N] [--seed S] [--format dnet|bif] [--to dnet|bif]:
// builds again the table of every node that has an equation, and writes the net.
#include <chrono>
#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct TablesOptions {
  std::string net, out, format, to, seed;
  int samples = DEFAULT_EQUATION_SAMPLES;
};

int runTables(const TablesOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  const std::vector<node_bn*> nodes = equationNodes(net, false);
  if (nodes.empty()) fail("no node of the net in '" + o.net + "' has an equation");
  if (!o.seed.empty()) {
    randgen_vq* rand = NewRandomGenerator_vq(o.seed.c_str(), env.get(), nullptr);
    env.check();
    SetNetRandomGen_bn(net, rand, 1);
  }
  const auto t0 = std::chrono::steady_clock::now();
  buildEquationTables(env, nodes, o.samples);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  progress.clear();
  env.writeNet(net, o.out, formatNamed(o.to));
  std::string names;
  for (node_bn* n : nodes) names += (names.empty() ? "" : ", ") + std::string(GetNodeName_bn(n));
  std::printf("Built the tables of %s from their equations in %s s: %s\nWrote %s\n",
              counted(static_cast<long long>(nodes.size()), "node").c_str(), readable(seconds).c_str(), names.c_str(),
              o.out.c_str());
  return 0;
}

}  // namespace

void addTablesCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<TablesOptions>();
  CLI::App* c = app.add_subcommand("tables", "Build the tables of the nodes that have equations, and write the net");
  c->footer(
      "Every node with an equation gets its table built again from it: a probability table for\n"
      "an equation of the form P (Y | ...) = ..., a function table for Y (...) = ..., or a table\n"
      "counting the states that samples give when parents are continuous.  Continuous parents are\n"
      "sampled inside their intervals, --samples times per row.  The same --seed gives the same\n"
      "tables (without it, the engine's default seed is used).\n"
      "Examples:\n"
      "  quorva tables examples/sprinkler_eqn.dne -o sprinkler.dne\n"
      "  quorva tables model.dne -o model.dne --samples 5000 --seed 7");
  addNetArgument(c, o->net);
  c->add_option("-o,--output", o->out, "The file to write the net to (.dne, .dnet, .bif, .xml, .net or .uai, or another with --to)")
      ->required();
  c->add_option("--samples", o->samples, "Samples per table row where sampling is needed")
      ->capture_default_str()
      ->check(CLI::Range(1, 100000000));
  c->add_option("--seed", o->seed, "Seed of the net's random generator (a whole number)")->type_name("S");
  addFormatOption(c, o->format, "--format", "Read NET as this format, whatever its name");
  addFormatOption(c, o->to, "--to", "Write the net in this format, whatever its name");
  c->callback([o, &chosen] { chosen = [o] { return runTables(*o); }; });
}

}  // namespace quorva::cli
