// A net's history of edits: the undo and redo rings of records, their limits, and the moves of
// records between them.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace quorva {

class Bnet;
class EnvCore;
enum class EditKind;

// The saved state that reverses one edit.  Applying a record swaps what it saved with the net's
// present state, so the same record undoes the edit and, applied again, redoes it.
class UndoRecord {
 public:
  virtual ~UndoRecord() = default;
  virtual void apply(Bnet& net) = 0;
  // Bytes the record occupies, with what it saved.
  virtual size_t size() const = 0;
  // Whether the net is as the record saved it (the edit changed nothing).
  virtual bool unchanged(const Bnet&) const { return false; }

  const char* what = "";  // the operation's name, as in "Undoing set probabilities."
  EditKind kind{};
  uint64_t stamp = 0;
};

class UndoHistory {
 public:
  // A new net keeps no history until limits are set.
  int countLimit() const { return countLimit_; }
  double memoryLimit() const { return memoryLimit_; }
  bool on() const { return countLimit_ != 0 || memoryLimit_ != 0; }
  // Edits record themselves only while this holds, and only the outermost of nested edits.
  bool recording() const { return on() && !suspended_ && open_ == 0; }

  // -1 keeps a limit.  A zero limit does not bind while the other is non-zero; both zero turns
  // undo off and discards the history.  Refusals leave everything as it was.
  void setLimits(EnvCore* env, int count, double memory);

  // The edit is done: keep its record, drop the redo history, trim to the limits (oldest first).
  void push(Bnet& net, std::unique_ptr<UndoRecord> record);
  // Reverses the newest record (false when there is none); `said` receives "Undoing %s.\n".
  bool undo(Bnet& net, std::string* said = nullptr);
  bool redo(Bnet& net, std::string* said = nullptr);
  void clear();

  size_t undoCount() const { return undo_.size(); }
  size_t redoCount() const { return redo_.size(); }
  size_t bytes() const { return bytes_; }

  // Counts edits that are open, so that an edit made within another records nothing of its own.
  void opened() { ++open_; }
  void closed() { --open_; }

 private:
  bool move(Bnet& net, std::deque<std::unique_ptr<UndoRecord>>& from,
            std::deque<std::unique_ptr<UndoRecord>>& to, const char* verb, std::string* said);
  void trim();

  int countLimit_ = 0;
  double memoryLimit_ = 0;
  bool suspended_ = false;
  int open_ = 0;
  uint64_t nextStamp_ = 1;
  size_t bytes_ = 0;  // of both rings
  std::deque<std::unique_ptr<UndoRecord>> undo_;  // oldest first
  std::deque<std::unique_ptr<UndoRecord>> redo_;  // the next to redo last
};

}  // namespace quorva
