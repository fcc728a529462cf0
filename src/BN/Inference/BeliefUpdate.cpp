// Belief updating: the junction steps, entering findings, the propagation schedule, messages and
// root normalisation.
#include "BN/Inference/BeliefUpdate.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "BN/Net/Bnet.h"
#include "BN/Inference/ImpossibleConditions.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/PotKernels.h"
#include "Basic/EnvCore.h"
#include "Basic/Progress.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

struct Inconsistent {};  // propagation found the findings to have probability 0

// Set while updating only to learn whether the findings hold, when explaining a failure is wasted.
thread_local bool checkingOnly = false;

// Step 1 -> 2: every clique and separator gets its table.
void allocateTables(Bnet& net, JunctionTree& jt) {
  for (Clique& c : jt.cliques) {
    c.pot = PotTable(net.env, c.members);
    c.pot.allocate();
  }
  for (Separator& s : jt.seps) {
    s.pot = PotTable(net.env, s.nodes);
    s.pot.allocate();
    s.fresh = PotTable(net.env);
    s.fresh.shareNodes(s.pot);
    s.fresh.allocate();
  }
  net.juncStep = 2;
}

// The table a node brings into its home clique: its CPT with undefined rows taken as uniform, a
// CPT made from its function table, or none (uniform).
bool inferenceTable(Bnode& n, PotTable& out, bool& incomplete) {
  const NodeTables& t = n.tables;
  if (t.cpt.isAllocated()) {
    out = t.cpt;
    out.setFactor(1.0);
    size_t len = out.rowLength();
    for (size_t at = 0; at < out.size(); at += len)
      if (std::any_of(out.data() + at, out.data() + at + len, [](float v) { return isReservedFloat(v) || !(v >= 0); })) {
        incomplete = true;
        std::fill(out.data() + at, out.data() + at + len, static_cast<float>(1.0 / static_cast<double>(len)));
      }
    return true;
  }
  if (t.func.isAllocated() && !t.funcReal) {
    out = PotTable(n.net->env, tableNodes(n, true));
    out.allocate();
    out.fill(0.0);
    size_t len = static_cast<size_t>(n.numStates);
    for (size_t row = 0; row < t.func.size(); ++row) {
      float v = t.func.data()[row];
      if (isReservedFloat(v)) {
        incomplete = true;
        std::fill(out.data() + row * len, out.data() + (row + 1) * len, static_cast<float>(1.0 / static_cast<double>(len)));
      } else {
        out.data()[row * len + static_cast<size_t>(v)] = 1.0f;
      }
    }
    return true;
  }
  return false;
}

// Step 2 -> 3: potentials from the node tables.
void initPotentials(Bnet& net, JunctionTree& jt) {
  for (Bnode* n : net.nodes)
    if (n->kind == CONSTANT) n->curState = std::max(0, n->finding.state);
  for (Clique& c : jt.cliques) {
    c.pot.fill(1.0);
    c.state = 2;
  }
  for (Separator& s : jt.seps) s.pot.fill(1.0);
  const Bnode* missing = nullptr;
  const Bnode* partial = nullptr;
  for (Bnode* n : net.nodes) {
    if (n->homeClique < 0 || n->kind == DECISION || n->kind == UTILITY) continue;
    Clique& home = jt.cliques[static_cast<size_t>(n->homeClique)];
    PotTable t;
    bool incomplete = false;
    if (inferenceTable(*n, t, incomplete)) {
      multiplyIn(home.pot, t);
      if (incomplete && !partial) partial = n;
    } else {
      home.pot.multiplyScalar(1.0 / n->numStates);
      if (!missing) missing = n;
    }
  }
  if (missing) engNotice(net.env, err::NoTables, missing->name);
  if (partial) engNotice(net.env, err::IncompleteTables, partial->name);
  jt.probFindings = 1.0;
  net.juncStep = 3;
}

// C sends to N through separator s: the separator's new table over its old one multiplies N.
void sendMessage(JunctionTree& jt, int from, int sep, bool maxMode) {
  Separator& s = jt.seps[static_cast<size_t>(sep)];
  Clique& c = jt.cliques[static_cast<size_t>(from)];
  Clique& n = jt.cliques[static_cast<size_t>(jt.neighbour(from, sep))];
  bool fromA = from == s.a;
  if (maxMode) maxOutInto(s.fresh, c.pot);
  else marginalizeInto(s.fresh, c.pot, fromA ? s.fromA : s.fromB);
  // s.pot := fresh / old (0 where old is 0), then it multiplies N; fresh becomes the separator.
  // The quotient is masked rather than chosen, so that the loop vectorises.
  float* o = s.pot.data();
  const float* f = s.fresh.data();
  for (size_t i = 0, n = s.pot.size(); i < n; ++i) {
    uint32_t keep = o[i] == 0.0f ? 0u : ~0u;
    o[i] = std::bit_cast<float>(std::bit_cast<uint32_t>(f[i] / o[i]) & keep);
  }
  s.pot.setFactorRaw(s.fresh.factor() / s.pot.factor());
  multiplyIn(n.pot, s.pot, fromA ? s.intoB : s.intoA);
  s.pot.swap(s.fresh);
  ++jt.version;
}

// The root's normalisation; the probability of the findings gathers the factors.
void normaliseRoot(Bnet& net, JunctionTree& jt, Clique& root) {
  double normfac = root.pot.sum();
  for (const Bnode* m : root.members)
    if (m->kind == DECISION && m->finding.state < 0) normfac /= m->numStates;
  if (normfac == 0) {
    if (!jt.hasDecisions) throw Inconsistent{};
    return;
  }
  QASSERT(net.env, normfac >= 0);
  root.pot.multiplyScalar(1.0 / normfac);
  jt.probFindings = std::min(1.0, normfac * jt.probFindings);
}

class Schedule {
 public:
  Schedule(Bnet& net, JunctionTree& jt, bool maxMode)
      : net_(net), jt_(jt), max_(maxMode), ring_(jt.queue) {
    ring_.resize(jt.cliques.size() + 1);
  }

  void run() {
    bool changed = false;
    for (Clique& c : jt_.cliques) {
      if (c.state != 2) c.state = 1;
      changed = changed || c.state == 2;
      c.onQueue = false;
    }
    if (!changed) return;
    for (size_t i = 0; i < jt_.cliques.size(); ++i) push(static_cast<int>(i));
    int pass = 1;
    while (true) {
      if (head_ == tail_) {
        if (pass == 2) break;
        pass = 2;
        for (size_t i = 0; i < jt_.cliques.size(); ++i) push(static_cast<int>(i));
        continue;
      }
      int c = ring_[head_];
      head_ = (head_ + 1) % ring_.size();
      jt_.cliques[static_cast<size_t>(c)].onQueue = false;
      act(c, pass);
    }
  }

 private:
  void push(int c) {
    Clique& q = jt_.cliques[static_cast<size_t>(c)];
    if (q.onQueue) return;
    q.onQueue = true;
    ring_[tail_] = c;
    tail_ = (tail_ + 1) % ring_.size();
  }
  void pushNeighbours(int c) {
    for (int s : jt_.cliques[static_cast<size_t>(c)].seps) push(jt_.neighbour(c, s));
  }
  Clique& at(int c) { return jt_.cliques[static_cast<size_t>(c)]; }

  void act(int c, int pass) {
    Clique& C = at(c);
    if (C.state == 3 || C.state == 5) return;
    if (C.state == 4) return distribute(c);
    if (pass == 1 && (C.state == 2 || C.state == 0)) return;
    int waiting = 0, lastSep = -1;
    for (int s : C.seps)
      if (at(jt_.neighbour(c, s)).state != 3) ++waiting, lastSep = s;
    if (waiting >= 2) return;
    if (waiting == 1) {
      if (C.state == 0) return;
      int n = jt_.neighbour(c, lastSep);
      if (C.state == 2) {
        sendMessage(jt_, c, lastSep, max_);
        if (at(n).state != 0) at(n).state = 2;
        push(n);
        pushNeighbours(n);
      }
      C.state = 3;
      pushNeighbours(c);
      return;
    }
    C.state = 4;  // every neighbour has sent: the root of this round
    pushNeighbours(c);
    normaliseRoot(net_, jt_, C);
    distribute(c);
  }

  void distribute(int c) {
    for (int s : at(c).seps) {
      int n = jt_.neighbour(c, s);
      if (at(n).state != 3) continue;
      sendMessage(jt_, c, s, max_);
      at(n).state = 4;
      push(n);
      pushNeighbours(n);
    }
    at(c).state = 5;
  }

  Bnet& net_;
  JunctionTree& jt_;
  bool max_;
  std::vector<int>& ring_;
  size_t head_ = 0, tail_ = 0;
};

// The node's place in its home clique's list.
size_t placeIn(const Clique& home, const Bnode& n) {
  const std::vector<Bnode*>& list = home.pot.nodes();
  auto it = std::find(list.begin(), list.end(), &n);
  QASSERT(n.net->env, it != list.end());
  return static_cast<size_t>(it - list.begin());
}

bool hasFinding(const Finding& f) { return f.state >= 0 || !f.likelihood.empty(); }

// Multiplies a node's finding into its home clique.
void enterFinding(Bnet& net, JunctionTree& jt, Bnode& n) {
  const Finding& f = n.finding;
  if (n.homeClique < 0 || n.kind == CONSTANT || n.kind == UTILITY) return;
  if (!hasFinding(f)) return;
  Clique& home = jt.cliques[static_cast<size_t>(n.homeClique)];
  size_t dim = placeIn(home, n);
  // A likelihood with one non-zero entry also fixes the state, but its weight still counts toward
  // the probability of the findings.
  if (!f.likelihood.empty()) {
    QASSERT(net.env, f.likelihood.size() == static_cast<size_t>(n.numStates));
    home.pot.multiplyAlong(dim, f.likelihood.data());
  } else {
    std::vector<float> lik(static_cast<size_t>(n.numStates), 0.0f);
    lik[static_cast<size_t>(f.state)] = 1.0f;
    home.pot.multiplyAlong(dim, lik.data());
  }
  home.pot.guardUnderflow();
  home.state = 2;
  jt.entered = true;
}

// Back to the consistent potentials without findings.
void restoreBase(JunctionTree& jt) {
  for (size_t i = 0; i < jt.cliques.size(); ++i) {
    copyFrom(jt.cliques[i].pot, jt.baseCliques[i], false);
    jt.cliques[i].state = 1;
  }
  for (size_t i = 0; i < jt.seps.size(); ++i) copyFrom(jt.seps[i].pot, jt.baseSeps[i], false);
  jt.probFindings = 1.0;
  jt.entered = false;
  ++jt.version;
}

void propagate(Bnet& net, JunctionTree& jt, bool maxMode) {
  try {
    Schedule(net, jt, maxMode).run();
  } catch (const Inconsistent&) {
    // The potentials are spent: the next update starts again from the base.
    jt.spent = true;
    for (Clique& c : jt.cliques) c.state = 1;
    throw;
  }
}

// Makes the base: potentials from the tables, propagated with no findings, kept aside.
void makeBase(Bnet& net, JunctionTree& jt) {
  if (!jt.memoryChecked) {
    checkTableMemory(net, jt, true);
    jt.memoryChecked = true;
  }
  if (net.juncStep < 2) allocateTables(net, jt);
  initPotentials(net, jt);
  propagate(net, jt, false);
  jt.baseCliques.clear();
  jt.baseSeps.clear();
  for (const Clique& c : jt.cliques) jt.baseCliques.push_back(c.pot);
  for (const Separator& s : jt.seps) jt.baseSeps.push_back(s.pot);
  jt.haveBase = true;
  jt.probFindings = 1.0;
  jt.entered = false;
  net.enteredAs.assign(net.nodes.size(), Finding());
}

bool sameFinding(const Finding& a, const Finding& b) {
  return a.state == b.state && a.likelihood == b.likelihood;
}

// Brings the findings in the potentials in line with the nodes': new findings are multiplied in;
// a finding changed or taken away sends the potentials back to the base first.
void enterChangedFindings(Bnet& net, JunctionTree& jt) {
  std::vector<Finding>& was = net.enteredAs;
  was.resize(net.nodes.size());
  bool onlyAdded = !jt.spent;
  for (size_t i = 0; i < net.nodes.size(); ++i)
    if (hasFinding(was[i]) && !sameFinding(was[i], net.nodes[i]->finding)) onlyAdded = false;
  if (!onlyAdded) {
    if (jt.entered || jt.spent) restoreBase(jt);
    jt.spent = false;
    was.assign(net.nodes.size(), Finding());
  }
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    Bnode& n = *net.nodes[i];
    if (hasFinding(n.finding) && !sameFinding(was[i], n.finding)) {
      enterFinding(net, jt, n);
      was[i] = n.finding;
    }
  }
}

}  // namespace

void updateBeliefs(Bnet& net) {
  if (net.juncStep < 1 || !net.jt) engError(net.env, err::NeedsCompiling, net.name);
  if (net.juncStep >= 5) return;
  JunctionTree& jt = *net.jt;
  ++jt.updates;
  Progress progress(net.env->progress, "Operation in progress ...");
  try {
    if (!jt.haveBase || net.juncStep < 3) makeBase(net, jt);
    enterChangedFindings(net, jt);
    net.juncStep = 4;
    propagate(net, jt, false);
  } catch (const Inconsistent&) {
    std::string why = checkingOnly ? "" : explainImpossible(net);
    engError(net.env, err::Inconsistent, why.empty() ? why : "; " + why);
  }
  ++jt.version;  // cached beliefs read before this update are stale
  net.juncStep = 5;
}

bool findingsHold(Bnet& net) {
  if (net.juncStep < 1 || !net.jt) return true;
  net.findingsChanged();
  struct Quiet {  // no explanation is wanted: the answer is all
    bool was = checkingOnly;
    Quiet() { checkingOnly = true; }
    ~Quiet() { checkingOnly = was; }
  } quiet;
  try {
    updateBeliefs(net);
    return true;
  } catch (const QuorvaError& e) {
    if (e.record && e.record->number == -err::Inconsistent.number) {
      net.env->errors.remove(e.record);
      return false;
    }
    throw;
  }
}

namespace {

// The table to read a node's beliefs from, and the node's place in it: the smallest of its home
// clique and that clique's separators holding it.  After a propagation the cliques and separators
// all agree on the node's marginal (a net with decisions reads the home clique).
const PotTable& beliefSource(const JunctionTree& jt, const Bnode& n, size_t& place) {
  const Clique& home = jt.cliques[static_cast<size_t>(n.homeClique)];
  const PotTable* best = &home.pot;
  place = placeIn(home, n);
  if (jt.hasDecisions) return *best;
  for (int s : home.seps) {
    const PotTable& t = jt.seps[static_cast<size_t>(s)].pot;
    if (t.size() >= best->size()) continue;
    const std::vector<Bnode*>& list = t.nodes();
    auto it = std::find(list.begin(), list.end(), &n);
    if (it == list.end()) continue;
    best = &t;
    place = static_cast<size_t>(it - list.begin());
  }
  return *best;
}

}  // namespace

const std::vector<float>& nodeBeliefs(Bnode& n) {
  Bnet& net = *n.net;
  updateBeliefs(net);
  JunctionTree& jt = *net.jt;
  if (n.beliefsVersion == jt.version + 1 && !n.beliefs.empty()) return n.beliefs;
  n.beliefs.assign(static_cast<size_t>(n.numStates), 0.0f);
  if (n.homeClique >= 0) {
    size_t count = n.beliefs.size(), place = 0;
    const PotTable& from = beliefSource(jt, n, place);
    double few[16];
    std::vector<double> many(count > 16 ? count : 0);
    double* sums = count > 16 ? many.data() : few;
    from.sumsAlong(place, sums);
    double sum = 0;
    for (size_t i = 0; i < count; ++i) sum += sums[i];
    for (size_t i = 0; i < count; ++i) n.beliefs[i] = sum > 0 ? static_cast<float>(sums[i] / sum) : 0.0f;
  } else if (n.finding.state >= 0) {
    n.beliefs[static_cast<size_t>(n.finding.state)] = 1.0f;
  }
  n.beliefsVersion = jt.version + 1;
  return n.beliefs;
}

double findingsProbability(Bnet& net) {
  updateBeliefs(net);
  return net.jt->probFindings;
}

std::vector<int> mostProbableConfig(Bnet& net) {
  updateBeliefs(net);
  JunctionTree& jt = *net.jt;
  // Start again from the tables, enter the findings and propagate maxima instead of sums.
  initPotentials(net, jt);
  for (Bnode* n : net.nodes) enterFinding(net, jt, *n);
  std::vector<int> config(net.nodes.size(), -1);
  try {
    propagate(net, jt, true);
  } catch (const Inconsistent&) {
    engError(net.env, err::Inconsistent, "");
  }
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    Bnode& n = *net.nodes[i];
    if (n.homeClique < 0) {
      config[i] = n.finding.state;
      continue;
    }
    PotTable b(net.env, {&n});
    b.allocate();
    maxOutInto(b, jt.cliques[static_cast<size_t>(n.homeClique)].pot);
    config[i] = static_cast<int>(std::max_element(b.data(), b.data() + b.size()) - b.data());
  }
  // The potentials now hold maxima: the next update starts from the base again.
  jt.haveBase = false;
  net.juncStep = 2;
  return config;
}

}  // namespace quorva
