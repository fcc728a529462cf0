// Reading a net's tables and findings into rows to draw from, and drawing one case.
#include "BN/Approx/SampleModel.h"

#include <algorithm>
#include <unordered_map>

#include "BN/Inference/InferErrors.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/BasicErrors.h"
#include "Basic/Format.h"
#include "Basic/RandomGen.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// Normalises `row` in place; a row with an undefined, negative or missing entry, or summing to
// 0, becomes uniform.
void normaliseRow(double* row, int states) {
  double total = 0;
  bool usable = true;
  for (int s = 0; s < states; ++s) {
    if (!(row[s] >= 0)) usable = false;
    else total += row[s];
  }
  for (int s = 0; s < states; ++s) row[s] = usable && total > 0 ? row[s] / total : 1.0 / states;
}

// The rows of P(node | parents), normalised.
std::vector<double> tableRows(const Bnode& n, size_t rows) {
  const auto k = static_cast<size_t>(n.numStates);
  std::vector<double> prob(rows * k, -1.0);  // -1: unusable, read as uniform
  const NodeTables& t = n.tables;
  if (n.kind == DECISION) {
  } else if (t.cpt.isAllocated() && t.cpt.size() == rows * k) {
    const float* data = t.cpt.data();
    for (size_t i = 0; i < rows * k; ++i) prob[i] = isReservedFloat(data[i]) ? -1.0 : double{data[i]};
  } else if (t.func.isAllocated() && !t.funcReal && t.func.size() == rows) {
    const float* data = t.func.data();
    for (size_t r = 0; r < rows; ++r) {
      const float v = data[r];
      if (isReservedFloat(v) || !(v >= 0) || !(v < static_cast<float>(k))) continue;
      for (size_t s = 0; s < k; ++s) prob[r * k + s] = s == static_cast<size_t>(v) ? 1.0 : 0.0;
    }
  }
  for (size_t r = 0; r < rows; ++r) normaliseRow(&prob[r * k], n.numStates);
  return prob;
}

std::vector<double> cumulative(const std::vector<double>& rows, int states) {
  std::vector<double> cum(rows.size());
  const auto k = static_cast<size_t>(states);
  for (size_t r = 0; r * k < rows.size(); ++r) {
    double acc = 0;
    for (size_t s = 0; s < k; ++s) cum[r * k + s] = acc += rows[r * k + s];
    cum[r * k + k - 1] = 1.0;  // rounding never leaves a draw past the end
  }
  return cum;
}

}  // namespace

SampleModel::SampleModel(const Bnet& net) {
  std::unordered_map<const Bnode*, int> position;
  for (size_t i = 0; i < net.nodes.size(); ++i) position[net.nodes[i]] = static_cast<int>(i);
  nodes_.resize(net.nodes.size());
  std::vector<int> waiting(net.nodes.size(), 0);  // parents not yet placed
  std::vector<std::vector<int>> children(net.nodes.size());
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    const Bnode& n = *net.nodes[i];
    SampleNode& s = nodes_[i];
    bool drawable = n.kind != UTILITY && n.numStates > 0;
    size_t rows = 1;
    double entries = n.numStates;  // counted apart: the row count may not fit a size_t
    for (const Link& l : n.parents) {
      if (!l.parent) continue;
      const int p = position.at(l.parent);
      s.parents.push_back(p);
      s.parentStates.push_back(l.parent->numStates);
      children[static_cast<size_t>(p)].push_back(static_cast<int>(i));
      ++waiting[i];
      rows *= static_cast<size_t>(l.parent->numStates > 0 ? l.parent->numStates : 1);
      entries *= l.parent->numStates > 0 ? l.parent->numStates : 1;
      drawable = drawable && l.parent->numStates > 0 && l.parent->kind != UTILITY;
    }
    if (!drawable) continue;
    // A node without a table may have more parent rows than any table could: refused before
    // its uniform rows are laid out.
    if (entries > MAX_CPT_ENTRIES)
      raiseMemoryError(net.env, err::NotEnoughMemory, "to sample >-node '" + n.name + "'",
                       formatBytes(entries * 2 * sizeof(double)));
    s.states = n.numStates;
    s.prob = tableRows(n, rows);
    s.cum = cumulative(s.prob, s.states);
    s.clamp = n.finding.state >= 0 && n.finding.state < n.numStates ? n.finding.state : -1;
    if (s.clamp < 0 && n.finding.likelihood.size() == static_cast<size_t>(n.numStates))
      s.likelihood.assign(n.finding.likelihood.begin(), n.finding.likelihood.end());
    findings_ = findings_ || s.clamp >= 0 || !s.likelihood.empty();
  }
  // Parents first (Kahn's order, ties by net order); what is left over lies on a cycle.
  std::vector<int> ready;
  for (size_t i = nodes_.size(); i-- > 0;)
    if (waiting[i] == 0) ready.push_back(static_cast<int>(i));
  std::vector<int> placed;
  while (!ready.empty()) {
    const int i = ready.back();
    ready.pop_back();
    placed.push_back(i);
    for (int c : children[static_cast<size_t>(i)])
      if (--waiting[static_cast<size_t>(c)] == 0) ready.push_back(c);
  }
  if (placed.size() < nodes_.size()) {
    for (size_t i = 0; i < nodes_.size(); ++i) {
      if (waiting[i] == 0) continue;
      for (const Link& l : net.nodes[i]->parents)
        if (l.parent && waiting[static_cast<size_t>(position.at(l.parent))] > 0)
          engError(net.env, err::RandomCaseCycle, net.name, l.parent->name, net.nodes[i]->name);
    }
  }
  for (int i : placed) {
    const SampleNode& s = nodes_[static_cast<size_t>(i)];
    bool drawable = s.states > 0;
    for (int p : s.parents) drawable = drawable && nodes_[static_cast<size_t>(p)].states > 0;
    if (drawable) order_.push_back(i);
  }
  compact();
}

void SampleModel::compact() {
  steps_.clear();
  parentPos_.clear();
  parentCount_.clear();
  prob_.clear();
  cum_.clear();
  ratio_.clear();
  stepOf_.assign(nodes_.size(), -1);
  freeSteps_ = 0;
  for (int i : order_) {
    stepOf_[static_cast<size_t>(i)] = static_cast<int>(steps_.size());
    const SampleNode& n = nodes_[static_cast<size_t>(i)];
    Step st;
    st.node = i;
    st.states = n.states;
    st.clamp = n.clamp;
    if (st.clamp < 0) ++freeSteps_;
    st.parentsAt = static_cast<uint32_t>(parentPos_.size());
    parentPos_.insert(parentPos_.end(), n.parents.begin(), n.parents.end());
    parentCount_.insert(parentCount_.end(), n.parentStates.begin(), n.parentStates.end());
    st.parentsEnd = static_cast<uint32_t>(parentPos_.size());
    st.tableAt = prob_.size();
    prob_.insert(prob_.end(), n.prob.begin(), n.prob.end());
    cum_.insert(cum_.end(), n.cum.begin(), n.cum.end());
    st.weighted = !n.ratio.empty();
    if (st.weighted) ratio_.insert(ratio_.end(), n.ratio.begin(), n.ratio.end());
    else ratio_.resize(ratio_.size() + n.prob.size(), 1.0);
    st.likelihood = !n.likelihood.empty();
    steps_.push_back(st);
  }
}

void SampleModel::setProposal(size_t i, const std::vector<double>& proposal) {
  SampleNode& n = nodes_[i];
  if (proposal.empty()) {
    n.cum = cumulative(n.prob, n.states);
    n.ratio.clear();
    refresh(i);
    return;
  }
  std::vector<double> q = proposal;
  const auto k = static_cast<size_t>(n.states);
  n.ratio.assign(q.size(), 0.0);
  for (size_t r = 0; r * k < q.size(); ++r) {
    normaliseRow(&q[r * k], n.states);
    for (size_t s = 0; s < k; ++s)
      n.ratio[r * k + s] = q[r * k + s] > 0 ? n.prob[r * k + s] / q[r * k + s] : 0.0;
  }
  n.cum = cumulative(q, n.states);
  refresh(i);
}

void SampleModel::refresh(size_t i) {
  if (stepOf_[i] < 0) return;
  const SampleNode& n = nodes_[i];
  Step& st = steps_[static_cast<size_t>(stepOf_[i])];
  std::copy(n.cum.begin(), n.cum.end(), cum_.begin() + static_cast<long>(st.tableAt));
  st.weighted = !n.ratio.empty();
  for (size_t k = 0; k < n.prob.size(); ++k) ratio_[st.tableAt + k] = st.weighted ? n.ratio[k] : 1.0;
}

double SampleModel::draw(RandomGen& rng, int* values, std::vector<double>& uniforms) const {
  for (size_t i = 0; i < nodes_.size(); ++i) values[i] = -1;
  // The uniforms in the order the steps take them, drawn at once.
  if (uniforms.size() < freeSteps_) uniforms.resize(freeSteps_);
  rng.fillUniform(uniforms.data(), freeSteps_);
  const double* next = uniforms.data();
  double weight = 1.0;
  for (const Step& st : steps_) {
    size_t r = 0;
    for (uint32_t j = st.parentsAt; j < st.parentsEnd; ++j)
      r = r * static_cast<size_t>(parentCount_[j]) + static_cast<size_t>(values[parentPos_[j]]);
    const size_t at = st.tableAt + r * static_cast<size_t>(st.states);
    int state = st.clamp;
    if (state >= 0) {
      weight *= prob_[at + static_cast<size_t>(state)];
    } else {
      const double u = *next++;
      const double* c = &cum_[at];
      state = 0;
      while (state < st.states - 1 && !(u < c[state])) ++state;
      if (st.weighted) weight *= ratio_[at + static_cast<size_t>(state)];
      if (st.likelihood) weight *= nodes_[static_cast<size_t>(st.node)].likelihood[static_cast<size_t>(state)];
    }
    values[st.node] = state;
  }
  return weight;
}

}  // namespace quorva
