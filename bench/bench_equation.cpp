// Equations: evaluating a parsed expression with bound variables (once per table row and sample
// when tables are made from equations), and parsing an equation of about 200 characters.
#include <benchmark/benchmark.h>

#include <string>

#include "Basic/EnvCore.h"
#include "Equation/EqnEval.h"
#include "Equation/EqnParser.h"

using namespace quorva;

namespace {

EqnVar continuous(const char* name) {
  EqnVar v;
  v.name = name;
  v.continuous = true;
  return v;
}

EqnSource source(const std::string& text) {
  EqnSource s;
  s.text = text;
  s.output = continuous("X");
  for (const char* n : {"x", "a", "b", "c", "d"}) s.inputs.push_back(continuous(n));
  return s;
}

// NormalDist (x, a + 2 * b, c): one density, two operators, four variables, evaluated through
// the program the parser flattened it into.
void BM_EvalNormalDist(benchmark::State& state) {
  EnvCore env;
  env.state = ENV_USABLE_STATE;
  auto eq = parseEquation(&env, source("X (x, a, b, c) = NormalDist (x, a + 2 * b, c)"));
  double values[5] = {0.25, 0.5, -0.125, 1.5, 0};
  EvalContext ctx{&env, nullptr};
  double sum = 0;
  for (auto _ : state) {
    values[0] += 1e-9;  // a new row each time
    sum += evalEquation(*eq, values, ctx);
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EvalNormalDist);

// The same equation through its tree, as sub-expressions that stay trees are evaluated.
void BM_EvalNormalDistTree(benchmark::State& state) {
  EnvCore env;
  env.state = ENV_USABLE_STATE;
  auto eq = parseEquation(&env, source("X (x, a, b, c) = NormalDist (x, a + 2 * b, c)"));
  double values[5] = {0.25, 0.5, -0.125, 1.5, 0};
  EvalContext ctx{&env, nullptr};
  double sum = 0;
  for (auto _ : state) {
    values[0] += 1e-9;
    sum += evalExpr(*eq->root, values, ctx);
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EvalNormalDistTree);

// A deterministic equation of 200 characters with calls, operators of every level and "?:".
const char* const LONG_EQUATION =
    "X (x, a, b, c, d) = x > 0 && a <= b ? NormalDist (x, a + 2 * b, c) * exp (-d ^ 2 / 2) : "
    "max (a, b, c, 1.5) - floor (min (x, d)) % 3 + sqrt (abs (a * b - c)) / (1 + log (1 + c ^ 2)) + "
    "select0 (2, a, b, c)";

void BM_Parse200(benchmark::State& state) {
  EnvCore env;
  env.state = ENV_USABLE_STATE;
  EqnSource src = source(LONG_EQUATION);
  for (auto _ : state) {
    auto eq = parseEquation(&env, src);
    benchmark::DoNotOptimize(eq.get());
  }
  state.SetLabel(std::to_string(src.text.size()) + " characters");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Parse200);

}  // namespace

BENCHMARK_MAIN();
