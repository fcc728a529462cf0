// A node's CPT held as counts while it is learnt: per parent configuration (row) and state, the
// number of cases seen, on top of the prior.  The probabilities are a row's counts over their sum
// and the sum is the row's experience, so that a node's CPT and experience table together hold
// its counts; learning reads them into doubles, adds cases, and writes both tables back.
//
// A node with neither a CPT nor an experience table starts as if its experience were the prior
// count (1): each cell holds 1 over the number of states.
#pragma once
#include <cstddef>
#include <vector>

namespace quorva {

class Bnode;

// The prior count of a node: the experience of each row of a node learnt from no tables, and the
// count that fading moves each cell toward.
inline constexpr double PRIOR_COUNT = 1.0;
// A cell that unlearning leaves below 0 but not below this is taken as rounding and set to 0.
inline constexpr double UNLEARN_ROUNDING = -2e-6;

struct FamilyCounts {
  Bnode* node = nullptr;
  size_t states = 0;          // the length of a row
  std::vector<double> cells;  // row-major, as the CPT; a negative cell is not given
  std::vector<size_t> radix;  // per parent, its number of states (for the row of a case)

  size_t rows() const { return states ? cells.size() / states : 0; }
  // The row of the parent states `ps` (one per parent, each known).
  size_t rowOf(const int* ps) const {
    size_t r = 0;
    for (size_t i = 0; i < radix.size(); ++i) r = r * radix[i] + static_cast<size_t>(ps[i]);
    return r;
  }
  // Adds `weight` to the cell; false (and nothing changed) when that would unlearn more than was
  // learnt.  A result between UNLEARN_ROUNDING and 0 becomes 0.
  bool add(size_t row, int state, double weight) {
    double& c = cells[row * states + static_cast<size_t>(state)];
    if (c < 0) return true;  // not given: never changed
    double next = c + weight;
    if (next < 0) {
      if (next < UNLEARN_ROUNDING) return false;
      next = 0;
    }
    c = next;
    return true;
  }
};

// Checks that the node's table can be learnt and reads its counts.  Refusals (a continuous node
// without states, a table too large, an experience table that varies while there is no CPT, a
// CPT partly given, a CPT without experience) are raised as "for >-node NAME, MESSAGE" with the
// refusal's number, before anything changes.
FamilyCounts readCounts(Bnode& node);

// Writes the counts back as the node's CPT (each row over its sum; a row summing to 0 uniform)
// and its experience table (the sums), as one table edit of the net.
void storeCounts(const FamilyCounts& counts);

// Moves each given cell c to c (1 - degree) + PRIOR_COUNT degree.
void fadeCounts(FamilyCounts& counts, double degree);

// Whether the node's kind is one that learning revises (nature or disconnected nodes).
bool isLearnable(const Bnode& node);

}  // namespace quorva
