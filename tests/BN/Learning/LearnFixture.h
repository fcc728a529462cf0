// Cases for the learning tests: drawn from a net with GenerateRandomCase_bn, some values hidden,
// written to a memory stream as a case file, and kept by the test as states so that what was
// learnt can be checked against counts the test makes itself.
#pragma once
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "BN/DataNets.h"
#include "Support/NetSnapshot.h"

struct DrawnCases {
  std::vector<std::vector<int>> states;  // per case, per node of the net (-1: missing)
  stream_vq* file = nullptr;
};

class LearnTest : public NetTest {
 protected:
  net_bn* readData(const char* file) { return readDataNet(env, file); }

  // `count` cases drawn from `net` (findings retracted afterwards), each value hidden with
  // probability `missing`.
  // `hideAlso(row, i)`, when given, hides node i of a drawn row as well (the row holds the states
  // drawn, -1 for those already hidden).
  DrawnCases draw(net_bn* net, int count, double missing, unsigned seed,
                  const std::function<bool(const std::vector<int>&, int)>& hideAlso = nullptr) {
    DrawnCases out;
    out.file = NewMemoryStream_vq("cases.cas", env, nullptr);
    const nodelist_bn* nodes = GetNetNodes_bn(net);
    int n = LengthNodeList_bn(nodes);
    randgen_vq* rand = NewRandomGenerator_vq(std::to_string(seed).c_str(), env, nullptr);
    std::mt19937 hide(seed);
    std::uniform_real_distribution<double> u(0, 1);
    for (int c = 0; c < count; ++c) {
      RetractNetFindings_bn(net);
      GenerateRandomCase_bn(nodes, FORWARD_SAMPLING, 0, rand);
      std::vector<int> row(static_cast<size_t>(n));
      for (int i = 0; i < n; ++i) row[static_cast<size_t>(i)] = GetNodeFinding_bn(GetNthNode_bn(nodes, i));
      for (int i = 0; i < n; ++i) {
        node_bn* node = GetNthNode_bn(nodes, i);
        if (u(hide) < missing || (hideAlso && hideAlso(row, i))) {
          RetractNodeFindings_bn(node);
          row[static_cast<size_t>(i)] = -1;
        }
      }
      WriteNetFindings_bn(nodes, out.file, -1, 1);
      out.states.push_back(row);
    }
    RetractNetFindings_bn(net);
    DeleteRandomGen_vq(rand);
    return out;
  }

  // A copy of `net` without any tables.
  net_bn* blankCopy(const net_bn* net) { return CopyNet_bn(net, "blank", env, "no_tables"); }

 public:
  // The node's whole table `which` ("cpt" or "exper").
  static std::vector<double> table(node_bn* node, const char* which) {
    int size = 0;
    GetNodeTable_bn(node, which, nullptr, 0, nullptr, &size);
    std::vector<double> out(static_cast<size_t>(size));
    if (size) GetNodeTable_bn(node, which, nullptr, 0, out.data(), &size);
    return out;
  }
};
