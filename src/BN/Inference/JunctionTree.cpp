// Compiling a net into a junction tree: checks, moral graph, order, cliques, separators, home
// cliques, memory check; and the junction tree report.
#include "BN/Inference/JunctionTree.h"

#include "BN/Decision/DecisionModel.h"

#include <algorithm>
#include <map>

#include "BN/Net/Bnet.h"
#include "BN/Inference/ElimOrder.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/OrderCheck.h"
#include "BN/Inference/OrderSearch.h"
#include "Basic/RandomGen.h"
#include "Basic/EnvCore.h"
#include "Basic/Format.h"
#include "Basic/Progress.h"
#include "Basic/Raise.h"

namespace quorva {

double JunctionTree::totalSize() const {
  double s = 0;
  for (const Clique& c : cliques) s += c.size;
  for (const Separator& p : seps) s += p.size;
  return s;
}

namespace {

bool inGraph(const Bnode* n) { return n->kind != UTILITY && n->kind != CONSTANT; }

// Refuses a net with a cycle of links without time delay.
void checkAcyclic(const Bnet& net) {
  std::map<const Bnode*, int> state;  // 1 on the path, 2 done
  for (const Bnode* root : net.nodes) {
    if (state[root]) continue;
    std::vector<std::pair<const Bnode*, size_t>> stack{{root, 0}};
    state[root] = 1;
    while (!stack.empty()) {
      auto& [x, i] = stack.back();
      if (i == x->children.size()) {
        state[x] = 2;
        stack.pop_back();
        continue;
      }
      const Bnode* from = x;
      const Bnode* c = x->children[i++];
      bool delayed = std::all_of(c->parents.begin(), c->parents.end(),
                                 [&](const Link& l) { return l.parent != from || l.hasDelay(); });
      if (delayed) continue;
      if (state[c] == 1)
        engError(net.env, err::CantCompile, net.name, format(err::CycleAtCompile.text, from->name, c->name));
      if (!state[c]) {
        state[c] = 1;
        stack.push_back({c, 0});
      }
    }
  }
}

}  // namespace

UGraph moralGraph(const Bnet& net) {
  UGraph g;
  std::map<const Bnode*, int> index;
  for (Bnode* n : net.nodes)
    if (inGraph(n)) {
      index[n] = static_cast<int>(g.nodes.size());
      g.nodes.push_back(n);
      g.states.push_back(n->numStates);
    }
  g.adj.resize(g.nodes.size());
  std::vector<std::vector<char>> seen;
  auto link = [&](const Bnode* a, const Bnode* b) {
    if (a == b || !inGraph(a) || !inGraph(b)) return;
    int i = index.at(a), j = index.at(b);
    auto& la = g.adj[static_cast<size_t>(i)];
    if (std::find(la.begin(), la.end(), j) != la.end()) return;
    la.push_back(j);
    g.adj[static_cast<size_t>(j)].push_back(i);
  };
  for (Bnode* v : net.nodes) {
    if (v->kind == CONSTANT) continue;
    bool family = v->kind != DECISION;  // links into a decision are information links
    for (size_t i = 0; i < v->parents.size(); ++i) {
      Bnode* p = v->parents[i].parent;
      if (family && v->kind != UTILITY) link(v, p);
      if (!family) continue;
      for (size_t j = i + 1; j < v->parents.size(); ++j) link(p, v->parents[j].parent);
    }
  }
  return g;
}

namespace {

void checkNodes(const Bnet& net, const UGraph& g) {
  for (const Bnode* n : g.nodes)
    if (n->numStates == 0)
      engError(net.env, err::CantCompile, net.name,
               format(">-node '%s' is continuous and has not been discretized", n->name));
}

// The order to use: the stored one when it still fits, else a greedy one, or with optimising the
// search's best, starting from the stored one; a found order is stored on the net.  `searchHalted`
// is set when the user halted the search (its best order so far is used).
std::vector<int> chooseOrder(Bnet& net, const UGraph& g, const CompileOptions& options, bool& searchHalted) {
  std::map<const Bnode*, int> index;
  for (size_t i = 0; i < g.nodes.size(); ++i) index[g.nodes[i]] = static_cast<int>(i);
  std::vector<int> stored;
  dropStaleOrder(net);
  if (!net.elimOrder.empty()) {
    std::vector<int> order;
    for (const Bnode* n : net.elimOrder)
      if (n->kind != CONSTANT) order.push_back(index.at(n));  // constants are listed, but outside the graph
    if (!options.optimize) return order;
    stored = order;
  }
  // The nodes to eliminate in name order: ties in the heuristic fall the same way whatever order
  // the nodes were made in.
  std::vector<int> all(g.nodes.size());
  for (size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(i);
  std::stable_sort(all.begin(), all.end(), [&](int a, int b) {
    return g.nodes[static_cast<size_t>(a)]->name < g.nodes[static_cast<size_t>(b)]->name;
  });
  std::vector<int> order;
  if (all.size() < 2) order = all;
  else if (options.optimize) {
    Progress progress(net.env->progress, "optimizing elimination order");
    order = searchOrder(g, all, stored, net.randgen.pick(net.env), {options.seconds, options.console, &progress});
    // A halt ends the search, not the compile: the best order found so far is used.
    if (progress.halted()) {
      engNotice(net.env, err::SearchHalted);
      searchHalted = true;
    }
  } else {
    size_t placed = all.size();
    {
      Progress progress(net.env->progress, "finding elimination order");
      order = greedyOrder(g, all, decisionStages(g), nullptr, &progress, &placed);
    }
    if (placed < all.size()) engNotice(net.env, err::OrderHalted, static_cast<int>(placed));
  }
  net.elimOrder.clear();
  for (int i : order) net.elimOrder.push_back(g.nodes[static_cast<size_t>(i)]);
  return order;
}

// Links each clique to its mate: the first earlier clique holding its separator.
void joinCliques(JunctionTree& jt, EnvCore* env) {
  std::map<const Bnode*, bool> seen;
  for (size_t i = 0; i < jt.cliques.size(); ++i) {
    Clique& c = jt.cliques[i];
    std::vector<Bnode*> sep;
    for (Bnode* m : c.members) {
      if (seen[m]) sep.push_back(m);
      seen[m] = true;
    }
    if (i == 0) continue;
    auto holds = [&](size_t k) {
      const auto& mem = jt.cliques[k].members;
      return mem.size() >= sep.size() &&
             std::all_of(sep.begin(), sep.end(), [&](Bnode* x) { return std::find(mem.begin(), mem.end(), x) != mem.end(); });
    };
    int mate = -1;
    if (jt.hasDecisions) {
      for (size_t k = 0; k < i && mate < 0; ++k)
        if (holds(k)) mate = static_cast<int>(k);
    } else {
      for (size_t k = i; k-- > 0 && mate < 0;)
        if (holds(k)) mate = static_cast<int>(k);
    }
    QASSERT(env, mate >= 0);  // mate
    Separator s;
    s.a = mate;
    s.b = static_cast<int>(i);
    s.nodes = sep;
    for (const Bnode* x : sep) s.size *= x->numStates;
    jt.cliques[static_cast<size_t>(mate)].seps.push_back(static_cast<int>(jt.seps.size()));
    c.seps.push_back(static_cast<int>(jt.seps.size()));
    jt.seps.push_back(std::move(s));
  }
}

// Each node's home: the smallest clique holding its family (ties to the earliest).
void assignHomes(Bnet& net, JunctionTree& jt) {
  for (Bnode* n : net.nodes) n->homeClique = -1;
  for (size_t i = 0; i < jt.cliques.size(); ++i) {
    const Clique& c = jt.cliques[i];
    auto member = [&](const Bnode* x) {
      return x->kind == CONSTANT || std::find(c.members.begin(), c.members.end(), x) != c.members.end();
    };
    auto consider = [&](Bnode* x) {
      bool family = std::all_of(x->parents.begin(), x->parents.end(), [&](const Link& l) { return member(l.parent); });
      if (x->kind == DECISION) family = true;  // its links are information links
      if (!family) return;
      if (x->homeClique < 0 || jt.cliques[static_cast<size_t>(x->homeClique)].size > c.size)
        x->homeClique = static_cast<int>(i);
    };
    for (Bnode* x : c.members) consider(x);
    for (Bnode* u : net.nodes)
      if (u->kind == UTILITY) consider(u);
  }
}

bool anyFindings(const Bnet& net) {
  return std::any_of(net.nodes.begin(), net.nodes.end(), [](const Bnode* n) { return !n->finding.empty(); });
}

void haltPoint(const Bnet& net) {
  if (net.env->progress.haltRequested()) engError(net.env, err::CompileHalted);
}

}  // namespace

void checkTableMemory(Bnet& net, const JunctionTree& jt, bool updating) {
  double bytes = 4.0 * jt.totalSize();
  if (bytes > 1e13) {
    // Too large for any machine: still compiled, for findings may shrink it.
    if (updating || anyFindings(net)) engWarning(net.env, err::VastlyTooLarge);
    else engErrorKept(net.env, err::VastlyTooLargeError);
    return;
  }
  if (bytes > net.env->memory.limit() - net.env->memory.used()) {
    if (updating) engError(net.env, err::UpdateMemory, "to compile/update this >-net", formatBytes(bytes));
    engError(net.env, err::CompileMemory, format("to compile/update >-net '%s' (see >-LimitMemoryUsage_vq)", net.name),
             formatBytes(bytes));
  }
}

void compileNet(Bnet& net, const CompileOptions& options) {
  if (net.juncStep >= 1) return;
  net.uncompile();
  auto jt = std::make_unique<JunctionTree>();
  jt->hasDecisions = std::any_of(net.nodes.begin(), net.nodes.end(),
                                 [](const Bnode* n) { return n->kind == DECISION || n->kind == UTILITY; });
  if (options.optimize && std::any_of(net.nodes.begin(), net.nodes.end(), [](const Bnode* n) { return n->kind == DECISION; }))
    engError(net.env, err::OptimizingWithDecisions, net.name);
  if (jt->hasDecisions) checkDecisionNet(net);
  checkAcyclic(net);
  haltPoint(net);
  UGraph g = moralGraph(net);
  checkNodes(net, g);
  bool searchHalted = false;
  std::vector<int> order = chooseOrder(net, g, options, searchHalted);
  if (!searchHalted) haltPoint(net);
  // Members in elimination order: a separator then lies in the same relative order in both its
  // cliques, so messages are read and written without permuting entries.
  std::vector<size_t> position(g.nodes.size());
  for (size_t i = 0; i < order.size(); ++i) position[static_cast<size_t>(order[i])] = i;
  for (auto members : orderCliques(g, order)) {
    std::sort(members.begin(), members.end(),
              [&](int a, int b) { return position[static_cast<size_t>(a)] < position[static_cast<size_t>(b)]; });
    Clique c;
    for (int m : members) {
      c.members.push_back(g.nodes[static_cast<size_t>(m)]);
      c.size *= g.states[static_cast<size_t>(m)];
    }
    jt->cliques.push_back(std::move(c));
  }
  joinCliques(*jt, net.env);
  assignHomes(net, *jt);
  // With auto-update the tables are built, and their memory checked, at once by the first update.
  if (!net.autoUpdate) {
    checkTableMemory(net, *jt, false);
    jt->memoryChecked = true;
  }
  if (net.env->verboseCompile && net.env->console) {
    std::fputs(format("Compiled to %d cliques, with total table size (including sepsets) of %g.\n",
                      static_cast<int>(jt->cliques.size()), jt->totalSize()).c_str(),
               net.env->console);
    std::fflush(net.env->console);
  }
  net.jt = std::move(jt);
  net.juncStep = 1;
}

void uncompileNet(Bnet& net) { net.uncompile(); }

std::string junctionTreeReport(const Bnet& net) {
  const JunctionTree& jt = *net.jt;
  std::string out = "Clique  [Joined To]      Size   Member nodes (* means home)\n";
  std::vector<int> parent(jt.cliques.size(), -1);
  for (const Separator& s : jt.seps) parent[static_cast<size_t>(s.b)] = s.a;
  double cliqueSum = 0;
  for (size_t i = 0; i < jt.cliques.size(); ++i) {
    const Clique& c = jt.cliques[i];
    std::string members;
    for (const Bnode* m : c.members) {
      if (!members.empty()) members += ", ";
      members += (m->homeClique == static_cast<int>(i) ? "*" : "") + m->name;
    }
    std::string joined = parent[i] < 0 ? "  -" : format("%3d", parent[i]);
    out += format("%3d    [%s]      %10g   %s\n", static_cast<int>(i), joined, c.size, members);
    cliqueSum += c.size;
  }
  out += format("Sum of clique sizes = %g  (with sepsets = %g)\n", cliqueSum, jt.totalSize());
  return out;
}

}  // namespace quorva
