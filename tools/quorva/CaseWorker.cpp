// Entering cases and printing their beliefs.
#include "CaseWorker.h"

#include <cstdio>

namespace quorva::cli {

CaseWorker::CaseWorker(const std::string& netPath, NetFormat format, const std::vector<std::string>& order,
                       const std::vector<std::string>& shown, bool json, BeliefMethod method,
                       const MethodSettings& settings)
    : json_(json), method_(method), settings_(settings) {
  net_ = env_.readNet(netPath, format);
  buildMissingTables(env_, net_, false);  // the case reader has said so
  requireUsable(net_, netPath);
  nodes_ = netNodes(net_);
  std::vector<node_bn*> printed = selectNodes(net_, shown);
  if (!order.empty()) {
    nodelist_bn* list = NewNodeList2_bn(0, net_);
    for (const std::string& name : order) AddNodeToList_bn(GetNodeNamed_bn(name.c_str(), net_), list, -1);
    SetNetElimOrder_bn(net_, list);
    DeleteNodeList_bn(list);
  }
  SetNetAutoUpdate_bn(net_, 0);  // one update per case, when its beliefs are read
  if (method_ == BeliefMethod::Exact) CompileNet_bn(net_);
  env_.check();
  format_ = std::make_unique<BeliefFormat>(net_, printed);
}

void CaseWorker::enter(const CaseBatch& batch, size_t c) {
  for (uint32_t i = batch.starts[c]; i < batch.starts[c + 1]; ++i) {
    const CaseEntry& e = batch.entries[i];
    node_bn* node = nodes_[static_cast<size_t>(e.node)];
    switch (e.kind) {
      case CaseEntry::State: EnterFinding_bn(node, e.state); break;
      case CaseEntry::Value: EnterNodeValue_bn(node, e.value); break;
      case CaseEntry::Likelihood: EnterNodeLikelihood_bn(node, batch.numbers.data() + e.from); break;
    }
  }
}

void CaseWorker::printError(std::string& out, long caseNo, const std::string& message) const {
  if (json_) {
    BeliefFormat::appendJsonError(out, caseNo, message);
  } else {
    out += "Case " + std::to_string(caseNo) + ": error: " + message + "\n\n";
  }
}

void CaseWorker::run(CaseBatch& batch) {
  std::string& out = batch.out;
  for (size_t c = 0; c < batch.cases(); ++c) {
    const long caseNo = batch.firstCase + static_cast<long>(c) + 1;
    if (batch.errorOf[c] >= 0) {
      printError(out, caseNo, batch.errors[static_cast<size_t>(batch.errorOf[c])]);
      ++batch.refused;
      continue;
    }
    RetractNetFindings_bn(net_);
    enter(batch, c);
    bool ok = method_ == BeliefMethod::Exact ? format_->read(net_) : format_->readApprox(net_, method_, settings_);
    if (!ok || GetError_vq(env_.get(), NOTHING_ERR, nullptr)) {
      ok = ok && GetError_vq(env_.get(), ERROR_ERR, nullptr) == nullptr;
      std::string message = env_.firstMessage(ERROR_ERR);
      ClearErrors_vq(env_.get(), INTERNAL_ERR);
      if (!ok) {
        printError(out, caseNo, message.empty() ? "the findings are impossible" : message);
        ++batch.refused;
        continue;
      }
    }
    if (json_) {
      format_->appendJson(out, caseNo);
    } else {
      out += "Case " + std::to_string(caseNo) + "\n";
      format_->appendTables(out);
      out += "\n";
    }
  }
}

}  // namespace quorva::cli
