// API functions of learning tables from cases: counting learning, the learner object, and the
// net tester.
#include <cstring>

#include "BN/Learning/CountingLearning.h"
#include "BN/Learning/LearnErrors.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"

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

void checkUpdating(ApiFrame& f, int updating) {
  if (updating != 0) argError(&f.env(), err::UpdatingArg, static_cast<double>(updating));
}

}  // namespace

extern "C" {

void ReviseCPTsByFindings_bn(const nodelist_bn* nodes, int updating, double degree) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    std::vector<Bnode*> listed = learnNodes(f, nodes);
    checkUpdating(f, updating);
    reviseByFindings(listed, degree);
  });
}

void ReviseCPTsByCaseFile_bn(stream_vq* file, const nodelist_bn* nodes, int updating, double degree) {
  apiRun(__func__, envOf(file), [&](ApiFrame& f) {
    FileSpec& stream = f.stream(file);
    std::vector<Bnode*> listed = learnNodes(f, nodes);
    checkUpdating(f, updating);
    reviseByCaseFiles({{&stream, degree}}, listed, caseFormat(f.env()));
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
