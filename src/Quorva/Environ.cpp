// The environment's ownership of nets and lists, its closing, and the process-wide settings.
#include "Quorva/Environ.h"

#include <algorithm>

namespace quorva {

namespace {
std::mutex& registryLock() {
  static std::mutex m;
  return m;
}
// Initialised environments not yet closed, the most recently initialised last.
std::vector<Environ*>& liveEnvirons() {
  static std::vector<Environ*> live;
  return live;
}
// Shells of deleted nets and closed environments, kept so that stale handles are recognised.
std::vector<std::unique_ptr<Bnet>>& netShells() {
  static std::vector<std::unique_ptr<Bnet>> shells;
  return shells;
}
// Shells of deleted node lists: emptied, their tag cleared, so a stale handle is refused.
std::vector<std::unique_ptr<NodeList>>& listShells() {
  static std::vector<std::unique_ptr<NodeList>> shells;
  return shells;
}
// Moves the lists that `gone` picks out of `lists` into the shells.
template <class Pred>
void shellLists(std::vector<std::unique_ptr<NodeList>>& lists, Pred gone) {
  auto keep = std::stable_partition(lists.begin(), lists.end(), [&](const auto& l) { return !gone(*l); });
  std::lock_guard<std::mutex> g(registryLock());
  for (auto it = keep; it != lists.end(); ++it) {
    (*it)->tag = 0;
    (*it)->nodes = {};
    listShells().push_back(std::move(*it));
  }
  lists.erase(keep, lists.end());
}
std::vector<std::unique_ptr<Environ>>& envShells() {
  static std::vector<std::unique_ptr<Environ>> shells;
  return shells;
}
}  // namespace

Concurrency& concurrency() {
  static Concurrency c;
  return c;
}

Environ* defaultEnviron() {
  std::lock_guard<std::mutex> g(registryLock());
  return liveEnvirons().empty() ? nullptr : liveEnvirons().back();
}

void setDefaultEnviron(Environ* env) {
  std::lock_guard<std::mutex> g(registryLock());
  std::vector<Environ*>& live = liveEnvirons();
  live.erase(std::remove(live.begin(), live.end(), env), live.end());
  live.push_back(env);
}

void forgetDefaultEnviron(Environ* env) {
  std::lock_guard<std::mutex> g(registryLock());
  std::vector<Environ*>& live = liveEnvirons();
  live.erase(std::remove(live.begin(), live.end(), env), live.end());
}

void buryEnviron(std::unique_ptr<Environ> env) {
  std::lock_guard<std::mutex> g(registryLock());
  envShells().push_back(std::move(env));
}

Bnet& Environ::adoptNet(Bnet* net) {
  nets.emplace_back(net);
  return *net;
}

void Environ::deleteNet(Bnet& net) {
  auto it = std::find_if(nets.begin(), nets.end(), [&](const auto& p) { return p.get() == &net; });
  if (it == nets.end()) return;
  if (net.randgen.owned) deleteRandgen(*net.randgen.gen);
  net.randgen = {};
  std::unique_ptr<Bnet> owned = std::move(*it);
  nets.erase(it);
  shellLists(lists, [&](const NodeList& l) { return l.net == &net; });
  owned->becomeDeleted();
  std::lock_guard<std::mutex> g(registryLock());
  netShells().push_back(std::move(owned));
}

NodeList& Environ::newList(Bnet* net) {
  lists.push_back(std::make_unique<NodeList>(net, false));
  return *lists.back();
}

void Environ::deleteList(NodeList& list) {
  shellLists(lists, [&](const NodeList& l) { return &l == &list; });
}

bool Environ::ownsList(const NodeList* list) const {
  return std::any_of(lists.begin(), lists.end(), [&](const auto& l) { return l.get() == list; });
}

RandomGen& Environ::adoptRandgen(std::unique_ptr<RandomGen> gen) {
  randgens.push_back(std::move(gen));
  return *randgens.back();
}

void Environ::deleteRandgen(RandomGen& gen) {
  if (gen.deleted) return;
  for (const auto& net : nets)
    if (net->randgen.gen == &gen) net->randgen = {};
  gen.release();
}

FileSpec& Environ::adoptStream(std::unique_ptr<FileSpec> stream) {
  streams.push_back(std::move(stream));
  return *streams.back();
}

void Environ::deleteStream(FileSpec& stream) {
  caseCursors.erase(&stream);
  stream.release();
  stream.deleted = 1;
}

void Environ::close() {
  caseCursors.clear();
  for (const auto& c : casesets) c->release();
  for (const auto& s : streams) deleteStream(*s);
  shellLists(lists, [](const NodeList&) { return true; });
  while (!nets.empty()) deleteNet(*nets.back());
  randgens.clear();
  errors.clearAll();
  state = -1;
  forgetDefaultEnviron(this);
}

}  // namespace quorva
