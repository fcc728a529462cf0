// The parent-list routine, with its cycle and duplicate warnings, and the link operations.
#include "BN/Net/Links.h"

#include <algorithm>

#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NetCopy.h"
#include "BN/Net/NetErrors.h"
#include "BN/Net/NodeOps.h"
#include "BN/Tables/TableReindex.h"
#include "Basic/BasicErrors.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

bool linkedWithoutDelay(const Bnode& parent, const Bnode& child) {
  return std::any_of(child.parents.begin(), child.parents.end(),
                     [&](const Link& l) { return l.parent == &parent && !l.hasDelay(); });
}

// Marks with a fresh label every node reachable from `start` along links without time delay.
uint64_t markReachable(Bnode& start) {
  uint64_t label = start.net->newLabel();
  std::vector<Bnode*> stack{&start};
  start.mark = label;
  while (!stack.empty()) {
    Bnode* x = stack.back();
    stack.pop_back();
    for (Bnode* c : x->children)
      if (c->mark != label && linkedWithoutDelay(*x, *c)) {
        c->mark = label;
        stack.push_back(c);
      }
  }
  return label;
}

void warnCyclesAndDuplicates(Bnode& child, const std::vector<ParentSlot>& slots) {
  EnvCore* env = child.net->env;
  bool anyFresh = std::any_of(slots.begin(), slots.end(), [](const ParentSlot& s) { return s.fresh; });
  if (!anyFresh) return;
  uint64_t label = markReachable(child);
  for (const ParentSlot& s : slots)
    if (s.fresh && !s.link.hasDelay() && s.link.parent->mark == label)
      engWarning(env, err::CycleWarning, s.link.parent->name, child.name);
  for (size_t i = 0; i < slots.size(); ++i) {
    if (!slots[i].fresh) continue;
    for (size_t j = 0; j < slots.size(); ++j)
      if (j != i && slots[j].link.parent == slots[i].link.parent) {
        engWarning(env, err::DuplicateLinkWarning, slots[i].link.parent->name, child.name);
        break;
      }
  }
}

void removeOneChild(Bnode& parent, Bnode& child) {
  auto it = std::find(parent.children.begin(), parent.children.end(), &child);
  if (it != parent.children.end()) parent.children.erase(it);
}

}  // namespace

void setNodeParents(Bnode& child, std::vector<ParentSlot> slots, bool report) {
  Bnet& net = *child.net;
  for (const ParentSlot& s : slots) {
    if (!s.fresh) continue;
    const Bnode& p = *s.link.parent;
    if (p.net != &net)
      engError(net.env, err::DifferentNets, p.name, child.name, p.net->name, net.name);
    if (child.kind == DISCONNECTED) engError(net.env, err::ChildDisconnected, p.name, child.name);
  }
  // The child's links and tables change, and the children lists of its old and new parents.
  UndoScope scope = UndoScope::nodeParts(child, NODE_LINKS | NODE_TABLES);
  for (const Link& l : child.parents) scope.with(l.parent, NODE_LINKS);
  for (const ParentSlot& s : slots) scope.with(s.link.parent, NODE_LINKS);
  NetEdit edit(net, "set parents", EditKind::Structure, std::move(scope));

  // Old links that survive unchanged; every other old link goes.
  std::vector<bool> kept(child.parents.size(), false);
  std::vector<bool> dimensionKept(child.parents.size(), false);
  std::vector<int> fromOld;
  for (const ParentSlot& s : slots) {
    fromOld.push_back(s.oldIndex);
    if (s.oldIndex >= 0) {
      dimensionKept[static_cast<size_t>(s.oldIndex)] = true;
      if (!s.fresh) kept[static_cast<size_t>(s.oldIndex)] = true;
    }
  }
  std::vector<int> sliceState(child.parents.size(), -1);
  for (size_t i = 0; i < child.parents.size(); ++i)
    if (!dimensionKept[i]) sliceState[i] = std::max(child.parents[i].parent->findingState(), 0);
  std::vector<Bnode*> newParents;
  for (const ParentSlot& s : slots) newParents.push_back(s.link.parent);
  tablesFollowParents(child, newParents, fromOld, sliceState);  // may refuse: nothing changed yet
  if (report) warnCyclesAndDuplicates(child, slots);

  for (size_t i = 0; i < child.parents.size(); ++i)
    if (!kept[i]) removeOneChild(*child.parents[i].parent, child);
  std::vector<Link> links;
  links.reserve(slots.size());
  for (ParentSlot& s : slots) {
    if (s.fresh) s.link.parent->children.push_back(&child);
    links.push_back(std::move(s.link));
  }
  child.parents = std::move(links);
  edit.commit();
}

namespace {
std::vector<ParentSlot> currentSlots(const Bnode& child) {
  std::vector<ParentSlot> slots;
  for (size_t i = 0; i < child.parents.size(); ++i)
    slots.push_back({child.parents[i], static_cast<int>(i), false});
  return slots;
}
}  // namespace

void checkParentIndex(const Bnode& child, int index) {
  int n = static_cast<int>(child.parents.size());
  if (index < 0 || index >= n) argError(child.net->env, err::ParentIndex, index, child.name, n, n - 1);
}

int addLink(Bnode& parent, Bnode& child) {
  EnvCore* env = child.net->env;
  if (parent.kind == DISCONNECTED) argError(env, err::PredDisconnected, parent.name);
  if (child.kind == DISCONNECTED) argError(env, err::SuccDisconnected, child.name);
  std::vector<ParentSlot> slots = currentSlots(child);
  slots.push_back({Link{&parent, "", {}}, -1, true});
  setNodeParents(child, std::move(slots), true);
  return static_cast<int>(child.parents.size()) - 1;
}

void deleteLink(int index, Bnode& child) {
  checkParentIndex(child, index);
  std::vector<ParentSlot> slots = currentSlots(child);
  slots.erase(slots.begin() + index);
  setNodeParents(child, std::move(slots), false);
}

void switchParent(int index, Bnode& child, Bnode* newParent) {
  checkParentIndex(child, index);
  Bnet& net = *child.net;
  Bnode& old = *child.parents[static_cast<size_t>(index)].parent;
  if (newParent && newParent->kind == DISCONNECTED)
    argError(net.env, err::NewPredDisconnected, newParent->name);
  if (newParent && newParent->net == &net && newParent->numStates != old.numStates)
    argError(net.env, err::SwitchStates, old.name, child.name, newParent->name, old.numStates,
             newParent->numStates);
  if (newParent == &old) return;
  UndoScope scope = UndoScope::nodeParts(child, NODE_LINKS | NODE_TABLES).with(&old, NODE_LINKS).with(newParent, NODE_LINKS);
  if (!newParent) scope.withLists();  // a stand-in parent is made
  NetEdit edit(net, "switch parent", EditKind::Structure, std::move(scope));
  size_t before = net.nodes.size();
  if (!newParent) {
    // A disconnected node stands in for the old parent, with its states, so the table stays.
    std::string name = uniqueName(old.name, [&](const std::string& n) { return net.nameTaken(n); });
    Bnode& stand = net.addNode(name, old.numStates);
    stand.kind = DISCONNECTED;
    stand.type = old.type;
    stand.stateNames = old.stateNames;
    if (old.hasDetails()) stand.editDetails().levels = old.details().levels;
    newParent = &stand;
  }
  std::vector<ParentSlot> slots = currentSlots(child);
  slots[static_cast<size_t>(index)].link.parent = newParent;
  slots[static_cast<size_t>(index)].fresh = true;
  try {
    setNodeParents(child, std::move(slots), true);
  } catch (...) {
    removeAddedNodes(net, before);
    throw;
  }
  edit.commit();
}

void setInputName(Bnode& child, int index, const char* name) {
  checkParentIndex(child, index);
  EnvCore* env = child.net->env;
  std::string checked;
  if (name && *name) {
    std::string why;
    if (checkName(name, NAME_ALL | NAME_NO_ASTERISK, &why))
      argError(env, err::BadName, "link_name", why);
    checked = name;
    for (size_t i = 0; i < child.parents.size(); ++i)
      if (static_cast<int>(i) != index && child.parents[i].inputName == checked)
        argError(env, err::InputNameUsed, checked, child.name);
  }
  NetEdit edit(*child.net, "set input name", EditKind::Text, UndoScope::nodeParts(child, NODE_LINKS));
  child.parents[static_cast<size_t>(index)].inputName = checked;
  edit.commit();
}

namespace {
const std::string& setPerDimension(Bnode& node, unsigned part, std::vector<std::string>& values,
                                   int dimension, const char* value, const char* what) {
  Bnet& net = *node.net;
  if (dimension < 0) argError(net.env, err::DimensionNegative, dimension);
  static const std::string none;
  size_t d = static_cast<size_t>(dimension);
  bool query = value && std::string(value) == "~query_only~";
  if (!query) {
    NetEdit edit(net, what, EditKind::Structure, UndoScope::nodeParts(node, part));
    if (values.size() <= d) values.resize(d + 1);
    values[d] = value ? value : "";
    edit.commit();
  }
  return d < values.size() ? values[d] : none;
}
}  // namespace

const std::string& setInputDelay(Bnode& child, int index, int dimension, const char* value) {
  checkParentIndex(child, index);
  return setPerDimension(child, NODE_LINKS, child.parents[static_cast<size_t>(index)].delays, dimension,
                         value, "set input delay");
}

const std::string& setPersistence(Bnode& node, int dimension, const char* value) {
  return setPerDimension(node, NODE_REST, node.editDetails().persistence, dimension, value, "set persistence");
}

}  // namespace quorva
