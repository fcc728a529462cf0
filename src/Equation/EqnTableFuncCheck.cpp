// The checks made while parsing a noisy-max or noisy-sum table function: its probabilities are
// numbers written out, its causes variables, and the blocks of probabilities complete.
//   NoisyMaxTableDist (Out, k, leak_0 ... leak_k-1, Cause1, k probabilities per state of Cause1, ...)
//   NoisySumTableDist: the same layout, over continuous discretized causes.
#include <cmath>

#include "Equation/EqnFuncDefs.h"
#include "Equation/EqnParserImpl.h"

namespace quorva {

namespace {

// A cause or the output of a table function stands for its state (or interval) index.
void useAsStateIndex(EqnExpr& e) {
  if (!e.isVar()) return;
  if (!e.info->continuous) {
    e.use = VarUse::Value;
    e.type = EqnType::State;
  } else if (e.info->discretized()) {
    e.use = VarUse::Interval;
    e.type = EqnType::Integer;
  }
}

}  // namespace

// The probabilities args[at .. at + k - 1]: numbers in [0, 1] whose sum is 1 (noisy-max) or not
// above 1 (noisy-sum).
void EqnParserImpl::checkTableVector(const EqnFunc& f, const EqnExpr& call, size_t at, int k) {
  if (at + static_cast<size_t>(k) > call.args.size()) rd_.fail(err::TableMissingArgs, f.name);
  double sum = 0;
  for (size_t i = at; i < at + static_cast<size_t>(k); ++i) {
    const EqnExpr& p = *call.args[i];
    std::string ord = ordinalWord(static_cast<int>(i) + 1);
    if (!p.isNum()) rd_.fail(err::TableArgNotNumber, ord, f.name);
    if (!(p.value >= 0 && p.value <= 1)) rd_.fail(err::TableArgNotProb, ord, f.name, p.value);
    sum += p.value;
  }
  if (f.special == SPECIAL_NOISY_MAX_TABLE && std::fabs(sum - 1) > eqnfn::PROB_SUM_TOLERANCE)
    rd_.fail(err::TableMaxSum, f.name, sum);
  if (f.special == SPECIAL_NOISY_SUM_TABLE && sum > 1 + eqnfn::PROB_SUM_TOLERANCE)
    rd_.fail(err::TableSumSum, f.name, sum);
}

// The cause at args[at]: its number of states (or intervals).
int EqnParserImpl::checkTableCause(const EqnFunc& f, EqnExpr& cause, size_t at) {
  std::string ord = ordinalWord(static_cast<int>(at) + 1);
  if (!cause.isVar()) rd_.fail(err::TableArgNotVariable, ord, f.name);
  const EqnVar& v = *cause.info;
  if (f.special == SPECIAL_NOISY_SUM_TABLE && !v.continuous)
    rd_.fail(err::TableCauseNotContinuous, v.name, ord, f.name);
  if (v.continuous && !v.discretized()) rd_.fail(err::TableCauseContinuous, v.name, ord, f.name);
  useAsStateIndex(cause);
  return v.continuous ? static_cast<int>(v.levels.size()) - 1 : v.numStates;
}

void EqnParserImpl::checkTableFunc(const EqnFunc& f, EqnExpr& call) {
  if (call.args.size() < 2) rd_.fail(err::TableMissingArgs, f.name);
  useAsStateIndex(*call.args[0]);
  const EqnExpr& k = *call.args[1];
  if (!k.isNum()) rd_.fail(err::TableArgNotNumber, ordinalWord(2), f.name);
  if (k.value != std::floor(k.value) || !std::isfinite(k.value)) rd_.fail(err::TableArgNotInteger, ordinalWord(2), f.name);
  const EqnVar& out = src_.output;
  int states = out.numStates;
  if (k.value != states) rd_.fail(err::TableArgNotOutputStates, ordinalWord(2), f.name, k.value, states);
  checkTableVector(f, call, 2, states);
  for (size_t i = 2 + static_cast<size_t>(states); i < call.args.size();) {
    int m = checkTableCause(f, *call.args[i], i);
    ++i;
    for (int j = 0; j < m; ++j, i += static_cast<size_t>(states)) checkTableVector(f, call, i, states);
  }
}

}  // namespace quorva
