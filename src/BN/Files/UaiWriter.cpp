// Writing UAI BAYES files: one table per node, its scope the parents in order and the node last,
// which is the engine's own table layout.
#include <cmath>
#include <string>
#include <vector>

#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Files/Uai.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTableOps.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"

namespace quorva {

std::string writeUaiNet(const Bnet& net, FileSpec& out) {
  std::vector<std::vector<double>> tables;
  for (Bnode* n : net.nodes) {
    if (n->kind == DECISION || n->kind == UTILITY)
      engError(net.env, err::FmtCantHoldKind, n->name, n->kind == DECISION ? "decision" : "utility", "UAI");
    if (!n->hasStates()) engError(net.env, err::FmtNoStatesWrite, n->name, "UAI");
    std::vector<double> t;
    if (n->tables.cpt.isAllocated()) t = readTable(*n, WhichTable::Cpt, nullptr);
    bool complete = !t.empty();
    for (double v : t) complete = complete && std::isfinite(v);
    if (!complete) engError(net.env, err::FmtIncompleteTable, n->name, "UAI");
    tables.push_back(std::move(t));
  }
  auto indexOf = [&net](const Bnode* n) {
    size_t i = 0;
    while (net.nodes[i] != n) ++i;
    return i;
  };
  std::string text = "BAYES\n" + std::to_string(net.nodes.size()) + "\n";
  for (size_t i = 0; i < net.nodes.size(); ++i) text += (i ? " " : "") + std::to_string(net.nodes[i]->numStates);
  text += "\n" + std::to_string(net.nodes.size()) + "\n";
  for (const Bnode* n : net.nodes) {
    text += std::to_string(n->parents.size() + 1);
    for (const Link& l : n->parents) text += " " + std::to_string(indexOf(l.parent));
    text += " " + std::to_string(indexOf(n)) + "\n";
  }
  std::vector<std::string> nodeNames, nodeTitles;
  for (const Bnode* n : net.nodes) {
    nodeNames.push_back(n->name);
    nodeTitles.push_back(n->details().title);
  }
  std::vector<std::string> lines = exportTexts(nodeNames, nodeTitles, [](const std::string& t) {
    return t.find_first_of("\r\n") == std::string::npos && t.front() != ' ' && t.back() != ' ';
  });
  std::string names;
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    const Bnode& n = *net.nodes[i];
    text += "\n" + std::to_string(tables[i].size()) + "\n";
    const size_t nc = static_cast<size_t>(n.numStates);
    for (size_t k = 0; k < tables[i].size(); ++k) text += floatText(tables[i][k]) + ((k + 1) % nc ? " " : "\n");
    names += lines[i] + "\n";
  }
  out.write(text);
  return names;
}

}  // namespace quorva
