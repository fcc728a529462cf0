// API functions of node lists.
#include "BN/Net/NetErrors.h"
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

namespace {
int checkedIndex(ApiFrame& f, const NodeList& list, int index) {
  int n = static_cast<int>(list.nodes.size());
  if (index < 0) argError(&f.env(), err::ListIndexNegative, index);
  if (index >= n) argError(&f.env(), err::ListIndexPastEnd, index, n);
  return index;
}
}  // namespace

extern "C" {

node_bn* RemoveNthNode_bn(nodelist_bn* nodes, int index) {
  return apiCall(__func__, static_cast<node_bn*>(nullptr), envOf(nodes), [&](ApiFrame& f) {
    NodeList& list = f.list(nodes);
    refuseConstant(f, list);
    int n = static_cast<int>(list.nodes.size());
    if (index == -1) index = n - 1;
    if (index < 0) argError(&f.env(), err::ListIndexNegative, index);
    if (index >= n) argError(&f.env(), err::ListRemovePastEnd, index);
    Bnode* removed = list.nodes[static_cast<size_t>(index)];
    list.nodes.erase(list.nodes.begin() + index);
    return handle(removed);
  });
}

void SetNthNode_bn(nodelist_bn* nodes, int index, node_bn* node) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    NodeList& list = f.list(nodes);
    refuseConstant(f, list);
    checkedIndex(f, list, index);
    Bnode* n = node ? &f.node(node) : nullptr;
    if (n && list.net && n->net != list.net)
      argError(&f.env(), err::ListOtherNetSet, n->name, n->net->name, list.net->name);
    if (n) list.net = n->net;
    list.nodes[static_cast<size_t>(index)] = n;
  });
}

int IndexOfNodeInList_bn(const node_bn* node, const nodelist_bn* nodes, int start_index) {
  return apiCall(__func__, -1, envOf(nodes), [&](ApiFrame& f) {
    const NodeList& list = f.list(nodes);
    const Bnode* n = node ? &f.node(node) : nullptr;
    int len = static_cast<int>(list.nodes.size());
    if (start_index < 0) argError(&f.env(), err::ListStartNegative, start_index);
    if (start_index > len) argError(&f.env(), err::ListStartPastEnd, start_index, len);
    for (int i = start_index; i < len; ++i)
      if (list.nodes[static_cast<size_t>(i)] == n) return i;
    return -1;
  });
}

nodelist_bn* DupNodeList_bn(const nodelist_bn* nodes) {
  return apiCall(__func__, static_cast<nodelist_bn*>(nullptr), envOf(nodes), [&](ApiFrame& f) {
    const NodeList& list = f.list(nodes);
    NodeList& copy = f.env().newList(list.net);
    copy.nodes = list.nodes;
    return handle(&copy);
  });
}

void ClearNodeList_bn(nodelist_bn* nodes) {
  apiRun(__func__, envOf(nodes), [&](ApiFrame& f) {
    NodeList& list = f.list(nodes);
    refuseConstant(f, list);
    list.nodes.clear();
  });
}

}  // extern "C"
