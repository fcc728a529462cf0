// Binding case-file columns to nodes, and indexing the states of the bound nodes by name.
#include "VarVal/CaseBinding.h"

#include <algorithm>
#include <set>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Net/NodeOps.h"
#include "Basic/Raise.h"
#include "VarVal/CaseErrors.h"

namespace quorva {

namespace {

// The node named `label`; failing that, the one node whose title is `label`; else null.
Bnode* findNode(Bnet& net, const std::string& label) {
  if (Bnode* node = net.find(label)) return node;
  Bnode* found = nullptr;
  for (Bnode* node : net.nodes) {
    if (label.empty() || node->details().title != label) continue;
    if (found) return nullptr;
    found = node;
  }
  return found;
}

}  // namespace

StateIndex::StateIndex(const Bnode& node) {
  names_.assign(node.stateNames.begin(), node.stateNames.end());
  if (names_.size() <= SCAN_LIMIT) return;
  byName_.reserve(names_.size());
  for (size_t i = 0; i < names_.size(); ++i) byName_.emplace(names_[i], static_cast<int>(i));  // first one stays
}

int StateIndex::find(std::string_view name) const {
  if (names_.size() > SCAN_LIMIT) {
    auto it = byName_.find(name);
    return it == byName_.end() ? -1 : it->second;
  }
  for (size_t i = 0; i < names_.size(); ++i) {
    const std::string_view& s = names_[i];
    if (s.size() == name.size() && (s.empty() || (s[0] == name[0] && s == name))) return static_cast<int>(i);
  }
  return -1;
}

std::vector<Bnode*> bindColumns(const CaseReader& reader, Bnet& net, const std::vector<Bnode*>& listed,
                                AddNew mode, bool report, std::vector<std::string>& added) {
  EnvCore* env = net.env;
  const std::string file = reader.stream().displayName();
  std::vector<Bnode*> bound(reader.columns().size(), nullptr);
  std::set<const Bnode*> seen;
  std::string ignored;
  for (size_t c = 0; c < bound.size(); ++c) {
    const CaseColumn& col = reader.columns()[c];
    if (col.role != CaseColumn::Variable) continue;
    Bnode* node = findNode(net, col.name);
    if (!node && (mode == AddNew::PrintAndAdd || mode == AddNew::Quietly)) {
      node = &createNode(net, col.name.c_str(), 0);
      added.push_back(col.name);
      if (mode == AddNew::PrintAndAdd) engNotice(env, err::AddedNode, col.name, net.name, file);
    }
    if (!node) {
      if (report && mode == AddNew::Query) engNotice(env, err::QueryAddNode, col.name, file);
      ignored += (ignored.empty() ? "" : ", ") + col.name;
      continue;
    }
    if (!seen.insert(node).second) {
      if (report) engWarning(env, err::DuplicateColumn, col.name, file);
      continue;
    }
    bool read = std::find(listed.begin(), listed.end(), node) != listed.end() ||
                std::find(added.begin(), added.end(), col.name) != added.end();
    if (read) bound[c] = node;
  }
  if (report && !ignored.empty()) engNotice(env, err::NodesNotInNet, file, net.name, ignored);
  return bound;
}

bool CaseBinding::fits(const Bnet& to, const std::vector<Bnode*>& nodes, AddNew how) const {
  return net == &to && version == to.editVersion() && mode == how && listed == nodes;
}

void CaseBinding::refresh(const CaseReader& reader, Bnet& to, const std::vector<Bnode*>& nodes, AddNew how,
                          bool report, std::vector<std::string>& added) {
  if (fits(to, nodes, how)) return;
  net = nullptr;  // not usable until made whole
  bound = bindColumns(reader, to, nodes, how, report, added);
  states.assign(bound.size(), StateIndex());
  for (size_t c = 0; c < bound.size(); ++c)
    if (bound[c]) states[c] = StateIndex(*bound[c]);
  listed = nodes;
  mode = how;
  version = to.editVersion();  // taken after any node the binding added
  net = &to;
}

}  // namespace quorva
