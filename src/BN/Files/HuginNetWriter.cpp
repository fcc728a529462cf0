// Writing Hugin NET files: the node blocks in net order, then one potential per node with its
// data nested by the parents in order (the node's own states innermost).
#include <cmath>
#include <string>
#include <vector>

#include "BN/Files/HuginNet.h"
#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTableOps.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"
#include "Basic/StringQuoter.h"

namespace quorva {

namespace {

// The node's table (a CPT, or a utility's values), or none when it is missing or incomplete.
std::vector<double> completeTable(Bnode& node) {
  bool utility = node.kind == UTILITY;
  const PotTable& t = utility ? node.tables.func : node.tables.cpt;
  if (!t.isAllocated() || (utility && !node.tables.funcReal)) return {};
  std::vector<double> v = readTable(node, utility ? WhichTable::FuncReal : WhichTable::Cpt, nullptr);
  for (double x : v)
    if (!std::isfinite(x)) return {};
  return v;
}

// `values` as data nested by `dims` (the last innermost), from `at` on.
void nested(std::string& text, const std::vector<double>& values, const std::vector<size_t>& dims, size_t level,
            size_t& at) {
  text += '(';
  for (size_t i = 0; i < dims[level]; ++i) {
    if (i) text += ' ';
    if (level + 1 < dims.size()) nested(text, values, dims, level + 1, at);
    else text += floatText(values[at++]);
  }
  text += ')';
}

}  // namespace

void writeHuginNet(const Bnet& net, FileSpec& out) {
  std::string text = "net\n{\n    node_size = (80 40);\n    name = " + quoteString(net.name) + ";\n";
  if (!net.title.empty()) text += "    label = " + quoteString(net.title) + ";\n";
  text += "}\n";
  bool positions = false;
  for (const Bnode* n : net.nodes) {
    if (n->kind != UTILITY && !n->hasStates()) engError(net.env, err::FmtNoStatesWrite, n->name, "Hugin NET");
    positions = positions || n->visX != 0 || n->visY != 0;
  }
  for (const Bnode* n : net.nodes) {
    text += std::string("\n") + (n->kind == DECISION ? "decision " : n->kind == UTILITY ? "utility " : "node ") +
            n->name + "\n{\n";
    if (!n->details().title.empty()) text += "    label = " + quoteString(n->details().title) + ";\n";
    if (positions) text += "    position = (" + doubleText(n->visX) + " " + doubleText(n->visY) + ");\n";
    if (n->kind != UTILITY) {
      std::vector<std::string> states = exportTexts(stateNamesOf(*n), n->details().stateTitles, [](const std::string&) {
        return true;
      });
      text += "    states = (";
      for (size_t s = 0; s < states.size(); ++s) text += (s ? " " : "") + quoteString(states[s]);
      text += ");\n";
    }
    text += "}\n";
  }
  for (Bnode* n : net.nodes) {
    text += "\npotential (" + n->name;
    if (!n->parents.empty()) text += " |";
    std::vector<size_t> dims;
    for (const Link& l : n->parents) {
      text += " " + l.parent->name;
      dims.push_back(static_cast<size_t>(l.parent->numStates));
    }
    text += ")\n{\n";
    if (n->kind != UTILITY) dims.push_back(static_cast<size_t>(n->numStates));
    std::vector<double> table = completeTable(*n);
    if (!table.empty()) {
      text += "    data = ";
      size_t at = 0;
      if (dims.empty()) text += "(" + floatText(table[0]) + ")";
      else nested(text, table, dims, 0, at);
      text += ";\n";
    }
    text += "}\n";
  }
  out.write(text);
}

}  // namespace quorva
