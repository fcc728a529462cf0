// Undo and redo: the limits and their refusals, trimming, and long random edit sequences on real
// nets undone and redone back to the very text the net had before each edit.
#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "Quorva/Handles.h"
#include "BN/DataNets.h"
#include "Support/NetSnapshot.h"

namespace {

class UndoTest : public NetTest {
 protected:
  net_bn* read(const char* file) { return readDataNet(env, file); }
  static quorva::UndoHistory& history(net_bn* net) { return quorva::asNet(net)->undo; }
  // The net's file text with each node's finding code, whether its name finds it, and the node
  // sets' colours: what an undo must give back exactly.
  std::string text(net_bn* net) {
    std::string out = withoutCreatorLine(netText(net, env, "undo"));
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      node_bn* n = GetNthNode_bn(nodes, i);
      bool found = GetNodeNamed_bn(GetNodeName_bn(n), net) == n;
      out += std::to_string(GetNodeFinding_bn(n)) + (found ? "," : " not found by name,");
    }
    for (const quorva::Nodeset& set : quorva::asNet(net)->nodesets) out += set.name + " colour " + std::to_string(set.color) + ",";
    return out + linkFaults(*quorva::asNet(net));
  }
  // Links that the two ends do not both hold, and deleted nodes still listed: what the text
  // would not show.
  static std::string linkFaults(const quorva::Bnet& net) {
    std::string out;
    for (const quorva::Bnode* n : net.nodes) {
      if (n->deleted) out += " deleted " + n->name + " listed;";
      for (const quorva::Link& l : n->parents)
        if (std::count(l.parent->children.begin(), l.parent->children.end(), n) !=
            std::count_if(n->parents.begin(), n->parents.end(), [&](const quorva::Link& m) { return m.parent == l.parent; }))
          out += " " + l.parent->name + " does not list child " + n->name + ";";
      for (const quorva::Bnode* c : n->children)
        if (std::none_of(c->parents.begin(), c->parents.end(), [&](const quorva::Link& m) { return m.parent == n; }))
          out += " " + c->name + " does not list parent " + n->name + ";";
    }
    return out;
  }
};

TEST_F(UndoTest, RefusedLimitsAndCallsLeaveTheHistoryAsItWas) {
  net_bn* net = NewNet_bn("N", env);
  node_bn* a = NewNode_bn("A", 2, net);
  struct Case {
    std::function<void()> call;
    int number;
    std::string text;
  } cases[] = {
      {[&] { SetNetNumUndos_bn(net, -1, -1, nullptr); }, 3595,
       "can't turn on undoing, because both the number of undos and the amount of undo memory are set to zero"},
      {[&] { SetNetNumUndos_bn(net, -2, 100, nullptr); }, 5250,
       "argument 'count_limit' must not be negative (unless it is -1), but it is -2"},
      {[&] { SetNetNumUndos_bn(net, 5, -0.5, nullptr); }, 5251,
       "argument 'memory_limit' must not be negative (unless it is -1), but it is -0.5"},
      {[&] { SetNetNumUndos_bn(net, 5, 100, "fast"); }, 5252,
       "argument 'options' must be empty or null (0) with this version of >-Quorva, but it is:  fast"},
      {[&] { UndoNetLastOper_vq(net, 0); }, 5253, "argument 'to_when' must be -1 with this version of >-Quorva"},
      {[&] { RedoNetOper_vq(net, 3.5); }, 5253, "argument 'to_when' must be -1 with this version of >-Quorva"},
  };
  for (const Case& c : cases) {
    expectRefused(net, c.call, c.number, c.text);
    EXPECT_FALSE(history(net).on()) << c.text;
  }
  // Off by default: edits record nothing.
  SetNodeTitle_bn(a, "first");
  EXPECT_FALSE(UndoNetLastOper_vq(net, -1));
  EXPECT_STREQ(GetNodeTitle_bn(a), "first");
}

TEST_F(UndoTest, LimitsTrimOldestFirstAndZeroBothTurnsUndoOff) {
  net_bn* net = NewNet_bn("N", env);
  node_bn* a = NewNode_bn("A", 2, net);
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  const char* titles[] = {"t1", "t2", "t3", "t4", "t5"};
  for (const char* t : titles) SetNodeTitle_bn(a, t);
  EXPECT_EQ(history(net).undoCount(), 5u);
  SetNetNumUndos_bn(net, 2, -1, nullptr);  // keeps the 2 newest
  EXPECT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_FALSE(UndoNetLastOper_vq(net, -1));
  EXPECT_STREQ(GetNodeTitle_bn(a), "t3");
  EXPECT_TRUE(RedoNetOper_vq(net, -1));
  EXPECT_STREQ(GetNodeTitle_bn(a), "t4");
  // A new edit empties the redo history.
  SetNodeTitle_bn(a, "new");
  EXPECT_FALSE(RedoNetOper_vq(net, -1));
  SetNetNumUndos_bn(net, 0, 0, nullptr);
  EXPECT_EQ(history(net).undoCount(), 0u);
  EXPECT_FALSE(UndoNetLastOper_vq(net, -1));
  ASSERT_EQ(lastError(), nullptr);
}

TEST_F(UndoTest, MemoryLimitKeepsOnlyTheNewestRecordsThatFit) {
  net_bn* net = read("alarm.bif");
  ASSERT_NE(net, nullptr);
  node_bn* n = GetNodeNamed_bn("HR", net);
  SetNetNumUndos_bn(net, 0, 1e9, nullptr);
  std::vector<size_t> bytes{history(net).bytes()};
  const float rows[][3] = {{0.1f, 0.2f, 0.7f}, {0.3f, 0.3f, 0.4f}, {0.5f, 0.25f, 0.25f}};
  const state_bn ps[] = {0, 1};
  for (const auto& row : rows) {
    SetNodeProbs_bn(n, ps, row);
    bytes.push_back(history(net).bytes());
  }
  // Each row edit saves one row: the records grow by the same small amount each time.
  size_t one = bytes[1] - bytes[0];
  EXPECT_GT(one, 3 * sizeof(float));
  EXPECT_LT(one, 200u);
  EXPECT_EQ(bytes[3] - bytes[2], one);
  SetNetNumUndos_bn(net, -1, static_cast<double>(2 * one), nullptr);
  EXPECT_EQ(history(net).undoCount(), 2u);
  EXPECT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_FALSE(UndoNetLastOper_vq(net, -1));
  EXPECT_FLOAT_EQ(GetNodeProbs_bn(n, ps)[0], rows[0][0]);
  // A structural edit saves what it touches: deleting a link saves the child's links and table
  // and the parent's children, the same bytes however many other nodes the net holds.
  node_bn* hr = GetNodeNamed_bn("HRBP", net);
  auto linkRecord = [&] {
    SetNetNumUndos_bn(net, 0, 0, nullptr);  // an empty history
    SetNetNumUndos_bn(net, -1, 1e9, nullptr);
    DeleteLink_bn(0, hr);
    size_t size = history(net).bytes();
    EXPECT_TRUE(UndoNetLastOper_vq(net, -1));
    return size;
  };
  size_t record = linkRecord();
  EXPECT_GT(record, 9 * sizeof(float));  // HRBP's table: 3 states by 3 rows
  for (int i = 0; i < 300; ++i) NewNode_bn(("Extra" + std::to_string(i)).c_str(), 2, net);
  EXPECT_EQ(linkRecord(), record);
}

// One random edit through the API; some are refused (a cycle, a contradicting finding).
void randomEdit(net_bn* net, std::mt19937& rng, int step) {
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  int count = LengthNodeList_bn(nodes);
  auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  node_bn* n = GetNthNode_bn(nodes, pick(count));
  int states = GetNodeNumberStates_bn(n);
  const nodelist_bn* parents = GetNodeParents_bn(n);
  int numParents = LengthNodeList_bn(parents);
  std::string name = "U" + std::to_string(step);
  std::vector<state_bn> ps;
  for (int p = 0; p < numParents; ++p) ps.push_back(pick(GetNodeNumberStates_bn(GetNthNode_bn(parents, p))));
  std::vector<prob_bn> row(static_cast<size_t>(states), 0.0f);
  switch (pick(31)) {
    case 0:
    case 1:
    case 2:
      row[static_cast<size_t>(pick(states))] = 1.0f;
      SetNodeProbs_bn(n, ps.data(), row.data());
      break;
    case 3: EnterFinding_bn(n, pick(states)); break;
    case 4: RetractNodeFindings_bn(n); break;
    case 5: SetNodeTitle_bn(n, name.c_str()); break;
    case 6: SetNodeStateName_bn(n, pick(states), name.c_str()); break;
    case 7: NewNode_bn(name.c_str(), 2 + pick(2), net); break;
    case 8: AddLink_bn(GetNthNode_bn(nodes, pick(count)), n); break;
    case 9:
      if (numParents > 0) DeleteLink_bn(pick(numParents), n);
      break;
    case 10:
      if (count > 5) DeleteNode_bn(n);
      break;
    case 11:
      if (states > 2) RemoveNodeState_bn(n, pick(states));
      else AddNodeStates_bn(n, -1, nullptr, 1, -1);
      break;
    case 12: {
      std::vector<state_bn> order;
      for (int i = states; i-- > 0;) order.push_back(i);
      ReorderNodeStates_bn(n, order.data());
      break;
    }
    case 13: {
      std::vector<level_bn> levels;
      for (int i = 0; i < states; ++i) levels.push_back(step + i);
      SetNodeLevels_bn(n, states, levels.data());
      break;
    }
    case 14: SetNodeExperience_bn(n, ps.data(), 1 + step); break;
    case 15: DeleteNodeTables_bn(n); break;
    case 16:
      for (prob_bn& p : row) p = static_cast<prob_bn>(pick(3)) / 2.0f;
      EnterNodeLikelihood_bn(n, row.data());
      break;
    case 17: RetractNetFindings_bn(net); break;
    case 18: SetNodeComment_bn(n, name.c_str()); break;
    case 19: SetNodeKind_bn(n, static_cast<nodekind_bn>(1 + pick(3))); break;
    case 20: AddNodeToNodeset_bn(n, pick(2) ? "S1" : "S2"); break;
    case 21: SetNodeName_bn(n, name.c_str()); break;
    case 22: SetNodeFuncState_bn(n, ps.data(), pick(states)); break;
    case 24: SetNodeStateTitle_bn(n, pick(states), name.c_str()); break;
    case 25: SetNodeUserField_bn(n, "note", name.c_str(), -1, 0); break;
    case 26:
      if (numParents > 0) SwitchNodeParent_bn(pick(numParents), n, pick(4) ? GetNthNode_bn(nodes, pick(count)) : nullptr);
      break;
    case 27: SetNetTitle_bn(net, name.c_str()); break;
    case 28:
      if (numParents > 0) SetNodeInputName_bn(n, pick(numParents), name.c_str());
      break;
    case 29: SetNodesetColor_bn(pick(2) ? "S1" : "S3", step, net, nullptr); break;
    case 30: ReorderNodesets_bn(net, "S2,S3", nullptr); break;
    case 23: {
      nodelist_bn* one = NewNodeList2_bn(0, net);
      AddNodeToList_bn(n, one, -1);
      nodelist_bn* copies = CopyNodes_bn(one, net, nullptr);
      DeleteNodeList_bn(one);
      if (copies) DeleteNodeList_bn(copies);
      break;
    }
  }
}

TEST_F(UndoTest, RandomEditsUndoAndRedoToTheExactTextsOfRealNets) {
  for (const char* file : {"asia.bif", "alarm.bif"}) {
    net_bn* net = read(file);
    ASSERT_NE(net, nullptr) << file;
    SetNetNumUndos_bn(net, 100000, -1, nullptr);
    std::mt19937 rng(7);
    std::vector<std::string> before, after;
    for (int step = 0; step < 600; ++step) {
      std::string was = text(net);
      size_t records = history(net).undoCount();
      randomEdit(net, rng, step);
      ClearErrors_vq(env, INTERNAL_ERR);
      ASSERT_LE(history(net).undoCount(), records + 1) << file << " step " << step;
      if (history(net).undoCount() == records) {
        EXPECT_EQ(text(net), was) << file << " step " << step << ": changed without a record";
        continue;
      }
      before.push_back(was);
      after.push_back(text(net));
      EXPECT_NE(after.back(), was) << file << " step " << step << ": a record of no change";
    }
    ASSERT_GT(before.size(), 300u) << file;
    for (size_t i = before.size(); i-- > 0;) {
      ASSERT_TRUE(UndoNetLastOper_vq(net, -1)) << file << " undo " << i;
      ASSERT_EQ(text(net), before[i]) << file << " undo " << i;
    }
    EXPECT_FALSE(UndoNetLastOper_vq(net, -1));
    // All undone, the net (through a copy, as compiling keeps an order in the net) compiles to
    // the beliefs of the net as read.
    net_bn* fresh = read(file);
    net_bn* copy = CopyNet_bn(net, "Undone", env, nullptr);
    CompileNet_bn(copy);
    CompileNet_bn(fresh);
    ASSERT_EQ(lastError(), nullptr) << file;
    const nodelist_bn* nodes = GetNetNodes_bn(copy);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      node_bn* n = GetNthNode_bn(nodes, i);
      node_bn* f = GetNodeNamed_bn(GetNodeName_bn(n), fresh);
      for (int st = 0; st < GetNodeNumberStates_bn(n); ++st)
        EXPECT_FLOAT_EQ(GetNodeBeliefs_bn(n)[st], GetNodeBeliefs_bn(f)[st]) << file << " " << GetNodeName_bn(n);
    }
    for (size_t i = 0; i < after.size(); ++i) {
      ASSERT_TRUE(RedoNetOper_vq(net, -1)) << file << " redo " << i;
      ASSERT_EQ(text(net), after[i]) << file << " redo " << i;
    }
    EXPECT_FALSE(RedoNetOper_vq(net, -1));
  }
}

// Undoing in a compiled net brings back the beliefs the net had, whatever the edit dropped.
TEST_F(UndoTest, CompiledNetUpdatesToTheBeliefsBeforeTheUndoneEdit) {
  net_bn* net = read("asia.bif");
  ASSERT_NE(net, nullptr);
  node_bn* lung = GetNodeNamed_bn("lung_cancer", net);
  node_bn* xray = GetNodeNamed_bn("positive_XraY", net);
  const prob_bn row[] = {0.9f, 0.1f};
  const state_bn yes[] = {0};
  struct Case {
    const char* what;
    std::function<void()> edit;
  } cases[] = {
      {"finding", [&] { EnterFinding_bn(xray, 0); }},
      {"likelihood", [&] { const prob_bn lik[] = {0.2f, 1.0f}; EnterNodeLikelihood_bn(lung, lik); }},
      {"cpt row", [&] { SetNodeProbs_bn(lung, yes, row); }},
      {"link", [&] { DeleteLink_bn(0, lung); }},
      {"node", [&] { DeleteNode_bn(GetNodeNamed_bn("smoking", net)); }},
  };
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  CompileNet_bn(net);
  std::vector<float> was(GetNodeBeliefs_bn(lung), GetNodeBeliefs_bn(lung) + 2);
  for (const Case& c : cases) {
    c.edit();
    CompileNet_bn(net);
    std::vector<float> edited(GetNodeBeliefs_bn(lung), GetNodeBeliefs_bn(lung) + 2);
    EXPECT_NE(edited, was) << c.what << " changed nothing the test can see";
    ASSERT_TRUE(UndoNetLastOper_vq(net, -1)) << c.what;
    CompileNet_bn(net);
    const prob_bn* now = GetNodeBeliefs_bn(lung);
    ASSERT_NE(now, nullptr) << c.what;
    EXPECT_FLOAT_EQ(now[0], was[0]) << c.what;
    ASSERT_TRUE(RedoNetOper_vq(net, -1)) << c.what;
    CompileNet_bn(net);
    EXPECT_FLOAT_EQ(GetNodeBeliefs_bn(lung)[0], edited[0]) << c.what;
    ASSERT_TRUE(UndoNetLastOper_vq(net, -1)) << c.what;
    ASSERT_EQ(lastError(), nullptr) << c.what;
  }
}

TEST_F(UndoTest, UndoTextNamesTheOperation) {
  net_bn* net = NewNet_bn("N", env);
  SetNetNumUndos_bn(net, 5, -1, nullptr);
  NewNode_bn("A", 2, net);
  std::string said;
  quorva::Bnet& n = *quorva::asNet(net);
  ASSERT_TRUE(n.undo.undo(n, &said));
  EXPECT_EQ(said, "Undoing new node.\n");
  EXPECT_EQ(GetNodeNamed_bn("A", net), nullptr);
  ASSERT_TRUE(n.undo.redo(n, &said));
  EXPECT_EQ(said, "Redoing new node.\n");
  EXPECT_NE(GetNodeNamed_bn("A", net), nullptr);
}

// Learning into several nodes is one operation: one undo gives back every node's table.
TEST_F(UndoTest, LearningIntoSeveralNodesIsUndoneAsOne) {
  net_bn* net = read("asia.bif");
  ASSERT_NE(net, nullptr);
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    DeleteNodeTables_bn(GetNthNode_bn(nodes, i));  // learnt from scratch
    EnterFinding_bn(GetNthNode_bn(nodes, i), 0);
  }
  std::string withFindings = text(net);
  SetNetNumUndos_bn(net, 10, -1, nullptr);
  ReviseCPTsByFindings_bn(nodes, 0, 1.0);
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  EXPECT_EQ(history(net).undoCount(), 1u);
  ASSERT_TRUE(UndoNetLastOper_vq(net, -1));
  EXPECT_EQ(text(net), withFindings);
  ASSERT_TRUE(RedoNetOper_vq(net, -1));
  EXPECT_NE(text(net), withFindings);
}

}  // namespace
