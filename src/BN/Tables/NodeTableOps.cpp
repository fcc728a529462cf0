// Row and sub-table access to node tables, with their checks.
#include "BN/Tables/NodeTableOps.h"

#include <cmath>

#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/TableErrors.h"
#include "Basic/Raise.h"

namespace quorva {

void checkParentStates(const Bnode& node, const int* ps, bool allowEvery) {
  for (size_t i = 0; i < node.parents.size(); ++i) {
    const Bnode& p = *node.parents[i].parent;
    if (allowEvery && ps[i] == EVERY_STATE_VALUE) continue;
    if (ps[i] < 0 || ps[i] >= p.numStates)
      argError(node.net->env, err::ParentStateRange, ps[i], p.name, node.name, p.numStates - 1);
  }
}

std::vector<size_t> matchingRows(const Bnode& node, const int* ps) {
  std::vector<size_t> rows{0};
  for (size_t i = 0; i < node.parents.size(); ++i) {
    size_t n = static_cast<size_t>(node.parents[i].parent->numStates);
    std::vector<size_t> next;
    bool every = !ps || ps[i] == EVERY_STATE_VALUE;
    next.reserve(rows.size() * (every ? n : 1));
    for (size_t r : rows) {
      if (every)
        for (size_t s = 0; s < n; ++s) next.push_back(r * n + s);
      else
        next.push_back(r * n + static_cast<size_t>(ps[i]));
    }
    rows = std::move(next);
  }
  return rows;
}

namespace {

EnvCore* envOf(const Bnode& node) { return node.net->env; }

void requireStates(const Bnode& node) {
  if (!node.hasStates()) engError(envOf(node), err::FuncOnContinuous, node.name);
}

void setRowValue(Bnode& node, PotTable& t, const int* ps, float v) {
  t.setFactor(1.0);  // so that the other rows keep what they stand for
  for (size_t r : matchingRows(node, ps)) t.data()[r] = v;
}

float readRowValue(const PotTable& t, const Bnode& node, const int* ps) {
  return t.isAllocated() ? t.data()[rowOffset(node, ps)] : undefFloat();
}

}  // namespace

void setProbs(Bnode& node, const int* ps, const float* probs) {
  if (!node.hasStates()) engError(envOf(node), err::ProbsNotDiscrete, node.name);
  checkParentStates(node, ps, true);
  NetEdit edit(*node.net, "set probabilities", EditKind::Tables, UndoScope::cptRow(node, ps));
  PotTable& t = ensureCpt(node);
  t.setFactor(1.0);
  size_t n = t.rowLength();
  for (size_t r : matchingRows(node, ps))
    for (size_t i = 0; i < n; ++i) t.data()[r * n + i] = std::isnan(probs[i]) ? undefFloat() : probs[i];
  edit.commit();
}

const float* getProbs(Bnode& node, const int* ps) {
  PotTable& t = node.tables.cpt;
  if (!t.isAllocated()) return nullptr;
  if (ps) checkParentStates(node, ps, false);
  t.setFactor(1.0);
  return ps ? t.data() + rowOffset(node, ps) * t.rowLength() : t.data();
}

void setFuncState(Bnode& node, const int* ps, int state) {
  requireStates(node);
  checkParentStates(node, ps, true);
  if (state < 0 || state >= node.numStates)
    argError(envOf(node), err::FuncStateRange, state, node.numStates - 1, node.name, node.numStates);
  NetEdit edit(*node.net, "set function table", EditKind::Tables, UndoScope::tables(node));
  setRowValue(node, ensureFunc(node, false), ps, static_cast<float>(state));
  edit.commit();
}

void setFuncReal(Bnode& node, const int* ps, double value) {
  if (node.type == DISCRETE && node.details().levels.empty()) engError(envOf(node), err::FuncRealNoLevels, node.name);
  checkParentStates(node, ps, true);
  NetEdit edit(*node.net, "set function table", EditKind::Tables, UndoScope::tables(node));
  setRowValue(node, ensureFunc(node, true), ps, std::isnan(value) ? undefFloat() : static_cast<float>(value));
  edit.commit();
}

int getFuncState(const Bnode& node, const int* ps) {
  checkParentStates(node, ps, false);
  if (node.tables.funcReal) return -3;
  float v = readRowValue(node.tables.func, node, ps);
  return isReservedFloat(v) ? -3 : static_cast<int>(v);
}

double getFuncReal(const Bnode& node, const int* ps) {
  checkParentStates(node, ps, false);
  float v = readRowValue(node.tables.func, node, ps);
  if (isReservedFloat(v)) return undefDouble();
  if (node.tables.funcReal) return v;
  int s = static_cast<int>(v);  // a state-valued table reads as the state's level
  const std::vector<double>& levels = node.details().levels;
  return s < static_cast<int>(levels.size()) ? levels[static_cast<size_t>(s)] : undefDouble();
}

void setExperience(Bnode& node, const int* ps, double experience) {
  if (experience < 0) argError(envOf(node), err::ExperienceNegative, node.name, experience);
  checkParentStates(node, ps, true);
  NetEdit edit(*node.net, "set experience", EditKind::Tables, UndoScope::tables(node));
  setRowValue(node, ensureExper(node), ps, static_cast<float>(experience));
  edit.commit();
}

double getExperience(const Bnode& node, const int* ps) {
  checkParentStates(node, ps, false);
  float v = readRowValue(node.tables.exper, node, ps);
  return isReservedFloat(v) ? undefDouble() : v * node.tables.exper.factor();
}

void deleteTables(Bnode& node) {
  NetEdit edit(*node.net, "delete tables", EditKind::Tables, UndoScope::tables(node));
  node.tables.clear();
  edit.commit();
}

size_t entriesPerRow(const Bnode& node, WhichTable which) {
  return which == WhichTable::Cpt ? static_cast<size_t>(node.numStates) : 1;
}

double subTableEntries(const Bnode& node, WhichTable which, const int* ps) {
  double rows = 1;
  for (size_t i = 0; i < node.parents.size(); ++i)
    if (!ps || ps[i] == EVERY_STATE_VALUE) rows *= node.parents[i].parent->numStates;
  return rows * static_cast<double>(entriesPerRow(node, which));
}

namespace {
PotTable& tableOf(Bnode& node, WhichTable which) {
  return which == WhichTable::Cpt ? node.tables.cpt : which == WhichTable::Exper ? node.tables.exper : node.tables.func;
}

// Whether the node holds the table asked for (a function table only in the form asked for).
bool holds(const Bnode& node, WhichTable which) {
  const NodeTables& t = node.tables;
  switch (which) {
    case WhichTable::Cpt: return t.cpt.isAllocated();
    case WhichTable::Exper: return t.exper.isAllocated();
    case WhichTable::FuncState: return t.func.isAllocated() && !t.funcReal;
    case WhichTable::FuncReal: return t.func.isAllocated() && t.funcReal;
  }
  return false;
}
}  // namespace

void removeTable(Bnode& node, WhichTable which) {
  if (!holds(node, which)) return;
  NetEdit edit(*node.net, "remove table", EditKind::Tables, UndoScope::tables(node));
  tableOf(node, which).freeData();
  edit.commit();
}

std::vector<double> readTable(Bnode& node, WhichTable which, const int* ps) {
  std::vector<size_t> rows = matchingRows(node, ps);
  size_t n = entriesPerRow(node, which);
  PotTable& t = tableOf(node, which);
  bool present = holds(node, which);
  std::vector<double> out;
  out.reserve(rows.size() * n);
  for (size_t r : rows)
    for (size_t i = 0; i < n; ++i) {
      float v = present ? t.data()[r * n + i] : undefFloat();
      out.push_back(isReservedFloat(v) ? undefDouble() : v * t.factor());
    }
  return out;
}

void checkTableSettable(const Bnode& node, WhichTable which, const std::string& whichName) {
  if ((which == WhichTable::Cpt || which == WhichTable::FuncState) && !node.hasStates())
    engError(envOf(node), err::SetNotDiscrete, whichName, node.name);
  for (const Link& l : node.parents)
    if (!l.parent->hasStates()) engError(envOf(node), err::SetContinuousParent, node.name);
  std::vector<int> dims;
  for (const Link& l : node.parents) dims.push_back(l.parent->numStates);
  if (which == WhichTable::Cpt) dims.push_back(node.numStates);
  if (cptEntries(dims) > MAX_CPT_ENTRIES) engError(envOf(node), err::SetTooLarge, node.name);
}

void writeTable(Bnode& node, WhichTable which, const int* ps, const double* values) {
  if (ps) checkParentStates(node, ps, true);
  if (which == WhichTable::FuncReal && node.type == DISCRETE && node.details().levels.empty())
    engError(envOf(node), err::FuncRealNoLevels, node.name);
  std::vector<size_t> rows = matchingRows(node, ps);
  size_t n = entriesPerRow(node, which);
  if (which == WhichTable::FuncState)
    for (size_t i = 0; i < rows.size(); ++i)
      if (!std::isnan(values[i]) && (values[i] < 0 || values[i] >= node.numStates || values[i] != std::floor(values[i])))
        argError(envOf(node), err::FuncStateRange, static_cast<int>(values[i]), node.numStates - 1, node.name,
                 node.numStates);
  if (which == WhichTable::Exper)
    for (size_t i = 0; i < rows.size(); ++i)
      if (values[i] < 0) argError(envOf(node), err::ExperienceNegative, node.name, values[i]);
  NetEdit edit(*node.net, "set table", EditKind::Tables, UndoScope::tables(node));
  PotTable& t = which == WhichTable::Cpt     ? ensureCpt(node)
                : which == WhichTable::Exper ? ensureExper(node)
                                             : ensureFunc(node, which == WhichTable::FuncReal);
  t.setFactor(1.0);
  size_t k = 0;
  for (size_t r : rows)
    for (size_t i = 0; i < n; ++i, ++k)
      t.data()[r * n + i] = std::isnan(values[k]) ? undefFloat() : static_cast<float>(values[k]);
  edit.commit();
}

}  // namespace quorva
