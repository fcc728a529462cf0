// Interventions: setting a node to a state from outside the model, which cuts it off from its
// causes (its links in are removed and its table becomes the certainty of that state).
#pragma once

namespace quorva {

class Bnode;

// One edit (undone as one).  Refused for decision, utility and constant nodes and nodes without
// states.
void interveneNode(Bnode& node, int state);

}  // namespace quorva
