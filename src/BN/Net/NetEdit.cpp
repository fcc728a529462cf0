// Opening an edit: save what it may change; closing it: keep the record and drop what the change
// made stale.
#include "BN/Net/NetEdit.h"

#include <algorithm>

#include "BN/Net/Bnet.h"
#include "BN/Net/UndoRecords.h"

namespace quorva {

UndoScope& UndoScope::with(Bnode* n, unsigned what) {
  if (n) {
    auto it = std::find_if(nodes.begin(), nodes.end(), [&](const auto& e) { return e.first == n; });
    if (it == nodes.end()) nodes.emplace_back(n, what);
    else it->second |= what;
  }
  return *this;
}

NetEdit::NetEdit(Bnet& net, const char* what, EditKind kind, UndoScope scope)
    : net_(net), what_(what), kind_(kind) {
  if (net.undo.recording()) record_ = saveBefore(net, scope);
  net.undo.opened();
  counted_ = true;
}

NetEdit::~NetEdit() {
  if (counted_) net_.undo.closed();
}

void NetEdit::commit() {
  if (kind_ == EditKind::Structure) net_.uncompile();
  if (kind_ == EditKind::Tables) net_.tablesChanged();
  if (kind_ == EditKind::Structure || kind_ == EditKind::Text) net_.edited();
  if (record_) {
    record_->what = what_;
    record_->kind = kind_;
    net_.undo.closed();
    counted_ = false;
    net_.undo.push(net_, std::move(record_));
  }
}

}  // namespace quorva
