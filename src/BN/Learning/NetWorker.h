// A compiled working copy of a net, in an environment of its own, into which learners and testers
// enter case after case without touching the net they were given (its findings, beliefs and
// compiled form stay as they were).  One worker is used by one thread at a time; several workers
// of one net may run on several threads at once.
#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BN/Tables/PotKernels.h"
#include "BN/Tables/PotTable.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

namespace quorva {

class Bnet;
class Bnode;

class NetWorker {
 public:
  // Copies `net` (made on the calling thread, which must hold the net's environment) and
  // compiles the copy.  Refusals are raised in the net's environment.
  explicit NetWorker(const Bnet& net);
  ~NetWorker();
  NetWorker(const NetWorker&) = delete;
  NetWorker& operator=(const NetWorker&) = delete;

  Bnet& net() { return *net_; }
  // The copy of the node at `place` in the original net's node order.
  Bnode& node(size_t place);

  using Likelihoods = std::vector<std::pair<size_t, std::vector<float>>>;
  // Makes the copy's findings those of the case: each node its state (none where UNKNOWN_STATE
  // or `hidden[place]`), and the likelihoods; then updates beliefs.  False when the case is
  // impossible in the net (its beliefs are then not current).
  bool enterCase(const int32_t* states, const Likelihoods* likelihoods, const std::vector<char>* hidden = nullptr);
  // The probability of the case entered last.
  double caseProbability() const;

  // The node's family (its parents, then itself) posterior given the case entered, normalised,
  // into `out` (one entry per CPT cell).  The node must have a home clique.
  void familyPosterior(size_t place, std::vector<double>& out);

  // Sets the CPT of the node at `place` (layout as the CPT); the potentials are rebuilt at the
  // next update.
  void setCpt(size_t place, const float* probs);

  // An error raised in the worker's own environment, carried out of it (it may be on another
  // thread) to be raised again in the original's environment by raiseHome().
  struct Fault {
    int number;
    std::string message;
  };
  // Runs `work`, turning an error of the worker's environment into a Fault.
  template <class F>
  void run(F&& work) {
    try {
      work();
    } catch (const QuorvaError& e) {
      throw fault(e);
    }
  }
  // Raises a fault in the original net's environment (on the thread that holds it).
  [[noreturn]] void raiseHome(const Fault& f) const;

 private:
  Fault fault(const QuorvaError& e);
  struct Family {
    PotTable table;
    KernelPlan plan;
  };
  EnvCore* home_;
  std::unique_ptr<EnvCore> env_;
  std::unique_ptr<Bnet> net_;
  std::vector<std::unique_ptr<Family>> families_;  // per place, made on first use
};

}  // namespace quorva

namespace quorva {

// Thrown by work that saw the user's halt.
struct WorkHalted {};

// Cases per block when cases are shared among workers: at least 256, and at most 64 blocks, so
// that it depends only on the number of cases (and results summed block by block in order do
// not depend on the number of workers).
inline size_t caseBlockSize(size_t cases) { return cases / 64 + 1 > 256 ? (cases + 63) / 64 : 256; }

// Runs work(worker, block) for every block 0..blocks-1, the blocks taken in turn by the workers,
// each on a thread of its own (the first on the calling thread).  After all have stopped, a
// fault of any is raised in the original net's environment, and a WorkHalted is thrown again.
void forEachBlock(std::vector<std::unique_ptr<NetWorker>>& workers, size_t blocks,
                  const std::function<void(NetWorker&, size_t)>& work);

}  // namespace quorva
