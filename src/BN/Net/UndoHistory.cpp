// Undo limits, trimming, and moving records between the undo and redo rings.
#include "BN/Net/UndoHistory.h"

#include <cmath>

#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/UndoErrors.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// What the net worked out from the parts a record swapped back is stale now.
void refresh(Bnet& net, EditKind kind) {
  switch (kind) {
    case EditKind::Structure:
      net.uncompile();
      net.edited();
      break;
    case EditKind::Tables:
      net.tablesChanged();
      break;
    case EditKind::Findings:
      net.findingsChanged();
      break;
    case EditKind::Text:
      net.edited();
      break;
  }
}

}  // namespace

void UndoHistory::setLimits(EnvCore* env, int count, double memory) {
  if (count < -1) argError(env, err::UndoCountNegative, count);
  if (!(memory >= 0) && memory != -1) argError(env, err::UndoMemoryNegative, memory);
  if (count == -1 && memory == -1 && !on()) argError(env, err::UndoBothZero);
  if (count != -1) countLimit_ = count;
  if (memory != -1) memoryLimit_ = std::floor(memory);
  if (!on()) clear();
  trim();
}

void UndoHistory::push(Bnet& net, std::unique_ptr<UndoRecord> record) {
  if (record->unchanged(net)) return;
  record->stamp = nextStamp_++;
  for (const auto& r : redo_) bytes_ -= r->size();
  redo_.clear();
  bytes_ += record->size();
  undo_.push_back(std::move(record));
  trim();
}

bool UndoHistory::undo(Bnet& net, std::string* said) { return move(net, undo_, redo_, "Undoing", said); }

bool UndoHistory::redo(Bnet& net, std::string* said) { return move(net, redo_, undo_, "Redoing", said); }

bool UndoHistory::move(Bnet& net, std::deque<std::unique_ptr<UndoRecord>>& from,
                       std::deque<std::unique_ptr<UndoRecord>>& to, const char* verb, std::string* said) {
  if (from.empty()) return false;
  std::unique_ptr<UndoRecord> record = std::move(from.back());
  from.pop_back();
  bytes_ -= record->size();
  suspended_ = true;
  try {
    record->apply(net);
  } catch (...) {
    suspended_ = false;
    clear();  // the history no longer matches the net
    throw;
  }
  suspended_ = false;
  refresh(net, record->kind);
  if (said) *said = std::string(verb) + " " + record->what + ".\n";
  bytes_ += record->size();  // it now holds the other side's image
  to.push_back(std::move(record));
  trim();
  return true;
}

void UndoHistory::clear() {
  undo_.clear();
  redo_.clear();
  bytes_ = 0;
}

// Oldest undo records go first; past them, the redo records farthest from the present.
void UndoHistory::trim() {
  auto over = [&] {
    size_t kept = undo_.size() + redo_.size();
    bool count = countLimit_ > 0 && undo_.size() > static_cast<size_t>(countLimit_);
    bool memory = memoryLimit_ > 0 && static_cast<double>(bytes_) > memoryLimit_ && kept > 0;
    return count || memory;
  };
  while (over()) {
    auto& ring = !undo_.empty() ? undo_ : redo_;
    bytes_ -= ring.front()->size();
    ring.pop_front();
  }
}

}  // namespace quorva
