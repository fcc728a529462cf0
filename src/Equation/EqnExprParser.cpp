// Parsing expressions: operands, operators by precedence climbing, and function calls.
#include <algorithm>
#include <cctype>
#include <cmath>

#include "Equation/EqnParserImpl.h"

namespace quorva {

namespace {
using ExprPtr = std::unique_ptr<EqnExpr>;

bool isNameStart(int c) { return c != TokenReader::END && (std::isalpha(c) || c == '_'); }
bool isDigit(int c) { return c != TokenReader::END && std::isdigit(c); }
bool isPunct(int c) {
  return c != TokenReader::END && c > 32 && c < 127 && !std::isalnum(c) && c != '_';
}
bool endsOperand(int c) { return c == TokenReader::END || c == ')' || c == ',' || c == ';'; }

ExprPtr makeFunc(const EqnFunc* f) {
  auto e = std::make_unique<EqnExpr>();
  e->kind = EqnExpr::Kind::Function;
  e->func = f;
  return e;
}
}  // namespace

int EqnParserImpl::findVar(const std::string& name) const {
  for (size_t i = 0; i < eq_.vars.size(); ++i)
    if (eq_.vars[i].name == name) return static_cast<int>(i);
  return -1;
}

void EqnParserImpl::takeChars(size_t n) {
  for (size_t i = 0; i < n; ++i) rd_.readChar();
}

// The operator token that stands next, not taken: a run of punctuation ended by "(", ")", "," or
// anything else; a trailing "-", "." or "#" of a longer run belongs to the operand after it.
std::string EqnParserImpl::peekOperator() {
  std::string op;
  for (size_t i = 0; i + 1 < TokenReader::MAX_LOOKAHEAD && op.size() < 30; ++i) {
    int c = rd_.peek(i);
    if (!isPunct(c) || c == '(' || c == ')' || c == ',') break;
    op += static_cast<char>(c);
  }
  while (op.size() > 1 && (op.back() == '-' || op.back() == '.' || op.back() == '#')) op.pop_back();
  return op;
}

ExprPtr EqnParserImpl::parseExpr(int min, int ctx) {
  if (endsOperand(rd_.skipSpace())) return nullptr;
  ExprPtr lhs = parseOperand(ctx);
  return parseInfix(std::move(lhs), min, ctx);
}

ExprPtr EqnParserImpl::parseInfix(ExprPtr lhs, int min, int ctx) {
  EqnExpr* chain = nullptr;  // the associative node this loop is extending
  for (;;) {
    int c = rd_.skipSpace();
    if (endsOperand(c)) return lhs;
    std::string tok = peekOperator();
    // What is not an operator ends the expression; the caller decides whether it may stand there.
    if (tok.empty() || tok == ":") return lhs;
    const EqnFunc* f = findInfixOperator(tok);
    if (!f) rd_.fail(err::EqnUnexpectedChar, tok);
    if (f->precedence < min || (f->precedence == min && f->leftGroup)) return lhs;
    takeChars(tok.size());
    if (f->special == SPECIAL_IF) {
      lhs = parseConditional(std::move(lhs), f, ctx);
      chain = nullptr;
      continue;
    }
    int rightCtx = lhs->isVar() && eq_.vars[lhs->var].hasStateNames() ? lhs->var : ctx;
    ExprPtr rhs = parseExpr(f->precedence, rightCtx);
    if (!rhs) rd_.fail(err::EqnOpMissingArg, ordinalWord(chain ? static_cast<int>(chain->args.size()) + 1 : 2), f->symbol);
    if (chain && chain->func == f) {
      checkOperatorArg(*f, *rhs, static_cast<int>(chain->args.size()));
      chain->args.push_back(std::move(rhs));
      setResultType(*chain);
      continue;
    }
    ExprPtr node = makeFunc(f);
    checkOperatorArg(*f, *lhs, 0);
    checkOperatorArg(*f, *rhs, 1);
    checkOperatorCompat(*f, *lhs, *rhs, 1);
    node->args.push_back(std::move(lhs));
    node->args.push_back(std::move(rhs));
    setResultType(*node);
    chain = f->associative ? node.get() : nullptr;
    lhs = std::move(node);
  }
}

// cond "?" a ":" b, the branches resolved against the outer context; groups to the right.
ExprPtr EqnParserImpl::parseConditional(ExprPtr cond, const EqnFunc* f, int ctx) {
  ExprPtr yes = parseExpr(0, ctx);
  if (!yes) rd_.fail(err::EqnOpMissingArg, ordinalWord(2), f->symbol);
  rd_.skipSpace();
  if (!rd_.readPunct(':')) rd_.fail(err::EqnMissingSecondSymbol, f->symbol2, f->symbol);
  ExprPtr no = parseExpr(f->precedence, ctx);
  if (!no) rd_.fail(err::EqnOpMissingArg, ordinalWord(3), f->symbol);
  checkOperatorArg(*f, *cond, 0);
  checkOperatorCompat(*f, *yes, *no, 2);
  ExprPtr node = makeFunc(f);
  node->args.push_back(std::move(cond));
  node->args.push_back(std::move(yes));
  node->args.push_back(std::move(no));
  setResultType(*node);
  return node;
}

ExprPtr EqnParserImpl::parseOperand(int ctx) {
  int c = rd_.skipSpace();
  if (c == '(') {
    rd_.readChar();
    if (rd_.skipSpace() == ')') rd_.fail(err::EqnUnexpectedClose);
    ExprPtr inner = parseExpr(0, ctx);
    if (!inner) rd_.fail(err::EqnMissingClose);
    int close = rd_.skipSpace();
    if (close == TokenReader::END) rd_.fail(err::EqnMissingClose);
    if (close != ')') rd_.fail(err::EqnUnexpectedChar, std::string(1, static_cast<char>(close)));
    rd_.readChar();
    return inner;
  }
  if (c == ')') rd_.fail(err::EqnUnexpectedClose);
  bool hash = c == '#';
  if (hash) {
    rd_.readChar();
    c = rd_.skipSpace();
  }
  int c1 = rd_.peek(1), c2 = rd_.peek(2);
  if (isDigit(c) || c == '@' || ((c == '-' || c == '.') && isDigit(c1)) ||
      (c == '-' && c1 == '.' && isDigit(c2)))
    return parseNumber(hash);
  if (isNameStart(c)) return parseName(hash, ctx);
  if (hash) rd_.fail(err::EqnUnexpectedChar, std::string("#"));
  return parsePrefix(ctx);
}

ExprPtr EqnParserImpl::parsePrefix(int ctx) {
  std::string tok = peekOperator();
  if (tok.empty()) {
    if (rd_.atEnd()) rd_.fail(err::EqnMissingEnd);
    rd_.fail(err::EqnUnexpectedChar, std::string(1, static_cast<char>(rd_.peek())));
  }
  const EqnFunc* f = findPrefixOperator(tok);
  if (!f) {
    // A run such as "!-" holds the prefix operator and what follows it.
    f = findPrefixOperator(tok.substr(0, 1));
    if (!f) rd_.fail(err::EqnUnexpectedChar, tok);
    tok.resize(1);
  }
  takeChars(tok.size());
  ExprPtr operand = parseExpr(f->precedence, ctx);
  if (!operand) rd_.fail(err::EqnOpArgMissing, f->symbol);
  checkOperatorArg(*f, *operand, 0);
  ExprPtr node = makeFunc(f);
  node->args.push_back(std::move(operand));
  setResultType(*node);
  return node;
}

ExprPtr EqnParserImpl::parseNumber(bool hash) {
  Number n;
  rd_.readNumber(n);
  auto e = std::make_unique<EqnExpr>();
  e->value = n.escape.empty() ? n.value : eqnUndefined();
  // Units: a known unit name right after the number (not a call).
  int c = rd_.skipSpace();
  if (isNameStart(c)) {
    std::string word;
    size_t i = 0;
    for (int p = rd_.peek(i); i + 1 < TokenReader::MAX_LOOKAHEAD && (std::isalnum(p) || p == '_');
         p = rd_.peek(++i))
      word += static_cast<char>(p);
    if (isEqnUnit(word) && rd_.peek(i) != '(') {
      takeChars(word.size());
      e->units = word;
    }
  }
  bool whole = std::isfinite(e->value) && e->value == std::floor(e->value);
  if (hash) {
    if (!whole) rd_.fail(err::EqnHashNotInteger, e->value);
    if (!e->units.empty()) rd_.fail(err::EqnHashUnits, e->value, e->units);
    e->units = "state";
  }
  e->type = e->units == "state" ? EqnType::State
            : !n.escape.empty() ? EqnType::Numeric
            : whole             ? EqnType::Integer
                                : EqnType::Real;
  return e;
}

ExprPtr EqnParserImpl::stateConst(const std::string& name, int index) {
  eq_.ownConsts.push_back(std::make_unique<EqnConst>(EqnConst{name, static_cast<double>(index), EqnType::State}));
  auto e = std::make_unique<EqnExpr>();
  e->kind = EqnExpr::Kind::Constant;
  e->constant = eq_.ownConsts.back().get();
  e->type = EqnType::State;
  return e;
}

ExprPtr EqnParserImpl::parseName(bool hash, int ctx) {
  std::string name = rd_.readIdentifier();
  int c = rd_.skipSpace();
  if (c == '(') {
    if (hash) rd_.fail(err::EqnHashFunction, name);
    rd_.readChar();
    return parseCall(name, ctx);
  }
  if (c == '-' && rd_.peek(1) == '-' && isNameStart(rd_.peek(2))) return parseStateOfVar(name);
  int var = findVar(name);
  if (var >= 0) return parseVariable(var, hash);
  if (ctx >= 0) {
    const auto& names = eq_.vars[ctx].stateNames;
    auto it = std::find(names.begin(), names.end(), name);
    if (it != names.end()) return stateConst(name, static_cast<int>(it - names.begin()));
  }
  const EqnConst* k = hash ? nullptr : findBuiltinConst(name);
  if (!k && !hash && src_.constants) {
    for (const auto& own : *src_.constants)
      if (own->name == name) k = own.get();
    if (!k && src_.addUnknownConsts) {
      src_.constants->push_back(std::make_unique<EqnConst>(EqnConst{name, eqnUndefined(), EqnType::Numeric}));
      k = src_.constants->back().get();
    }
  }
  if (!k)
    rd_.fail(err::EqnUnknownName, name,
             hash ? " (was trying to interpret it as a state name, since it is preceeded by #)" : "");
  auto e = std::make_unique<EqnExpr>();
  e->kind = EqnExpr::Kind::Constant;
  e->constant = k;
  e->type = k->type;
  return e;
}

// State--Variable: a state of the named variable, as its index.
ExprPtr EqnParserImpl::parseStateOfVar(const std::string& state) {
  takeChars(2);
  std::string varName = rd_.readIdentifier();
  int var = findVar(varName);
  if (var < 0) rd_.fail(err::EqnStateUnknownVar, state, varName, varName);
  const auto& names = eq_.vars[var].stateNames;
  auto it = std::find(names.begin(), names.end(), state);
  if (it == names.end()) rd_.fail(err::EqnStateNotOfVar, state, varName, state, varName);
  auto e = std::make_unique<EqnExpr>();
  e->value = static_cast<double>(it - names.begin());
  e->units = "state";
  e->type = EqnType::State;
  return e;
}

ExprPtr EqnParserImpl::parseVariable(int index, bool hash) {
  const EqnVar& v = eq_.vars[index];
  if (index == eq_.outputIndex() && !eq_.probabilistic) rd_.fail(err::EqnOutputOnRight, v.name);
  auto e = std::make_unique<EqnExpr>();
  e->kind = EqnExpr::Kind::Variable;
  e->var = index;
  e->hash = hash;
  if (v.continuous) {
    if (hash && !v.discretized()) rd_.fail(err::EqnHashNotDiscretized, v.name);
    e->use = hash ? VarUse::Interval : VarUse::Value;
    e->type = hash ? EqnType::Integer : EqnType::Real;
  } else if (v.hasLevels() && !hash) {
    e->use = VarUse::Level;
    e->type = EqnType::Real;
  } else {
    e->type = v.hasStateNames() || hash ? EqnType::State : EqnType::Integer;
  }
  e->info = &v;
  return e;
}

ExprPtr EqnParserImpl::parseCall(const std::string& name, int ctx) {
  const EqnFunc* f = findEqnFunc(name);
  if (!f) rd_.fail(err::EqnUnknownFunction, name);
  ExprPtr call = makeFunc(f);
  if (rd_.skipSpace() == ')') {
    rd_.readChar();
  } else {
    for (;;) {
      // A variable with state names as first argument resolves the state names after it.
      int argCtx = ctx;
      if (!call->args.empty() && call->args[0]->isVar() && eq_.vars[call->args[0]->var].hasStateNames())
        argCtx = call->args[0]->var;
      ExprPtr arg = parseExpr(0, argCtx);
      if (!arg) {
        int c = rd_.skipSpace();
        if (c == ',' || c == ')') rd_.fail(err::EqnMissingFuncArg, ordinalWord(static_cast<int>(call->args.size()) + 1), name);
        rd_.fail(err::EqnMalformedCall, name);
      }
      call->args.push_back(std::move(arg));
      int c = rd_.skipSpace();
      if (c == ',') {
        rd_.readChar();
        continue;
      }
      if (c != ')') rd_.fail(err::EqnMalformedCall, name);
      rd_.readChar();
      break;
    }
  }
  int n = static_cast<int>(call->args.size());
  if (f->numArgs >= 0 && n > f->numArgs) rd_.fail(err::EqnTooManyArgs, name, f->numArgs);
  if (f->numArgs >= 0 && n < f->numArgs) rd_.fail(err::EqnTooFewArgs, name, f->numArgs, n);
  checkCallArgs(*f, *call);
  if (f->special == SPECIAL_NOISY_MAX_TABLE || f->special == SPECIAL_NOISY_SUM_TABLE) checkTableFunc(*f, *call);
  setResultType(*call);
  return call;
}

}  // namespace quorva
