// The junction tree that compiling builds, checked on the engine's objects: a tree of cliques
// with the running intersection property, separators that are clique intersections, home cliques
// that hold their families, the cliques of the elimination order, decision and utility nodes; and
// compiling, uncompiling, stored elimination orders and cycles through the API.  The random nets
// hold decision, utility and constant nodes, so the moral graph the cliques are checked against
// covers decisions' parents kept apart and utilities' parents married.
#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <numeric>
#include <random>
#include <set>

#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "Support/NetSnapshot.h"
#include "Quorva/Handles.h"
#include "Support/RandomNets.h"

namespace err = quorva::err;
using quorva::asNet;
using quorva::Bnode;
using quorva::JunctionTree;

namespace {

using Names = std::set<std::string>;

Names names(const std::vector<Bnode*>& nodes) {
  Names out;
  for (const Bnode* n : nodes) out.insert(n->name);
  return out;
}

double statesProduct(const std::vector<Bnode*>& nodes) {
  double product = 1;
  for (const Bnode* n : nodes) product *= n->numStates;
  return product;
}

bool within(const Names& part, const Names& whole) {
  return std::includes(whole.begin(), whole.end(), part.begin(), part.end());
}

bool inGraph(const node_bn* n) { return GetNodeKind_bn(n) != UTILITY_NODE && GetNodeKind_bn(n) != CONSTANT_NODE; }

// The non-constant parents of a node, by name.
Names parentNames(const node_bn* n) {
  Names out;
  const nodelist_bn* ps = GetNodeParents_bn(n);
  for (int i = 0; i < LengthNodeList_bn(ps); ++i)
    if (GetNodeKind_bn(GetNthNode_bn(ps, i)) != CONSTANT_NODE) out.insert(GetNodeName_bn(GetNthNode_bn(ps, i)));
  return out;
}

// The moral graph, built from the links as the compiler is meant to: every chance node joined to
// its parents, the parents of chance and utility nodes married, links into decisions dropped,
// constant and utility nodes left out.
std::map<std::string, Names> moralGraph(const net_bn* net) {
  std::map<std::string, Names> g;
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    node_bn* v = GetNthNode_bn(nodes, i);
    if (inGraph(v)) g[GetNodeName_bn(v)];
    if (GetNodeKind_bn(v) == CONSTANT_NODE || GetNodeKind_bn(v) == DECISION_NODE) continue;
    Names family = parentNames(v);
    if (GetNodeKind_bn(v) != UTILITY_NODE) family.insert(GetNodeName_bn(v));
    for (const std::string& a : family)
      for (const std::string& b : family)
        if (a != b) g[a].insert(b);
  }
  return g;
}

// The maximal cliques of the graph filled in along `order`.
std::set<Names> cliquesOfOrder(std::map<std::string, Names> g, const std::vector<std::string>& order) {
  std::vector<Names> all;
  for (const std::string& v : order) {
    Names c = g[v];
    for (const std::string& a : c) {
      g[a].erase(v);
      for (const std::string& b : c)
        if (a != b) g[a].insert(b);
    }
    c.insert(v);
    all.push_back(c);
  }
  std::set<Names> maximal;
  for (const Names& c : all)
    if (std::none_of(all.begin(), all.end(), [&](const Names& d) { return d != c && within(c, d); })) maximal.insert(c);
  return maximal;
}

std::vector<std::string> listed(const nodelist_bn* list) {
  std::vector<std::string> out;
  for (int i = 0; list && i < LengthNodeList_bn(list); ++i) out.push_back(GetNodeName_bn(GetNthNode_bn(list, i)));
  return out;
}

}  // namespace

class JunctionTreeTest : public NetTest {
 protected:
  const JunctionTree& tree(net_bn* net) { return *asNet(net)->jt; }

  // Everything a compiled net's junction tree must satisfy, checked from first principles.
  void expectSoundTree(net_bn* net) {
    ASSERT_NE(asNet(net)->jt, nullptr);
    const JunctionTree& jt = tree(net);
    const size_t count = jt.cliques.size();
    ASSERT_GE(count, 1u);
    ASSERT_EQ(jt.seps.size(), count - 1);
    // A tree: n-1 separators joining the cliques into one component, each listed by both ends.
    std::vector<size_t> group(count);
    std::iota(group.begin(), group.end(), size_t{0});
    auto find = [&](size_t x) {
      while (group[x] != x) x = group[x];
      return x;
    };
    size_t listedSeps = 0;
    for (const auto& c : jt.cliques) listedSeps += c.seps.size();
    EXPECT_EQ(listedSeps, 2 * (count - 1));
    double size = 0;
    for (size_t k = 0; k < jt.seps.size(); ++k) {
      const auto& s = jt.seps[k];
      ASSERT_TRUE(s.a >= 0 && s.b >= 0 && static_cast<size_t>(s.a) < count && static_cast<size_t>(s.b) < count);
      for (int end : {s.a, s.b}) {
        const auto& seps = jt.cliques[static_cast<size_t>(end)].seps;
        EXPECT_NE(std::find(seps.begin(), seps.end(), static_cast<int>(k)), seps.end());
      }
      group[find(static_cast<size_t>(s.a))] = find(static_cast<size_t>(s.b));
      Names a = names(jt.cliques[static_cast<size_t>(s.a)].members), b = names(jt.cliques[static_cast<size_t>(s.b)].members);
      Names both;
      std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::inserter(both, both.end()));
      EXPECT_EQ(names(s.nodes), both) << "separator " << k;
      size += statesProduct(s.nodes);
    }
    for (size_t i = 0; i < count; ++i) EXPECT_EQ(find(i), find(0)) << "clique " << i << " is cut off";

    // Running intersection: the cliques holding a node, with the separators among them, form a
    // subtree; nodes outside the graph are in no clique.
    std::vector<Names> cliques;
    for (const auto& c : jt.cliques) {
      cliques.push_back(names(c.members));
      EXPECT_EQ(c.size, statesProduct(c.members));
      size += c.size;
    }
    EXPECT_EQ(SizeCompiledNet_bn(net, 0), size);
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      node_bn* n = GetNthNode_bn(nodes, i);
      std::string name = GetNodeName_bn(n);
      size_t holding = 0, joining = 0;
      for (const Names& c : cliques) holding += c.count(name);
      for (const auto& s : jt.seps)
        joining += cliques[static_cast<size_t>(s.a)].count(name) && cliques[static_cast<size_t>(s.b)].count(name);
      if (!inGraph(n)) {
        EXPECT_EQ(holding, 0u) << name;
        continue;
      }
      EXPECT_GE(holding, 1u) << name;
      EXPECT_EQ(joining + 1, holding) << "the cliques holding " << name << " are not connected";
    }

    // Home cliques: the smallest clique holding the family (the earliest among equals).
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      node_bn* n = GetNthNode_bn(nodes, i);
      if (GetNodeKind_bn(n) == CONSTANT_NODE) continue;
      Names family;
      if (GetNodeKind_bn(n) != DECISION_NODE) family = parentNames(n);
      if (GetNodeKind_bn(n) != UTILITY_NODE) family.insert(GetNodeName_bn(n));
      int home = asNet(net)->nodes[static_cast<size_t>(i)]->homeClique;
      ASSERT_TRUE(home >= 0 && static_cast<size_t>(home) < count) << GetNodeName_bn(n);
      EXPECT_TRUE(within(family, cliques[static_cast<size_t>(home)])) << GetNodeName_bn(n);
      const double homeSize = jt.cliques[static_cast<size_t>(home)].size;
      for (size_t c = 0; c < count; ++c) {
        bool better = jt.cliques[c].size < homeSize || (jt.cliques[c].size == homeSize && c < static_cast<size_t>(home));
        EXPECT_FALSE(better && within(family, cliques[c])) << GetNodeName_bn(n) << " has a better home in clique " << c;
      }
    }
    expectCliquesOfStoredOrder(net);
  }

  // The cliques are the maximal cliques of the moral graph filled in along the stored order.
  void expectCliquesOfStoredOrder(net_bn* net) {
    std::vector<std::string> order = listed(GetNetElimOrder_bn(net));
    std::map<std::string, Names> g = moralGraph(net);
    std::vector<std::string> graphOrder;
    for (const std::string& n : order)
      if (g.count(n)) graphOrder.push_back(n);
    ASSERT_EQ(graphOrder.size(), g.size()) << "the stored order does not list the graph's nodes";
    std::set<Names> want = cliquesOfOrder(g, graphOrder), got;
    for (const auto& c : tree(net).cliques) got.insert(names(c.members));
    EXPECT_EQ(got, want);
    EXPECT_EQ(got.size(), tree(net).cliques.size()) << "a clique is listed twice";
  }

  // The cliques as name sets and the separators as (clique, clique, nodes).
  std::string picture(net_bn* net) {
    std::string out;
    for (const auto& c : tree(net).cliques) {
      for (const Bnode* m : c.members) out += m->name + " ";
      out += "| ";
    }
    for (const auto& s : tree(net).seps) out += std::to_string(s.a) + "-" + std::to_string(s.b) + " ";
    return out;
  }

  // A list of the named nodes of `net`.
  nodelist_bn* list(net_bn* net, const std::vector<node_bn*>& nodes) {
    nodelist_bn* l = NewNodeList2_bn(0, net);
    for (node_bn* n : nodes) AddNodeToList_bn(n, l, -1);
    return l;
  }
};

TEST_F(JunctionTreeTest, RandomNetsCompileToSoundTrees) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    net_bn* net = NewNet_bn("R", env);
    RandomNetShape shape;
    shape.maxNodes = 22;
    shape.maxJoint = 1e15;
    shape.tables = false;
    std::vector<node_bn*> nodes = buildRandomNet(net, rng, shape);
    if (seed % 2 == 0) {
      // Some decisions; utility nodes among the childless nodes; constants among the parentless.
      for (node_bn* n : nodes) {
        bool childless = LengthNodeList_bn(GetNodeChildren_bn(n)) == 0;
        bool parentless = LengthNodeList_bn(GetNodeParents_bn(n)) == 0;
        unsigned r = rng() % 6;
        if (childless && !parentless && r < 2) SetNodeKind_bn(n, UTILITY_NODE);
        else if (parentless && !childless && r == 0) SetNodeKind_bn(n, CONSTANT_NODE);
        else if (r == 5) SetNodeKind_bn(n, DECISION_NODE);
      }
    }
    CompileNet_bn(net);
    ASSERT_EQ(errorCount(ERROR_ERR), 0);
    expectSoundTree(net);
    DeleteNet_bn(net);
  }
}

TEST_F(JunctionTreeTest, OneNodeGivesOneCliqueAndUnconnectedNodesAnEmptySeparator) {
  net_bn* net = NewNet_bn("N", env);
  NewNode_bn("A", 3, net);
  CompileNet_bn(net);
  ASSERT_EQ(tree(net).cliques.size(), 1u);
  EXPECT_EQ(names(tree(net).cliques[0].members), Names{"A"});
  EXPECT_EQ(asNet(net)->nodes[0]->homeClique, 0);
  EXPECT_EQ(SizeCompiledNet_bn(net, 0), 3.0);
  EXPECT_EQ(listed(GetNetElimOrder_bn(net)), std::vector<std::string>{"A"});

  NewNode_bn("B", 2, net);
  EXPECT_EQ(asNet(net)->jt, nullptr) << "a new node must uncompile the net";
  CompileNet_bn(net);
  ASSERT_EQ(tree(net).cliques.size(), 2u);
  ASSERT_EQ(tree(net).seps.size(), 1u);
  EXPECT_TRUE(tree(net).seps[0].nodes.empty());
  EXPECT_EQ(SizeCompiledNet_bn(net, 0), 3.0 + 2.0 + 1.0);
  expectSoundTree(net);
}

TEST_F(JunctionTreeTest, CompiledNetIsLeftAloneAndItsFoundOrderIsKept) {
  std::mt19937 rng(7);
  net_bn* net = NewNet_bn("N", env);
  buildRandomNet(net, rng);
  EXPECT_EQ(GetNetElimOrder_bn(net), nullptr);
  SetNetAutoUpdate_bn(net, 0);
  CompileNet_bn(net);
  const JunctionTree* first = asNet(net)->jt.get();
  std::string before = picture(net);
  std::vector<std::string> order = listed(GetNetElimOrder_bn(net));
  EXPECT_EQ(order.size(), static_cast<size_t>(LengthNodeList_bn(GetNetNodes_bn(net))));
  node_bn* v0 = GetNodeNamed_bn("V0", net);
  ASSERT_NE(GetNodeBeliefs_bn(v0), nullptr);
  CompileNet_bn(net);
  EXPECT_EQ(asNet(net)->jt.get(), first);
  EXPECT_TRUE(IsBeliefUpdated_bn(v0));

  UncompileNet_bn(net);
  EXPECT_EQ(asNet(net)->jt, nullptr);
  EXPECT_EQ(SizeCompiledNet_bn(net, 0), -1.0);
  EXPECT_EQ(listed(GetNetElimOrder_bn(net)), order);
  clearErrors();
  CompileNet_bn(net);
  EXPECT_EQ(picture(net), before);
  EXPECT_EQ(errorCount(NOTICE_ERR), 0);
}

TEST_F(JunctionTreeTest, ElimOrderIsCheckedStoredAndFollowed) {
  // A chain A - B - C with a utility node on A and B and a constant parent of B.
  net_bn* net = NewNet_bn("N", env);
  node_bn* a = NewNode_bn("A", 2, net);
  node_bn* b = NewNode_bn("B", 2, net);
  node_bn* c = NewNode_bn("C", 2, net);
  node_bn* u = NewNode_bn("U", 0, net);
  node_bn* k = NewNode_bn("K", 2, net);
  SetNodeKind_bn(u, UTILITY_NODE);
  SetNodeKind_bn(k, CONSTANT_NODE);
  AddLink_bn(a, b);
  AddLink_bn(b, c);
  AddLink_bn(k, b);
  AddLink_bn(a, u);
  AddLink_bn(b, u);
  net_bn* other = NewNet_bn("M", env);
  node_bn* q = NewNode_bn("Q", 2, other);
  CompileNet_bn(net);
  const JunctionTree* compiled = asNet(net)->jt.get();
  std::vector<std::string> stored = listed(GetNetElimOrder_bn(net));

  const std::string because = "couldn't set the elimination order of >-net 'N', because new list ";
  struct Bad {
    std::vector<node_bn*> nodes;
    std::string phrase;
  };
  for (const Bad& bad : {Bad{{a, b, u, c}, "contains a >-utility_node (named 'U')"},
                         Bad{{a, b, a, c}, "contains a duplicate >-node (named 'A')"},
                         Bad{{b, a}, "is missing a >-node (named 'C')"}}) {
    nodelist_bn* l = list(net, bad.nodes);
    expectRefused(net, [&] { SetNetElimOrder_bn(net, l); }, err::BadElimOrder.number, because + bad.phrase);
    DeleteNodeList_bn(l);
  }
  nodelist_bn* foreign = list(other, {q});
  expectRefused(net, [&] { SetNetElimOrder_bn(net, foreign); }, err::BadElimOrder.number,
                because + "contains a >-node not in the >-net (>-node 'Q' of >-net 'M')");
  nodelist_bn* holes = NewNodeList2_bn(3, net);
  expectRefused(net, [&] { SetNetElimOrder_bn(net, holes); }, err::BadElimOrder.number, because + "contains a NULL");
  EXPECT_EQ(asNet(net)->jt.get(), compiled) << "a refused order uncompiled the net";
  EXPECT_EQ(listed(GetNetElimOrder_bn(net)), stored);

  // The stored order again changes nothing; another one uncompiles and is followed.
  SetNetElimOrder_bn(net, GetNetElimOrder_bn(net));
  EXPECT_EQ(asNet(net)->jt.get(), compiled);
  // Eliminating B first joins A, B and C, which the greedy order never does.
  nodelist_bn* middleFirst = list(net, {b, a, c, k});
  clearErrors();
  SetNetElimOrder_bn(net, middleFirst);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  EXPECT_EQ(asNet(net)->jt, nullptr);
  EXPECT_EQ(listed(GetNetElimOrder_bn(net)), (std::vector<std::string>{"B", "A", "C", "K"}));
  CompileNet_bn(net);
  EXPECT_EQ(errorCount(NOTICE_ERR), 0) << ErrorMessage_vq(lastError(NOTICE_ERR));
  ASSERT_NE(asNet(net)->jt, nullptr);
  EXPECT_EQ(tree(net).cliques.size(), 1u);
  expectSoundTree(net);
  EXPECT_EQ(listed(GetNetElimOrder_bn(net)), (std::vector<std::string>{"B", "A", "C", "K"}));
}

TEST_F(JunctionTreeTest, CycleIsRefusedNamingOneOfItsLinks) {
  net_bn* net = NewNet_bn("N", env);
  node_bn* a = NewNode_bn("A", 2, net);
  node_bn* b = NewNode_bn("B", 2, net);
  node_bn* c = NewNode_bn("C", 2, net);
  node_bn* d = NewNode_bn("D", 2, net);
  AddLink_bn(d, a);
  AddLink_bn(a, b);
  AddLink_bn(b, c);
  AddLink_bn(c, a);  // made with a warning: the net may hold a cycle while being edited
  clearErrors();
  CompileNet_bn(net);
  report_vq* r = lastError();
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(ErrorNumber_vq(r), err::CantCompile.number);
  const std::string head = "can't compile >-net 'N', because there is a cycle (containing link ";
  const Names links = {head + "A -> B)", head + "B -> C)", head + "C -> A)"};
  EXPECT_EQ(links.count(ErrorMessage_vq(r)), 1u) << ErrorMessage_vq(r);
  EXPECT_EQ(asNet(net)->jt, nullptr);
  EXPECT_EQ(SizeCompiledNet_bn(net, 0), -1.0);
  DeleteLink_bn(1, a);  // C -> A
  clearErrors();
  CompileNet_bn(net);
  EXPECT_EQ(errorCount(ERROR_ERR), 0);
  expectSoundTree(net);
}

TEST_F(JunctionTreeTest, StoredOrderThatNoLongerFitsIsDroppedNamingTheFault) {
  struct Change {
    const char* what;
    std::function<void(net_bn*)> edit;
    std::string phrase;
  };
  const std::string head = "removing elimination order of >-net 'N', because it ";
  const Change changes[] = {
      {"node added", [](net_bn* n) { AddLink_bn(GetNodeNamed_bn("C", n), NewNode_bn("D", 2, n)); },
       "is missing a >-node (named 'D')"},
      {"node deleted", [](net_bn* n) { DeleteNode_bn(GetNodeNamed_bn("A", n)); },
       "contains a >-node not in the >-net (>-node 'A' of >-net 'N')"},
  };
  for (const Change& change : changes) {
    SCOPED_TRACE(change.what);
    net_bn* net = NewNet_bn("N", env);
    node_bn* a = NewNode_bn("A", 2, net);
    node_bn* b = NewNode_bn("B", 2, net);
    node_bn* c = NewNode_bn("C", 2, net);
    AddLink_bn(a, b);
    AddLink_bn(b, c);
    nodelist_bn* order = list(net, {c, b, a});
    SetNetElimOrder_bn(net, order);
    DeleteNodeList_bn(order);
    change.edit(net);
    CompileNet_bn(net);
    EXPECT_EQ(errorCount(ERROR_ERR), 0);
    ASSERT_NE(lastError(NOTICE_ERR), nullptr);
    EXPECT_EQ(ErrorNumber_vq(lastError(NOTICE_ERR)), err::OrderRemoved.number);
    EXPECT_EQ(std::string(ErrorMessage_vq(lastError(NOTICE_ERR))), head + change.phrase);
    // The compile found an order of its own over the nodes as they are now.
    ASSERT_NE(asNet(net)->jt, nullptr);
    expectSoundTree(net);
    EXPECT_EQ(LengthNodeList_bn(GetNetElimOrder_bn(net)), LengthNodeList_bn(GetNetNodes_bn(net)));
    clearErrors();
    DeleteNet_bn(net);
  }
}
