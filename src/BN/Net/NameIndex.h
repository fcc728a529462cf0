// The nodes of a net by name: an open-addressed table of node pointers and name hashes, probed
// linearly, so that entering a node allocates nothing beyond the table's own growth.  The key of
// an entry is its node's name: a node is taken out before its name changes and entered again after.
#pragma once
#include <cstddef>
#include <string_view>
#include <vector>

namespace quorva {

class Bnode;

class NameIndex {
 public:
  Bnode* find(std::string_view name) const;
  // The node of that name; when there is none, the one `make()` returns is entered and returned
  // with `made` set.  Nothing is changed when `make` throws.
  template <typename Make>
  Bnode* findOrAdd(std::string_view name, bool& made, Make make);
  // Enters a node under its name, which no entry has.
  void add(Bnode* node);
  // Takes out the entry of that name, if there is one.
  void erase(std::string_view name);
  void clear();
  // Makes room for `count` entries in all.
  void reserve(size_t count);
  size_t size() const { return count_; }

 private:
  struct Slot {
    Bnode* node = nullptr;
    size_t hash = 0;
  };
  static size_t hashOf(std::string_view name);
  static std::string_view nameOf(const Bnode* node);
  // The slot that holds `name`, or the empty one where it would go; the table is not empty.
  size_t probe(std::string_view name, size_t hash) const;
  void regrow(size_t slots);

  std::vector<Slot> slots_;  // a power of two in size, at most half full; empty before the first entry
  size_t count_ = 0;
};

template <typename Make>
Bnode* NameIndex::findOrAdd(std::string_view name, bool& made, Make make) {
  made = false;
  reserve(count_ + 1);
  const size_t hash = hashOf(name);
  Slot& slot = slots_[probe(name, hash)];
  if (slot.node) return slot.node;
  slot = Slot{make(), hash};
  made = true;
  ++count_;
  return slot.node;
}

}  // namespace quorva
