// The columns of a case file bound to the nodes of a net, with each bound column's states indexed
// by name.  A binding is made once for a reading and kept from case to case while the net's
// names, states and node kinds stand as they were (the net's edit version is unchanged) and the
// caller asks for the same nodes in the same add-nodes mode; otherwise it is made again.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "VarVal/CaseFormat.h"
#include "VarVal/CaseReader.h"

namespace quorva {

class Bnet;
class Bnode;

// A node's states by name: the first state of each name, as a scan over the names would find.
// It refers to the node's names, so it lives no longer than they stand unchanged.
class StateIndex {
 public:
  StateIndex() = default;
  explicit StateIndex(const Bnode& node);
  // The first state named `name`, or -1.
  int find(std::string_view name) const;

 private:
  static constexpr size_t SCAN_LIMIT = 8;  // up to this many states a scan beats hashing
  std::vector<std::string_view> names_;
  std::unordered_map<std::string_view, int> byName_;  // used past SCAN_LIMIT states
};

// The node each column feeds (null: not read).  Columns naming nodes of `net` are read when the
// node is in `listed` or its name is in `added`.  Columns naming no node are treated by `mode`:
// added nodes are continuous, are read too, and have their names put in `added`.  With `report`,
// duplicated columns, ignored names and questions are recorded as warnings and notices.
std::vector<Bnode*> bindColumns(const CaseReader& reader, Bnet& net, const std::vector<Bnode*>& listed,
                                AddNew mode, bool report, std::vector<std::string>& added);

struct CaseBinding {
  const Bnet* net = nullptr;  // only compared, never followed
  uint64_t version = 0;       // the net's edit version once bound
  std::vector<Bnode*> listed;
  AddNew mode = AddNew::Dont;
  std::vector<Bnode*> bound;       // per column, as bindColumns gives it
  std::vector<StateIndex> states;  // per column; empty for a column not read

  // Whether this binding was made for `net` as it now stands, with these `listed` and `mode`.
  bool fits(const Bnet& net, const std::vector<Bnode*>& listed, AddNew mode) const;
  // Makes the binding again unless it fits; `report` and `added` as for bindColumns.
  void refresh(const CaseReader& reader, Bnet& net, const std::vector<Bnode*>& listed, AddNew mode, bool report,
               std::vector<std::string>& added);
};

}  // namespace quorva
