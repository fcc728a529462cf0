// quorva beliefs NET [-e FILE.evid] [-f NODE=STATE]... [-l NODE=p1,p2,...]... [-v NODE=REAL]... [--nodes A,B] [--json]
//                    [--method exact|lw|is|loopy] [--samples N] [--seconds S] [--damping D] [--seed S]
#include <cstdio>
#include <memory>

#include "BeliefFormat.h"
#include "Commands.h"
#include "Findings.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct BeliefsOptions {
  std::string net;
  FindingOptions findings;
  std::vector<std::string> nodes, interventions;
  std::string format, evidence;
  double optimize = 0;
  bool json = false;
  MethodSettings method;
};

// -e FILE: a UAI evidence file, its variables indexed in net order.
void enterEvidence(Env& env, net_bn* net, const std::string& path) {
  if (path.empty()) return;
  stream_vq* stream = NewFileStream_vq(path.c_str(), env.get(), nullptr);
  const int entered = stream ? EnterUaiEvidence_bn(net, stream) : -1;
  if (stream) DeleteStream_vq(stream);
  env.check();
  if (entered < 0) fail("could not read the evidence in '" + path + "'");
}

// --do NODE=STATE: the node is set to the state from outside the model, cut from its causes.
void intervene(Env& env, net_bn* net, const std::vector<std::string>& interventions) {
  for (const std::string& text : interventions) {
    FindingArg f;
    parseFindingArg(FindingArg::State, text, &f);
    node_bn* node = findNode(net, f.node);
    InterveneNode_bn(node, findState(node, f.state));
    env.check();
  }
}

// Exact beliefs from the compiled net, or approximate ones from the node tables.
bool readBeliefs(BeliefFormat& format, net_bn* net, BeliefMethod method, const MethodSettings& settings) {
  return method == BeliefMethod::Exact ? format.read(net) : format.readApprox(net, method, settings);
}

int runBeliefs(const BeliefsOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  buildMissingTables(env, net, true);
  requireUsable(net, o.net);
  std::vector<node_bn*> shown = selectNodes(net, o.nodes);
  std::vector<FindingArg> findings = o.findings.args();
  for (const FindingArg& f : findings) findNode(net, f.node);  // a wrong name fails before compiling
  intervene(env, net, o.interventions);
  const BeliefMethod method = chooseMethod(env, net, o.net, o.method.method, o.optimize);
  enterEvidence(env, net, o.evidence);
  enterFindings(env, net, findings);
  BeliefFormat format(net, shown);
  const bool read = readBeliefs(format, net, method, o.method);
  progress.clear();
  // Only what went wrong: the engine's records say it when it has made any.
  if (env.flush()) throw Failure{};
  if (!read)
    fail(findings.empty() ? "could not update the beliefs of the net in '" + o.net + "'"
                          : "the findings are impossible in the net in '" + o.net + "'");
  std::string out;
  if (o.json) {
    out = format.toJson().dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  } else {
    out = "Net " + netName(net);
    const char* title = GetNetTitle_bn(net);
    if (title && *title && out.compare(4, std::string::npos, title) != 0) out += ": " + std::string(title);
    out += "\nFindings: ";
    if (findings.empty()) out += "none";
    for (size_t i = 0; i < findings.size(); ++i) {
      const FindingArg& f = findings[i];
      out += (i ? ", " : "") + f.node + "=";
      if (f.kind == FindingArg::State) {
        out += f.state;
      } else if (f.kind == FindingArg::Value) {
        appendNumber(out, f.value);
      } else {
        out += "likelihood(";
        for (size_t s = 0; s < f.likelihood.size(); ++s) {
          if (s) out += ',';
          appendNumber(out, f.likelihood[s]);
        }
        out += ')';
      }
    }
    out += "\n";
    if (!o.interventions.empty()) {
      out += "Interventions:";
      for (size_t i = 0; i < o.interventions.size(); ++i) out += (i ? ", do(" : " do(") + o.interventions[i] + ")";
      out += "\n";
    }
    format.appendTables(out);
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace

void addBeliefsCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<BeliefsOptions>();
  CLI::App* c = app.add_subcommand("beliefs", "Enter findings, update, and print the probability of the findings and "
                                              "the beliefs of every node");
  c->footer(
      "Examples:\n"
      "  quorva beliefs examples/asia.dne -f smoking=f1 -f positive_XraY=d1\n"
      "  quorva beliefs net.bif -l Alarm=0.9,0.2 -v Temp=21.5 --nodes Burglary,Alarm --json\n"
      "  quorva beliefs net.uai -e net.uai.evid\n"
      "Nodes and states are named by their names or, where no name fits, by their titles (such as\n"
      "the labels of a BIF file that are not legal names).\n"
      "With --json, one object: {\"net\": NAME, \"findings_probability\": P, \"nodes\":\n"
      "[{\"name\": N, \"states\": [S...], \"beliefs\": [B...]}, ...]}, nodes in net order (or --nodes order);\n"
      "a node whose title differs from its name has \"title\": T after its name, and one whose states'\n"
      "titles differ from their names \"titles\": [T...] after its states.\n"
      "Impossible findings, or nodes and states the net lacks, fail with status 1.\n"
      "Approximate methods (--method lw|is|loopy, or chosen with a notice when the junction tree would be\n"
      "too large) print each belief's estimated error after it (\u00B1; JSON \"errors\": [E...]), and say\n"
      "what they did (JSON \"method\", \"samples\", \"effective_samples\", or \"rounds\", \"converged\",\n"
      "\"max_change\"; loopy propagation gives no probability of the findings: null).  Nodes with real\n"
      "values (levels, or discretized continuous nodes) also print their expected value and standard\n"
      "deviation (JSON \"expected\": {\"mean\": M, \"std_dev\": S}).");
  addNetArgument(c, o->net);
  o->findings.addTo(c);
  c->add_option("-e,--evidence", o->evidence,
                "A UAI evidence file: a count, then pairs of a variable index (net order) and a state index")
      ->type_name("FILE.evid");
  c->add_option("--do", o->interventions, "An intervention: the node is set to the state from outside the model (its links in are cut)")
      ->type_name("NODE=STATE")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CLI::Validator([](std::string& text) { return parseFindingArg(FindingArg::State, text, nullptr); }, ""));
  addNodesOption(c, o->nodes);
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  addOptimizeOption(c, o->optimize, "Search this many seconds for an elimination order with smaller tables first");
  c->add_flag("--json", o->json, "Print one JSON object instead of tables");
  addMethodOptions(c, o->method);
  c->callback([o, &chosen] { chosen = [o] { return runBeliefs(*o); }; });
}

}  // namespace quorva::cli
