// Printing a parsed equation back as text.
#include <string>

#include "Equation/EqnParser.h"

namespace quorva {

namespace {

bool inOperatorForm(const EqnExpr& e) {
  if (!e.isFuncExpr() || !e.func->isOperator()) return false;
  return e.func->prefix ? e.args.size() == 1 : e.args.size() >= 2;
}

// Whether `e`, the operand at `pos` of operator `parent`, needs parentheses.
bool needsParens(const EqnExpr& e, const EqnFunc* parent, size_t pos) {
  if (!parent || !inOperatorForm(e)) return false;
  const EqnFunc& f = *e.func;
  if (f.precedence > parent->precedence) return false;
  if (&f == parent && f.associative) return false;
  // A chain that groups to the left reads without parentheses on its left.
  if (f.precedence == parent->precedence && parent->leftGroup && pos == 0) return false;
  return true;
}

void print(const Equation& eq, const EqnExpr& e, const EqnFunc* parent, size_t pos, std::string& out);

void printOperator(const Equation& eq, const EqnExpr& e, std::string& out) {
  const EqnFunc& f = *e.func;
  if (f.prefix) {
    out += f.symbol;
    // "- 2" is the negation of 2, where "-2" would read back as the number -2.
    if (e.args[0]->isNum()) out += ' ';
    print(eq, *e.args[0], &f, 0, out);
    return;
  }
  for (size_t i = 0; i < e.args.size(); ++i) {
    if (i > 0) {
      out += ' ';
      out += (i == 2 && f.symbol2[0]) ? f.symbol2 : f.symbol;
      out += ' ';
    }
    print(eq, *e.args[i], &f, i, out);
  }
}

void print(const Equation& eq, const EqnExpr& e, const EqnFunc* parent, size_t pos, std::string& out) {
  switch (e.kind) {
    case EqnExpr::Kind::Number:
      out += formatEqnNumber(e.value);
      if (!e.units.empty()) out += " " + e.units;
      return;
    case EqnExpr::Kind::Constant:
      out += e.constant->name;
      return;
    case EqnExpr::Kind::Variable:
      if (e.hash) out += '#';
      out += eq.vars[e.var].name;
      return;
    case EqnExpr::Kind::Function:
      break;
  }
  if (inOperatorForm(e)) {
    bool parens = needsParens(e, parent, pos);
    if (parens) out += '(';
    printOperator(eq, e, out);
    if (parens) out += ')';
    return;
  }
  out += e.func->name;
  out += " (";
  for (size_t i = 0; i < e.args.size(); ++i) {
    if (i > 0) out += ", ";
    print(eq, *e.args[i], nullptr, i, out);
  }
  out += ')';
}

std::string printHead(const Equation& eq) {
  std::string out;
  if (!eq.probabilistic) {
    out = eq.output + " (";
    for (size_t i = 0; i < eq.inputs.size(); ++i) out += (i ? ", " : "") + eq.inputs[i];
    return out + ") = ";
  }
  out = "P(";
  for (size_t i = 0; i < eq.inputs.size(); ++i) {
    int k = static_cast<int>(i);
    if (k == eq.numBeforeBar && k > 0)
      out += " | ";
    else if (i > 0)
      out += ", ";
    if (k < eq.numCumulative) out += '<';
    out += eq.inputs[i];
  }
  return out + ") = ";
}

}  // namespace

std::string printExpr(const Equation& eq, const EqnExpr& e) {
  std::string out;
  print(eq, e, nullptr, 0, out);
  return out;
}

std::string printEquation(const Equation& eq) {
  std::string out = printHead(eq);
  if (eq.root) print(eq, *eq.root, nullptr, 0, out);
  return out;
}

}  // namespace quorva
