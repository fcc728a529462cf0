// Counting learning: revising CPTs by the cases in which a node and all its parents are known,
// from the findings now entered or from case files, and fading old knowledge.
#pragma once
#include <vector>

#include "VarVal/CaseFormat.h"

namespace quorva {

class Bnet;
class Bnode;
class FileSpec;

// Revises the CPT of each listed node (nature and disconnected nodes; others are skipped) whose
// family the entered findings fix, adding `degree` to the cell of the case.  Nodes are revised in
// turn: a refusal leaves the failing node as it was and earlier ones revised.
void reviseByFindings(const std::vector<Bnode*>& nodes, double degree);

// Files of cases with the weight of each (the degree times each case's NumCases).
struct WeightedFile {
  FileSpec* file;
  double degree;
};

// Revises the listed nodes' CPTs by every case of the files, each file read a line at a time
// under the progress monitor "incorporating cases".  All or nothing: on any refusal (a faulty
// case, unlearning past zero, no node with a whole family in any case) every table stays as it
// was.  A halt keeps the cases read so far, with a warning that says how many.  Returns the
// number of cases read.
long reviseByCaseFiles(const std::vector<WeightedFile>& files, const std::vector<Bnode*>& nodes,
                       const CaseFormat& format);

// Fades the node's CPT by `degree` (0 to 1): each count c becomes c (1 - d) + PRIOR_COUNT d.
void fadeCpt(Bnode& node, double degree);

}  // namespace quorva
