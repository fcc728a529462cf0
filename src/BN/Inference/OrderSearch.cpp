// The optimising order search.
#include "BN/Inference/OrderSearch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <string>

#include "BN/Net/Bnet.h"
#include "Basic/Format.h"
#include "Basic/Progress.h"
#include "Basic/RandomGen.h"

namespace quorva {

namespace {

constexpr size_t POOL = 40;

struct Entry {
  std::vector<int> order;
  double score;
  int skip = 0;
};

// n! for n up to 100 (0: no limit above that).
double iterationLimit(size_t n) {
  if (n > 100) return 0;
  double f = 1;
  for (size_t i = 2; i <= n; ++i) f *= static_cast<double>(i);
  return std::round(f);
}

// Moves the node at a to position b, those between shifting by one place.
void moveNode(std::vector<int>& order, size_t a, size_t b) {
  int x = order[a];
  order.erase(order.begin() + static_cast<long>(a));
  order.insert(order.begin() + static_cast<long>(b), x);
}

// The estimate of a junction tree: clique and separator tables plus 188 entries a clique.
double estimateEntries(const UGraph& g, const std::vector<int>& order) {
  auto cliques = orderCliques(g, order);
  double total = 0;
  std::vector<char> seen(g.nodes.size(), 0);
  for (const auto& c : cliques) {
    total += setSize(g, c) + 188;
    std::vector<int> sep;
    for (int m : c) {
      if (seen[static_cast<size_t>(m)]) sep.push_back(m);
      seen[static_cast<size_t>(m)] = 1;
    }
    if (!sep.empty()) total += setSize(g, sep);
  }
  return total;
}

}  // namespace

double secondsPerOperation() {
  static std::atomic<double> measured{0};
  double s = measured.load();
  if (s > 0) return s;
  volatile float sink[10] = {};
  double count = 0;
  auto start = std::chrono::steady_clock::now();
  std::chrono::duration<double> elapsed{};
  do {
    for (int round = 0; round < 10; ++round)
      for (int i = 0; i < 10; ++i) sink[i] = static_cast<float>(i * round);
    count += 100;
    elapsed = std::chrono::steady_clock::now() - start;
  } while (elapsed.count() < 0.040);
  s = elapsed.count() / count + 0.0 * sink[0];
  measured.exchange(s);
  return s;
}

std::string estimateLine(double entries, double secondsPerOp) {
  std::string line(77, ' ');
  line += "\rMax Required:";
  line += format("  Memory = %-10s", formatBytes(4 * entries));
  double t = entries * secondsPerOp * 80;
  if (t >= 0.002) {
    if (t < 1) line += format("  Time = %d ms", static_cast<int>(t * 1000));
    else if (t < 3600) line += format("  Time = %.2f sec (with sufficient RAM)", t);
    else line += format("  Time = %.5g hour (with sufficient RAM)", t / 3600);
  }
  return line + "    \r";
}

std::vector<int> searchOrder(const UGraph& g, const std::vector<int>& eliminate, const std::vector<int>& seed,
                             RandomGen& rng, const SearchLimits& limits, double* bestScore) {
  size_t n = eliminate.size();
  if (n < 2) return eliminate;
  std::vector<int> stages(g.nodes.size(), 0);
  double limit = iterationLimit(n);
  auto start = std::chrono::steady_clock::now();
  std::vector<Entry> pool;
  std::vector<int> best;
  double bestSeen = HUGE_VAL;
  for (double iteration = 0;; ++iteration) {
    Entry candidate;
    int replace = -1;
    size_t wanted = iteration >= 1000 ? static_cast<size_t>(std::floor(std::log2(std::floor(iteration / 1000)) + 0.5)) : 0;
    if (iteration == 0) {
      candidate.order = seed.empty() ? greedyOrder(g, eliminate, stages, nullptr) : seed;
    } else if (pool.size() >= POOL || (iteration >= 1000 && pool.size() >= wanted)) {
      size_t j = rng.below(static_cast<uint32_t>(pool.size()));
      while (pool[j].skip > 0) {
        --pool[j].skip;
        j = rng.below(static_cast<uint32_t>(pool.size()));
      }
      candidate.order = pool[j].order;
      moveNode(candidate.order, rng.below(static_cast<uint32_t>(n)), rng.below(static_cast<uint32_t>(n)));
      replace = static_cast<int>(j);
    } else {
      // A fresh order: the greedy one over the nodes in a shuffled list, so ties fall differently.
      std::vector<int> shuffled = eliminate;
      for (size_t i = shuffled.size(); i > 1; --i) std::swap(shuffled[i - 1], shuffled[rng.below(static_cast<uint32_t>(i))]);
      candidate.order = greedyOrder(g, shuffled, stages, nullptr);
    }
    candidate.score = scoreOrder(g, candidate.order);
    bool kept = candidate.score > 0;
    if (kept && replace >= 0) {
      kept = candidate.score < pool[static_cast<size_t>(replace)].score;
      if (kept) pool[static_cast<size_t>(replace)] = candidate;
    } else if (kept) {
      pool.push_back(candidate);
    }
    if (kept && candidate.score < bestSeen) {
      bestSeen = candidate.score;
      best = candidate.order;
      if (limits.console) {
        std::fputs(estimateLine(estimateEntries(g, best), secondsPerOperation()).c_str(), limits.console);
        std::fflush(limits.console);
      }
    }
    double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if ((limit > 0 && iteration + 1 >= limit) || (limits.seconds > 0 && elapsed >= limits.seconds)) break;
    if (limits.progress) {
      double done = limits.seconds > 0 ? elapsed / limits.seconds : limit > 0 ? (iteration + 1) / limit : 0;
      if (!limits.progress->update(std::min(done, 1.0))) break;
    } else if (limit == 0 && limits.seconds <= 0) {
      break;  // no way to stop: one pass only
    }
  }
  if (bestScore) *bestScore = bestSeen;
  return best.empty() ? eliminate : best;
}

}  // namespace quorva
