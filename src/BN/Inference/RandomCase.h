// Drawing random cases from a net: forward sampling in parents-first order, rejecting cases that
// disagree with the findings, or node by node through the junction tree.
#pragma once
#include <vector>

namespace quorva {

class Bnet;
class Bnode;
class RandomGen;

enum class Sampling { Default = 0, JoinTree = 1, Forward = 2 };

// One state per node of the net (in net order), drawn from the net's tables alone (findings are
// ignored).  Nodes without states (and utility nodes) get -1.  Missing or undefined CPT rows
// count as uniform, as do decision nodes.
std::vector<int> forwardSample(Bnet& net, RandomGen& rng);

// Draws a case from the net's distribution given its findings and enters it as state findings of
// the listed nodes, replacing theirs.  Forward sampling (the default) repeats until a sample
// agrees with the findings (a likelihood accepts a sample with the likelihood of its state) and
// gives up, returning false with the findings as they were, after `timeout` seconds (none when 0
// or less, but a user halt still stops it).  Junction-tree sampling compiles the net when needed
// and draws the case clique by clique from the potentials given the findings (one update).
// Either way the case is entered as one change of findings: with auto-update, one more update.
bool generateRandomCase(Bnet& net, const std::vector<Bnode*>& nodes, Sampling method, double timeout,
                        RandomGen& rng);

}  // namespace quorva
