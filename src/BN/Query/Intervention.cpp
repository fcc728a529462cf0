#include "BN/Query/Intervention.h"

#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Net/Links.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NodeStates.h"
#include "BN/Query/QueryErrors.h"
#include "BN/Tables/NodeTableOps.h"
#include "Basic/Raise.h"

namespace quorva {

void interveneNode(Bnode& node, int state) {
  Bnet& net = *node.net;
  const char* why = node.kind == DECISION   ? "is a decision node"
                    : node.kind == UTILITY  ? "is a utility node"
                    : node.kind == CONSTANT ? "is a constant node"
                    : !node.hasStates()     ? "has no states"
                                            : nullptr;
  if (why) engError(net.env, err::InterveneKind, node.name, why);
  checkStateIndex(node, state);
  UndoScope scope = UndoScope::nodeParts(node, NODE_ALL);
  for (const Link& l : node.parents) scope.with(l.parent, NODE_LINKS);
  NetEdit edit(net, "intervene", EditKind::Structure, std::move(scope));
  while (!node.parents.empty()) deleteLink(static_cast<int>(node.parents.size()) - 1, node);
  deleteTables(node);
  std::vector<float> certain(static_cast<size_t>(node.numStates), 0.0f);
  certain[static_cast<size_t>(state)] = 1.0f;
  setProbs(node, nullptr, certain.data());
  edit.commit();
}

}  // namespace quorva
