// The learner object: a method of learning CPTs from a set of cases (counting or
// expectation-maximisation), with the limits of its iterations and the record of its last run.
#pragma once
#include <vector>

#include "BN/Learning/CountingLearning.h"
#include "Basic/Tagged.h"

namespace quorva {

class Bnode;
class EnvCore;

enum class LearnMethod : int { Counting = 1, EM = 3, GradientAscent = 4 };

struct LearnSettings {
  int maxIters = 1000;
  double tolerance = 1e-5;  // relative change of the objective at which EM stops
  int threads = 1;          // EM: workers, each with its own compiled copy of the net
};

// What the last run did: the EM iterations and the objective (log-likelihood of the cases plus
// the log of the prior) at the start of each.
struct LearnReport {
  int iterations = 0;
  std::vector<double> objective;
};

class Learner : public Tagged {
 public:
  Learner(EnvCore* env, LearnMethod method) : Tagged(LEARNER_TYPE), env(env), method(method) {}

  EnvCore* env;
  LearnMethod method;
  LearnSettings settings;
  LearnReport last;

  // Learns the CPTs of `nodes` (all of one net) from the files' cases, each file's cases weighted
  // by its degree.
  void learn(const std::vector<Bnode*>& nodes, const std::vector<WeightedFile>& files, const CaseFormat& format);
  void release() { deleted = 1; last = {}; }
};

}  // namespace quorva
