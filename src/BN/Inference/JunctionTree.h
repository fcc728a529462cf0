// The junction tree of a compiled net: cliques joined by separators, home cliques, and the
// potentials that belief updating keeps on them.
#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "BN/Tables/PotKernels.h"
#include "BN/Tables/PotTable.h"
#include "BN/Inference/BaseCopy.h"
#include "BN/Inference/TableArena.h"

namespace quorva {

class Bnet;
class Bnode;
struct DecisionSolution;

struct Separator {
  int a = -1, b = -1;            // the two cliques (a the earlier, toward the root)
  std::vector<Bnode*> nodes;
  double size = 1;
  PotTable pot;                  // the last message through it
  PotTable fresh;                // scratch: the new message
  bool ones = false;             // no message yet: the table stands for all ones (and is unwritten)
  KernelPlan fromA, fromB;       // the kernel plans of messages: a's or b's table onto this one,
  KernelPlan intoA, intoB;       // and this one into a's or b's
};

struct Clique {
  std::vector<Bnode*> members;
  double size = 1;
  std::vector<int> seps;         // separators touching it
  PotTable pot;
  int state = 1;                 // propagation state of this round
  bool ones = false;             // no table and no finding of its own yet: all ones (unwritten)
  bool onQueue = false;
};

struct JunctionTree {
  TableArena arena;              // the clique and separator tables' storage (first, so freed last)
  std::vector<Clique> cliques;
  std::vector<Separator> seps;
  bool hasDecisions = false;
  double probFindings = 1.0;
  // Retracting or changing findings: when the clique and separator tables take at most
  // `baseCopyMaxBytes` (32 MB unless a test lowers it), the first update propagates the
  // potentials with no findings and keeps a copy of them (`base`, as much memory again as the
  // tables); each retraction copies it back, multiplies the findings in and propagates.
  // Above the bound no copy is kept (the tables take their own size only) and the potentials are
  // built again from the node tables with the findings in, which costs what the first update costs.
  BaseCopy base;                 // after the arena in the list, so freed before it
  size_t baseCopyMaxBytes = BASE_COPY_MAX_BYTES;
  bool spent = false;            // the potentials are not whole (a halted or failed propagation,
                                 // or maxima): the next update starts again from the base or tables
  bool memoryChecked = false;    // the tables' memory was checked (at the compile or first update)
  uint64_t version = 0;          // rises whenever the potentials change
  uint64_t updates = 0;          // belief updates that did work (a count for tests and benchmarks)
  std::vector<int> queue;        // scratch of the propagation schedule
  std::shared_ptr<DecisionSolution> decisions;  // the decisions solved (BN/Decision), when they are

  int neighbour(int clique, int sep) const {
    const Separator& s = seps[static_cast<size_t>(sep)];
    return s.a == clique ? s.b : s.a;
  }
  double totalSize() const;
};

// How a compile finds its order: the stored or greedy one, or (optimising) the order search for
// `seconds`, printing its estimates to `console`.
struct CompileOptions {
  bool optimize = false;
  double seconds = 0;
  std::FILE* console = nullptr;
};

struct UGraph;
// The moral graph over the nodes to eliminate: parents of chance and utility nodes married, links
// into decisions dropped, constant and utility nodes left out.
UGraph moralGraph(const Bnet& net);

// Compiles the net (nothing when it is compiled).
void compileNet(Bnet& net, const CompileOptions& options = {});
void uncompileNet(Bnet& net);
// Refuses tables that would not fit under the environment's memory limit, and records when they
// would be vastly too large for exact inference; `updating` when the tables are being built for
// an update rather than at the compile.
void checkTableMemory(Bnet& net, const JunctionTree& jt, bool updating);
// "Clique  [Joined To] ..." report of the compiled net.
std::string junctionTreeReport(const Bnet& net);

}  // namespace quorva
