// The net tester: how well a net predicts chosen nodes.  Over cases of case files, the test nodes
// (and any nodes named unobserved) are hidden while every other known value is entered as a
// finding; each test node's beliefs are then scored against its value in the case.  Scores are
// averages over the cases that give the node's value, each case weighted by its NumCases times
// its file's degree; they add up over every set of cases tested.
#pragma once
#include <vector>

#include "BN/Learning/CountingLearning.h"
#include "Basic/Tagged.h"

namespace quorva {

class Bnet;
class Bnode;
class EnvCore;

// The beliefs below which a state's log loss is counted as if it were this (so a state the net
// holds impossible costs a large finite loss rather than an infinite one).
inline constexpr double LOG_LOSS_FLOOR = 1e-300;

struct NodeScore {
  double weight = 0;                // of the cases that gave the node's value
  double errors = 0;                // weight of the cases whose most probable state was wrong
  double logLoss = 0;               // weighted sum of -log belief in the actual state
  double quadLoss = 0;              // weighted sum of 1 - 2 b[actual] + sum of b^2
  std::vector<double> confusion;    // [actual * states + predicted], weighted
};

class NetTester : public Tagged {
 public:
  NetTester(EnvCore* env, Bnet* net, std::vector<Bnode*> tested, std::vector<Bnode*> unobserved);

  EnvCore* env;
  Bnet* net;
  std::vector<Bnode*> tested, unobserved;
  std::vector<NodeScore> scores;  // per tested node
  long long impossible = 0;       // cases skipped as impossible in the net
  int threads = 1;

  // Scores the net on every case of the files (the net's findings, beliefs and tables stay as
  // they were: the cases are entered in working copies).
  void test(const std::vector<WeightedFile>& files, const CaseFormat& format);
  // The place of a tested node, or -1.
  int indexOf(const Bnode* node) const;
  void release() {
    deleted = 1;
    scores.clear();
  }
};

}  // namespace quorva
