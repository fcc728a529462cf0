// An expression flattened into a program of three-address instructions over a small register
// file, evaluated without recursion (EqnEval.cpp runs it).  The registers hold, in order, the
// values of the variables, the numbers of the expression, and the intermediate results.  The
// common operators and the normal density are single instructions reading their operands where
// they lie; the special forms ("and", "if", "select0", ...), constants and variables read by
// level or interval stay trees that one instruction evaluates.
#pragma once
#include <cstdint>
#include <vector>

namespace quorva {

struct EqnExpr;
struct EqnFunc;

struct EqnOp {
  enum Code : uint8_t {
    Move,    // r[dst] = r[a]
    Tree,    // r[dst] = the value of the subtree expr
    Check,   // if r[a] is the invalid result: r[dst] = it, and go on at instruction `next`
    Call,    // r[dst] = func (r[a] ... r[a + count - 1])
    Add,     // r[dst] = r[a] + r[b]: the two-argument plus, and likewise minus, mult, div
    Sub,
    Mul,
    Div,
    Neg,     // r[dst] = -r[a]
    Normal,  // r[dst] = NormalDist (r[a], r[b], r[c])
  };
  Code code = Move;
  uint16_t count = 0;
  int32_t dst = 0, a = 0, b = 0, c = 0;
  int32_t next = 0;
  const EqnExpr* expr = nullptr;  // Tree: the subtree; else the function expression
  const EqnFunc* func = nullptr;
};

struct EqnProgram {
  // The most registers a program may use; a larger expression is not flattened.
  static constexpr int MAX_REGS = 128;
  std::vector<EqnOp> ops;
  std::vector<double> numbers;  // loaded after the variables
  int numVars = 0;              // variables loaded: those before the numbers
  int numRegs = 0;
  int result = -1;              // the register holding the value; -1: not flattened

  bool empty() const { return result < 0; }
};

// The program of an expression (empty when it would need more than MAX_REGS registers).  It
// points into the tree, which must outlive it.
EqnProgram compileEqnProgram(const EqnExpr& root);

}  // namespace quorva
