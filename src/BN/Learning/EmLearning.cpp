// Expectation-maximisation over cases, its expected counts taken on worker copies of the net.
#include "BN/Learning/EmLearning.h"

#include <algorithm>
#include <cmath>

#include "BN/Learning/CaseTable.h"
#include "BN/Learning/FamilyCounts.h"
#include "BN/Learning/LearnErrors.h"
#include "BN/Learning/NetWorker.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// A learnt node: its place in the net, its cells' place among all learnt cells, its parents.
struct Learnt {
  size_t place = 0, offset = 0, states = 0, cells = 0;
  std::vector<size_t> parentPlaces, radix;
};

struct Model {
  std::vector<Learnt> learnt;
  std::vector<FamilyCounts> priors;  // per learnt node: its counts before learning
  std::vector<double> prior;         // all learnt cells, in order
  std::vector<float> theta;          // the probabilities of this iteration
  size_t cells = 0;
};

size_t placeOf(const Bnet& net, const Bnode* node) {
  return static_cast<size_t>(std::find(net.nodes.begin(), net.nodes.end(), node) - net.nodes.begin());
}

Model makeModel(const std::vector<Bnode*>& nodes) {
  Model m;
  for (Bnode* n : nodes) {
    if (!isLearnable(*n)) continue;
    FamilyCounts c = readCounts(*n);
    Learnt l;
    l.place = placeOf(*n->net, n);
    l.offset = m.cells;
    l.states = c.states;
    l.cells = c.cells.size();
    l.radix = c.radix;
    for (const Link& link : n->parents) l.parentPlaces.push_back(placeOf(*n->net, link.parent));
    m.cells += l.cells;
    m.prior.insert(m.prior.end(), c.cells.begin(), c.cells.end());
    m.learnt.push_back(std::move(l));
    m.priors.push_back(std::move(c));
  }
  return m;
}

// Each row of `counts` over its sum (uniform where the sum is 0), into theta.
void normaliseInto(const Model& m, const std::vector<double>& counts, std::vector<float>& theta) {
  theta.resize(m.cells);
  for (const Learnt& l : m.learnt)
    for (size_t r = l.offset; r < l.offset + l.cells; r += l.states) {
      double sum = 0;
      for (size_t s = 0; s < l.states; ++s) sum += std::max(counts[r + s], 0.0);
      for (size_t s = 0; s < l.states; ++s)
        theta[r + s] = sum > 0 ? static_cast<float>(std::max(counts[r + s], 0.0) / sum) : 1.0f / static_cast<float>(l.states);
    }
}

// The log of the prior: the sum over cells of prior count times log probability.
double logPrior(const Model& m) {
  double sum = 0;
  for (size_t i = 0; i < m.cells; ++i)
    if (m.prior[i] > 0 && m.theta[i] > 0) sum += m.prior[i] * std::log(static_cast<double>(m.theta[i]));
  return sum;
}

// The expected counts and log-likelihood of cases [from, to) on one worker.
struct BlockResult {
  std::vector<double> counts;
  double logLikelihood = 0;
  long long impossible = 0;
};

void expectBlock(NetWorker& w, const CaseTable& cases, const Model& m, size_t from, size_t to, const ProgressHub& hub,
                 BlockResult& out) {
  out.counts.assign(m.cells, 0.0);
  out.logLikelihood = 0;
  out.impossible = 0;
  std::vector<double> post;
  for (size_t c = from; c < to; ++c) {
    if (hub.haltRequested()) throw WorkHalted{};
    const int32_t* row = cases.row(c);
    if (!w.enterCase(row, cases.likelihoods.empty() ? nullptr : &cases.likelihoods[c])) {
      ++out.impossible;
      continue;
    }
    double weight = cases.weights[c];
    out.logLikelihood += weight * std::log(w.caseProbability());
    for (const Learnt& l : m.learnt) {
      int s = row[l.place];
      size_t r = 0;
      for (size_t i = 0; i < l.parentPlaces.size() && s >= 0; ++i) {
        int p = row[l.parentPlaces[i]];
        if (p < 0) s = -1;
        r = r * l.radix[i] + static_cast<size_t>(std::max(p, 0));
      }
      if (s >= 0) {  // the whole family is known: all the weight on one cell
        out.counts[l.offset + r * l.states + static_cast<size_t>(s)] += weight;
        continue;
      }
      w.familyPosterior(l.place, post);
      double* into = out.counts.data() + l.offset;
      for (size_t i = 0; i < l.cells; ++i) into[i] += weight * post[i];
    }
  }
}

// One E-step: the blocks of cases worked by the workers, their results summed in block order.
BlockResult expectAll(std::vector<std::unique_ptr<NetWorker>>& workers, const CaseTable& cases, const Model& m,
                      const ProgressHub& hub) {
  size_t size = caseBlockSize(cases.size());
  size_t blocks = (cases.size() + size - 1) / size;
  std::vector<BlockResult> results(blocks);
  forEachBlock(workers, blocks, [&](NetWorker& w, size_t b) {
    expectBlock(w, cases, m, b * size, std::min(cases.size(), (b + 1) * size), hub, results[b]);
  });
  BlockResult total;
  total.counts.assign(m.cells, 0.0);
  for (const BlockResult& r : results) {
    for (size_t i = 0; i < m.cells; ++i) total.counts[i] += r.counts[i];
    total.logLikelihood += r.logLikelihood;
    total.impossible += r.impossible;
  }
  return total;
}

void setModel(std::vector<std::unique_ptr<NetWorker>>& workers, const Model& m) {
  for (auto& w : workers)
    for (const Learnt& l : m.learnt) w->setCpt(l.place, m.theta.data() + l.offset);
}

}  // namespace

LearnReport learnByEm(const std::vector<Bnode*>& nodes, const std::vector<WeightedFile>& files,
                      const CaseFormat& caseFormat, const LearnSettings& settings) {
  LearnReport report;
  if (nodes.empty()) return report;
  Bnet& net = *nodes.front()->net;
  EnvCore* env = net.env;
  Model m = makeModel(nodes);
  if (m.learnt.empty()) return report;
  CaseTable cases = readCaseTable(files, net, net.nodes, caseFormat);
  if (cases.size() == 0) engError(env, err::NoCasesToLearn);
  std::vector<std::unique_ptr<NetWorker>> workers;
  size_t threads = static_cast<size_t>(std::max(1, settings.threads));
  for (size_t t = 0; t < threads; ++t) workers.push_back(std::make_unique<NetWorker>(net));
  normaliseInto(m, m.prior, m.theta);
  Progress progress(env->progress, "learning CPTs by EM");
  std::vector<double> counts;
  double previous = 0;
  for (int k = 1; k <= settings.maxIters; ++k) {
    setModel(workers, m);
    BlockResult e;
    try {
      e = expectAll(workers, cases, m, env->progress);
    } catch (const WorkHalted&) {
      engError(env, err::EmHalted, k);
    }
    if (k == 1 && e.impossible > 0) engWarning(env, err::LearnImpossibleCases, e.impossible);
    double objective = e.logLikelihood + logPrior(m);
    report.objective.push_back(objective);
    report.iterations = k;
    env->progress.report(format("EM iteration %d: log likelihood %.10g", k, objective),
                         static_cast<double>(k) / settings.maxIters);
    counts = m.prior;
    for (size_t i = 0; i < m.cells; ++i) counts[i] += e.counts[i];
    normaliseInto(m, counts, m.theta);
    if (k > 1 && std::fabs(objective - previous) <= settings.tolerance * std::fabs(objective)) break;
    previous = objective;
  }
  for (size_t i = 0; i < m.learnt.size(); ++i) {
    FamilyCounts& c = m.priors[i];
    std::copy(counts.begin() + static_cast<long>(m.learnt[i].offset),
              counts.begin() + static_cast<long>(m.learnt[i].offset + m.learnt[i].cells), c.cells.begin());
    storeCounts(c);
  }
  return report;
}

}  // namespace quorva
