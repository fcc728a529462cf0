// Cases of a case file as the learners and the tester take them: read one line at a time (the
// file is never held whole), each field matched to its node by the case reader and binding, and
// reduced to what learning uses per node: a known state, a likelihood, or nothing.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "VarVal/CaseBinding.h"
#include "VarVal/CaseFindings.h"
#include "VarVal/CaseReader.h"

namespace quorva {

class Bnet;
class Bnode;
class FileSpec;

// The state of each node of the net (by its place in net.nodes) in the case: a state, or
// UNKNOWN_STATE.  A likelihood with exactly one non-zero entry counts as that state; any other
// likelihood is kept in `likelihoods` for the learners that can use it.
inline constexpr int UNKNOWN_STATE = -1;

class CaseFeed {
 public:
  // Reads the header of `file` and binds its columns to the nodes of `net` that are in `wanted`
  // (columns naming no node are listed in a notice, and ignored).  Refusals of the file are thrown.
  CaseFeed(FileSpec& file, Bnet& net, const std::vector<Bnode*>& wanted, const CaseFormat& format);

  // The next case, skipping those with a value naming no state (a warning each); false at the
  // end.  A faulty line or value is thrown.
  bool next();
  // The case's NumCases (1 without that column), its number in the file, its line.
  double freq() const { return row_.freq; }
  long caseNumber() const { return row_.number; }
  // Per node of the net (net order): the state known in this case, or UNKNOWN_STATE.
  const std::vector<int>& states() const { return states_; }
  // The nodes (net order) with a likelihood other than a single state, and their likelihoods.
  const std::vector<std::pair<size_t, std::vector<float>>>& likelihoods() const { return likelihoods_; }
  // The fraction of the file read so far (0 to 1).
  double fraction() const;
  const CaseReader& reader() const { return reader_; }
  // Whether any column is bound to a node.
  bool anyBound() const;

 private:
  void reset(size_t place);

  Bnet& net_;
  CaseReader reader_;
  CaseBinding binding_;
  std::vector<size_t> place_;  // per column: the bound node's place in net.nodes
  CaseRow row_;
  std::vector<int> states_;
  std::vector<std::pair<size_t, std::vector<float>>> likelihoods_;
  std::vector<size_t> touched_;  // places set by the last case
  double size_ = 0;
};

// The state a value of a continuous node falls in, by its discretization thresholds; -1 when it
// has none or the value is outside them.
int stateOfValue(const Bnode& node, double value);

}  // namespace quorva
