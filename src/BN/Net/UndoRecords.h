// The kinds of undo record, each saving one part of a net: some parts of some nodes and of the
// net's own fields (for structural edits), one node's texts or tables, one CPT row, findings.
#pragma once
#include <memory>

#include "BN/Net/NetEdit.h"
#include "BN/Net/UndoHistory.h"

namespace quorva {

// A record holding the before-image of what `scope` names.  A CPT row falls back to the node's
// tables when the CPT is not yet allocated or is scaled.
std::unique_ptr<UndoRecord> saveBefore(Bnet& net, const UndoScope& scope);

}  // namespace quorva
