// The evaluator: numbers, constants, variables, function calls and their special forms.
#include "Equation/EqnEval.h"

#include <cmath>
#include <vector>

#include "Basic/Raise.h"
#include "Equation/EqnErrors.h"
#include "Equation/EqnFuncDefs.h"

namespace quorva {

namespace {

constexpr int STACK_ARGS = 10;

double varValue(const EqnExpr& e, const double* values) {
  double x = values[e.var];
  if (e.use == VarUse::Value) return x;
  const std::vector<double>& lv = e.info->levels;
  if (e.use == VarUse::Level) {
    if (!(x >= 0 && x < static_cast<double>(lv.size())) || x != std::floor(x)) return eqnInvalid();
    return lv[static_cast<size_t>(x)];
  }
  // The interval of the discretization holding x: thresholds t0 < t1 < ... < tn.
  for (size_t i = 0; i + 1 < lv.size(); ++i)
    if (x >= lv[i] && (x < lv[i + 1] || (i + 2 == lv.size() && x == lv[i + 1]))) return static_cast<double>(i);
  return eqnInvalid();
}

void report(EvalContext& ctx, const EqnFunc& f, const double* a, int n) {
  if (!ctx.env) return;
  raiseRecord(ctx.env, SOUND_AND_PRINTED, ERROR_SEV, 0, -err::EqnEvalFailed.number,
              format(err::EqnEvalFailed.text, f.name, describeEvalArgs(a, n)));
}

// Evaluates the special forms, which leave some arguments unevaluated.  Returns false when `f`
// is an ordinary function.
bool evalSpecial(const EqnExpr& e, const double* values, EvalContext& ctx, double* a, int n, double& out) {
  const EqnFunc& f = *e.func;
  auto arg = [&](int i) { return a[i] = evalExpr(*e.args[i], values, ctx); };
  switch (f.special) {
    case SPECIAL_AND:
    case SPECIAL_OR: {
      bool isAnd = f.special == SPECIAL_AND;
      out = isAnd ? 1 : 0;
      for (int i = 0; i < n; ++i) {
        double v = arg(i);
        if (isEqnInvalid(v)) return out = v, true;
        if (isEqnUndefined(v)) return out = eqnInvalid(), report(ctx, f, a, n), true;
        if ((v == 0) == isAnd) return out = isAnd ? 0 : 1, true;
      }
      return true;
    }
    case SPECIAL_IF: {
      double c = arg(0);
      if (isEqnInvalid(c)) return out = c, true;
      if (isEqnUndefined(c)) return out = eqnInvalid(), report(ctx, f, a, n), true;
      out = arg(c != 0 ? 1 : 2);
      return true;
    }
    case SPECIAL_SELECT0:
    case SPECIAL_SELECT1: {
      if (n == 0) return out = eqnInvalid(), report(ctx, f, a, n), true;
      double i = arg(0);
      if (isEqnInvalid(i)) return out = i, true;
      double pos = f.special == SPECIAL_SELECT0 ? i + 1 : i;
      if (!(pos >= 1 && pos < n) || pos != std::floor(pos)) return out = eqnInvalid(), report(ctx, f, a, n), true;
      out = arg(static_cast<int>(pos));
      return true;
    }
    case SPECIAL_MEMBER: {
      for (int i = 0; i < n; ++i) {
        if (isEqnInvalid(arg(i))) return out = a[i], true;
        if (i > 0 && f.eval(a, i + 1, ctx) == 1) return out = 1, true;
      }
      out = n > 0 ? 0 : eqnInvalid();
      if (n == 0) report(ctx, f, a, n);
      return true;
    }
    case SPECIAL_AS_STATE:
      if (ctx.env)
        raiseRecord(ctx.env, SOUND_AND_PRINTED, ERROR_SEV, 0, -err::EqnAsStateEvaluated.number,
                    err::EqnAsStateEvaluated.text);
      out = eqnInvalid();
      return true;
    default:
      return false;
  }
}

double evalCall(const EqnExpr& e, const double* values, EvalContext& ctx, double* a) {
  const EqnFunc& f = *e.func;
  int n = static_cast<int>(e.args.size());
  double out;
  if (f.special != SPECIAL_NONE) {
    for (int i = 0; i < n; ++i) a[i] = eqnNotEvaluated();
    if (evalSpecial(e, values, ctx, a, n, out)) return out;
  }
  for (int i = 0; i < n; ++i) {
    const EqnExpr& arg = *e.args[i];
    // Numbers and plain variables, the usual leaves, without a call.
    if (arg.kind == EqnExpr::Kind::Number) {
      a[i] = arg.value;
      continue;
    }
    if (arg.kind == EqnExpr::Kind::Variable && arg.use == VarUse::Value) {
      a[i] = values[arg.var];
      continue;
    }
    a[i] = evalExpr(arg, values, ctx);
    if (isEqnInvalid(a[i])) return a[i];
  }
  ctx.call = &e;
  out = f.eval(a, n, ctx);
  if (out != out) {
    report(ctx, f, a, n);
    return eqnInvalid();
  }
  return out;
}

// A result that is not a number: reported with the arguments, and the invalid result.
double failed(EvalContext& ctx, const EqnFunc& f, const double* a, int n) {
  report(ctx, f, a, n);
  return eqnInvalid();
}

}  // namespace

double runEqnProgram(const EqnProgram& p, const double* values, EvalContext& ctx) {
  double r[EqnProgram::MAX_REGS];
  // A few values each: plain loops, not a library copy.
  for (int i = 0; i < p.numVars; ++i) r[i] = values[i];
  const double* nums = p.numbers.data();
  for (size_t i = 0, n = p.numbers.size(); i < n; ++i) r[p.numVars + static_cast<int>(i)] = nums[i];
  const EqnOp* begin = p.ops.data();
  const EqnOp* end = begin + p.ops.size();
  for (const EqnOp* op = begin; op != end; ++op) {
    double x = 0;
    switch (op->code) {
      case EqnOp::Move:
        r[op->dst] = r[op->a];
        continue;
      case EqnOp::Tree:
        r[op->dst] = evalExpr(*op->expr, values, ctx);
        continue;
      case EqnOp::Check:
        // An invalid argument is the call's result: the call and its other arguments are skipped.
        if (isEqnInvalid(r[op->a])) {
          r[op->dst] = r[op->a];
          op = begin + op->next - 1;
        }
        continue;
      case EqnOp::Call:
        ctx.call = op->expr;
        x = op->func->eval(r + op->a, op->count, ctx);
        r[op->dst] = x == x ? x : failed(ctx, *op->func, r + op->a, op->count);
        continue;
      case EqnOp::Add:
        x = r[op->a] + r[op->b];
        break;
      case EqnOp::Sub:
        x = r[op->a] - r[op->b];
        break;
      case EqnOp::Mul:
        x = r[op->a] == 0 || r[op->b] == 0 ? 0 : r[op->a] * r[op->b];  // 0 even beside an infinite factor
        break;
      case EqnOp::Div:
        x = r[op->b] != 0 ? r[op->a] / r[op->b] : r[op->a] == 0 ? 0 : eqnInvalid();
        break;
      case EqnOp::Neg:
        x = -r[op->a];
        break;
      case EqnOp::Normal:
        x = eqnfn::normalDensity(r[op->a], r[op->b], r[op->c]);
        break;
    }
    if (x != x) {
      double args[3] = {r[op->a], r[op->b], r[op->c]};
      x = failed(ctx, *op->func, args, op->count);
    }
    r[op->dst] = x;
  }
  return r[p.result];
}

std::string describeEvalArgs(const double* a, int n) {
  std::string s;
  for (int i = 0; i < n && i < 8; ++i) {
    if (isEqnNotEvaluated(a[i]))
      s += "*, ";
    else if (isEqnUndefined(a[i]))
      s += "undef, ";
    else
      s += format("%g, ", a[i]);
  }
  if (n > 8) s += "..., ";
  if (s.size() >= 2) s.resize(s.size() - 2);
  return s;
}

double evalExpr(const EqnExpr& e, const double* values, EvalContext& ctx) {
  switch (e.kind) {
    case EqnExpr::Kind::Number:
      return e.value;
    case EqnExpr::Kind::Constant:
      if (isEqnUndefined(e.constant->value)) {
        if (ctx.env)
          raiseRecord(ctx.env, SOUND_AND_PRINTED, ERROR_SEV, 0, -err::EqnUndefinedValue.number,
                      format(err::EqnUndefinedValue.text, e.constant->name));
        return eqnInvalid();
      }
      return e.constant->value;
    case EqnExpr::Kind::Variable:
      return varValue(e, values);
    case EqnExpr::Kind::Function:
      break;
  }
  size_t n = e.args.size();
  if (n <= STACK_ARGS) {
    double a[STACK_ARGS];
    return evalCall(e, values, ctx, a);
  }
  std::vector<double> a(n);
  return evalCall(e, values, ctx, a.data());
}

int equationOutputState(const Equation& eq, double value) {
  if (value != value) return -1;
  if (eq.boolTrueState >= 0) return value != 0 ? eq.boolTrueState : 1 - eq.boolTrueState;
  const EqnVar& out = eq.vars.back();
  if (eq.selectsByLevel) {
    for (size_t i = 0; i < out.levels.size(); ++i)
      if (out.levels[i] == value) return static_cast<int>(i);
    return -1;
  }
  if (value != std::floor(value) || value < 0 || value >= out.numStates) return -1;
  return static_cast<int>(value);
}

}  // namespace quorva
