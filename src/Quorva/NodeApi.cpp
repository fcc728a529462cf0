// API functions of nodes: creation, deletion, copying, names, texts, kinds and user fields.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "BN/Net/NetCopy.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NodeOps.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"
#include "Quorva/UserFieldCalls.h"

using namespace quorva;

namespace {
void setNodeText(ApiFrame& f, const node_bn* h, std::string NodeDetails::*field, const char* text) {
  Bnode& node = f.node(h);
  NetEdit edit(*node.net, "set node text", EditKind::Text, UndoScope::texts(node));
  node.editDetails().*field = text ? text : "";
  edit.commit();
}
}  // namespace

extern "C" {

node_bn* NewNode_bn(const char* name, int num_states, net_bn* net) {
  return apiCall(__func__, static_cast<node_bn*>(nullptr), envOf(net),
                 [&](ApiFrame& f) { return handle(&createNode(f.net(net), name, num_states)); });
}

void DeleteNode_bn(node_bn* node) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { deleteNode(f.node(node)); });
}

nodelist_bn* CopyNodes_bn(const nodelist_bn* nodes, net_bn* new_net, const char* options) {
  return apiCall(__func__, static_cast<nodelist_bn*>(nullptr), envOf(new_net), [&](ApiFrame& f) {
    Bnet& into = f.net(new_net);
    const NodeList& from = f.list(nodes);
    for (const Bnode* n : from.nodes)
      if (n) f.node(handle(const_cast<Bnode*>(n)));
    std::vector<Bnode*> copies = copyNodes(from.nodes, into, options);
    bool wantList = !options || std::string(options).find("dont_return_list") == std::string::npos;
    if (!wantList) return static_cast<nodelist_bn*>(nullptr);
    NodeList& out = f.env().newList(&into);
    out.nodes = std::move(copies);
    return handle(&out);
  });
}

void SetNodeName_bn(node_bn* node, const char* name) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { renameNode(f.node(node), name); });
}

const char* GetNodeName_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return f.node(node).name.c_str(); });
}

void SetNodeTitle_bn(node_bn* node, const char* title) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { setNodeText(f, node, &NodeDetails::title, title); });
}

const char* GetNodeTitle_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return f.node(node).details().title.c_str(); });
}

void SetNodeComment_bn(node_bn* node, const char* comment) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { setNodeText(f, node, &NodeDetails::comment, comment); });
}

const char* GetNodeComment_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return f.node(node).details().comment.c_str(); });
}

net_bn* GetNodeNet_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<net_bn*>(nullptr), envOf(node),
                 [&](ApiFrame& f) { return handle(f.node(node).net); });
}

void SetNodeKind_bn(node_bn* node, nodekind_bn kind) {
  int k = enumBits(kind);
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { setNodeKind(f.node(node), k); });
}

nodekind_bn GetNodeKind_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<nodekind_bn>(0), envOf(node),
                 [&](ApiFrame& f) { return static_cast<nodekind_bn>(f.node(node).kind); });
}

nodetype_bn GetNodeType_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<nodetype_bn>(0), envOf(node),
                 [&](ApiFrame& f) { return static_cast<nodetype_bn>(f.node(node).type); });
}

void SetNodeUserField_bn(node_bn* node, const char* name, const void* data, int length, int kind) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    setUserField(f, *n.net, &n, n.editDetails().userFields, name, data, length, kind);
  });
}

const char* GetNodeUserField_bn(const node_bn* node, const char* name, int* length, int kind) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node), [&](ApiFrame& f) {
    return getUserField(f, f.node(node).details().userFields, name, length, kind);
  });
}

void GetNodeNthUserField_bn(const node_bn* node, int index, const char** name, const char** value,
                            int* length, int kind) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    getNthUserField(f, f.node(node).details().userFields, index, name, value, length, kind);
  });
}

void SetNodeVisPosition_bn(node_bn* node, void* vis, double x, double y) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    if (vis) argError(&f.env(), err::VisNotNull);
    if (!std::isfinite(x) || !std::isfinite(y)) argError(&f.env(), err::VisPositionNotFinite, x, y);
    NetEdit edit(*n.net, "set node position", EditKind::Text, UndoScope::nodeParts(n, NODE_REST));
    n.visX = x;
    n.visY = y;
    edit.commit();
  });
}

void GetNodeVisPosition_bn(const node_bn* node, void* vis, double* x, double* y) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    if (vis) argError(&f.env(), err::VisNotNull);
    if (x) *x = n.visX;
    if (y) *y = n.visY;
  });
}

int GetNodeNumberStates_bn(const node_bn* node) {
  return apiCall(__func__, -1, envOf(node), [&](ApiFrame& f) { return f.node(node).numStates; });
}

}  // extern "C"
