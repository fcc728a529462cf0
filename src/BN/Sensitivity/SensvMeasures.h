// The measures of sensitivity to findings, worked out from what one pass over the target's states
// gives: the target's beliefs P(t), and for each wiggle node W its beliefs P(w) and its beliefs
// given each target state P(w | t).  Entropies are in bits (logarithms to base 2).
#pragma once
#include <cstddef>
#include <vector>

namespace quorva {

// One wiggle node's part of the pass.
struct WiggleBeliefs {
  size_t states = 0;
  std::vector<double> prior;  // P(w), one per wiggle state
  std::vector<double> given;  // P(w | t) at [t * states + w]; P(w) itself where P(t) is 0
};

// -sum P(t) log2 P(t) over the states with P(t) above 0.
double entropyBits(const std::vector<double>& pt);

// sum over t, w of P(t) P(w | t) log2 r, with r = P(w | t) / P(w) (1 where P(w) is 0), over the
// pairs where r is above 0: the mutual information of the target and W.
double mutualInfoBits(const std::vector<double>& pt, const WiggleBeliefs& w);

// r = P(w | t) / P(w) = P(t | w) / P(t), and 1 where P(w) is 0.
double beliefRatio(const WiggleBeliefs& w, size_t ws, size_t t);

// P(t | w) = r P(t): the target's belief in t once W is found in state w.
double beliefGiven(const std::vector<double>& pt, const WiggleBeliefs& w, size_t ws, size_t t);

// sum over w of P(w) (P(t | w) - P(t))^2: the variance of the target's belief in t over the
// findings W may give.
double beliefChangeVariance(const std::vector<double>& pt, const WiggleBeliefs& w, size_t t);

// The least and greatest P(t | w) over the wiggle states w with P(w) above 0.
void beliefRange(const std::vector<double>& pt, const WiggleBeliefs& w, size_t t, double& least, double& most);

// sum over t of beliefChangeVariance: the expected squared change of the target's whole belief
// vector; at most 1 - sum P(t)^2, reached when W determines the target.
double beliefVariance(const std::vector<double>& pt, const WiggleBeliefs& w);

// E[V | w] = sum over t of P(t | w) value(t): the target's mean value once W is found in w.
double realMeanGiven(const std::vector<double>& pt, const std::vector<double>& value, const WiggleBeliefs& w,
                     size_t ws);

// Var(V) - E_W[Var(V | W)] = sum over w of P(w) (E[V | w] - E[V])^2: the expected reduction of the
// variance of the target's value V; at most Var(V).
double varianceReduction(const std::vector<double>& pt, const std::vector<double>& value, const WiggleBeliefs& w);

// sum P(t) (value(t) - E[V])^2.
double valueVariance(const std::vector<double>& pt, const std::vector<double>& value);

}  // namespace quorva
