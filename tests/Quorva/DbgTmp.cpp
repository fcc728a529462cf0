#include "RandomNets.h"
#include "EnvFixture.h"
#include "Quorva/Handles.h"
#include "BN/JunctionTree.h"
#include "BN/ElimOrder.h"
#include <cstdio>
class DbgTmp : public EnvTest {};
TEST_F(DbgTmp, Dump) {
  std::mt19937 rng(35);
  net_bn* net = NewNet_bn("R", env);
  RandomNetShape shape; shape.maxNodes = 22; shape.maxJoint = 1e15; shape.tables = false;
  auto nodes = buildRandomNet(net, rng, shape);
  for (auto n : nodes) {
    printf("%s(%d) <-", GetNodeName_bn(n), GetNodeNumberStates_bn(n));
    const nodelist_bn* ps = GetNodeParents_bn(n);
    for (int i = 0; i < LengthNodeList_bn(ps); ++i) printf(" %s", GetNodeName_bn(GetNthNode_bn(ps, i)));
    printf("\n");
  }
  CompileNet_bn(net);
  const nodelist_bn* o = GetNetElimOrder_bn(net);
  for (int i = 0; o && i < LengthNodeList_bn(o); ++i) printf("%s ", GetNodeName_bn(GetNthNode_bn(o, i)));
  printf("\n");
}
