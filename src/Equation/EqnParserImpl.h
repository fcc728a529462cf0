// The parser's internals, shared by the files that implement it: EqnParser.cpp (the two heads),
// EqnExprParser.cpp (expressions and calls) and EqnTypeCheck.cpp (the type checks).
#pragma once
#include <memory>
#include <string>

#include "Basic/TokenReader.h"
#include "Equation/EqnErrors.h"
#include "Equation/EqnParser.h"

namespace quorva {

// "first" ... "sixth", then "7th" and so on.
std::string ordinalWord(int n);

class EqnParserImpl {
 public:
  EqnParserImpl(TokenReader& rd, const EqnSource& src, Equation& eq) : rd_(rd), src_(src), eq_(eq) {}
  void parse();

 private:
  using ExprPtr = std::unique_ptr<EqnExpr>;

  // Heads (EqnParser.cpp).
  void parseDeterministic(const std::string& name);
  void parseProbabilistic(const std::string& name);
  void readProbHead(std::vector<std::string>& names);
  void addProbName(std::vector<std::string>& names, bool cdf, bool bar, bool& seenPlain);
  void checkNoRandomized();
  void typeDeterministicResult();
  void typeProbabilisticResult();
  void expectEnd();
  const EqnVar* findCandidate(const std::string& name) const;

  // Expressions (EqnExprParser.cpp).
  ExprPtr parseExpr(int min, int ctx);
  ExprPtr parseInfix(ExprPtr lhs, int min, int ctx);
  ExprPtr parseOperand(int ctx);
  ExprPtr parseNumber(bool hash);
  ExprPtr parseName(bool hash, int ctx);
  ExprPtr parseStateOfVar(const std::string& state);
  ExprPtr parseVariable(int index, bool hash);
  ExprPtr parseCall(const std::string& name, int ctx);
  ExprPtr parsePrefix(int ctx);
  ExprPtr parseConditional(ExprPtr cond, const EqnFunc* f, int ctx);
  std::string peekOperator();
  void takeChars(size_t n);
  int findVar(const std::string& name) const;
  ExprPtr stateConst(const std::string& name, int index);

  // Types (EqnTypeCheck.cpp).
  void checkOperatorArg(const EqnFunc& f, const EqnExpr& arg, int i);
  void checkOperatorCompat(const EqnFunc& f, const EqnExpr& a, const EqnExpr& b, int i);
  void checkCallArgs(const EqnFunc& f, const EqnExpr& call);
  bool acceptsBooleanVar(const EqnFunc& f, const EqnExpr& arg);
  void setResultType(EqnExpr& e) const;

  // Table functions (EqnTableFuncCheck.cpp).
  void checkTableFunc(const EqnFunc& f, EqnExpr& call);
  void checkTableVector(const EqnFunc& f, const EqnExpr& call, size_t at, int k);
  int checkTableCause(const EqnFunc& f, EqnExpr& cause, size_t at);

  TokenReader& rd_;
  const EqnSource& src_;
  Equation& eq_;
};

}  // namespace quorva
