// The saved copy of a junction tree's potentials with no findings.
#include "BN/Inference/BaseCopy.h"

#include <cstring>

#include "BN/Inference/JunctionTree.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

namespace quorva {

size_t BaseCopy::bytesFor(const JunctionTree& jt) {
  size_t floats = 0;
  for (const Clique& c : jt.cliques) floats += c.pot.size();
  for (const Separator& s : jt.seps) floats += s.pot.size();
  return floats * sizeof(float);
}

bool BaseCopy::save(EnvCore* env, const JunctionTree& jt) {
  drop();
  size_t bytes = bytesFor(jt);
  if (bytes == 0 || static_cast<double>(bytes) > env->memory.limit() - env->memory.used()) return false;
  try {
    data_ = static_cast<float*>(env->memory.allocate(bytes, "to keep the tables for retracting findings"));
  } catch (const QuorvaError& e) {
    // The copy only saves time: refused, retraction builds the tables again instead.
    if (e.record) env->errors.remove(e.record);
    return false;
  }
  env_ = env;
  bytes_ = bytes;
  factors_.clear();
  factors_.reserve(jt.cliques.size() + jt.seps.size());
  float* to = data_;
  auto put = [&](const PotTable& t) {
    std::memcpy(to, t.data(), t.size() * sizeof(float));
    to += t.size();
    factors_.push_back(t.factor());
  };
  for (const Clique& c : jt.cliques) put(c.pot);
  for (const Separator& s : jt.seps) put(s.pot);
  return true;
}

void BaseCopy::restore(JunctionTree& jt) const {
  const float* from = data_;
  size_t k = 0;
  auto take = [&](PotTable& t) {
    std::memcpy(t.data(), from, t.size() * sizeof(float));
    from += t.size();
    t.setFactorRaw(factors_[k++]);
  };
  for (Clique& c : jt.cliques) {
    take(c.pot);
    c.ones = false;
    c.state = 1;
  }
  for (Separator& s : jt.seps) {
    take(s.pot);
    s.ones = false;
  }
}

void BaseCopy::drop() {
  if (data_) env_->memory.release(data_, bytes_);
  data_ = nullptr;
  bytes_ = 0;
  factors_.clear();
}

}  // namespace quorva
