// Parsing and entering the findings given on the command line.
#include "Findings.h"

#include <cmath>
#include <cstdlib>

namespace quorva::cli {

namespace {

bool parseReal(const std::string& text, double& out) {
  if (text.empty()) return false;
  char* end = nullptr;
  out = std::strtod(text.c_str(), &end);
  return *end == '\0' && std::isfinite(out);
}

}  // namespace

std::string parseFindingArg(FindingArg::Kind kind, const std::string& text, FindingArg* out) {
  FindingArg f;
  f.kind = kind;
  const size_t eq = text.find('=');
  if (eq == std::string::npos || eq == 0 || eq + 1 == text.size())
    return kind == FindingArg::State        ? "expected NODE=STATE, got '" + text + "'"
           : kind == FindingArg::Likelihood ? "expected NODE=p1,p2,..., got '" + text + "'"
                                            : "expected NODE=REAL, got '" + text + "'";
  f.node = text.substr(0, eq);
  const std::string rest = text.substr(eq + 1);
  if (kind == FindingArg::State) {
    f.state = rest;
  } else if (kind == FindingArg::Value) {
    if (!parseReal(rest, f.value)) return "'" + rest + "' is not a number, in '" + text + "'";
  } else {
    size_t from = 0;
    while (from <= rest.size()) {
      size_t to = rest.find(',', from);
      if (to == std::string::npos) to = rest.size();
      double p = 0;
      const std::string item = rest.substr(from, to - from);
      if (!parseReal(item, p) || p < 0 || p > 1)
        return "'" + item + "' is not a probability from 0 to 1, in '" + text + "'";
      f.likelihood.push_back(static_cast<float>(p));
      from = to + 1;
    }
  }
  if (out) *out = std::move(f);
  return "";
}

void enterFindings(Env& env, net_bn* net, const std::vector<FindingArg>& findings) {
  for (const FindingArg& f : findings) {
    node_bn* node = findNode(net, f.node);
    switch (f.kind) {
      case FindingArg::State:
        EnterFinding_bn(node, findState(node, f.state));
        break;
      case FindingArg::Likelihood: {
        const int count = GetNodeNumberStates_bn(node);
        if (static_cast<int>(f.likelihood.size()) != count)
          fail("node '" + f.node + "' has " + counted(count, "state") + ", but the likelihood given has " +
               counted(static_cast<long long>(f.likelihood.size()), "number"));
        EnterNodeLikelihood_bn(node, f.likelihood.data());
        break;
      }
      case FindingArg::Value:
        EnterNodeValue_bn(node, f.value);
        break;
    }
    env.check();
  }
}

namespace {
void addFindingOption(CLI::App* command, const char* name, std::vector<std::string>& into, FindingArg::Kind kind,
                      const char* typeName, const char* help) {
  command->add_option(name, into, help)
      ->type_name(typeName)
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CLI::Validator([kind](std::string& text) { return parseFindingArg(kind, text, nullptr); }, ""));
}
}  // namespace

void FindingOptions::addTo(CLI::App* command) {
  addFindingOption(command, "-f,--finding", states, FindingArg::State, "NODE=STATE",
                   "A state finding: the node is in that state (a state name, or #index counting from 0)");
  addFindingOption(command, "-l,--likelihood", likelihoods, FindingArg::Likelihood, "NODE=p1,p2,...",
                   "A likelihood finding: one number from 0 to 1 per state");
  addFindingOption(command, "-v,--value", values, FindingArg::Value, "NODE=REAL", "A real-value finding");
}

std::vector<FindingArg> FindingOptions::args() const {
  std::vector<FindingArg> all;
  auto add = [&all](const std::vector<std::string>& texts, FindingArg::Kind kind) {
    for (const std::string& text : texts) {
      FindingArg f;
      parseFindingArg(kind, text, &f);
      all.push_back(std::move(f));
    }
  };
  add(states, FindingArg::State);
  add(likelihoods, FindingArg::Likelihood);
  add(values, FindingArg::Value);
  return all;
}

}  // namespace quorva::cli
