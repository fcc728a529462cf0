// A net: its nodes in creation order, the name index, node sets and the unique-label counter.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BN/Net/Bnode.h"
#include "BN/Net/NameIndex.h"
#include "BN/Net/NodeList.h"
#include "BN/Net/NodeStore.h"
#include "BN/Net/UndoHistory.h"
#include "Basic/RandomGen.h"
#include "Basic/Tagged.h"
#include "Basic/UserFields.h"

namespace quorva {

class EnvCore;
struct JunctionTree;

// A user node set; its place in Bnet::nodesets is its priority (first is highest).
struct Nodeset {
  std::string name;
  int color = -1;  // 0xRRGGBB (8 bits each of red, green, blue), or -1 when it has none
};

inline constexpr uint64_t FIRST_UNIQUE_LABEL = 100;
inline constexpr uint64_t UNIQUE_LABEL_WARNING = 999'999'999'990'000'000ULL;
inline constexpr uint64_t UNIQUE_LABEL_WRAP = 999'999'999'999'999'000ULL;

class Bnet : public Tagged {
 public:
  Bnet(EnvCore* env, std::string name);
  ~Bnet();
  Bnet(const Bnet&) = delete;
  Bnet& operator=(const Bnet&) = delete;

  std::string name, title, comment;
  UserFields userFields;
  EnvCore* env;
  std::vector<Bnode*> nodes;  // live nodes, in creation order
  bool autoUpdate = true;
  bool noForgetting = true;  // a decision knows what earlier decisions knew and chose
  std::vector<Bnode*> elimOrder;
  std::string fileName;
  uint64_t uniqueLabel = FIRST_UNIQUE_LABEL;
  int juncStep = 0;  // 0: not compiled
  std::vector<Nodeset> nodesets;
  bool hasVisual = false;
  RandomGenHold randgen;  // the net's own random generator (none: the environment's default)
  mutable NodeList nodeList{this, true};
  mutable NodeList elimOrderList{this, true};
  mutable std::string reportRead;  // the text ReportJunctionTree_bn hands out

  // A fresh label for a graph search; warns before the counter recycles and wraps it.
  uint64_t newLabel();

  Bnode* find(const std::string& name) const;
  bool nameTaken(const std::string& name) const { return find(name) != nullptr; }
  // Adds a node whose name has been checked and is free.
  Bnode& addNode(std::string name, int numStates);
  // The same when no node has the name; null (nothing added) when one has.
  Bnode* addNodeIfFree(std::string name, int numStates);
  // Makes room for `more` nodes to be added without growing the index on the way.
  void reserveNodes(size_t more);
  // Takes a node without links out of the net, leaving its deleted shell behind.
  void removeNode(Bnode& node);
  void renameNode(Bnode& node, std::string name);
  // Changes whenever a node is added, deleted or renamed and whenever a structure or text edit is
  // committed (states, titles, kinds): what was worked out from the net's names and states is
  // stale once it differs.  Values come from one process-wide sequence, so no two nets share one.
  uint64_t editVersion() const { return editVersion_; }
  void edited();
  Nodeset* findNodeset(const std::string& name);

  // Drops the compiled form; called by every structural change.
  void uncompile();
  // Node tables changed: a compiled net keeps its cliques but rebuilds its potentials.
  void tablesChanged();
  std::unique_ptr<JunctionTree> jt;  // present while compiled
  std::vector<Finding> enteredAs;    // per node: the finding now in the clique potentials
  std::shared_ptr<void> kernelPlans; // the table kernels' iteration plans for this net's tables
  // Findings changed: beliefs that were current are stale until updated again.
  void findingsChanged() {
    ++beliefInputs;
    if (juncStep > 4) juncStep = 4;
  }
  // Rises whenever what beliefs are computed from changes (findings, tables, structure), so that
  // results kept from the beliefs (sensitivity to findings) know when they are stale.
  uint64_t beliefInputs = 0;
  bool beliefsCurrent() const { return juncStep >= 5; }
  std::vector<std::shared_ptr<Listener>> listeners;
  mutable std::string nodesetsRead;  // the text GetAllNodesets_bn hands out
  UndoHistory undo;
  // Rebuilds the name index from the live nodes, after an undo brought back another set.
  void reindex();
  // Deletes every node (not just to shells), leaving an empty deleted net.
  void becomeDeleted();

 private:
  NodeStore storage_;  // live nodes and deleted shells
  NameIndex byName_;
  uint64_t editVersion_ = 0;
};

}  // namespace quorva
