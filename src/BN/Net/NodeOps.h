// Creating, naming, re-kinding and deleting nodes and naming nets.
#pragma once
#include <string>

namespace quorva {

class Bnet;
class Bnode;
class EnvCore;

// Checks a name for an object (net, node, state, input): a null or empty name is refused with
// "empty string passed for name", a bad one with "in argument '<arg>', <why>".
std::string checkedName(EnvCore* env, const char* name, const char* arg);

Bnode& createNode(Bnet& net, const char* name, int numStates);
void deleteNode(Bnode& node);
void renameNode(Bnode& node, const char* name);
void setNodeKind(Bnode& node, int kind);
void setNetName(Bnet& net, const char* name);

}  // namespace quorva
