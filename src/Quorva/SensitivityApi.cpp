// API functions of sensitivity to findings.
#include <cmath>
#include <memory>
#include <mutex>

#include "BN/Sensitivity/SensvErrors.h"
#include "BN/Sensitivity/Sensitivity.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

Sensv* asSensv(const sensv_bn* h) { return reinterpret_cast<Sensv*>(const_cast<sensv_bn*>(h)); }

// Sensitivity objects, and the shells of deleted ones (kept so that a stale handle is recognised),
// for the life of the process.  An object whose net has been deleted gives up its results the
// next time an object is made in its environment.
struct Store {
  std::mutex lock;
  std::vector<std::unique_ptr<Sensv>> all;

  Sensv& adopt(std::unique_ptr<Sensv> s) {
    std::lock_guard<std::mutex> g(lock);
    // Only objects of the caller's environment, whose lock is held, are looked at.
    for (const auto& old : all)
      if (!old->deleted && old->net->env == s->net->env && old->net->deleted) old->release();
    all.push_back(std::move(s));
    return *all.back();
  }
};

Store& store() {
  static Store s;
  return s;
}

Environ* envOf(const sensv_bn* h) {
  if (!h) return defaultEnviron();
  const Sensv* s = asSensv(h);
  if (!s->isOfType(SENSV_TYPE) && s->tag != DELETED_TYPE) return defaultEnviron();
  return quorva::envOf(handle(s->net));
}

// The sensitivity object, checked as the frame checks every handle; its net must still be there.
Sensv& sensvArg(ApiFrame& f, const sensv_bn* h) {
  if (f.level() >= QUICK_CHECK_LEVEL) {
    if (!h) argError(&f.env(), err::NullObject, "SensvToFinding");
    if (asSensv(h)->tag == DELETED_TYPE) argError(&f.env(), err::DeletedObject, "SensvToFinding");
    if (!handleIsOfType(h, SENSV_TYPE)) argError(&f.env(), err::WrongType, "SensvToFinding");
  }
  QASSERT(&f.env(), h != nullptr);
  Sensv& s = *asSensv(h);
  if (s.net->deleted) argError(&f.env(), err::DeletedNet);
  return s;
}

// What every accessor checks before its measure: the target still usable, the bits asked for,
// the wiggle node's kind and place in the list; then the results are brought up to date.
struct Query {
  Sensv& sensv;
  Bnode& wiggle;
  int index;  // -1: the target itself, not in the list
};

Query query(ApiFrame& f, sensv_bn* h, const node_bn* wiggleHandle, std::initializer_list<std::pair<int, ErrDef>> bits,
            bool targetAllowed = false) {
  Sensv& s = sensvArg(f, h);
  Bnode& w = f.node(wiggleHandle);
  if (s.target->deleted) argError(&f.env(), err::DeletedNode);
  if (!s.target->hasStates()) argError(&f.env(), err::SensvTargetStates, s.target->name);
  for (const auto& [bit, missing] : bits)
    if (!(s.what & bit)) engError(&f.env(), missing, s.target->name);
  int index = s.indexOf(w);
  if (index < 0 && !(targetAllowed && &w == s.target)) {
    if (!suitableWiggle(w)) engError(&f.env(), err::SensvWiggleKind, w.name, unsuitableWhy(w));
    engError(&f.env(), err::SensvNotWiggle, w.name);
  }
  if (index >= 0 && !suitableWiggle(w)) engError(&f.env(), err::SensvWiggleKind, w.name, unsuitableWhy(w));
  s.refresh();
  return {s, w, index};
}

size_t targetState(ApiFrame& f, const Sensv& s, state_bn state) {
  f.state(*s.target, state);
  return static_cast<size_t>(state);
}

size_t wiggleState(ApiFrame& f, const Query& q, state_bn state) {
  f.state(q.wiggle, state);
  return static_cast<size_t>(state);
}

// The value of each target state: its interval's midpoint, or its level.
std::vector<double> targetValues(ApiFrame& f, const Bnode& t) {
  const size_t n = static_cast<size_t>(t.numStates);
  std::vector<double> v(n);
  if (t.type == CONTINUOUS && t.details().levels.size() == n + 1) {
    for (double x : t.details().levels)
      if (std::isinf(x)) engError(&f.env(), err::SensvInfiniteEnd, t.name);
    for (size_t s = 0; s < n; ++s) v[s] = (t.details().levels[s] + t.details().levels[s + 1]) * 0.5;
  } else if (t.details().levels.size() == n) {
    for (double x : t.details().levels)
      if (std::isinf(x)) engError(&f.env(), err::SensvInfiniteEnd, t.name);
    v = t.details().levels;
  } else {
    engError(&f.env(), err::SensvNoIntervals, t.name);
  }
  return v;
}

}  // namespace

extern "C" {

sensv_bn* NewSensvToFinding_bn(const node_bn* target, const nodelist_bn* wiggle_nodes, int what) {
  return apiCall(__func__, static_cast<sensv_bn*>(nullptr), envOf(target), [&](ApiFrame& f) {
    Bnode& t = f.node(target);
    const NodeList& list = f.list(wiggle_nodes);
    if (what & ~ALL_SENSV_BITS) argError(&f.env(), err::SensvWhat, what, static_cast<int>(ALL_SENSV_BITS));
    if (!t.hasStates()) argError(&f.env(), err::SensvTargetStates, t.name);
    if (t.kind == CONSTANT || t.kind == UTILITY) argError(&f.env(), err::SensvTargetKind, t.name, unsuitableWhy(t));
    Sensv& s = store().adopt(std::make_unique<Sensv>(t, list.nodes, what));
    return reinterpret_cast<sensv_bn*>(&s);
  });
}

void DeleteSensvToFinding_bn(sensv_bn* sensv) {
  apiRun(__func__, envOf(sensv), [&](ApiFrame& f) {
    if (f.level() >= QUICK_CHECK_LEVEL && sensv && asSensv(sensv)->tag == DELETED_TYPE)
      argError(&f.env(), err::DeletedObject, "SensvToFinding");
    if (f.level() >= QUICK_CHECK_LEVEL && !sensv) argError(&f.env(), err::NullObject, "SensvToFinding");
    if (f.level() >= QUICK_CHECK_LEVEL && !handleIsOfType(sensv, SENSV_TYPE))
      argError(&f.env(), err::WrongType, "SensvToFinding");
    QASSERT(&f.env(), sensv != nullptr);
    std::lock_guard<std::mutex> g(store().lock);
    asSensv(sensv)->release();
  });
}

double GetSensvMutualInfo_bn(sensv_bn* sensv, const node_bn* wiggle) {
  return apiCall(__func__, -1.0, envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle, {{ENTROPY_SENSV_BIT, err::SensvNoEntropy}}, true);
    if (&q.wiggle == q.sensv.target) return q.sensv.targetEntropy();
    return mutualInfoBits(q.sensv.targetBeliefs(), q.sensv.wiggle(q.index));
  });
}

double GetSensvVarianceReduction_bn(sensv_bn* sensv, const node_bn* wiggle) {
  return apiCall(__func__, -1.0, envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle,
                    {{REAL_SENSV_BIT, err::SensvNoRealForVariance}, {VARIANCE_SENSV_BIT, err::SensvNoRealVariance}});
    std::vector<double> value = targetValues(f, *q.sensv.target);
    return varianceReduction(q.sensv.targetBeliefs(), value, q.sensv.wiggle(q.index));
  });
}

double GetSensvBeliefVariance_bn(sensv_bn* sensv, const node_bn* wiggle) {
  return apiCall(__func__, -1.0, envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle, {{NODEVAR_SENSV_BIT, err::SensvNoNodeVar}});
    return beliefVariance(q.sensv.targetBeliefs(), q.sensv.wiggle(q.index));
  });
}

double GetSensvRealMean_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn wiggle_state) {
  return apiCall(__func__, GetUndefDbl_vq(), envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle, {{REAL_SENSV_BIT, err::SensvNoReal}});
    size_t ws = wiggleState(f, q, wiggle_state);
    std::vector<double> value = targetValues(f, *q.sensv.target);
    return realMeanGiven(q.sensv.targetBeliefs(), value, q.sensv.wiggle(q.index), ws);
  });
}

double GetSensvRatio_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn wiggle_state, state_bn target_state) {
  return apiCall(__func__, -1.0, envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle, {{RATIO_SENSV_BIT, err::SensvNoRatio}});
    size_t ws = wiggleState(f, q, wiggle_state), t = targetState(f, q.sensv, target_state);
    return beliefRatio(q.sensv.wiggle(q.index), ws, t);
  });
}

double GetSensvBeliefChange_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn target_state) {
  return apiCall(__func__, -1.0, envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle, {{BELIEF_SENSV_BIT, err::SensvNoBelief}});
    size_t t = targetState(f, q.sensv, target_state);
    return std::sqrt(beliefChangeVariance(q.sensv.targetBeliefs(), q.sensv.wiggle(q.index), t));
  });
}

double GetSensvBeliefChangeVariance_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn target_state) {
  return apiCall(__func__, -1.0, envOf(sensv), [&](ApiFrame& f) {
    Query q = query(f, sensv, wiggle,
                    {{BELIEF_SENSV_BIT, err::SensvNoBelief}, {VARIANCE_SENSV_BIT, err::SensvNoBeliefVariance}});
    size_t t = targetState(f, q.sensv, target_state);
    return beliefChangeVariance(q.sensv.targetBeliefs(), q.sensv.wiggle(q.index), t);
  });
}

int GetSensvBeliefRange_bn(sensv_bn* sensv, const node_bn* wiggle, state_bn target_state, double* min_belief,
                           double* max_belief) {
  return apiCall(__func__, -1, envOf(sensv), [&](ApiFrame& f) {
    f.notNull(min_belief, "min_belief");
    f.notNull(max_belief, "max_belief");
    Query q = query(f, sensv, wiggle,
                    {{BELIEF_SENSV_BIT, err::SensvNoBelief}, {RANGE_SENSV_BIT, err::SensvNoBeliefRange}});
    size_t t = targetState(f, q.sensv, target_state);
    beliefRange(q.sensv.targetBeliefs(), q.sensv.wiggle(q.index), t, *min_belief, *max_belief);
    return 0;
  });
}

}  // extern "C"
