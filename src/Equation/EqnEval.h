// Evaluating a parsed equation for given values of its variables.
//
// Values are doubles: a truth value is 1 or 0, a state its index.  A function outside its domain
// gives the invalid result (isEqnInvalid) and records "error evaluating function" in the
// context's environment; an argument that is the invalid result makes the whole expression
// invalid without a second record.  Up to 10 arguments per call are kept on the stack, so an
// evaluation allocates nothing in the usual case.
#pragma once
#include "Equation/EqnExpr.h"

namespace quorva {

// The value of `e`; `values` holds one entry per variable of its equation (a continuous
// variable's value, or a discrete variable's state index).
double evalExpr(const EqnExpr& e, const double* values, EvalContext& ctx);

// The value of a flattened expression: the same value and the same error records as evalExpr
// of the tree it was made from.
double runEqnProgram(const EqnProgram& p, const double* values, EvalContext& ctx);

// The value of the equation's expression (its program when it has one).
inline double evalEquation(const Equation& eq, const double* values, EvalContext& ctx) {
  return eq.program.empty() ? evalExpr(*eq.root, values, ctx) : runEqnProgram(eq.program, values, ctx);
}

// For a deterministic equation of a discrete output: the state its value selects (a truth value
// mapped to the true or false state, a level to the state having it, else the value as an index),
// or -1 when the value selects none.
int equationOutputState(const Equation& eq, double value);

// The arguments of a failed call as they are listed in "error evaluating function" (at most 8,
// "undef" for the undefined value, "*" for one not evaluated, "..." when there are more).
std::string describeEvalArgs(const double* a, int n);

}  // namespace quorva
