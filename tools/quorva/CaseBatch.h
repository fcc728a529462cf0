// The cases of a case file as plain data, in batches: what the reading thread hands the worker
// threads, and where each worker leaves the printed lines.  A batch is reused from run to run of
// the pipeline, so its vectors keep their capacity and the hot path allocates nothing.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace quorva::cli {

struct CaseEntry {
  enum Kind : uint8_t { State, Value, Likelihood };
  Kind kind = State;
  int node = 0;        // index in the net's node list
  int state = 0;       // State
  double value = 0;    // Value
  uint32_t from = 0;   // Likelihood: where its numbers start in CaseBatch::numbers
};

struct CaseBatch {
  long sequence = 0;    // the batch's place in the output
  long firstCase = 0;   // the cases before its first one
  long refused = 0;     // of its cases, those refused (set by the worker)
  std::vector<uint32_t> starts;    // per case, its first entry; one more at the end
  std::vector<int32_t> errorOf;    // per case, -1 or the index of its reader message
  std::vector<CaseEntry> entries;
  std::vector<float> numbers;
  std::vector<std::string> errors;
  std::string out;                 // the printed lines of its cases

  size_t cases() const { return errorOf.size(); }
  void reset(long sequenceNo, long first) {
    sequence = sequenceNo;
    firstCase = first;
    refused = 0;
    starts.assign(1, 0);
    errorOf.clear();
    entries.clear();
    numbers.clear();
    errors.clear();
    out.clear();
  }
  // Ends the case being filled (its entries are those added since the last end).
  void endCase(int32_t error = -1) {
    errorOf.push_back(error);
    starts.push_back(static_cast<uint32_t>(entries.size()));
  }
  void endFaultyCase(std::string message) {
    entries.resize(starts.back());
    errors.push_back(std::move(message));
    endCase(static_cast<int32_t>(errors.size() - 1));
  }
};

}  // namespace quorva::cli
