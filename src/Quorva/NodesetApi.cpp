// API functions of node sets.
#include "BN/Net/NodesetErrors.h"
#include "BN/Net/Nodesets.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {
std::string setName(ApiFrame& f, const char* nodeset) {
  if (!nodeset) argError(&f.env(), err::NodesetNull);
  return nodeset;
}
}  // namespace

extern "C" {

void AddNodeToNodeset_bn(node_bn* node, const char* nodeset) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    addToNodeset(n, setName(f, nodeset));
  });
}

void RemoveNodeFromNodeset_bn(node_bn* node, const char* nodeset) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    removeFromNodeset(n, setName(f, nodeset));
  });
}

bool_vq IsNodeInNodeset_bn(const node_bn* node, const char* nodeset) {
  return apiCall(__func__, bool_vq{0}, envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    return static_cast<bool_vq>(isInNodeset(n, setName(f, nodeset)));
  });
}

const char* GetAllNodesets_bn(const net_bn* net, bool_vq include_system, void* /*vis*/) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(net), [&](ApiFrame& f) {
    const Bnet& n = f.net(net);
    n.nodesetsRead = allNodesets(n, include_system != 0);
    return n.nodesetsRead.c_str();
  });
}

void ReorderNodesets_bn(net_bn* net, const char* nodeset_order, void* vis) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (vis && !n.hasVisual) engError(&f.env(), err::NodesetNoVisual, n.name);
    f.notNull(nodeset_order, "nodeset_order");
    reorderNodesets(n, nodeset_order);
  });
}

int SetNodesetColor_bn(const char* nodeset, int color, net_bn* net, void* vis) {
  return apiCall(__func__, -1, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (vis && !n.hasVisual) engError(&f.env(), err::NodesetNoVisual, n.name);
    return setNodesetColor(n, setName(f, nodeset), color);
  });
}

}  // extern "C"
