// quorva cases NET CASEFILE [--nodes A,B,...] [--json] [--threads N] [--method exact|lw|is|loopy] ...
//
// With one thread, the calling thread reads a batch of cases, enters them and prints them, in
// turn.  With N threads, N workers (each with its own environment and compiled copy of the net)
// read batches of cases in turn and enter and print them into the batch, and the calling thread
// writes the batches out in case order.  A bounded pool of batches keeps memory
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
  std::string net, cases, format;
  std::vector<std::string> nodes;
  std::vector<std::string> order;  // found by --optimize, for every worker
  double optimize = 0;
  bool json = false;
  int threads = 0;
  MethodSettings method;  // Auto is settled by settleMethod() before the workers start
};

// The cases written out and, of them, those refused.
struct Tally {
  long cases = 0, refused = 0;
};

void writeOut(const CaseBatch& batch, Tally& tally) {
  const std::string& text = batch.out;
  if (!text.empty() && std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
    fail("could not write the output");
  tally.cases += static_cast<long>(batch.cases());
  tally.refused += batch.refused;
}

int runSingle(CaseSource& source, CaseWorker& worker, Tally& tally) {
  CaseBatch batch;
  for (long sequence = 0;; ++sequence) {
    batch.reset(sequence, source.casesRead());
    if (!source.fill(batch, BATCH_CASES)) break;
    worker.run(batch);
    writeOut(batch, tally);
  }
  return 0;
}

// The elimination order that --optimize finds, as node names.
std::vector<std::string> optimizedOrder(const CasesOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  buildMissingTables(env, net, false);
  requireUsable(net, o.net);
  compileNet(env, net, o.net, o.optimize);
  std::vector<std::string> names;
  const nodelist_bn* order = GetNetElimOrder_bn(net);
  for (int i = 0, n = order ? LengthNodeList_bn(order) : 0; i < n; ++i) names.push_back(GetNodeName_bn(GetNthNode_bn(order, i)));
  env.check();
  return names;
}

// The method every worker uses: the one asked for, or, when none, exact unless the junction tree
// would be too large (said once, here).
BeliefMethod settleMethod(const CasesOptions& o) {
  if (o.method.method != BeliefMethod::Auto) return o.method.method;
  Env env;
  net_bn* net = env.readNet(o.net, formatNamed(o.format));
  buildMissingTables(env, net, false);
  requireUsable(net, o.net);
  return chooseMethod(env, net, o.net, BeliefMethod::Auto, 0);
}

// The batches between the threads.  Reading and updating are tasks that any worker takes on:
// a free worker reads the next batch when no one else is reading and fewer batches than workers
// wait to be updated, and otherwise updates a batch that is waiting.  So N threads keep N cores
// busy, and a worker never waits for the reading of another while there is a batch to update.
class Pipeline {
 public:
  Pipeline(CaseSource& source, size_t workers) : source_(source), workers_(workers) {
    for (size_t i = 0; i < 3 * workers + 2; ++i) {
      pool_.push_back(std::make_unique<CaseBatch>());
      free_.push_back(pool_.back().get());
    }
  }

  // A worker's loop: until the file is read and every batch read has been updated.
  void work(CaseWorker& worker) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
      if (!reading_ && !readingDone_ && filled_.size() < workers_ && !free_.empty()) {
        CaseBatch* b = free_.front();
        free_.pop_front();
        reading_ = true;
        const long sequence = issued_;
        lock.unlock();
        b->reset(sequence, source_.casesRead());
        bool got = false, failed = false;
        try {
          got = source_.fill(*b, BATCH_CASES);
        } catch (...) {
          failed = true;
        }
        lock.lock();
        reading_ = false;
        if (got && !failed) {
          ++issued_;
          filled_.push_back(b);
        } else {
          free_.push_back(b);
          readingDone_ = true;
          failed_ = failed_ || failed;
        }
        changed_.notify_all();
      } else if (!filled_.empty()) {
        CaseBatch* b = filled_.front();
        filled_.pop_front();
        lock.unlock();
        worker.run(*b);
        lock.lock();
        done_[b->sequence] = b;
        changed_.notify_all();
      } else if (readingDone_) {
        return;
      } else {
        changed_.wait(lock);
      }
    }
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
  const size_t workers_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::unique_ptr<CaseBatch>> pool_;
  std::deque<CaseBatch*> free_, filled_;
  std::map<long, CaseBatch*> done_;
  long issued_ = 0;
  bool reading_ = false, readingDone_ = false, stopping_ = false, failed_ = false;
};

// Each worker reads and compiles its copy of the net on its own thread, so that the memory of
// each copy is that thread's (no cache lines shared between workers) and the copies compile in
// parallel.
int runThreaded(CaseSource& source, const CasesOptions& o, int threads, Tally& tally) {
  Pipeline pipe(source, static_cast<size_t>(threads));
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&pipe, &o] {
      try {
        CaseWorker worker(o.net, formatNamed(o.format), o.order, o.nodes, o.json, o.method.method, o.method);
        pipe.work(worker);
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
      writeOut(*b, tally);
      pipe.giveFree(b);
    }
  } catch (const Failure&) {
    writeFailed = true;
  }
  pipe.stop(writeFailed);
  for (std::thread& t : workers) t.join();
  return pipe.failed() ? 1 : 0;
}

int runCases(CasesOptions o) {
  int threads = o.threads > 0 ? o.threads : static_cast<int>(std::thread::hardware_concurrency());
  if (threads < 1) threads = 1;
  o.method.method = settleMethod(o);
  if (o.optimize > 0 && o.method.method == BeliefMethod::Exact) o.order = optimizedOrder(o);
  ProgressBar progress;
  CaseSource source(o.net, formatNamed(o.format), o.cases, &progress);
  source.checkNodes(o.nodes);  // unknown names fail here, once, rather than in every worker
  Tally tally;
  int status = 0;
  if (threads == 1) {
    CaseWorker worker(o.net, formatNamed(o.format), o.order, o.nodes, o.json, o.method.method, o.method);
    status = runSingle(source, worker, tally);
  } else {
    status = runThreaded(source, o, threads, tally);
  }
  progress.clear();
  if (tally.refused > 0) {
    std::fflush(stdout);
    std::fprintf(stderr, "quorva: %ld of %s refused\n", tally.refused, counted(tally.cases, "case").c_str());
    status = 1;
  }
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
      "Nodes of --nodes are named by their names or, where no name fits, their titles.\n"
      "With --json, one line per case, cases numbered from 1 in file order (as in every message):\n"
      "  {\"case\": K, \"net\": NAME, \"findings_probability\": P, \"nodes\": [...]}   as for `beliefs --json`\n"
      "  {\"case\": K, \"error\": MESSAGE}   when the case's findings are impossible, or its line has a\n"
      "                                   fault (a bad value, too few or too many entries, a value\n"
      "                                   naming no state); the run goes on with the next case.\n"
      "When any case is refused, \"N of M cases refused\" is said on standard error at the end and the\n"
      "exit status is 1 (0 when every case gave beliefs).\n"
      "With an approximate method (--method lw|is|loopy, or chosen with a notice when the junction tree\n"
      "would be too large), each case's beliefs come from the node tables, with \"errors\" as for `beliefs`.\n"
      "Example:\n"
      "  quorva cases examples/asia.dne examples/asia_cases.txt --json --nodes lung_cancer");
  addNetArgument(c, o->net);
  c->add_option("CASEFILE", o->cases, "The case file")->required();
  addNodesOption(c, o->nodes);
  addFormatOption(c, o->format, "--format", "Read the net as this format, whatever its name");
  addOptimizeOption(c, o->optimize,
                    "Search this many seconds for an elimination order with smaller tables, used by every worker");
  c->add_flag("--json", o->json, "Print one JSON object per case, one per line");
  c->add_option("--threads", o->threads,
                "Worker threads, each with its own compiled copy of the net (default: the number of cores); "
                "with 1, reading, updating and printing take turns on one thread")
      ->check(CLI::Range(1, 64));
  addMethodOptions(c, o->method);
  c->callback([o, &chosen] { chosen = [o] { return runCases(*o); }; });
}

}  // namespace quorva::cli
