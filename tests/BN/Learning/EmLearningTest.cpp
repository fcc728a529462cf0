// The learner: EM against counting on complete cases, the objective never falling, recovery of
// a net's tables from its own cases; and its argument checks.  (The same result on any number of
// threads is checked with the API tests, which also run under ThreadSanitizer.)
#include <cmath>

#include "BN/Learning/LearnFixture.h"
#include "Basic/Format.h"
#include "Quorva/ToolSupport.h"

namespace {

class EmTest : public LearnTest {
 protected:
  caseset_cs* casesetOf(stream_vq* file) {
    caseset_cs* cs = NewCaseset_cs("cases", env);
    AddFileToCaseset_cs(cs, file, 1, nullptr);
    return cs;
  }
  // Learns every node of a blank copy of `source` from `cases`; returns the copy.
  net_bn* learnt(net_bn* source, caseset_cs* cases, learn_method_bn method, int iters, int threads = 1) {
    net_bn* copy = blankCopy(source);
    learner_bn* l = NewLearner_bn(method, nullptr, env);
    SetLearnerMaxIters_bn(l, iters);
    SetLearnerMaxTol_bn(l, 1e-9);
    SetLearnerThreads_bn(l, threads);
    LearnCPTs_bn(l, GetNetNodes_bn(copy), cases, 1.0);
    last = l;
    return copy;
  }
  std::vector<double> allTables(net_bn* net, const char* which) {
    std::vector<double> out;
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      std::vector<double> t = table(GetNthNode_bn(nodes, i), which);
      out.insert(out.end(), t.begin(), t.end());
    }
    return out;
  }
  learner_bn* last = nullptr;
};

TEST_F(EmTest, one_iteration_on_complete_cases_gives_the_counting_result) {
  net_bn* source = readData("asia.bif");
  DrawnCases drawn = draw(source, 400, 0.0, 3);
  caseset_cs* cases = casesetOf(drawn.file);
  net_bn* counted = learnt(source, cases, COUNTING_LEARNING, 1);
  net_bn* em = learnt(source, cases, EM_LEARNING, 1);
  ASSERT_EQ(lastMessage(), "");
  EXPECT_EQ(GetLearnerIterations_bn(last), 1);
  std::vector<double> a = allTables(counted, "cpt"), b = allTables(em, "cpt");
  std::vector<double> ea = allTables(counted, "exper"), eb = allTables(em, "exper");
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], 1e-6) << i;
  for (size_t i = 0; i < ea.size(); ++i) EXPECT_NEAR(ea[i], eb[i], 1e-4 * ea[i]) << i;
}

// The objective of each iteration (also reported to the progress watcher) is never below the one
// before, and learning stops once it stops changing.
TEST_F(EmTest, objective_never_falls_and_is_reported_each_iteration) {
  net_bn* source = readData("alarm.bif");
  DrawnCases drawn = draw(source, 300, 0.3, 11);
  std::vector<std::string> reports;
  quorva::tool::setProgressWatcher(env, [&](std::string_view what, double) {
    if (what.rfind("EM iteration", 0) == 0) reports.emplace_back(what);
  });
  learnt(source, casesetOf(drawn.file), EM_LEARNING, 12);
  quorva::tool::setProgressWatcher(env, nullptr);
  ASSERT_EQ(lastMessage(), "");
  int iters = GetLearnerIterations_bn(last);
  ASSERT_GE(iters, 3);
  ASSERT_EQ(reports.size(), static_cast<size_t>(iters));
  for (int k = 1; k < iters; ++k) {
    double before = GetLearnerLogLikelihood_bn(last, k - 1), now = GetLearnerLogLikelihood_bn(last, k);
    EXPECT_GE(now, before - 1e-9 * std::fabs(before)) << "iteration " << k;
    EXPECT_NE(reports[static_cast<size_t>(k)].find(quorva::format("%.10g", now)), std::string::npos) << reports[static_cast<size_t>(k)];
  }
}

// Whether every learnt probability of `em` is within sampling error of the net's own: four
// standard errors at the row's experience, plus a little for the prior and what is missing.
// Reports the entries that are not, when `report`.
bool withinSamplingError( net_bn* source, net_bn* learnt, bool report) {
  bool all = true;
  const nodelist_bn* truth = GetNetNodes_bn(source);
  for (int i = 0; i < LengthNodeList_bn(truth); ++i) {
    node_bn* n = GetNthNode_bn(truth, i);
    node_bn* l = GetNodeNamed_bn(GetNodeName_bn(n), learnt);
    std::vector<double> want = LearnTest::table(n, "cpt"), got = LearnTest::table(l, "cpt"), exper = LearnTest::table(l, "exper");
    size_t states = static_cast<size_t>(GetNodeNumberStates_bn(n));
    for (size_t k = 0; k < want.size(); ++k) {
      double e = exper[k / states];
      double slack = 4 * std::sqrt(want[k] * (1 - want[k]) / e) + 2.0 / e + 0.01;
      bool near = std::fabs(got[k] - want[k]) <= slack;
      all = all && near;
      if (report) {
        EXPECT_TRUE(near) << GetNodeName_bn(n) << " entry " << k << ": " << got[k] << " for " << want[k];
      }
    }
  }
  return all;
}

// From 3000 cases of asia, 20% of values hidden at random and the lung cancer node hidden too
// whenever the x-ray is positive, EM recovers every probability within sampling error, while counting only complete
// families is biased by the hiding.
TEST_F(EmTest, recovers_the_tables_of_the_net_that_made_the_cases) {
  net_bn* source = readData("asia.bif");
  node_bn* xray = GetNodeNamed_bn("positive_XraY", source);
  node_bn* lung = GetNodeNamed_bn("lung_cancer", source);
  ASSERT_TRUE(xray && lung);
  const nodelist_bn* nodes = GetNetNodes_bn(source);
  int xi = 0, li = 0;
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    if (GetNthNode_bn(nodes, i) == xray) xi = i;
    if (GetNthNode_bn(nodes, i) == lung) li = i;
  }
  DrawnCases drawn = draw(source, 3000, 0.2, 5, [&](const std::vector<int>& row, int i) {
    return i == li && row[static_cast<size_t>(xi)] == 0;  // state 0: positive
  });
  caseset_cs* cases = casesetOf(drawn.file);
  net_bn* em = learnt(source, cases, EM_LEARNING, 100);
  ASSERT_EQ(lastMessage(), "");
  withinSamplingError(source, em, true);
  EXPECT_FALSE(withinSamplingError(source, learnt(source, cases, COUNTING_LEARNING, 1), false));
}

// One case with A hidden and B = b1, learnt by one EM iteration from known tables: A's counts
// gain P(A | b1), and B's row a gains P(A = a | b1) at b1.
TEST_F(EmTest, expected_counts_are_the_family_posteriors) {
  net_bn* net = NewNet_bn("n", env);
  node_bn* a = addNode(net, "A", 2, "a0,a1", {}, {0.3, 0.7});
  node_bn* b = addNode(net, "B", 2, "b0,b1", {a}, {0.9, 0.1, 0.2, 0.8});
  const state_bn none[] = {EVERY_STATE};
  SetNodeExperience_bn(a, nullptr, 10);  // A has no parents: its one row
  SetNodeExperience_bn(b, none, 10);
  caseset_cs* cases = casesetOf(textStream(env, "A\tB\n*\tb1\n", "one.cas"));
  learner_bn* l = NewLearner_bn(EM_LEARNING, nullptr, env);
  SetLearnerMaxIters_bn(l, 1);
  LearnCPTs_bn(l, nodeList(net, {a, b}), cases, 1.0);
  ASSERT_EQ(lastMessage(), "");
  double p0 = 0.3 * 0.1 / (0.3 * 0.1 + 0.7 * 0.8);  // P(a0 | b1)
  std::vector<double> ca = table(a, "cpt"), cb = table(b, "cpt"), eb = table(b, "exper");
  EXPECT_NEAR(ca[0], (3 + p0) / 11, 1e-6);
  EXPECT_NEAR(eb[0], 10 + p0, 1e-5);
  EXPECT_NEAR(eb[1], 10 + (1 - p0), 1e-5);
  EXPECT_NEAR(cb[1], (1 + p0) / (10 + p0), 1e-6);
  EXPECT_NEAR(cb[3], (8 + 1 - p0) / (11 - p0), 1e-6);
  EXPECT_NEAR(GetLearnerLogLikelihood_bn(l, 0),
              std::log(0.3 * 0.1 + 0.7 * 0.8) + 3 * std::log(0.3) + 7 * std::log(0.7) + std::log(0.9) * 9 +
                  std::log(0.1) * 1 + std::log(0.2) * 2 + std::log(0.8) * 8,
              1e-4);
}

TEST_F(EmTest, learner_arguments_are_checked) {
  learner_bn* l = NewLearner_bn(EM_LEARNING, nullptr, env);
  struct Case {
    std::function<void()> call;
    const char* message;
  } cases[] = {
      {[&] { NewLearner_bn(static_cast<learn_method_bn>(2), nullptr, env); },
       "argument 'method' is 2, but it should be COUNTING_LEARNING, EM_LEARNING or GRADIENT_ASCENT_LEARNING"},
      {[&] { NewLearner_bn(EM_LEARNING, "fast", env); }, "argument 'options' should be empty or NULL (it is 'fast')"},
      {[&] { SetLearnerMaxIters_bn(l, 0); }, "argument 'max_iters' is 0, but it should be 1 or more (or -1 to query)"},
      {[&] { SetLearnerMaxTol_bn(l, 0); }, "argument 'log_likelihood_tol' is 0, but it should be above 0 (or -1 to query)"},
      {[&] { SetLearnerThreads_bn(l, 0); }, "argument 'threads' is 0, but it should be between 1 and 256 inclusive (or -1 to query)"},
  };
  for (const Case& c : cases) {
    ClearErrors_vq(env, INTERNAL_ERR);
    c.call();
    EXPECT_EQ(lastMessage(), c.message);
  }
  EXPECT_EQ(SetLearnerMaxIters_bn(l, 7), 1000);
  EXPECT_EQ(SetLearnerMaxIters_bn(l, -1), 7);
  DeleteLearner_bn(l);
  ClearErrors_vq(env, INTERNAL_ERR);
  EXPECT_EQ(SetLearnerMaxIters_bn(l, -1), -1);
  EXPECT_EQ(lastMessage(), "deleted or damaged >-Learner passed");

  net_bn* net = NewNet_bn("n", env);
  node_bn* a = addNode(net, "A", 2, "a0,a1");
  caseset_cs* cs = casesetOf(textStream(env, "A\na1\n", "c.cas"));
  learner_bn* g = NewLearner_bn(GRADIENT_ASCENT_LEARNING, nullptr, env);
  ClearErrors_vq(env, INTERNAL_ERR);
  LearnCPTs_bn(g, nodeList(net, {a}), cs, 1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 3386);
  EXPECT_FALSE(HasNodeTable_bn(a, nullptr));
}

}  // namespace
