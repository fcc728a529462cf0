// Node creation, naming, kinds and deletion.
#include "BN/Net/NodeOps.h"

#include "BN/Net/Bnet.h"
#include "BN/Net/Links.h"
#include "BN/Net/Listeners.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NetErrors.h"
#include "Basic/BasicErrors.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"

namespace quorva {

std::string checkedName(EnvCore* env, const char* name, const char* arg) {
  if (!name || !*name) argError(env, err::EmptyName);
  std::string why;
  if (checkName(name, NAME_ALL | NAME_NO_ASTERISK, &why)) argError(env, err::BadName, arg, why);
  return name;
}

Bnode& createNode(Bnet& net, const char* name, int numStates) {
  std::string checked = checkedName(net.env, name, "name");
  if (numStates < 0) argError(net.env, err::NegativeNumStates, numStates, net.name);
  if (net.nameTaken(checked)) engError(net.env, err::NameUsed, checked, net.name);
  NetEdit edit(net, "new node", EditKind::Structure, UndoScope::lists());
  Bnode& node = net.addNode(checked, numStates);
  edit.commit();
  fireNetEvent(net, CREATE_EVENT_TYPE, &node);
  return node;
}

void deleteNode(Bnode& node) {
  Bnet& net = *node.net;
  fireNodeEvent(node, REMOVE_EVENT_TYPE);
  if (node.deleted) return;  // a listener deleted it already
  // The node goes whole; its children lose a dimension, its parents a child.
  UndoScope scope = UndoScope::lists().with(&node, NODE_ALL);
  for (Bnode* c : node.children) scope.with(c, NODE_LINKS | NODE_TABLES);
  for (const Link& l : node.parents) scope.with(l.parent, NODE_LINKS);
  NetEdit edit(net, "delete node", EditKind::Structure, std::move(scope));
  // The children lose this dimension first, then the node lets go of its own parents.
  while (!node.children.empty()) {
    Bnode& child = *node.children.back();
    for (int i = static_cast<int>(child.parents.size()) - 1; i >= 0; --i)
      if (child.parents[static_cast<size_t>(i)].parent == &node) {
        deleteLink(i, child);
        break;
      }
  }
  while (!node.parents.empty()) deleteLink(static_cast<int>(node.parents.size()) - 1, node);
  net.removeNode(node);
  edit.commit();
}

void renameNode(Bnode& node, const char* name) {
  Bnet& net = *node.net;
  std::string checked = checkedName(net.env, name, "name");
  if (checked == node.name) return;
  if (net.nameTaken(checked)) engError(net.env, err::NameUsed, checked, net.name);
  NetEdit edit(net, "rename node", EditKind::Text, UndoScope::texts(node));
  net.renameNode(node, checked);
  edit.commit();
}

void setNodeKind(Bnode& node, int kind) {
  EnvCore* env = node.net->env;
  if (kind == DISCONNECTED) argError(env, err::KindDisconnected, node.name);
  if (kind == ADVERSARY) argError(env, err::KindAdversary, node.name);
  if (kind < NATURE || kind > UTILITY) argError(env, err::KindRange, node.name, kind, int{UTILITY});
  if (kind == node.kind) return;
  NetEdit edit(*node.net, "set node kind", EditKind::Structure, UndoScope::nodeParts(node, NODE_REST));
  node.kind = kind;
  edit.commit();
}

void setNetName(Bnet& net, const char* name) {
  std::string checked = checkedName(net.env, name, "name");
  NetEdit edit(net, "rename net", EditKind::Text, UndoScope::netFields());
  net.name = checked;
  edit.commit();
}

}  // namespace quorva
