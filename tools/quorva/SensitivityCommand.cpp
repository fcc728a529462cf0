// quorva sensitivity NET TARGET [-f NODE=STATE]... [--nodes A,B] [--json]: how much a finding at
// each other node would tell of the target, the most telling first.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "BeliefFormat.h"
#include "Commands.h"
#include "Findings.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct SensitivityOptions {
  std::string net, target, format;
  std::vector<std::string> states, nodes;
  bool json = false;
};

struct Row {
  node_bn* node;
  double info, percent, varianceReduction, beliefVariance;  // varianceReduction NaN: none
};

// The rows of every wiggle node, most mutual information first (net order among equals).
std::vector<Row> measure(Env& env, node_bn* target, const std::vector<node_bn*>& wiggles, double& entropy) {
  net_bn* net = GetNodeNet_bn(target);
  nodelist_bn* list = NewNodeList2_bn(0, net);
  for (node_bn* w : wiggles) AddNodeToList_bn(w, list, -1);
  const bool valued = GetNodeLevels_bn(target) != nullptr;
  sensv_bn* s = NewSensvToFinding_bn(target, list, ENTROPY_SENSV | NODEVAR_SENSV | REAL_SENSV | VARIANCE_SENSV);
  DeleteNodeList_bn(list);
  env.check();
  struct Free {
    sensv_bn* s;
    ~Free() { DeleteSensvToFinding_bn(s); }
  } free{s};
  entropy = GetSensvMutualInfo_bn(s, target);
  env.check();
  std::vector<Row> rows;
  for (node_bn* w : wiggles) {
    Row r{w, GetSensvMutualInfo_bn(s, w), 0, NAN, GetSensvBeliefVariance_bn(s, w)};
    if (valued) r.varianceReduction = GetSensvVarianceReduction_bn(s, w);
    env.check();
    r.percent = entropy > 0 ? 100 * r.info / entropy : 0;
    rows.push_back(r);
  }
  std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.info > b.info; });
  return rows;
}

std::string textReport(net_bn* net, node_bn* target, const SensitivityOptions& o, double entropy,
                       const std::vector<Row>& rows) {
  char line[200];
  std::string out = "Net " + netName(net) + "\nFindings: ";
  if (o.states.empty()) out += "none";
  for (size_t i = 0; i < o.states.size(); ++i) out += (i ? ", " : "") + o.states[i];
  std::snprintf(line, sizeof line, "\nSensitivity of '%s' to findings at %s:\n", GetNodeName_bn(target),
                counted(static_cast<long long>(rows.size()), "node").c_str());
  out += line;
  std::snprintf(line, sizeof line, "Entropy of '%s' = %.4g bits\n", GetNodeName_bn(target), entropy);
  out += line;
  out += "  Node                  Entropy     Percent     Variance    |  Belief\n"
         "                        reduction               reduction   |  variance\n";
  for (const Row& r : rows) {
    std::snprintf(line, sizeof line, "  %-20.20s  %-10.4g  %-10.4g  ", GetNodeName_bn(r.node), r.info, r.percent);
    out += line;
    if (std::isnan(r.varianceReduction)) std::snprintf(line, sizeof line, "%-10s", "-");
    else std::snprintf(line, sizeof line, "%-10.4g", r.varianceReduction);
    out += line;
    std::snprintf(line, sizeof line, "  |  %-10.4g\n", r.beliefVariance);
    out += line;
  }
  return out;
}

std::string jsonReport(net_bn* net, node_bn* target, double entropy, const std::vector<Row>& rows) {
  std::string out = "{\"net\":";
  appendJsonString(out, netName(net));
  out += ",\"target\":";
  appendJsonString(out, GetNodeName_bn(target));
  out += ",\"entropy\":";
  appendNumber(out, entropy);
  out += ",\"nodes\":[";
  for (size_t i = 0; i < rows.size(); ++i) {
    const Row& r = rows[i];
    out += i ? ",{\"name\":" : "{\"name\":";
    appendJsonString(out, GetNodeName_bn(r.node));
    out += ",\"mutual_info\":";
    appendNumber(out, r.info);
    out += ",\"percent\":";
    appendNumber(out, r.percent);
    out += ",\"variance_reduction\":";
    appendNumber(out, r.varianceReduction);  // null when the target has no values
    out += ",\"belief_variance\":";
    appendNumber(out, r.beliefVariance);
    out += "}";
  }
  return out + "]}\n";
}

int runSensitivity(const SensitivityOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  requireUsable(net, o.net);
  node_bn* target = findNode(net, o.target);
  std::vector<node_bn*> wiggles = selectNodes(net, o.nodes);
  std::vector<FindingArg> findings;
  for (const std::string& text : o.states) {
    FindingArg f;
    parseFindingArg(FindingArg::State, text, &f);
    findNode(net, f.node);  // a wrong name fails before compiling
    findings.push_back(std::move(f));
  }
  compileNet(env, net, o.net, 0);
  SetNetAutoUpdate_bn(net, 0);
  enterFindings(env, net, findings);
  double entropy = 0;
  std::vector<Row> rows = measure(env, target, wiggles, entropy);
  progress.clear();
  const std::string out = o.json ? jsonReport(net, target, entropy, rows) : textReport(net, target, o, entropy, rows);
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace

void addSensitivityCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<SensitivityOptions>();
  CLI::App* c = app.add_subcommand("sensitivity", "How much a finding at each node would tell of a target node: "
                                                  "entropy reduction, variance reduction and belief variance");
  c->footer(
      "Examples:\n"
      "  quorva sensitivity examples/asia.dne tuberculos_or_cancer -f smoking=f1\n"
      "  quorva sensitivity net.bif Alarm --nodes Burglary,Earthquake --json\n"
      "One row per node (every node, or those of --nodes), the most telling first: the entropy\n"
      "reduction (mutual information with the target, in bits) and its percentage of the target's\n"
      "entropy, the variance reduction of the target's value (\"-\" when its states have no levels\n"
      "or intervals) and the belief variance.  With --json, one object: {\"net\": NAME, \"target\": T,\n"
      "\"entropy\": H, \"nodes\": [{\"name\": N, \"mutual_info\": I, \"percent\": P,\n"
      "\"variance_reduction\": V or null, \"belief_variance\": B}, ...]}.\n"
      "Impossible findings, or nodes and states the net lacks, fail with status 1.");
  addNetArgument(c, o->net);
  c->add_option("TARGET", o->target, "The node whose beliefs findings would change")->required();
  c->add_option("-f,--finding", o->states, "A state finding: the node is in that state (a state name, or #index)")
      ->type_name("NODE=STATE")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CLI::Validator([](std::string& text) { return parseFindingArg(FindingArg::State, text, nullptr); }, ""));
  addNodesOption(c, o->nodes);
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->add_flag("--json", o->json, "Print one JSON object instead of a table");
  c->callback([o, &chosen] { chosen = [o] { return runSensitivity(*o); }; });
}

}  // namespace quorva::cli
