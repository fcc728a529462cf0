// Belief updating: the junction steps, entering findings, the propagation schedule, messages and
// root normalisation.
#include "BN/Inference/BeliefUpdate.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "BN/Decision/DecisionSolver.h"
#include "BN/Net/Bnet.h"
#include "BN/Inference/ImpossibleConditions.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/PotKernels.h"
#include "Basic/BasicErrors.h"
#include "Basic/EnvCore.h"
#include "Basic/Format.h"
#include "Basic/Progress.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

struct Inconsistent {};  // propagation found the findings to have probability 0
struct Halted {};        // the user halted the update

// Set while updating only to learn whether the findings hold, when explaining a failure is wasted.
thread_local bool checkingOnly = false;

// The progress of one update, counted in clique entries worked on, reported to the environment's
// watcher a clique at a time; the user's halt is seen at the same points.
class Meter {
 public:
  Meter(Progress& progress, double total) : progress_(progress), total_(total > 0 ? total : 1) {}
  void step(double entries) {
    done_ += entries;
    if (!progress_.update(std::min(1.0, done_ / total_))) throw Halted{};
  }

 private:
  Progress& progress_;
  double total_, done_ = 0;
};

double cliqueEntries(const JunctionTree& jt) {
  double s = 0;
  for (const Clique& c : jt.cliques) s += c.size;
  return s;
}

// Step 1 -> 2: every clique and separator gets its table, all in one block.
void allocateTables(Bnet& net, JunctionTree& jt) {
  const char* purpose = "to do >-exact_inference";
  size_t floats = 0;
  auto room = [&](const PotTable& t) {
    if (t.size() == TOO_LARGE || t.size() >= MAX_ALLOC_ENTRIES)
      raiseMemoryError(net.env, err::NotEnoughMemory, purpose, formatBytes(4.0 * sizeOfSpace(t.dims())));
    floats += TableArena::sliceFloats(t.size());
  };
  for (Clique& c : jt.cliques) {
    c.pot = PotTable(net.env, c.members);
    room(c.pot);
  }
  for (Separator& s : jt.seps) {
    s.pot = PotTable(net.env, s.nodes);
    s.fresh = PotTable(net.env);
    s.fresh.shareNodes(s.pot);
    room(s.pot);
    room(s.fresh);
  }
  jt.arena.allocate(net.env, floats, purpose);
  for (Clique& c : jt.cliques) c.pot.attach(jt.arena.slice(c.pot.size()));
  for (Separator& s : jt.seps) {
    s.pot.attach(jt.arena.slice(s.pot.size()));
    s.fresh.attach(jt.arena.slice(s.fresh.size()));
  }
  net.juncStep = 2;
}

// Whether the node's CPT can go into its clique as it is: every entry a probability, factor 1.
bool usableAsIs(const PotTable& cpt) {
  if (cpt.factor() != 1.0) return false;
  const float* d = cpt.data();
  int bad = 0;
  for (size_t i = 0, n = cpt.size(); i < n; ++i) bad |= !(d[i] >= 0);  // reserved values are negative
  return !bad;
}

// The table a node brings into its home clique: its CPT with undefined rows taken as uniform, a
// CPT made from its function table, or none (uniform).  `use` points at the CPT itself when it
// needs no change, else at `made`.
bool inferenceTable(Bnode& n, PotTable& made, const PotTable*& use, bool& incomplete) {
  const NodeTables& t = n.tables;
  if (t.cpt.isAllocated()) {
    if (usableAsIs(t.cpt)) {
      use = &t.cpt;
      return true;
    }
    made = t.cpt;
    made.setFactor(1.0);
    size_t len = made.rowLength();
    for (size_t at = 0; at < made.size(); at += len)
      if (std::any_of(made.data() + at, made.data() + at + len, [](float v) { return isReservedFloat(v) || !(v >= 0); })) {
        incomplete = true;
        std::fill(made.data() + at, made.data() + at + len, static_cast<float>(1.0 / static_cast<double>(len)));
      }
    use = &made;
    return true;
  }
  if (t.func.isAllocated() && !t.funcReal) {
    made = PotTable(n.net->env, tableNodes(n, true));
    made.allocate();
    made.fill(0.0);
    size_t len = static_cast<size_t>(n.numStates);
    for (size_t row = 0; row < t.func.size(); ++row) {
      float v = t.func.data()[row];
      if (isReservedFloat(v)) {
        incomplete = true;
        std::fill(made.data() + row * len, made.data() + (row + 1) * len, static_cast<float>(1.0 / static_cast<double>(len)));
      } else {
        made.data()[row * len + static_cast<size_t>(v)] = 1.0f;
      }
    }
    use = &made;
    return true;
  }
  return false;
}

bool hasFinding(const Finding& f) { return f.state >= 0 || !f.likelihood.empty(); }

// The node's place in its home clique's list.
size_t placeIn(const Clique& home, const Bnode& n) {
  const std::span<Bnode* const> list = home.pot.nodes();
  auto it = std::find(list.begin(), list.end(), &n);
  QASSERT(n.net->env, it != list.end());
  return static_cast<size_t>(it - list.begin());
}

// Writes the ones of a clique that was left unwritten.
void writeOnes(Clique& c) {
  if (!c.ones) return;
  c.pot.fill(1.0);
  c.ones = false;
}

// Multiplies a node's finding into its home clique (without the underflow guard, which the
// caller runs once the clique has all its findings).
bool multiplyFinding(Bnet& net, JunctionTree& jt, Bnode& n) {
  const Finding& f = n.finding;
  if (n.homeClique < 0 || n.kind == CONSTANT || n.kind == UTILITY || !hasFinding(f)) return false;
  Clique& home = jt.cliques[static_cast<size_t>(n.homeClique)];
  writeOnes(home);
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
  home.state = 2;
  return true;
}

// Multiplies a node's finding into its home clique.
void enterFinding(Bnet& net, JunctionTree& jt, Bnode& n) {
  if (multiplyFinding(net, jt, n)) jt.cliques[static_cast<size_t>(n.homeClique)].pot.guardUnderflow();
}

// Constant nodes take the state of their finding (they have no clique).
void setConstants(Bnet& net) {
  for (Bnode* n : net.nodes)
    if (n->kind == CONSTANT) n->curState = std::max(0, n->finding.state);
}

// Step 2 -> 4: each clique written once from the tables of the nodes whose home it is (the first
// copied in, spread over the clique, the others multiplied in), then (`withFindings`) the findings
// of its nodes multiplied in.  Separators stand for ones until their first message.
void initPotentials(Bnet& net, JunctionTree& jt, Meter* meter, bool withFindings = true) {
  setConstants(net);
  std::vector<std::vector<Bnode*>> homed(jt.cliques.size());
  for (Bnode* n : net.nodes)
    if (n->homeClique >= 0 && n->kind != UTILITY) homed[static_cast<size_t>(n->homeClique)].push_back(n);
  const Bnode* missing = nullptr;
  const Bnode* partial = nullptr;
  for (size_t i = 0; i < jt.cliques.size(); ++i) {
    Clique& c = jt.cliques[i];
    jt.arena.prepare(c.pot.data() + c.pot.size());
    bool written = false;
    double scale = 1.0;
    for (Bnode* n : homed[i]) {
      if (n->kind == DECISION) continue;
      PotTable made;
      const PotTable* use = nullptr;
      bool incomplete = false;
      if (!inferenceTable(*n, made, use, incomplete)) {
        scale /= n->numStates;
        if (!missing) missing = n;
        continue;
      }
      if (incomplete && !partial) partial = n;
      if (written) {
        multiplyIn(c.pot, *use);
      } else {
        copyFrom(c.pot, *use, true);
        written = true;
      }
    }
    bool any = withFindings &&
               std::any_of(homed[i].begin(), homed[i].end(), [](const Bnode* n) { return hasFinding(n->finding); });
    // A clique of ones is left unwritten: its first message is copied in rather than multiplied.
    c.ones = !written && !any && scale == 1.0;
    if (!written && !c.ones) c.pot.fill(1.0);
    c.pot.multiplyScalar(scale);
    if (any) {
      for (Bnode* n : homed[i]) multiplyFinding(net, jt, *n);
      c.pot.guardUnderflow();
    }
    c.state = 2;
    if (meter) meter->step(c.size);
  }
  for (Separator& s : jt.seps) s.ones = true;
  jt.arena.prepare(jt.arena.end());  // the separators' pages, before the messages write them
  if (missing) engNotice(net.env, err::NoTables, missing->name);
  if (partial) engNotice(net.env, err::IncompleteTables, partial->name);
  net.enteredAs.assign(net.nodes.size(), Finding());
  for (size_t i = 0; withFindings && i < net.nodes.size(); ++i)
    if (hasFinding(net.nodes[i]->finding)) net.enteredAs[i] = net.nodes[i]->finding;
  jt.probFindings = 1.0;
  jt.spent = false;
  ++jt.version;
  net.juncStep = 4;
}

// Back to the saved potentials with no findings (step 4, no finding entered).
void restoreBase(Bnet& net, JunctionTree& jt) {
  setConstants(net);
  jt.base.restore(jt);
  net.enteredAs.assign(net.nodes.size(), Finding());
  jt.probFindings = 1.0;
  jt.spent = false;
  ++jt.version;
  net.juncStep = 4;
}

// The potentials are no longer whole: the next update starts again from the base when there is
// one (which stays good, as step 3 says, until the tables change), else from the tables.
void spendPotentials(Bnet& net, JunctionTree& jt) {
  for (Clique& c : jt.cliques) c.state = 1;
  jt.spent = true;
  net.juncStep = jt.base.have() ? 3 : 2;
}

// N := N * message; into a clique of ones, the message is copied in.
void receive(Clique& n, const PotTable& message, KernelPlan& plan) {
  if (n.ones) {
    copyFrom(n.pot, message, true);
    n.pot.guardUnderflow();
    n.ones = false;
  } else {
    multiplyIn(n.pot, message, plan);
  }
}

// C sends to N through separator s: the separator's new table over its old one multiplies N.
void sendMessage(JunctionTree& jt, int from, int sep, bool maxMode) {
  Separator& s = jt.seps[static_cast<size_t>(sep)];
  Clique& c = jt.cliques[static_cast<size_t>(from)];
  Clique& n = jt.cliques[static_cast<size_t>(jt.neighbour(from, sep))];
  bool fromA = from == s.a;
  writeOnes(c);
  if (maxMode) maxOutInto(s.fresh, c.pot);
  else marginalizeInto(s.fresh, c.pot, fromA ? s.fromA : s.fromB);
  if (s.ones) {
    // The old table is all ones: the message is the new table itself.
    receive(n, s.fresh, fromA ? s.intoB : s.intoA);
    s.pot.swap(s.fresh);
    s.ones = false;
    ++jt.version;
    return;
  }
  // s.pot := fresh / old (0 where old is 0), then it multiplies N; fresh becomes the separator.
  // The quotient is masked rather than chosen, so that the loop vectorises.
  float* o = s.pot.data();
  const float* f = s.fresh.data();
  for (size_t i = 0, n = s.pot.size(); i < n; ++i) {
    uint32_t keep = o[i] == 0.0f ? 0u : ~0u;
    o[i] = std::bit_cast<float>(std::bit_cast<uint32_t>(f[i] / o[i]) & keep);
  }
  s.pot.setFactorRaw(s.fresh.factor() / s.pot.factor());
  receive(n, s.pot, fromA ? s.intoB : s.intoA);
  s.pot.swap(s.fresh);
  ++jt.version;
}

// The root's normalisation; the probability of the findings gathers the factors.
void normaliseRoot(Bnet& net, JunctionTree& jt, Clique& root) {
  writeOnes(root);
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
  Schedule(Bnet& net, JunctionTree& jt, bool maxMode, Meter* meter)
      : net_(net), jt_(jt), max_(maxMode), meter_(meter), ring_(jt.queue) {
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
        send(c, lastSep);
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
      send(c, s);
      at(n).state = 4;
      push(n);
      pushNeighbours(n);
    }
    at(c).state = 5;
  }

  void send(int c, int sep) {
    sendMessage(jt_, c, sep, max_);
    if (meter_) meter_->step(at(c).size);
  }

  Bnet& net_;
  JunctionTree& jt_;
  bool max_;
  Meter* meter_;
  std::vector<int>& ring_;
  size_t head_ = 0, tail_ = 0;
};

void propagate(Bnet& net, JunctionTree& jt, bool maxMode, Meter* meter) {
  try {
    Schedule(net, jt, maxMode, meter).run();
  } catch (...) {
    // The potentials are part way through a round.
    spendPotentials(net, jt);
    throw;
  }
}

bool sameFinding(const Finding& a, const Finding& b) {
  return a.state == b.state && a.likelihood == b.likelihood;
}

// Whether the potentials (consistent with the findings in net.enteredAs) can be brought up to
// date by multiplying findings in: no finding in them was changed or taken away since.
bool onlyAdded(const Bnet& net) {
  if (net.juncStep < 3 || net.jt->spent || net.enteredAs.size() != net.nodes.size()) return false;
  for (size_t i = 0; i < net.nodes.size(); ++i)
    if (hasFinding(net.enteredAs[i]) && !sameFinding(net.enteredAs[i], net.nodes[i]->finding)) return false;
  return true;
}

// Multiplies in the findings that are not in the potentials yet.
void enterAddedFindings(Bnet& net, JunctionTree& jt) {
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    Bnode& n = *net.nodes[i];
    if (hasFinding(n.finding) && !sameFinding(net.enteredAs[i], n.finding)) {
      enterFinding(net, jt, n);
      net.enteredAs[i] = n.finding;
    }
  }
}

// The work of one update, in clique entries, for the progress shown: building the potentials
// writes every clique once, and a propagation sends at most one message each way through each
// separator, each costing its sender's entries.
double updateWork(const JunctionTree& jt, bool rebuild) {
  double messages = 0;
  for (const Separator& s : jt.seps)
    messages += jt.cliques[static_cast<size_t>(s.a)].size + jt.cliques[static_cast<size_t>(s.b)].size;
  return (rebuild ? cliqueEntries(jt) : 0) + messages;
}

// Builds the potentials from the node tables with the findings in and propagates.  On tables
// within the copy's bound they are first propagated with no findings and saved as the base, so
// that every later retraction starts from the copy; the findings then go in as they do after a
// retraction, so that the beliefs of a set of findings do not depend on what came before them.
void rebuildPotentials(Bnet& net, JunctionTree& jt, Progress& progress) {
  if (!jt.memoryChecked) {
    checkTableMemory(net, jt, true);
    jt.memoryChecked = true;
  }
  if (net.juncStep < 2) allocateTables(net, jt);
  net.juncStep = 2;  // until the potentials are whole
  bool makeBase = BaseCopy::bytesFor(jt) <= jt.baseCopyMaxBytes;
  Meter meter(progress, updateWork(jt, true) + (makeBase ? updateWork(jt, false) : 0));
  initPotentials(net, jt, &meter, !makeBase);
  propagate(net, jt, false, &meter);
  if (!makeBase) return;
  jt.base.save(net.env, jt);
  enterAddedFindings(net, jt);
  propagate(net, jt, false, &meter);
}

}  // namespace

void updateBeliefs(Bnet& net) {
  if (net.juncStep < 1 || !net.jt) engError(net.env, err::NeedsCompiling, net.name);
  if (net.juncStep >= 5) return;
  JunctionTree& jt = *net.jt;
  if (net.juncStep < 3) jt.base.drop();  // the tables may have changed since it was saved
  ++jt.updates;
  Progress progress(net.env->progress, "Operation in progress ...");
  struct Settle {  // the table block's pages are all mapped by the end of the update
    TableArena& arena;
    ~Settle() { arena.settle(); }
  } settle{jt.arena};
  try {
    if (onlyAdded(net)) {
      Meter meter(progress, updateWork(jt, false));
      enterAddedFindings(net, jt);
      net.juncStep = 4;
      propagate(net, jt, false, &meter);
    } else if (jt.base.have()) {
      Meter meter(progress, updateWork(jt, false));
      restoreBase(net, jt);
      enterAddedFindings(net, jt);
      propagate(net, jt, false, &meter);
    } else {
      rebuildPotentials(net, jt, progress);
    }
  } catch (const Inconsistent&) {
    std::string why = checkingOnly ? "" : explainImpossible(net);
    engError(net.env, err::Inconsistent, why.empty() ? why : "; " + why);
  } catch (const Halted&) {
    engError(net.env, err::UpdateHalted);
  }
  ++jt.version;  // cached beliefs read before this update are stale
  net.juncStep = 5;
  if (jt.hasDecisions && !checkingOnly) solveDecisions(net);
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
    const std::span<Bnode* const> list = t.nodes();
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
  if (jt.hasDecisions)
    if (const std::vector<float>* b = solvedBeliefs(net, n)) return *b;
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
  // Start again from the tables with the findings in, and propagate maxima instead of sums.
  initPotentials(net, jt, nullptr);
  std::vector<int> config(net.nodes.size(), -1);
  try {
    propagate(net, jt, true, nullptr);
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
  // The potentials now hold maxima.
  spendPotentials(net, jt);
  return config;
}

}  // namespace quorva
