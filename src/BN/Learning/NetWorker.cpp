// Working copies of nets for learning and testing.
#include "BN/Learning/NetWorker.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <thread>

#include "BN/Inference/BeliefUpdate.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Learning/CaseFeed.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Net/NetCopy.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Raise.h"

namespace quorva {

NetWorker::NetWorker(const Bnet& net) : home_(net.env), env_(std::make_unique<EnvCore>()) {
  env_->state = ENV_USABLE_STATE;
  env_->memory.setLimit(net.env->memory.limit());
  net_.reset(copyNet(net, net.name.c_str(), env_.get(), ""));
  net_->autoUpdate = false;
  families_.resize(net_->nodes.size());
  try {
    run([&] { compileNet(*net_); });
  } catch (const Fault& f) {
    raiseHome(f);
  }
}

NetWorker::~NetWorker() { net_.reset(); }

Bnode& NetWorker::node(size_t place) { return *net_->nodes[place]; }

NetWorker::Fault NetWorker::fault(const QuorvaError& e) {
  if (!e.record) return {0, "unhandled fault"};
  Fault f{-e.record->number, e.record->message};
  if (e.record->env == env_.get()) env_->errors.remove(e.record);
  return f;
}

void NetWorker::raiseHome(const Fault& f) const { engError(home_, ErrDef{f.number, "%s"}, f.message); }

bool NetWorker::enterCase(const int32_t* states, const Likelihoods* likelihoods, const std::vector<char>* hidden) {
  Bnet& net = *net_;
  for (size_t p = 0; p < net.nodes.size(); ++p) {
    Finding& f = net.nodes[p]->finding;
    int want = hidden && (*hidden)[p] ? UNKNOWN_STATE : states[p];
    if (want < 0) want = UNDEF_STATE_VALUE;
    if (f.state == want && f.likelihood.empty()) continue;
    f = Finding{};
    f.state = want;
  }
  if (likelihoods)
    for (const auto& [place, like] : *likelihoods) {
      if (hidden && (*hidden)[place]) continue;
      Finding& f = net.nodes[place]->finding;
      f = Finding{};
      f.likelihood = like;
    }
  bool holds = false;
  run([&] { holds = findingsHold(net); });
  return holds;
}

double NetWorker::caseProbability() const { return net_->jt->probFindings; }

void NetWorker::familyPosterior(size_t place, std::vector<double>& out) {
  Bnode& n = *net_->nodes[place];
  std::unique_ptr<Family>& fam = families_[place];
  if (!fam) {
    fam = std::make_unique<Family>();
    fam->table = PotTable(env_.get(), tableNodes(n, true));
    run([&] { fam->table.allocate(); });
  }
  const Clique& home = net_->jt->cliques[static_cast<size_t>(n.homeClique)];
  marginalizeInto(fam->table, home.pot, fam->plan);
  const float* d = fam->table.data();
  size_t size = fam->table.size();
  double sum = 0;
  for (size_t i = 0; i < size; ++i) sum += d[i];
  out.resize(size);
  double scale = sum > 0 ? 1 / sum : 0;
  for (size_t i = 0; i < size; ++i) out[i] = d[i] * scale;
}

void NetWorker::setCpt(size_t place, const float* probs) {
  Bnode& n = *net_->nodes[place];
  run([&] {
    PotTable& t = ensureCpt(n);
    t.setFactor(1.0);
    std::copy(probs, probs + t.size(), t.data());
  });
  net_->tablesChanged();
}

void forEachBlock(std::vector<std::unique_ptr<NetWorker>>& workers, size_t blocks,
                  const std::function<void(NetWorker&, size_t)>& work) {
  std::atomic<size_t> next{0};
  std::atomic<bool> stop{false}, halted{false};
  std::mutex faultLock;
  std::optional<NetWorker::Fault> fault;
  auto worker = [&](NetWorker& w) {
    try {
      w.run([&] {
        for (size_t b; !stop && (b = next++) < blocks;) work(w, b);
      });
    } catch (const NetWorker::Fault& f) {
      std::lock_guard<std::mutex> hold(faultLock);
      if (!fault) fault = f;
      stop = true;
    } catch (const WorkHalted&) {
      halted = stop = true;
    }
  };
  size_t used = std::min(workers.size(), std::max<size_t>(blocks, 1));
  std::vector<std::thread> threads;
  for (size_t t = 1; t < used; ++t) threads.emplace_back(worker, std::ref(*workers[t]));
  worker(*workers[0]);
  for (std::thread& t : threads) t.join();
  if (fault) workers[0]->raiseHome(*fault);
  if (halted) throw WorkHalted{};
}

}  // namespace quorva
