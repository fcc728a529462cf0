// An ordered list of nodes of one net; the lists the system manages itself are constant.
#pragma once
#include <vector>

#include "Basic/Tagged.h"

namespace quorva {

class Bnet;
class Bnode;

class NodeList : public Tagged {
 public:
  NodeList(Bnet* net, bool constant) : Tagged(NODELIST_TYPE), net(net), constant(constant) {}

  Bnet* net;                   // the net its nodes belong to (may be null while empty)
  std::vector<Bnode*> nodes;   // empty entries are null
  bool constant;
};

}  // namespace quorva
