// quorva check NET: reads, compiles and updates a net as `beliefs` would, and lists what stands in
// its way (errors) or should be looked at (warnings, notices), on standard output.
#include <cmath>
#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Engine.h"
#include "Progress.h"
#include "Quorva/EquationView.h"
#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {

constexpr int ROWS_SHOWN = 3;       // faulty rows listed per node
constexpr double ROWS_CHECKED = 1e7;  // larger tables are not checked row by row
constexpr double SUM_TOLERANCE = 1e-4;

struct CheckOptions {
  std::string net, format;
};

class Checker {
 public:
  explicit Checker(Env& env) : env_(env) {}

  void error(const std::string& text) { line("error", text, errors_); }
  void warning(const std::string& text) { line("warning", text, warnings_); }
  // Prints the engine's records of notice level and up, counts them, and clears them.
  void records() {
    for (report_vq* r = GetError_vq(env_.get(), NOTICE_ERR, nullptr); r; r = GetError_vq(env_.get(), NOTICE_ERR, r)) {
      std::printf("%s\n", recordText(r).c_str());
      const int severity = ErrorSeverity_vq(r);
      ++(severity >= ERROR_ERR ? errors_ : severity >= WARNING_ERR ? warnings_ : notices_);
    }
    ClearErrors_vq(env_.get(), INTERNAL_ERR);
  }
  int errors() const { return errors_; }
  std::string summary() const {
    std::string text = counted(errors_, "error") + ", " + counted(warnings_, "warning");
    if (notices_) text += ", " + counted(notices_, "notice");
    return text;
  }

 private:
  void line(const char* severity, const std::string& text, int& count) {
    std::printf("%s: %s\n", severity, text.c_str());
    ++count;
  }
  Env& env_;
  int errors_ = 0, warnings_ = 0, notices_ = 0;
};

// "(A=a1, B=b2)": the parent states of a table row, the last parent varying fastest.
std::string rowName(const std::vector<node_bn*>& parents, long long row) {
  std::vector<std::string> parts(parents.size());
  for (size_t i = parents.size(); i-- > 0;) {
    const int n = GetNodeNumberStates_bn(parents[i]);
    parts[i] = std::string(GetNodeName_bn(parents[i])) + "=" + GetNodeStateName_bn(parents[i], static_cast<state_bn>(row % n));
    row /= n;
  }
  std::string out = "(";
  for (size_t i = 0; i < parts.size(); ++i) out += (i ? ", " : "") + parts[i];
  return out + ")";
}

// Rows of the node's table that are not probability vectors: a sum other than 1 (within the
// rounding that readers let through, and that the engine then uses as it is), or all zeros (a parent condition declared
// impossible).  Rows with undefined entries are left to the engine's notice.
void checkRows(Checker& check, node_bn* node) {
  const int states = GetNodeNumberStates_bn(node);
  const prob_bn* table = states > 0 && HasNodeTable_bn(node, nullptr) ? GetNodeProbs_bn(node, nullptr) : nullptr;
  if (!table) return;
  const nodelist_bn* list = GetNodeParents_bn(node);
  std::vector<node_bn*> parents;
  double rows = 1;
  for (int i = 0, n = LengthNodeList_bn(list); i < n; ++i) {
    parents.push_back(GetNthNode_bn(list, i));
    rows *= GetNodeNumberStates_bn(parents.back());
  }
  if (rows * states > ROWS_CHECKED || rows < 1) return;
  const std::string name = GetNodeName_bn(node);
  long long faulty = 0;
  for (long long row = 0; row < static_cast<long long>(rows); ++row) {
    double sum = 0;
    bool undefined = false;
    for (int s = 0; s < states; ++s) {
      const prob_bn p = table[row * states + s];
      undefined = undefined || p == UNDEF_FLT_vq;
      sum += p;
    }
    if (undefined || std::fabs(sum - 1) <= SUM_TOLERANCE) continue;
    if (++faulty > ROWS_SHOWN) continue;
    const std::string where = "node '" + name + "', row " + (parents.empty() ? "(no parents)" : rowName(parents, row));
    if (sum == 0)
      check.warning(where + ", is all zeros: that parent condition is taken to be impossible");
    else
      check.warning(where + ", sums to " + readable(sum) + ", not 1 (it is used as it is)");
  }
  if (faulty > ROWS_SHOWN)
    check.warning("node '" + name + "': " + counted(faulty - ROWS_SHOWN, "more row") + " of the same kind");
}

// An equation that does not parse against the node's parents and states, with the parser's
// message and where it stopped.
void checkEquation(Checker& check, node_bn* node) {
  const char* text = GetNodeEquation_bn(node);
  tool::EquationView view;
  if (!text || !*text || !tool::viewEquation(node, nullptr, view) || view.parses) return;
  check.error("node '" + std::string(GetNodeName_bn(node)) + "', equation \"" + view.text + "\" stops at line " +
              std::to_string(view.line) + " char " + std::to_string(view.column) + ": " + view.message + " (" +
              std::to_string(view.number) + ")");
}

// What the tool cannot use yet, the equations, and the tables' rows.
void checkNodes(Checker& check, net_bn* net) {
  for (node_bn* node : netNodes(net)) {
    checkEquation(check, node);
    const std::string problem = unusableNode(node);
    if (!problem.empty())
      check.error(problem);
    else if (GetNodeKind_bn(node) == NATURE_NODE)
      checkRows(check, node);
  }
}

// Compiles as `beliefs` does, says how large the junction tree is, and updates the beliefs once.
void checkInference(Checker& check, Env& env, net_bn* net) {
  SetNetAutoUpdate_bn(net, 0);  // the tables' memory is checked by the compile
  CompileNet_bn(net);
  const bool compiled = GetError_vq(env.get(), ERROR_ERR, nullptr) == nullptr;
  if (compiled) {
    const double size = SizeCompiledNet_bn(net, 0);
    std::printf("junction tree: %s, total table size %s (%s MB)\n", counted(cliqueCount(net), "clique").c_str(),
                readable(size).c_str(), readable(4 * size / (1024.0 * 1024.0)).c_str());
  }
  const int before = check.errors();
  check.records();
  if (!compiled || check.errors() > before) return;
  const double probability = FindingsProbability_bn(net);
  for (node_bn* node : netNodes(net))
    if (unusableNode(node).empty()) GetNodeBeliefs_bn(node);
  if (!(probability > 0) && GetError_vq(env.get(), ERROR_ERR, nullptr) == nullptr)
    check.error("the beliefs could not be updated (the probability of no findings is " + readable(probability) + ")");
  check.records();
}

int runCheck(const CheckOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  Checker check(env);
  NetFormat format = formatNamed(o.format);
  const std::string problem = netFileProblem(o.net, format);
  net_bn* net = nullptr;
  if (!problem.empty()) {
    check.error(problem);
  } else {
    stream_vq* stream = NewFileStream_vq(o.net.c_str(), env.get(), nullptr);
    net = stream ? readNetFrom(stream, format) : nullptr;
    if (stream) DeleteStream_vq(stream);
    check.records();
    if (!net && check.errors() == 0) check.error("the net could not be read");
  }
  const char* state = !net ? "not read" : "read";
  if (net && LengthNodeList_bn(GetNetNodes_bn(net)) == 0) {
    check.error("the net has no nodes");
  } else if (net) {
    checkNodes(check, net);
    checkInference(check, env, net);
    state = check.errors() ? "read" : "read, compiled and updated";
  }
  progress.clear();
  std::printf("%s: %s, %s\n", o.net.c_str(), state, check.summary().c_str());
  return check.errors() ? 1 : 0;
}

}  // namespace

void addCheckCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<CheckOptions>();
  CLI::App* c = app.add_subcommand("check", "Read, compile and update a net as `beliefs` would, and list what it meets");
  c->footer(
      "Lists, on standard output, each record of the engine as SEVERITY NUMBER: MESSAGE and the tool's own\n"
      "findings as SEVERITY: MESSAGE: a file that cannot be read or is empty, a net without nodes,\n"
      "utility and decision nodes (which the tool cannot use yet), equations that do not parse (with\n"
      "the parser's message and where it stopped), table rows that do not sum to 1\n"
      "(warnings: they are used as they are), the size of the junction tree and whether it fits in\n"
      "memory, and what the first belief update meets (such as nodes without tables); then a summary.\n"
      "Exit status 0 when `beliefs` would work (warnings and notices allowed), 1 otherwise.");
  c->add_option("NET", o->net, "The net: a DNET file (.dne, .dnet) or a BIF file (.bif), or another told by its start")
      ->required();
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->callback([o, &chosen] { chosen = [o] { return runCheck(*o); }; });
}

}  // namespace quorva::cli
