// Building a net that nobody else sees yet, as the readers do: each operation has the effect of
// the general one on a net without findings, tables, listeners or undo history, without the
// per-call bookkeeping (edits, argument checks, table re-indexing) a live net needs.  Nodes are
// added with Bnet::addNode, under names the caller has made legal and unique.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "BN/Net/Bnode.h"

namespace quorva {

// Gives the node legal, distinct state names made from `texts` (one per state); each text that
// had to change is kept as its state's title.
void nameFreshStates(Bnode& node, const std::vector<std::string>& texts);

// A child and its parent links, in table order.
using Family = std::pair<Bnode*, std::vector<Link>>;

// Links each child of `families` (children that have no parents yet) to its parents, in the
// order given.  The warnings for links that close a cycle or repeat a parent are those that
// setting the parents one child after another in that order gives.
void linkFresh(std::vector<Family> families);
// The same when no link closes a cycle or repeats a parent (true); otherwise nothing is linked and
// `families` is as it was (false).
bool linkFreshIfClean(std::vector<Family>& families);

// The node's CPT (or, with `utility`, its real function table) from `values` in table order, NaN
// for an undefined entry.  Refused as making the table is (too large, continuous parent).
void fillFreshTable(Bnode& node, bool utility, const double* values);

}  // namespace quorva
