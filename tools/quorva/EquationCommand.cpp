// quorva equation NET NODE [--text EQUATION]: the node's equation as the engine reads it, for a
// person debugging a model: printed back from its parse tree, as nested calls, and its type; or
// the parser's message and where in the text it stopped.
#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Engine.h"
#include "Quorva/EquationView.h"

namespace quorva::cli {

namespace {

struct EquationOptions {
  std::string net, node, text, format;
  bool hasText = false;
};

// The line of `text` that holds the place, and a caret under the place.
std::string pointAt(const std::string& text, long line, long column) {
  size_t start = 0;
  for (long l = 1; l < line && start != std::string::npos; ++l) {
    start = text.find('\n', start);
    if (start != std::string::npos) ++start;
  }
  if (start == std::string::npos) start = text.size();
  const std::string shown = text.substr(start, text.find('\n', start) - start);
  return "  " + shown + "\n  " + std::string(column > 1 ? static_cast<size_t>(column - 1) : 0, ' ') + "^\n";
}

int runEquation(const EquationOptions& o) {
  Env env;
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  node_bn* node = findNode(net, o.node);
  const char* own = GetNodeEquation_bn(node);
  if (!o.hasText && (!own || !*own)) fail("node '" + o.node + "' has no equation");
  tool::EquationView view;
  if (!tool::viewEquation(node, o.hasText ? o.text.c_str() : nullptr, view)) env.check();
  env.flush(WARNING_ERR);  // the parse's warnings
  if (!view.parses) {
    std::fprintf(stderr, "quorva: error %d: %s (line %ld, char %ld of the equation of node '%s')\n%s", view.number,
                 view.message.c_str(), view.line, view.column, GetNodeName_bn(node),
                 pointAt(view.text, view.line, view.column).c_str());
    return 1;
  }
  std::printf("text:    %s\nprinted: %s\ncalls:   %s\ntype:    %s, %s\n", view.text.c_str(), view.printed.c_str(),
              view.tree.c_str(), view.probabilistic ? "probabilistic" : "deterministic", view.valueType.c_str());
  return 0;
}

}  // namespace

void addEquationCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<EquationOptions>();
  CLI::App* c = app.add_subcommand("equation", "Show how the engine reads a node's equation");
  c->footer(
      "Prints the equation as given (text), as printed back from its parse (printed), as nested calls\n"
      "with every operator by name (calls), and its form and value type: deterministic (the node's\n"
      "value) or probabilistic (the probability of its states), and boolean, state, integer, real ...\n"
      "An equation that does not parse against the node's parents and states fails with status 1:\n"
      "the engine's message, and the line of the equation with a caret where the parse stopped.\n"
      "Example:\n"
      "  quorva equation net.dne Y --text \"Y (A, B) = A + B * 2\"");
  addNetArgument(c, o->net);
  c->add_option("NODE", o->node, "The node, by name or title")->required();
  c->add_option("--text", o->text, "Read this equation against the node instead of its own")
      ->type_name("EQUATION")
      ->each([o](const std::string&) { o->hasText = true; });
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  c->callback([o, &chosen] { chosen = [o] { return runEquation(*o); }; });
}

}  // namespace quorva::cli
