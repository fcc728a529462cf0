// A decision net as the solver sees it: its discrete variables, the probability, evidence and
// utility factors, and the decisions in the order they are made with what each one knows.
#pragma once
#include <vector>

#include "BN/Decision/ValueFactor.h"

namespace quorva {

class Bnet;
class Bnode;

// Refuses, when compiling, a net whose decisions could never be solved (errors 5800, 5802,
// 5803): a decision in a directed cycle, a utility node with children, a decision without
// states.  Changes nothing.
void checkDecisionNet(const Bnet& net);
// Refuses, when solving, decisions that can't be ordered: two with no directed path between them
// (error 5801).  A net with such decisions still compiles.
void checkDecisionOrder(const Bnet& net);

// The decisions of the net, the one made first first: each is an ancestor of the next.
std::vector<Bnode*> decisionOrder(const Bnet& net);

struct DecisionModel {
  std::vector<Bnode*> vars;            // the variable of each number: every node with states but utility nodes
  Cards cards;                         // their state counts
  std::vector<int> varOf;              // per node of the net (net order): its variable, or -1
  std::vector<ValueFactor> chance;     // tables of chance and constant nodes
  std::vector<int> chanceOwner;        // per table: the variable it gives the probabilities of
  std::vector<ValueFactor> findings;   // findings of chance nodes, each over its one variable
  std::vector<ValueFactor> utilities;  // one per utility node: p of ones, w its utility
  std::vector<Bnode*> decisions;       // in the order they are made
  std::vector<std::vector<int>> informed;  // per decision: the variables known when it is made
  std::vector<bool> fixed;             // per decision: an action (or finding) fixes it
  std::vector<ValueFactor> policies;   // per decision: its policy over informed + itself
  const Bnode* incompleteUtility = nullptr;  // a utility node with undefined entries (taken as 0)

  int var(const Bnode& n) const;
};

// Builds the model of the net with its present tables and findings; with `noForgetting` a
// decision also knows what every earlier decision knew and chose.  Undecided decisions start
// with the uniform policy; fixed ones hold their action.
DecisionModel buildDecisionModel(const Bnet& net, bool noForgetting);

}  // namespace quorva
