// Re-indexing node tables after structure changes.  Nodes do not carry tables yet, so there is
// nothing to move; the node-table layer fills these in.
#include "BN/TableReindex.h"

namespace quorva {

void tablesFollowParents(Bnode&, const std::vector<int>&, const std::vector<int>&) {}

void tablesFollowStates(Bnode&, const std::vector<int>&, double) {}

}  // namespace quorva
