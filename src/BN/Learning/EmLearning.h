// Learning CPTs by expectation-maximisation from cases with missing values.
//
// Each iteration takes the expected count of every family configuration of each learnt node
// from the junction tree (one propagation per case, the family marginal of the node's home
// clique) and sets each CPT row to the expected counts plus the prior counts (the node's counts
// before learning: its CPT times its experience, or uniform), normalised.  The objective, the
// log-likelihood of the cases plus the sum over cells of prior count times log probability,
// never falls from one iteration to the next; learning stops after `maxIters` iterations or when
// it changes by no more than `tolerance` times its size.  Each iteration's objective is reported
// to the progress watcher.
//
// The cases are split in blocks whose size depends only on their number; workers (each with its
// own compiled copy of the net in an environment of its own) take blocks, and the blocks'
// counts are summed in block order, so that the result is the same for any number of threads.
#pragma once
#include <vector>

#include "BN/Learning/Learner.h"

namespace quorva {

LearnReport learnByEm(const std::vector<Bnode*>& nodes, const std::vector<WeightedFile>& files,
                      const CaseFormat& format, const LearnSettings& settings);

}  // namespace quorva
