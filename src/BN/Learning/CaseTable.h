// The cases of case files held in memory as the state of each node (for learners and testers
// that go over the cases more than once): read through CaseFeed, so a case file is matched to
// the net exactly as counting learning matches it.
#pragma once
#include <cstdint>
#include <utility>
#include <vector>

#include "BN/Learning/CaseFeed.h"
#include "BN/Learning/CountingLearning.h"

namespace quorva {

struct CaseTable {
  size_t width = 0;            // the number of nodes of the net
  std::vector<int32_t> states; // per case, per node (net order): a state or UNKNOWN_STATE
  std::vector<double> weights; // per case: the file's degree times its NumCases
  // Likelihoods other than a single state: per case (empty when no case has any).
  std::vector<std::vector<std::pair<size_t, std::vector<float>>>> likelihoods;

  size_t size() const { return weights.size(); }
  const int32_t* row(size_t c) const { return states.data() + c * width; }
};

// Reads every case of the files, with the columns of the nodes in `wanted` (nodes of `net`).
CaseTable readCaseTable(const std::vector<WeightedFile>& files, Bnet& net, const std::vector<Bnode*>& wanted,
                        const CaseFormat& format);

}  // namespace quorva
