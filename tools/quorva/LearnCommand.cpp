// quorva learn NET CASES -o OUT [--em] [--max-iterations N] [--tolerance T] [--nodes A,B] [--threads N]
#include <cstdio>
#include <memory>
#include <thread>

#include "Commands.h"
#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct LearnOptions {
  std::string net, cases, out, format;
  std::vector<std::string> nodes;
  bool em = false;
  int maxIterations = 1000;
  double tolerance = 1e-5;
  int threads = 0;
};

// Whether the node has an experience table (read for its first row).
bool hasExperience(node_bn* node) {
  int size = 0;
  std::vector<double> exper;
  GetNodeTable_bn(node, "exper", nullptr, 0, nullptr, &size);
  exper.resize(static_cast<size_t>(size));
  if (size) GetNodeTable_bn(node, "exper", nullptr, 0, exper.data(), &size);
  return size > 0 && exper[0] == exper[0];
}

int threadsWanted(int asked) {
  int threads = asked > 0 ? asked : static_cast<int>(std::thread::hardware_concurrency());
  return threads < 1 ? 1 : threads;
}

int runLearn(const LearnOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  requireUsable(net, o.net);
  std::vector<node_bn*> chosen = selectNodes(net, o.nodes);
  nodelist_bn* list = NewNodeList2_bn(0, net);
  for (node_bn* n : chosen) {
    AddNodeToList_bn(n, list, -1);
    // A CPT without experience says nothing of how many cases it stands for: learnt afresh.
    if (!hasExperience(n))
      DeleteNodeTables_bn(n);
  }
  stream_vq* file = NewFileStream_vq(o.cases.c_str(), env.get(), nullptr);
  caseset_cs* cases = NewCaseset_cs("cases", env.get());
  AddFileToCaseset_cs(cases, file, 1, nullptr);
  env.check();
  learner_bn* learner = NewLearner_bn(o.em ? EM_LEARNING : COUNTING_LEARNING, nullptr, env.get());
  SetLearnerMaxIters_bn(learner, o.maxIterations);
  SetLearnerMaxTol_bn(learner, o.tolerance);
  SetLearnerThreads_bn(learner, threadsWanted(o.threads));
  LearnCPTs_bn(learner, list, cases, 1.0);
  progress.clear();
  env.check();
  int iterations = GetLearnerIterations_bn(learner);
  env.writeNet(net, o.out);
  std::string said = "learnt " + counted(static_cast<long long>(chosen.size()), "node") + " of " + netName(net);
  if (o.em) {
    said += " by EM in " + counted(iterations, "iteration") + ", log likelihood " +
            readable(GetLearnerLogLikelihood_bn(learner, iterations - 1));
  }
  std::printf("%s; written to %s\n", said.c_str(), o.out.c_str());
  return 0;
}

}  // namespace

void addLearnCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<LearnOptions>();
  CLI::App* c = app.add_subcommand("learn", "Learn the CPTs of a net from a case file and write the net");
  c->footer(
      "By counting (the default): each node's CPT and experience become the counts of the cases in\n"
      "which it and all its parents are known, on top of its experience before.  With --em, by\n"
      "expectation-maximisation, which also uses cases with missing values; each iteration's log\n"
      "likelihood is shown on the progress line.  Learnt tables are the same for any --threads.\n"
      "Example:\n"
      "  quorva learn net.bif cases.txt -o learnt.dne --em --max-iterations 20 --nodes A,B");
  addNetArgument(c, o->net);
  c->add_option("CASEFILE", o->cases, "The case file")->required();
  c->add_option("-o,--out", o->out, "Where to write the learnt net (DNET or BIF by its extension)")->required();
  addNodesOption(c, o->nodes)->description("Learn only these nodes (default: every node)");
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->add_flag("--em", o->em, "Learn by expectation-maximisation");
  c->add_option("--max-iterations", o->maxIterations, "The most EM iterations (default 1000)")->check(CLI::Range(1, 1000000));
  c->add_option("--tolerance", o->tolerance, "EM stops when the log likelihood changes by no more than this fraction "
                                             "(default 1e-5)")
      ->check(CLI::PositiveNumber);
  c->add_option("--threads", o->threads,
                "Threads sharing EM's cases, each with its own compiled copy of the net (default: the number of cores)")
      ->check(CLI::Range(1, 64));
  c->callback([o, &chosen] { chosen = [o] { return runLearn(*o); }; });
}

}  // namespace quorva::cli
