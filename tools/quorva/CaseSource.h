// Reading a case file with the engine's case reader, into batches of plain findings.  It has its
// own environment and its own (uncompiled) copy of the net, which only holds each case's findings
// while they are copied out, so the reader runs beside the workers without sharing a lock.
//
// Cases are counted in file order (casesRead()); every case line counts.  A line the reader refuses (a bad value, too few or
// too many entries) or skips (a value that names no state) keeps its number and becomes a case
// carrying the reader's message; reading goes on with the next line.  Anything else that stops
// the reader (no such file, no cases, not a case file) fails the command.
#pragma once
#include <string>
#include <vector>

#include "CaseBatch.h"
#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

class CaseSource {
 public:
  // `progress` (may be null) is told how far through the file reading has gone.
  CaseSource(const std::string& netPath, NetFormat format, const std::string& casePath, ProgressBar* progress);
  ~CaseSource();
  CaseSource(const CaseSource&) = delete;
  CaseSource& operator=(const CaseSource&) = delete;

  // Fills `batch` with up to `limit` further cases; false when the file had none left.
  // Failure (printed) when the file cannot be read on.
  bool fill(CaseBatch& batch, size_t limit);
  long casesRead() const { return next_; }
  // Failure (printed) when the net lacks one of the named nodes.
  void checkNodes(const std::vector<std::string>& names) const { selectNodes(net_, names); }

 private:
  // Copies the findings the reader left in the net into the batch, as one case.
  void copyCase(CaseBatch& batch);
  // Handles the records of one read: per-case faults go into the batch; true when there was one.
  bool takeRecords(CaseBatch& batch);

  Env env_;
  net_bn* net_ = nullptr;
  nodelist_bn* list_ = nullptr;
  std::vector<node_bn*> nodes_;
  std::vector<char> continuous_;
  std::vector<int> stateCount_;
  stream_vq* stream_ = nullptr;
  std::string path_;
  caseposn_bn posn_ = FIRST_CASE;
  long next_ = 0;
  bool done_ = false;
  double fileSize_ = 0;
  ProgressBar* progress_;
};

}  // namespace quorva::cli
