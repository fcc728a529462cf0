// A net's tables in the form that forward sampling draws from: for every node, its parents, its
// normalised table rows and the cumulative rows of the distribution it is drawn from, with the
// findings as clamped states and likelihoods.  Built once; drawing reads it from any number of
// threads, each with its own generator.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorva {

class Bnet;
class RandomGen;

struct SampleNode {
  int states = 0;             // 0: the node is not drawn (no states, or a utility node)
  std::vector<int> parents;   // positions in the net's node list, in table order
  std::vector<int> parentStates;  // the number of states of each parent
  std::vector<double> prob;   // P(state | parents), one row per parent configuration
  std::vector<double> cum;    // the rows drawn from, cumulative (the last entry of a row is 1)
  std::vector<double> ratio;  // P / q per entry when drawn from q other than P; else empty
  int clamp = -1;             // the state a finding fixes, or -1
  std::vector<double> likelihood;  // the finding's likelihood, or empty
};

class SampleModel {
 public:
  // Reads the tables and findings of the net.  A row that is missing, undefined or all zero is
  // taken as uniform, and so is a decision node; a function table gives its state probability 1.
  // A directed cycle is refused (error 3051, as for random cases).
  explicit SampleModel(const Bnet& net);

  size_t size() const { return nodes_.size(); }
  const SampleNode& node(size_t i) const { return nodes_[i]; }
  // Positions of the drawn nodes, every parent before its children.
  const std::vector<int>& order() const { return order_; }
  bool hasFindings() const { return findings_; }

  // The row of node i's table at the parent states held in `values` (net positions).
  size_t row(size_t i, const int* values) const {
    const SampleNode& n = nodes_[i];
    size_t r = 0;
    for (size_t j = 0; j < n.parents.size(); ++j)
      r = r * static_cast<size_t>(n.parentStates[j]) + static_cast<size_t>(values[n.parents[j]]);
    return r;
  }

  // Draws node i from `rows` (rows of `proposal` normalised; a null `proposal` removes it) from
  // now on, weighting each draw by P / q.
  void setProposal(size_t i, const std::vector<double>& proposal);

  // Draws one case into values[0..size()-1] (-1 for nodes not drawn) and returns its weight: the
  // product of P(finding | parents) over clamped nodes, of the likelihoods of the states drawn,
  // and of P / q where a proposal is set.  `uniforms` is room the draw uses (kept by the caller
  // from case to case so that it is allocated once).
  double draw(RandomGen& rng, int* values, std::vector<double>& uniforms) const;

 private:
  // The nodes in drawing order with their rows in shared flat arrays, so that a draw walks a few
  // contiguous arrays rather than every node's own vectors.
  struct Step {
    int node = 0, states = 0, clamp = -1;
    uint32_t parentsAt = 0, parentsEnd = 0;  // in parentPos_ and parentCount_
    size_t tableAt = 0;                      // in prob_, cum_ and ratio_
    bool weighted = false;                   // ratio_ holds P / q for it
    bool likelihood = false;
  };
  void compact();
  // Copies node i's drawing rows into the flat arrays.
  void refresh(size_t i);

  std::vector<SampleNode> nodes_;
  std::vector<int> order_;
  bool findings_ = false;
  std::vector<Step> steps_;
  size_t freeSteps_ = 0;  // steps without a clamp: the uniforms one case uses
  std::vector<int> stepOf_;  // per net position: its step, or -1
  std::vector<int> parentPos_, parentCount_;
  std::vector<double> prob_, cum_, ratio_;
};

}  // namespace quorva
