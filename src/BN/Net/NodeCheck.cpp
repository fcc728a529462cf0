// Checking that a node agrees with its net, its parents and its children.
#include "BN/Net/NodeCheck.h"

#include <algorithm>

#include "BN/Net/Bnet.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {
size_t countOf(const std::vector<Bnode*>& v, const Bnode* x) {
  return static_cast<size_t>(std::count(v.begin(), v.end(), x));
}
size_t linksFrom(const Bnode& child, const Bnode* parent) {
  return static_cast<size_t>(std::count_if(child.parents.begin(), child.parents.end(),
                                           [&](const Link& l) { return l.parent == parent; }));
}
}  // namespace

void checkNodeConsistency(const Bnode& nd) {
  EnvCore* env = nd.net->env;
  QASSERT(env, nd.net->isOfType(BNET_TYPE));
  QASSERT(env, nd.net->find(nd.name) == &nd);
  QASSERT(env, nd.numStates >= 0);
  size_t n = static_cast<size_t>(nd.numStates);
  QASSERT(env, nd.stateNames.empty() || nd.stateNames.size() == n);
  QASSERT(env, nd.details().stateTitles.empty() || nd.details().stateTitles.size() == n);
  QASSERT(env, nd.details().stateComments.empty() || nd.details().stateComments.size() == n);
  QASSERT(env, nd.details().levels.empty() || nd.details().levels.size() == (nd.type == DISCRETE ? n : n + 1));
  for (const Link& l : nd.parents) {
    QASSERT(env, l.parent && l.parent->isOfType(BNODE_TYPE) && !l.parent->deleted);
    QASSERT(env, countOf(l.parent->children, &nd) == linksFrom(nd, l.parent));
  }
  for (const Bnode* c : nd.children) QASSERT(env, countOf(nd.children, c) == linksFrom(*c, &nd));
}

}  // namespace quorva
