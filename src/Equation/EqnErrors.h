// The errors and warnings of parsing and evaluating equations.
#pragma once
#include "Basic/ErrDef.h"

namespace quorva::err {

// The head of a deterministic equation.
inline constexpr ErrDef EqnWrongOutput{2460, "'%s' is not the correct name for the output variable"};
inline constexpr ErrDef EqnMissingOpenDecl{2026, "missing open parenthesis in function declaration"};
inline constexpr ErrDef EqnPunctFirst{2028, "unexpected punctuation '%c'"};
inline constexpr ErrDef EqnMissingComma{2027, "missing comma"};
inline constexpr ErrDef EqnPunctSecond{2029, "unexpected punctuation '%c'"};
inline constexpr ErrDef EqnRepeatedName{2030, "repeated variable name"};
inline constexpr ErrDef EqnUnknownInput{
    2459, "unknown variable '%s' to the left of = in function definition >-cr-(if links are named, "
          "remember to use link names instead of parent names)"};
inline constexpr ErrDef EqnMissingEquals{2031, "missing '=' in function definition"};
inline constexpr ErrDef EqnEmptyDefn{2494, "missing equation after '=' symbol in function definition"};
inline constexpr ErrDef EqnBoolOutputStates{
    2461, "attempt to assign a boolean expression to variable '%s', which doesn't have 2 states "
          "(it has %d)"};
inline constexpr ErrDef EqnBoolOutputNames{
    2462, "assigning boolean expression to variable '%s' but it doesn't have recognized boolean "
          "state names (e.g. true, false)"};

// The head of a probabilistic equation.
inline constexpr ErrDef EqnRandInProb{
    3989, "cannot use a randomized function (name ends in '%s') in an equation that expects a "
          "distribution, i.e. starts with 'P('"};
inline constexpr ErrDef EqnMissingOpenProb{2047, "missing open parenthesis in probability expression"};
inline constexpr ErrDef EqnTwoBars{2010, "more than one conditioning bar '|'"};
inline constexpr ErrDef EqnNothingBeforeBar{
    2048, "must have at least one variable before the conditioning bar '|'"};
inline constexpr ErrDef EqnCdfAfterBar{
    2051, "all cdf variables (those preceeded with '<') must come before the conditioning bar '|'"};
inline constexpr ErrDef EqnCdfNotFirst{
    2052, "all cdf variables (those preceeded with '<') must come first"};
inline constexpr ErrDef EqnProbMissingComma{2049, "missing comma"};
inline constexpr ErrDef EqnProbPunctName{2053, "unexpected punctuation '%c'"};
inline constexpr ErrDef EqnProbPunct{2050, "unexpected punctuation '%c'"};
inline constexpr ErrDef EqnProbRepeated{2054, "repeated variable name"};
inline constexpr ErrDef EqnProbUnknown{2370, "unknown input variable '%s' (use link names if present)"};
inline constexpr ErrDef EqnProbMissingEquals{2055, "missing '=' in probability equation"};
inline constexpr ErrDef EqnProbWrongOutput{2357, "'%s' is not the correct name for the output variable"};
inline constexpr ErrDef EqnProbEmpty{2435, "missing equation after '=' symbol"};
inline constexpr ErrDef EqnOutputAbsent{
    3818, ">-node %s doesn't appear on the right hand side of its equation (and it isn't a boolean "
          "variable), >-cr-so its value won't influence the probability calculation, and after "
          "normalization its distributions will be uniform"};

// Expressions.
inline constexpr ErrDef EqnUnexpectedClose{2032, "unexpected close parenthesis"};
inline constexpr ErrDef EqnHashNotInteger{
    2477, "state indicator # is followed by a number (%g) that is not an integer"};
inline constexpr ErrDef EqnHashUnits{
    2478, "state indicator # is followed by a number that has units (#%g %s)"};
inline constexpr ErrDef EqnHashFunction{
    2479, "the name after a state indicator # is followed by an open parenthesis:  # %s ("};
inline constexpr ErrDef EqnStateUnknownVar{2356, "'%s--%s' refers to unknown variable '%s'"};
inline constexpr ErrDef EqnStateNotOfVar{2464, "'%s--%s' refers to %s, which is not a state of %s"};
inline constexpr ErrDef EqnOutputOnRight{
    2439, "'%s' appears as a variable on the right hand side of the = symbol, but it is the output "
          "value >-cr-(which is not allowed unless the equation is probabilistic, that is, starts "
          "with P)"};
inline constexpr ErrDef EqnHashNotDiscretized{
    2480, "continuous variable '%s' is preceeded with a state indicator #, but it hasn't been "
          "discretized"};
inline constexpr ErrDef EqnUnknownName{2091, "unknown name '%s'%s"};
inline constexpr ErrDef EqnUnexpectedChar{2033, "character '%s' unexpected"};
inline constexpr ErrDef EqnMissingEnd{2492, "missing end of equation"};
inline constexpr ErrDef EqnUnknownFunction{2355, "unknown function '%s'"};
inline constexpr ErrDef EqnTooManyArgs{2325, "too many arguments for function '%s' (requires %d)"};
inline constexpr ErrDef EqnTooFewArgs{
    2038, "too few arguments for function '%s' (requires %d, but %d supplied)"};
inline constexpr ErrDef EqnMissingFuncArg{2497, "missing %s argument of function %s"};
inline constexpr ErrDef EqnMalformedCall{
    2369, "missing comma or close parenthesis, or malformed expression in function '%s'"};
inline constexpr ErrDef EqnFuncArgType{
    2326, "%s argument of function '%s' should be of type %s, but it is type %s"};
inline constexpr ErrDef EqnFuncArgCompat{
    2467, "%s argument of function '%s' is of type %s, which is not compatible with the other "
          "argument(s) of type %s"};
inline constexpr ErrDef EqnMissingClose{2034, "missing close parenthesis"};
inline constexpr ErrDef EqnMissingSecondSymbol{2035, "missing '%s' for '%s' operator"};
inline constexpr ErrDef EqnOpArgMissing{2495, "argument of operator '%s' is missing"};
inline constexpr ErrDef EqnOpArgType{
    2322, "argument of operator '%s' should be of type '%s', but it is type %s"};
inline constexpr ErrDef EqnOpFirstArgType{
    2323, "the first argument of operator '%s' should be of type '%s', but it is type '%s'"};
inline constexpr ErrDef EqnOpMissingArg{2496, "missing %s argument of operator %s"};
inline constexpr ErrDef EqnOpNthArgType{
    2324, "the %s argument of operator '%s' should be type '%s', but it is type '%s'"};
inline constexpr ErrDef EqnOpArgCompat{
    2036, "the %s argument of operator '%s' is of type '%s', which is not compatible with the "
          "other argument(s) (of type '%s')"};
inline constexpr ErrDef EqnBoolVarStates{
    2465, "attempt to use variable '%s' as a boolean in function '%s', but it doesn't have 2 states "
          "(it has %d)"};
inline constexpr ErrDef EqnBoolVarNames{
    2466, "variable '%s' is used as a boolean in function '%s', but it doesn't have recognized "
          "boolean state names (e.g. true, false)"};
inline constexpr ErrDef EqnNamedToUnnamed{
    2463, "equation equality test of a variable having state names to one without (%s and %s)"};

// Evaluation.
inline constexpr ErrDef EqnUndefinedValue{2280, "undefined value '%s'"};
inline constexpr ErrDef EqnEvalFailed{2354, "error evaluating function:  %s (%s)"};
inline constexpr ErrDef EqnAsStateEvaluated{
    2580, "attempt to evaluate 'AsState' function.  It should only be used as the first part of a "
          "deterministic function equation for a discrete >-node with levels"};

// Arguments of the distributions that take lists, checked as they are evaluated (each also ends
// in "error evaluating function").
inline constexpr ErrDef MultinomialFewArgs{2498, "MultinomialDist has only %d arguments, but there must be at least 4"};
inline constexpr ErrDef MultinomialOddArgs{
    2498, "the number of arguments to MultinomialDist must be even (i.e. same number of k and p args) "
          "but it is odd (=%d)"};
inline constexpr ErrDef MultinomialNNegative{2498, "argument 'n' of MultinomialDist must not be negative, but it is %g"};
inline constexpr ErrDef MultinomialNWhole{2498, "argument 'n' of MultinomialDist must be an integer, but it is %g"};
inline constexpr ErrDef MultinomialKNegative{2498, "argument k[%d] of MultinomialDist must not be negative, but it is %g"};
inline constexpr ErrDef MultinomialKWhole{2498, "argument k[%d] of MultinomialDist must be an integer, but it is %g"};
inline constexpr ErrDef MultinomialPNegative{2498, "argument p[%d] of MultinomialDist must not be negative, but it is %g"};
inline constexpr ErrDef NoisyOrFewArgs{2498, "less than 2 arguments to NoisyOrDist"};
inline constexpr ErrDef NoisyOrOddArgs{2498, "odd number of arguments to NoisyOrDist"};
inline constexpr ErrDef NoisyAndFewArgs{2498, "less than 2 arguments to NoisyAndDist"};
inline constexpr ErrDef NoisyAndOddArgs{2498, "odd number of arguments to NoisyAndDist"};
inline constexpr ErrDef NoisyOrMultiFewArgs{2498, "less than 3 arguments to NoisyOrMultiDist"};
inline constexpr ErrDef NoisyOrMultiNumStates{
    2498, "second argument (num_states) to NoisyOrMultiDist must be at least 1, but it is %g"};
inline constexpr ErrDef NoisyOrMultiLeaks{
    2498, "there should be %d leak probabilities (including the normal state \"leak\") since there "
          "are %d states in NoisyOrMultiDist"};
inline constexpr ErrDef NoisyOrMultiClause{2498, "missing final %s of last clause in NoisyOrMultiDist"};
inline constexpr ErrDef NoisyOrMultiProb{
    2498, "%s argument is %g, but it should be in [0,1] range since it is a probability for "
          "NoisyOrMultiDist"};
inline constexpr ErrDef NoisyOrMultiStateZero{
    2498, "%s argument (=0) indicates the state that gets triggered, but it should not be state 0, "
          "since state 0 is the \"normal\" state for NoisyOrMultiDist"};
inline constexpr ErrDef NoisyOrMultiStateRange{
    2498, "%s argument is %g, but it should be in [1,num_states] range since it indicates the state "
          "triggered by this clause for NoisyOrMultiDist"};
inline constexpr ErrDef NoisyMaxArgCount{2498, "wrong number of arguments to NoisyMaxTableDist"};
inline constexpr ErrDef NoisyMaxNumStates{
    2498, "number of states for output >-node in NoisyMaxTableDist is declared %d, but it must be 1 "
          "or more"};
inline constexpr ErrDef NoisyMaxVectorSum{2498, "a probability vector in NoisyMaxDist doesn't sum to 1"};
inline constexpr ErrDef NoisySumNotDirect{
    2498, "convert this equation to >-CPTable before using, since it contains the NoisySumTableDist "
          "function"};

// The noisy-max and noisy-sum table functions, checked as they are parsed.
inline constexpr ErrDef TableArgNotNumber{2499, "%s argument of function %s should be a number, but it isn't"};
inline constexpr ErrDef TableArgNotProb{
    2499, "%s argument of function %s should be a probability (between 0 and 1), but it is %g"};
inline constexpr ErrDef TableMaxSum{
    2499, "sum of probabilities for a condition of function %s should be 1, but it is %g"};
inline constexpr ErrDef TableSumSum{
    2499, "sum of probabilities for a condition of function %s should not be more than 1, but it is %g"};
inline constexpr ErrDef TableArgNotInteger{2499, "%s argument of function %s should be an integer, but it isn't"};
inline constexpr ErrDef TableArgNotOutputStates{
    2499, "%s argument of function %s is %g, but it should be the number of states of the output "
          "variable (=%d)"};
inline constexpr ErrDef TableCauseContinuous{
    2499, "%s is a continuous variable (>-node), but only discrete or discretized ones are allowed "
          "(in %s argument of %s)"};
inline constexpr ErrDef TableCauseNotContinuous{
    2499, "%s is not a continuous variable (>-node), however only continuous (but discretized) ones "
          "are allowed (in %s argument of %s)"};
inline constexpr ErrDef TableArgNotVariable{
    2499, "%s argument of function %s should be a variable (>-node), but it isn't"};
inline constexpr ErrDef TableMissingArgs{2499, "function '%s' is missing its last arguments"};

}  // namespace quorva::err
