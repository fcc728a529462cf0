// Whether an elimination order fits its net, and dropping a stored order that no longer does.
#pragma once
#include <string>
#include <vector>

namespace quorva {

class Bnet;
class Bnode;

// The first fault of `order` as an order of `net`'s nodes, in the words that complete "new list
// %s" or "it %s" ("is missing a >-node (named 'X')", "contains a duplicate >-node (named 'X')",
// ...), or "" when it fits: every node of the net except utility and constant nodes once, and
// nothing else.
std::string orderFault(const Bnet& net, const std::vector<Bnode*>& order);

// Drops the net's stored order when it no longer fits (a node added or deleted since it was
// set), with notice 3042 giving the fault.  True when an order was dropped.
bool dropStaleOrder(Bnet& net);

// `node` is leaving the net: a stored order that lists it is dropped with notice 3042.
void dropOrderListing(Bnet& net, const Bnode& node);

}  // namespace quorva
