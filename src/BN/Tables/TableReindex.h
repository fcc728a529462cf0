// How a node's tables follow changes of its parents and of its own states.
#pragma once
#include <vector>

namespace quorva {

class Bnode;
class PotTable;

// Where one dimension of a re-indexed table takes its entries from: an old dimension (-1: a new
// dimension, whose every state gets the old entries) and, per new state, the old state (-1: the
// fill value; an empty map keeps the states as they are).
struct DimSource {
  int oldDim = -1;
  std::vector<int> stateFrom;
};

// `t` rebuilt over `nodes` with dimensions `dims`; old dimensions that no new one takes its entries
// from keep their slice at sliceState[old] (missing entries: state 0).  An absent table gives an
// absent table over the new nodes.
PotTable reindexed(const PotTable& t, std::vector<Bnode*> nodes, std::vector<int> dims,
                   const std::vector<DimSource>& from, const std::vector<int>& sliceState, float fill);

// The child's parents change to `newParents`: new dimension i comes from old dimension fromOld[i]
// (-1: a new parent, every state of which keeps the existing rows); an old dimension that no new
// one comes from keeps only its slice at sliceState[old].  Refuses (error 3615) a CPT that would
// grow past its limit; nothing is changed when it refuses.
void tablesFollowParents(Bnode& child, const std::vector<Bnode*>& newParents,
                         const std::vector<int>& fromOld, const std::vector<int>& sliceState);

// The node's states change: new state i comes from old state fromOld[i] (-1: a new state, whose
// entries in the node's own CPT get `fill`: 0, or undefined for -1 and UNDEF_DBL; children get
// undefined rows for it).  Applies to the node's own tables and to its children's.
void tablesFollowStates(Bnode& node, const std::vector<int>& fromOld, double fill);

}  // namespace quorva
