// Node storage in blocks: each block twice the last, up to a bound, unless room was reserved.
#include "BN/Net/NodeStore.h"

#include <algorithm>
#include <new>
#include <utility>

namespace quorva {

namespace {
constexpr size_t FIRST_BLOCK = 8;
constexpr size_t LARGEST_GROWTH = 128;  // nodes: a block stays below the size the allocator maps apart
}  // namespace

void NodeStore::addBlock(size_t capacity) {
  Block b;
  b.base.reset(static_cast<Bnode*>(::operator new(capacity * sizeof(Bnode))));
  b.capacity = capacity;
  blocks_.push_back(std::move(b));
}

Bnode* NodeStore::make(Bnet* net, std::string name, int numStates) {
  if (blocks_.empty() || blocks_.back().used == blocks_.back().capacity)
    addBlock(blocks_.empty() ? FIRST_BLOCK : std::min(2 * blocks_.back().capacity, LARGEST_GROWTH));
  Block& b = blocks_.back();
  Bnode* node = new (b.base.get() + b.used) Bnode(net, std::move(name), numStates);
  ++b.used;
  return node;
}

void NodeStore::reserve(size_t more) {
  size_t room = blocks_.empty() ? 0 : blocks_.back().capacity - blocks_.back().used;
  if (room >= more) return;
  // A block that is still empty is replaced rather than left unused.
  if (!blocks_.empty() && blocks_.back().used == 0) blocks_.pop_back();
  addBlock(more);
}

void NodeStore::clear() {
  for (Block& b : blocks_)
    for (size_t i = 0; i < b.used; ++i) b.base.get()[i].~Bnode();
  blocks_.clear();
}

}  // namespace quorva
