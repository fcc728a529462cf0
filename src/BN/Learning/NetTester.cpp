// Testing a net's predictions on cases.
#include "BN/Learning/NetTester.h"

#include <algorithm>
#include <cmath>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Learning/CaseTable.h"
#include "BN/Learning/LearnErrors.h"
#include "BN/Learning/NetWorker.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

size_t placeOf(const Bnet& net, const Bnode* node) {
  return static_cast<size_t>(std::find(net.nodes.begin(), net.nodes.end(), node) - net.nodes.begin());
}

struct BlockScores {
  std::vector<NodeScore> scores;
  long long impossible = 0;
};

// Adds the beliefs `b` of a node whose actual state is `actual` to its score.
void score(NodeScore& s, const std::vector<float>& b, int actual, double weight) {
  size_t n = b.size();
  size_t predicted = static_cast<size_t>(std::max_element(b.begin(), b.end()) - b.begin());
  size_t a = static_cast<size_t>(actual);
  double squares = 0;
  for (float p : b) squares += static_cast<double>(p) * p;
  s.weight += weight;
  if (predicted != a) s.errors += weight;
  s.logLoss -= weight * std::log(std::max(static_cast<double>(b[a]), LOG_LOSS_FLOOR));
  s.quadLoss += weight * (1 - 2 * static_cast<double>(b[a]) + squares);
  s.confusion[a * n + predicted] += weight;
}

}  // namespace

NetTester::NetTester(EnvCore* env, Bnet* net, std::vector<Bnode*> tested, std::vector<Bnode*> unobserved)
    : Tagged(NET_TESTER_TYPE), env(env), net(net), tested(std::move(tested)), unobserved(std::move(unobserved)) {
  for (Bnode* n : this->tested) {
    NodeScore s;
    s.confusion.assign(static_cast<size_t>(n->numStates) * static_cast<size_t>(n->numStates), 0.0);
    scores.push_back(std::move(s));
  }
}

int NetTester::indexOf(const Bnode* node) const {
  auto it = std::find(tested.begin(), tested.end(), node);
  return it == tested.end() ? -1 : static_cast<int>(it - tested.begin());
}

void NetTester::test(const std::vector<WeightedFile>& files, const CaseFormat& format) {
  for (Bnode* n : tested)
    if (n->deleted || n->net != net) engError(env, err::TesterNetChanged);
  CaseTable cases = readCaseTable(files, *net, net->nodes, format);
  std::vector<size_t> places;
  std::vector<char> hidden(net->nodes.size(), 0);
  for (Bnode* n : tested) hidden[places.emplace_back(placeOf(*net, n))] = 1;
  for (Bnode* n : unobserved)
    if (!n->deleted && n->net == net) hidden[placeOf(*net, n)] = 1;
  std::vector<std::unique_ptr<NetWorker>> workers;
  for (int t = 0; t < std::max(1, threads); ++t) workers.push_back(std::make_unique<NetWorker>(*net));
  size_t size = caseBlockSize(cases.size());
  size_t blocks = (cases.size() + size - 1) / size;
  std::vector<BlockScores> results(blocks);
  const ProgressHub& hub = env->progress;
  Progress progress(env->progress, "testing net with cases");
  try {
    forEachBlock(workers, blocks, [&](NetWorker& w, size_t b) {
      BlockScores& out = results[b];
      out.scores.assign(scores.size(), NodeScore{});
      for (size_t i = 0; i < scores.size(); ++i) out.scores[i].confusion.assign(scores[i].confusion.size(), 0.0);
      for (size_t c = b * size; c < std::min(cases.size(), (b + 1) * size); ++c) {
        if (hub.haltRequested()) throw WorkHalted{};
        const int32_t* row = cases.row(c);
        if (std::none_of(places.begin(), places.end(), [&](size_t p) { return row[p] >= 0; })) continue;
        if (!w.enterCase(row, cases.likelihoods.empty() ? nullptr : &cases.likelihoods[c], &hidden)) {
          ++out.impossible;
          continue;
        }
        for (size_t i = 0; i < places.size(); ++i)
          if (row[places[i]] >= 0)
            score(out.scores[i], nodeBeliefs(w.node(places[i])), row[places[i]], cases.weights[c]);
      }
    });
  } catch (const WorkHalted&) {
    engError(env, err::TestHalted);
  }
  for (const BlockScores& r : results) {
    impossible += r.impossible;
    for (size_t i = 0; i < scores.size(); ++i) {
      NodeScore& s = scores[i];
      const NodeScore& add = r.scores[i];
      s.weight += add.weight;
      s.errors += add.errors;
      s.logLoss += add.logLoss;
      s.quadLoss += add.quadLoss;
      for (size_t k = 0; k < s.confusion.size(); ++k) s.confusion[k] += add.confusion[k];
    }
  }
}

}  // namespace quorva
