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

const NodeDetails Bnode::NO_DETAILS;

NodeDetails& Bnode::editDetails() const {
  if (!details_) details_ = std::make_unique<NodeDetails>();
  return *details_;
}

void Bnode::becomeDeleted() {
  deleted = 1;
  stateNames.clear();
  parents.clear();
  children.clear();
  finding = Finding();
  tables.clear();
  if (details_) {  // the equation and listeners stay, as an undone deletion finds them
    NodeDetails kept;
    kept.equation = std::move(details_->equation);
    kept.listeners = std::move(details_->listeners);
    *details_ = std::move(kept);
  }
}

}  // namespace quorva
