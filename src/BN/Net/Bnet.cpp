// Nets: the node index, unique labels, and deletion.
#include "BN/Net/Bnet.h"

#include <algorithm>
#include <atomic>

#include "BN/Inference/JunctionTree.h"
#include "BN/Inference/OrderCheck.h"
#include "BN/Net/NetErrors.h"
#include "Basic/BasicErrors.h"
#include "Basic/Raise.h"

namespace quorva {

Bnet::Bnet(EnvCore* env, std::string name) : Tagged(BNET_TYPE), name(std::move(name)), env(env) { edited(); }

void Bnet::edited() {
  static std::atomic<uint64_t> sequence{0};
  editVersion_ = ++sequence;
}

Bnet::~Bnet() = default;

void Bnet::tablesChanged() {
  ++beliefInputs;
  if (juncStep > 2) juncStep = 2;
}

// Home cliques are read only while compiled (and the compile assigns every one afresh), so an
// uncompiled net's edits, such as each node a reader adds, skip the walk over the nodes.
void Bnet::uncompile() {
  const bool wasCompiled = jt != nullptr || juncStep != 0;
  ++beliefInputs;
  juncStep = 0;
  jt.reset();
  enteredAs.clear();
  if (wasCompiled)
    for (Bnode* n : nodes) n->homeClique = -1;
}

uint64_t Bnet::newLabel() {
  ++uniqueLabel;
  if (uniqueLabel == UNIQUE_LABEL_WARNING) engWarning(env, err::UniqueLabelsRecycle);
  if (uniqueLabel >= UNIQUE_LABEL_WRAP) {
    uniqueLabel = FIRST_UNIQUE_LABEL;
    for (Bnode* n : nodes) n->mark = 0;  // old marks must not match recycled labels
  }
  return uniqueLabel;
}

Bnode* Bnet::find(const std::string& nodeName) const {
  return byName_.find(nodeName);
}

Bnode& Bnet::addNode(std::string nodeName, int numStates) {
  Bnode* node = addNodeIfFree(std::move(nodeName), numStates);
  QASSERT(env, node != nullptr);  // the caller has checked the name
  return *node;
}

Bnode* Bnet::addNodeIfFree(std::string nodeName, int numStates) {
  // Room first, so that nothing below can fail part way; grown by doubling, not one by one.
  if (nodes.size() == nodes.capacity()) nodes.reserve(2 * nodes.size() + 8);
  bool made = false;
  // One look-up for the test and the entry; the node's name is the key, so it is made in place.
  Bnode* node = byName_.findOrAdd(nodeName, made, [&] { return storage_.make(this, std::move(nodeName), numStates); });
  if (!made) return nullptr;
  nodes.push_back(node);
  edited();
  return nodes.back();
}

void Bnet::reserveNodes(size_t more) {
  storage_.reserve(more);
  nodes.reserve(nodes.size() + more);
  byName_.reserve(byName_.size() + more);
}

void Bnet::removeNode(Bnode& node) {
  byName_.erase(node.name);
  nodes.erase(std::remove(nodes.begin(), nodes.end(), &node), nodes.end());
  dropOrderListing(*this, node);
  node.becomeDeleted();
  edited();
}

void Bnet::renameNode(Bnode& node, std::string newName) {
  byName_.erase(node.name);
  node.name = std::move(newName);
  byName_.add(&node);
  edited();
}

Nodeset* Bnet::findNodeset(const std::string& setName) {
  for (Nodeset& s : nodesets)
    if (s.name == setName) return &s;
  return nullptr;
}

void Bnet::reindex() {
  byName_.clear();
  byName_.reserve(nodes.size());
  for (Bnode* n : nodes) byName_.add(n);
}

void Bnet::becomeDeleted() {
  deleted = 1;
  undo.clear();
  edited();
  jt.reset();
  tag = static_cast<uint16_t>(tag | 0x0100);  // still a net, flagged as gone
  byName_.clear();
  nodes.clear();
  storage_.clear();
  elimOrder.clear();
  nodesets.clear();
  nodeList.nodes.clear();
  userFields = UserFields();
}

}  // namespace quorva
