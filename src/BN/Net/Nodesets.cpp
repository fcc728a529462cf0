// Node sets, user and built-in.
#include "BN/Net/Nodesets.h"

#include <algorithm>
#include <cmath>

#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Net/NodesetErrors.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"

namespace quorva {

const std::vector<std::string>& builtinNodesets() {
  static const std::vector<std::string> names{
      ":LikelihoodFinding", ":Finding", ":Deterministic", ":Boolean", ":TwoState", ":Discrete",
      ":Continuous", ":Nature", ":Title", ":Documentation", ":ConstantValue", ":Constant",
      ":DecisionSolved", ":Decision", ":Adversary", ":Utility", ":Equation", ":TableIncomplete",
      ":HasTable", ":Parentless", ":Childless", ":Node"};
  return names;
}

bool isBuiltinNodeset(const std::string& name) {
  const auto& all = builtinNodesets();
  return std::find(all.begin(), all.end(), name) != all.end();
}

namespace {

bool hasBooleanNames(const Bnode& n) {
  static const char* const pairs[][2] = {{"false", "true"}, {"no", "yes"}, {"F", "T"}, {"off", "on"}, {"absent", "present"}};
  if (n.numStates != 2 || n.stateNames.size() != 2) return false;
  for (const auto& p : pairs)
    if ((n.stateNames[0] == p[0] && n.stateNames[1] == p[1]) || (n.stateNames[0] == p[1] && n.stateNames[1] == p[0]))
      return true;
  return false;
}

bool hasLikelihood(const Bnode& n) { return !n.finding.likelihood.empty(); }

}  // namespace

bool inBuiltinNodeset(const Bnode& n, const std::string& set) {
  bool hasTable = n.tables.cpt.isAllocated() || n.tables.func.isAllocated();
  if (set == ":LikelihoodFinding") return hasLikelihood(n) && n.finding.state < 0;
  if (set == ":Finding") return n.finding.state >= 0 || !std::isnan(n.finding.value) || hasLikelihood(n);
  if (set == ":Deterministic") return isDeterministic(n);
  if (set == ":Boolean") return hasBooleanNames(n);
  if (set == ":TwoState") return n.numStates == 2;
  if (set == ":Discrete") return n.type == DISCRETE;
  if (set == ":Continuous") return n.type == CONTINUOUS;
  if (set == ":Nature") return n.kind == NATURE;
  if (set == ":Title") return !n.details().title.empty();
  if (set == ":Documentation") return !n.details().comment.empty();
  if (set == ":ConstantValue") return n.kind == CONSTANT && (n.finding.state >= 0 || !std::isnan(n.finding.value));
  if (set == ":Constant") return n.kind == CONSTANT;
  if (set == ":DecisionSolved") return n.kind == DECISION && hasTable;
  if (set == ":Decision") return n.kind == DECISION;
  if (set == ":Adversary") return n.kind == ADVERSARY;
  if (set == ":Utility") return n.kind == UTILITY;
  if (set == ":Equation") return !n.details().equation.empty();
  if (set == ":TableIncomplete") return hasTable && !isTableComplete(n);
  if (set == ":HasTable") return hasTable;
  if (set == ":Parentless") return n.parents.empty() && n.kind != CONSTANT;
  if (set == ":Childless") return n.children.empty() && n.kind != CONSTANT;
  return set == ":Node";
}

void checkNewNodesetName(const Bnet& net, const std::string& name) {
  EnvCore* env = net.env;
  if (isBuiltinNodeset(name)) engError(env, err::NodesetBuiltinName, name);
  std::string why;
  if (checkName(name, NAME_ALL | NAME_NO_ASTERISK, &why)) engError(env, err::NodesetBadName, name, why);
  if (name.size() >= 2 && name.compare(name.size() - 2, 2, "NS") == 0) engError(env, err::NodesetReserved, name);
}

void addToNodeset(Bnode& n, const std::string& set) {
  Bnet& net = *n.net;
  if (isBuiltinNodeset(set)) engError(net.env, err::NodesetAddBuiltin, set);
  if (!net.findNodeset(set)) checkNewNodesetName(net, set);
  if (std::find(n.details().nodesets.begin(), n.details().nodesets.end(), set) != n.details().nodesets.end()) return;
  NetEdit edit(net, "add to node set", EditKind::Text, UndoScope::lists().with(&n, NODE_REST));
  if (!net.findNodeset(set)) net.nodesets.push_back({set});
  n.editDetails().nodesets.push_back(set);
  edit.commit();
}

void removeFromNodeset(Bnode& n, const std::string& set) {
  Bnet& net = *n.net;
  if (isBuiltinNodeset(set)) engError(net.env, err::NodesetRemoveBuiltin, set);
  if (!net.findNodeset(set)) engError(net.env, err::NodesetMissing, net.name, set);
  NetEdit edit(net, "remove from node set", EditKind::Text, UndoScope::nodeParts(n, NODE_REST));
  std::vector<std::string>& sets = n.editDetails().nodesets;
  sets.erase(std::remove(sets.begin(), sets.end(), set), sets.end());
  edit.commit();
}

bool isInNodeset(const Bnode& n, const std::string& set) {
  if (isBuiltinNodeset(set)) return inBuiltinNodeset(n, set);
  return std::find(n.details().nodesets.begin(), n.details().nodesets.end(), set) != n.details().nodesets.end();
}

std::string allNodesets(const Bnet& net, bool withBuiltin) {
  std::string out;
  auto add = [&](const std::string& s) { out += (out.empty() ? "" : ",") + s; };
  for (const Nodeset& s : net.nodesets) add(s.name);
  if (withBuiltin)
    for (const std::string& s : builtinNodesets()) add(s);
  return out;
}

void reorderNodesets(Bnet& net, const std::string& order) {
  std::vector<std::string> first = splitNameList(order);
  std::vector<Nodeset> next;
  for (const std::string& name : first) {
    if (isBuiltinNodeset(name)) continue;
    const Nodeset* s = net.findNodeset(name);
    if (!s) engError(net.env, err::NodesetMissing, net.name, name);
    if (std::none_of(next.begin(), next.end(), [&](const Nodeset& x) { return x.name == name; })) next.push_back(*s);
  }
  for (const Nodeset& s : net.nodesets)
    if (std::none_of(next.begin(), next.end(), [&](const Nodeset& x) { return x.name == s.name; })) next.push_back(s);
  NetEdit edit(net, "reorder node sets", EditKind::Text, UndoScope::lists());
  net.nodesets = std::move(next);
  edit.commit();
}

int setNodesetColor(Bnet& net, const std::string& set, int color) {
  Nodeset* s = net.findNodeset(set);
  if (!s) {
    if (color < 0) return -1;  // only reading the colour of a set that does not exist
    checkNewNodesetName(net, set);
    NetEdit edit(net, "new node set", EditKind::Text, UndoScope::lists());
    net.nodesets.push_back({set, color});
    edit.commit();
    return -1;
  }
  int before = s->color;
  if (color >= 0 && color != before) {
    NetEdit edit(net, "node set colour", EditKind::Text, UndoScope::lists());
    s->color = color;
    edit.commit();
  }
  return before;
}

}  // namespace quorva
