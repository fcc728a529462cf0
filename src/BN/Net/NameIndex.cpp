// The name index of a net's nodes: linear probing, and deletion that shifts later entries back so
// that no probe ever has to pass a gap.
#include "BN/Net/NameIndex.h"

#include <functional>

#include "BN/Net/Bnode.h"

namespace quorva {

size_t NameIndex::hashOf(std::string_view name) { return std::hash<std::string_view>{}(name); }

std::string_view NameIndex::nameOf(const Bnode* node) { return node->name; }

size_t NameIndex::probe(std::string_view name, size_t hash) const {
  const size_t mask = slots_.size() - 1;
  for (size_t i = hash & mask;; i = (i + 1) & mask) {
    const Slot& s = slots_[i];
    if (!s.node || (s.hash == hash && nameOf(s.node) == name)) return i;
  }
}

Bnode* NameIndex::find(std::string_view name) const {
  if (count_ == 0) return nullptr;
  return slots_[probe(name, hashOf(name))].node;
}

void NameIndex::add(Bnode* node) {
  bool made = false;
  findOrAdd(nameOf(node), made, [node] { return node; });
}

void NameIndex::erase(std::string_view name) {
  if (count_ == 0) return;
  const size_t mask = slots_.size() - 1;
  size_t gap = probe(name, hashOf(name));
  if (!slots_[gap].node) return;
  slots_[gap] = Slot{};
  --count_;
  // Each later entry of the run moves into the gap unless its home lies after the gap, up to it.
  for (size_t i = (gap + 1) & mask; slots_[i].node; i = (i + 1) & mask) {
    const size_t home = slots_[i].hash & mask;
    const bool stays = gap <= i ? gap < home && home <= i : gap < home || home <= i;
    if (stays) continue;
    slots_[gap] = slots_[i];
    slots_[i] = Slot{};
    gap = i;
  }
}

void NameIndex::clear() {
  slots_.clear();
  count_ = 0;
}

void NameIndex::reserve(size_t count) {
  if (2 * count <= slots_.size()) return;
  size_t slots = 16;
  while (slots < 2 * count) slots *= 2;
  regrow(slots);
}

void NameIndex::regrow(size_t slots) {
  std::vector<Slot> old(slots);
  old.swap(slots_);
  const size_t mask = slots - 1;
  for (const Slot& s : old) {
    if (!s.node) continue;
    size_t i = s.hash & mask;
    while (slots_[i].node) i = (i + 1) & mask;
    slots_[i] = s;
  }
}

}  // namespace quorva
