// The case reader side of `quorva cases`.
#include "CaseSource.h"

#include <sys/stat.h>

#include <cstdio>

namespace quorva::cli {

namespace {

// Faults of one case line (2100-2107) or of one of its findings (33xx): the case fails, reading
// goes on.
bool isCaseFault(int number) { return (number >= 2100 && number <= 2107) || (number >= 3300 && number <= 3399); }
constexpr int CASE_SKIPPED = 2103;
constexpr int NO_FORMAT_VERSION = 2450;  // a notice every plain case file would get

}  // namespace

CaseSource::CaseSource(const std::string& netPath, NetFormat format, const std::string& casePath,
                       ProgressBar* progress)
    : path_(casePath), progress_(progress) {
  net_ = env_.readNet(netPath, format);
  tellMissingTables(net_);  // each worker builds them in its own copy
  SetNetAutoUpdate_bn(net_, 0);  // the findings of a case are checked against each other by the workers
  nodes_ = netNodes(net_);
  list_ = DupNodeList_bn(GetNetNodes_bn(net_));
  for (node_bn* n : nodes_) {
    continuous_.push_back(GetNodeType_bn(n) == CONTINUOUS_TYPE);
    stateCount_.push_back(GetNodeNumberStates_bn(n));
  }
  struct stat info {};
  if (::stat(casePath.c_str(), &info) != 0) fail("can't open case file '" + casePath + "'");
  if (S_ISDIR(info.st_mode)) fail("'" + casePath + "' is a directory, not a case file");
  fileSize_ = static_cast<double>(info.st_size);
  stream_ = NewFileStream_vq(casePath.c_str(), env_.get(), nullptr);
  env_.check();
}

CaseSource::~CaseSource() {
  if (list_) DeleteNodeList_bn(list_);
  if (progress_) progress_->update("Reading " + path_, -1);
}

bool CaseSource::takeRecords(CaseBatch& batch) {
  bool fatal = false, faulty = false;
  for (report_vq* r = GetError_vq(env_.get(), NOTICE_ERR, nullptr); r; r = GetError_vq(env_.get(), NOTICE_ERR, r)) {
    const int number = ErrorNumber_vq(r);
    const errseverity_vq severity = ErrorSeverity_vq(r);
    if ((severity == WARNING_ERR && number == CASE_SKIPPED) || (severity >= ERROR_ERR && isCaseFault(number))) {
      const char* text = ErrorDisplayMessage_vq(r);
      batch.endFaultyCase(text ? text : "");
      ++next_;
      faulty = faulty || severity >= ERROR_ERR;
    } else if (number != NO_FORMAT_VERSION) {
      std::fprintf(stderr, "quorva: %s\n", recordText(r).c_str());
      fatal = fatal || severity >= ERROR_ERR;
    }
  }
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  if (fatal) throw Failure{};
  return faulty;
}

void CaseSource::copyCase(CaseBatch& batch) {
  for (size_t i = 0; i < nodes_.size(); ++i) {
    node_bn* n = nodes_[i];
    CaseEntry e;
    e.node = static_cast<int>(i);
    if (continuous_[i]) {
      const double v = GetNodeValueEntered_bn(n);
      if (v == v) {
        e.kind = CaseEntry::Value;
        e.value = v;
        batch.entries.push_back(e);
        continue;
      }
    }
    const state_bn s = GetNodeFinding_bn(n);
    if (s == UNDEF_STATE) continue;
    if (s >= 0) {
      e.kind = CaseEntry::State;
      e.state = s;
    } else {
      const prob_bn* lik = GetNodeLikelihood_bn(n);
      if (!lik) continue;
      e.kind = CaseEntry::Likelihood;
      e.from = static_cast<uint32_t>(batch.numbers.size());
      batch.numbers.insert(batch.numbers.end(), lik, lik + stateCount_[i]);
    }
    batch.entries.push_back(e);
  }
  batch.endCase();
  ++next_;
}

bool CaseSource::fill(CaseBatch& batch, size_t limit) {
  while (!done_ && batch.cases() < limit) {
    if (halted()) fail("interrupted");
    ReadNetFindings_bn(&posn_, stream_, list_, nullptr, nullptr);
    const bool faulty = takeRecords(batch);
    if (faulty) {
      posn_ = NEXT_CASE;  // the reader has moved past the faulty line
      continue;
    }
    if (posn_ == NO_MORE_CASES) {
      done_ = true;
      break;
    }
    if (progress_ && (next_ & 255) == 0 && fileSize_ > 0)
      progress_->update("Reading " + path_, static_cast<double>(posn_) / fileSize_);
    posn_ = NEXT_CASE;
    copyCase(batch);
  }
  return batch.cases() > 0 || !done_;
}

}  // namespace quorva::cli
