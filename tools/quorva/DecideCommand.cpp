// quorva decide NET [-f NODE=STATE]... [--json]
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Findings.h"

namespace quorva::cli {

namespace {

struct DecideOptions {
  std::string net;
  std::vector<std::string> states;
  bool json = false;
};

std::vector<node_bn*> parentsOf(const node_bn* node) {
  std::vector<node_bn*> out;
  const nodelist_bn* list = GetNodeParents_bn(node);
  for (int i = 0, n = LengthNodeList_bn(list); i < n; ++i) out.push_back(GetNthNode_bn(list, i));
  return out;
}

std::string stateName(const node_bn* node, int s) {
  const char* name = GetNodeStateName_bn(node, s);
  return name && *name ? name : "#" + std::to_string(s);
}

// One decision as read from the solved net: its policy row by row and each option's utility.
struct DecisionView {
  node_bn* node;
  std::vector<node_bn*> parents;
  std::vector<std::vector<int>> rows;  // the parents' states of each row, the last fastest
  std::vector<int> chosen;             // per row
  std::vector<double> utils;           // per option

  explicit DecisionView(node_bn* d) : node(d), parents(parentsOf(d)) {
    std::vector<int> at(parents.size(), 0);
    for (bool more = true; more;) {
      rows.push_back(at);
      chosen.push_back(GetNodeFuncState_bn(node, at.empty() ? nullptr : at.data()));
      more = false;
      for (size_t k = at.size(); k-- > 0;) {
        if (++at[k] < GetNodeNumberStates_bn(parents[k])) {
          more = true;
          break;
        }
        at[k] = 0;
      }
    }
    const double* u = GetNodeExpectedUtils_bn(node);
    for (int s = 0, n = GetNodeNumberStates_bn(node); u && s < n; ++s) utils.push_back(u[s]);
  }

  std::string rowText(size_t r) const {
    std::string t;
    for (size_t k = 0; k < parents.size(); ++k) t += (k ? ", " : "") + stateName(parents[k], rows[r][k]);
    return t.empty() ? "(always)" : t;
  }
  std::string choiceText(size_t r) const { return chosen[r] >= 0 ? stateName(node, chosen[r]) : "(none)"; }
};

nlohmann::ordered_json toJson(const net_bn* net, double meu, const std::vector<DecisionView>& views) {
  nlohmann::ordered_json out;
  out["net"] = netName(net);
  out["expected_utility"] = meu == meu ? nlohmann::ordered_json(meu) : nlohmann::ordered_json();
  out["decisions"] = nlohmann::ordered_json::array();
  for (const DecisionView& v : views) {
    nlohmann::ordered_json d;
    d["name"] = GetNodeName_bn(v.node);
    d["parents"] = nlohmann::ordered_json::array();
    for (node_bn* p : v.parents) d["parents"].push_back(GetNodeName_bn(p));
    d["options"] = nlohmann::ordered_json::array();
    for (size_t s = 0; s < v.utils.size(); ++s) {
      nlohmann::ordered_json u = v.utils[s] == v.utils[s] ? nlohmann::ordered_json(v.utils[s]) : nlohmann::ordered_json();
      d["options"].push_back({{"name", stateName(v.node, static_cast<int>(s))}, {"expected_utility", u}});
    }
    d["policy"] = nlohmann::ordered_json::array();
    for (size_t r = 0; r < v.rows.size(); ++r) {
      nlohmann::ordered_json given = nlohmann::ordered_json::array();
      for (size_t k = 0; k < v.parents.size(); ++k) given.push_back(stateName(v.parents[k], v.rows[r][k]));
      d["policy"].push_back({{"given", given}, {"choice", v.choiceText(r)}});
    }
    out["decisions"].push_back(d);
  }
  return out;
}

std::string toText(const net_bn* net, const std::vector<FindingArg>& findings, double meu,
                   const std::vector<DecisionView>& views) {
  std::string out = "Net " + netName(net);
  const char* title = GetNetTitle_bn(net);
  if (title && *title) out += ": " + std::string(title);
  out += "\nFindings: ";
  if (findings.empty()) out += "none";
  for (size_t i = 0; i < findings.size(); ++i) out += (i ? ", " : "") + findings[i].node + "=" + findings[i].state;
  out += "\nMaximum expected utility: " + (meu == meu ? readable(meu) : std::string("undefined")) + "\n";
  for (const DecisionView& v : views) {
    out += "\nDecision " + std::string(GetNodeName_bn(v.node)) + "\n  Policy";
    if (!v.parents.empty()) {
      out += " (given ";
      for (size_t k = 0; k < v.parents.size(); ++k) out += (k ? ", " : "") + std::string(GetNodeName_bn(v.parents[k]));
      out += ")";
    }
    out += ":\n";
    for (size_t r = 0; r < v.rows.size(); ++r) {
      std::string given = v.rowText(r);
      out += "    " + given + std::string(given.size() < 24 ? 24 - given.size() : 1, ' ') + "-> " + v.choiceText(r) + "\n";
    }
    out += "  Expected utility of each option:\n";
    for (size_t s = 0; s < v.utils.size(); ++s) {
      std::string name = stateName(v.node, static_cast<int>(s));
      out += "    " + name + std::string(name.size() < 24 ? 24 - name.size() : 1, ' ') +
             (v.utils[s] == v.utils[s] ? readable(v.utils[s]) : std::string("impossible")) + "\n";
    }
  }
  return out;
}

int runDecide(const DecideOptions& o) {
  Env env;
  net_bn* net = env.readNet(o.net);
  buildMissingTables(env, net, true);
  requireNodes(net, o.net);
  std::vector<FindingArg> findings;
  for (const std::string& text : o.states) {
    FindingArg f;
    parseFindingArg(FindingArg::State, text, &f);
    findNode(net, f.node);  // a wrong name fails before compiling
    findings.push_back(std::move(f));
  }
  std::vector<node_bn*> decisions;
  for (node_bn* n : netNodes(net))
    if (GetNodeKind_bn(n) == DECISION_NODE) decisions.push_back(n);
  if (decisions.empty()) fail("the net in '" + o.net + "' has no decision nodes");
  compileNet(env, net, o.net, 0);
  enterFindings(env, net, findings);
  double meu = GetNetExpectedUtility_bn(net);
  std::vector<DecisionView> views;
  for (node_bn* d : decisions) views.emplace_back(d);
  if (env.flush()) throw Failure{};
  std::string out = o.json ? toJson(net, meu, views).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n"
                           : toText(net, findings, meu, views);
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace

void addDecideCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<DecideOptions>();
  CLI::App* c = app.add_subcommand("decide", "Solve a decision net: the maximum expected utility, each decision's "
                                             "policy and the expected utility of each option");
  c->footer(
      "Examples:\n"
      "  quorva decide examples/test_treat.dne\n"
      "  quorva decide examples/treat.dne -f Test=positive --json\n"
      "A finding at a decision fixes it (the decision is then not optimised).  Policies are read\n"
      "with \"no forgetting\": each decision knows what earlier decisions knew and chose.\n"
      "With --json, one object: {\"net\": NAME, \"expected_utility\": MEU, \"decisions\": [{\"name\": D,\n"
      "\"parents\": [P...], \"options\": [{\"name\": S, \"expected_utility\": U}...], \"policy\":\n"
      "[{\"given\": [parent states...], \"choice\": S}...]}...]}, decisions in net order; an\n"
      "impossible option's utility is null.\n"
      "A net without decisions, impossible findings, or nodes and states the net lacks, fail with status 1.");
  addNetArgument(c, o->net);
  c->add_option("-f,--finding", o->states, "A state finding: the node is in that state (a state name, or #index)")
      ->type_name("NODE=STATE")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CLI::Validator([](std::string& text) { return parseFindingArg(FindingArg::State, text, nullptr); }, ""));
  c->add_flag("--json", o->json, "Print one JSON object instead of tables");
  c->callback([o, &chosen] { chosen = [o] { return runDecide(*o); }; });
}

}  // namespace quorva::cli
