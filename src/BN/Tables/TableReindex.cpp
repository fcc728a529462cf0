// Re-indexing node tables after changes of parents and states.  Every new table is built before
// any is installed, so a refusal (too large, out of memory) leaves the tables as they were.
#include "BN/Tables/TableReindex.h"

#include <algorithm>
#include <utility>

#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTables.h"
#include "BN/Tables/PotTable.h"
#include "Basic/Raise.h"

namespace quorva {

PotTable reindexed(const PotTable& t, std::vector<Bnode*> nodes, std::vector<int> dims,
                   const std::vector<DimSource>& from, const std::vector<int>& sliceState, float fill) {
  PotTable out(t.env());
  out.setNodes(std::move(nodes), dims);
  // A dimension without states leaves no entries: the table goes.
  if (!t.isAllocated() || std::find(dims.begin(), dims.end(), 0) != dims.end()) return out;
  const std::span<const int> oldDims = t.dims();
  std::vector<size_t> oldStride(oldDims.size());
  for (size_t i = oldDims.size(), acc = 1; i-- > 0;) {
    oldStride[i] = acc;
    acc *= static_cast<size_t>(oldDims[i]);
  }
  size_t base = 0;
  for (size_t d = 0; d < oldDims.size(); ++d) {
    bool used = std::any_of(from.begin(), from.end(), [&](const DimSource& s) { return s.oldDim == static_cast<int>(d); });
    int st = d < sliceState.size() ? std::max(0, sliceState[d]) : 0;
    if (!used) base += static_cast<size_t>(st) * oldStride[d];
  }
  out.allocate();
  std::vector<int> s(dims.size(), 0);
  for (size_t at = 0; at < out.size(); ++at) {
    size_t old = base;
    bool fresh = false;
    for (size_t i = 0; i < dims.size() && !fresh; ++i) {
      const DimSource& src = from[i];
      if (src.oldDim < 0) continue;
      int so = src.stateFrom.empty() ? s[i] : src.stateFrom[static_cast<size_t>(s[i])];
      if (so < 0) fresh = true;
      else old += static_cast<size_t>(so) * oldStride[static_cast<size_t>(src.oldDim)];
    }
    out.data()[at] = fresh ? fill : t.data()[old];
    for (size_t i = dims.size(); i-- > 0;) {
      if (++s[i] < dims[i]) break;
      s[i] = 0;
    }
  }
  out.mayHaveNeg = t.mayHaveNeg;
  out.setFactorRaw(t.factor());
  return out;
}

namespace {

std::vector<int> dimsOf(const std::vector<Bnode*>& nodes) {
  std::vector<int> d;
  for (const Bnode* n : nodes) d.push_back(n->numStates);
  return d;
}

// A node's three tables, rebuilt aside and then installed together.
struct Staged {
  Bnode* node;
  NodeTables tables;
};

void install(std::vector<Staged>& staged) {
  for (Staged& s : staged) {
    bool real = s.node->tables.funcReal;
    s.node->tables = std::move(s.tables);
    s.node->tables.funcReal = real;
  }
}

// The node's tables rebuilt over new parents (and its own new state count for the CPT).
Staged rebuild(Bnode& node, std::vector<Bnode*> parents, std::vector<int> parentDims, int selfDim,
               std::vector<DimSource> from, DimSource selfFrom, const std::vector<int>& slice, float cptFill) {
  Staged st{&node, {}};
  const NodeTables& old = node.tables;
  st.tables.func = reindexed(old.func, parents, parentDims, from, slice, undefFloat());
  st.tables.exper = reindexed(old.exper, parents, parentDims, from, slice, 0.0f);
  parents.push_back(&node);
  parentDims.push_back(selfDim);
  from.push_back(std::move(selfFrom));
  st.tables.cpt = reindexed(old.cpt, std::move(parents), std::move(parentDims), from, slice, cptFill);
  return st;
}

}  // namespace

void tablesFollowParents(Bnode& child, const std::vector<Bnode*>& newParents,
                         const std::vector<int>& fromOld, const std::vector<int>& sliceState) {
  if (!child.tables.any()) return;
  std::vector<int> dims = dimsOf(newParents);
  std::vector<int> cptDims = dims;
  cptDims.push_back(child.numStates);
  checkCptSize(child, child.tables.cpt.isAllocated() ? cptDims : dims, "edit");
  std::vector<DimSource> from;
  for (int o : fromOld) from.push_back({o, {}});
  std::vector<Staged> staged;
  staged.push_back(rebuild(child, newParents, dims, child.numStates, from,
                           {static_cast<int>(child.parents.size()), {}}, sliceState, undefFloat()));
  install(staged);
}

namespace {
// How one node's tables are rebuilt when a node changes its states.
struct StatePlan {
  Bnode* owner;
  std::vector<Bnode*> parents;
  std::vector<int> dims;  // of the parents
  int selfDim;
  std::vector<DimSource> from;
  DimSource selfFrom;
};
}  // namespace

void tablesFollowStates(Bnode& node, const std::vector<int>& fromOld, double fill) {
  int newCount = static_cast<int>(fromOld.size());
  float cptFill = fill == 0.0 ? 0.0f : undefFloat();
  // The node itself, then each child once (a node linked to itself is both).
  std::vector<Bnode*> owners{&node};
  for (Bnode* child : node.children)
    if (std::find(owners.begin(), owners.end(), child) == owners.end()) owners.push_back(child);

  // Every size is checked before any table is built.
  std::vector<StatePlan> plans;
  for (Bnode* owner : owners) {
    if (!owner->tables.any()) continue;
    bool self = owner == &node;
    StatePlan p{owner, tableNodes(*owner, false), {}, self ? newCount : owner->numStates, {},
                {static_cast<int>(owner->parents.size()), self ? fromOld : std::vector<int>{}}};
    p.dims = dimsOf(p.parents);
    for (size_t i = 0; i < p.parents.size(); ++i) {
      p.from.push_back({static_cast<int>(i), {}});
      if (p.parents[i] == &node) {
        p.dims[i] = newCount;
        p.from.back().stateFrom = fromOld;
      }
    }
    std::vector<int> cptDims = p.dims;
    if (owner->tables.cpt.isAllocated()) cptDims.push_back(p.selfDim);
    checkCptSize(*owner, cptDims, "edit");
    plans.push_back(std::move(p));
  }

  std::vector<Staged> staged;
  for (StatePlan& p : plans) {
    bool self = p.owner == &node;
    staged.push_back(rebuild(*p.owner, p.parents, p.dims, p.selfDim, p.from, p.selfFrom, {},
                             self ? cptFill : undefFloat()));
    PotTable& func = staged.back().tables.func;
    if (!self || !func.isAllocated() || node.tables.funcReal) continue;
    // A state-valued function table names states of this node: renumber them (a node left
    // without states has no states to name, so the table goes).
    if (newCount == 0) {
      func.freeData();
      continue;
    }
    for (size_t i = 0; i < func.size(); ++i) {
      float& v = func.data()[i];
      if (isReservedFloat(v)) continue;
      auto it = std::find(fromOld.begin(), fromOld.end(), static_cast<int>(v));
      v = it == fromOld.end() ? undefFloat() : static_cast<float>(it - fromOld.begin());
    }
  }
  install(staged);
}

}  // namespace quorva
