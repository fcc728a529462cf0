// The parser: tree shapes, printing, every parse message, and warnings.
#include "EqnFixture.h"

using namespace quorva;

namespace {

// The tree in function form: plus(a,mult(b,2)).
std::string shape(const Equation& eq, const EqnExpr& e) {
  switch (e.kind) {
    case EqnExpr::Kind::Number:
      return formatEqnNumber(e.value) + (e.units.empty() ? "" : " " + e.units);
    case EqnExpr::Kind::Constant:
      return e.constant->name;
    case EqnExpr::Kind::Variable:
      return (e.hash ? "#" : "") + eq.vars[e.var].name;
    case EqnExpr::Kind::Function:
      break;
  }
  std::string s = std::string(e.func->name) + "(";
  for (size_t i = 0; i < e.args.size(); ++i) s += (i ? "," : "") + shape(eq, *e.args[i]);
  return s + ")";
}

struct ShapeCase {
  const char* text;
  const char* shape;
};

const ShapeCase shapes[] = {
    {"Y (a, b) = a + b * 2", "plus(a,mult(b,2))"},
    {"f (a, b, c) = a - b - c", "minus(minus(a,b),c)"},
    {"f (a, b, c) = a ^ b ^ c", "power(a,power(b,c))"},
    {"f (a, b, c) = a + b + c", "plus(a,b,c)"},
    {"f (a, b, c, d) = a * b * c + d * 2", "plus(mult(a,b,c),mult(d,2))"},
    {"Flag (a, b) = a < 3 == b < 4", "equal(less(a,3),less(b,4))"},
    {"f (B, C) = B ? 1 : C ? 2 : 3", "if(B,1,if(C,2,3))"},
    {"f (B, a) = B ? a > 1 ? 1 : 2 : 3", "if(B,if(greater(a,1),1,2),3)"},
    {"f (a) = -a ^ 2", "power(neg(a),2)"},
    {"f (a) = -2 ^ 2", "power(-2,2)"},
    {"f (a) = 2*-3", "mult(2,-3)"},
    {"f (a) = a--1", "minus(a,-1)"},
    {"f (a, b) = a * (b + 1)", "mult(a,plus(b,1))"},
    {"f (a, b) = ((a)) / b", "div(a,b)"},
    {"f (N) = N % 2 %% 3", "mod(rem(N,2),3)"},
    {"Flag (B, C) = B && C || !B", "or(and(B,C),not(B))"},
    {"Flag (a) = !(a > 1) && a <= 2", "and(not(greater(a,1)),less_eq(a,2))"},
    {"Flag (a, b) = a ~= b != (a >= b)", "not_equal(approx_eq(a,b),greater_eq(a,b))"},
    {"Y () = 3", "3"},
    {"Y (a) = 2 cm + a", "plus(2 cm,a)"},
    {"Y (a) = pi * deg * Infinity", "mult(pi,deg,Infinity)"},
    {"Y (a) = sqrt (a) + max (a, 1, 2.5)", "plus(sqrt(a),max(a,1,2.5))"},
    {"Y (a) = plus (a, 1, 2)", "plus(a,1,2)"},
    {"Flag (A) = A == blue", "equal(A,blue)"},
    {"Y (A) = red", "red"},
    {"Flag (A) = member (A, red, blue)", "member(A,red,blue)"},
    {"Y (A) = green--A", "1 state"},
    {"Y (A) = #2", "2 state"},
    {"Y (z) = #z", "#z"},
    {"Y (L) = L * 2", "mult(L,2)"},
    {"Y (a) = 1e3 + .5 + -.25", "plus(1000,0.5,-0.25)"},
    {"Y (a) = a; ", "a"},
    {"P (Y | A) = Y == A", "equal(Y,A)"},
    {"p (Flag | a, b) = a > b", "greater(a,b)"},
    {"P (X | a, b) = NormalDist (X, a + 2 * b, 1)", "NormalDist(X,plus(a,mult(2,b)),1)"},
};

class ShapeTest : public EqnTest, public ::testing::WithParamInterface<ShapeCase> {};

TEST_P(ShapeTest, parses_to_the_expected_tree_and_prints_back_to_the_same_tree) {
  const ShapeCase& c = GetParam();
  std::string text = c.text;
  std::string out = text[0] == 'p' || text.rfind("Flag", 0) == 0 ? "Flag" : text.find('X') != std::string::npos ? "X" : "Y";
  std::unique_ptr<Equation> eq;
  try {
    eq = parse(c.text, out);
  } catch (const QuorvaError& e) {
    FAIL() << c.text << " -> " << (e.record ? e.record->message : "");
  }
  ASSERT_TRUE(eq && eq->root) << c.text;
  EXPECT_EQ(shape(*eq, *eq->root), c.shape) << c.text;
  // Printing and reading again gives the same tree and the same text.
  std::string printed = printEquation(*eq);
  auto again = parse(printed, out);
  EXPECT_EQ(shape(*again, *again->root), c.shape) << printed;
  EXPECT_EQ(printEquation(*again), printed);
}

INSTANTIATE_TEST_SUITE_P(Table, ShapeTest, ::testing::ValuesIn(shapes));

struct PrintCase {
  const char* text;
  const char* output;
  const char* printed;
};

const PrintCase prints[] = {
    {"f(a,b)=a+b*2", "Y", "Y (a, b) = a + b * 2"},
    {"f (a, b) = (a + b) * 2", "Y", "Y (a, b) = (a + b) * 2"},
    {"f (a, b, c) = a - (b - c)", "Y", "Y (a, b, c) = a - (b - c)"},
    {"f (a, b, c) = (a - b) - c", "Y", "Y (a, b, c) = a - b - c"},
    {"f (a, b, c) = (a + b) + c", "Y", "Y (a, b, c) = a + b + c"},
    {"f (a, b, c) = a ^ (b ^ c)", "Y", "Y (a, b, c) = a ^ (b ^ c)"},
    {"f (B, a, b) = B ? a : (B ? b : 1)", "Y", "Y (B, a, b) = B ? a : (B ? b : 1)"},
    {"f (a) = -(a + 1)", "Y", "Y (a) = -(a + 1)"},
    {"f (a) = max(a,2)/3", "Y", "Y (a) = max (a, 2) / 3"},
    {"f (A) = #1", "Y", "Y (A) = 1 state"},
    {"f (a) = - - 0 - -(-a) + -(2)", "Y", "Y (a) = -- 0 - --a + - 2"},
    {"f (a) = 0.1 + 1e300", "Y", "Y (a) = 0.1 + 1e+300"},
    {"P(Y|A,B)=0.5", "Y", "P(Y | A, B) = 0.5"},
    {"P(<X, a | b) = 1", "X", "P(<X, a | b) = 1"},
    {"P(X) = 1", "X", "P(X) = 1"},
};

class PrintTest : public EqnTest, public ::testing::WithParamInterface<PrintCase> {};

TEST_P(PrintTest, prints_with_the_fewest_parentheses_that_keep_the_tree) {
  const PrintCase& c = GetParam();
  EXPECT_EQ(printEquation(*parse(c.text, c.output)), c.printed);
}

INSTANTIATE_TEST_SUITE_P(Table, PrintTest, ::testing::ValuesIn(prints));

struct ErrorCase {
  const char* text;
  int number;
  const char* message;  // the message before the position suffix
};

const ErrorCase errors[] = {
    {"g (A) = A", 2460, "'g' is not the correct name for the output variable"},
    {"Y A) = 1", 2026, "missing open parenthesis in function declaration"},
    {"Y (,A) = 1", 2028, "unexpected punctuation ','"},
    {"Y (A B) = 1", 2027, "missing comma"},
    {"Y (A,,B) = 1", 2029, "unexpected punctuation ','"},
    {"Y (A, A) = A", 2030, "repeated variable name"},
    {"Y (Q) = 1", 2459, "unknown variable 'Q' to the left of = in function definition >-cr-(if links"},
    {"Y (A) 1", 2031, "missing '=' in function definition"},
    {"Y () =", 2494, "missing equation after '=' symbol in function definition"},
    {"Y (a) = a > 1", 2461, "attempt to assign a boolean expression to variable 'Y', which doesn't have 2 states (it has 3)"},
    {"P (Y | a) = NormalRand (a, 1)", 3989, "cannot use a randomized function (name ends in 'Rand') in an"},
    {"P Y) = 1", 2047, "missing open parenthesis in probability expression"},
    {"P (Y | A | B) = 1", 2010, "more than one conditioning bar '|'"},
    {"P (| A) = 1", 2048, "must have at least one variable before the conditioning bar '|'"},
    {"P (Y | <a) = 1", 2051, "all cdf variables (those preceeded with '<') must come before the conditioning"},
    {"P (Y, <a) = 1", 2052, "all cdf variables (those preceeded with '<') must come first"},
    {"P (Y A) = 1", 2049, "missing comma"},
    {"P (Y, ;) = 1", 2053, "unexpected punctuation ';'"},
    {"P (Y ; A) = 1", 2050, "unexpected punctuation ';'"},
    {"P (Y, Y) = 1", 2054, "repeated variable name"},
    {"P (Y | Q) = 1", 2370, "unknown input variable 'Q' (use link names if present)"},
    {"P (Y | A) 1", 2055, "missing '=' in probability equation"},
    {"P (A | Y) = 1", 2357, "'A' is not the correct name for the output variable"},
    {"P (Y | A) = ", 2435, "missing equation after '=' symbol"},
    {"Y (a) = (a + 1", 2034, "missing close parenthesis"},
    {"Y (a) = a + 1)", 2032, "unexpected close parenthesis"},
    {"Y (a) = ()", 2032, "unexpected close parenthesis"},
    {"Y (a) = #2.5", 2477, "state indicator # is followed by a number (2.5) that is not an integer"},
    {"Y (a) = #2 cm", 2478, "state indicator # is followed by a number that has units (#2 cm)"},
    {"Y (a) = #sqrt (a)", 2479, "the name after a state indicator # is followed by an open parenthesis:  # sqrt ("},
    {"Y (A) = red--Q", 2356, "'red--Q' refers to unknown variable 'Q'"},
    {"Y (A) = pink--A", 2464, "'pink--A' refers to pink, which is not a state of A"},
    {"Y (a) = Y + 1", 2439, "'Y' appears as a variable on the right hand side of the = symbol, but it is"},
    {"Y (a) = #a", 2480, "continuous variable 'a' is preceeded with a state indicator #, but it hasn't"},
    {"Y (a) = zork", 2091, "unknown name 'zork',"},
    {"Y (a) = #zork", 2091, "unknown name 'zork' (was trying to interpret it as a state name, since it is preceeded by #)"},
    {"Y (a) = a $ 2", 2033, "character '$' unexpected"},
    {"Y (a) = zork (a)", 2355, "unknown function 'zork'"},
    {"Y (a) = sqrt (a, 2)", 2325, "too many arguments for function 'sqrt' (requires 1)"},
    {"Y (a) = atan2 (a)", 2038, "too few arguments for function 'atan2' (requires 2, but 1 supplied)"},
    {"Y (a) = max (a, )", 2497, "missing second argument of function max"},
    {"Y (a) = max (a b)", 2369, "missing comma or close parenthesis, or malformed expression in function 'max'"},
    {"Y (B) = sqrt (B)", 2326, "first argument of function 'sqrt' should be of type real, but it is type state"},
    {"Y (A, a) = member (A, a)", 2467, "second argument of function 'member' is of type real, which is not compatible with the other argument(s) of type state"},
    {"Y (a, b) = a > 1 ? b", 2035, "missing ':' for '?' operator"},
    {"Y (a) = -", 2495, "argument of operator '-' is missing"},
    {"Y (a) = !a", 2322, "argument of operator '!' should be of type 'boolean', but it is type real"},
    {"Y (A) = A + 1", 2323, "the first argument of operator '+' should be of type 'numeric', but it is type 'state'"},
    {"Y (a) = a +", 2496, "missing second argument of operator +"},
    {"Y (a, A) = a + A", 2324, "the second argument of operator '+' should be type 'numeric', but it is type 'state'"},
    {"Y (A, a) = A == a", 2036, "the second argument of operator '==' is of type 'real', which is not compatible with the other argument(s) (of type 'state')"},
    {"P (Y | A, a) = NoisyMaxTableDist (Y, a)", 2499, "second argument of function NoisyMaxTableDist should be a number, but it isn't"},
    {"P (Y | A, a) = NoisyMaxTableDist (Y, 3, 1, a, 0)", 2499, "fourth argument of function NoisyMaxTableDist should be a number, but it isn't"},
    {"P (Y | A) = NoisyMaxTableDist (Y, 2.5)", 2499, "second argument of function NoisyMaxTableDist should be an integer, but it isn't"},
    {"P (Y | A) = NoisyMaxTableDist (Y, 2, 1, 0)", 2499, "second argument of function NoisyMaxTableDist is 2, but it should be the number of states of the output variable (=3)"},
    {"P (Y | A) = NoisyMaxTableDist (Y, 3, 1, 0, 1.5)", 2499, "fifth argument of function NoisyMaxTableDist should be a probability (between 0 and 1), but it is 1.5"},
    {"P (Y | A) = NoisyMaxTableDist (Y, 3, 1, 0, 0, A, 1, 0, 0, 0, 1, 0, 0.5, 0, 0.4)", 2499, "sum of probabilities for a condition of function NoisyMaxTableDist should be 1, but it is 0.9"},
    {"P (Y | z) = NoisySumTableDist (Y, 3, 0.5, 0.5, 0.4)", 2499, "sum of probabilities for a condition of function NoisySumTableDist should not be more than 1, but it is 1.4"},
    {"P (Y | a) = NoisyMaxTableDist (Y, 3, 1, 0, 0, a, 1, 0, 0)", 2499, "a is a continuous variable (>-node), but only discrete or discretized ones are allowed (in sixth argument of NoisyMaxTableDist)"},
    {"P (Y | A) = NoisySumTableDist (Y, 3, 1, 0, 0, A, 1, 0, 0)", 2499, "A is not a continuous variable (>-node), however only continuous (but discretized) ones are allowed (in sixth argument of NoisySumTableDist)"},
    {"P (Y | A) = NoisyMaxTableDist (Y, 3, 1, 0, 0, 0.5)", 2499, "sixth argument of function NoisyMaxTableDist should be a variable (>-node), but it isn't"},
    {"P (Y | A) = NoisyMaxTableDist (Y, 3, 1, 0, 0, A, 1, 0, 0)", 2499, "function 'NoisyMaxTableDist' is missing its last arguments"},
    {"P (Y | A) = NoisyMaxTableDist (Y)", 2499, "function 'NoisyMaxTableDist' is missing its last arguments"},
    {"Y (A) = A && true", 2465, "attempt to use variable 'A' as a boolean in function 'and', but it doesn't have 2 states (it has 3)"},
};

class ErrorTest : public EqnTest, public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(ErrorTest, malformed_equation_gets_its_number_and_message_with_the_position) {
  const ErrorCase& c = GetParam();
  auto [number, message] = failure(c.text);
  EXPECT_EQ(number, c.number) << c.text << " -> " << message;
  EXPECT_EQ(message.rfind(c.message, 0), 0u) << c.text << " -> " << message;
  EXPECT_NE(message.find("while reading field `equation` of node 'Y', on line 1 char "), std::string::npos)
      << message;
}

INSTANTIATE_TEST_SUITE_P(Table, ErrorTest, ::testing::ValuesIn(errors));

struct WarningCase {
  const char* text;
  const char* output;
  int number;
};

const WarningCase warningCases[] = {
    {"Out2 (a) = a > 1", "Out2", 2462},
    {"Y (C) = C ? 1 : 0", "Y", 2466},
    {"Flag (A, N) = A == N", "Flag", 2463},
    {"P (Y | a) = a", "Y", 3818},
};

class WarningTest : public EqnTest, public ::testing::WithParamInterface<WarningCase> {};

TEST_P(WarningTest, questionable_equation_is_kept_with_a_warning) {
  const WarningCase& c = GetParam();
  auto eq = parse(c.text, c.output);
  ASSERT_TRUE(eq && eq->root);
  EXPECT_EQ(warnings(), std::vector<int>{c.number}) << c.text;
}

INSTANTIATE_TEST_SUITE_P(Table, WarningTest, ::testing::ValuesIn(warningCases));

TEST_F(EqnTest, boolean_results_map_to_the_state_named_true_and_levels_select_states) {
  EXPECT_EQ(parse("Flag (a) = a > 1", "Flag")->boolTrueState, 1);
  EXPECT_TRUE(parse("Lev (a) = a * 10", "Lev")->selectsByLevel);
  EXPECT_FALSE(parse("Y (a) = a", "Y")->selectsByLevel);
  // A boolean output not named on the right: the expression is the probability of its true state.
  EXPECT_EQ(parse("P (Flag | a) = a", "Flag")->probOfState, 1);
  EXPECT_TRUE(warnings().empty());
}

TEST_F(EqnTest, unknown_name_becomes_an_undefined_constant_when_allowed) {
  EqnSource s = source("Y (a) = a * k + k");
  s.addUnknownConsts = true;
  auto eq = parseEquation(&env, s);
  ASSERT_EQ(constants.size(), 1u);  // added once, found the second time
  EXPECT_EQ(constants[0]->name, "k");
  EXPECT_TRUE(isEqnUndefined(constants[0]->value));
}

TEST_F(EqnTest, probabilistic_head_counts_bar_and_cumulative_variables) {
  auto eq = parse("P (<X, a | b, c) = 1", "X");
  EXPECT_TRUE(eq->probabilistic);
  EXPECT_TRUE(eq->upperP);
  EXPECT_EQ(eq->numBeforeBar, 2);
  EXPECT_EQ(eq->numCumulative, 1);
  EXPECT_EQ(eq->vars.back().name, "X");
  EXPECT_EQ(eq->vars.size(), 4u);
}

}  // namespace
