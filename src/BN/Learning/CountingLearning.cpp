// Counting learning from findings and case files, and fading.
#include "BN/Learning/CountingLearning.h"

#include <algorithm>
#include <memory>

#include "BN/Learning/CaseFeed.h"
#include "BN/Learning/FamilyCounts.h"
#include "BN/Learning/LearnErrors.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"

namespace quorva {

namespace {

// The state a finding gives: a state finding, or a likelihood with exactly one non-zero entry.
int knownState(const Bnode& node) {
  const Finding& f = node.finding;
  if (f.state >= 0) return f.state;
  if (f.likelihood.empty()) return -1;
  int found = -1;
  for (size_t i = 0; i < f.likelihood.size(); ++i) {
    if (f.likelihood[i] == 0) continue;
    if (found >= 0) return -1;
    found = static_cast<int>(i);
  }
  return found;
}

// One listed node while a case file is learnt: its places in the net's node order, its counts
// once a case first touches it.
struct Learnt {
  Bnode* node;
  size_t place;
  std::vector<size_t> parentPlaces;
  std::unique_ptr<FamilyCounts> counts;
};

size_t placeOf(const Bnet& net, const Bnode* node) {
  return static_cast<size_t>(std::find(net.nodes.begin(), net.nodes.end(), node) - net.nodes.begin());
}

// The listed nodes that can be learnt, and the nodes whose columns they need.
std::vector<Learnt> learntNodes(const std::vector<Bnode*>& nodes, std::vector<Bnode*>& wanted) {
  std::vector<Learnt> out;
  for (Bnode* n : nodes) {
    if (!isLearnable(*n)) continue;
    Learnt l{n, placeOf(*n->net, n), {}, nullptr};
    wanted.push_back(n);
    for (const Link& link : n->parents) {
      l.parentPlaces.push_back(placeOf(*n->net, link.parent));
      wanted.push_back(link.parent);
    }
    out.push_back(std::move(l));
  }
  return out;
}

// Adds one case to every listed node whose family it gives; false with the node that refused.
bool addCase(std::vector<Learnt>& learnt, const std::vector<int>& states, double weight, std::vector<int>& ps,
             Learnt*& refused) {
  for (Learnt& l : learnt) {
    int s = states[l.place];
    if (s < 0) continue;
    ps.resize(l.parentPlaces.size());
    bool whole = true;
    for (size_t i = 0; i < ps.size() && whole; ++i) whole = (ps[i] = states[l.parentPlaces[i]]) >= 0;
    if (!whole) continue;
    if (!l.counts) l.counts = std::make_unique<FamilyCounts>(readCounts(*l.node));
    if (!l.counts->add(l.counts->rowOf(ps.data()), s, weight)) {
      refused = &l;
      return false;
    }
  }
  return true;
}

}  // namespace

void reviseByFindings(const std::vector<Bnode*>& nodes, double degree) {
  std::vector<int> ps;
  for (Bnode* n : nodes) {
    if (!isLearnable(*n)) continue;
    int s = knownState(*n);
    if (s < 0) continue;
    ps.clear();
    for (const Link& l : n->parents) ps.push_back(knownState(*l.parent));
    if (std::any_of(ps.begin(), ps.end(), [](int p) { return p < 0; })) continue;
    FamilyCounts counts = readCounts(*n);
    if (!counts.add(counts.rowOf(ps.data()), s, degree)) engError(n->net->env, err::Unlearn, degree, n->name);
    storeCounts(counts);
  }
}

long reviseByCaseFiles(const std::vector<WeightedFile>& files, const std::vector<Bnode*>& nodes,
                       const CaseFormat& format) {
  if (nodes.empty()) return 0;
  Bnet& net = *nodes.front()->net;
  EnvCore* env = net.env;
  std::vector<Bnode*> wanted;
  std::vector<Learnt> learnt = learntNodes(nodes, wanted);
  Progress progress(env->progress, "incorporating cases");
  std::vector<int> ps;
  long cases = 0;
  bool halted = false;
  for (size_t f = 0; f < files.size() && !halted; ++f) {
    CaseFeed feed(*files[f].file, net, wanted, format);
    while (feed.next()) {
      ++cases;
      double weight = files[f].degree * feed.freq();
      Learnt* refused = nullptr;
      if (!addCase(learnt, feed.states(), weight, ps, refused))
        engError(env, err::UnlearnFile, weight, refused->node->name, static_cast<long long>(feed.caseNumber()),
                 files[f].file->displayName());
      double done = (static_cast<double>(f) + feed.fraction()) / static_cast<double>(files.size());
      if ((cases & 255) == 0 && !progress.update(done)) {
        halted = true;
        engWarning(env, err::LearnHalted, static_cast<int>(cases), 100 * done);
        break;
      }
    }
  }
  if (std::none_of(learnt.begin(), learnt.end(), [](const Learnt& l) { return l.counts != nullptr; }))
    engError(env, err::NoFamilyCases);
  for (const Learnt& l : learnt)
    if (l.counts) storeCounts(*l.counts);
  return cases;
}

void fadeCpt(Bnode& node, double degree) {
  if (!node.tables.cpt.isAllocated()) engError(node.net->env, err::FadeNoCpt, node.name);
  if (degree == 0) return;
  FamilyCounts counts = readCounts(node);
  fadeCounts(counts, degree);
  storeCounts(counts);
}

}  // namespace quorva
