// Learning tables from cases (counting, EM), revising by findings, fading, and testing a net
// against cases.
#include "PyEngine.h"

namespace quorva::py {

namespace {

// A caseset over one case file, freed with the object.
class CaseFile {
 public:
  explicit CaseFile(const std::string& path) {
    environ_vq* env = processEnv();
    stream_ = NewFileStream_vq(path.c_str(), env, nullptr);
    cases_ = NewCaseset_cs(nullptr, env);
    if (stream_ && cases_) AddFileToCaseset_cs(cases_, stream_, 1.0, nullptr);
    try {
      check(env);
    } catch (...) {
      release();
      throw;
    }
  }
  ~CaseFile() { release(); }
  CaseFile(const CaseFile&) = delete;
  CaseFile& operator=(const CaseFile&) = delete;
  caseset_cs* cases() const { return cases_; }
  stream_vq* stream() const { return stream_; }

 private:
  void release() {
    if (cases_) DeleteCaseset_cs(cases_);
    if (stream_) DeleteStream_vq(stream_);
    cases_ = nullptr;
    stream_ = nullptr;
  }
  stream_vq* stream_ = nullptr;
  caseset_cs* cases_ = nullptr;
};

std::vector<double> learn(const Net& net, const std::string& path, const pb::object& keys, const std::string& method,
                          double degree, int maxIters, double tolerance, int threads) {
  learn_method_bn m;
  if (method == "counting") {
    m = COUNTING_LEARNING;
  } else if (method == "em") {
    m = EM_LEARNING;
  } else {
    throw pb::value_error("a learning method is 'counting' or 'em', not '" + method + "'");
  }
  environ_vq* env = processEnv();
  NodeList nodes(net.get(), net.nodesOf(keys));
  CaseFile cases(path);
  learner_bn* learner = NewLearner_bn(m, nullptr, env);
  check(env);
  std::vector<double> objective;
  if (maxIters > 0) SetLearnerMaxIters_bn(learner, maxIters);
  if (tolerance > 0) SetLearnerMaxTol_bn(learner, tolerance);
  if (threads > 0) SetLearnerThreads_bn(learner, threads);
  try {
    check(env);
    {
      pb::gil_scoped_release release;
      LearnCPTs_bn(learner, nodes.get(), cases.cases(), degree);
    }
    check(env);
    if (m == EM_LEARNING)
      for (int i = 0, n = GetLearnerIterations_bn(learner); i < n; ++i)
        objective.push_back(GetLearnerLogLikelihood_bn(learner, i));
  } catch (...) {
    DeleteLearner_bn(learner);
    throw;
  }
  DeleteLearner_bn(learner);
  return objective;
}

pb::dict testNet(const Net& net, const std::string& path, const pb::object& testKeys, const pb::object& hidden) {
  environ_vq* env = processEnv();
  std::vector<Node> testNodes = net.nodesOf(testKeys);
  NodeList tests(net.get(), testNodes);
  NodeList unobserved(net.get(), hidden.is_none() ? std::vector<Node>{} : net.nodesOf(hidden));
  CaseFile cases(path);
  tester_bn* tester = NewNetTester_bn(tests.get(), unobserved.get(), -1);
  check(env);
  pb::dict out;
  try {
    {
      pb::gil_scoped_release release;
      TestWithCaseset_bn(tester, cases.cases());
    }
    check(env);
    for (const Node& n : testNodes) {
      node_bn* node = n.get();
      const int states = n.numStates();
      pb::array_t<double> confusion({states, states});
      for (int a = 0; a < states; ++a)
        for (int p = 0; p < states; ++p) confusion.mutable_at(a, p) = GetTestConfusion_bn(tester, node, p, a);
      pb::dict scores;
      scores["error_rate"] = GetTestErrorRate_bn(tester, node);
      scores["log_loss"] = GetTestLogLoss_bn(tester, node);
      scores["quadratic_loss"] = GetTestQuadraticLoss_bn(tester, node);
      scores["confusion"] = confusion;
      check(env);
      out[GetNodeName_bn(node)] = scores;
    }
  } catch (...) {
    DeleteNetTester_bn(tester);
    throw;
  }
  DeleteNetTester_bn(tester);
  return out;
}

}  // namespace

void bindLearning(pb::module_& m) {
  addMethod(m, "Net", "_learn", &learn, pb::arg("path"), pb::arg("nodes"), pb::arg("method"), pb::arg("degree"),
            pb::arg("max_iters"), pb::arg("tolerance"), pb::arg("threads"));
  addMethod(m, "Net", "_test", &testNet, pb::arg("path"), pb::arg("test_nodes"), pb::arg("unobserved"));
  addMethod(
      m, "Net", "_revise_from_file",
      [](const Net& net, const std::string& path, const pb::object& keys, double degree) {
        NodeList nodes(net.get(), net.nodesOf(keys));
        stream_vq* stream = NewFileStream_vq(path.c_str(), processEnv(), nullptr);
        if (stream) {
          pb::gil_scoped_release release;
          ReviseCPTsByCaseFile_bn(stream, nodes.get(), 0, degree);
          DeleteStream_vq(stream);
        }
        check(processEnv());
      },
      pb::arg("path"), pb::arg("nodes"), pb::arg("degree"));
  addMethod(
      m, "Net", "revise_by_findings",
      [](const Net& net, const pb::object& keys, double degree) {
        NodeList nodes(net.get(), net.nodesOf(keys));
        ReviseCPTsByFindings_bn(nodes.get(), 0, degree);
        check(processEnv());
      },
      pb::arg("nodes") = pb::none(), pb::arg("degree") = 1.0,
      "Adds the case the present findings make to the counts of the nodes' CPTs (all nodes when None);\n"
      "a negative degree unlearns it.");
  addMethod(
      m, "Node", "fade",
      [](const Node& n, double degree) {
        FadeCPTable_bn(n.get(), degree);
        check(processEnv());
      },
      pb::arg("degree"), "Moves each CPT row toward uniform: count c becomes c (1 - degree) + degree.");
}

}  // namespace quorva::py
