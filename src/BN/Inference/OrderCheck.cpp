// Checking an elimination order against its net.
#include "BN/Inference/OrderCheck.h"

#include <algorithm>
#include <unordered_set>

#include "BN/Inference/InferErrors.h"
#include "BN/Net/Bnet.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {
bool listed(const Bnode* n) { return n->kind != UTILITY && n->kind != CONSTANT; }
}  // namespace

std::string orderFault(const Bnet& net, const std::vector<Bnode*>& order) {
  std::unordered_set<const Bnode*> seen;
  for (const Bnode* n : order) {
    if (!n) return "contains a NULL";
    if (n->net != &net || n->deleted)
      return format("contains a >-node not in the >-net (>-node '%s' of >-net '%s')", n->name,
                    n->net ? n->net->name : std::string());
    if (n->kind == UTILITY) return format("contains a >-utility_node (named '%s')", n->name);
    if (!seen.insert(n).second) return format("contains a duplicate >-node (named '%s')", n->name);
  }
  for (const Bnode* n : net.nodes)
    if (listed(n) && !seen.count(n)) return format("is missing a >-node (named '%s')", n->name);
  return "";
}

bool dropStaleOrder(Bnet& net) {
  if (net.elimOrder.empty()) return false;
  std::string fault = orderFault(net, net.elimOrder);
  if (fault.empty()) return false;
  net.elimOrder.clear();
  engNotice(net.env, err::OrderRemoved, net.name, fault);
  return true;
}

void dropOrderListing(Bnet& net, const Bnode& node) {
  if (std::find(net.elimOrder.begin(), net.elimOrder.end(), &node) == net.elimOrder.end()) return;
  net.elimOrder.clear();
  engNotice(net.env, err::OrderRemoved, net.name,
            format("contains a >-node not in the >-net (>-node '%s' of >-net '%s')", node.name, net.name));
}

}  // namespace quorva
