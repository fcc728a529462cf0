// A net as a foreign file describes it, before it becomes a net: variables by the texts written,
// their states, kinds, labels and positions, and each one's family (parents and table).  The
// readers of XMLBIF, Hugin NET and UAI fill one and build the net from it in one step, so that
// names are made legal and unique the same way for all of them, and a fault found while reading
// leaves no net behind.
#pragma once
#include <algorithm>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "BN/Net/Bnode.h"

namespace quorva {

class Bnet;
class EnvCore;

struct SketchVar {
  std::string text;                 // the name as written
  std::string label;                // a title given by the file ("" for none)
  std::vector<std::string> states;  // as written; none for a utility
  size_t numberedStates = 0;        // without texts: this many states, named s0, s1, ...
  int kind = NATURE;                // NATURE, DECISION or UTILITY
  bool hasPosition = false;
  double x = 0, y = 0;
  bool hasFamily = false;  // its parents have been given
  // Where its parents (indices into the sketch's variables, in table order) stand in the
  // sketch's parent list.
  size_t parentsAt = 0, parentCount = 0;
  // Where its table stands in the sketch's entries: a CPT (parents first, own states fastest),
  // or for a utility one value per parent row; no entries: no table given.
  size_t tableAt = 0, tableSize = 0;
};

struct NetSketch {
  std::string name;   // the net's name as written ("" for none)
  std::string label;  // a title given by the file ("" for none)
  std::vector<SketchVar> vars;
  std::vector<double> entries;  // the tables, one after another (one buffer, not one per table)
  std::vector<size_t> parentList;  // the variables' parents, one family after another

  // The number of states of `v`.
  static size_t stateCount(const SketchVar& v) { return v.states.empty() ? v.numberedStates : v.states.size(); }
  // The number of parent rows of `v`'s table, as a double (may exceed any size_t).
  double rows(const SketchVar& v) const;
  // The parents of `v`.
  std::span<const size_t> parents(const SketchVar& v) const { return {parentList.data() + v.parentsAt, v.parentCount}; }
  // Starts the parents of `v`, which are given one by one with addParent before any other's.
  void startParents(SketchVar& v) {
    v.parentsAt = parentList.size();
    v.parentCount = 0;
  }
  // Gives `v` the parent `p`; false (nothing added) when it already has it.
  bool addParent(SketchVar& v, size_t p) {
    std::span<const size_t> given = parents(v);
    if (std::find(given.begin(), given.end(), p) != given.end()) return false;
    parentList.push_back(p);
    ++v.parentCount;
    return true;
  }
  // Marks the entries from `from` to the end as the table of `v`.
  void endTable(SketchVar& v, size_t from) {
    v.tableAt = from;
    v.tableSize = entries.size() - from;
  }
};

// Builds the net: node and state names made legal and unique (a text that had to change is kept
// as the title, unless the file gave a label), kinds, positions, parents and tables.  The caller
// has checked the sketch (parents exist, tables have the right size).
Bnet* buildNet(const NetSketch& sketch, EnvCore* env);

// Scales to 1 each row of `node`'s CPT whose probabilities sum to something else beyond rounding
// (an all-zero row, an impossible parent setting, stays), with one warning for the node: such a
// table gives beliefs that are not probabilities, and written as DNET it could not be read back.
// For the readers of foreign formats, which allow any table of numbers of 0 or more.
void scaleRowsToOne(Bnode& node);

// The texts a writer gives `names` (in the order a reader meets them): the title where it is a
// text the writer can hold (`holdable`) and a reader would make it back into the same name,
// otherwise the name.
std::vector<std::string> exportTexts(const std::vector<std::string>& names, const std::vector<std::string>& titles,
                                     const std::function<bool(const std::string&)>& holdable);

// The state names to write for `node`: its names, or "state0", "state1", ... when it has none.
std::vector<std::string> stateNamesOf(const Bnode& node);

// The shortest decimal that reads back to the same float.
std::string floatText(double v);
// The shortest decimal that reads back to the same double (for values such as positions, which
// are not held as floats).
std::string doubleText(double v);

}  // namespace quorva
