// Fuzzes the equation parser: arbitrary text is parsed against a fixed set of variables; what
// parses is evaluated, printed, and parsed again, and the second printing must equal the first
// (except for a literal "@undef", which prints as the name "undef").
//
// The first byte chooses the output variable (bits 0-1) and whether unknown names become
// constants (bit 2).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Basic/EnvCore.h"
#include "Basic/Raise.h"
#include "Equation/EqnEval.h"
#include "Equation/EqnParser.h"
#include "FuzzEnv.h"

using namespace quorva;

namespace {

EqnVar var(const char* name, bool continuous, std::vector<std::string> states, std::vector<double> levels = {}) {
  EqnVar v;
  v.name = name;
  v.continuous = continuous;
  v.stateNames = std::move(states);
  v.numStates = static_cast<int>(v.stateNames.size());
  v.levels = std::move(levels);
  if (continuous && !v.levels.empty()) v.numStates = static_cast<int>(v.levels.size()) - 1;
  return v;
}

EqnSource sourceFor(uint8_t mode, std::string text, std::vector<std::unique_ptr<EqnConst>>* consts) {
  EqnSource s;
  s.text = std::move(text);
  static const EqnVar outputs[] = {
      var("Y", false, {"amber", "red", "green"}), var("Flag", false, {"false", "true"}),
      var("X", true, {}), var("Lev", false, {"lo", "mid", "hi"}, {1, 2, 3})};
  s.output = outputs[mode & 3];
  s.inputs = {var("A", false, {"red", "green", "blue"}), var("B", false, {"no", "yes"}),
              var("a", true, {}), var("b", true, {}), var("z", true, {}, {0, 1, 5, 10})};
  s.constants = consts;
  s.addUnknownConsts = (mode & 4) != 0;
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  EnvCore& env = fuzzEnv();
  std::vector<std::unique_ptr<EqnConst>> consts;
  EqnSource src = sourceFor(data[0], std::string(reinterpret_cast<const char*>(data + 1), size - 1), &consts);
  std::unique_ptr<Equation> eq;
  try {
    eq = parseEquation(&env, src);
  } catch (const QuorvaError&) {
    env.errors.clearAll();
    return 0;  // refused, with its record
  }
  std::vector<double> values(eq->vars.size(), 0.5);
  EvalContext ctx{&env, &env.randgen};
  evalEquation(*eq, values.data(), ctx);

  // A number written "@undef" prints as "undef", which reads back as a name: no round trip then.
  std::string printed = printEquation(*eq);
  if (printed.find("undef") == std::string::npos) {
    src.text = printed;
    std::unique_ptr<Equation> again;
    try {
      again = parseEquation(&env, src);
    } catch (const QuorvaError& e) {
      std::fprintf(stderr, "printed text does not read back: %s\n%s\n", printed.c_str(),
                   e.record ? e.record->message.c_str() : "");
      std::abort();
    }
    if (printEquation(*again) != printed) {
      std::fprintf(stderr, "printed: %s\nreprinted: %s\n", printed.c_str(), printEquation(*again).c_str());
      std::abort();
    }
  }
  env.errors.clearAll();
  return 0;
}
