// State operations.  Each checks everything before it changes anything, then moves the state
// lists, the levels, the finding and (through the re-indexing hook) the tables together.
#include "BN/Net/NodeStates.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NetErrors.h"
#include "BN/Tables/TableReindex.h"
#include "Basic/BasicErrors.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// Applies a state mapping (new state i is old state fromOld[i], -1 a new one) to every per-state
// list of the node and to its finding.
template <class T>
void remap(std::vector<T>& values, const std::vector<int>& fromOld, const T& fresh) {
  if (values.empty()) return;
  std::vector<T> out;
  out.reserve(fromOld.size());
  for (int old : fromOld) out.push_back(old >= 0 ? values[static_cast<size_t>(old)] : fresh);
  values = std::move(out);
}

void remapFinding(Finding& f, const std::vector<int>& fromOld) {
  if (f.state >= 0) {
    auto it = std::find(fromOld.begin(), fromOld.end(), f.state);
    f.state = it == fromOld.end() ? UNDEF_STATE_VALUE : static_cast<int>(it - fromOld.begin());
    if (it == fromOld.end()) f.likelihood.clear();
  }
  remap(f.likelihood, fromOld, 1.0f);
}

// A change of a node's states changes it and its children's tables.
UndoScope statesScope(Bnode& node) {
  UndoScope scope = UndoScope::nodeParts(node, NODE_REST | NODE_TABLES);
  for (Bnode* c : node.children) scope.with(c, NODE_TABLES);
  return scope;
}

void applyStateMap(Bnode& node, const std::vector<int>& fromOld, double fill) {
  tablesFollowStates(node, fromOld, fill);
  if (node.hasDetails()) {
    NodeDetails& d = node.editDetails();
    remap(d.stateTitles, fromOld, std::string());
    remap(d.stateComments, fromOld, std::string());
    if (node.type == DISCRETE) remap(d.levels, fromOld, undefDouble());
  }
  remapFinding(node.finding, fromOld);
  node.numStates = static_cast<int>(fromOld.size());
}

std::vector<std::string> defaultNames(int count, const std::vector<std::string>& avoid) {
  std::vector<std::string> out;
  for (int i = 0; static_cast<int>(out.size()) < count; ++i) {
    std::string n = "state" + std::to_string(i);
    if (std::find(avoid.begin(), avoid.end(), n) == avoid.end()) out.push_back(n);
  }
  return out;
}

void checkNames(EnvCore* env, const std::vector<std::string>& names, const char* arg) {
  std::string why = checkNameList(names);
  if (!why.empty()) argError(env, err::BadNameList, arg, why);
}

}  // namespace

void checkStateIndex(const Bnode& node, int state) {
  EnvCore* env = node.net->env;
  if (!node.hasStates() && node.type == CONTINUOUS) argError(env, err::StateOnContinuous, state, node.name);
  if (state < 0 || state >= node.numStates)
    argError(env, err::StateOutOfBounds, state, node.name, node.numStates - 1);
}

void setStateName(Bnode& node, int state, const char* name) {
  EnvCore* env = node.net->env;
  checkStateIndex(node, state);
  if (!name || !*name) argError(env, err::EmptyName);
  std::vector<std::string> names = node.stateNames;
  if (names.empty()) names = defaultNames(node.numStates, {name});
  names[static_cast<size_t>(state)] = name;
  checkNames(env, names, "state_name");
  NetEdit edit(*node.net, "set state name", EditKind::Text, UndoScope::texts(node));
  node.stateNames = std::move(names);
  edit.commit();
}

void setStateNames(Bnode& node, const char* text) {
  EnvCore* env = node.net->env;
  std::vector<std::string> names;
  if (text) {
    names = splitNameList(text);
    if (static_cast<int>(names.size()) != node.numStates)
      argError(env, err::StateNamesCount, static_cast<int>(names.size()), node.numStates);
    checkNames(env, names, "state_names");
  }
  NetEdit edit(*node.net, "set state names", EditKind::Text, UndoScope::texts(node));
  node.stateNames = std::move(names);
  edit.commit();
}

namespace {
void setStateText(Bnode& node, int state, const char* text, std::vector<std::string>& list,
                  const char* what) {
  checkStateIndex(node, state);
  NetEdit edit(*node.net, what, EditKind::Text, UndoScope::texts(node));
  if (list.empty()) list.resize(static_cast<size_t>(node.numStates));
  list[static_cast<size_t>(state)] = text ? text : "";
  edit.commit();
}
}  // namespace

void setStateTitle(Bnode& node, int state, const char* title) {
  setStateText(node, state, title, node.editDetails().stateTitles, "set state title");
}

void setStateComment(Bnode& node, int state, const char* comment) {
  setStateText(node, state, comment, node.editDetails().stateComments, "set state comment");
}

void addStates(Bnode& node, int first, const char* namesText, int count, double fill) {
  EnvCore* env = node.net->env;
  int n = node.numStates;
  if (node.type == CONTINUOUS && n == 0) argError(env, err::StateOnContinuous, first, node.name);
  if (first == -1) first = n;
  if (first < 0 || first > n) argError(env, err::AddStatesIndex, n, first);
  if (count < 0) argError(env, err::AddStatesNegative, count);
  if (!(fill == -1.0 || fill == 0.0 || isUndefDouble(fill))) argError(env, err::AddStatesFill, fill);
  std::vector<std::string> given = namesText ? splitNameList(namesText) : std::vector<std::string>{};
  std::vector<std::string> names = node.stateNames;
  if (!given.empty()) {
    if (names.empty() && n > 0) argError(env, err::AddStatesUnnamed, node.name);
    if (static_cast<int>(given.size()) != count)
      argError(env, err::AddStatesNames, static_cast<int>(given.size()), count);
  } else if (!names.empty()) {
    given = defaultNames(count, names);
  }
  if (!given.empty()) {
    names.insert(names.begin() + first, given.begin(), given.end());
    checkNames(env, names, "state_names");
  }
  if (count == 0) return;
  NetEdit edit(*node.net, "add states", EditKind::Structure, statesScope(node));
  std::vector<int> fromOld(static_cast<size_t>(n + count), -1);
  for (int i = 0; i < n; ++i) fromOld[static_cast<size_t>(i < first ? i : i + count)] = i;
  if (node.type == CONTINUOUS && !node.details().levels.empty()) {
    std::vector<double>& levels = node.editDetails().levels;
    levels.insert(levels.begin() + first + 1, static_cast<size_t>(count), undefDouble());
  }
  applyStateMap(node, fromOld, fill);
  node.stateNames = std::move(names);
  edit.commit();
}

void removeState(Bnode& node, int state) {
  checkStateIndex(node, state);
  int n = node.numStates;
  if (n == 1 && node.type == DISCRETE) argError(node.net->env, err::RemoveLastState, node.name);
  NetEdit edit(*node.net, "remove state", EditKind::Structure, statesScope(node));
  std::vector<int> fromOld;
  for (int i = 0; i < n; ++i)
    if (i != state) fromOld.push_back(i);
  if (node.type == CONTINUOUS) {
    // The removed interval joins its upper neighbour (the last one joins its lower neighbour).
    size_t cut = static_cast<size_t>(state < n - 1 ? state + 1 : state);
    if (n == 1) node.editDetails().levels.clear();
    else node.editDetails().levels.erase(node.editDetails().levels.begin() + static_cast<long>(cut));
  }
  applyStateMap(node, fromOld, 0.0);
  if (!node.stateNames.empty()) node.stateNames.erase(node.stateNames.begin() + state);
  edit.commit();
}

void reorderStates(Bnode& node, const int* order) {
  EnvCore* env = node.net->env;
  int n = node.numStates;
  std::vector<int> fromOld;
  while (static_cast<int>(fromOld.size()) < n && order[fromOld.size()] >= 0)
    fromOld.push_back(order[fromOld.size()]);
  if (static_cast<int>(fromOld.size()) != n)
    argError(env, err::ReorderCount, static_cast<int>(fromOld.size()), n, node.name);
  std::vector<bool> seen(static_cast<size_t>(n), false);
  for (int s : fromOld) {
    if (s >= n) argError(env, err::StateOutOfBounds, s, node.name, n - 1);
    if (seen[static_cast<size_t>(s)]) argError(env, err::ReorderRepeat, node.name, s);
    seen[static_cast<size_t>(s)] = true;
  }
  NetEdit edit(*node.net, "reorder states", EditKind::Structure, statesScope(node));
  applyStateMap(node, fromOld, 0.0);
  remap(node.stateNames, fromOld, std::string());
  edit.commit();
}

void setLevels(Bnode& node, int count, const double* levels) {
  EnvCore* env = node.net->env;
  if (count < 0) argError(env, err::LevelsNegative, node.name, count);
  if (node.type == DISCRETE) {
    if (count != node.numStates) argError(env, err::LevelsDiscreteCount, node.name, node.numStates, count);
    NetEdit edit(*node.net, "set levels", EditKind::Structure, statesScope(node));
    node.editDetails().levels = levels ? std::vector<double>(levels, levels + count) : std::vector<double>{};
    edit.commit();
    return;
  }
  std::vector<double> thresholds;
  if (levels && count > 0) thresholds.assign(levels, levels + count + 1);
  for (size_t i = 1; i < thresholds.size(); ++i)
    if (!(thresholds[i] > thresholds[i - 1]))
      argError(env, err::LevelsNotIncreasing, node.name, static_cast<int>(i), thresholds[i],
               thresholds[i - 1]);
  int newCount = thresholds.empty() ? 0 : count;
  NetEdit edit(*node.net, "set levels", EditKind::Structure, statesScope(node));
  if (newCount != node.numStates) {
    std::vector<int> fromOld(static_cast<size_t>(newCount), -1);
    std::iota(fromOld.begin(), fromOld.begin() + std::min(newCount, node.numStates), 0);
    node.finding = Finding();
    applyStateMap(node, fromOld, 0.0);
    node.stateNames.clear();
  }
  node.editDetails().levels = std::move(thresholds);
  edit.commit();
}

}  // namespace quorva
