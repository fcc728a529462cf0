// The optimising search for an elimination order: a pool of orders improved by mutation, each
// improvement reported as an estimate of the memory and time the junction tree will need.
#pragma once
#include <cstdio>
#include <string>
#include <vector>

#include "BN/Inference/ElimOrder.h"

namespace quorva {

class RandomGen;
class Progress;

struct SearchLimits {
  double seconds = 0;       // stop after this long (0: only the iteration limit stops it)
  std::FILE* console = nullptr;  // where the estimate lines go (none when null)
  Progress* progress = nullptr;  // shown the fraction of the time or iterations used; halts it
};

// Searches for an order of `eliminate` with a smaller total clique size than the greedy one,
// starting from `seed` when it is not empty.  Stops after n! iterations (n up to 100), when the
// time limit passes, when the user halts it through `progress`, or never for more nodes without
// a time limit or a progress to halt it (so give one).
std::vector<int> searchOrder(const UGraph& g, const std::vector<int>& eliminate, const std::vector<int>& seed,
                             RandomGen& rng, const SearchLimits& limits, double* bestScore = nullptr);

// The console line for an estimate of `entries` table entries.
std::string estimateLine(double entries, double secondsPerOp);
// Seconds per elementary table operation, measured once per process.
double secondsPerOperation();

}  // namespace quorva
