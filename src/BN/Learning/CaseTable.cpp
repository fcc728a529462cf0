// Reading case files into memory.
#include "BN/Learning/CaseTable.h"

#include "BN/Net/Bnet.h"

namespace quorva {

CaseTable readCaseTable(const std::vector<WeightedFile>& files, Bnet& net, const std::vector<Bnode*>& wanted,
                        const CaseFormat& format) {
  CaseTable t;
  t.width = net.nodes.size();
  bool anyLikelihood = false;
  for (const WeightedFile& f : files) {
    CaseFeed feed(*f.file, net, wanted, format);
    while (feed.next()) {
      t.states.insert(t.states.end(), feed.states().begin(), feed.states().end());
      t.weights.push_back(f.degree * feed.freq());
      if (!feed.likelihoods().empty() && !anyLikelihood) {
        anyLikelihood = true;
        t.likelihoods.resize(t.weights.size() - 1);
      }
      if (anyLikelihood) t.likelihoods.push_back(feed.likelihoods());
    }
  }
  return t;
}

}  // namespace quorva
