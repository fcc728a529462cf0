// Drawing a value inside one interval of a discretization, and finding the interval of a value.
//
// An interval i of the boundaries b0 < b1 < ... (the outer ones may be infinite) is sampled as:
//   finite [bi, bi+1]:      bi + u (bi+1 - bi), weight the width;
//   upper end infinite:     bi - ln(u) w, w the width of the interval below (1 if that is 0 or
//                           infinite);
//   lower end infinite:     bi+1 - ln(u) w, w = bi+1 - bi+2 (negative; -1 if that is infinite);
//   both ends infinite:     a unit exponential to the left or the right, by a fair coin;
// with u uniform in (0, 1].  The weight of an open-ended draw is |w| / u, the inverse of the
// density the value was drawn with, so that density(value) * weight estimates the interval's
// probability.
#pragma once
#include <vector>

namespace quorva {

class RandomGen;

// A value inside interval `i` of `bounds` (increasing or decreasing), and its weight.
double sampleInInterval(const std::vector<double>& bounds, int i, RandomGen& rng, double* weight);

// The interval of `bounds` holding `x` (the last one closed at both ends), or -1 when none does.
int intervalOf(const std::vector<double>& bounds, double x);

}  // namespace quorva
