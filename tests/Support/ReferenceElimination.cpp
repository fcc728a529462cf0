// Variable elimination behind ReferenceElimination: products of factors and sums over a node,
// eliminating first the node whose elimination makes the smallest factor.
#include "Support/ReferenceElimination.h"

#include <algorithm>
#include <stdexcept>

namespace {

using Factor = ReferenceElimination::Factor;

// The entry of `f` at the configuration `config` of all nodes.
size_t indexIn(const Factor& f, const std::vector<int>& config, const std::vector<int>& states) {
  size_t at = 0, stride = 1;
  for (int x : f.vars) {
    at += stride * static_cast<size_t>(config[static_cast<size_t>(x)]);
    stride *= static_cast<size_t>(states[static_cast<size_t>(x)]);
  }
  return at;
}

// The product of `fs`, with node `out` (if not -1) summed out.
Factor combine(const std::vector<const Factor*>& fs, int out, const std::vector<int>& states) {
  Factor r;
  for (const Factor* f : fs) r.vars.insert(r.vars.end(), f->vars.begin(), f->vars.end());
  std::sort(r.vars.begin(), r.vars.end());
  r.vars.erase(std::unique(r.vars.begin(), r.vars.end()), r.vars.end());
  std::vector<int> kept;
  size_t size = 1;
  for (int x : r.vars)
    if (x != out) kept.push_back(x), size *= static_cast<size_t>(states[static_cast<size_t>(x)]);
  if (size > 50'000'000) throw std::runtime_error("factor too large");
  std::vector<int> config(states.size(), 0);
  Factor result{kept, std::vector<double>(size, 0.0)};
  for (;;) {
    double p = 1;
    for (const Factor* f : fs) p *= f->v[indexIn(*f, config, states)];
    result.v[indexIn(result, config, states)] += p;
    size_t k = 0;  // next configuration of r.vars, the first fastest
    for (; k < r.vars.size(); ++k) {
      int& c = config[static_cast<size_t>(r.vars[k])];
      if (++c < states[static_cast<size_t>(r.vars[k])]) break;
      c = 0;
    }
    if (k == r.vars.size()) break;
  }
  return result;
}

}  // namespace

ReferenceElimination::ReferenceElimination(const net_bn* net) {
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) states_.push_back(GetNodeNumberStates_bn(GetNthNode_bn(nodes, i)));
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    node_bn* n = GetNthNode_bn(nodes, i);
    const nodelist_bn* ps = GetNodeParents_bn(n);
    std::vector<int> family;  // parents in parent order, then the node
    for (int p = 0; p < LengthNodeList_bn(ps); ++p) family.push_back(IndexOfNodeInList_bn(GetNthNode_bn(ps, p), nodes, 0));
    family.push_back(i);
    const prob_bn* cpt = GetNodeProbs_bn(n, nullptr);
    if (!cpt) throw std::runtime_error("a node has no CPT");
    Factor f;
    f.vars = family;
    std::sort(f.vars.begin(), f.vars.end());
    size_t size = 1;
    for (int x : family) size *= static_cast<size_t>(states_[static_cast<size_t>(x)]);
    f.v.assign(size, 0.0);
    // CPT rows: the first parent slowest, the node itself fastest.
    std::vector<int> config(states_.size(), 0);
    for (size_t e = 0; e < size; ++e) {
      size_t rest = e;
      for (size_t k = family.size(); k-- > 0;) {
        int s = states_[static_cast<size_t>(family[k])];
        config[static_cast<size_t>(family[k])] = static_cast<int>(rest % static_cast<size_t>(s));
        rest /= static_cast<size_t>(s);
      }
      f.v[indexIn(f, config, states_)] = cpt[e];
    }
    cpts_.push_back(std::move(f));
  }
}

ReferenceElimination::Answer ReferenceElimination::solve(int query, const std::vector<std::vector<double>>& likelihoods) const {
  std::vector<Factor> pool = cpts_;
  for (size_t i = 0; i < likelihoods.size(); ++i)
    if (!likelihoods[i].empty()) pool.push_back({{static_cast<int>(i)}, likelihoods[i]});
  std::vector<int> left;
  for (int i = 0; i < static_cast<int>(states_.size()); ++i)
    if (i != query) left.push_back(i);
  while (!left.empty()) {
    // The node whose factors' union is smallest.
    size_t best = 0;
    double bestSize = 0;
    for (size_t k = 0; k < left.size(); ++k) {
      std::vector<int> scope;
      for (const Factor& f : pool)
        if (std::binary_search(f.vars.begin(), f.vars.end(), left[k])) scope.insert(scope.end(), f.vars.begin(), f.vars.end());
      std::sort(scope.begin(), scope.end());
      scope.erase(std::unique(scope.begin(), scope.end()), scope.end());
      double size = 1;
      for (int x : scope) size *= states_[static_cast<size_t>(x)];
      if (k == 0 || size < bestSize) best = k, bestSize = size;
    }
    int x = left[best];
    left.erase(left.begin() + static_cast<long>(best));
    std::vector<const Factor*> with;
    std::vector<Factor> rest;
    for (const Factor& f : pool)
      if (std::binary_search(f.vars.begin(), f.vars.end(), x)) with.push_back(&f);
    Factor summed = combine(with, x, states_);
    for (Factor& f : pool)
      if (!std::binary_search(f.vars.begin(), f.vars.end(), x)) rest.push_back(std::move(f));
    rest.push_back(std::move(summed));
    pool = std::move(rest);
  }
  std::vector<const Factor*> all;
  for (const Factor& f : pool) all.push_back(&f);
  Factor last = combine(all, -1, states_);  // over the query node alone
  Answer out;
  for (double p : last.v) out.probFindings += p;
  if (out.probFindings > 0)
    for (double p : last.v) out.beliefs.push_back(p / out.probFindings);
  return out;
}
