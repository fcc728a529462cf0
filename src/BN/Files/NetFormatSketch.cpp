// Building a net from a sketch read from a foreign file, and the name texts writers use.
#include "BN/Files/NetFormatSketch.h"

#include <charconv>
#include <memory>
#include <unordered_set>

#include "BN/Net/Bnet.h"
#include "BN/Net/Links.h"
#include "BN/Net/NodeOps.h"
#include "BN/Net/NodeStates.h"
#include "BN/Tables/NodeTableOps.h"
#include "Basic/IdName.h"

namespace quorva {

double NetSketch::rows(const SketchVar& v) const {
  double r = 1;
  for (size_t p : v.parents) r *= static_cast<double>(stateCount(vars[p]));
  return r;
}

namespace {

// Legal, distinct state names; each text that had to change is kept as its state's title.
void nameStates(Bnode& node, const std::vector<std::string>& texts) {
  std::vector<std::string> names;
  std::unordered_set<std::string> taken;
  std::string list;
  for (const std::string& s : texts) {
    names.push_back(uniqueName(s, [&taken](const std::string& n) { return taken.count(n) > 0; }));
    taken.insert(names.back());
    list += (list.empty() ? "" : ",") + names.back();
  }
  setStateNames(node, list.c_str());
  for (size_t i = 0; i < names.size(); ++i)
    if (names[i] != texts[i]) setStateTitle(node, static_cast<int>(i), texts[i].c_str());
}

}  // namespace

Bnet* buildNet(const NetSketch& sketch, EnvCore* env) {
  std::string netName = legalName(sketch.name.empty() ? "Unnamed" : sketch.name);
  auto net = std::make_unique<Bnet>(env, netName);
  if (!sketch.label.empty()) net->title = sketch.label;
  else if (!sketch.name.empty() && netName != sketch.name) net->title = sketch.name;
  std::vector<Bnode*> nodes;
  for (const SketchVar& v : sketch.vars) {
    std::string name = uniqueName(v.text, [&net](const std::string& n) { return net->nameTaken(n); });
    Bnode& node = createNode(*net, name.c_str(), v.kind == UTILITY ? 0 : static_cast<int>(NetSketch::stateCount(v)));
    if (v.kind != NATURE) setNodeKind(node, v.kind);
    if (v.numberedStates > 0) {
      std::vector<std::string> numbered;
      for (size_t s = 0; s < v.numberedStates; ++s) numbered.push_back("s" + std::to_string(s));
      nameStates(node, numbered);
    } else if (!v.states.empty() && v.kind != UTILITY) {
      nameStates(node, v.states);
    }
    node.title = !v.label.empty() ? v.label : name != v.text ? v.text : "";
    if (v.hasPosition) {
      node.visX = v.x;
      node.visY = v.y;
    }
    nodes.push_back(&node);
  }
  for (size_t i = 0; i < sketch.vars.size(); ++i) {
    const SketchVar& v = sketch.vars[i];
    if (v.parents.empty()) continue;
    std::vector<ParentSlot> slots;
    for (size_t p : v.parents) slots.push_back({Link{nodes[p], "", {}}, -1, true});
    setNodeParents(*nodes[i], std::move(slots), true);
  }
  for (size_t i = 0; i < sketch.vars.size(); ++i) {
    const SketchVar& v = sketch.vars[i];
    if (v.table.empty()) continue;
    writeTable(*nodes[i], v.kind == UTILITY ? WhichTable::FuncReal : WhichTable::Cpt, nullptr, v.table.data());
  }
  return net.release();
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

std::string floatText(double v) {
  char buf[40];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<float>(v));
  return ec == std::errc() ? std::string(buf, end) : std::to_string(v);
}

}  // namespace quorva
