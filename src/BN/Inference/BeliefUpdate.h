// Belief updating on a compiled net: clique potentials from node tables, findings into home
// cliques, propagation through the junction tree, and the reads built on it.
#pragma once
#include <vector>

namespace quorva {

class Bnet;
class Bnode;

// Brings the net's beliefs up to date (junction step 5).  Refuses a net that is not compiled and
// findings that cannot hold together ("according to this model, the >-finding-(s) entered are
// inconsistent").
void updateBeliefs(Bnet& net);
// Whether the findings now entered can hold together; on a net that is not compiled, nothing can
// be ruled out.
bool findingsHold(Bnet& net);
// The node's beliefs: its home clique marginalised onto it and normalised.
const std::vector<float>& nodeBeliefs(Bnode& node);
// The probability of the findings entered.
double findingsProbability(Bnet& net);
// The most probable state of every node of the net given the findings, by max-propagation.
std::vector<int> mostProbableConfig(Bnet& net);

}  // namespace quorva
