// Nodes: construction, the words for kinds and types, and deletion to a shell.
#include "BN/Net/Bnode.h"

namespace quorva {

const char* nodeKindWord(int kind) {
  static const char* const words[] = {"UNKNOWN_KIND", "NATURE",       "CONSTANT", "DECISION",
                                      "UTILITY",      "DISCONNECTED", "ADVERSARY"};
  return kind >= 0 && kind <= ADVERSARY ? words[kind] : "UNKNOWN_KIND";
}

const char* nodeTypeWord(int type) {
  return type == CONTINUOUS ? "CONTINUOUS" : type == DISCRETE ? "DISCRETE" : "UNKNOWN_DISCRETE";
}

double undefDouble() { return std::numeric_limits<double>::quiet_NaN(); }

bool Link::hasDelay() const {
  for (const std::string& d : delays)
    if (!d.empty() && d != "0") return true;
  return false;
}

Bnode::Bnode(Bnet* net, std::string name, int numStates)
    : Tagged(BNODE_TYPE),
      net(net),
      name(std::move(name)),
      type(numStates > 0 ? DISCRETE : CONTINUOUS),
      numStates(numStates) {}

void Bnode::becomeDeleted() {
  deleted = 1;
  title.clear();
  comment.clear();
  userFields = UserFields();
  stateNames.clear();
  stateTitles.clear();
  stateComments.clear();
  levels.clear();
  parents.clear();
  children.clear();
  finding = Finding();
  tables.clear();
  tableRead.clear();
  nodesets.clear();
  persistence.clear();
  parentList.nodes.clear();
  childList.nodes.clear();
}

}  // namespace quorva
