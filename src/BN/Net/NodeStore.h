// Where a net's nodes live, deleted shells too: blocks of node storage that grow with the net
// (one block for all the nodes of a net read from a file) and are freed with it.
#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "BN/Net/Bnode.h"

namespace quorva {

class NodeStore {
 public:
  NodeStore() = default;
  NodeStore(const NodeStore&) = delete;
  NodeStore& operator=(const NodeStore&) = delete;
  ~NodeStore() { clear(); }

  // A new node; nothing changes when making it fails.
  Bnode* make(Bnet* net, std::string name, int numStates);
  // Room for `more` nodes past those made, in one block.
  void reserve(size_t more);
  // Destroys every node, in the order made, and frees the storage.
  void clear();

 private:
  struct BlockFree {
    void operator()(Bnode* p) const { ::operator delete(static_cast<void*>(p)); }
  };
  struct Block {
    std::unique_ptr<Bnode, BlockFree> base;  // raw storage: the nodes in it are destroyed by clear()
    size_t used = 0;
    size_t capacity = 0;
  };
  void addBlock(size_t capacity);

  std::vector<Block> blocks_;
};

}  // namespace quorva
