// A node: one variable of a net, with its states, links, finding and user data.
#pragma once
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "BN/Net/NodeList.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Tagged.h"
#include "Basic/UserFields.h"

namespace quorva {

class Bnet;

enum NodeKind : int {
  UNKNOWN_KIND = 0,
  NATURE = 1,
  CONSTANT = 2,
  DECISION = 3,
  UTILITY = 4,
  DISCONNECTED = 5,
  ADVERSARY = 6,
};
const char* nodeKindWord(int kind);  // "NATURE", ... "UNKNOWN_KIND"

enum NodeType : int { UNKNOWN_TYPE = 0, CONTINUOUS = 1, DISCRETE = 2 };
const char* nodeTypeWord(int type);  // "CONTINUOUS", "DISCRETE", "UNKNOWN_DISCRETE"

inline constexpr int UNDEF_STATE_VALUE = -3;
double undefDouble();
inline bool isUndefDouble(double x) { return x != x; }

// A link into a node: its parent, the input name, and its time delay per dimension.
struct Link {
  Bnode* parent = nullptr;
  std::string inputName;
  std::vector<std::string> delays;

  bool hasDelay() const;
};

// What is known of a node's value in the case at hand, in three parts kept consistent: a single
// state (or UNDEF_STATE_VALUE), a real value (or undefined), and a likelihood (empty: none).
struct Finding {
  int state = UNDEF_STATE_VALUE;
  double value = std::numeric_limits<double>::quiet_NaN();
  std::vector<float> likelihood;
  std::vector<float> calibration;  // the node's beliefs as they are to be made to read
  bool action = false;             // entered as an action taken, not an observation

  bool empty() const { return state < 0 && value != value && likelihood.empty() && calibration.empty(); }
  // Back to no finding, keeping the lists' room for the next.
  void clear() {
    state = UNDEF_STATE_VALUE;
    value = std::numeric_limits<double>::quiet_NaN();
    likelihood.clear();
    calibration.clear();
    action = false;
  }
};

struct Listener;  // a registered callback (BN/Listeners.h)

// What few nodes carry, kept apart so that a node of a large net stays small: texts, state
// titles and levels, set names, listeners, and the buffers handed to the application.
struct NodeDetails {
  std::string title, comment;
  std::string equation;  // the equation text exactly as set ("" for none)
  UserFields userFields;
  std::vector<std::string> stateTitles, stateComments;  // empty, or one per state
  std::vector<double> levels;  // one per state, or numStates + 1 thresholds, or none
  std::vector<std::string> nodesets;
  std::vector<std::string> persistence;  // per dimension
  std::vector<std::shared_ptr<Listener>> listeners;
  std::vector<double> tableRead;       // the copy GetNodeTable_bn hands out without a caller's buffer
  std::vector<float> likelihoodRead;   // the vector GetNodeLikelihood_bn hands out
  // Lists handed to the application; refreshed on each request.
  NodeList parentList{nullptr, true};
  NodeList childList{nullptr, true};
};

class Bnode : public Tagged {
 public:
  Bnode(Bnet* net, std::string name, int numStates);
  Bnode(const Bnode&) = delete;
  Bnode& operator=(const Bnode&) = delete;

  Bnet* net;
  std::string name;
  bool eqnDirty = false;  // the tables may not match the equation (set with it, cleared when built)
  int kind = NATURE;
  int type;
  int measure = 0;
  int numStates;
  std::vector<std::string> stateNames;  // empty, or one per state
  std::vector<Link> parents;   // in table-dimension order
  std::vector<Bnode*> children;  // one entry per link into a child
  NodeTables tables;
  Finding finding;
  uint64_t mark = 0;           // the last unique label a graph search gave it
  int curState = 0;
  int homeClique = -1;                 // while compiled: the clique that holds its table
  std::vector<float> beliefs;          // cached beliefs, current while beliefsVersion matches
  uint64_t beliefsVersion = 0;
  double visX = 0, visY = 0;

  // The node's details to read: those of a node that has none are all empty.
  const NodeDetails& details() const { return details_ ? *details_ : NO_DETAILS; }
  // The node's details to change, made when the node has none.  Changing the application's
  // buffers is not a change of the node, so they are reached from a node being read too.
  NodeDetails& editDetails() const;
  bool hasDetails() const { return details_ != nullptr; }

  // Discrete, or continuous and discretized: it has states to index.
  bool hasStates() const { return numStates > 0; }
  // The state the node's finding fixes, or -1 when it fixes none.
  int findingState() const { return finding.state >= 0 ? finding.state : -1; }
  // Empties a node that has been deleted, keeping only the shell that marks it so.
  void becomeDeleted();

 private:
  static const NodeDetails NO_DETAILS;
  mutable std::unique_ptr<NodeDetails> details_;
};

}  // namespace quorva
