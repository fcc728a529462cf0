// Beliefs of many cases at once, on worker threads that never touch Python.  Each worker has
// its own environment and compiled copy of the net; cases come in blocks, either from an array
// of states or from a case file read by one worker at a time, and each block's results are kept
// in case order.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CaseFileForm.h"
#include "Quorva.h"

namespace quorva::py {

struct BatchBlock {
  long first = 0;                 // the cases before this block's first
  std::vector<int32_t> states;    // cases x columns, -1 for no finding
  std::vector<std::string> refusedMessage;  // per case: "" or why the reader refused it
  std::vector<double> beliefs;    // cases x (states of every output node)
  std::vector<double> probability;  // per case; 0 when its findings are impossible, NaN when refused
  size_t cases() const { return refusedMessage.size(); }
};

struct BatchJob {
  const net_bn* net = nullptr;         // the user's net (only copied)
  std::vector<std::string> columns;    // the nodes the states are findings of
  std::vector<std::string> outputs;    // the nodes whose beliefs are wanted
  int threads = 1;
  // Exactly one source: an array (cases x columns) or a case file.
  const int32_t* matrix = nullptr;
  long matrixCases = 0;
  std::string casePath;
  CaseFileForm caseForm;  // how the case file is written (the user's settings)
};

struct BatchResult {
  std::vector<std::unique_ptr<BatchBlock>> blocks;  // in case order
  long refused = 0;                                 // cases the reader or the engine refused
  std::string firstRefusal;
  // A fault that ends the run (a case file that cannot be read, a net that cannot be compiled).
  int errorNumber = 0, errorSeverity = 0;
  std::string errorMessage;
};

// Runs the batch; needs no Python lock.
BatchResult runBatch(const BatchJob& job);

}  // namespace quorva::py
