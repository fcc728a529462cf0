// Nets in the UAI format of the inference competitions (BAYES files), and UAI evidence files.
//
// A BAYES file: the word BAYES, the number of variables, their cardinalities, the number of
// tables and each table's scope (its size, then variable indices: the parents, the child last),
// then the tables in the same order, each its entry count and its numbers in the scope's order
// with the last variable fastest.  MARKOV files (undirected factors) are refused: a factor graph
// has no conditional tables to give the nodes.
#pragma once
#include <string>
#include <vector>

namespace quorva {

class Bnet;
class EnvCore;
class FileSpec;

// Reads the whole stream `in` as a UAI BAYES file.  The nodes are named from `names` (one per
// variable, made legal and unique, the text kept as the title when it changed) or, when
// `names` is empty, "v0", "v1", ...; states are "s0", "s1", ....  A fault raises a located error
// record and leaves no net behind.  `namesFile` is the name of the file `names` came from, for
// the message when their count is wrong.
Bnet* readUaiNet(FileSpec& in, EnvCore* env, const std::vector<std::string>& names, const std::string& namesFile);

// Writes `net` to `out` as a UAI BAYES file; returns its node names, one per line, for a names
// file.  Decision and utility nodes, nodes without states and nodes without a complete table are
// refused before anything is written.
std::string writeUaiNet(const Bnet& net, FileSpec& out);

// Reads a UAI evidence file ("N i1 v1 ... iN vN", or the older form that starts with a sample
// count of 1) and enters each pair as a finding of the net's node at that index (net order).
// Everything is checked before any finding is entered; returns the number of findings entered.
int readUaiEvidence(FileSpec& in, Bnet& net);

}  // namespace quorva
