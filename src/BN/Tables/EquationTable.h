// Building a node's table from its equation.
//
// The kind of table follows from the equation and the node:
//   probabilistic equation                                   -> CPT
//   deterministic, continuous node, and one sample per row, or no discretization, or a utility
//                                                            -> real function table (the mean)
//   deterministic, no sampled variable                       -> state function table
//   deterministic with continuous parents                    -> CPT counting the samples' states
// A sampled variable is a continuous parent (its value is drawn inside the interval of its state)
// or, for a probabilistic equation, a continuous node (each state's probability is the
// distribution's cumulative difference over the interval when the equation is a continuous
// distribution of the node, else a weighted draw inside the interval).  With none, each row takes
// one evaluation and the number of samples is 1.
//
// Rows are built in parallel: rows fall into fixed blocks, and each block draws from its own
// generator seeded from one draw of the net's generator (or the environment's), so the table is
// the same for any number of threads.
//
// Nothing on the node changes unless the whole table is built: a refusal or an evaluation fault
// leaves its tables as they were.  A halt requested through the environment's progress hub keeps
// the rows built so far and leaves the others undefined.
//
// Counts and experience: with `sampUnc` the CPT rows are normalised and each row's experience is
// the number of samples it took (plus its earlier experience when adding).  With `addExist` a CPT
// row already defined counts as its probabilities times its experience (1 without an experience
// table), and the new row, normalised, counts as its number of samples; the sum is normalised.
// Function tables are always replaced.
#pragma once

namespace quorva {

class Bnode;

struct EquationTableOptions {
  int numSamples = 1;    // per row, when sampling is needed
  bool sampUnc = false;  // keep the number of samples as the rows' experience
  bool addExist = false; // add to the node's CPT instead of replacing its tables
  int threads = 0;       // 0: one per processor
};

void equationToTable(Bnode& node, const EquationTableOptions& options);

// Whether the node has an equation but no table that inference could use.
bool needsTableFromEquation(const Bnode& node);

}  // namespace quorva
