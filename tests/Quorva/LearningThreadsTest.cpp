// EM with its cases shared among threads: the same tables for any number of threads (the blocks
// of cases are fixed by their number and summed in order).  Run with the API tests, and so under
// ThreadSanitizer.
#include "BN/Learning/LearnFixture.h"

namespace {

class LearningThreadsTest : public LearnTest {
 protected:
  std::vector<double> emTables(net_bn* source, caseset_cs* cases, int threads) {
    net_bn* copy = blankCopy(source);
    learner_bn* l = NewLearner_bn(EM_LEARNING, nullptr, env);
    SetLearnerMaxIters_bn(l, 3);
    SetLearnerMaxTol_bn(l, 1e-9);
    SetLearnerThreads_bn(l, threads);
    LearnCPTs_bn(l, GetNetNodes_bn(copy), cases, 1.0);
    std::vector<double> out;
    const nodelist_bn* nodes = GetNetNodes_bn(copy);
    for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
      std::vector<double> t = table(GetNthNode_bn(nodes, i), "cpt");
      out.insert(out.end(), t.begin(), t.end());
    }
    return out;
  }
};

TEST_F(LearningThreadsTest, SameEmTablesForAnyNumberOfThreads) {
  net_bn* source = readData("alarm.bif");
  DrawnCases drawn = draw(source, 1100, 0.3, 9);  // five blocks of cases
  caseset_cs* cases = NewCaseset_cs("cases", env);
  AddFileToCaseset_cs(cases, drawn.file, 1, nullptr);
  const std::vector<double> one = emTables(source, cases, 1);
  const std::vector<double> three = emTables(source, cases, 3);
  ASSERT_EQ(lastMessage(), "");
  EXPECT_EQ(one, three);
}

}  // namespace
