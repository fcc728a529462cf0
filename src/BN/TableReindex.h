// How a node's tables follow changes of its parents and of its own states.
#pragma once
#include <vector>

namespace quorva {

class Bnode;

// The child's parents changed: new dimension i comes from old dimension fromOld[i] (-1: a new
// parent); an old dimension that no new one comes from keeps only its slice at sliceState[old].
void tablesFollowParents(Bnode& child, const std::vector<int>& fromOld,
                         const std::vector<int>& sliceState);

// The node's states changed: new state i comes from old state fromOld[i] (-1: a new state whose
// entries get `fill`).  Applies to the node's own tables and to its children's.
void tablesFollowStates(Bnode& node, const std::vector<int>& fromOld, double fill);

}  // namespace quorva
