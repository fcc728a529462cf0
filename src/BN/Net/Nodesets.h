// Node sets: the named sets users put nodes in, with a priority order and a colour, and the
// built-in sets (names beginning with a colon) whose members follow from each node's properties.
#pragma once
#include <string>
#include <vector>

namespace quorva {

class Bnet;
class Bnode;

// The built-in sets in their fixed order.
const std::vector<std::string>& builtinNodesets();
bool isBuiltinNodeset(const std::string& name);
// Whether the node belongs to the built-in set (which must be one).
bool inBuiltinNodeset(const Bnode& node, const std::string& name);

// Refuses a name that cannot name a user set (the name rule, a trailing "NS", a built-in name).
void checkNewNodesetName(const Bnet& net, const std::string& name);

void addToNodeset(Bnode& node, const std::string& set);
void removeFromNodeset(Bnode& node, const std::string& set);
bool isInNodeset(const Bnode& node, const std::string& set);
// All set names, highest priority first; the built-in ones after the user's when asked for.
std::string allNodesets(const Bnet& net, bool withBuiltin);
// Makes the named sets the highest-priority ones, the first the very highest.
void reorderNodesets(Bnet& net, const std::string& order);
// Sets a set's colour and returns the one before (-1 when it had none).
int setNodesetColor(Bnet& net, const std::string& set, int color);

}  // namespace quorva
