// The parse tree of an equation and the parsed equation itself.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "Equation/EqnFunc.h"
#include "Equation/EqnProgram.h"

namespace quorva {

// A named constant: a number, or a state of some variable.
struct EqnConst {
  std::string name;
  double value;      // the value, or for a state constant the state index
  EqnType type;      // Boolean, Integer, Real, Numeric or State
};

// The built-in named constants: "pi", "deg", "Infinity", "true", "false".
const EqnConst* findBuiltinConst(std::string_view name);

// How a variable's value in the value vector becomes its value in an expression.
enum class VarUse : uint8_t {
  Value,     // as it stands (a real value, or a state index)
  Level,     // a discrete variable with levels: the level of its state
  Interval,  // "#" before a discretized continuous variable: the index of its interval
};

// One node of the tree.  Each node owns its children.
struct EqnExpr {
  enum class Kind : uint8_t { Number, Constant, Variable, Function };

  Kind kind = Kind::Number;
  EqnType type = EqnType::None;
  VarUse use = VarUse::Value;
  double value = 0;                 // a number
  std::string units;                // a number's units ("state" for a state index literal)
  const EqnConst* constant = nullptr;
  int var = -1;                     // a variable: its index in the equation's variables
  bool hash = false;                // a variable written after "#"
  const struct EqnVar* info = nullptr;  // a variable: its description (owned by the Equation)
  const EqnFunc* func = nullptr;    // a function expression
  std::vector<std::unique_ptr<EqnExpr>> args;

  bool isNum() const { return kind == Kind::Number; }
  bool isConst() const { return kind == Kind::Constant; }
  bool isVar() const { return kind == Kind::Variable; }
  bool isFuncExpr() const { return kind == Kind::Function; }
};

// A variable as the parser sees it.
struct EqnVar {
  std::string name;
  bool continuous = false;
  int numStates = 0;
  std::vector<std::string> stateNames;  // empty: none
  std::vector<double> levels;           // one per state, or numStates + 1 thresholds, or none

  bool hasStateNames() const { return !stateNames.empty(); }
  bool hasLevels() const { return !continuous && levels.size() == static_cast<size_t>(numStates) && numStates > 0; }
  bool discretized() const { return continuous && levels.size() >= 2; }
};

// For a two-state variable whose state names read as truth values: the index of its true state,
// or -1.
int booleanTrueState(const EqnVar& v);

struct Equation {
  std::string output;                  // the output variable's name
  std::vector<std::string> inputs;     // as written in the head, in order
  std::vector<EqnVar> vars;            // the variables by index: the head's names, then the output
  std::unique_ptr<EqnExpr> root;
  bool probabilistic = false;
  bool upperP = false;                 // the head began with "P"
  int numBeforeBar = 0;                // probabilistic: variables before "|"
  int numCumulative = 0;               // probabilistic: variables preceded by "<"
  // Deterministic with a boolean expression for a two-state output: the state meaning true.
  int boolTrueState = -1;
  // Deterministic for a discrete output with levels and a numeric expression: the value selects
  // the output state whose level it equals.
  bool selectsByLevel = false;
  // Probabilistic for a boolean output not named on the right: the expression is the
  // probability of this state (its complement that of the other).
  int probOfState = -1;
  // Named constants the equation refers to that were added while parsing.
  std::vector<std::unique_ptr<EqnConst>> ownConsts;
  // The root flattened for evaluation (made by the parser; empty: the tree is evaluated).
  EqnProgram program;

  int outputIndex() const { return static_cast<int>(vars.size()) - 1; }
};

}  // namespace quorva
