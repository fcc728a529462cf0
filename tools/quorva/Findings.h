// Findings as typed on the command line: -f NODE=STATE (a state name or "#index"),
// -l NODE=p1,p2,... (a likelihood, one number 0..1 per state), -v NODE=REAL (a real value).
#pragma once
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Engine.h"

namespace quorva::cli {

struct FindingArg {
  enum Kind { State, Likelihood, Value };
  Kind kind = State;
  std::string node;
  std::string state;               // State
  std::vector<float> likelihood;   // Likelihood
  double value = 0;                // Value
};

// Parses "NODE=TEXT" of the kind; "" when it is well formed, else what is wrong with it (the
// command-line parser reports it as a usage error).
std::string parseFindingArg(FindingArg::Kind kind, const std::string& text, FindingArg* out);

// The -f, -l and -v options of a command, as typed (each checked as the command line is parsed).
struct FindingOptions {
  std::vector<std::string> states, likelihoods, values;
  void addTo(CLI::App* command);
  std::vector<FindingArg> args() const;
};

// Enters every finding in the net.  An unknown node or state, a likelihood of the wrong length,
// or a finding the engine refuses, is reported and fails the command.
void enterFindings(Env& env, net_bn* net, const std::vector<FindingArg>& findings);

}  // namespace quorva::cli
