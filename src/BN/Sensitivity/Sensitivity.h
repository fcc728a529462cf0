// Sensitivity of a target node to findings at other ("wiggle") nodes: one pass over the target's
// states gives the beliefs every measure is worked out from; they are kept until what the net's
// beliefs are computed from (findings, tables, structure) changes.
#pragma once
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "BN/Sensitivity/SensvMeasures.h"
#include "Basic/Tagged.h"

namespace quorva {

class Bnet;
class Bnode;

inline constexpr uint16_t SENSV_TYPE = 0x94B8;

// The measures a sensitivity object may be asked for (the bits of its mask).
enum SensvBits : int {
  BELIEF_SENSV_BIT = 0x01,    // amount of belief change
  ENTROPY_SENSV_BIT = 0x02,   // entropy reduction (mutual information)
  REAL_SENSV_BIT = 0x04,      // the target's mean value given each wiggle state
  NODEVAR_SENSV_BIT = 0x08,   // variance of the target's beliefs
  RATIO_SENSV_BIT = 0x10,     // sensitivity ratio
  VARIANCE_SENSV_BIT = 0x100, // with BELIEF or REAL: their variance
  RANGE_SENSV_BIT = 0x200,    // with BELIEF: its least and greatest value
  ALL_SENSV_BITS = 0x31F,
};

// Whether a node may be a wiggle node: a nature, decision or disconnected node with states.
bool suitableWiggle(const Bnode& node);
// What keeps a node from being a wiggle node ("utility", "constant", "continuous", ...).
const char* unsuitableWhy(const Bnode& node);

class Sensv : public Tagged {
 public:
  // `wiggles` are filtered to the suitable ones, each kept once, in the order given.
  Sensv(Bnode& target, const std::vector<Bnode*>& wiggles, int what);

  Bnet* net;
  Bnode* target;
  int what;

  // The wiggle node's index in the filtered list, or -1.
  int indexOf(const Bnode& wiggle) const;
  const std::vector<Bnode*>& wiggles() const { return wiggles_; }

  // Makes the results current: runs the pass when none has run since the net's belief inputs
  // last changed.  The net's findings afterwards are those before, whatever happens.
  void refresh();
  const std::vector<double>& targetBeliefs() const { return pt_; }
  const WiggleBeliefs& wiggle(int index) const { return tables_[static_cast<size_t>(index)]; }
  // The target's entropy in bits (after refresh()).
  double targetEntropy();
  // How many passes have run (for tests of the caching).
  uint64_t passes() const { return passes_; }

  // Frees the results and marks the object deleted.
  void release();

 private:
  void pass();
  void readWiggles(size_t t, std::vector<std::vector<double>>& given);

  std::vector<Bnode*> wiggles_;
  std::unordered_map<const Bnode*, int> index_;
  bool computed_ = false;
  uint64_t stamp_ = 0;
  uint64_t passes_ = 0;
  std::vector<double> pt_;
  std::vector<WiggleBeliefs> tables_;
  double entropy_ = -1;  // below 0: not worked out yet
};

}  // namespace quorva
