// Building a net from a sketch read from a foreign file, and the name texts writers use.
#include "BN/Files/NetFormatSketch.h"

#include <charconv>
#include <cmath>
#include <memory>
#include <unordered_set>

#include "BN/Files/NetFormatErrors.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/FreshNet.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Raise.h"
#include "Basic/IdName.h"

namespace quorva {

double NetSketch::rows(const SketchVar& v) const {
  double r = 1;
  for (size_t p : parents(v)) r *= static_cast<double>(stateCount(vars[p]));
  return r;
}

Bnet* buildNet(const NetSketch& sketch, EnvCore* env) {
  std::string netName = legalName(sketch.name.empty() ? "Unnamed" : sketch.name);
  auto net = std::make_unique<Bnet>(env, netName);
  if (!sketch.label.empty()) net->title = sketch.label;
  else if (!sketch.name.empty() && netName != sketch.name) net->title = sketch.name;
  std::vector<Bnode*> nodes;
  nodes.reserve(sketch.vars.size());
  net->reserveNodes(sketch.vars.size());
  for (const SketchVar& v : sketch.vars) {
    const int states = v.kind == UTILITY ? 0 : static_cast<int>(NetSketch::stateCount(v));
    Bnode* fresh = net->addNodeIfFree(legalName(v.text), states);
    if (!fresh)
      fresh = &net->addNode(uniqueName(v.text, [&net](const std::string& n) { return net->nameTaken(n); }), states);
    Bnode& node = *fresh;
    const std::string& name = node.name;
    node.kind = v.kind;
    if (v.numberedStates > 0) {
      node.stateNames.reserve(v.numberedStates);
      char text[24] = "s";
      for (size_t s = 0; s < v.numberedStates; ++s)
        node.stateNames.emplace_back(text, std::to_chars(text + 1, text + sizeof text, s).ptr);
    } else if (!v.states.empty() && v.kind != UTILITY) {
      nameFreshStates(node, v.states);
    }
    if (!v.label.empty()) node.editDetails().title = v.label;
    else if (name != v.text) node.editDetails().title = v.text;
    if (v.hasPosition) {
      node.visX = v.x;
      node.visY = v.y;
    }
    nodes.push_back(&node);
  }
  std::vector<Family> families;
  families.reserve(sketch.vars.size());
  for (size_t i = 0; i < sketch.vars.size(); ++i) {
    const SketchVar& v = sketch.vars[i];
    std::span<const size_t> parents = sketch.parents(v);
    if (parents.empty()) continue;
    std::vector<Link> links(parents.size());
    for (size_t k = 0; k < parents.size(); ++k) links[k].parent = nodes[parents[k]];
    families.emplace_back(nodes[i], std::move(links));
  }
  linkFresh(std::move(families));
  for (size_t i = 0; i < sketch.vars.size(); ++i) {
    const SketchVar& v = sketch.vars[i];
    if (v.tableSize == 0) continue;
    fillFreshTable(*nodes[i], v.kind == UTILITY, sketch.entries.data() + v.tableAt);
    if (v.kind == NATURE) scaleRowsToOne(*nodes[i]);
  }
  return net.release();
}

void scaleRowsToOne(Bnode& node) {
  PotTable& table = node.tables.cpt;
  if (!table.isAllocated() || table.size() == 0) return;
  const size_t length = table.rowLength(), rows = table.size() / length;
  size_t scaled = 0;
  double firstSum = 0;
  float* row = table.data();
  for (size_t r = 0; r < rows; ++r, row += length) {
    double sum = 0;
    bool undefined = false;
    for (size_t i = 0; i < length; ++i) {
      undefined |= isReservedFloat(row[i]);
      sum += row[i];
    }
    if (undefined || sum == 0 || !std::isfinite(sum) || std::fabs(sum - 1) <= ROW_SUM_TOLERANCE) continue;
    if (scaled++ == 0) firstSum = sum;
    for (size_t i = 0; i < length; ++i) row[i] = static_cast<float>(row[i] / sum);
  }
  if (scaled > 0)
    engWarning(node.net->env, err::FmtRowSum, static_cast<double>(scaled), static_cast<double>(rows), node.name,
               firstSum);
}

std::vector<std::string> exportTexts(const std::vector<std::string>& names, const std::vector<std::string>& titles,
                                     const std::function<bool(const std::string&)>& holdable) {
  std::vector<std::string> out;
  std::unordered_set<std::string> earlierNames, written;
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string title = i < titles.size() ? titles[i] : "";
    bool useTitle = !title.empty() && holdable(title) && !written.count(title) &&
                    uniqueName(title, [&earlierNames](const std::string& n) { return earlierNames.count(n) > 0; }) ==
                        names[i];
    out.push_back(useTitle ? title : names[i]);
    written.insert(out.back());
    earlierNames.insert(names[i]);
  }
  return out;
}

std::vector<std::string> stateNamesOf(const Bnode& node) {
  std::vector<std::string> names = node.stateNames;
  if (names.empty())
    for (int s = 0; s < node.numStates; ++s) names.push_back("state" + std::to_string(s));
  return names;
}

namespace {
template <class Real>
std::string shortestText(Real v) {
  char buf[40];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
  return ec == std::errc() ? std::string(buf, end) : std::to_string(v);
}
}  // namespace

std::string floatText(double v) { return shortestText(static_cast<float>(v)); }

std::string doubleText(double v) { return shortestText(v); }

}  // namespace quorva
