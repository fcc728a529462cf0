// API functions of node tables.
#include <cstring>

#include "BN/Tables/NodeTableOps.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/TableErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

WhichTable whichTable(ApiFrame& f, const char* name) {
  if (!name) argError(&f.env(), err::WhichTableNull);
  if (!std::strcmp(name, "cpt")) return WhichTable::Cpt;
  if (!std::strcmp(name, "exper")) return WhichTable::Exper;
  if (!std::strcmp(name, "function_state")) return WhichTable::FuncState;
  if (!std::strcmp(name, "function_real")) return WhichTable::FuncReal;
  argError(&f.env(), err::WhichTableUnknown, name);
}

void checkSizeParentStates(ApiFrame& f, const Bnode& n, const state_bn* ps, int size) {
  int parents = static_cast<int>(n.parents.size());
  if (ps && size != parents) argError(&f.env(), err::SizeParentStates, size, n.name, parents);
  if (!ps && size != 0) argError(&f.env(), err::SizeParentStatesNull, size);
}

// The parent states of a row read: one per parent, each in range.
void rowStates(ApiFrame& f, const Bnode& n, const state_bn* ps) {
  if (!n.parents.empty()) f.notNull(ps, "parent_states");
}

}  // namespace

extern "C" {

void SetNodeProbs_bn(node_bn* node, const state_bn* parent_states, const prob_bn* probs) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    f.notNull(probs, "probs");
    setProbs(n, parent_states, probs);
  });
}

const prob_bn* GetNodeProbs_bn(const node_bn* node, const state_bn* parent_states) {
  return apiCall(__func__, static_cast<const prob_bn*>(nullptr), envOf(node), [&](ApiFrame& f) {
    return getProbs(f.node(node), parent_states);
  });
}

void SetNodeFuncState_bn(node_bn* node, const state_bn* parent_states, state_bn state) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    setFuncState(n, parent_states, state);
  });
}

void SetNodeFuncReal_bn(node_bn* node, const state_bn* parent_states, double value) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    setFuncReal(n, parent_states, value);
  });
}

state_bn GetNodeFuncState_bn(const node_bn* node, const state_bn* parent_states) {
  return apiCall(__func__, state_bn{UNDEF_STATE}, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    return getFuncState(n, parent_states);
  });
}

double GetNodeFuncReal_bn(const node_bn* node, const state_bn* parent_states) {
  return apiCall(__func__, GetUndefDbl_vq(), envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    return getFuncReal(n, parent_states);
  });
}

void SetNodeExperience_bn(node_bn* node, const state_bn* parent_states, double experience) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    setExperience(n, parent_states, experience);
  });
}

double GetNodeExperience_bn(const node_bn* node, const state_bn* parent_states) {
  return apiCall(__func__, GetUndefDbl_vq(), envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    rowStates(f, n, parent_states);
    return getExperience(n, parent_states);
  });
}

bool_vq HasNodeTable_bn(const node_bn* node, bool_vq* complete) {
  return apiCall(__func__, bool_vq{0}, envOf(node), [&](ApiFrame& f) {
    const Bnode& n = f.node(node);
    if (complete) *complete = isTableComplete(n);
    return static_cast<bool_vq>(n.tables.cpt.isAllocated() || n.tables.func.isAllocated());
  });
}

bool_vq IsNodeDeterministic_bn(const node_bn* node) {
  return apiCall(__func__, bool_vq{0}, envOf(node),
                 [&](ApiFrame& f) { return static_cast<bool_vq>(isDeterministic(f.node(node))); });
}

void DeleteNodeTables_bn(node_bn* node) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) { deleteTables(f.node(node)); });
}

const double* GetNodeTable_bn(const node_bn* node, const char* which_table, const state_bn* parent_states,
                              int size_parent_states, double* table, int* size_table) {
  return apiCall(__func__, static_cast<const double*>(nullptr), envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    WhichTable which = whichTable(f, which_table);
    checkSizeParentStates(f, n, parent_states, size_parent_states);
    if (parent_states) checkParentStates(n, parent_states, true);
    // Counted before anything is built, so that a table too large to hand out costs nothing.
    double entries = subTableEntries(n, which, parent_states);
    if (entries > 2147483647.0) engError(&f.env(), err::GetTooLarge, n.name);
    int count = static_cast<int>(entries);
    if (table) {
      if (!size_table) argError(&f.env(), err::SizeTableNull);
      if (*size_table < count) argError(&f.env(), err::SizeTableSmall, *size_table, count);
    } else {
      if (size_table && *size_table != 0) argError(&f.env(), err::SizeTableNotZero, *size_table);
      bool whole = entries == subTableEntries(n, which, nullptr);
      if (!whole && count != 1) argError(&f.env(), err::TableNullSubtable, n.name);
    }
    std::vector<double> values = readTable(n, which, parent_states);
    if (size_table) *size_table = count;
    if (table) {
      std::copy(values.begin(), values.end(), table);
      return static_cast<const double*>(table);
    }
    n.editDetails().tableRead = std::move(values);
    return static_cast<const double*>(n.details().tableRead.data());
  });
}

void SetNodeTable_bn(node_bn* node, const char* which_table, const state_bn* parent_states,
                     int size_parent_states, const double* table, int size_table) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    WhichTable which = whichTable(f, which_table);
    checkSizeParentStates(f, n, parent_states, size_parent_states);
    checkTableSettable(n, which, which_table);
    if (!table) {
      if (parent_states) argError(&f.env(), err::SetTableNull);
      removeTable(n, which);
      return;
    }
    if (parent_states) checkParentStates(n, parent_states, true);
    double expected = subTableEntries(n, which, parent_states);
    if (size_table != expected)
      argError(&f.env(), err::SetTableCount, size_table, static_cast<int>(expected), n.name);
    writeTable(n, which, parent_states, table);
  });
}

}  // extern "C"
