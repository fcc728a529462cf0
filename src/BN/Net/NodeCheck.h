// The internal consistency check of a node, made on every node passed at the highest checking level.
#pragma once

namespace quorva {

class Bnode;

// Raises an internal error naming the first inconsistency found.
void checkNodeConsistency(const Bnode& node);

}  // namespace quorva
