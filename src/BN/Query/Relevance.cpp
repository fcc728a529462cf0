// The ball: a node not observed, reached from a child, passes it to its parents and children; reached
// from a parent, to its children only.  An observed node reached from a parent sends it back to
// its parents; reached from a child, it blocks.  A likelihood finding acts as an observed child.
#include "BN/Query/Relevance.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

#include "BN/Net/Bnet.h"

namespace quorva {

size_t nodePlace(const Bnet& net, const Bnode* node) {
  return static_cast<size_t>(std::find(net.nodes.begin(), net.nodes.end(), node) - net.nodes.begin());
}

FindingMarks findingMarks(const Bnet& net) {
  size_t n = net.nodes.size();
  FindingMarks m{std::vector<char>(n, 0), std::vector<char>(n, 0)};
  for (size_t i = 0; i < n; ++i) {
    const Finding& f = net.nodes[i]->finding;
    m.observed[i] = f.state >= 0;
    m.soft[i] = f.state < 0 && !f.likelihood.empty();
  }
  return m;
}

BallMarks passBall(const Bnet& net, const std::vector<const Bnode*>& query, const std::vector<char>& observed,
                   const std::vector<char>& soft) {
  size_t n = net.nodes.size();
  BallMarks m{std::vector<char>(n, 0), std::vector<char>(n, 0), std::vector<char>(n, 0), std::vector<char>(n, 0)};
  std::unordered_map<const Bnode*, size_t> place;
  for (size_t i = 0; i < n; ++i) place.emplace(net.nodes[i], i);
  struct Visit {
    size_t node;
    bool fromChild;
  };
  std::deque<Visit> todo;
  for (const Bnode* q : query) todo.push_back({place.at(q), true});
  auto toParents = [&](size_t j) {
    for (const Link& l : net.nodes[j]->parents) todo.push_back({place.at(l.parent), true});
  };
  auto toChildren = [&](size_t j) {
    for (const Bnode* c : net.nodes[j]->children) todo.push_back({place.at(c), false});
    if (soft[j] && !m.softTop[j]) {  // the unseen observed child sends the ball back up
      m.softTop[j] = 1;
      todo.push_back({j, true});
    }
  };
  while (!todo.empty()) {
    Visit v = todo.front();
    todo.pop_front();
    size_t j = v.node;
    m.visited[j] = 1;
    if (!observed[j] && v.fromChild) {
      if (!m.top[j]) m.top[j] = 1, toParents(j);
      if (!m.bottom[j]) m.bottom[j] = 1, toChildren(j);
    } else if (!v.fromChild) {
      if (observed[j] && !m.top[j]) m.top[j] = 1, toParents(j);
      if (!observed[j] && !m.bottom[j]) m.bottom[j] = 1, toChildren(j);
    }
  }
  return m;
}

bool dSeparated(const Bnet& net, const std::vector<const Bnode*>& x, const std::vector<const Bnode*>& y,
                const std::vector<const Bnode*>& given) {
  std::vector<char> observed(net.nodes.size(), 0), none(net.nodes.size(), 0);
  for (const Bnode* g : given) observed[nodePlace(net, g)] = 1;
  BallMarks m = passBall(net, x, observed, none);
  for (const Bnode* b : y) {
    size_t j = nodePlace(net, b);
    if (observed[j]) continue;
    bool inX = std::find(x.begin(), x.end(), b) != x.end();
    if (m.bottom[j] || inX) return false;
  }
  return true;
}

std::vector<Bnode*> markovBlanket(const Bnode& node) {
  const Bnet& net = *node.net;
  std::vector<char> in(net.nodes.size(), 0);
  auto add = [&](const Bnode* b) {
    if (b != &node) in[nodePlace(net, b)] = 1;
  };
  for (const Link& l : node.parents) add(l.parent);
  for (const Bnode* c : node.children) {
    add(c);
    for (const Link& l : c->parents) add(l.parent);
  }
  std::vector<Bnode*> out;
  for (size_t i = 0; i < net.nodes.size(); ++i)
    if (in[i]) out.push_back(net.nodes[i]);
  return out;
}

std::vector<Bnode*> relevantNodes(const Bnet& net, const std::vector<const Bnode*>& query) {
  size_t n = net.nodes.size();
  const auto [observed, soft] = findingMarks(net);
  BallMarks m = passBall(net, query, observed, soft);
  std::vector<Bnode*> out;
  for (size_t i = 0; i < n; ++i)
    if (m.top[i] || m.softTop[i] || (observed[i] && m.visited[i])) out.push_back(net.nodes[i]);
  return out;
}

}  // namespace quorva
