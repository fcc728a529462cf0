// The tools' view of a node's equation, in an API frame.
#include "Quorva/EquationView.h"

#include "BN/Net/Bnode.h"
#include "Basic/Glossary.h"
#include "Basic/TokenReader.h"
#include "Equation/EqnParser.h"
#include "Quorva/ApiFrame.h"

namespace quorva::tool {

namespace {

// The expression as nested calls, every operator by its name.
std::string treeOf(const Equation& eq, const EqnExpr& e) {
  if (!e.isFuncExpr()) return printExpr(eq, e);
  std::string s = std::string(e.func->name) + " (";
  for (size_t i = 0; i < e.args.size(); ++i) s += (i ? ", " : "") + treeOf(eq, *e.args[i]);
  return s + ")";
}

// The message without the suffix that tells where it was read (the view gives the place apart).
std::string withoutPlace(const std::string& message) {
  size_t at = message.rfind(", while reading field `equation`");
  return stripGlossary(at == std::string::npos ? message : message.substr(0, at));
}

}  // namespace

bool viewEquation(node_bn* node, const char* text, EquationView& out) {
  return apiCall("ViewNodeEquation", false, envOf(node), [&](ApiFrame& f) {
    const Bnode& nd = f.node(node);
    out = EquationView{};
    out.text = text ? text : nd.details().equation;
    TextPosition at;
    try {
      auto eq = parseEquation(&f.env(), eqnSourceOf(nd, out.text), &at);
      out.parses = true;
      out.printed = printEquation(*eq);
      out.tree = treeOf(*eq, *eq->root);
      out.probabilistic = eq->probabilistic;
      out.valueType = eqnTypeName(eq->root->type);
    } catch (const QuorvaError& e) {
      if (!e.record) throw;
      out.number = -e.record->number;
      out.message = withoutPlace(e.record->message);
      out.line = at.line;
      out.column = at.column;
      f.env().errors.remove(e.record);
    }
    return true;
  });
}

}  // namespace quorva::tool
