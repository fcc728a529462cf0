// Loopy belief propagation over the net's factor graph: one factor per node's table (the node and
// its parents), each finding a factor of its node alone.  Messages are passed factor by factor in
// parents-first order and then back, each new factor-to-node message mixed with the one before
// it by the damping weight (new = (1 - damping) * computed + damping * old), until no belief
// moves by more than the tolerance in a round, or the rounds or seconds run out.  On a net
// without loops this is exact; with loops it is an approximation whose error is not bounded.
#pragma once
#include <functional>
#include <vector>

namespace quorva {

class SampleModel;

struct LoopyOptions {
  double damping = 0;       // 0 to below 1
  double tolerance = 1e-6;  // converged when the largest change of a belief in a round is below
  int maxRounds = 500;
  double seconds = 0;       // 0: no time limit
};

struct LoopyResult {
  std::vector<std::vector<double>> beliefs;  // per net position: one per state (empty: not drawn)
  std::vector<double> change;   // per node: the largest change of its beliefs in the last round
  std::vector<std::vector<double>> lambda;   // per node: its finding times the messages from its
                                             // children's factors (normalised)
  int rounds = 0;
  double maxChange = 0;  // the largest change of any belief in the last round
  bool converged = false;
  bool inconsistent = false;  // some node's beliefs came out all zero
};

// `stop` is asked between rounds whether to stop early (a user halt); it may be empty.
LoopyResult loopyPropagate(const SampleModel& model, const LoopyOptions& options,
                           const std::function<bool()>& stop = {});

}  // namespace quorva
