// Flattening an expression tree into a register program.
#include "Equation/EqnProgram.h"

#include <algorithm>
#include <limits>

#include "Equation/EqnExpr.h"

namespace quorva {

namespace {

// The instruction that replaces a call of `f` with `n` arguments (Call when none does).
EqnOp::Code callCode(const EqnFunc& f, size_t n) {
  static const EqnFunc* const plus = findEqnFunc("plus");
  static const EqnFunc* const minus = findEqnFunc("minus");
  static const EqnFunc* const mult = findEqnFunc("mult");
  static const EqnFunc* const div = findEqnFunc("div");
  static const EqnFunc* const neg = findEqnFunc("neg");
  static const EqnFunc* const normal = findEqnFunc("NormalDist");
  if (&f == plus && n == 2) return EqnOp::Add;
  if (&f == minus && n == 2) return EqnOp::Sub;
  if (&f == mult && n == 2) return EqnOp::Mul;
  if (&f == div && n == 2) return EqnOp::Div;
  if (&f == neg && n == 1) return EqnOp::Neg;
  if (&f == normal && n == 3) return EqnOp::Normal;
  return EqnOp::Call;
}

// Whether a call is evaluated by its own tree (the forms that leave arguments unevaluated).
bool staysTree(const EqnFunc& f) {
  return f.special != SPECIAL_NONE && f.special != SPECIAL_NOISY_MAX_TABLE &&
         f.special != SPECIAL_NOISY_SUM_TABLE;
}

// Leaves the evaluator passes to a function unchecked: numbers and variables read as they stand.
bool isPlainVar(const EqnExpr& e) { return e.isVar() && e.use == VarUse::Value; }
bool isPlainLeaf(const EqnExpr& e) { return e.isNum() || isPlainVar(e); }

class Flattener {
 public:
  explicit Flattener(const EqnExpr& root) {
    scan(root);
    next_ = p.numVars + numNumbers_;
  }

  EqnProgram p;

  // Emits `e`; returns the register that holds its value, `want` when that is not -1.
  int emit(const EqnExpr& e, int want) {
    int at;
    if (e.isNum()) {
      at = p.numVars + static_cast<int>(p.numbers.size());
      p.numbers.push_back(e.value);
    } else if (isPlainVar(e)) {
      at = e.var;
    } else if (!e.isFuncExpr() || staysTree(*e.func) || e.args.size() > std::numeric_limits<uint16_t>::max()) {
      EqnOp op;
      op.code = EqnOp::Tree;
      op.dst = want >= 0 ? want : fresh(1);
      op.expr = &e;
      p.ops.push_back(op);
      return op.dst;
    } else {
      return emitCall(e, want);
    }
    if (want < 0 || want == at) return at;
    EqnOp move;
    move.dst = want;
    move.a = at;
    p.ops.push_back(move);
    return want;
  }

 private:
  int numNumbers_ = 0, next_ = 0;

  // The variables and numbers the program loads.
  void scan(const EqnExpr& e) {
    if (e.isNum()) ++numNumbers_;
    if (isPlainVar(e)) p.numVars = std::max(p.numVars, e.var + 1);
    for (const auto& a : e.args) scan(*a);
  }
  int fresh(int n) {
    int at = next_;
    next_ += n;
    p.numRegs = std::max(p.numRegs, next_);
    return at;
  }

  // The arguments, each but the plain leaves followed by a check, then the call.  A call that is
  // not one instruction gets its arguments in consecutive registers.
  int emitCall(const EqnExpr& e, int want) {
    size_t n = e.args.size();
    EqnOp call;
    call.code = callCode(*e.func, n);
    call.count = static_cast<uint16_t>(n);
    call.expr = &e;
    call.func = e.func;
    int base = call.code == EqnOp::Call ? fresh(static_cast<int>(n)) : -1;
    call.dst = want >= 0 ? want : n > 0 && base >= 0 ? base : fresh(1);
    std::vector<size_t> checks;
    int32_t* operands[3] = {&call.a, &call.b, &call.c};
    for (size_t i = 0; i < n; ++i) {
      int at = emit(*e.args[i], base >= 0 ? base + static_cast<int>(i) : -1);
      if (base < 0) *operands[i] = at;
      if (isPlainLeaf(*e.args[i])) continue;
      EqnOp check;
      check.code = EqnOp::Check;
      check.dst = call.dst;
      check.a = at;
      checks.push_back(p.ops.size());
      p.ops.push_back(check);
    }
    if (base >= 0) call.a = base;
    p.ops.push_back(call);
    for (size_t at : checks) p.ops[at].next = static_cast<int32_t>(p.ops.size());
    return call.dst;
  }
};

}  // namespace

EqnProgram compileEqnProgram(const EqnExpr& root) {
  Flattener f(root);
  int result = f.emit(root, -1);
  f.p.numRegs = std::max(f.p.numRegs, f.p.numVars + static_cast<int>(f.p.numbers.size()));
  if (f.p.numRegs > EqnProgram::MAX_REGS) return {};
  f.p.result = result;
  return std::move(f.p);
}

}  // namespace quorva
