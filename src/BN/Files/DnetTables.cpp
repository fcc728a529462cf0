// Node tables as nested lists: one level per parent (the first outermost), and for a CPT an
// innermost level over the node's states.  Each innermost group stands on a line of its own with
// a comment naming the parent states it is for, under a comment line that heads the columns.
#include "BN/Files/DnetTables.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Files/DnetNumbers.h"
#include "BN/Files/DnetOut.h"
#include "BN/Files/DnetWriterErrors.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

constexpr size_t NAME_WIDTH_CAP = 16;
constexpr int IMPOSSIBLE_STATE = -4;

std::string padded(std::string s, size_t width) {
  s.append(s.size() < width ? width - s.size() : 1, ' ');
  return s;
}

size_t longestLabel(const Bnode& node) {
  size_t longest = 0;
  for (int s = 0; s < node.numStates; ++s) longest = std::max(longest, dnetStateValue(node, s).size());
  return std::min(longest, NAME_WIDTH_CAP);
}

// A table to be written: its keyword, its entries, and whether each line holds a row over the
// node's states (CPT) or a single entry (function and experience tables).
struct TableText {
  const char* keyword;
  const Bnode* node;
  const PotTable* table;
  bool overStates;
  size_t entryWidth;                              // the width allowed for a real entry, or 0
  std::function<std::string(float raw, double value)> entry;
};

std::string realEntry(float raw, double value, int digits) {
  if (isReservedFloat(raw)) return "@undef";
  return significantDigits(value, digits, true);
}

void writeTable(DnetOut& out, const TableText& t) {
  const Bnode& node = *t.node;
  const PotTable& table = *t.table;
  if (table.size() == TOO_LARGE) engError(node.net ? node.net->env : nullptr, err::TableTooLargeToSave, node.name);
  const std::vector<Link>& parents = node.parents;
  size_t numParents = parents.size();
  size_t rowLength = t.overStates ? table.rowLength() : 1;
  size_t lines = table.size() / rowLength;
  size_t nest = numParents + (t.overStates ? 1 : 0);
  const float* data = table.data();
  double factor = table.factor();
  auto text = [&](size_t i) { return t.entry(data[i], static_cast<double>(data[i]) * factor); };

  if (nest == 0) {
    out.field(t.keyword, text(0));
    return;
  }

  // Column widths: the entries' (and the names heading them), and each parent's states'.
  size_t width = std::max(t.entryWidth, longestLabel(node)) + 1;
  if (!t.overStates) width = std::max(width, std::min(node.name.size(), NAME_WIDTH_CAP) + 1);
  std::vector<size_t> parentWidth(numParents);
  for (size_t p = 0; p < numParents; ++p)
    parentWidth[p] =
        std::min(std::max(parents[p].parent->name.size(), longestLabel(*parents[p].parent)), NAME_WIDTH_CAP) + 1;
  size_t prefix = std::max<size_t>(nest, 3);
  size_t lastWidth = width + nest + 1;  // the last entry with its closing parentheses and comma

  out.startLine();
  out.put(t.keyword);
  out.put(" = ");
  out.endLine();
  std::string head = padded("//", prefix);
  for (size_t j = 0; j < rowLength; ++j) {
    std::string name = t.overStates ? dnetStateValue(node, static_cast<int>(j)) : node.name;
    head += padded(name, j + 1 < rowLength ? width : lastWidth);
  }
  if (numParents > 0) {
    head += "   ";
    for (size_t p = 0; p < numParents; ++p) head += padded(parents[p].parent->name, parentWidth[p]);
  }
  while (!head.empty() && head.back() == ' ') head.pop_back();
  out.line(head);

  std::vector<int> states(numParents, 0);
  const std::span<const int> dims = table.dims();
  for (size_t l = 0; l < lines; ++l) {
    // Levels that open at this line: the innermost for a row, and each parent, from the last,
    // whose state (and the states of all after it) is the first; likewise for closing.
    size_t opens = t.overStates ? 1 : 0, closes = opens;
    for (size_t p = numParents; p-- > 0 && states[p] == 0;) ++opens;
    for (size_t p = numParents; p-- > 0 && states[p] == dims[p] - 1;) ++closes;
    std::string row(prefix - opens, ' ');
    row.append(opens, '(');
    for (size_t j = 0; j < rowLength; ++j) {
      std::string cell = text(l * rowLength + j);
      if (j + 1 < rowLength) {
        row += padded(cell + ",", width);
      } else {
        cell.append(closes, ')');
        cell += l + 1 < lines ? "," : ";";
        row += padded(cell, lastWidth);
      }
    }
    if (numParents > 0) {
      row += "// ";
      for (size_t p = 0; p < numParents; ++p)
        row += padded(dnetStateValue(*parents[p].parent, states[p]), parentWidth[p]);
    }
    while (!row.empty() && row.back() == ' ') row.pop_back();
    out.line(row);
    for (size_t p = numParents; p-- > 0;) {
      if (++states[p] < dims[p]) break;
      states[p] = 0;
    }
  }
}

}  // namespace

std::string dnetStateValue(const Bnode& node, int state) {
  if (state >= 0 && state < node.numStates) {
    if (static_cast<size_t>(state) < node.stateNames.size()) {
      const std::string& name = node.stateNames[static_cast<size_t>(state)];
      return name.empty() ? "\"\"" : name;
    }
    return "#" + std::to_string(state);
  }
  if (state == UNDEF_STATE_VALUE) return "@undef";
  if (state == IMPOSSIBLE_STATE) return "@imposs";
  return "@error";
}

void writeNodeTables(DnetOut& out, const Bnode& node) {
  const NodeTables& tables = node.tables;
  if (tables.func.isAllocated()) {
    TableText t{"functable", &node, &tables.func, false, 0, nullptr};
    if (tables.funcReal) {
      t.entryWidth = 10 + 5;
      t.entry = [](float raw, double value) { return realEntry(raw, value, 10); };
    } else {
      t.entry = [&node](float raw, double) {
        if (isReservedFloat(raw)) return std::string("@undef");
        return dnetStateValue(node, static_cast<int>(std::lround(raw)));
      };
    }
    writeTable(out, t);
  }
  if (tables.cpt.isAllocated()) {
    writeTable(out, {"probs", &node, &tables.cpt, true, 7 + 5,
                     [](float raw, double value) { return realEntry(raw, value, 7); }});
  }
  if (tables.exper.isAllocated()) {
    const PotTable& exper = tables.exper;
    const float* data = exper.data();
    bool same = exper.size() != TOO_LARGE && !isReservedFloat(data[0]);
    for (size_t i = 1; same && i < exper.size(); ++i) same = data[i] == data[0];
    if (same) {
      char buf[64];
      std::snprintf(buf, sizeof buf, "%g", static_cast<double>(data[0]) * exper.factor());
      out.field("numcases", buf);
    } else {
      writeTable(out, {"numcases", &node, &exper, false, 7 + 5,
                       [](float raw, double value) { return realEntry(raw, value, 7); }});
    }
  }
}

}  // namespace quorva
