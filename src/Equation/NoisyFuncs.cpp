// The noisy distributions of equations: noisy-or and noisy-and over truth values, noisy-or with
// several output states, and the noisy-max and noisy-sum tables whose probabilities are written
// out as arguments.  Their argument layouts are listed in include/Quorva.h beside the equation
// functions.
#include <algorithm>
#include <cmath>

#include "Equation/EqnExpr.h"
#include "Equation/EqnFuncDefs.h"

namespace quorva::eqnfn {
namespace {

using Ctx = EvalContext;

bool probability(double p) { return p >= 0 && p <= 1; }

// output, leak, cause1, p1, cause2, p2, ...: the probability of the output's truth value when
// each true cause makes it true with its probability, and the leak makes it true by itself.
double noisyOr(const double* a, int n, Ctx& c) {
  if (n < 2) return argFault(c, err::NoisyOrFewArgs);
  if (n % 2 == 1) return argFault(c, err::NoisyOrOddArgs);
  if (!probability(a[1])) return nan();
  double pFalse = 1 - a[1];
  for (int i = 2; i + 1 < n; i += 2) {
    if (!probability(a[i + 1])) return nan();
    if (truth(a[i])) pFalse *= 1 - a[i + 1];
  }
  return truth(a[0]) ? 1 - pFalse : pFalse;
}
// output, leak, cause1, p1, ...: the dual of noisyOr: each false cause makes the output false with
// its probability, and the leak makes it false by itself.
double noisyAnd(const double* a, int n, Ctx& c) {
  if (n < 2) return argFault(c, err::NoisyAndFewArgs);
  if (n % 2 == 1) return argFault(c, err::NoisyAndOddArgs);
  if (!probability(a[1])) return nan();
  double pTrue = 1 - a[1];
  for (int i = 2; i + 1 < n; i += 2) {
    if (!probability(a[i + 1])) return nan();
    if (!truth(a[i])) pTrue *= 1 - a[i + 1];
  }
  return truth(a[0]) ? pTrue : 1 - pTrue;
}

// The checks of NoisyOrMultiDist's arguments before any is used: k is num_states.
double noisyOrMultiFault(const double* a, int n, int k, Ctx& c) {
  for (int i = 2; i < 3 + k; ++i)
    if (!probability(a[i])) return argFault(c, err::NoisyOrMultiProb, ordinalWord(i + 1), a[i]);
  for (int j = 3 + k; j + 2 < n; j += 3) {
    double p = a[j + 1], s = a[j + 2];
    if (!probability(p)) return argFault(c, err::NoisyOrMultiProb, ordinalWord(j + 2), p);
    if (s == 0) return argFault(c, err::NoisyOrMultiStateZero, ordinalWord(j + 3));
    if (!isWhole(s) || s < 1 || s > k) return argFault(c, err::NoisyOrMultiStateRange, ordinalWord(j + 3), s);
  }
  return 0;
}

// output, num_states, leak_0 ... leak_k, then clauses (condition, probability, state): the output
// has states 0 (normal) to k = num_states.  The leak alone gives state s with probability leak_s;
// each clause whose condition is true independently triggers its state with its probability; the
// output is the highest state given or triggered.  So
//   P(output <= s) = (leak_0 + ... + leak_s) * product over true clauses of state > s of (1 - p).
double noisyOrMulti(const double* a, int n, Ctx& c) {
  if (n < 3) return argFault(c, err::NoisyOrMultiFewArgs);
  if (!(a[1] >= 1)) return argFault(c, err::NoisyOrMultiNumStates, a[1]);
  if (!isWhole(a[1])) return nan();
  if (n - 2 < a[1] + 1) {
    int leaks = static_cast<int>(a[1]) + 1;
    return argFault(c, err::NoisyOrMultiLeaks, leaks, leaks);
  }
  int k = static_cast<int>(a[1]);
  int rest = (n - 3 - k) % 3;
  if (rest != 0) return argFault(c, err::NoisyOrMultiClause, rest == 1 ? "probability and state" : "state");
  if (noisyOrMultiFault(a, n, k, c) != 0) return nan();
  double x = a[0];
  if (!isWhole(x) || x < 0 || x > k) return 0;
  auto atOrBelow = [&](int s) {
    double p = 0;
    for (int i = 0; i <= s; ++i) p += a[2 + i];
    for (int j = 3 + k; j + 2 < n; j += 3)
      if (truth(a[j]) && a[j + 2] > s) p *= 1 - a[j + 1];
    return p;
  };
  int s = static_cast<int>(x);
  return atOrBelow(s) - (s > 0 ? atOrBelow(s - 1) : 0);
}

// The number of states a cause of a table function has: its states, or its intervals.
int causeStates(const EqnVar& v) {
  return v.continuous ? static_cast<int>(v.levels.size()) - 1 : v.numStates;
}

// Sum of the first m entries of a probability vector.
double partialSum(const double* v, int m) {
  double s = 0;
  for (int i = 0; i < m; ++i) s += v[i];
  return s;
}

// output, k, leak_0 ... leak_k-1, then per cause: the cause and one vector of k probabilities for
// each of its states (the first state first).  The leak gives output state s with probability
// leak_s; a cause in state j gives s with the probability in its j-th vector; the output is the
// highest state given, so P(output <= s) is the product of the vectors' sums up to s.  The
// layout of the causes comes from the call (their numbers of states), which the parser checked.
double noisyMaxTable(const double* a, int n, Ctx& c) {
  const EqnExpr* call = c.call;
  if (n < 2 || !call || call->args.size() != static_cast<size_t>(n)) return argFault(c, err::NoisyMaxArgCount);
  if (!(a[1] >= 1)) return argFault(c, err::NoisyMaxNumStates, a[1] >= -1e9 ? static_cast<int>(a[1]) : 0);
  if (!isWhole(a[1]) || 2 + a[1] > n) return argFault(c, err::NoisyMaxArgCount);
  int k = static_cast<int>(a[1]);
  double x = a[0];
  int s = isWhole(x) && x >= 0 && x < k ? static_cast<int>(x) : -1;
  // The chance of the output at or below s, and at or below s - 1.
  double upTo = 1, below = 1;
  auto factor = [&](const double* v) {
    if (std::fabs(partialSum(v, k) - 1) > PROB_SUM_TOLERANCE) return false;
    if (s >= 0) upTo *= partialSum(v, s + 1), below *= partialSum(v, s);
    return true;
  };
  if (!factor(a + 2)) return argFault(c, err::NoisyMaxVectorSum);
  for (int i = 2 + k; i < n;) {
    const EqnExpr& cause = *call->args[static_cast<size_t>(i)];
    int m = cause.isVar() ? causeStates(*cause.info) : 0;
    if (m < 1 || i + 1 + m * k > n) return argFault(c, err::NoisyMaxArgCount);
    for (int j = 0; j < m; ++j)
      if (std::fabs(partialSum(a + i + 1 + j * k, k) - 1) > PROB_SUM_TOLERANCE) return argFault(c, err::NoisyMaxVectorSum);
    double state = a[i];
    if (!isWhole(state) || state < 0 || state >= m) return nan();
    factor(a + i + 1 + static_cast<int>(state) * k);
    i += 1 + m * k;
  }
  return s < 0 ? 0 : upTo - below;
}

// Noisy sums need the discretization of the sum, which only the conversion to a table has.
double noisySumTable(const double*, int, Ctx& c) { return argFault(c, err::NoisySumNotDirect); }

constexpr T R = T::Real, A = T::Any;
constexpr EqnFunc noisy[] = {
    mixed(fn("NoisyOrDist", VARIABLE_ARGS, R, A, A, noisyOr)),
    mixed(fn("NoisyAndDist", VARIABLE_ARGS, R, A, A, noisyAnd)),
    mixed(fn("NoisyOrMultiDist", VARIABLE_ARGS, R, A, A, noisyOrMulti)),
    mixed(fn("NoisyMaxTableDist", VARIABLE_ARGS, R, A, A, noisyMaxTable, SPECIAL_NOISY_MAX_TABLE)),
    mixed(fn("NoisySumTableDist", VARIABLE_ARGS, R, A, A, noisySumTable, SPECIAL_NOISY_SUM_TABLE)),
};

}  // namespace

std::span<const EqnFunc> noisySection() { return noisy; }

}  // namespace quorva::eqnfn
