// Making node tables, their size limit and the row arithmetic.
#include "BN/Tables/NodeTables.h"

#include <algorithm>
#include <utility>

#include "BN/Net/Bnet.h"
#include "BN/Tables/TableErrors.h"
#include "Basic/Raise.h"

namespace quorva {

std::vector<Bnode*> tableNodes(const Bnode& node, bool withNode) {
  std::vector<Bnode*> nodes;
  nodes.reserve(node.parents.size() + 1);
  for (const Link& l : node.parents) nodes.push_back(l.parent);
  if (withNode) nodes.push_back(const_cast<Bnode*>(&node));
  return nodes;
}

double cptEntries(std::span<const int> dims) {
  double s = 1.0;
  for (int d : dims) {
    if (d == 0) continue;
    s *= d;
    if (s > SIZE_CAP) return SIZE_CAP;
  }
  return s;
}

void checkCptSize(const Bnode& node, std::span<const int> dims, const char* verb) {
  double s = cptEntries(dims);
  if (s > MAX_CPT_ENTRIES)
    engError(node.net->env, verb[0] == 'c' ? err::CptTooLargeCreate : err::CptTooLargeEdit, node.name, s);
}

PotTable unfilledTable(Bnode& node, bool withNode) {
  for (const Link& l : node.parents)
    if (!l.parent->hasStates()) engError(node.net->env, err::SetContinuousParent, node.name);
  // The list is written straight into the table's shape.
  const size_t count = node.parents.size() + (withNode ? 1 : 0);
  TableShape* made = TableShape::make(count);
  ShapeRef shape(made);
  for (size_t i = 0; i < node.parents.size(); ++i) made->nodes()[i] = node.parents[i].parent;
  if (withNode) made->nodes()[count - 1] = &node;
  countStates(*made);
  checkCptSize(node, std::as_const(*made).dims(), "create");
  PotTable fresh(node.net->env);
  fresh.setShape(std::move(shape));
  fresh.allocate();
  return fresh;
}

PotTable freshTable(Bnode& node, bool withNode, float initial) {
  PotTable fresh = unfilledTable(node, withNode);
  std::fill(fresh.data(), fresh.data() + fresh.size(), initial);
  return fresh;
}

namespace {
PotTable& ensure(Bnode& node, PotTable& t, bool withNode, float initial) {
  if (!t.isAllocated()) t = freshTable(node, withNode, initial);
  return t;
}
}  // namespace

PotTable& ensureCpt(Bnode& node) {
  if (!node.hasStates()) engError(node.net->env, err::CptOfContinuous);
  return ensure(node, node.tables.cpt, true, undefFloat());
}

PotTable& ensureFunc(Bnode& node, bool real) {
  PotTable& t = node.tables.func;
  // A table of the other form is replaced only once its successor exists.
  if (t.isAllocated() && node.tables.funcReal != real) t = freshTable(node, false, undefFloat());
  ensure(node, t, false, undefFloat());
  node.tables.funcReal = real;
  return t;
}

PotTable& ensureExper(Bnode& node) { return ensure(node, node.tables.exper, false, 0.0f); }

size_t rowOffset(const Bnode& node, const int* parentStates) {
  size_t r = 0;
  for (size_t i = 0; i < node.parents.size(); ++i)
    r = r * static_cast<size_t>(node.parents[i].parent->numStates) + static_cast<size_t>(parentStates[i]);
  return r;
}

bool isDeterministic(const Bnode& node) {
  if (node.tables.func.isAllocated()) return true;
  const PotTable& t = node.tables.cpt;
  if (!t.isAllocated()) return false;
  size_t n = t.rowLength();
  bool anyDefined = false;
  for (size_t at = 0; at + n <= t.size(); at += n) {
    int ones = 0, zeros = 0, undefined = 0;
    for (size_t i = 0; i < n; ++i) {
      float v = t.data()[at + i];
      if (isReservedFloat(v)) {
        ++undefined;
        continue;
      }
      float p = static_cast<float>(v * t.factor());
      ones += p == 1.0f;
      zeros += p == 0.0f;
    }
    if (undefined == static_cast<int>(n)) continue;  // a row not given says nothing
    anyDefined = true;
    if (zeros == static_cast<int>(n)) continue;  // an impossible condition
    if (ones != 1 || zeros != static_cast<int>(n) - 1) return false;
  }
  return anyDefined;
}

bool isTableComplete(const Bnode& node) {
  const PotTable& t = node.tables.cpt.isAllocated() ? node.tables.cpt : node.tables.func;
  if (!t.isAllocated()) return false;
  return std::none_of(t.data(), t.data() + t.size(), [](float v) { return isUndefFloat(v); });
}

}  // namespace quorva
