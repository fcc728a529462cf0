// Copying nets and nodes, with links, node sets and visual data as the options say.
#include "BN/Net/NetCopy.h"

#include <algorithm>
#include <map>
#include <memory>

#include "BN/Net/Bnet.h"
#include "BN/Net/Links.h"
#include "BN/Net/Listeners.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NetErrors.h"
#include "BN/Net/NodeOps.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/TableReindex.h"
#include "Basic/EnvCore.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

bool has(const std::vector<std::string>& opts, const char* word) {
  return std::find(opts.begin(), opts.end(), word) != opts.end();
}

// Everything of a node but its name, links and finding.
void copyNodeBody(const Bnode& from, Bnode& to) {
  if (from.hasDetails()) {
    const NodeDetails& d = from.details();
    NodeDetails& c = to.editDetails();
    c.title = d.title;
    c.comment = d.comment;
    c.equation = d.equation;
    c.userFields = d.userFields;
    c.stateTitles = d.stateTitles;
    c.stateComments = d.stateComments;
    c.levels = d.levels;
    c.persistence = d.persistence;
  }
  to.eqnDirty = from.eqnDirty;
  to.kind = from.kind;
  to.type = from.type;
  to.measure = from.measure;
  to.numStates = from.numStates;
  to.stateNames = from.stateNames;
}

void copyVisual(const Bnode& from, Bnode& to, double dx, double dy) {
  to.visX = from.visX + dx;
  to.visY = from.visY + dy;
}

// The copy's tables: the original's, over the copy's parents (which have the same states).
void copyTables(const Bnode& from, Bnode& to) {
  auto copyOne = [&](const PotTable& t, bool withNode) {
    if (!t.isAllocated()) return PotTable(t.env());  // an absent table has no list to follow
    std::vector<Bnode*> nodes = tableNodes(to, withNode);
    std::vector<int> dims(t.dims().begin(), t.dims().end());
    std::vector<DimSource> same;
    for (size_t i = 0; i < dims.size(); ++i) same.push_back({static_cast<int>(i), {}});
    return reindexed(t, std::move(nodes), std::move(dims), same, {}, 0.0f);
  };
  to.tables.cpt = copyOne(from.tables.cpt, true);
  to.tables.func = copyOne(from.tables.func, false);
  to.tables.exper = copyOne(from.tables.exper, false);
  to.tables.funcReal = from.tables.funcReal;
}

enum class SetMode { None, Existing, NewToo, All };

void copyNodesets(const Bnet& fromNet, Bnet& into, const Bnode& from, Bnode& to, SetMode mode) {
  if (mode == SetMode::None) return;
  if (mode == SetMode::All)
    for (const Nodeset& s : fromNet.nodesets)
      if (!into.findNodeset(s.name)) into.nodesets.push_back(s);
  for (const std::string& name : from.details().nodesets) {
    if (!into.findNodeset(name)) {
      if (mode == SetMode::Existing) continue;
      Nodeset fresh{name, 0};
      for (const Nodeset& s : fromNet.nodesets)
        if (s.name == name) fresh = s;
      into.nodesets.push_back(fresh);
    }
    to.editDetails().nodesets.push_back(name);
  }
}

// Links each copy to the copies of its parents; a parent left behind is kept within the same
// net and stood in for by a disconnected node in another (one for all the links from it).
void linkCopies(const std::vector<Bnode*>& originals, const std::map<const Bnode*, Bnode*>& copyOf,
                Bnet& into) {
  std::map<const Bnode*, Bnode*> standIn;
  for (const Bnode* from : originals) {
    Bnode& to = *copyOf.at(from);
    std::vector<ParentSlot> slots;
    for (const Link& link : from->parents) {
      Link l = link;
      auto it = copyOf.find(link.parent);
      if (it != copyOf.end()) {
        l.parent = it->second;
      } else if (link.parent->net != &into) {
        Bnode*& stand = standIn[link.parent];
        if (!stand) {
          std::string name = uniqueName(link.parent->name, [&](const std::string& n) { return into.nameTaken(n); });
          stand = &into.addNode(name, link.parent->numStates);
          copyNodeBody(*link.parent, *stand);
          stand->kind = DISCONNECTED;
        }
        l.parent = stand;
      }
      slots.push_back({l, -1, true});
    }
    if (!slots.empty()) setNodeParents(to, std::move(slots), false);
  }
}

}  // namespace

std::vector<std::string> parseOptions(EnvCore* env, const char* options,
                                      const std::vector<std::string>& known) {
  std::vector<std::string> words = options ? splitNameList(options) : std::vector<std::string>{};
  words.erase(std::remove(words.begin(), words.end(), std::string()), words.end());
  for (const std::string& w : words)
    if (!has(known, w.c_str())) argError(env, err::UnknownOption, w);
  return words;
}

Bnet* copyNet(const Bnet& from, const char* name, EnvCore* env, const char* options) {
  // Refusals are recorded where the call came from: the source net's environment.
  if (!env->usable()) argError(from.env, err::NotInitialized);
  std::string checked = checkedName(from.env, name, "new_name");
  auto opts = parseOptions(from.env, options,
                           {"no_node_sets", "no_nodes", "no_links", "no_tables", "no_visual", "no_window"});
  auto net = std::make_unique<Bnet>(env, checked);
  net->title = from.title;
  net->comment = from.comment;
  net->userFields = from.userFields;
  net->autoUpdate = from.autoUpdate;
  if (!has(opts, "no_node_sets")) net->nodesets = from.nodesets;
  if (!has(opts, "no_visual")) net->hasVisual = from.hasVisual;
  if (!has(opts, "no_nodes")) {
    std::string copyOpts = has(opts, "no_links") ? "no_links" : "";
    if (has(opts, "no_node_sets")) copyOpts += copyOpts.empty() ? "no_nodesets" : ",no_nodesets";
    if (has(opts, "no_tables")) copyOpts += copyOpts.empty() ? "no_tables" : ",no_tables";
    std::vector<Bnode*> copies = copyNodes(from.nodes, *net, copyOpts.c_str(), from.env);
    if (has(opts, "no_visual"))
      for (Bnode* n : copies) n->visX = n->visY = 0;
    for (const Bnode* e : from.elimOrder) {
      auto it = std::find(from.nodes.begin(), from.nodes.end(), e);
      if (it != from.nodes.end()) net->elimOrder.push_back(copies[static_cast<size_t>(it - from.nodes.begin())]);
    }
  }
  fireNetEvent(const_cast<Bnet&>(from), DUPLICATE_EVENT_TYPE, net.get());
  return net.release();
}

std::vector<Bnode*> copyNodes(const std::vector<Bnode*>& nodes, Bnet& into, const char* options,
                              EnvCore* errEnv) {
  auto opts = parseOptions(errEnv ? errEnv : into.env, options,
                           {"no_links", "no_tables", "no_nodesets", "existing_nodesets", "new_nodesets_too",
                            "all_nodesets", "dont_return_list", "shift_x", "shift_y"});
  SetMode sets = has(opts, "no_nodesets")        ? SetMode::None
                 : has(opts, "all_nodesets")     ? SetMode::All
                 : has(opts, "new_nodesets_too") ? SetMode::NewToo
                 : has(opts, "existing_nodesets") ? SetMode::Existing
                 : &into == (nodes.empty() ? nullptr : nodes.front()->net) ? SetMode::Existing
                                                                            : SetMode::NewToo;
  double dx = has(opts, "shift_x") ? 20 : 0, dy = has(opts, "shift_y") ? 20 : 0;
  // Copies are new nodes; parents in this net gain them as children.
  UndoScope scope = UndoScope::lists();
  for (const Bnode* from : nodes)
    if (from)
      for (const Link& l : from->parents) scope.with(l.parent, NODE_LINKS);
  NetEdit edit(into, "copy nodes", EditKind::Structure, std::move(scope));
  size_t before = into.nodes.size();
  std::vector<Nodeset> setsBefore = into.nodesets;
  std::map<const Bnode*, Bnode*> copyOf;
  std::vector<Bnode*> copies;
  try {
    for (const Bnode* from : nodes) {
      if (!from || copyOf.count(from)) continue;
      std::string name = uniqueName(from->name, [&](const std::string& n) { return into.nameTaken(n); });
      Bnode& to = into.addNode(name, from->numStates);
      copyNodeBody(*from, to);
      copyVisual(*from, to, dx, dy);
      copyNodesets(*from->net, into, *from, to, sets);
      copyOf[from] = &to;
      copies.push_back(&to);
    }
    if (!has(opts, "no_links")) {
      std::vector<Bnode*> originals;
      for (const Bnode* from : nodes)
        if (from && std::find(originals.begin(), originals.end(), from) == originals.end())
          originals.push_back(const_cast<Bnode*>(from));
      linkCopies(originals, copyOf, into);
      if (!has(opts, "no_tables"))
        for (const Bnode* from : originals) copyTables(*from, *copyOf.at(from));
    }
  } catch (...) {
    removeAddedNodes(into, before);
    into.nodesets = std::move(setsBefore);
    throw;
  }
  edit.commit();
  for (const auto& [from, to] : copyOf) fireNodeEvent(*const_cast<Bnode*>(from), DUPLICATE_EVENT_TYPE, to);
  return copies;
}

void removeAddedNodes(Bnet& net, size_t keep) {
  while (net.nodes.size() > keep) {
    Bnode& n = *net.nodes.back();
    for (const Link& l : n.parents) {
      auto& kids = l.parent->children;
      auto it = std::find(kids.begin(), kids.end(), &n);
      if (it != kids.end()) kids.erase(it);
    }
    n.parents.clear();
    n.children.clear();
    net.removeNode(n);
  }
}

}  // namespace quorva
