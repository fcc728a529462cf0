// The inner parts of building a table from an equation: the plan that says what each row holds,
// and the routine that builds a run of rows (run by several threads at once, each on its own rows
// and its own generator).
#pragma once
#include <cstddef>
#include <vector>

#include "Equation/EqnExpr.h"

namespace quorva {

class Bnode;
class RandomGen;

enum class EqnTableKind { Cpt, CountCpt, FuncState, FuncReal };

// How a probabilistic equation gives the probability of each state of the node.
enum class EqnOutMode {
  Index,        // the node's value is the state's index (discrete nodes, discrete distributions)
  BooleanPair,  // one evaluation: the probability of one state, its complement the other's
  Cdf,          // a continuous distribution of the node: cumulative differences over its intervals
  Sampled,      // a draw inside the state's interval, the equation's value times the draw's weight
};

struct EqnTablePlan {
  const Bnode* node = nullptr;
  const Equation* eq = nullptr;
  EqnTableKind kind = EqnTableKind::Cpt;
  EqnOutMode outMode = EqnOutMode::Index;
  bool continuousNode = false;
  int samples = 1;      // evaluations per row
  bool sampling = false;  // some variable is drawn (rows then add up their samples)
  int states = 1;       // entries per row of the table being built
  size_t rows = 1;
  std::vector<int> dims;      // the parents' numbers of states, first parent slowest
  std::vector<size_t> strides;
  std::vector<int> varParent;  // for each variable before the output: its parent
  std::vector<const std::vector<double>*> parentBounds;  // per parent: intervals to draw in, or null
  const std::vector<double>* nodeBounds = nullptr;       // the node's intervals, or null

  size_t rowLength() const { return kind == EqnTableKind::Cpt || kind == EqnTableKind::CountCpt ? states : 1; }
};

// The first thing that went wrong in a run of rows.
struct RowFault {
  enum Kind { None, Eval, Undefined, NotInteger, Negative, TooHigh, NotALevel, Outside, NegativeProb };
  Kind kind = None;
  size_t row = 0;
  double value = 0;  // the offending value
  int state = -1;    // the node's state being evaluated (probabilistic)
  std::vector<double> values;  // the variables' values when it happened
};

// Builds rows [begin, end) into `cells` (rowLength() entries per row, from row `begin`, all 0 on
// entry).  `rng` draws the sampled values (null when nothing is sampled).  Returns false at the
// first fault, described in `fault`.
bool buildEquationRows(const EqnTablePlan& plan, size_t begin, size_t end, RandomGen* rng, EvalContext& ctx,
                       double* cells, RowFault& fault);

}  // namespace quorva
