// Choosing between exact and approximate beliefs.
#include "BeliefMethod.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace quorva::cli {

namespace {

double numberIn(const std::string& text, double low, double high, bool openHigh) {
  char* end = nullptr;
  const double x = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(x >= low) || (openHigh ? !(x < high) : !(x <= high))) return -1;
  return x;
}

CLI::Validator rangeCheck(double low, double high, bool openHigh, const std::string& what) {
  return CLI::Validator(
      [=](std::string& text) -> std::string {
        return numberIn(text, low, high, openHigh) < 0 ? "expected " + what + ", got '" + text + "'" : "";
      },
      "");
}

}  // namespace

const char* methodWord(BeliefMethod method) {
  switch (method) {
    case BeliefMethod::Exact: return "exact";
    case BeliefMethod::LikelihoodWeighting: return "lw";
    case BeliefMethod::Importance: return "is";
    case BeliefMethod::Loopy: return "loopy";
    default: return "auto";
  }
}

approx_method_bn engineMethod(BeliefMethod method) {
  if (method == BeliefMethod::LikelihoodWeighting) return LIKELIHOOD_WEIGHTING;
  if (method == BeliefMethod::Loopy) return LOOPY_PROPAGATION;
  return IMPORTANCE_SAMPLING;
}

void addMethodOptions(CLI::App* command, MethodSettings& s) {
  const std::map<std::string, BeliefMethod> words{{"exact", BeliefMethod::Exact},
                                                   {"lw", BeliefMethod::LikelihoodWeighting},
                                                   {"is", BeliefMethod::Importance},
                                                   {"loopy", BeliefMethod::Loopy}};
  command
      ->add_option("--method", s.method,
                   "exact: through the junction tree; lw: likelihood weighting; is: importance sampling "
                   "(evidence pre-propagation); loopy: loopy belief propagation.  Default: exact, unless the "
                   "junction tree would need more than 2e8 table entries, then is (with a notice)")
      ->type_name("exact|lw|is|loopy")
      ->transform(CLI::CheckedTransformer(words));
  command
      ->add_option("--samples", s.samples,
                   "Sampling: the cases to draw (default 200000, more up to 2000000 while a standard error is above 0.0025); loopy: the most rounds (default 500)")
      ->check(rangeCheck(1, 1e15, false, "a number of at least 1"));
  command->add_option("--seconds", s.seconds, "A time limit for an approximate method (alone, it sets the budget)")
      ->check(rangeCheck(0, 1e9, false, "a number of seconds, 0 or more"));
  command->add_option("--damping", s.damping, "Loopy propagation: the weight of the old message in each new one")
      ->check(rangeCheck(0, 1, true, "a number from 0 to below 1"));
  command->add_option("--seed", s.seed, "The seed of the sampling methods (default 1)")->check(CLI::Range(0LL, 1LL << 62));
}

BeliefMethod chooseMethod(Env& env, net_bn* net, const std::string& path, BeliefMethod asked, double optimize) {
  if (asked == BeliefMethod::Exact) compileNet(env, net, path, optimize);
  if (asked != BeliefMethod::Auto) return asked;
  const int autoUpdate = SetNetAutoUpdate_bn(net, BELIEF_UPDATE);  // no table allocated or checked yet
  compileNet(env, net, path, optimize);
  const double size = SizeCompiledNet_bn(net, 0);
  SetNetAutoUpdate_bn(net, autoUpdate);
  if (env.flush()) throw Failure{};
  if (size <= MAX_EXACT_ENTRIES) return BeliefMethod::Exact;
  UncompileNet_bn(net);
  std::fprintf(stderr,
               "quorva: notice: the junction tree of the net in '%s' would need %s table entries (more than %s), "
               "so its beliefs are approximated by importance sampling (--method is); --method exact insists\n",
               path.c_str(), readable(size).c_str(), readable(MAX_EXACT_ENTRIES).c_str());
  return BeliefMethod::Importance;
}

}  // namespace quorva::cli
