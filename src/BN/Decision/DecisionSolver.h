// Solving a compiled decision net: the optimal policy of every decision, the expected utility of
// each option of each decision, the maximum expected utility, and the beliefs of every node when
// each decision follows its policy.
//
// Method: single policy updating over value factors (a probability part and a utility part, the
// utilities of separate utility nodes added).  Every undecided decision starts with the uniform
// policy; then, from the decision made last back to the first, each decision's policy is set to
// the option of greatest expected utility for each configuration of what it knows, the other
// decisions following their present policies, every expected utility found by exact variable
// elimination.  With "no forgetting" (the default) a decision knows what every earlier decision
// knew and chose; the known sets are then nested and one backward pass gives the optimal policies
// (the same as eliminating in the order: chance nodes never observed, the last decision, the
// chance nodes it observed, ..., the first decision).  Without it, passes repeat until no policy
// changes (at most 50), which is optimal when each decision observes whatever it needs.
// Findings are taken as known to every decision; a decision with an action (or finding) follows
// it and is not optimised.  Options of equal expected utility go to the lowest numbered.  A
// finding at a variable a decision knows does not change its policy (the rows the finding rules
// out keep the choice they would have without it); findings elsewhere change it.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

namespace quorva {

class Bnet;
class Bnode;

struct DecisionSolution {
  uint64_t inputs = 0;        // the net's beliefInputs it was solved for
  bool noForgetting = true;
  double meu = 0;             // undefined when the findings are impossible
  std::vector<const Bnode*> decisions;
  std::vector<std::vector<double>> utils;   // per decision: the expected utility of each option
  std::vector<const Bnode*> vars;
  std::vector<std::vector<float>> beliefs;  // per variable
};

// Solves the net's decisions unless the solution held is still current, and writes each
// decision's policy into its function table (over its own parents: when what it remembers
// matters beyond them, the option best summed over the remembered configurations).  The net must
// be compiled and its beliefs updated.
const DecisionSolution& solveDecisions(Bnet& net);

// The node's beliefs under the policies, or null for a node the solver has no beliefs of.
const std::vector<float>* solvedBeliefs(Bnet& net, const Bnode& node);

}  // namespace quorva
