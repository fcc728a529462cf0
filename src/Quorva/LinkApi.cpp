// API functions of links.
#include "BN/Net/Links.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {
const nodelist_bn* refreshed(NodeList& list, Bnet* net, std::vector<Bnode*> nodes) {
  list.net = net;
  list.nodes = std::move(nodes);
  return handle(&list);
}
}  // namespace

extern "C" {

int AddLink_bn(node_bn* parent, node_bn* child) {
  return apiCall(__func__, -1, envOf(child), [&](ApiFrame& f) {
    Bnode& c = f.node(child);
    return addLink(f.node(parent), c);
  });
}

void DeleteLink_bn(int link_index, node_bn* child) {
  apiRun(__func__, envOf(child), [&](ApiFrame& f) { deleteLink(link_index, f.node(child)); });
}

void SwitchNodeParent_bn(int link_index, node_bn* node, node_bn* new_parent) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& child = f.node(node);
    switchParent(link_index, child, new_parent ? &f.node(new_parent) : nullptr);
  });
}

const nodelist_bn* GetNodeParents_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const nodelist_bn*>(nullptr), envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    std::vector<Bnode*> parents;
    for (const Link& l : n.parents) parents.push_back(l.parent);
    return refreshed(n.editDetails().parentList, n.net, std::move(parents));
  });
}

const nodelist_bn* GetNodeChildren_bn(const node_bn* node) {
  return apiCall(__func__, static_cast<const nodelist_bn*>(nullptr), envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    return refreshed(n.editDetails().childList, n.net, n.children);
  });
}

void SetNodeInputName_bn(node_bn* node, int link_index, const char* link_name) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { setInputName(f.node(node), link_index, link_name); });
}

const char* GetNodeInputName_bn(const node_bn* node, int link_index) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    checkParentIndex(n, link_index);
    return n.parents[static_cast<size_t>(link_index)].inputName.c_str();
  });
}

const char* SetNodeInputDelay_bn(node_bn* node, int link_index, int dimension, const char* delay) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node), [&](ApiFrame& f) {
    return setInputDelay(f.node(node), link_index, dimension, delay).c_str();
  });
}

const char* SetNodePersistence_bn(node_bn* node, int dimension, const char* persistence) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(node), [&](ApiFrame& f) {
    return setPersistence(f.node(node), dimension, persistence).c_str();
  });
}

}  // extern "C"
