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
};

struct Listener;  // a registered callback (BN/Listeners.h)

class Bnode : public Tagged {
 public:
  Bnode(Bnet* net, std::string name, int numStates);

  Bnet* net;
  std::string name, title, comment;
  std::string equation;  // the equation text exactly as set ("" for none)
  bool eqnDirty = false;  // the tables may not match the equation (set with it, cleared when built)
  UserFields userFields;
  int kind = NATURE;
  int type;
  int measure = 0;
  int numStates;
  std::vector<std::string> stateNames, stateTitles, stateComments;  // empty, or one per state
  std::vector<double> levels;  // one per state, or numStates + 1 thresholds, or none
  std::vector<Link> parents;   // in table-dimension order
  std::vector<Bnode*> children;  // one entry per link into a child
  NodeTables tables;
  std::vector<double> tableRead;  // the copy GetNodeTable_bn hands out without a caller's buffer
  Finding finding;
  uint64_t mark = 0;           // the last unique label a graph search gave it
  int curState = 0;
  int homeClique = -1;                 // while compiled: the clique that holds its table
  std::vector<float> beliefs;          // cached beliefs, current while beliefsVersion matches
  uint64_t beliefsVersion = 0;            // the state table kernels fix this node at when it is not iterated
  double visX = 0, visY = 0;
  std::vector<std::string> nodesets;
  std::vector<std::string> persistence;  // per dimension
  std::vector<std::shared_ptr<Listener>> listeners;
  mutable std::vector<float> likelihoodRead;  // the vector GetNodeLikelihood_bn hands out

  // Lists handed to the application; refreshed on each request.
  mutable NodeList parentList{nullptr, true};
  mutable NodeList childList{nullptr, true};

  // Discrete, or continuous and discretized: it has states to index.
  bool hasStates() const { return numStates > 0; }
  // The state the node's finding fixes, or -1 when it fixes none.
  int findingState() const { return finding.state >= 0 ? finding.state : -1; }
  // Empties a node that has been deleted, keeping only the shell that marks it so.
  void becomeDeleted();
};

}  // namespace quorva
