// Re-indexing node tables after changes of parents and states.  Every new table is built before
// any is installed, so a refusal (too large, out of memory) leaves the tables as they were.
#include "BN/TableReindex.h"

#include <algorithm>
#include <utility>

#include "BN/Bnet.h"
#include "BN/NodeTables.h"
#include "BN/PotTable.h"
#include "Basic/Raise.h"

namespace quorva {

PotTable reindexed(const PotTable& t, std::vector<Bnode*> nodes, std::vector<int> dims,
                   const std::vector<DimSource>& from, const std::vector<int>& sliceState, float fill) {
  PotTable out(t.env());
  out.setNodes(std::move(nodes), dims);
  if (!t.isAllocated()) return out;
  const std::vector<int>& oldDims = t.dims();
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
  if (child.tables.cpt.isAllocated()) checkCptSize(child, cptDims, "edit");
  std::vector<DimSource> from;
  for (int o : fromOld) from.push_back({o, {}});
  std::vector<Staged> staged;
  staged.push_back(rebuild(child, newParents, dims, child.numStates, from,
                           {static_cast<int>(child.parents.size()), {}}, sliceState, undefFloat()));
  install(staged);
}

void tablesFollowStates(Bnode& node, const std::vector<int>& fromOld, double fill) {
  int newCount = static_cast<int>(fromOld.size());
  float cptFill = fill == 0.0 ? 0.0f : undefFloat();
  std::vector<Staged> staged;
  if (node.tables.any()) {
    std::vector<DimSource> from;
    for (size_t i = 0; i < node.parents.size(); ++i) from.push_back({static_cast<int>(i), {}});
    staged.push_back(rebuild(node, tableNodes(node, false), dimsOf(tableNodes(node, false)), newCount, from,
                             {static_cast<int>(node.parents.size()), fromOld}, {}, cptFill));
    // A state-valued function table names states of this node: renumber them.
    PotTable& func = staged.back().tables.func;
    if (func.isAllocated() && !node.tables.funcReal)
      for (size_t i = 0; i < func.size(); ++i) {
        float& v = func.data()[i];
        if (isReservedFloat(v)) continue;
        auto it = std::find(fromOld.begin(), fromOld.end(), static_cast<int>(v));
        v = it == fromOld.end() ? undefFloat() : static_cast<float>(it - fromOld.begin());
      }
  }
  std::vector<Bnode*> seen;
  for (Bnode* child : node.children) {
    if (!child->tables.any() || std::find(seen.begin(), seen.end(), child) != seen.end()) continue;
    seen.push_back(child);
    std::vector<Bnode*> parents = tableNodes(*child, false);
    std::vector<int> dims = dimsOf(parents);
    std::vector<DimSource> from;
    for (size_t i = 0; i < parents.size(); ++i) {
      from.push_back({static_cast<int>(i), {}});
      if (parents[i] == &node) {
        dims[i] = newCount;
        from.back().stateFrom = fromOld;
      }
    }
    std::vector<int> cptDims = dims;
    cptDims.push_back(child->numStates);
    if (child->tables.cpt.isAllocated()) checkCptSize(*child, cptDims, "edit");
    staged.push_back(rebuild(*child, parents, dims, child->numStates, from,
                             {static_cast<int>(parents.size()), {}}, {}, undefFloat()));
  }
  install(staged);
}

}  // namespace quorva
