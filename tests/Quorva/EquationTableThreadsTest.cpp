// Tables from equations built by several threads at once: the same seed gives the same table
// whatever the number of threads (each block of rows draws from its own generator).
#include <cmath>
#include <vector>

#include "BN/Net/Bnode.h"
#include "BN/Tables/EquationTable.h"
#include "Quorva/Handles.h"
#include "Support/EnvFixture.h"

namespace {

class EquationTableThreadsTest : public EnvTest {};

TEST_F(EquationTableThreadsTest, SameSeedSameTableWhateverTheThreads) {
  net_bn* net = NewNet_bn("threads", env);
  auto continuous = [&](const char* name, std::vector<level_bn> bounds) {
    node_bn* n = NewNode_bn(name, 0, net);
    SetNodeLevels_bn(n, static_cast<int>(bounds.size()) - 1, bounds.data());
    return n;
  };
  std::vector<level_bn> xBounds;
  for (int i = 0; i <= 64; ++i) xBounds.push_back(i / 8.0);
  node_bn* x = continuous("X", xBounds);  // 64 x 4 rows: about ten blocks of rows
  node_bn* w = continuous("W", {0, 0.25, 0.5, 0.75, 1});
  node_bn* y = continuous("Y", {-INFINITY, 2, 4, 8, INFINITY});
  AddLink_bn(x, y);
  AddLink_bn(w, y);
  SetNodeEquation_bn(y, "Y (X, W) = X * (1 + W) + NormalRand (0, 0.3)");
  ASSERT_EQ(lastError(), nullptr) << lastMessage();
  auto table = [&](const char* seed, int threads) {
    SetNetRandomGen_bn(net, NewRandomGenerator_vq(seed, env, nullptr), 1);
    quorva::equationToTable(*quorva::asNode(y), {300, false, false, threads});
    int size = 0;
    const double* t = GetNodeTable_bn(y, "cpt", nullptr, 0, nullptr, &size);
    return std::vector<double>(t, t + size);
  };
  const std::vector<double> one = table("12345", 1);
  EXPECT_EQ(table("12345", 2), one);
  EXPECT_EQ(table("12345", 5), one);
  EXPECT_NE(table("54321", 2), one);
}

}  // namespace
