// The enumeration behind ReferenceJoint: P(x) = prod_v P(x_v | x_parents(v)) for every x.
#include "Support/ReferenceJoint.h"

#include <stdexcept>

namespace {

// Steps `config` to the next configuration, the first entry fastest; false after the last one.
bool advance(std::vector<int>& config, const std::vector<int>& states) {
  for (size_t i = 0; i < config.size(); ++i) {
    if (++config[i] < states[i]) return true;
    config[i] = 0;
  }
  return false;
}

}  // namespace

ReferenceJoint::ReferenceJoint(const net_bn* net) {
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  const int count = LengthNodeList_bn(nodes);
  std::vector<std::vector<int>> parents(static_cast<size_t>(count));
  std::vector<std::vector<double>> cpts(static_cast<size_t>(count));
  size_t total = 1;
  for (int i = 0; i < count; ++i) {
    node_bn* n = GetNthNode_bn(nodes, i);
    states_.push_back(GetNodeNumberStates_bn(n));
    total *= static_cast<size_t>(states_.back());
    const nodelist_bn* ps = GetNodeParents_bn(n);
    size_t rows = 1;
    for (int p = 0; p < LengthNodeList_bn(ps); ++p) {
      node_bn* parent = GetNthNode_bn(ps, p);
      parents[static_cast<size_t>(i)].push_back(IndexOfNodeInList_bn(parent, nodes, 0));
      rows *= static_cast<size_t>(GetNodeNumberStates_bn(parent));
    }
    const prob_bn* cpt = GetNodeProbs_bn(n, nullptr);
    if (!cpt) throw std::runtime_error("a node has no CPT");
    cpts[static_cast<size_t>(i)].assign(cpt, cpt + rows * static_cast<size_t>(states_.back()));
  }
  if (total > 2'000'000) throw std::runtime_error("net too large to enumerate");
  joint_.assign(total, 0.0);
  std::vector<int> config(static_cast<size_t>(count), 0);
  size_t at = 0;
  do {
    double p = 1;
    for (size_t v = 0; v < config.size(); ++v) {
      // The row: parents in parent order, the last one varying fastest; then the node's state.
      size_t row = 0;
      for (int q : parents[v]) row = row * static_cast<size_t>(states_[static_cast<size_t>(q)]) +
                                     static_cast<size_t>(config[static_cast<size_t>(q)]);
      p *= cpts[v][row * static_cast<size_t>(states_[v]) + static_cast<size_t>(config[v])];
    }
    joint_[at++] = p;
  } while (advance(config, states_));
}

ReferenceJoint::Answer ReferenceJoint::solve(const std::vector<std::vector<double>>& likelihoods) const {
  Answer out;
  std::vector<std::vector<double>> sums;
  for (int s : states_) sums.emplace_back(static_cast<size_t>(s), 0.0);
  std::vector<int> config(states_.size(), 0);
  size_t at = 0;
  do {
    double w = joint_[at++];
    for (size_t v = 0; v < config.size() && w != 0; ++v)
      if (!likelihoods[v].empty()) w *= likelihoods[v][static_cast<size_t>(config[v])];
    if (w == 0) continue;
    out.probFindings += w;
    for (size_t v = 0; v < config.size(); ++v) sums[v][static_cast<size_t>(config[v])] += w;
  } while (advance(config, states_));
  if (out.probFindings > 0) {
    for (auto& s : sums)
      for (double& x : s) x /= out.probFindings;
    out.beliefs = std::move(sums);
  }
  return out;
}

std::vector<std::vector<double>> ReferenceJoint::maxMarginals(const std::vector<std::vector<double>>& likelihoods) const {
  std::vector<std::vector<double>> best;
  for (int s : states_) best.emplace_back(static_cast<size_t>(s), 0.0);
  std::vector<int> config(states_.size(), 0);
  size_t at = 0;
  do {
    double w = joint_[at++];
    for (size_t v = 0; v < config.size(); ++v)
      if (!likelihoods[v].empty()) w *= likelihoods[v][static_cast<size_t>(config[v])];
    for (size_t v = 0; v < config.size(); ++v) {
      double& b = best[v][static_cast<size_t>(config[v])];
      if (w > b) b = w;
    }
  } while (advance(config, states_));
  return best;
}

std::vector<double> ReferenceJoint::subsetJoint(const std::vector<std::vector<double>>& likelihoods,
                                                const std::vector<size_t>& places) const {
  size_t cells = 1;
  for (size_t p : places) cells *= static_cast<size_t>(states_[p]);
  std::vector<double> out(cells, 0.0);
  double total = 0;
  std::vector<int> config(states_.size(), 0);
  size_t at = 0;
  do {
    double w = joint_[at++];
    for (size_t v = 0; v < config.size() && w != 0; ++v)
      if (!likelihoods[v].empty()) w *= likelihoods[v][static_cast<size_t>(config[v])];
    if (w == 0) continue;
    size_t cell = 0;
    for (size_t p : places) cell = cell * static_cast<size_t>(states_[p]) + static_cast<size_t>(config[p]);
    out[cell] += w;
    total += w;
  } while (advance(config, states_));
  if (!(total > 0)) return {};
  for (double& x : out) x /= total;
  return out;
}
