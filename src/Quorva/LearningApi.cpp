// API functions of learning tables from cases: counting learning, the learner object, and the
// net tester.
#include <cstring>

#include "BN/Learning/CountingLearning.h"
#include "BN/Learning/LearnErrors.h"
#include "BN/Learning/Learner.h"
#include "BN/Learning/NetTester.h"
#include "BN/Net/NetEdit.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"
#include "VarVal/CaseErrors.h"

using namespace quorva;

namespace {

CaseFormat& caseFormat(Environ& env) {
  env.caseFormat.load(env);
  return env.caseFormat;
}

// The nodes of a list argument (a deleted one refused), all of one net.
std::vector<Bnode*> learnNodes(ApiFrame& f, const nodelist_bn* nodes) {
  const NodeList& list = f.list(nodes);
  std::vector<Bnode*> out;
  for (Bnode* n : list.nodes) {
    if (!n) continue;
    if (f.level() >= QUICK_CHECK_LEVEL && (!n->isOfType(BNODE_TYPE) || n->deleted))
      argError(&f.env(), err::DeletedNodesPassed);
    out.push_back(n);
  }
  return out;
}

// Learning into several nodes is one edit, undone as one: the nodes' tables.
template <class Learn>
void learnAsOneEdit(const std::vector<Bnode*>& nodes, const char* what, Learn learn) {
  if (nodes.empty()) return learn();
  UndoScope scope = UndoScope::parts();
  for (Bnode* n : nodes) scope.with(n, NODE_TABLES);
  NetEdit edit(*nodes.front()->net, what, EditKind::Tables, std::move(scope));
  learn();
  edit.commit();
}

void checkUpdating(ApiFrame& f, int updating) {
  if (updating != 0) argError(&f.env(), err::UpdatingArg, static_cast<double>(updating));
}

}  // namespace

extern "C" {

void ReviseCPTsByFindings_bn(const nodelist_bn* nodes, int updating, double degree) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    std::vector<Bnode*> listed = learnNodes(f, nodes);
    checkUpdating(f, updating);
    learnAsOneEdit(listed, "revise CPTs", [&] { reviseByFindings(listed, degree); });
  });
}

void ReviseCPTsByCaseFile_bn(stream_vq* file, const nodelist_bn* nodes, int updating, double degree) {
  apiRun(__func__, envOf(file), [&](ApiFrame& f) {
    FileSpec& stream = f.stream(file);
    std::vector<Bnode*> listed = learnNodes(f, nodes);
    checkUpdating(f, updating);
    learnAsOneEdit(listed, "revise CPTs", [&] { reviseByCaseFiles({{&stream, degree}}, listed, caseFormat(f.env())); });
  });
}

void FadeCPTable_bn(node_bn* node, double degree) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    if (!(degree >= 0 && degree <= 1)) argError(&f.env(), err::FadeDegreeArg, degree);
    fadeCpt(n, degree);
  });
}

}  // extern "C"

namespace {

Environ* envOfLearnObject(const void* h, uint16_t type) {
  if (!h || !handleIsOfType(h, type)) return defaultEnviron();
  EnvCore* env = type == LEARNER_TYPE ? static_cast<const Learner*>(h)->env : static_cast<const NetTester*>(h)->env;
  Environ* e = Environ::of(env);
  return e && e->isOfType(ENVIRON_TYPE) ? e : defaultEnviron();
}

template <class T>
T& learnObject(ApiFrame& f, const void* h, uint16_t type, const char* glossary) {
  if (f.level() >= QUICK_CHECK_LEVEL) {
    if (!h) argError(&f.env(), err::NullObject, glossary);
    if (!handleIsOfType(h, type)) argError(&f.env(), err::WrongType, glossary);
    if (static_cast<const Tagged*>(h)->deleted) argError(&f.env(), err::DeletedObject, glossary);
  }
  QASSERT(&f.env(), h != nullptr);
  return *static_cast<T*>(const_cast<void*>(h));
}

Learner& learnerArg(ApiFrame& f, const learner_bn* h) { return learnObject<Learner>(f, h, LEARNER_TYPE, "Learner"); }

learner_bn* handle(Learner* l) { return reinterpret_cast<learner_bn*>(l); }

void checkNoOptions(ApiFrame& f, const char* options) {
  if (options && *options) argError(&f.env(), err::OptionsArg, options);
}

// The files of a caseset with their degrees, each times `degree`.
std::vector<WeightedFile> casesetFiles(ApiFrame& f, const caseset_cs* cases, double degree) {
  const Caseset& set = f.caseset(cases);
  std::vector<WeightedFile> files;
  for (const Caseset::Part& part : set.parts) {
    if (part.file->deleted) engError(&f.env(), err::CasesetFileDeleted, part.file->displayName(), set.name);
    files.push_back({part.file, part.degree * degree});
  }
  return files;
}

}  // namespace

extern "C" {

learner_bn* NewLearner_bn(learn_method_bn method, const char* options, environ_vq* env) {
  return apiCall(__func__, static_cast<learner_bn*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    int m = enumBits(method);
    if (m != COUNTING_LEARNING && m != EM_LEARNING && m != GRADIENT_ASCENT_LEARNING)
      argError(&e, err::LearnMethodArg, m);
    checkNoOptions(f, options);
    auto learner = std::make_shared<Learner>(&e, static_cast<LearnMethod>(m));
    e.learnObjects.push_back(learner);
    return handle(learner.get());
  });
}

int SetLearnerMaxIters_bn(learner_bn* learner, int max_iters) {
  return apiCall(__func__, -1, envOfLearnObject(learner, LEARNER_TYPE), [&](ApiFrame& f) {
    Learner& l = learnerArg(f, learner);
    int before = l.settings.maxIters;
    if (max_iters == -1) return before;
    if (max_iters < 1) argError(&f.env(), err::MaxItersArg, max_iters);
    l.settings.maxIters = max_iters;
    return before;
  });
}

double SetLearnerMaxTol_bn(learner_bn* learner, double log_likelihood_tol) {
  return apiCall(__func__, -1.0, envOfLearnObject(learner, LEARNER_TYPE), [&](ApiFrame& f) {
    Learner& l = learnerArg(f, learner);
    double before = l.settings.tolerance;
    if (log_likelihood_tol == -1) return before;
    if (!(log_likelihood_tol > 0)) argError(&f.env(), err::MaxTolArg, log_likelihood_tol);
    l.settings.tolerance = log_likelihood_tol;
    return before;
  });
}

int SetLearnerThreads_bn(learner_bn* learner, int threads) {
  return apiCall(__func__, -1, envOfLearnObject(learner, LEARNER_TYPE), [&](ApiFrame& f) {
    Learner& l = learnerArg(f, learner);
    int before = l.settings.threads;
    if (threads == -1) return before;
    if (threads < 1 || threads > 256) argError(&f.env(), err::ThreadsArg, threads);
    l.settings.threads = threads;
    return before;
  });
}

void LearnCPTs_bn(learner_bn* learner, const nodelist_bn* nodes, const caseset_cs* cases, double degree) {
  apiRun(__func__, envOfLearnObject(learner, LEARNER_TYPE), [&](ApiFrame& f) {
    Learner& l = learnerArg(f, learner);
    std::vector<Bnode*> listed = learnNodes(f, nodes);
    if (!(degree > 0)) argError(&f.env(), err::LearnDegreeArg, degree);
    std::vector<WeightedFile> files = casesetFiles(f, cases, degree);
    learnAsOneEdit(listed, "learn CPTs", [&] { l.learn(listed, files, caseFormat(f.env())); });
  });
}

int GetLearnerIterations_bn(const learner_bn* learner) {
  return apiCall(__func__, -1, envOfLearnObject(learner, LEARNER_TYPE),
                 [&](ApiFrame& f) { return learnerArg(f, learner).last.iterations; });
}

double GetLearnerLogLikelihood_bn(const learner_bn* learner, int iteration) {
  return apiCall(__func__, GetUndefDbl_vq(), envOfLearnObject(learner, LEARNER_TYPE), [&](ApiFrame& f) {
    const LearnReport& r = learnerArg(f, learner).last;
    if (iteration < 0 || static_cast<size_t>(iteration) >= r.objective.size()) return GetUndefDbl_vq();
    return r.objective[static_cast<size_t>(iteration)];
  });
}

void DeleteLearner_bn(learner_bn* learner) {
  apiRun(__func__, envOfLearnObject(learner, LEARNER_TYPE), [&](ApiFrame& f) { learnerArg(f, learner).release(); });
}

}  // extern "C"

namespace {

NetTester& testerArg(ApiFrame& f, const tester_bn* h) {
  return learnObject<NetTester>(f, h, NET_TESTER_TYPE, "NetTester");
}

tester_bn* handle(NetTester* t) { return reinterpret_cast<tester_bn*>(t); }

// The nodes of a list (may be null), all of `net` (the first list's net when null).
std::vector<Bnode*> nodesOfNet(ApiFrame& f, const nodelist_bn* list, Bnet*& net) {
  if (!list) return {};
  std::vector<Bnode*> nodes = learnNodes(f, list);
  for (Bnode* n : nodes) {
    if (!net) net = n->net;
    if (n->net != net) argError(&f.env(), err::NodesOfTwoNets, n->name, n->net->name, net->name);
  }
  return nodes;
}

// The score of a tested node, or refuses a node that is not one.
const NodeScore& nodeScore(ApiFrame& f, NetTester& t, const node_bn* node) {
  Bnode& n = f.node(node);
  int i = t.indexOf(&n);
  if (i < 0) argError(&f.env(), err::TesterNodeNotTested, n.name);
  return t.scores[static_cast<size_t>(i)];
}

double mean(const NodeScore& s, double sum) { return s.weight > 0 ? sum / s.weight : GetUndefDbl_vq(); }

}  // namespace

extern "C" {

tester_bn* NewNetTester_bn(const nodelist_bn* test_nodes, const nodelist_bn* unobsv_nodes, int tests) {
  return apiCall(__func__, static_cast<tester_bn*>(nullptr), envOf(test_nodes), [&](ApiFrame& f) {
    Bnet* net = f.list(test_nodes).net;
    std::vector<Bnode*> tested = nodesOfNet(f, test_nodes, net);
    std::vector<Bnode*> hidden = nodesOfNet(f, unobsv_nodes, net);
    if (!net) argError(&f.env(), err::NullArgument, "test_nodes");
    if (tests != -1) argError(&f.env(), err::TestsArg, tests);
    auto tester = std::make_shared<NetTester>(&f.env(), net, std::move(tested), std::move(hidden));
    f.env().learnObjects.push_back(tester);
    return handle(tester.get());
  });
}

void TestWithCaseset_bn(tester_bn* test, caseset_cs* cases) {
  apiRun(__func__, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) {
    NetTester& t = testerArg(f, test);
    t.test(casesetFiles(f, cases, 1.0), caseFormat(f.env()));
  });
}

double GetTestErrorRate_bn(tester_bn* test, node_bn* node) {
  return apiCall(__func__, -1.0, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) {
    const NodeScore& s = nodeScore(f, testerArg(f, test), node);
    return mean(s, s.errors);
  });
}

double GetTestLogLoss_bn(tester_bn* test, node_bn* node) {
  return apiCall(__func__, -1.0, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) {
    const NodeScore& s = nodeScore(f, testerArg(f, test), node);
    return mean(s, s.logLoss);
  });
}

double GetTestQuadraticLoss_bn(tester_bn* test, node_bn* node) {
  return apiCall(__func__, -1.0, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) {
    const NodeScore& s = nodeScore(f, testerArg(f, test), node);
    return mean(s, s.quadLoss);
  });
}

double GetTestConfusion_bn(tester_bn* test, node_bn* node, state_bn predicted, state_bn actual) {
  return apiCall(__func__, -1.0, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) {
    const NodeScore& s = nodeScore(f, testerArg(f, test), node);
    const Bnode& n = f.node(node);
    if (predicted < 0 || predicted >= n.numStates)
      argError(&f.env(), err::ConfusionStateArg, "predicted", predicted, n.numStates - 1, n.name);
    if (actual < 0 || actual >= n.numStates)
      argError(&f.env(), err::ConfusionStateArg, "actual", actual, n.numStates - 1, n.name);
    return s.confusion[static_cast<size_t>(actual) * static_cast<size_t>(n.numStates) + static_cast<size_t>(predicted)];
  });
}

int SetNetTesterThreads_bn(tester_bn* test, int threads) {
  return apiCall(__func__, -1, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) {
    NetTester& t = testerArg(f, test);
    int before = t.threads;
    if (threads == -1) return before;
    if (threads < 1 || threads > 256) argError(&f.env(), err::ThreadsArg, threads);
    t.threads = threads;
    return before;
  });
}

void DeleteNetTester_bn(tester_bn* test) {
  apiRun(__func__, envOfLearnObject(test, NET_TESTER_TYPE), [&](ApiFrame& f) { testerArg(f, test).release(); });
}

}  // extern "C"
