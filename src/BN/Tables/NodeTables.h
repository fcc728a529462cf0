// The tables a node carries: its CPT (dimensions: the parents, then the node), and, one entry per
// parent configuration, its function table and its experience table.  A table that is not
// allocated is absent.
#pragma once
#include <span>
#include <vector>

#include "BN/Tables/PotTable.h"

namespace quorva {

class Bnode;

inline constexpr double MAX_CPT_ENTRIES = 400'000'000.0;
// How far from 1 the probabilities of a row read from a file may sum: rows are written with 7
// significant digits, and a person may well write thirds as 0.333.
inline constexpr double ROW_SUM_TOLERANCE = 2e-3;

// Makes room in `entries` for a table of `need` entries about to be read from a file; past a
// bound the vector grows as the entries come, so that a file claiming a huge table does not
// claim its memory up front.
inline void reserveTableEntries(std::vector<double>& entries, double need) {
  constexpr double BOUND = 1 << 16;
  entries.reserve(static_cast<size_t>(need < BOUND ? need : BOUND));
}

struct NodeTables {
  PotTable cpt;
  PotTable func;   // a state index (as a float) or a real value per row
  bool funcReal = false;
  PotTable exper;

  bool any() const { return cpt.isAllocated() || func.isAllocated() || exper.isAllocated(); }
  void clear() {
    cpt.freeData();
    func.freeData();
    exper.freeData();
  }
};

// The nodes of a table: the node's parents (and the node itself for a CPT).
std::vector<Bnode*> tableNodes(const Bnode& node, bool withNode);
// The number of entries a CPT of these dimensions would hold (capped), and the refusal past
// 400,000,000 entries: error 3615 with `verb` "create" or "edit".
double cptEntries(std::span<const int> dims);
void checkCptSize(const Bnode& node, std::span<const int> dims, const char* verb);

// A new allocated table over the node's parents (and the node), its entries not yet set, not yet
// the node's.  Refused before anything is allocated when a parent has no states or the table
// would be too large.
PotTable unfilledTable(Bnode& node, bool withNode);
// The same with every entry `initial`.
PotTable freshTable(Bnode& node, bool withNode, float initial);

// Makes the node's CPT if it has none, every entry undefined.
PotTable& ensureCpt(Bnode& node);
PotTable& ensureFunc(Bnode& node, bool real);
PotTable& ensureExper(Bnode& node);

// The row of the table at the given parent states (one per parent).
size_t rowOffset(const Bnode& node, const int* parentStates);

// A node is deterministic when it has a function table, or every defined CPT row holds one 1.
bool isDeterministic(const Bnode& node);
// Whether every entry of the node's CPT (or function table) is defined.
bool isTableComplete(const Bnode& node);

}  // namespace quorva
