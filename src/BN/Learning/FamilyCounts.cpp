// Reading a node's CPT and experience as counts, and writing counts back.
#include "BN/Learning/FamilyCounts.h"

#include <algorithm>
#include <string>

#include "BN/Learning/LearnErrors.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Net/NetEdit.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// Raises the refusal `d` labelled with the node's name.
template <class... A>
[[noreturn]] void refuse(const Bnode& node, ErrDef d, const A&... a) {
  std::string inner = format(d.text, a...);
  engError(node.net->env, ErrDef{d.number, err::FOR_NODE}, node.name, inner);
}

// The experience of each row (null table: none), or refuses an undefined entry.
bool readExperience(const Bnode& node, std::vector<double>& out, size_t rows) {
  const PotTable& t = node.tables.exper;
  if (!t.isAllocated()) return false;
  out.resize(rows);
  for (size_t r = 0; r < rows; ++r) {
    float v = t.data()[r];
    if (isReservedFloat(v)) return false;
    out[r] = v * t.factor();
  }
  return true;
}

// 0: no probability given, 1: all given, -1: some of each.
int cptGiven(const PotTable& cpt) {
  if (!cpt.isAllocated()) return 0;
  size_t undefined = static_cast<size_t>(std::count_if(cpt.data(), cpt.data() + cpt.size(), isReservedFloat));
  return undefined == cpt.size() ? 0 : undefined == 0 ? 1 : -1;
}

}  // namespace

bool isLearnable(const Bnode& node) { return node.kind == NATURE || node.kind == DISCONNECTED; }

FamilyCounts readCounts(Bnode& node) {
  if (!node.hasStates()) refuse(node, err::LearnContinuous);
  FamilyCounts c;
  c.node = &node;
  c.states = static_cast<size_t>(node.numStates);
  std::vector<int> dims;
  for (const Link& l : node.parents) {
    if (!l.parent->hasStates()) refuse(node, err::LearnContinuous);
    dims.push_back(l.parent->numStates);
    c.radix.push_back(static_cast<size_t>(l.parent->numStates));
  }
  dims.push_back(node.numStates);
  double cells = cptEntries(dims);
  if (cells > MAX_CPT_ENTRIES) refuse(node, err::LearnTooLarge, node.name, cells);
  size_t rows = static_cast<size_t>(cells) / c.states;
  std::vector<double> exper;
  bool hasExper = readExperience(node, exper, rows);
  int given = cptGiven(node.tables.cpt);
  if (given < 0) refuse(node, err::SomeProbsMissing);
  c.cells.resize(rows * c.states);
  if (given == 0) {
    if (node.tables.exper.isAllocated() &&
        (!hasExper || std::any_of(exper.begin(), exper.end(), [&](double e) { return e != exper[0]; })))
      refuse(node, err::ExperNotUniform);
    double cell = (hasExper ? exper[0] : PRIOR_COUNT) / static_cast<double>(c.states);
    std::fill(c.cells.begin(), c.cells.end(), cell);
    return c;
  }
  if (!hasExper) refuse(node, err::NoExperience);
  const PotTable& cpt = node.tables.cpt;
  for (size_t r = 0; r < rows; ++r)
    for (size_t s = 0; s < c.states; ++s) {
      size_t i = r * c.states + s;
      c.cells[i] = static_cast<double>(cpt.data()[i]) * cpt.factor() * exper[r];
    }
  return c;
}

void storeCounts(const FamilyCounts& c) {
  Bnode& node = *c.node;
  NetEdit edit(*node.net, "revise CPTs", EditKind::Tables, UndoScope::tables(node));
  PotTable& cpt = ensureCpt(node);
  PotTable& exper = ensureExper(node);
  cpt.setFactor(1.0);
  exper.setFactor(1.0);
  size_t n = c.states;
  for (size_t r = 0; r < c.rows(); ++r) {
    const double* row = &c.cells[r * n];
    double sum = 0;
    for (size_t s = 0; s < n; ++s) sum += std::max(row[s], 0.0);
    float* out = cpt.data() + r * n;
    for (size_t s = 0; s < n; ++s)
      out[s] = row[s] < 0 ? undefFloat() : sum > 0 ? static_cast<float>(row[s] / sum) : 1.0f / static_cast<float>(n);
    exper.data()[r] = static_cast<float>(sum);
  }
  edit.commit();
}

void fadeCounts(FamilyCounts& c, double degree) {
  for (double& cell : c.cells)
    if (cell >= 0) cell = cell * (1 - degree) + PRIOR_COUNT * degree;
}

}  // namespace quorva
