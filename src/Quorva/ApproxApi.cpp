// API functions of sampling: writing cases drawn from a net, and approximate beliefs.
#include <algorithm>
#include <cmath>

#include "BN/Approx/ApproxBeliefs.h"
#include "BN/Approx/ApproxErrors.h"
#include "BN/Approx/CaseSampler.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/RandomGen.h"
#include "Basic/Stream.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"
#include "Quorva/Environ.h"

using namespace quorva;

namespace {

uint64_t seedOf(ApiFrame& f, Bnet& net, long long seed) {
  if (seed < -1) argError(&f.env(), err::SampleSeedNegative, seed);
  if (seed >= 0) return static_cast<uint64_t>(seed);
  return net.randgen.pick(net.env).next64() >> 1;
}

// The entries the beliefs of the net's nodes take.
int beliefEntries(const Bnet& net) {
  long long total = 0;
  for (const Bnode* n : net.nodes)
    if (n->kind != UTILITY && n->numStates > 0) total += n->numStates;
  return static_cast<int>(std::min<long long>(total, 2147483647));
}

}  // namespace

extern "C" {

long long WriteSampledCases_bn(net_bn* net, stream_vq* stream, long long num_cases, long long seed, int threads,
                               const char* options) {
  return apiCall(__func__, -1LL, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    FileSpec& out = f.stream(stream);
    if (options && *options) argError(&f.env(), err::SampleOptions, options);
    if (num_cases < 0) argError(&f.env(), err::SampleCountNegative, num_cases);
    if (threads < 1 || threads > 64) argError(&f.env(), err::SampleThreads, threads);
    const uint64_t s = seedOf(f, n, seed);
    f.env().caseFormat.load(f.env());
    writeSampledCases(n, out, num_cases, s, threads, f.env().caseFormat);
    return num_cases;
  });
}

int ApproxNetBeliefs_bn(net_bn* net, approx_method_bn method, double samples, double seconds, double damping,
                        long long seed, double* beliefs, double* errors, int size, approx_summary_bn* summary) {
  return apiCall(__func__, -1, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    const int m = enumBits(method);
    if (m < 1 || m > 3) argError(&f.env(), err::ApproxMethod, m);
    if (!(samples >= 0)) argError(&f.env(), err::ApproxBudget, "samples", samples);
    if (!(seconds >= 0)) argError(&f.env(), err::ApproxBudget, "seconds", seconds);
    if (!(damping >= 0 && damping < 1)) argError(&f.env(), err::ApproxDamping, damping);
    const int needed = beliefEntries(n);
    if (!beliefs) return needed;
    f.notNull(errors, "errors");
    if (size < needed) argError(&f.env(), err::ApproxSize, size, needed);
    ApproxOptions o;
    o.method = static_cast<ApproxMethod>(m);
    o.samples = samples;
    o.seconds = seconds;
    o.damping = damping;
    o.seed = seedOf(f, n, seed);
    const ApproxResult r = approxBeliefs(n, o);
    int at = 0;
    for (size_t i = 0; i < n.nodes.size(); ++i) {
      const Bnode& node = *n.nodes[i];
      if (node.kind == UTILITY || node.numStates <= 0) continue;
      for (int s = 0; s < node.numStates; ++s, ++at) {
        const bool known = i < r.beliefs.size() && !r.beliefs[i].empty();
        beliefs[at] = known ? r.beliefs[i][static_cast<size_t>(s)] : 1.0 / node.numStates;
        errors[at] = known ? r.errors[i][static_cast<size_t>(s)] : 1.0;
      }
    }
    if (summary) {
      const bool loopy = o.method == ApproxMethod::Loopy;
      summary->samples = r.drawn;
      summary->effective_samples = loopy ? 0 : r.effective;
      summary->findings_probability = loopy ? undefDouble() : r.findingsProbability;
      summary->max_change = loopy ? r.maxChange : 0;
      summary->converged = r.converged ? 1 : 0;
    }
    return at;
  });
}

}  // extern "C"
