// Counting learning: revising CPTs by findings and by case files, fading, and the refusals that
// leave every table as it was.
#include <cmath>
#include <map>

#include "BN/Learning/LearnFixture.h"

namespace {

// The place of each node's parents in the net's node list.
std::vector<std::vector<int>> parentPlaces(const net_bn* net) {
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  std::map<const node_bn*, int> place;
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) place[GetNthNode_bn(nodes, i)] = i;
  std::vector<std::vector<int>> out;
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    const nodelist_bn* ps = GetNodeParents_bn(GetNthNode_bn(nodes, i));
    std::vector<int> v;
    for (int p = 0; p < LengthNodeList_bn(ps); ++p) v.push_back(place[GetNthNode_bn(ps, p)]);
    out.push_back(v);
  }
  return out;
}

class CountingTest : public LearnTest {
 protected:
  // Two nodes A -> B with 2 and 3 states and no tables, and the list of both.
  void makeSmall() {
    net = NewNet_bn("small", env);
    a = addNode(net, "A", 2, "a0,a1");
    b = addNode(net, "B", 3, "b0,b1,b2", {a});
    both = nodeList(net, {a, b});
  }
  void enter(int sa, int sb) {
    RetractNetFindings_bn(net);
    if (sa >= 0) EnterFinding_bn(a, sa);
    if (sb >= 0) EnterFinding_bn(b, sb);
  }
  std::string tables() {
    std::string out;
    for (node_bn* n : {a, b}) {
      for (double v : table(n, "cpt")) out += std::to_string(v) + " ";
      for (double v : table(n, "exper")) out += std::to_string(v) + " ";
      out += "| ";
    }
    return out;
  }
  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr;
  nodelist_bn* both = nullptr;
};

// Every row of every node learnt from a case file equals (counts + prior) normalised, with the
// counts made here from the drawn states, and its experience equals their sum.
TEST_F(CountingTest, case_file_learning_equals_closed_form_on_every_row) {
  net_bn* source = readData("alarm.bif");
  ASSERT_NE(source, nullptr);
  DrawnCases cases = draw(source, 600, 0.2, 7);
  net_bn* net2 = blankCopy(source);
  const nodelist_bn* nodes = GetNetNodes_bn(net2);
  ReviseCPTsByCaseFile_bn(cases.file, nodes, 0, 1.0);
  ASSERT_EQ(lastMessage(), "");
  std::vector<std::vector<int>> parents = parentPlaces(net2);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    node_bn* node = GetNthNode_bn(nodes, i);
    size_t states = static_cast<size_t>(GetNodeNumberStates_bn(node));
    size_t rows = 1;
    for (int p : parents[static_cast<size_t>(i)]) rows *= static_cast<size_t>(GetNodeNumberStates_bn(GetNthNode_bn(nodes, p)));
    std::vector<double> counts(rows * states, 0);
    for (const std::vector<int>& c : cases.states) {
      if (c[static_cast<size_t>(i)] < 0) continue;
      size_t r = 0;
      bool whole = true;
      for (int p : parents[static_cast<size_t>(i)]) {
        whole = whole && c[static_cast<size_t>(p)] >= 0;
        r = r * static_cast<size_t>(GetNodeNumberStates_bn(GetNthNode_bn(nodes, p))) + static_cast<size_t>(std::max(0, c[static_cast<size_t>(p)]));
      }
      if (whole) counts[r * states + static_cast<size_t>(c[static_cast<size_t>(i)])] += 1;
    }
    std::vector<double> cpt = table(node, "cpt"), exper = table(node, "exper");
    ASSERT_EQ(cpt.size(), counts.size()) << GetNodeName_bn(node);
    for (size_t r = 0; r < rows; ++r) {
      double sum = 1;  // the prior count of a row
      for (size_t s = 0; s < states; ++s) sum += counts[r * states + s];
      EXPECT_NEAR(exper[r], sum, 1e-4 * sum) << GetNodeName_bn(node) << " row " << r;
      for (size_t s = 0; s < states; ++s)
        EXPECT_NEAR(cpt[r * states + s], (counts[r * states + s] + 1.0 / static_cast<double>(states)) / sum, 1e-6)
            << GetNodeName_bn(node) << " row " << r << " state " << s;
    }
  }
}

// Findings: each case adds its degree to one cell on top of the counts read from the CPT and
// experience; nodes with an unknown family member are left alone.
TEST_F(CountingTest, findings_revise_only_nodes_whose_family_is_known) {
  makeSmall();
  setCpt(b, {0.5, 0.25, 0.25, 0.1, 0.1, 0.8});
  const state_bn every[] = {EVERY_STATE};
  SetNodeExperience_bn(b, every, 4);
  enter(-1, 2);                          // A unknown: neither changes
  ReviseCPTsByFindings_bn(both, 0, 1);
  EXPECT_FALSE(HasNodeTable_bn(a, nullptr));
  EXPECT_EQ(table(b, "exper"), (std::vector<double>{4, 4}));
  enter(1, 2);
  ReviseCPTsByFindings_bn(both, 0, 1);
  EXPECT_EQ(lastMessage(), "");
  // A: counts 0.5, 0.5 + 1; B row 1: 0.4, 0.4, 3.2 + 1.
  std::vector<double> ca = table(a, "cpt"), cb = table(b, "cpt"), eb = table(b, "exper");
  EXPECT_NEAR(ca[1], 1.5 / 2, 1e-6);
  EXPECT_NEAR(eb[1], 5, 1e-5);
  EXPECT_NEAR(cb[3], 0.4 / 5, 1e-6);
  EXPECT_NEAR(cb[5], 4.2 / 5, 1e-6);
  EXPECT_NEAR(cb[0], 0.5, 1e-6);  // row 0 untouched
}

TEST_F(CountingTest, likelihood_with_one_nonzero_entry_counts_as_that_state) {
  makeSmall();
  RetractNetFindings_bn(net);
  const prob_bn like[] = {0, 1};
  EnterNodeLikelihood_bn(a, like);
  EnterFinding_bn(b, 0);
  ReviseCPTsByFindings_bn(both, 0, 1);
  std::vector<double> eb = table(b, "exper");
  EXPECT_NEAR(eb[0], 1, 1e-6);
  EXPECT_NEAR(eb[1], 2, 1e-6);
}

// Learning and unlearning the same case restores the counts; unlearning once more than was
// learnt is refused and leaves the tables as they were.
TEST_F(CountingTest, unlearning_restores_then_refuses_past_zero) {
  makeSmall();
  enter(0, 1);
  ReviseCPTsByFindings_bn(both, 0, 1);
  std::string once = tables();
  ReviseCPTsByFindings_bn(both, 0, 1);
  ReviseCPTsByFindings_bn(both, 0, -1);
  EXPECT_EQ(tables(), once);
  ReviseCPTsByFindings_bn(both, 0, -1);
  EXPECT_EQ(lastMessage(), "");
  std::string before = tables();
  ClearErrors_vq(env, INTERNAL_ERR);
  ReviseCPTsByFindings_bn(both, 0, -1);
  ASSERT_NE(lastError(), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 2190);
  EXPECT_EQ(lastMessage(), "attempt to unlearn (degree = -1) more cases than were learned, for >-node 'A'");
  EXPECT_EQ(tables(), before);
}

struct Refusal {
  const char* name;
  std::function<void(node_bn* a, node_bn* b)> setup;
  int number;
  const char* message;
};

// Tables that cannot be learnt are refused before any count changes, labelled with the node.
TEST_F(CountingTest, tables_that_cannot_be_learnt_are_refused_unchanged) {
  const Refusal cases[] = {
      {"partial CPT", [](node_bn*, node_bn* b) {
         const prob_bn row[] = {0.2f, 0.3f, 0.5f};
         const state_bn ps[] = {0};
         SetNodeProbs_bn(b, ps, row);
       }, 2473,
       "for >-node B, can't learn revised >-CPTable, because some probabilities in >-CPTable are already present, "
       "and some aren't"},
      {"CPT without experience", [](node_bn*, node_bn* b) { setCpt(b, {0.2, 0.3, 0.5, 0.2, 0.3, 0.5}); }, 2474,
       "for >-node B, can't learn revised >-CPTable, because >-node already has a >-CPTable but not its confidence "
       "(experience).  Provide experience values or remove existing >-CPTable before doing this operation"},
      {"experience varying", [](node_bn*, node_bn* b) {
         const state_bn ps[] = {1};
         SetNodeExperience_bn(b, ps, 3);
       }, 3626,
       "for >-node B, before learning starts (i.e. CPTs are absent), experience table must be absent or all its "
       "values must be the same"},
  };
  for (const Refusal& r : cases) {
    makeSmall();
    r.setup(a, b);
    enter(1, 0);
    std::string before = tables();
    ClearErrors_vq(env, INTERNAL_ERR);
    nodelist_bn* onlyB = nodeList(net, {b});
    ReviseCPTsByFindings_bn(onlyB, 0, 1);
    ASSERT_NE(lastError(), nullptr) << r.name;
    EXPECT_EQ(ErrorNumber_vq(lastError()), r.number) << r.name;
    EXPECT_EQ(lastMessage(), r.message) << r.name;
    EXPECT_EQ(tables(), before) << r.name;
    DeleteNet_bn(net);
  }
}

TEST_F(CountingTest, fading_moves_each_count_toward_the_prior) {
  makeSmall();
  setCpt(b, {0.5, 0.25, 0.25, 0.1, 0.1, 0.8});
  const state_bn every[] = {EVERY_STATE};
  SetNodeExperience_bn(b, every, 10);
  std::string before = tables();
  FadeCPTable_bn(b, 0);
  EXPECT_EQ(tables(), before);
  FadeCPTable_bn(b, 0.5);  // row 1: 1, 1, 8 -> 1, 1, 4.5
  std::vector<double> cb = table(b, "cpt"), eb = table(b, "exper");
  EXPECT_NEAR(eb[1], 6.5, 1e-5);
  EXPECT_NEAR(cb[5], 4.5 / 6.5, 1e-6);
  FadeCPTable_bn(b, 1);
  EXPECT_EQ(table(b, "exper"), (std::vector<double>{3, 3}));
  EXPECT_NEAR(table(b, "cpt")[5], 1.0 / 3, 1e-6);
  ClearErrors_vq(env, INTERNAL_ERR);
  FadeCPTable_bn(b, 1.5);
  EXPECT_EQ(lastMessage(), "argument 'degree' is 1.5, but it should be within 0 to 1 inclusive");
  FadeCPTable_bn(a, 0.5);
  EXPECT_EQ(lastMessage(), ">-Bnode 'A' doesnt have any >-CPTable");
  ReviseCPTsByFindings_bn(both, 2, 1);
  EXPECT_EQ(lastMessage(), "argument 'updating' should be 0 with this version of >-Quorva (it is 2)");
}

// Case files: NumCases weighs a case; a value naming no state skips its case with a warning; a
// faulty value, unlearning past zero, or no node with a whole family leaves every table alone.
TEST_F(CountingTest, case_file_weights_skips_and_refusals) {
  makeSmall();
  stream_vq* good = textStream(env, "NumCases\tA\tB\n3\ta1\tb2\n1\ta0\t*\n1\ta0\tbogus\n", "good.cas");
  ReviseCPTsByCaseFile_bn(good, both, 0, 2);
  EXPECT_EQ(lastMessage(), "");
  EXPECT_NE(lastMessage(WARNING_ERR).find("unknown value 'bogus' for variable 'B', so case is skipped"), std::string::npos);
  EXPECT_NEAR(table(a, "exper")[0], 1 + 6 + 2, 1e-5);
  EXPECT_NEAR(table(b, "exper")[1], 1 + 6, 1e-5);
  EXPECT_NEAR(table(b, "exper")[0], 1, 1e-5);

  struct Bad {
    const char* text;
    double degree;
    int number;
    const char* start;
  } bad[] = {
      {"A\tB\na1\tb0\na0\t#7\n", 1, 2102, "value '#7' is not one of the possible states of variable 'B', in case 2"},
      {"A\tB\na1\tb0\na0\tb2\n", -20, 2189,
       "attempt to unlearn (degree = -20) more cases than were learned, for >-node 'A' (at case 1), reading file 'bad.cas'"},
      {"C\tD\nx\ty\n", 1, 3384, "can't learn the CPTs using counting-learning, because for none of the requested nodes"},
  };
  for (const Bad& c : bad) {
    std::string before = tables();
    ClearErrors_vq(env, INTERNAL_ERR);
    stream_vq* s = textStream(env, c.text, "bad.cas");
    ReviseCPTsByCaseFile_bn(s, both, 0, c.degree);
    ASSERT_NE(lastError(), nullptr) << c.text;
    EXPECT_EQ(ErrorNumber_vq(lastError()), c.number) << c.text;
    EXPECT_EQ(lastMessage().rfind(c.start, 0), 0u) << lastMessage();
    EXPECT_EQ(tables(), before) << c.text;
  }
}

}  // namespace
