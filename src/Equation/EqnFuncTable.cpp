// The operators, the type rules, and the one table of built-in functions joined from its sections.
#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>
#include <vector>

#include "Equation/EqnFuncDefs.h"

namespace quorva {

const char* eqnTypeName(EqnType t) {
  static const char* const names[] = {"none", "boolean", "state", "integer", "real", "numeric", "any"};
  return names[static_cast<int>(t)];
}

static bool isNumericType(EqnType t) {
  return t == EqnType::Integer || t == EqnType::Real || t == EqnType::Numeric;
}

bool eqnTypeAccepts(EqnType required, EqnType actual) {
  if (required == EqnType::Any || actual == EqnType::Any) return true;
  switch (required) {
    case EqnType::Numeric:
    case EqnType::Real:
      return isNumericType(actual);
    case EqnType::Integer:
      return actual == EqnType::Integer || actual == EqnType::Numeric;
    default:
      return required == actual;
  }
}

bool eqnTypesCompatible(EqnType a, EqnType b) {
  if (a == b || a == EqnType::Any || b == EqnType::Any) return true;
  if (isNumericType(a) && isNumericType(b)) return true;
  // A state index may be compared with a whole number, and a truth value with 0 or 1.
  auto pair = [&](EqnType x, EqnType y) { return (a == x && b == y) || (a == y && b == x); };
  return pair(EqnType::State, EqnType::Integer) || pair(EqnType::Boolean, EqnType::Integer);
}

namespace eqnfn {
namespace {

// An operator: symbol, precedence, grouping.
constexpr EqnFunc op(const char* name, const char* sym, int prec, int n, T result, T first, T rest,
                     EqnEvalFn eval, bool assoc = false, bool comm = false, bool left = true,
                     uint8_t special = SPECIAL_NONE) {
  return EqnFunc{name, n, result, first, rest, sym, "", prec, left, assoc, comm, false, special,
                 eval, nullptr, false};
}
constexpr EqnFunc prefixOp(const char* name, const char* sym, T type, EqnEvalFn eval) {
  return EqnFunc{name, 1, type, type, type, sym, "", 2000, true, false, false, true, SPECIAL_NONE,
                 eval, nullptr, false};
}

double fNeg(const double* a, int, EvalContext&) { return -a[0]; }
double fNot(const double* a, int, EvalContext&) { return a[0] == 0 ? 1 : 0; }
double fEqual(const double* a, int, EvalContext&) { return a[0] == a[1] ? 1 : 0; }
double fNotEqual(const double* a, int, EvalContext&) { return a[0] != a[1] ? 1 : 0; }
double fLess(const double* a, int, EvalContext&) { return a[0] < a[1] ? 1 : 0; }
double fGreater(const double* a, int, EvalContext&) { return a[0] > a[1] ? 1 : 0; }
double fLessEq(const double* a, int, EvalContext&) { return a[0] <= a[1] ? 1 : 0; }
double fGreaterEq(const double* a, int, EvalContext&) { return a[0] >= a[1] ? 1 : 0; }

double fApproxEq(const double* a, int, EvalContext&) {
  if (a[0] == 0 && a[1] == 0) return 1;
  if ((a[0] < 0) != (a[1] < 0)) return 0;
  double x = std::fabs(a[0]), y = std::fabs(a[1]);
  return std::min(x, y) / std::max(x, y) >= 0.99998 ? 1 : 0;
}

double fPlus(const double* a, int n, EvalContext&) {
  double s = 0;
  for (int i = 0; i < n; ++i) s += a[i];
  return s;
}
double fMinus(const double* a, int, EvalContext&) { return a[0] - a[1]; }
double fMult(const double* a, int n, EvalContext&) {
  double p = 1;
  for (int i = 0; i < n; ++i) {
    if (a[i] == 0) return 0;  // even beside an infinite factor
    p *= a[i];
  }
  return p;
}
double fDiv(const double* a, int, EvalContext&) {
  if (a[1] == 0) return a[0] == 0 ? 0 : nan();
  return a[0] / a[1];
}
double fMod(const double* a, int, EvalContext&) {
  return a[1] == 0 ? 0 : a[0] - std::floor(a[0] / a[1]) * a[1];
}
double fRem(const double* a, int, EvalContext&) { return a[1] == 0 ? 0 : std::fmod(a[0], a[1]); }
double fPower(const double* a, int, EvalContext&) {
  if (a[0] == 0 && a[1] == 0) return nan();
  return std::pow(a[0], a[1]);
}
// The special forms are evaluated by the evaluator itself; these routines give the same answer
// once every argument is known.
double fAnd(const double* a, int n, EvalContext&) {
  for (int i = 0; i < n; ++i)
    if (a[i] == 0) return 0;
  return 1;
}
double fOr(const double* a, int n, EvalContext&) {
  for (int i = 0; i < n; ++i)
    if (a[i] != 0) return 1;
  return 0;
}
double fIf(const double* a, int, EvalContext&) { return truth(a[0]) ? a[1] : a[2]; }

constexpr T B = T::Boolean, N = T::Numeric, R = T::Real, I = T::Integer, A = T::Any;

constexpr EqnFunc operators[] = {
    EqnFunc{"if", 3, A, B, A, "?", ":", 700, false, false, false, false, SPECIAL_IF, fIf, nullptr,
            false},
    op("or", "||", 800, VARIABLE_ARGS, B, B, B, fOr, true, true, true, SPECIAL_OR),
    op("and", "&&", 900, VARIABLE_ARGS, B, B, B, fAnd, true, true, true, SPECIAL_AND),
    op("equal", "==", 1200, 2, B, A, A, fEqual, false, true),
    op("not_equal", "!=", 1200, 2, B, A, A, fNotEqual, false, true),
    op("less", "<", 1300, 2, B, N, N, fLess),
    op("greater", ">", 1300, 2, B, N, N, fGreater),
    op("less_eq", "<=", 1300, 2, B, N, N, fLessEq),
    op("greater_eq", ">=", 1300, 2, B, N, N, fGreaterEq),
    op("approx_eq", "~=", 1300, 2, B, R, R, fApproxEq, false, true),
    op("plus", "+", 1500, VARIABLE_ARGS, N, N, N, fPlus, true, true),
    op("minus", "-", 1500, 2, N, N, N, fMinus),
    op("mult", "*", 1600, VARIABLE_ARGS, N, N, N, fMult, true, true),
    op("div", "/", 1600, 2, R, R, R, fDiv),
    op("rem", "%", 1600, 2, I, I, I, fRem),
    op("mod", "%%", 1600, 2, I, I, I, fMod),
    op("power", "^", 1700, 2, N, N, N, fPower, false, false, false),
    prefixOp("neg", "-", N, fNeg),
    prefixOp("not", "!", B, fNot),
    fn("pow", 2, N, N, N, fPower),
};

}  // namespace

std::span<const EqnFunc> operatorSection() { return operators; }

}  // namespace eqnfn

namespace {

struct FuncTable {
  std::vector<EqnFunc> records;
  std::unordered_map<std::string_view, const EqnFunc*> byName, prefix, infix;

  FuncTable() {
    for (auto section : {eqnfn::operatorSection(), eqnfn::mathSection(),
                         eqnfn::distributionSection(), eqnfn::noisySection(),
                         eqnfn::randomSection()})
      records.insert(records.end(), section.begin(), section.end());
    for (const EqnFunc& f : records) {
      byName.emplace(f.name, &f);
      if (!f.isOperator()) continue;
      (f.prefix ? prefix : infix).emplace(f.symbol, &f);
    }
  }
};

const FuncTable& table() {
  static const FuncTable t;
  return t;
}

const EqnFunc* find(const std::unordered_map<std::string_view, const EqnFunc*>& m,
                    std::string_view key) {
  auto it = m.find(key);
  return it == m.end() ? nullptr : it->second;
}

}  // namespace

const EqnFunc* findEqnFunc(std::string_view name) { return find(table().byName, name); }
const EqnFunc* findPrefixOperator(std::string_view s) { return find(table().prefix, s); }
const EqnFunc* findInfixOperator(std::string_view s) { return find(table().infix, s); }
const EqnFunc* eqnFuncBegin() { return table().records.data(); }
const EqnFunc* eqnFuncEnd() { return table().records.data() + table().records.size(); }

}  // namespace quorva
