// Entering, reading and retracting findings, with the checks that refuse a finding that cannot
// hold.  Every refusal leaves the node's previous finding in force.
#pragma once
#include <vector>

namespace quorva {

class Bnet;
class Bnode;
struct Finding;

inline constexpr int LIKELIHOOD_FINDING_CODE = -6;
inline constexpr int NEGATIVE_FINDING_CODE = -7;

// The routine behind state findings.  `replace`: a present finding is replaced rather than
// contradicted.  `check`: the state is range-checked (errors 3316, 3300, 3301).
void enterState(Bnode& node, int state, bool replace, bool check, bool action = false);
void enterNot(Bnode& node, int state);
void enterLikelihood(Bnode& node, const float* likelihood, bool action = false);
void enterValue(Bnode& node, double value, bool action = false);
void enterCalibration(Bnode& node, const float* probs);
void enterInterval(Bnode& node, double low, double high);
void enterGaussian(Bnode& node, double mean, double stdDev);
void retractNode(Bnode& node);
void retractNet(Bnet& net);

// The state the finding shows (0..n-1), UNDEF_STATE, LIKELIHOOD_FINDING, NEGATIVE_FINDING, or -1
// for an all-zero or empty likelihood.
int findingCode(const Bnode& node);
// The node's findings as one likelihood vector (all ones when there are none).
std::vector<float> accumulatedLikelihood(const Bnode& node);

// Inside an open FindingBatch whose owner puts findings back when a change is refused: the same
// changes, checks, refusals and change events as retractNode (handing the retracted finding back
// for the owner to keep), and as retractNode followed by enterState(node, state, true, true),
// without the undo record and the safeguards each lone change carries (the owner makes one undo
// record for the group).
Finding takeInBatch(Bnode& node);
void replaceStateInBatch(Bnode& node, int state);

// Groups the finding changes of one call that changes many (retracting a net's findings, entering
// a case): with auto-update the beliefs are updated once, at commit(), instead of after each
// change, and whether the findings hold together is learnt from that one update instead of being
// checked finding by finding.  Groups nest; only the outermost one updates.  A group left without
// commit() (an exception) updates nothing: the caller puts the findings back.
class FindingBatch {
 public:
  explicit FindingBatch(Bnet& net);
  ~FindingBatch();
  FindingBatch(const FindingBatch&) = delete;
  FindingBatch& operator=(const FindingBatch&) = delete;
  // Ends the group; the outermost one, when findings changed on a compiled net that updates
  // automatically, updates the beliefs (raising the update's errors, such as inconsistent
  // findings).
  void commit();

 private:
  Bnet& net_;
  bool open_ = true;
};

// Whether the findings of the net together still have probability above zero: asked of belief
// updating when the net is compiled and updates automatically; otherwise an impossible
// combination is found when beliefs are next updated.
bool findingsPossible(Bnet& net);

}  // namespace quorva
