// Closing an edit: drop what the change made stale.
#include "BN/Net/NetEdit.h"

#include "BN/Net/Bnet.h"

namespace quorva {

void NetEdit::commit() {
  // The undo history records the edit here once the net keeps one.
  if (kind_ == EditKind::Structure) net_.uncompile();
  if (kind_ == EditKind::Tables) net_.tablesChanged();
  if (kind_ != EditKind::Tables) net_.edited();
}

}  // namespace quorva
