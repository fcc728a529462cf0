// Building rows of a table from an equation: the parents' values of each row (drawn inside their
// intervals for continuous parents), then the equation's value or the probability of each state.
#include "BN/Tables/EquationRows.h"

#include <cmath>

#include "BN/Net/Bnode.h"
#include "BN/Tables/IntervalSample.h"
#include "Equation/EqnEval.h"

namespace quorva {

namespace {

class RowBuilder {
 public:
  RowBuilder(const EqnTablePlan& plan, RandomGen* rng, EvalContext& ctx, RowFault& fault)
      : p_(plan), eq_(*plan.eq), rng_(rng), ctx_(ctx), fault_(fault),
        out_(eq_.outputIndex()), values_(eq_.vars.size(), eqnUndefined()), ps_(plan.dims.size()) {
    if (p_.outMode == EqnOutMode::Cdf) {
      cdfArgs_.resize(eq_.root->args.size());
      cum_.resize(p_.nodeBounds->size());
    }
  }

  bool build(size_t begin, size_t end, double* cells) {
    for (size_t k = 0; k < ps_.size(); ++k) ps_[k] = static_cast<int>(begin / p_.strides[k] % p_.dims[k]);
    const size_t len = p_.rowLength();
    for (size_t r = begin; r < end; ++r, cells += len) {
      row_ = r;
      for (int s = 0; s < p_.samples; ++s) {
        setParents();
        if (!(eq_.probabilistic ? probabilities(cells) : value(cells))) return false;
      }
      if (p_.kind == EqnTableKind::FuncReal && p_.samples > 1) cells[0] /= p_.samples;
      for (size_t k = ps_.size(); k-- > 0;) {  // the last parent runs fastest
        if (++ps_[k] < p_.dims[k]) break;
        ps_[k] = 0;
      }
    }
    return true;
  }

 private:
  void setParents() {
    for (size_t v = 0; v < p_.varParent.size(); ++v) {
      const int k = p_.varParent[v];
      if (const std::vector<double>* b = p_.parentBounds[k]) {
        double w;
        values_[v] = sampleInInterval(*b, ps_[k], *rng_, &w);
      } else {
        values_[v] = ps_[k];
      }
    }
  }

  bool fail(RowFault::Kind kind, double value, int state = -1) {
    fault_.kind = kind;
    fault_.row = row_;
    fault_.value = value;
    fault_.state = state;
    fault_.values = values_;
    return false;
  }

  bool evalFault(double v, int state = -1) {
    return fail(isEqnInvalid(v) ? RowFault::Eval : RowFault::Undefined, v, state);
  }

  // The state a deterministic value selects for a discrete node.
  bool discreteState(double v, int& state) {
    state = equationOutputState(eq_, v);
    if (state >= 0) return true;
    if (eq_.selectsByLevel) return fail(RowFault::NotALevel, v);
    if (v != std::floor(v)) return fail(RowFault::NotInteger, v);
    return fail(v < 0 ? RowFault::Negative : RowFault::TooHigh, v);
  }

  bool value(double* row) {
    const double v = evalEquation(eq_, values_.data(), ctx_);
    if (v != v) return evalFault(v);
    int state = 0;
    switch (p_.kind) {
      case EqnTableKind::FuncReal:
        row[0] += v;
        return true;
      case EqnTableKind::FuncState:
        if (!discreteState(v, state)) return false;
        row[0] = state;
        return true;
      default:
        if (p_.continuousNode) {
          state = intervalOf(*p_.nodeBounds, v);
          if (state < 0) return fail(RowFault::Outside, v);
        } else if (!discreteState(v, state)) {
          return false;
        }
        row[state] += 1;
        return true;
    }
  }

  bool put(double* row, int state, double prob) {
    if (!std::isfinite(prob)) return fail(RowFault::Undefined, prob, state);
    if (prob < 0) return fail(RowFault::NegativeProb, prob, state);
    if (p_.sampling)
      row[state] += prob;
    else
      row[state] = prob;
    return true;
  }

  bool probabilities(double* row) {
    switch (p_.outMode) {
      case EqnOutMode::BooleanPair: {
        const double v = evalEquation(eq_, values_.data(), ctx_);
        if (v != v) return evalFault(v);
        return put(row, eq_.probOfState, v) && put(row, 1 - eq_.probOfState, 1 - v);
      }
      case EqnOutMode::Cdf:
        return cumulative(row);
      case EqnOutMode::Sampled:
        for (int j = 0; j < p_.states; ++j) {
          double w;
          values_[out_] = sampleInInterval(*p_.nodeBounds, j, *rng_, &w);
          const double v = evalEquation(eq_, values_.data(), ctx_);
          if (v != v) return evalFault(v, j);
          if (!put(row, j, v * w)) return false;
        }
        return true;
      case EqnOutMode::Index:
        break;
    }
    for (int j = 0; j < p_.states; ++j) {
      values_[out_] = j;
      const double v = evalEquation(eq_, values_.data(), ctx_);
      if (v != v) return evalFault(v, j);
      if (!put(row, j, v)) return false;
    }
    return true;
  }

  // The distribution's parameters are evaluated once; each boundary's cumulative value once.
  bool cumulative(double* row) {
    const EqnExpr& root = *eq_.root;
    const std::vector<double>& b = *p_.nodeBounds;
    bool ok = true;
    for (size_t i = 1; i < root.args.size() && ok; ++i) {
      cdfArgs_[i] = evalExpr(*root.args[i], values_.data(), ctx_);
      ok = cdfArgs_[i] == cdfArgs_[i];
    }
    const int n = static_cast<int>(root.args.size());
    const bool rising = b.back() > b.front();
    for (size_t i = 0; i < b.size() && ok; ++i) {
      if (std::isinf(b[i])) {
        cum_[i] = b[i] < 0 ? 0.0 : 1.0;
      } else if (rising && i > 0 && cum_[i - 1] >= 1) {
        cum_[i] = 1;  // the rest of the mass lies below
      } else {
        cdfArgs_[0] = b[i];
        cum_[i] = root.func->cdf(cdfArgs_.data(), n);
        ok = cum_[i] == cum_[i];
      }
    }
    if (!ok) {
      // The density has the same domain: evaluating it at a bound records what is wrong.
      values_[out_] = std::isinf(b[0]) ? b[1] : b[0];
      const double v = evalEquation(eq_, values_.data(), ctx_);
      return evalFault(v != v ? v : eqnUndefined());
    }
    for (int j = 0; j < p_.states; ++j)
      if (!put(row, j, std::fabs(cum_[j + 1] - cum_[j]))) return false;
    return true;
  }

  const EqnTablePlan& p_;
  const Equation& eq_;
  RandomGen* rng_;
  EvalContext& ctx_;
  RowFault& fault_;
  const int out_;
  std::vector<double> values_;
  std::vector<int> ps_;
  std::vector<double> cdfArgs_, cum_;
  size_t row_ = 0;
};

}  // namespace

bool buildEquationRows(const EqnTablePlan& plan, size_t begin, size_t end, RandomGen* rng, EvalContext& ctx,
                       double* cells, RowFault& fault) {
  return RowBuilder(plan, rng, ctx, fault).build(begin, end, cells);
}

}  // namespace quorva
