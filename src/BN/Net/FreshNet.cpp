// Shortcuts for building a net that nobody else sees yet.
#include "BN/Net/FreshNet.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "BN/Net/Bnet.h"
#include "BN/Net/Links.h"
#include "BN/Net/NodeStates.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/PotTable.h"
#include "Basic/IdName.h"

namespace quorva {

void nameFreshStates(Bnode& node, const std::vector<std::string>& texts) {
  std::vector<std::string> names;
  names.reserve(texts.size());
  std::unordered_set<std::string> seen;  // used only for long lists
  const bool many = texts.size() > 16;
  // One pointer captured, so that the std::function holding the test needs no allocation.
  struct Sets {
    const std::vector<std::string>& names;
    const std::unordered_set<std::string>& seen;
    bool many;
  } sets{names, seen, many};
  auto taken = [s = &sets](const std::string& n) {
    return s->many ? s->seen.count(n) > 0 : std::find(s->names.begin(), s->names.end(), n) != s->names.end();
  };
  for (const std::string& s : texts) {
    names.push_back(uniqueName(s, taken));
    if (many) seen.insert(names.back());
  }
  node.stateNames = std::move(names);
  // A text that had to change is kept as the state's title (set directly: the net is not yet seen).
  for (size_t i = 0; i < texts.size(); ++i)
    if (node.stateNames[i] != texts[i]) {
      if (node.editDetails().stateTitles.empty()) node.editDetails().stateTitles.resize(texts.size());
      node.editDetails().stateTitles[i] = texts[i];
    }
}

namespace {

// Whether the links, in place, form a cycle without delays or repeat a parent of one child.
bool needsWarnings(const std::vector<Family>& families, Bnet& net) {
  for (const Family& f : families) {
    const std::vector<Link>& links = f.first->parents;
    for (size_t i = 0; i < links.size(); ++i)
      for (size_t j = 0; j < i; ++j)
        if (links[i].parent == links[j].parent) return true;
  }
  // Kahn's order over the undelayed links: every node leaves it unless it lies on a cycle.  The
  // nodes' marks hold their indices meanwhile.
  std::vector<uint64_t> marks;
  marks.reserve(net.nodes.size());
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    marks.push_back(net.nodes[i]->mark);
    net.nodes[i]->mark = i;
  }
  std::vector<int> waiting(net.nodes.size(), 0);
  std::vector<const Bnode*> ready;
  for (const Bnode* n : net.nodes) {
    for (const Link& l : n->parents) waiting[n->mark] += !l.hasDelay();
    if (waiting[n->mark] == 0) ready.push_back(n);
  }
  size_t done = 0;
  while (!ready.empty()) {
    const Bnode* x = ready.back();
    ready.pop_back();
    ++done;
    for (const Bnode* c : x->children)  // one entry per link
      for (const Link& l : c->parents)
        if (l.parent == x && !l.hasDelay() && --waiting[c->mark] == 0) ready.push_back(c);
  }
  for (size_t i = 0; i < net.nodes.size(); ++i) net.nodes[i]->mark = marks[i];
  return done != net.nodes.size();
}

}  // namespace

bool linkFreshIfClean(std::vector<Family>& families) {
  if (families.empty()) return true;
  Bnet& net = *families.front().first->net;
  // Each parent's children list is sized once: the parents sorted, each run is one parent's links.
  std::vector<Bnode*> parents;
  for (const Family& f : families)
    for (const Link& l : f.second) parents.push_back(l.parent);
  std::sort(parents.begin(), parents.end());
  for (size_t i = 0, j = 0; i < parents.size(); i = j) {
    while (j < parents.size() && parents[j] == parents[i]) ++j;
    parents[i]->children.reserve(parents[i]->children.size() + (j - i));
  }
  for (Family& f : families) {
    for (const Link& l : f.second) l.parent->children.push_back(f.first);
    f.first->parents = std::move(f.second);
  }
  if (!needsWarnings(families, net)) {
    net.uncompile();
    return true;
  }
  // Undone: the families hold their links again.
  for (Family& f : families) {
    f.second = std::move(f.first->parents);
    for (const Link& l : f.second) {
      std::vector<Bnode*>& kids = l.parent->children;
      kids.erase(std::find(kids.begin(), kids.end(), f.first));
    }
    f.first->parents.clear();
  }
  return false;
}

void linkFresh(std::vector<Family> families) {
  if (linkFreshIfClean(families)) return;
  // Rare: the links are set child by child, which warns as it goes.
  for (Family& f : families) {
    std::vector<ParentSlot> slots;
    for (Link& l : f.second) slots.push_back({std::move(l), -1, true});
    setNodeParents(*f.first, std::move(slots), true);
  }
}

void fillFreshTable(Bnode& node, bool utility, const double* values) {
  PotTable t = unfilledTable(node, !utility);
  float* out = t.data();
  for (size_t i = 0; i < t.size(); ++i) out[i] = std::isnan(values[i]) ? undefFloat() : static_cast<float>(values[i]);
  if (utility) {
    node.tables.func = std::move(t);
    node.tables.funcReal = true;
  } else {
    node.tables.cpt = std::move(t);
  }
  node.net->tablesChanged();
}

}  // namespace quorva
