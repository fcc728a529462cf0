// Questions over several nodes against an enumeration of the whole joint on random nets (joint
// beliefs, most probable joint states, the nodes a query needs), d-separation on the classic
// shapes, Markov blankets, interventions, and the refusals.
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "BN/Inference/InferErrors.h"
#include "BN/Query/QueryErrors.h"
#include "Support/NetSnapshot.h"
#include "Support/RandomNets.h"
#include "Support/ReferenceJoint.h"

namespace err = quorva::err;

namespace {

class QueryTest : public NetTest {
 protected:
  nodelist_bn* listOf(net_bn* net, const std::vector<node_bn*>& nodes) {
    nodelist_bn* l = NewNodeList2_bn(0, net);
    for (node_bn* n : nodes) AddNodeToList_bn(n, l, -1);
    return l;
  }
  std::vector<std::string> names(const nodelist_bn* l) {
    std::vector<std::string> out;
    for (int i = 0; i < LengthNodeList_bn(l); ++i) out.push_back(GetNodeName_bn(GetNthNode_bn(l, i)));
    return out;
  }
  int lastNumber() {
    report_vq* r = lastError();
    return r ? ErrorNumber_vq(r) : 0;
  }
  // The net's text without the elimination order that compiling keeps in it.
  std::string netText(const net_bn* net) {
    std::string text = ::netText(net, env, "query");
    size_t order = text.find("\n\tElimOrder = ");
    return order == std::string::npos ? text : text.erase(order, text.find('\n', order + 1) + 1 - order);
  }
};

// Random findings: a state on about one node in six, a likelihood on one in eight; those refused
// on entry (known to contradict others) are left out.
std::vector<std::vector<double>> enterRandomFindings(environ_vq* env, std::mt19937& rng, const std::vector<node_bn*>& nodes) {
  std::vector<std::vector<double>> lik(nodes.size());
  for (size_t i = 0; i < nodes.size(); ++i) {
    ClearErrors_vq(env, INTERNAL_ERR);
    int states = GetNodeNumberStates_bn(nodes[i]);
    unsigned roll = rng() % 48;
    if (roll < 8) {
      int s = static_cast<int>(rng() % static_cast<unsigned>(states));
      EnterFinding_bn(nodes[i], s);
      lik[i].assign(static_cast<size_t>(states), 0.0);
      lik[i][static_cast<size_t>(s)] = 1.0;
    } else if (roll < 14) {
      std::vector<prob_bn> l;
      for (int s = 0; s < states; ++s) l.push_back(static_cast<prob_bn>(0.1 + (rng() % 90) / 100.0));
      EnterNodeLikelihood_bn(nodes[i], l.data());
      lik[i].assign(l.begin(), l.end());
    }
    if (GetError_vq(env, ERROR_ERR, nullptr)) lik[i].clear();
  }
  return lik;
}

TEST_F(QueryTest, JointBeliefsAndModesMatchTheEnumerationOnRandomNets) {
  int compared = 0, inconsistent = 0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    std::mt19937 rng(seed);
    net_bn* net = NewNet_bn(("R" + std::to_string(seed)).c_str(), env);
    std::vector<node_bn*> nodes = buildRandomNet(net, rng);
    ReferenceJoint ref(net);
    std::vector<std::vector<double>> lik = enterRandomFindings(env, rng, nodes);
    ClearErrors_vq(env, INTERNAL_ERR);
    for (bool compiled : {false, true}) {
      if (compiled) CompileNet_bn(net);  // single nodes and clique-mates come from the cliques
      for (int trial = 0; trial < 4; ++trial) {
        std::vector<size_t> places(nodes.size());
        for (size_t i = 0; i < places.size(); ++i) places[i] = i;
        std::shuffle(places.begin(), places.end(), rng);
        places.resize(1 + rng() % 3);
        std::vector<node_bn*> query;
        for (size_t p : places) query.push_back(nodes[p]);
        nodelist_bn* list = listOf(net, query);
        std::vector<double> want = ref.subsetJoint(lik, places);
        std::string where = "seed " + std::to_string(seed) + (compiled ? " compiled" : "") + " trial " + std::to_string(trial);
        std::vector<double> got(want.empty() ? 64 : want.size());
        int size = GetJointBeliefs_bn(list, got.data(), static_cast<int>(got.size()));
        std::vector<state_bn> config(query.size(), -1);
        double mode = MostProbableJointConfig_bn(list, config.data());
        DeleteNodeList_bn(list);
        if (want.empty()) {
          EXPECT_EQ(size, -1) << where;
          EXPECT_EQ(mode, -1.0) << where;
          EXPECT_EQ(lastNumber(), err::Inconsistent.number) << where;
          ClearErrors_vq(env, INTERNAL_ERR);
          ++inconsistent;
          continue;
        }
        ASSERT_EQ(size, static_cast<int>(want.size())) << where << ": " << lastMessage();
        for (size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(got[i], want[i], 2e-5) << where << " entry " << i;
        size_t cell = 0;
        for (size_t q = 0; q < query.size(); ++q)
          cell = cell * static_cast<size_t>(GetNodeNumberStates_bn(query[q])) + static_cast<size_t>(config[q]);
        EXPECT_NEAR(mode, *std::max_element(want.begin(), want.end()), 1e-7) << where;
        EXPECT_NEAR(want[cell], mode, 1e-7) << where << ": the state given is not the one whose probability is given";
        ++compared;
      }
    }
    DeleteNet_bn(net);
  }
  EXPECT_GT(compared, 200);
  EXPECT_GT(inconsistent, 0);
}

// Changing the table of a node the query does not need changes nothing; and the query needs
// fewer than all nodes often enough for pruning to matter.
TEST_F(QueryTest, NodesOutsideTheRelevantSetDoNotChangeTheAnswer) {
  size_t pruned = 0;
  for (unsigned seed = 100; seed < 130; ++seed) {
    std::mt19937 rng(seed);
    net_bn* net = NewNet_bn(("R" + std::to_string(seed)).c_str(), env);
    std::vector<node_bn*> nodes = buildRandomNet(net, rng);
    std::vector<std::vector<double>> lik = enterRandomFindings(env, rng, nodes);
    size_t q = rng() % nodes.size();
    nodelist_bn* query = listOf(net, {nodes[q]});
    nodelist_bn* relevant = GetRelevantNodes_bn(query);
    ASSERT_NE(relevant, nullptr);
    std::vector<double> before = ReferenceJoint(net).subsetJoint(lik, {q});
    for (node_bn* n : nodes)
      if (IndexOfNodeInList_bn(n, relevant, 0) < 0) {
        randomCpt(rng, n);
        ++pruned;
        EXPECT_NE(n, nodes[q]);
      }
    std::vector<double> after = ReferenceJoint(net).subsetJoint(lik, {q});
    // (A pruned observed node's new table may rule its finding out: then there is no answer.)
    if (!after.empty() && !before.empty()) {
      for (size_t i = 0; i < before.size(); ++i) EXPECT_NEAR(after[i], before[i], 1e-6) << "seed " << seed;
    }
    DeleteNodeList_bn(query);
    DeleteNodeList_bn(relevant);
    DeleteNet_bn(net);
  }
  EXPECT_GT(pruned, 30u);
}

TEST_F(QueryTest, DSeparationAndBlanketsOnTheClassicShapes) {
  // A -> C <- B, C -> D, A -> E -> F
  net_bn* net = NewNet_bn("Shapes", env);
  node_bn *a = NewNode_bn("A", 2, net), *b = NewNode_bn("B", 2, net), *c = NewNode_bn("C", 2, net),
          *d = NewNode_bn("D", 2, net), *e = NewNode_bn("E", 2, net), *f = NewNode_bn("F", 2, net);
  AddLink_bn(a, c);
  AddLink_bn(b, c);
  AddLink_bn(c, d);
  AddLink_bn(a, e);
  AddLink_bn(e, f);
  struct Case {
    std::vector<node_bn*> x, y, given;
    bool separated;
  } cases[] = {
      {{a}, {b}, {}, true},     // a collider blocks
      {{a}, {b}, {c}, false},   // ... until it is given
      {{a}, {b}, {d}, false},   // ... or one of its descendants is
      {{a}, {f}, {}, false},    // a chain passes
      {{a}, {f}, {e}, true},    // ... until its middle is given
      {{e}, {c}, {}, false},    // a fork passes
      {{e}, {c}, {a}, true},    // ... until its root is given
      {{f}, {b, d}, {}, false}, // through A and C to D
      {{b}, {e, f}, {}, true},
      {{a}, {a}, {}, false},    // a node is not separated from itself
      {{a}, {b}, {a}, true},    // a node given is separated from everything
  };
  for (const Case& k : cases) {
    nodelist_bn *x = listOf(net, k.x), *y = listOf(net, k.y), *z = listOf(net, k.given);
    EXPECT_EQ(IsDSeparated_bn(x, y, z), k.separated)
        << names(x)[0] << " and " << names(y)[0] << " given " << (k.given.empty() ? "nothing" : names(z)[0]);
    EXPECT_EQ(IsDSeparated_bn(y, x, z), k.separated) << "not symmetric";
  }
  nodelist_bn* blanket = GetMarkovBlanket_bn(a);
  EXPECT_EQ(names(blanket), (std::vector<std::string>{"B", "C", "E"}));
  nodelist_bn* ofD = GetMarkovBlanket_bn(d);
  EXPECT_EQ(names(ofD), (std::vector<std::string>{"C"}));
  // A query of D with F observed needs neither E nor F nor A's... A is needed (C's parent).
  EnterFinding_bn(f, 0);
  nodelist_bn* relevant = GetRelevantNodes_bn(listOf(net, {d}));
  EXPECT_EQ(names(relevant), (std::vector<std::string>{"A", "B", "C", "D", "E", "F"}));
  RetractNodeFindings_bn(f);
  nodelist_bn* alone = GetRelevantNodes_bn(listOf(net, {d}));
  EXPECT_EQ(names(alone), (std::vector<std::string>{"A", "B", "C", "D"}));  // E and F are barren
  EXPECT_EQ(lastError(), nullptr) << lastMessage();
}

// do(B = b) cuts B from its cause: A keeps its prior, C follows b; observing B = b instead
// explains it through A.  One undo gives the links and table back.
TEST_F(QueryTest, InterventionCutsTheCausesAndIsUndoneAsOne) {
  net_bn* net = NewNet_bn("Chain", env);
  node_bn *a = NewNode_bn("A", 2, net), *b = NewNode_bn("B", 2, net), *c = NewNode_bn("C", 2, net);
  AddLink_bn(a, b);
  AddLink_bn(b, c);
  const prob_bn pa[] = {0.3f, 0.7f}, b0[] = {0.9f, 0.1f}, b1[] = {0.2f, 0.8f}, c0[] = {0.6f, 0.4f}, c1[] = {0.1f, 0.9f};
  const state_bn s0[] = {0}, s1[] = {1};
  SetNodeProbs_bn(a, nullptr, pa);
  SetNodeProbs_bn(b, s0, b0);
  SetNodeProbs_bn(b, s1, b1);
  SetNodeProbs_bn(c, s0, c0);
  SetNodeProbs_bn(c, s1, c1);
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  std::string was = netText(net);
  CompileNet_bn(net);
  EnterFinding_bn(b, 0);
  float seenA = GetNodeBeliefs_bn(a)[0];
  EXPECT_NEAR(seenA, 0.3 * 0.9 / (0.3 * 0.9 + 0.7 * 0.2), 1e-6);  // observing explains through A
  RetractNodeFindings_bn(b);
  InterveneNode_bn(b, 0);
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  EXPECT_EQ(LengthNodeList_bn(GetNodeParents_bn(b)), 0);
  CompileNet_bn(net);
  EXPECT_NEAR(GetNodeBeliefs_bn(a)[0], 0.3, 1e-6);
  EXPECT_NEAR(GetNodeBeliefs_bn(c)[0], 0.6, 1e-6);
  ASSERT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_EQ(netText(net), was);
}

TEST_F(QueryTest, RefusalsNameTheFaultAndChangeNothing) {
  net_bn* net = NewNet_bn("Refused", env);
  node_bn *a = NewNode_bn("A", 2, net), *u = NewNode_bn("U", 0, net);
  SetNodeKind_bn(u, UTILITY_NODE);
  AddLink_bn(a, u);
  std::vector<double> out(4);
  state_bn config[2];
  expectRefused(net, [&] { GetJointBeliefs_bn(listOf(net, {a, a}), out.data(), 4); }, err::QueryListedTwice.number,
                ">-node 'A' is listed twice in the query");
  expectRefused(net, [&] { MostProbableJointConfig_bn(listOf(net, {u}), config); }, err::QueryNodeKind.number,
                "can't answer the query, because >-node 'U' is a utility node");
  expectRefused(net, [&] { InterveneNode_bn(u, 0); }, err::InterveneKind.number,
                "can't intervene on >-node 'U', because it is a utility node");
  SetNodeKind_bn(NewNode_bn("D", 2, net), DECISION_NODE);
  expectRefused(net, [&] { MostProbableJointConfig_bn(listOf(net, {a}), config); }, err::QueryDecisions.number,
                "can't answer the query on >-net 'Refused', because it contains >-decision_node-s");
}

}  // namespace
