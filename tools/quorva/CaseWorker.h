// One worker of `quorva cases`: its own environment with its own compiled copy of the net, into
// which it enters each case of a batch, and whose beliefs it prints into the batch's output.
#pragma once
#include <string>
#include <vector>

#include "BeliefFormat.h"
#include "CaseBatch.h"
#include "Engine.h"

namespace quorva::cli {

class CaseWorker {
 public:
  // Reads the net (in `format`, Unknown: as its name or start says) and compiles it, with the
  // elimination order `order` (node names) when it is not empty; Failure (printed) when it
  // cannot.  `shown` names the nodes to print (all when empty).  With an approximate `method`
  // the net is not compiled and each case's beliefs come from the node tables.
  CaseWorker(const std::string& netPath, NetFormat format, const std::vector<std::string>& order,
             const std::vector<std::string>& shown, bool json, BeliefMethod method = BeliefMethod::Exact,
             const MethodSettings& settings = {});
  CaseWorker(const CaseWorker&) = delete;
  CaseWorker& operator=(const CaseWorker&) = delete;

  // Enters each case of the batch and appends its line(s) to batch.out: for JSON one object per
  // case, {"case": K, ...beliefs} or {"case": K, "error": MESSAGE}; otherwise a header and tables.
  // Cases are numbered from 1; batch.refused counts the cases refused.
  void run(CaseBatch& batch);

 private:
  void enter(const CaseBatch& batch, size_t c);
  void printError(std::string& out, long caseNo, const std::string& message) const;

  Env env_;
  net_bn* net_ = nullptr;
  std::vector<node_bn*> nodes_;
  std::unique_ptr<BeliefFormat> format_;
  bool json_;
  BeliefMethod method_;
  MethodSettings settings_;
};

}  // namespace quorva::cli
