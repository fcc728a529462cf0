// Links between nodes: the parent-list routine and the operations built on it.
#pragma once
#include <string>
#include <vector>

#include "BN/Net/Bnode.h"

namespace quorva {

// One entry of a new parent list.  `oldIndex` is the old dimension the table takes this
// dimension from (-1: a new dimension); `fresh` marks a link that did not exist before (checked
// for cycles and duplicates and entered in the parent's children).
struct ParentSlot {
  Link link;
  int oldIndex = -1;
  bool fresh = true;
};

// The one routine behind adding, deleting and switching links: checks, warns of cycles and
// duplicate links, re-indexes the child's tables, updates children lists and commits the edit.
void setNodeParents(Bnode& child, std::vector<ParentSlot> slots, bool report);

int addLink(Bnode& parent, Bnode& child);
void deleteLink(int index, Bnode& child);
void switchParent(int index, Bnode& child, Bnode* newParent);
void setInputName(Bnode& child, int index, const char* name);
// Set (unless `value` is "~query_only~") and return the delay or persistence in force.
const std::string& setInputDelay(Bnode& child, int index, int dimension, const char* value);
const std::string& setPersistence(Bnode& node, int dimension, const char* value);

// Refuses a parent index outside 0..parents-1.
void checkParentIndex(const Bnode& child, int index);

}  // namespace quorva
