// API functions of node lists.
#include "BN/NetErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {
void refuseConstant(ApiFrame& f, const NodeList& list) {
  if (list.constant) argError(&f.env(), err::ListConstant);
}
}  // namespace

extern "C" {

nodelist_bn* NewNodeList2_bn(int length, const net_bn* net) {
  return apiCall(__func__, static_cast<nodelist_bn*>(nullptr), envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (length < 0) argError(&f.env(), err::ListLength, length);
    NodeList& list = f.env().newList(&n);
    list.nodes.assign(static_cast<size_t>(length), nullptr);
    return handle(&list);
  });
}

void DeleteNodeList_bn(nodelist_bn* nodes) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    NodeList& list = f.list(nodes);
    if (list.constant) argError(&f.env(), err::ListDeleteConstant);
    f.env().deleteList(list);
  });
}

int LengthNodeList_bn(const nodelist_bn* nodes) {
  return apiCall(__func__, -1, envOf(nodes),
                 [&](ApiFrame& f) { return static_cast<int>(f.list(nodes).nodes.size()); });
}

node_bn* GetNthNode_bn(const nodelist_bn* nodes, int index) {
  return apiCall(__func__, static_cast<node_bn*>(nullptr), envOf(nodes), [&](ApiFrame& f) {
    const NodeList& list = f.list(nodes);
    int n = static_cast<int>(list.nodes.size());
    if (index < 0) argError(&f.env(), err::ListIndexNegative, index);
    if (index >= n) argError(&f.env(), err::ListIndexPastEnd, index, n);
    return handle(list.nodes[static_cast<size_t>(index)]);
  });
}

void AddNodeToList_bn(node_bn* node, nodelist_bn* nodes, int index) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    NodeList& list = f.list(nodes);
    Bnode& n = f.node(node);
    refuseConstant(f, list);
    int len = static_cast<int>(list.nodes.size());
    if (index == -1) index = len;
    if (index < 0) argError(&f.env(), err::ListIndexNegative, index);
    if (index > len) argError(&f.env(), err::ListInsertPastEnd, index);
    if (list.net && n.net != list.net)
      argError(&f.env(), err::ListOtherNet, n.name, n.net->name, list.net->name);
    list.net = n.net;
    list.nodes.insert(list.nodes.begin() + index, &n);
  });
}

}  // extern "C"
