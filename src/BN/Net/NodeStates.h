// Operations on a node's states: names, titles, comments, adding, removing, reordering, levels.
#pragma once

namespace quorva {

class Bnode;

// Refuses a state index outside the node's states (or any index on a node without states).
void checkStateIndex(const Bnode& node, int state);

void setStateName(Bnode& node, int state, const char* name);
void setStateNames(Bnode& node, const char* names);  // null removes every name
void setStateTitle(Bnode& node, int state, const char* title);
void setStateComment(Bnode& node, int state, const char* comment);
void addStates(Bnode& node, int first, const char* names, int count, double fill);
void removeState(Bnode& node, int state);
void reorderStates(Bnode& node, const int* order);
void setLevels(Bnode& node, int count, const double* levels);

}  // namespace quorva
