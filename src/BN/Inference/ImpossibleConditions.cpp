// Finding the "impossible condition" rows reached by inconsistent findings: each table's rows of
// zeros are set to ones for a trial; when the findings then hold, the parent conditions those rows
// declared impossible and that now have positive probability are the culprits.
#include "BN/Inference/ImpossibleConditions.h"

#include <algorithm>
#include <vector>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Net/Bnet.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/PotKernels.h"
#include "Basic/EnvCore.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {
namespace {

constexpr size_t MAX_CHECKED = 30;   // nodes tried one at a time
constexpr size_t MAX_SHOWN = 3;      // conditions named per node

thread_local bool explaining = false;

struct Candidate {
  Bnode* node;
  std::vector<size_t> rows;  // the rows of zeros (row numbers)
};

std::vector<Candidate> candidates(Bnet& net) {
  std::vector<Candidate> out;
  for (Bnode* n : net.nodes) {
    const PotTable& t = n->tables.cpt;
    if (n->kind != NATURE || !t.isAllocated() || n->numStates <= 0) continue;
    size_t len = static_cast<size_t>(n->numStates), rows = t.size() / len;
    Candidate c{n, {}};
    for (size_t r = 0; r < rows; ++r) {
      const float* row = t.data() + r * len;
      if (std::all_of(row, row + len, [](float v) { return v == 0; })) c.rows.push_back(r);
    }
    if (!c.rows.empty()) out.push_back(std::move(c));
  }
  return out;
}

// Sets the candidates' rows of zeros to ones until it goes.
class Neutralised {
 public:
  Neutralised(Bnet& net, const std::vector<const Candidate*>& which) : net_(net), which_(which) {
    for (const Candidate* c : which_) set(*c, 1.0f);
    net_.tablesChanged();
  }
  ~Neutralised() {
    for (const Candidate* c : which_) set(*c, 0.0f);
    net_.tablesChanged();
  }
  Neutralised(const Neutralised&) = delete;
  Neutralised& operator=(const Neutralised&) = delete;

 private:
  static void set(const Candidate& c, float v) {
    size_t len = static_cast<size_t>(c.node->numStates);
    float* data = c.node->tables.cpt.data();
    for (size_t r : c.rows) std::fill(data + r * len, data + (r + 1) * len, v);
  }
  Bnet& net_;
  std::vector<const Candidate*> which_;
};

// "[A=a, B=b]" for row `row` of the node's CPT.
std::string conditionText(const Bnode& n, size_t row) {
  std::vector<std::string> parts(n.parents.size());
  for (size_t k = n.parents.size(); k-- > 0;) {
    const Bnode& p = *n.parents[k].parent;
    size_t s = row % static_cast<size_t>(p.numStates);
    row /= static_cast<size_t>(p.numStates);
    std::string state = s < p.stateNames.size() && !p.stateNames[s].empty() ? p.stateNames[s] : format("#%d", static_cast<int>(s));
    parts[k] = p.name + "=" + state;
  }
  std::string out = "[";
  for (size_t k = 0; k < parts.size(); ++k) out += (k ? ", " : "") + parts[k];
  return out + "]";
}

// With the node's rows neutralised and the findings holding: the rows declared impossible whose
// parent condition now has positive probability.
std::vector<size_t> reachedRows(Bnet& net, const Candidate& c) {
  const Bnode& n = *c.node;
  std::vector<Bnode*> parents;
  for (const Link& l : n.parents) {
    if (!l.parent || l.parent->kind == CONSTANT) return {};
    parents.push_back(l.parent);
  }
  if (parents.empty()) return c.rows;
  QASSERT(net.env, n.homeClique >= 0);
  PotTable marg(net.env, parents);
  marg.allocate();
  marginalizeInto(marg, net.jt->cliques[static_cast<size_t>(n.homeClique)].pot);
  std::vector<size_t> out;
  for (size_t r : c.rows)
    if (marg.data()[r] > 0) out.push_back(r);
  return out;
}

std::string explain(Bnet& net) {
  std::vector<Candidate> all = candidates(net);
  if (all.empty()) return "";
  std::vector<const Candidate*> every;
  for (const Candidate& c : all) every.push_back(&c);
  {
    Neutralised trial(net, every);
    if (!findingsHold(net)) return "none of the >-node-s of this >-net contain erroneous \"impossible condition\" indicators";
  }
  std::vector<std::string> found;
  for (size_t i = 0; i < all.size() && i < MAX_CHECKED; ++i) {
    Neutralised trial(net, {&all[i]});
    if (!findingsHold(net)) continue;
    std::vector<size_t> rows = reachedRows(net, all[i]);
    if (rows.empty()) continue;
    std::string conds;
    for (size_t k = 0; k < rows.size() && k < MAX_SHOWN; ++k) conds += (k ? ", " : "") + conditionText(*all[i].node, rows[k]);
    if (rows.size() > MAX_SHOWN) conds += ", ...";
    found.push_back(format("in the CPT of node %s, parent conditions declared \"impossible\" have occurred: %s",
                           all[i].node->name, conds));
  }
  if (found.empty())
    return "the >-CPTable of some >-node contains erroneous \"impossible condition\" indicators (row of Xs, or vector "
           "of all zeros), but it is not one of the >-node-s checked";
  std::string out;
  for (const std::string& f : found) out += (out.empty() ? "" : "; ") + f;
  return out;
}

}  // namespace

std::string explainImpossible(Bnet& net) {
  if (explaining || !net.jt) return "";
  explaining = true;
  std::string out;
  try {
    out = explain(net);
  } catch (const QuorvaError& e) {
    // The explanation is a courtesy: whatever stopped it (memory, say) is not reported.
    if (e.record) net.env->errors.remove(e.record);
    out.clear();
  }
  explaining = false;
  return out;
}

}  // namespace quorva
