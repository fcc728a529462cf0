// quorva sample NET -n N [--seed S] [-f NODE=STATE]... [--threads T] -o CASES
#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Findings.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct SampleOptions {
  std::string net, out, format;
  std::vector<std::string> states;
  long long cases = 0;
  long long seed = 0;
  int threads = 1;
};

int runSample(const SampleOptions& o) {
  Env env;
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  buildMissingTables(env, net, true);
  requireUsable(net, o.net);
  std::vector<FindingArg> findings;
  for (const std::string& text : o.states) {
    FindingArg f;
    parseFindingArg(FindingArg::State, text, &f);
    findings.push_back(std::move(f));
  }
  enterFindings(env, net, findings);
  stream_vq* stream = NewFileStream_vq(o.out.c_str(), env.get(), nullptr);
  env.check();
  const long long written = WriteSampledCases_bn(net, stream, o.cases, o.seed, o.threads, nullptr);
  DeleteStream_vq(stream);
  env.check();
  if (written != o.cases) fail("could not write the cases to '" + o.out + "'");
  return 0;
}

}  // namespace

void addSampleCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<SampleOptions>();
  CLI::App* c = app.add_subcommand("sample", "Draw random cases from a net and write them as a case file");
  c->footer(
      "The case file: a header line of the names of the net's nodes, then one line per case, separated\n"
      "by tabs.  With findings (-f), nodes with a finding keep its state and every case gets a weight\n"
      "in a first NumCases column (likelihood weighting): the weighted cases follow the beliefs given\n"
      "the findings, and `quorva learn` and the case readers take the weights as case counts.\n"
      "The same seed gives the same file whatever the number of threads.\n"
      "Example:\n"
      "  quorva sample tests/data/alarm.bif -n 1000000 --seed 7 --threads 2 -o alarm_cases.txt");
  addNetArgument(c, o->net);
  c->add_option("-n,--cases", o->cases, "The number of cases to draw")->required()->check(CLI::Range(0LL, 1LL << 50));
  c->add_option("--seed", o->seed, "The seed of the draws (default 0)")->check(CLI::Range(0LL, (1LL << 62)));
  c->add_option("-f,--finding", o->states, "A state finding: the node is in that state (a state name, or #index)")
      ->type_name("NODE=STATE")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CLI::Validator([](std::string& text) { return parseFindingArg(FindingArg::State, text, nullptr); }, ""));
  c->add_option("--threads", o->threads, "Threads drawing cases at once (default 1)")->check(CLI::Range(1, 64));
  c->add_option("-o,--output", o->out, "The case file to write")->required();
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->callback([o, &chosen] { chosen = [o] { return runSample(*o); }; });
}

}  // namespace quorva::cli
