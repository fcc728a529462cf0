// Questions beyond one node's beliefs (joint beliefs, most probable states, d-separation,
// Markov blankets, interventions), undo and redo, decisions, sensitivity to findings,
// approximate beliefs and sampling.
#include "PyEngine.h"

namespace quorva::py {

namespace {

std::vector<std::string> namesOf(const std::vector<Node>& nodes) {
  std::vector<std::string> out;
  for (const Node& n : nodes) out.push_back(GetNodeName_bn(n.get()));
  return out;
}

// The nodes with states that are not utility nodes (those a query over "every node" means).
std::vector<Node> stateNodes(const Net& net) {
  std::vector<Node> out;
  for (const Node& n : net.allNodes())
    if (GetNodeNumberStates_bn(n.get()) > 0 && GetNodeKind_bn(n.get()) != UTILITY_NODE) out.push_back(n);
  return out;
}

pb::array_t<double> jointBeliefs(const Net& net, const pb::object& keys) {
  std::vector<Node> nodes = net.nodesOf(keys);
  NodeList list(net.get(), nodes);
  const int size = GetJointBeliefs_bn(list.get(), nullptr, 0);
  check(processEnv());
  std::vector<pb::ssize_t> shape;
  for (const Node& n : nodes) shape.push_back(n.numStates());
  pb::array_t<double> out(shape);
  GetJointBeliefs_bn(list.get(), out.mutable_data(), size);
  check(processEnv());
  return out;
}

// The probability that the nodes are in the states of `states` (node -> state), given the
// findings, or with `and_findings` jointly with the findings.
double jointProbability(const Net& net, const pb::dict& states, bool andFindings) {
  std::vector<Node> nodes;
  std::vector<state_bn> config;
  for (const auto& [key, value] : states) {
    nodes.push_back(net.nodeOf(pb::reinterpret_borrow<pb::object>(key)));
    config.push_back(nodes.back().stateOf(pb::reinterpret_borrow<pb::object>(value)));
  }
  NodeList list(net.get(), nodes);
  CompileNet_bn(net.get());  // the engine asks for a compiled net; nothing when compiled
  check(processEnv());
  const double p = andFindings ? GetJointProbability_bn(list.get(), config.data())
                               : JointProbability_bn(list.get(), config.data());
  check(processEnv());
  return p;
}

std::pair<pb::dict, double> mostProbable(const Net& net, const pb::object& keys) {
  std::vector<Node> nodes = keys.is_none() ? stateNodes(net) : net.nodesOf(keys);
  NodeList list(net.get(), nodes);
  std::vector<state_bn> config(nodes.size());
  const double p = MostProbableJointConfig_bn(list.get(), config.data());
  check(processEnv());
  pb::dict out;
  for (size_t i = 0; i < nodes.size(); ++i) out[GetNodeName_bn(nodes[i].get())] = nodes[i].stateName(config[i]);
  return {out, p};
}

std::vector<Node> ownedList(const Net& net, nodelist_bn* list) {
  check(processEnv());
  std::vector<Node> out = nodesOfList(net, list);
  if (list) DeleteNodeList_bn(list);
  return out;
}

// Sensitivity of one target node to findings at others, every measure asked for.
class Sensitivity {
 public:
  Sensitivity(const Net& net, const pb::object& target, const pb::object& wiggle)
      : net_(net), target_(net.nodeOf(target)) {
    std::vector<Node> nodes = net.nodesOf(wiggle);
    NodeList list(net.get(), nodes);
    sensv_ = NewSensvToFinding_bn(target_.get(), list.get(),
                                  BELIEF_SENSV | ENTROPY_SENSV | REAL_SENSV | NODEVAR_SENSV | RATIO_SENSV |
                                      VARIANCE_SENSV | RANGE_SENSV);
    check(processEnv());
  }
  ~Sensitivity() {
    if (sensv_) DeleteSensvToFinding_bn(sensv_);
  }
  Sensitivity(const Sensitivity&) = delete;
  Sensitivity& operator=(const Sensitivity&) = delete;

  template <typename F>
  double ask(F f) {
    net_.get();
    CompileNet_bn(net_.get());
    check(processEnv());
    const double v = f();
    check(processEnv());
    return v;
  }
  double mutualInfo(const pb::object& w) {
    Node n = net_.nodeOf(w);
    return ask([&] { return GetSensvMutualInfo_bn(sensv_, n.get()); });
  }
  double beliefVariance(const pb::object& w) {
    Node n = net_.nodeOf(w);
    return ask([&] { return GetSensvBeliefVariance_bn(sensv_, n.get()); });
  }
  double varianceReduction(const pb::object& w) {
    Node n = net_.nodeOf(w);
    return ask([&] { return GetSensvVarianceReduction_bn(sensv_, n.get()); });
  }
  double ratio(const pb::object& w, const pb::object& ws, const pb::object& ts) {
    Node n = net_.nodeOf(w);
    state_bn a = n.stateOf(ws), b = target_.stateOf(ts);
    return ask([&] { return GetSensvRatio_bn(sensv_, n.get(), a, b); });
  }
  double beliefChange(const pb::object& w, const pb::object& ts) {
    Node n = net_.nodeOf(w);
    state_bn t = target_.stateOf(ts);
    return ask([&] { return GetSensvBeliefChange_bn(sensv_, n.get(), t); });
  }
  double realMean(const pb::object& w, const pb::object& ws) {
    Node n = net_.nodeOf(w);
    state_bn a = n.stateOf(ws);
    return ask([&] { return GetSensvRealMean_bn(sensv_, n.get(), a); });
  }
  double beliefChangeVariance(const pb::object& w, const pb::object& ts) {
    Node n = net_.nodeOf(w);
    state_bn t = target_.stateOf(ts);
    return ask([&] { return GetSensvBeliefChangeVariance_bn(sensv_, n.get(), t); });
  }
  std::pair<double, double> beliefRange(const pb::object& w, const pb::object& ts) {
    Node n = net_.nodeOf(w);
    state_bn t = target_.stateOf(ts);
    double lo = 0, hi = 0;
    ask([&] { return static_cast<double>(GetSensvBeliefRange_bn(sensv_, n.get(), t, &lo, &hi)); });
    return {lo, hi};
  }

 private:
  Net net_;
  Node target_;
  sensv_bn* sensv_ = nullptr;
};

approx_method_bn methodNamed(const std::string& name) {
  if (name == "lw") return LIKELIHOOD_WEIGHTING;
  if (name == "is") return IMPORTANCE_SAMPLING;
  if (name == "loopy") return LOOPY_PROPAGATION;
  throw pb::value_error("a method is 'lw', 'is' or 'loopy', not '" + name + "'");
}

// The seed of a call that draws: `seed`, or -1 (one drawn from the net's generator) with `random`.
void checkSeedOrRandom(long long seed, const pb::object& random) {
  if (seed != -1 && !random.is_none()) throw pb::value_error("give a seed or a random generator, not both");
}

pb::tuple approxBeliefs(const Net& net, const std::string& method, double samples, double seconds, double damping,
                        long long seed, const pb::object& random) {
  const approx_method_bn m = methodNamed(method);
  checkSeedOrRandom(seed, random);
  NetRandomScope scope(net, random);
  const int size = ApproxNetBeliefs_bn(net.get(), m, samples, seconds, damping, seed, nullptr, nullptr, 0, nullptr);
  check(processEnv());
  std::vector<double> beliefs(static_cast<size_t>(std::max(size, 1))), errors(beliefs.size());
  approx_summary_bn summary{};
  {
    pb::gil_scoped_release release;
    ApproxNetBeliefs_bn(net.get(), m, samples, seconds, damping, seed, beliefs.data(), errors.data(), size, &summary);
  }
  check(processEnv());
  pb::dict b, e;
  size_t at = 0;
  for (const Node& n : net.allNodes()) {
    const int count = GetNodeNumberStates_bn(n.get());
    if (count <= 0 || GetNodeKind_bn(n.get()) == UTILITY_NODE) continue;
    b[GetNodeName_bn(n.get())] = pb::array_t<double>(count, beliefs.data() + at);
    e[GetNodeName_bn(n.get())] = pb::array_t<double>(count, errors.data() + at);
    at += static_cast<size_t>(count);
  }
  pb::dict s;
  s["samples"] = summary.samples;
  s["effective_samples"] = summary.effective_samples;
  s["findings_probability"] = summary.findings_probability;
  s["max_change"] = summary.max_change;
  s["converged"] = summary.converged != 0;
  return pb::make_tuple(b, e, s);
}

// Cases drawn from the net as case-file text: in the user's case-file settings, or, with `plain`,
// tab-separated state names with '*' for no finding (for a DataFrame).
std::string sampleText(const Net& net, long long count, long long seed, int threads, const pb::object& random,
                       bool plain) {
  checkSeedOrRandom(seed, random);
  NetRandomScope scope(net, random);
  environ_vq* env = processEnv();
  const CaseFileForm users = caseFileForm(env);
  if (plain) applyCaseFileForm(env, {'\t', '*', 0});
  struct Restore {
    environ_vq* env;
    CaseFileForm form;
    bool active;
    ~Restore() {
      if (active) applyCaseFileForm(env, form);
    }
  } restore{env, users, plain};
  stream_vq* stream = NewMemoryStream_vq("samples", env, nullptr);
  check(env);
  std::string text;
  {
    pb::gil_scoped_release release;
    WriteSampledCases_bn(net.get(), stream, count, seed, threads, nullptr);
    long long length = 0;
    const char* bytes = GetStreamContents_vq(stream, &length);
    if (bytes) text.assign(bytes, static_cast<size_t>(length));
    DeleteStream_vq(stream);
  }
  check(env);
  return text;
}

}  // namespace

void bindQueries(pb::module_& m) {
  addMethod(m, "Net", "joint_beliefs", &jointBeliefs, pb::arg("nodes"),
            "The joint beliefs of the nodes given the findings: an array with one axis per node.");
  addMethod(m, "Net", "joint_probability", &jointProbability, pb::arg("states"), pb::arg("and_findings") = false,
            "The probability that the nodes are in the given states (dict node -> state) given the\n"
            "findings; with and_findings=True, that they are and the findings hold (the probability\n"
            "of the findings for an empty dict).");
  addMethod(m, "Net", "map", &mostProbable, pb::arg("nodes") = pb::none(),
            "The most probable joint state of the nodes (others summed out; all nodes when None) as\n"
            "(dict node -> state, its probability given the findings).");
  addMethod(
      m, "Net", "mpe",
      [](const Net& net) {
        std::vector<Node> nodes = stateNodes(net);
        NodeList list(net.get(), nodes);
        CompileNet_bn(net.get());
        check(processEnv());
        std::vector<state_bn> config(nodes.size());
        MostProbableConfig_bn(list.get(), config.data(), 0);
        check(processEnv());
        pb::dict out;
        for (size_t i = 0; i < nodes.size(); ++i) out[GetNodeName_bn(nodes[i].get())] = nodes[i].stateName(config[i]);
        return out;
      },
      "The most probable configuration of every node given the findings, node -> state.");
  addMethod(
      m, "Net", "d_separated",
      [](const Net& net, const pb::object& x, const pb::object& y, const pb::object& given) {
        std::vector<Node> g = given.is_none() ? std::vector<Node>{} : net.nodesOf(given);
        NodeList lx(net.get(), net.nodesOf(x)), ly(net.get(), net.nodesOf(y)), lg(net.get(), g);
        const bool sep = IsDSeparated_bn(lx.get(), ly.get(), lg.get());
        check(processEnv());
        return sep;
      },
      pb::arg("x"), pb::arg("y"), pb::arg("given") = pb::none(),
      "Whether the nodes x are d-separated from the nodes y given the nodes `given`.");
  addMethod(
      m, "Net", "relevant_nodes",
      [](const Net& net, const pb::object& keys) {
        NodeList list(net.get(), net.nodesOf(keys));
        return namesOf(ownedList(net, GetRelevantNodes_bn(list.get())));
      },
      pb::arg("nodes"), "The names of the nodes whose tables or findings the beliefs of `nodes` need.");
  addMethod(
      m, "Node", "markov_blanket",
      [](const Node& n) { return ownedList(n.net(), GetMarkovBlanket_bn(n.get())); },
      "The node's parents, children and children's other parents.");
  addMethod(
      m, "Node", "intervene",
      [](const Node& n, const pb::object& state) {
        InterveneNode_bn(n.get(), n.stateOf(state));
        check(processEnv());
      },
      pb::arg("state"), "do(node = state): cuts the links into the node and fixes it at `state` (undoable).");
  addMethod(
      m, "Net", "set_undo_limit",
      [](const Net& net, int count, double memory) {
        SetNetNumUndos_bn(net.get(), count, memory, nullptr);
        check(processEnv());
      },
      pb::arg("count"), pb::arg("memory") = -1.0,
      "Keeps up to `count` edits (and `memory` bytes) for undo; 0 and 0 turn undo off.");
  addMethod(
      m, "Net", "undo",
      [](const Net& net) {
        refuseInsideListener(*net.state(), "undo an edit of its net");
        const bool done = UndoNetLastOper_vq(net.get(), -1);
        net.state()->resync();
        check(processEnv());
        return done;
      },
      "Undoes the last edit; False when there is none.");
  addMethod(
      m, "Net", "redo",
      [](const Net& net) {
        refuseInsideListener(*net.state(), "redo an edit of its net");
        const bool done = RedoNetOper_vq(net.get(), -1);
        net.state()->resync();
        check(processEnv());
        return done;
      },
      "Redoes the edit undone last; False when there is none.");
  addMethod(
      m, "Net", "expected_utility",
      [](const Net& net) {
        CompileNet_bn(net.get());
        check(processEnv());
        const double u = GetNetExpectedUtility_bn(net.get());
        check(processEnv());
        return u;
      },
      "The maximum expected utility given the findings, every decision following its optimal policy.");
  addMethod(
      m, "Node", "expected_utils",
      [](const Node& n) {
        CompileNet_bn(GetNodeNet_bn(n.get()));
        check(processEnv());
        const double* u = GetNodeExpectedUtils_bn(n.get());
        check(processEnv());
        return pb::array_t<double>(n.numStates(), u);
      },
      "The expected utility of each option of this decision node.");
  addMethod(
      m, "Node", "policy",
      [](const Node& n) {
        CompileNet_bn(GetNodeNet_bn(n.get()));
        check(processEnv());
        GetNetExpectedUtility_bn(GetNodeNet_bn(n.get()));  // solves the net
        ClearErrors_vq(processEnv(), INTERNAL_ERR);
        std::vector<pb::ssize_t> shape;
        const nodelist_bn* parents = GetNodeParents_bn(n.get());
        for (int i = 0, c = LengthNodeList_bn(parents); i < c; ++i)
          shape.push_back(GetNodeNumberStates_bn(GetNthNode_bn(parents, i)));
        pb::array_t<double> out(shape);
        int size = static_cast<int>(out.size());
        GetNodeTable_bn(n.get(), "function_state", nullptr, 0, out.mutable_data(), &size);
        check(processEnv());
        return out;
      },
      "The optimal policy of this decision node: the option chosen for each state of its parents.");
  addMethod(
      m, "Net", "approx_beliefs", &approxBeliefs, pb::arg("method") = "lw", pb::arg("samples") = 0.0,
      pb::arg("seconds") = 0.0, pb::arg("damping") = 0.0, pb::arg("seed") = -1, pb::arg("random") = pb::none(),
      "Beliefs of every node without compiling: method 'lw' (likelihood weighting), 'is'\n"
      "(importance sampling) or 'loopy'.  Returns (beliefs, errors, summary): node -> array twice,\n"
      "and a dict of what the run did.  Sampling is seeded by `seed`, else by one draw from `random`\n"
      "(a quorva.Random), else from the net's generator.");
  addMethod(m, "Net", "_sample_text", &sampleText, pb::arg("count"), pb::arg("seed") = -1, pb::arg("threads") = 1,
            pb::arg("random") = pb::none(), pb::arg("plain") = false);

  pb::class_<Sensitivity>(m, "Sensitivity",
                          "How much findings at other nodes would change the beliefs of one target node.")
      .def(pb::init<const Net&, const pb::object&, const pb::object&>(), pb::arg("net"), pb::arg("target"),
           pb::arg("nodes") = pb::none())
      .def("mutual_info", &Sensitivity::mutualInfo, pb::arg("node"),
           "Mutual information of the target and the node in bits (the target's entropy for the target).")
      .def("belief_variance", &Sensitivity::beliefVariance, pb::arg("node"))
      .def("variance_reduction", &Sensitivity::varianceReduction, pb::arg("node"),
           "Expected reduction of the variance of the target's value (the target needs levels).")
      .def("ratio", &Sensitivity::ratio, pb::arg("node"), pb::arg("node_state"), pb::arg("target_state"))
      .def("belief_change", &Sensitivity::beliefChange, pb::arg("node"), pb::arg("target_state"))
      .def("belief_range", &Sensitivity::beliefRange, pb::arg("node"), pb::arg("target_state"))
      .def("real_mean", &Sensitivity::realMean, pb::arg("node"), pb::arg("node_state"),
           "The target's mean value once the node is found in `node_state` (the target needs levels).")
      .def("belief_change_variance", &Sensitivity::beliefChangeVariance, pb::arg("node"), pb::arg("target_state"),
           "The variance of the target's belief in `target_state` over findings at the node.");
}

}  // namespace quorva::py
