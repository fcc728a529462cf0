// The worker threads of beliefs_batch.
#include "BatchRun.h"

#include <cmath>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

#include "PyEngine.h"

namespace quorva::py {

namespace {

constexpr long BLOCK_CASES = 256;
const double NaN = std::nan("");

// An environment with a copy of the net, its findings off and automatic updating off.
class Copy {
 public:
  Copy(const net_bn* source, const std::vector<std::string>& columns, const std::vector<std::string>& outputs) {
    env_ = newEnv();
    net_ = CopyNet_bn(source, GetNetName_bn(source), env_, "no_visual");
    if (!net_) return;
    RetractNetFindings_bn(net_);
    SetNetAutoUpdate_bn(net_, 0);
    for (const std::string& name : columns) columns_.push_back(GetNodeNamed_bn(name.c_str(), net_));
    for (const std::string& name : outputs) {
      node_bn* node = GetNodeNamed_bn(name.c_str(), net_);
      outputs_.push_back(node);
      width_ += static_cast<size_t>(GetNodeNumberStates_bn(node));
    }
  }
  ~Copy() { closeEnv(env_); }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  environ_vq* env() const { return env_; }
  net_bn* net() const { return net_; }
  const std::vector<node_bn*>& columns() const { return columns_; }

  // Compiles the copy; the first error, or number 0.
  EngineError compile() {
    if (!net_) return {5000, ERROR_ERR, "could not copy the net for a worker"};
    CompileNet_bn(net_);
    return takeError(env_);
  }

  // Enters each case of the block and reads its beliefs and findings probability.
  void run(BatchBlock& b) {
    const size_t cols = columns_.size();
    b.beliefs.assign(b.cases() * width_, NaN);
    b.probability.assign(b.cases(), NaN);
    for (size_t c = 0; c < b.cases(); ++c) {
      if (!b.refusedMessage[c].empty()) continue;
      RetractNetFindings_bn(net_);
      const int32_t* row = b.states.data() + c * cols;
      for (size_t j = 0; j < cols; ++j)
        if (row[j] >= 0) EnterFinding_bn(columns_[j], row[j]);
      const double p = FindingsProbability_bn(net_);
      double* out = b.beliefs.data() + c * width_;
      bool ok = p > 0;
      for (size_t k = 0; ok && k < outputs_.size(); ++k) {
        const int states = GetNodeNumberStates_bn(outputs_[k]);
        const prob_bn* belief = GetNodeBeliefs_bn(outputs_[k]);
        if (!belief) {
          ok = false;
          break;
        }
        for (int s = 0; s < states; ++s) out[s] = belief[s];
        out += states;
      }
      if (GetError_vq(env_, NOTHING_ERR, nullptr)) {
        EngineError e = takeError(env_);
        if (e.number != 0) {
          ok = false;
          b.refusedMessage[c] = e.message;
        }
      }
      if (ok) {
        b.probability[c] = p;
      } else {
        std::fill(b.beliefs.begin() + static_cast<long>(c * width_), b.beliefs.begin() + static_cast<long>((c + 1) * width_), NaN);
        b.probability[c] = 0;
        if (b.refusedMessage[c].empty()) b.refusedMessage[c] = "the findings are impossible";
      }
    }
  }

 private:
  environ_vq* env_ = nullptr;
  net_bn* net_ = nullptr;
  std::vector<node_bn*> columns_, outputs_;
  size_t width_ = 0;
};

// Where blocks of cases come from: rows of an array, or the case file read through a copy of its own.
class Source {
 public:
  explicit Source(const BatchJob& job) : job_(job) {
    if (job.casePath.empty()) return;
    reader_ = std::make_unique<Copy>(job.net, job.columns, std::vector<std::string>{});
    applyCaseFileForm(reader_->env(), job.caseForm);
    list_ = NewNodeList2_bn(0, reader_->net());
    for (node_bn* n : reader_->columns()) AddNodeToList_bn(n, list_, -1);
    stream_ = NewFileStream_vq(job.casePath.c_str(), reader_->env(), nullptr);
  }
  ~Source() {
    if (list_) DeleteNodeList_bn(list_);
    if (stream_) DeleteStream_vq(stream_);
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  // Fills the block with the next cases; false when there are none.  Not called by two threads at once.
  bool fill(BatchBlock& b) {
    b.first = next_;
    b.states.clear();
    b.refusedMessage.clear();
    const size_t cols = job_.columns.size();
    if (!reader_) {
      const long end = std::min(job_.matrixCases, next_ + BLOCK_CASES);
      b.states.assign(job_.matrix + next_ * static_cast<long>(cols), job_.matrix + end * static_cast<long>(cols));
      b.refusedMessage.assign(static_cast<size_t>(end - next_), "");
      next_ = end;
      return !b.refusedMessage.empty();
    }
    while (!done_ && static_cast<long>(b.cases()) < BLOCK_CASES) readCase(b, cols);
    next_ += static_cast<long>(b.cases());
    return b.cases() > 0;
  }
  const EngineError& fatal() const { return fatal_; }

 private:
  // Reads the next case into the block.  A line the reader refuses becomes a refused case; a
  // case skipped for a value naming no state (a warning, after which the reader has read the
  // next case) becomes a refused case followed by the case read.
  void readCase(BatchBlock& b, size_t cols) {
    environ_vq* env = reader_->env();
    ReadNetFindings_bn(&posn_, stream_, list_, nullptr, nullptr);
    std::vector<std::string> skipped;
    bool faulty = false;
    for (const report_vq* r = GetError_vq(env, WARNING_ERR, nullptr); r; r = GetError_vq(env, WARNING_ERR, r)) {
      const int number = ErrorNumber_vq(r);
      const bool error = ErrorSeverity_vq(r) >= ERROR_ERR;
      const bool caseFault = (number >= 2100 && number <= 2107) || (number >= 3300 && number <= 3399);
      const char* text = ErrorDisplayMessage_vq(r);
      if (caseFault) {
        skipped.push_back(text && *text ? text : "a faulty case");
        faulty = faulty || error;
      } else if (error && fatal_.number == 0) {
        fatal_ = {number, static_cast<int>(ErrorSeverity_vq(r)), text ? text : ""};
      }
    }
    ClearErrors_vq(env, INTERNAL_ERR);
    for (const std::string& m : skipped) {
      b.states.resize(b.states.size() + cols, -1);
      b.refusedMessage.push_back(m);
    }
    if (fatal_.number != 0 || (!faulty && posn_ == NO_MORE_CASES)) {
      done_ = true;
      return;
    }
    posn_ = NEXT_CASE;
    if (faulty) return;  // the reader has moved past the faulty line
    const size_t at = b.states.size();
    b.states.resize(at + cols, -1);
    std::string refusal;
    for (size_t j = 0; j < cols; ++j) {
      const state_bn s = GetNodeFinding_bn(reader_->columns()[j]);
      if (s >= 0) {
        b.states[at + j] = s;
      } else if (s != UNDEF_STATE && refusal.empty()) {
        refusal = "node '" + std::string(GetNodeName_bn(reader_->columns()[j])) +
                  "' has a likelihood or value, which the batch does not take (only states)";
      }
    }
    b.refusedMessage.push_back(refusal);
  }

  const BatchJob& job_;
  std::unique_ptr<Copy> reader_;
  nodelist_bn* list_ = nullptr;
  stream_vq* stream_ = nullptr;
  caseposn_bn posn_ = FIRST_CASE;
  long next_ = 0;
  bool done_ = false;
  EngineError fatal_{0, 0, ""};
};

// Blocks between the threads: a free worker reads the next block when no one is reading and
// fewer blocks than workers wait, and otherwise runs a waiting block.
class Pipeline {
 public:
  Pipeline(Source& source, size_t workers) : source_(source), workers_(workers) {}

  void work(Copy& copy) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      if (!reading_ && !readingDone_ && filled_.size() < workers_) {
        reading_ = true;
        lock.unlock();
        auto b = std::make_unique<BatchBlock>();
        const bool got = source_.fill(*b);
        lock.lock();
        reading_ = false;
        if (got) {
          filled_.push_back(std::move(b));
        } else {
          readingDone_ = true;
        }
        changed_.notify_all();
      } else if (!filled_.empty()) {
        std::unique_ptr<BatchBlock> b = std::move(filled_.front());
        filled_.pop_front();
        lock.unlock();
        copy.run(*b);
        lock.lock();
        const long first = b->first;
        done_[first] = std::move(b);
      } else if (readingDone_ || stopped_) {
        return;
      } else {
        changed_.wait(lock);
      }
    }
  }
  void stop() {
    std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = readingDone_ = true;
    changed_.notify_all();
  }
  std::map<long, std::unique_ptr<BatchBlock>>& done() { return done_; }

 private:
  Source& source_;
  const size_t workers_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<BatchBlock>> filled_;
  std::map<long, std::unique_ptr<BatchBlock>> done_;
  bool reading_ = false, readingDone_ = false, stopped_ = false;
};

}  // namespace

BatchResult runBatch(const BatchJob& job) {
  BatchResult result;
  const int threads = std::max(1, job.threads);
  Source source(job);
  Pipeline pipe(source, static_cast<size_t>(threads));
  std::mutex faultMutex;
  EngineError fault{0, 0, ""};
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&] {
      Copy copy(job.net, job.columns, job.outputs);
      EngineError e = copy.compile();
      if (e.number != 0) {
        std::lock_guard<std::mutex> lock(faultMutex);
        if (fault.number == 0) fault = e;
        pipe.stop();
        return;
      }
      pipe.work(copy);
    });
  }
  for (std::thread& t : workers) t.join();
  if (fault.number == 0 && source.fatal().number != 0) fault = source.fatal();
  result.errorNumber = fault.number;
  result.errorSeverity = fault.severity;
  result.errorMessage = fault.message;
  for (auto& [first, block] : pipe.done()) {
    for (const std::string& m : block->refusedMessage) {
      if (m.empty()) continue;
      if (result.refused++ == 0) result.firstRefusal = m;
    }
    result.blocks.push_back(std::move(block));
  }
  return result;
}

}  // namespace quorva::py
