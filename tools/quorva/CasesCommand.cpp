// quorva cases NET CASEFILE [--nodes A,B,...] [--json] [--threads N]
//
// With one thread, the calling thread reads a batch of cases, enters them and prints them, in
// turn.  With N threads, N workers (each with its own environment and compiled copy of the net)
// take turns reading a batch of cases, then enter them and print them into the batch, and the
// calling thread writes the batches out in case order.  A bounded pool of batches keeps memory
// flat however long the file is.
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "CaseSource.h"
#include "CaseWorker.h"
#include "Commands.h"

namespace quorva::cli {

namespace {

constexpr size_t BATCH_CASES = 256;

struct CasesOptions {
  std::string net, cases;
  std::vector<std::string> nodes;
  bool json = false;
  int threads = 0;
};

void writeOut(const std::string& text) {
  if (!text.empty() && std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
    fail("could not write the output");
}

int runSingle(CaseSource& source, CaseWorker& worker) {
  CaseBatch batch;
  for (long sequence = 0;; ++sequence) {
    batch.reset(sequence, source.casesRead());
    if (!source.fill(batch, BATCH_CASES)) break;
    worker.run(batch);
    writeOut(batch.out);
  }
  return 0;
}

// The batches between the threads.  Reading is done by the workers in turn, under its own lock,
// so that N threads keep N cores busy: while one worker reads the next batch, the others update.
class Pipeline {
 public:
  Pipeline(CaseSource& source, size_t batches) : source_(source) {
    for (size_t i = 0; i < batches; ++i) {
      pool_.push_back(std::make_unique<CaseBatch>());
      free_.push_back(pool_.back().get());
    }
  }

  // Worker: reads the next batch of cases; null when the file is done, the run is stopping or
  // reading failed (the reason printed).
  CaseBatch* read() {
    std::lock_guard<std::mutex> reading(readMutex_);
    CaseBatch* b = nullptr;
    long sequence = 0;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [&] { return !free_.empty() || stopping_ || readingDone_; });
      if (stopping_ || readingDone_) return nullptr;
      b = free_.front();
      free_.pop_front();
      sequence = issued_;
    }
    b->reset(sequence, source_.casesRead());
    bool got = false, failed = false;
    try {
      got = source_.fill(*b, BATCH_CASES);
    } catch (...) {
      failed = true;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (got && !failed) {
      ++issued_;
    } else {
      free_.push_back(b);
      b = nullptr;
      readingDone_ = true;
      failed_ = failed_ || failed;
    }
    changed_.notify_all();
    return b;
  }
  void giveDone(CaseBatch* b) {
    std::lock_guard<std::mutex> lock(mutex_);
    done_[b->sequence] = b;
    changed_.notify_all();
  }
  // Writer: the batch with that sequence number; null when there will be none.
  CaseBatch* takeDone(long sequence) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return done_.count(sequence) || stopping_ || (readingDone_ && sequence >= issued_); });
    auto it = done_.find(sequence);
    if (it == done_.end()) return nullptr;
    CaseBatch* b = it->second;
    done_.erase(it);
    return b;
  }
  void giveFree(CaseBatch* b) {
    std::lock_guard<std::mutex> lock(mutex_);
    free_.push_back(b);
    changed_.notify_all();
  }
  // Stops the run (`failed`: with status 1).
  void stop(bool failed) {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    failed_ = failed_ || failed;
    changed_.notify_all();
  }
  bool failed() {
    std::lock_guard<std::mutex> lock(mutex_);
    return failed_;
  }

 private:
  CaseSource& source_;
  std::mutex readMutex_, mutex_;
  std::condition_variable changed_;
  std::vector<std::unique_ptr<CaseBatch>> pool_;
  std::deque<CaseBatch*> free_;
  std::map<long, CaseBatch*> done_;
  long issued_ = 0;
  bool readingDone_ = false, stopping_ = false, failed_ = false;
};

int runThreaded(CaseSource& source, std::vector<std::unique_ptr<CaseWorker>>& workers) {
  Pipeline pipe(source, 3 * workers.size() + 2);
  std::vector<std::thread> threads;
  for (auto& w : workers) {
    CaseWorker* worker = w.get();
    threads.emplace_back([&pipe, worker] {
      try {
        while (CaseBatch* b = pipe.read()) {
          worker->run(*b);
          pipe.giveDone(b);
        }
      } catch (...) {
        pipe.stop(true);
      }
    });
  }
  bool writeFailed = false;
  try {
    for (long sequence = 0;; ++sequence) {
      CaseBatch* b = pipe.takeDone(sequence);
      if (!b) break;
      writeOut(b->out);
      pipe.giveFree(b);
    }
  } catch (const Failure&) {
    writeFailed = true;
  }
  pipe.stop(writeFailed);
  for (std::thread& t : threads) t.join();
  return pipe.failed() ? 1 : 0;
}

int runCases(const CasesOptions& o) {
  int threads = o.threads > 0 ? o.threads : static_cast<int>(std::thread::hardware_concurrency());
  if (threads < 1) threads = 1;
  ProgressBar progress;
  CaseSource source(o.net, o.cases, &progress);
  std::vector<std::unique_ptr<CaseWorker>> workers;
  for (int i = 0; i < threads; ++i) workers.push_back(std::make_unique<CaseWorker>(o.net, o.nodes, o.json));
  int status = threads == 1 ? runSingle(source, *workers.front()) : runThreaded(source, workers);
  progress.clear();
  return status;
}

}  // namespace

void addCasesCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<CasesOptions>();
  CLI::App* c = app.add_subcommand("cases", "Enter each case of a case file and print the beliefs it gives");
  c->footer(
      "The case file: a header line of node names, then one line per case, separated by tabs (or\n"
      "commas or spaces); '*' for a missing value; optional IDnum and NumCases columns.  Columns\n"
      "naming no node of the net are ignored (with a notice).\n"
      "With --json, one line per case, cases numbered from 0 in file order:\n"
      "  {\"case\": K, \"net\": NAME, \"findings_probability\": P, \"nodes\": [...]}   as for `beliefs --json`\n"
      "  {\"case\": K, \"error\": MESSAGE}   when the case's findings are impossible, or its line has a\n"
      "                                   fault (a bad value, too few or too many entries, a value\n"
      "                                   naming no state); the run goes on with the next case.\n"
      "Example:\n"
      "  quorva cases examples/asia.dne examples/asia_cases.txt --json --nodes lung_cancer");
  addNetArgument(c, o->net);
  c->add_option("CASEFILE", o->cases, "The case file")->required();
  addNodesOption(c, o->nodes);
  c->add_flag("--json", o->json, "Print one JSON object per case, one per line");
  c->add_option("--threads", o->threads,
                "Worker threads, each with its own compiled copy of the net (default: the number of cores); "
                "with 1, reading, updating and printing take turns on one thread")
      ->check(CLI::Range(1, 64));
  c->callback([o, &chosen] { chosen = [o] { return runCases(*o); }; });
}

}  // namespace quorva::cli
