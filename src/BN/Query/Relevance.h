// Questions about the graph alone: d-separation, Markov blankets, and which nodes a query needs,
// by passing a ball through the net (a node passes it on or blocks it according to whether it is
// observed and from which side the ball came).
#pragma once
#include <cstddef>
#include <vector>

namespace quorva {

class Bnet;
class Bnode;

// What a ball started at the query nodes reaches, given the observed nodes.
struct BallMarks {
  std::vector<char> top;      // the node's table is needed
  std::vector<char> bottom;   // the ball passed the node to its children: it is d-connected
  std::vector<char> visited;  // the ball reached the node
  std::vector<char> softTop;  // the node's likelihood finding is needed
};

// Which of the net's nodes have a state finding (observed) or only a likelihood (soft).
struct FindingMarks {
  std::vector<char> observed, soft;
};
FindingMarks findingMarks(const Bnet& net);

// `observed[i]` and `soft[i]` (a likelihood finding: observed through an unseen child) say, for
// the net's i-th node, whether it is observed.
BallMarks passBall(const Bnet& net, const std::vector<const Bnode*>& query, const std::vector<char>& observed,
                   const std::vector<char>& soft);

// Whether every node of `x` is d-separated from every node of `y` given `given` (a node given is
// separated from everything; a node in both x and y is not separated from itself).
bool dSeparated(const Bnet& net, const std::vector<const Bnode*>& x, const std::vector<const Bnode*>& y,
                const std::vector<const Bnode*>& given);

// The node's parents, children and its children's other parents, in net order.
std::vector<Bnode*> markovBlanket(const Bnode& node);

// The nodes whose tables or findings a query of `query` given the net's findings needs: the rest
// are barren or d-separated from the query.  In net order.
std::vector<Bnode*> relevantNodes(const Bnet& net, const std::vector<const Bnode*>& query);

// The place of each node in the net's node list.
size_t nodePlace(const Bnet& net, const Bnode* node);

}  // namespace quorva
