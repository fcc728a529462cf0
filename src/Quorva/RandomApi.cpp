// API functions of random generators: making one from a seed or a saved state, reading its
// state, drawing from it, deleting it, giving a net its own, and drawing random cases from a net.
#include <string_view>

#include "BN/Net/Bnet.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/RandomCase.h"
#include "Basic/RandomErrors.h"
#include "Basic/RandomGen.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

// The generator calls take no options yet.
void noOptions(Environ& env, const char* options) {
  if (options && *options) argError(&env, err::RandgenOptions, options);
}

}  // namespace

extern "C" {

randgen_vq* NewRandomGenerator_vq(const char* seed, environ_vq* env, const char* options) {
  return apiCall(__func__, static_cast<randgen_vq*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    noOptions(e, options);
    std::unique_ptr<RandomGen> gen;
    if (!seed) {
      gen = std::make_unique<RandomGen>(&e, NO_SEED);
    } else if (std::string_view(seed).starts_with(RANDGEN_STATE_PREFIX)) {
      gen = std::make_unique<RandomGen>(&e, 0);
      gen->readState(seed);
    } else {
      gen = std::make_unique<RandomGen>(&e, parseSeed(&e, seed));
    }
    return handle(&e.adoptRandgen(std::move(gen)));
  });
}

const char* GetRandomGenState_vq(randgen_vq* rand, const char* options) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(rand), [&](ApiFrame& f) {
    RandomGen& gen = f.randgen(rand);
    noOptions(f.env(), options);
    return gen.stateText().c_str();
  });
}

double GenerateRandomNumbers_vq(randgen_vq* rand, double* results, int num, const char* options) {
  return apiCall(__func__, -1.0, envOf(rand), [&](ApiFrame& f) {
    RandomGen& gen = f.randgen(rand);
    noOptions(f.env(), options);
    if (num < 0) argError(&f.env(), err::RandomCountNegative, num);
    if (num == 0) return GetUndefDbl_vq();
    f.notNull(results, "results");
    for (int i = 0; i < num; ++i) results[i] = gen.uniform();
    return results[0];
  });
}

void DeleteRandomGen_vq(randgen_vq* rand) {
  apiRun(__func__, envOf(rand), [&](ApiFrame& f) {
    RandomGen& gen = f.randgen(rand);
    Environ::of(gen.env)->deleteRandgen(gen);
  });
}

void SetNetRandomGen_bn(net_bn* net, randgen_vq* rand, bool_vq is_private) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    RandomGen* gen = rand ? &f.randgen(rand) : nullptr;
    if (gen && gen->env != n.env) argError(&f.env(), err::RandgenOtherEnviron);
    RandomGenHold before = n.randgen;
    n.randgen = {gen, gen && is_private};
    if (before.owned && before.gen != gen) Environ::of(n.env)->deleteRandgen(*before.gen);
  });
}

int GenerateRandomCase_bn(const nodelist_bn* nodes, sampling_bn method, double timeout, randgen_vq* rand) {
  return apiCall(__func__, -1, envOf(nodes), [&](ApiFrame& f) {
    const NodeList& list = f.list(nodes);
    int m = static_cast<int>(method);
    if (m < 0 || m > 2) argError(&f.env(), err::SamplingMethod, m);
    for (const Bnode* n : list.nodes)
      if (!n) argError(&f.env(), err::NullObject, "Bnode (an entry of argument 'nodes')");
    if (!list.net) return 0;
    Bnet& net = *list.net;
    RandomGen& gen = rand ? f.randgen(rand) : net.randgen.pick(net.env);
    bool found = generateRandomCase(net, list.nodes, m == 1 ? Sampling::JoinTree : Sampling::Forward, timeout, gen);
    return found ? 0 : -1;
  });
}

}  // extern "C"
