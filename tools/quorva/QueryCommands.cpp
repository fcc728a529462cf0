// quorva mpe NET [findings] [--nodes A,B] [--json]: the most probable joint state of the nodes
// (all of them when none are named) given the findings, with its probability.
// quorva joint NET --nodes A,B [findings] [--json]: the joint beliefs of the nodes.
// quorva graph NET (--blanket NODE | --dsep A,B --from C,D [--given E] | --relevant A,B [findings]):
// questions about the graph.
#include <cstdio>
#include <memory>

#include "BeliefFormat.h"
#include "Commands.h"
#include "Findings.h"

namespace quorva::cli {

namespace {

struct QueryOptions {
  std::string net, format, blanket;
  FindingOptions findings;
  std::vector<std::string> nodes, dsep, from, given, relevant;
  bool json = false;
};

// The net read, its findings entered, and the nodes named (all when none are).
struct Query {
  Env env;
  net_bn* net = nullptr;
  std::vector<FindingArg> findings;
  std::vector<node_bn*> nodes;
  nodelist_bn* list = nullptr;

  Query(const QueryOptions& o, const std::vector<std::string>& names, bool compile) {
    net = env.readNet(o.net, formatNamed(o.format));
    buildMissingTables(env, net, true);
    requireUsable(net, o.net);
    nodes = selectNodes(net, names);
    findings = o.findings.args();
    for (const FindingArg& f : findings) findNode(net, f.node);
    if (compile) compileNet(env, net, o.net, 0);
    enterFindings(env, net, findings);
    list = listOf(nodes);
  }
  ~Query() { DeleteNodeList_bn(list); }
  nodelist_bn* listOf(const std::vector<node_bn*>& of) {
    nodelist_bn* l = NewNodeList2_bn(0, net);
    for (node_bn* n : of) AddNodeToList_bn(n, l, -1);
    return l;
  }
  void print(const std::string& out) { std::fwrite(out.data(), 1, out.size(), stdout); }
};

std::string stateName(node_bn* node, state_bn s) {
  const char* name = GetNodeStateName_bn(node, s);
  return name && *name ? name : "#" + std::to_string(s);
}

int runMpe(const QueryOptions& o) {
  Query q(o, o.nodes, o.nodes.empty());
  std::vector<state_bn> config(q.nodes.size(), 0);
  double p;
  if (o.nodes.empty()) {  // every node: max-propagation in the junction tree
    MostProbableConfig_bn(q.list, config.data(), 0);
    q.env.check();
    p = JointProbability_bn(q.list, config.data());
  } else {
    p = MostProbableJointConfig_bn(q.list, config.data());
  }
  q.env.check();
  std::string out;
  if (o.json) {
    nlohmann::ordered_json j;
    j["net"] = netName(q.net);
    j["probability"] = p;
    nlohmann::ordered_json states = nlohmann::ordered_json::object();
    for (size_t i = 0; i < q.nodes.size(); ++i) states[GetNodeName_bn(q.nodes[i])] = stateName(q.nodes[i], config[i]);
    j["states"] = states;
    out = j.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  } else {
    out = "Most probable state of " + counted(static_cast<long long>(q.nodes.size()), "node") + " given " +
          counted(static_cast<long long>(q.findings.size()), "finding") + ": probability ";
    appendNumber(out, p);
    out += "\n";
    for (size_t i = 0; i < q.nodes.size(); ++i)
      out += "  " + std::string(GetNodeName_bn(q.nodes[i])) + " = " + stateName(q.nodes[i], config[i]) + "\n";
  }
  q.print(out);
  return 0;
}

int runJoint(const QueryOptions& o) {
  Query q(o, o.nodes, false);
  int size = GetJointBeliefs_bn(q.list, nullptr, 0);
  q.env.check();
  std::vector<double> joint(static_cast<size_t>(size));
  GetJointBeliefs_bn(q.list, joint.data(), size);
  q.env.check();
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  std::string out;
  std::vector<state_bn> at(q.nodes.size(), 0);
  for (double p : joint) {
    nlohmann::ordered_json row;
    std::string line = " ";
    for (size_t i = 0; i < q.nodes.size(); ++i) {
      row[GetNodeName_bn(q.nodes[i])] = stateName(q.nodes[i], at[i]);
      line += " " + std::string(GetNodeName_bn(q.nodes[i])) + "=" + stateName(q.nodes[i], at[i]);
    }
    row["p"] = p;
    rows.push_back(row);
    out += line + "  ";
    appendNumber(out, p);
    out += "\n";
    for (size_t i = at.size(); i-- > 0;) {
      if (++at[i] < GetNodeNumberStates_bn(q.nodes[i])) break;
      at[i] = 0;
    }
  }
  if (o.json) {
    nlohmann::ordered_json j;
    j["net"] = netName(q.net);
    j["joint"] = rows;
    out = j.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  } else {
    out = "Joint beliefs of " + counted(static_cast<long long>(q.nodes.size()), "node") + " given " +
          counted(static_cast<long long>(q.findings.size()), "finding") + ":\n" + out;
  }
  q.print(out);
  return 0;
}

std::string namesOf(const nodelist_bn* l) {
  std::string out;
  for (int i = 0; i < LengthNodeList_bn(l); ++i) out += (i ? ", " : "") + std::string(GetNodeName_bn(GetNthNode_bn(l, i)));
  return out.empty() ? "(none)" : out;
}

int runGraph(const QueryOptions& o) {
  int asked = !o.blanket.empty() + !o.dsep.empty() + !o.relevant.empty();
  if (asked != 1) failUsage("give one of --blanket, --dsep or --relevant");
  if (!o.dsep.empty() && o.from.empty()) failUsage("--dsep needs --from");
  Query q(o, o.relevant, false);
  std::string out;
  if (!o.blanket.empty()) {
    nodelist_bn* b = GetMarkovBlanket_bn(findNode(q.net, o.blanket));
    q.env.check();
    out = "Markov blanket of " + o.blanket + ": " + namesOf(b) + "\n";
    DeleteNodeList_bn(b);
  } else if (!o.dsep.empty()) {
    nodelist_bn *x = q.listOf(selectNodes(q.net, o.dsep)), *y = q.listOf(selectNodes(q.net, o.from)),
                *z = q.listOf(o.given.empty() ? std::vector<node_bn*>{} : selectNodes(q.net, o.given));
    bool sep = IsDSeparated_bn(x, y, z);
    q.env.check();
    out = namesOf(x) + (sep ? " is" : " is not") + " d-separated from " + namesOf(y) + " given " + namesOf(z) + "\n";
    for (nodelist_bn* l : {x, y, z}) DeleteNodeList_bn(l);
  } else {
    nodelist_bn* r = GetRelevantNodes_bn(q.list);
    q.env.check();
    out = "Nodes the beliefs of " + namesOf(q.list) + " need given " +
          counted(static_cast<long long>(q.findings.size()), "finding") + " (" +
          counted(LengthNodeList_bn(r), "node") + " of " + std::to_string(netNodes(q.net).size()) + "): " + namesOf(r) + "\n";
    DeleteNodeList_bn(r);
  }
  q.print(out);
  return 0;
}

CLI::App* queryCommand(CLI::App& app, const char* name, const char* what, QueryOptions& o) {
  CLI::App* c = app.add_subcommand(name, what);
  addNetArgument(c, o.net);
  o.findings.addTo(c);
  addFormatOption(c, o.format, "--format", "Read the net as this format, whatever its name");
  return c;
}

}  // namespace

void addQueryCommands(CLI::App& app, Runner& chosen) {
  auto mpe = std::make_shared<QueryOptions>();
  CLI::App* c = queryCommand(app, "mpe", "The most probable joint state of some nodes (all by default) given the findings", *mpe);
  c->footer(
      "With --nodes, the most probable joint state of those nodes with the other nodes summed out\n"
      "(exact, by variable elimination over the nodes the question needs); without, the most probable\n"
      "configuration of every node.  Its probability given the findings is printed first.\n"
      "Example:\n"
      "  quorva mpe examples/asia.dne -f dyspnoea=yes --nodes tuberculosis,lung_cancer --json");
  addNodesOption(c, mpe->nodes);
  c->add_flag("--json", mpe->json, "Print one JSON object: {\"net\", \"probability\", \"states\": {NODE: STATE}}");
  c->callback([mpe, &chosen] { chosen = [mpe] { return runMpe(*mpe); }; });

  auto joint = std::make_shared<QueryOptions>();
  c = queryCommand(app, "joint", "The joint beliefs of some nodes given the findings", *joint);
  c->footer("One line per combination of the nodes' states, the last node's state varying fastest.\n"
            "Example:\n  quorva joint examples/asia.dne --nodes tuberculosis,lung_cancer -f positive_XraY=yes");
  addNodesOption(c, joint->nodes)->required();
  c->add_flag("--json", joint->json, "Print one JSON object: {\"net\", \"joint\": [{NODE: STATE, ..., \"p\": P}]}");
  c->callback([joint, &chosen] { chosen = [joint] { return runJoint(*joint); }; });

  auto graph = std::make_shared<QueryOptions>();
  c = queryCommand(app, "graph", "Questions about the graph: Markov blankets, d-separation, the nodes a query needs", *graph);
  c->footer("Examples:\n"
            "  quorva graph examples/asia.dne --blanket tuberculosis\n"
            "  quorva graph examples/asia.dne --dsep smoking --from visit_to_Asia --given dyspnoea\n"
            "  quorva graph examples/asia.dne --relevant lung_cancer -f smoking=yes");
  c->add_option("--blanket", graph->blanket, "The node's parents, children and children's other parents")->type_name("NODE");
  c->add_option("--dsep", graph->dsep, "Whether these nodes are d-separated from those of --from")->type_name("A,B,...")->delimiter(',');
  c->add_option("--from", graph->from, "The other nodes of --dsep")->type_name("A,B,...")->delimiter(',');
  c->add_option("--given", graph->given, "The nodes given for --dsep")->type_name("A,B,...")->delimiter(',');
  c->add_option("--relevant", graph->relevant, "The nodes whose tables or findings these nodes' beliefs need")
      ->type_name("A,B,...")
      ->delimiter(',');
  c->callback([graph, &chosen] { chosen = [graph] { return runGraph(*graph); }; });
}

}  // namespace quorva::cli
