// The type checks made while parsing, and the result type of each function expression.
#include <algorithm>

#include "Equation/EqnParserImpl.h"

namespace quorva {

namespace {
bool isNumeric(EqnType t) { return t == EqnType::Integer || t == EqnType::Real || t == EqnType::Numeric; }

// The common type of two values that may stand in the same place.
EqnType join(EqnType a, EqnType b) {
  if (a == b) return a;
  if (isNumeric(a) && isNumeric(b)) return (a == EqnType::Real || b == EqnType::Real) ? EqnType::Real : EqnType::Numeric;
  return EqnType::Any;
}
}  // namespace

void EqnParserImpl::setResultType(EqnExpr& e) const {
  const EqnFunc& f = *e.func;
  EqnType t = f.result;
  if (t == EqnType::Numeric && !e.args.empty()) {
    // Arithmetic keeps whole numbers whole: integer when every argument is.
    bool allInt = std::all_of(e.args.begin(), e.args.end(), [](const auto& a) { return a->type == EqnType::Integer; });
    bool anyReal = std::any_of(e.args.begin(), e.args.end(), [](const auto& a) { return a->type == EqnType::Real; });
    t = allInt ? EqnType::Integer : anyReal ? EqnType::Real : EqnType::Numeric;
  } else if (t == EqnType::Any && e.args.size() >= 2) {
    // "if" and the selections: the common type of the values they may give.
    t = e.args[1]->type;
    for (size_t i = 2; i < e.args.size(); ++i) t = join(t, e.args[i]->type);
  }
  e.type = t;
}

// A variable may stand for a truth value when it has two states (warning unless they are named
// as truth values).
bool EqnParserImpl::acceptsBooleanVar(const EqnFunc& f, const EqnExpr& arg) {
  if (!arg.isVar() || arg.info->continuous) return false;
  const EqnVar& v = *arg.info;
  if (v.numStates != 2) rd_.fail(err::EqnBoolVarStates, v.name, f.name, v.numStates);
  if (booleanTrueState(v) < 0) rd_.warn(err::EqnBoolVarNames, v.name, f.name);
  return true;
}

void EqnParserImpl::checkOperatorArg(const EqnFunc& f, const EqnExpr& arg, int i) {
  EqnType need = f.argType(i);
  if (eqnTypeAccepts(need, arg.type)) return;
  if (need == EqnType::Boolean && acceptsBooleanVar(f, arg)) return;
  const char* needName = eqnTypeName(need);
  const char* has = eqnTypeName(arg.type);
  if (f.prefix) rd_.fail(err::EqnOpArgType, f.symbol, needName, has);
  if (i == 0) rd_.fail(err::EqnOpFirstArgType, f.symbol, needName, has);
  rd_.fail(err::EqnOpNthArgType, ordinalWord(i + 1), f.symbol, needName, has);
}

// Arguments of one "any" group (the two sides of "==", the branches of "?:") must be comparable.
void EqnParserImpl::checkOperatorCompat(const EqnFunc& f, const EqnExpr& a, const EqnExpr& b, int i) {
  if (f.argType(i) != EqnType::Any) return;
  if (!eqnTypesCompatible(a.type, b.type))
    rd_.fail(err::EqnOpArgCompat, ordinalWord(i + 1), f.symbol, eqnTypeName(b.type), eqnTypeName(a.type));
  if (f.special == SPECIAL_IF || !a.isVar() || !b.isVar()) return;
  bool namedA = a.info->hasStateNames(), namedB = b.info->hasStateNames();
  if (namedA != namedB) rd_.warn(err::EqnNamedToUnnamed, a.info->name, b.info->name);
}

void EqnParserImpl::checkCallArgs(const EqnFunc& f, const EqnExpr& call) {
  const EqnExpr* firstAny = nullptr;
  for (size_t i = 0; i < call.args.size(); ++i) {
    const EqnExpr& arg = *call.args[i];
    int n = static_cast<int>(i);
    EqnType need = f.argType(n);
    if (need == EqnType::Any) {
      // The values of one function's "any" arguments are compared or chosen among: one kind.
      if (f.mixedArgs) continue;
      if (!firstAny) {
        firstAny = &arg;
      } else if (!eqnTypesCompatible(firstAny->type, arg.type)) {
        rd_.fail(err::EqnFuncArgCompat, ordinalWord(n + 1), f.name, eqnTypeName(arg.type),
                 eqnTypeName(firstAny->type));
      }
      continue;
    }
    if (eqnTypeAccepts(need, arg.type)) continue;
    if (need == EqnType::Boolean && acceptsBooleanVar(f, arg)) continue;
    rd_.fail(err::EqnFuncArgType, ordinalWord(n + 1), f.name, eqnTypeName(need), eqnTypeName(arg.type));
  }
}

}  // namespace quorva
