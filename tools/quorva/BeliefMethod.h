// How `beliefs` and `cases` find beliefs: exactly, through the junction tree, or approximately
// from the node tables (likelihood weighting, importance sampling, loopy propagation), chosen by
// --method or, when not given, by the size the junction tree would have.
#pragma once
#include <string>

#include "Engine.h"

namespace CLI {
class App;
}

namespace quorva::cli {

enum class BeliefMethod { Auto, Exact, LikelihoodWeighting, Importance, Loopy };

// The largest junction tree (entries of its clique and separator tables) compiled when no
// method is given; past it the beliefs are approximated by importance sampling.
inline constexpr double MAX_EXACT_ENTRIES = 2e8;

struct MethodSettings {
  BeliefMethod method = BeliefMethod::Auto;
  double samples = 0, seconds = 0, damping = 0;
  long long seed = 1;
};

// "exact", "lw", "is", "loopy" ("auto" for Auto).
const char* methodWord(BeliefMethod method);
// The engine's method of an approximate one.
approx_method_bn engineMethod(BeliefMethod method);

// --method, --samples, --seconds, --damping, --seed.
void addMethodOptions(CLI::App* command, MethodSettings& settings);

// The method to use on the net.  Auto compiles the net (after an elimination-order search of
// `optimize` seconds when above 0; its tables are not allocated yet) and
// reads the junction tree's size: within MAX_EXACT_ENTRIES it is Exact; past it the net is
// uncompiled again, "quorva: notice: ..." says why on standard error, and it is Importance.
// An explicit method is kept as it is (Exact compiles the net).  Failure when the net cannot be
// compiled.
BeliefMethod chooseMethod(Env& env, net_bn* net, const std::string& path, BeliefMethod asked, double optimize);

}  // namespace quorva::cli
