// Value types of equation expressions, the special values of evaluation, and the record of one
// built-in function or operator (EqnFunc).  The records form one read-only table (EqnFuncTable.cpp)
// from which lookup, argument counts and types, printing and evaluation all come.
#pragma once
#include <cstdint>
#include <cstring>
#include <string_view>

namespace quorva {

class EnvCore;
class RandomGen;
struct EqnExpr;

enum class EqnType : uint8_t { None, Boolean, State, Integer, Real, Numeric, Any };
const char* eqnTypeName(EqnType t);  // "none", "boolean", ... "any"

// Whether a value of type `actual` may stand where `required` is asked for.
bool eqnTypeAccepts(EqnType required, EqnType actual);
// Whether two arguments of one "any" group may be compared with each other.
bool eqnTypesCompatible(EqnType a, EqnType b);

// The undefined value (printed "undef") and the invalid result (what a function gives outside its
// domain): two NaNs with payloads of their own, told apart by their bits.
inline constexpr uint64_t UNDEF_BITS = 0x7FF8'0000'0000'0000ULL;      // the engine's undefined double
inline constexpr uint64_t INVALID_BITS = 0x7FF8'1BAD'0000'0001ULL;
inline constexpr uint64_t NOT_EVALUATED_BITS = 0x7FF8'1BAD'0000'0002ULL;
inline double bitsToDouble(uint64_t b) {
  double d;
  std::memcpy(&d, &b, sizeof d);
  return d;
}
inline uint64_t doubleBits(double d) {
  uint64_t b;
  std::memcpy(&b, &d, sizeof b);
  return b;
}
inline double eqnInvalid() { return bitsToDouble(INVALID_BITS); }
inline double eqnUndefined() { return bitsToDouble(UNDEF_BITS); }
inline double eqnNotEvaluated() { return bitsToDouble(NOT_EVALUATED_BITS); }
inline bool isEqnInvalid(double x) { return doubleBits(x) == INVALID_BITS; }
inline bool isEqnNotEvaluated(double x) { return doubleBits(x) == NOT_EVALUATED_BITS; }
// Any NaN other than the invalid result and the not-evaluated marker counts as undefined.
inline bool isEqnUndefined(double x) { return x != x && !isEqnInvalid(x) && !isEqnNotEvaluated(x); }

// What an evaluation draws on: the environment that records its errors (may be null: nothing is
// recorded) and the random generator of the randomized functions (null: they give the invalid
// result).  `call` is the function expression whose routine is running (set by the evaluator just
// before the call): the table functions read their causes' numbers of states from it.
struct EvalContext {
  EnvCore* env = nullptr;
  RandomGen* rng = nullptr;
  const EqnExpr* call = nullptr;
};

// An evaluation routine: `n` argument values in `a`.  A result outside the domain is the invalid
// result or any NaN (the evaluator turns it into the invalid result).
using EqnEvalFn = double (*)(const double* a, int n, EvalContext& ctx);
// A cumulative routine of a continuous distribution: the probability of a value at or below
// a[0] given the parameters a[1..n-1].
using EqnCdfFn = double (*)(const double* a, int n);

// Codes of the functions that need special parsing or evaluation.
enum EqnSpecial : uint8_t {
  SPECIAL_NONE = 0,
  SPECIAL_AND = 1,
  SPECIAL_OR = 2,
  SPECIAL_IF = 3,
  SPECIAL_SELECT0 = 4,
  SPECIAL_SELECT1 = 5,
  SPECIAL_NEAREST0 = 6,
  SPECIAL_NEAREST1 = 7,
  SPECIAL_DISCRETIZE = 8,
  SPECIAL_MEMBER = 9,
  SPECIAL_INCREASING = 10,
  SPECIAL_NONDECREASING = 11,
  SPECIAL_AS_STATE = 12,  // "AsState": evaluating it is an error
  // Tables of probabilities written out as arguments, checked as they are parsed.
  SPECIAL_NOISY_MAX_TABLE = 13,
  SPECIAL_NOISY_SUM_TABLE = 14,
};

inline constexpr int VARIABLE_ARGS = -1;

struct EqnFunc {
  const char* name;
  int numArgs;         // a count, or VARIABLE_ARGS
  EqnType result;
  EqnType firstArg;    // the type of the first argument
  EqnType restArgs;    // the type of every further argument
  const char* symbol;  // operator symbol, "" for a plain function
  const char* symbol2; // ":" for the conditional, else ""
  int precedence;      // 0 for a plain function
  bool leftGroup;
  bool associative;
  bool commutative;
  bool prefix;         // a prefix operator ("-", "!")
  uint8_t special;     // EqnSpecial
  EqnEvalFn eval;
  EqnCdfFn cdf;        // null unless a continuous distribution
  bool randomized;
  bool mixedArgs = false;  // "any" arguments of different kinds (not compared with each other)

  bool isOperator() const { return symbol[0] != 0; }
  EqnType argType(int i) const { return i == 0 ? firstArg : restArgs; }
};

// The built-in table, built once and never changed.
const EqnFunc* findEqnFunc(std::string_view name);       // a function by name (operators too)
const EqnFunc* findPrefixOperator(std::string_view symbol);
const EqnFunc* findInfixOperator(std::string_view symbol);
// Every record, for listing and tests.
const EqnFunc* eqnFuncBegin();
const EqnFunc* eqnFuncEnd();

}  // namespace quorva
