// The two-table kernels.  Each builds an iteration plan: the table it walks in order ("A") is
// split into an inner block of its trailing dimensions, long enough to amortise the outer
// odometer, and outer dimensions with strides for both tables (stride 0 where a dimension is
// absent, which broadcasts).  The other table ("B") is reached in the block through an offset
// table, or directly when its offsets run 0,1,2.. (the trailing nodes agree, so whole blocks are
// combined) or are all 0 (the block is summed into or scaled by one entry).
#include "BN/PotKernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "BN/Bnode.h"
#include "BN/PotErrors.h"
#include "BN/PotTable.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

constexpr size_t BLOCK_TARGET = 512;

enum class Reach { Identity, Zero, General };

struct Plan {
  std::vector<size_t> count, strideA, strideB;  // outer dimensions, outermost first
  size_t block = 1;
  std::vector<size_t> offB;                      // per block entry, when General
  Reach reach = Reach::Identity;
  size_t baseB = 0;
};

std::vector<size_t> stridesOf(const std::vector<int>& dims) {
  std::vector<size_t> s(dims.size());
  size_t acc = 1;
  for (size_t i = dims.size(); i-- > 0;) {
    s[i] = acc;
    acc *= static_cast<size_t>(dims[i]);
  }
  return s;
}

int indexIn(const std::vector<Bnode*>& list, const Bnode* n) {
  auto it = std::find(list.begin(), list.end(), n);
  return it == list.end() ? -1 : static_cast<int>(it - list.begin());
}

// `iterateBOnly`: dimensions of B absent from A are iterated (outermost) instead of fixed.
Plan makePlan(const PotTable& a, const PotTable& b, bool iterateBOnly) {
  Plan p;
  const auto& an = a.nodes();
  const auto& bn = b.nodes();
  const auto& ad = a.dims();
  const auto& bd = b.dims();
  std::vector<size_t> sa = stridesOf(ad), sb = stridesOf(bd);
  std::vector<size_t> count, strA, strB;
  for (size_t j = 0; j < bn.size(); ++j) {
    if (indexIn(an, bn[j]) >= 0) continue;
    if (iterateBOnly) {
      count.push_back(static_cast<size_t>(bd[j]));
      strA.push_back(0);
      strB.push_back(sb[j]);
    } else {
      int st = bn[j]->curState;
      if (st < 0 || st >= bd[j])
        engError(a.env(), err::CurrentStateRange, st, bd[j], static_cast<int>(j), bn[j]->numStates);
      p.baseB += static_cast<size_t>(st) * sb[j];
    }
  }
  for (size_t i = 0; i < an.size(); ++i) {
    int j = indexIn(bn, an[i]);
    count.push_back(static_cast<size_t>(ad[i]));
    strA.push_back(sa[i]);
    strB.push_back(j >= 0 ? sb[static_cast<size_t>(j)] : 0);
  }
  // The inner block: trailing dimensions of A (contiguous in A) up to the target length.
  size_t k = count.size();
  while (k > 0 && strA[k - 1] == p.block && (p.block < BLOCK_TARGET || k == count.size())) {
    p.block *= count[k - 1];
    --k;
  }
  // B's offsets over the block.
  std::vector<size_t> off{0};
  for (size_t d = k; d < count.size(); ++d) {
    std::vector<size_t> next;
    next.reserve(off.size() * count[d]);
    for (size_t o : off)
      for (size_t s = 0; s < count[d]; ++s) next.push_back(o + s * strB[d]);
    off = std::move(next);
  }
  bool identity = true, zero = true;
  for (size_t i = 0; i < off.size(); ++i) {
    identity = identity && off[i] == i;
    zero = zero && off[i] == 0;
  }
  p.reach = zero ? Reach::Zero : identity ? Reach::Identity : Reach::General;
  // A block that B reaches plainly can grow over further dimensions that keep it plain.
  while (k > 0 && p.reach != Reach::General && strA[k - 1] == p.block &&
         strB[k - 1] == (p.reach == Reach::Zero ? 0 : p.block)) {
    p.block *= count[k - 1];
    --k;
  }
  if (p.reach == Reach::General) p.offB = std::move(off);
  p.count.assign(count.begin(), count.begin() + static_cast<long>(k));
  p.strideA.assign(strA.begin(), strA.begin() + static_cast<long>(k));
  p.strideB.assign(strB.begin(), strB.begin() + static_cast<long>(k));
  return p;
}

// Calls inner(offsetA, offsetB) for each block, walking the outer dimensions as an odometer.
template <class Inner>
void forEachBlock(const Plan& p, Inner&& inner) {
  size_t n = p.count.size();
  std::vector<size_t> ctr(n, 0);
  size_t offA = 0, offB = p.baseB;
  while (true) {
    inner(offA, offB);
    size_t d = n;
    for (;;) {
      if (d == 0) return;
      --d;
      if (++ctr[d] < p.count[d]) {
        offA += p.strideA[d];
        offB += p.strideB[d];
        break;
      }
      offA -= p.strideA[d] * (p.count[d] - 1);
      offB -= p.strideB[d] * (p.count[d] - 1);
      ctr[d] = 0;
    }
  }
}

void requireAllocated(const PotTable& t, const char* cond) {
  if (!t.isAllocated()) internalCheckFailed(t.env(), __FILE__, __LINE__, cond);
}

}  // namespace

void copyFrom(PotTable& dst, const PotTable& src, bool reorder) {
  QASSERT(dst.env(), &src != &dst || !reorder);
  requireAllocated(src, "pot.isAllocated()");
  requireAllocated(dst, "isAllocated()");
  if (!reorder || dst.nodes() == src.nodes()) {
    QASSERT(dst.env(), dst.size() == src.size());
    if (&src != &dst) std::memcpy(dst.data(), src.data(), dst.size() * sizeof(float));
  } else {
    Plan p = makePlan(dst, src, false);
    float* a = dst.data();
    const float* b = src.data();
    forEachBlock(p, [&](size_t oa, size_t ob) {
      float* x = a + oa;
      const float* y = b + ob;
      if (p.reach == Reach::Identity) std::memcpy(x, y, p.block * sizeof(float));
      else if (p.reach == Reach::Zero) std::fill(x, x + p.block, y[0]);
      else for (size_t i = 0; i < p.block; ++i) x[i] = y[p.offB[i]];
    });
  }
  dst.setFactorRaw(src.factor());
}

void multiplyIn(PotTable& dst, const PotTable& src) {
  requireAllocated(dst, "pot1.isAllocated()");
  requireAllocated(src, "pot2.isAllocated()");
  QASSERT(dst.env(), dst.data() != src.data());
  if (src.numNodes() == 0) {
    // One number: it goes into the factor, unless that would leave the factor non-positive.
    float v = src.data()[0];
    double f = dst.factor() * src.factor() * v;
    if (f > 0) {
      dst.setFactorRaw(f);
    } else {
      float* x = dst.data();
      for (size_t i = 0; i < dst.size(); ++i) x[i] *= v;
      dst.setFactorRaw(dst.factor() * src.factor());
    }
    dst.guardUnderflow();
    return;
  }
  Plan p = makePlan(dst, src, false);
  float* a = dst.data();
  const float* b = src.data();
  forEachBlock(p, [&](size_t oa, size_t ob) {
    float* __restrict x = a + oa;
    const float* __restrict y = b + ob;
    if (p.reach == Reach::Identity) {
      for (size_t i = 0; i < p.block; ++i) x[i] *= y[i];
    } else if (p.reach == Reach::Zero) {
      float s = y[0];
      for (size_t i = 0; i < p.block; ++i) x[i] *= s;
    } else {
      const size_t* off = p.offB.data();
      for (size_t i = 0; i < p.block; ++i) x[i] *= y[off[i]];
    }
  });
  dst.setFactorRaw(dst.factor() * src.factor());
  dst.guardUnderflow();
}

void divideBy(PotTable& dst, const PotTable& src) {
  requireAllocated(dst, "pot1.isAllocated()");
  requireAllocated(src, "pot2.isAllocated()");
  QASSERT(dst.env(), dst.data() != src.data());
  Plan p = makePlan(dst, src, false);
  float* a = dst.data();
  const float* b = src.data();
  // Division by 0 gives 0: the entry's configuration is impossible.
  auto div = [](float x, float y) { return y == 0.0f ? 0.0f : x / y; };
  forEachBlock(p, [&](size_t oa, size_t ob) {
    float* __restrict x = a + oa;
    const float* __restrict y = b + ob;
    if (p.reach == Reach::Identity) {
      for (size_t i = 0; i < p.block; ++i) x[i] = div(x[i], y[i]);
    } else if (p.reach == Reach::Zero) {
      float s = y[0];
      if (s == 0.0f) std::fill(x, x + p.block, 0.0f);
      else for (size_t i = 0; i < p.block; ++i) x[i] /= s;
    } else {
      const size_t* off = p.offB.data();
      for (size_t i = 0; i < p.block; ++i) x[i] = div(x[i], y[off[i]]);
    }
  });
  dst.setFactorRaw(dst.factor() / src.factor());
  if (dst.factor() < 1.0) dst.guardOverflow();
  dst.guardUnderflow();
}

namespace {
// Reduces src into dst with `combine` over the src nodes absent from dst.
template <class Combine, class Reduce>
void reduceInto(PotTable& dst, const PotTable& src, float start, Combine combine, Reduce reduce) {
  requireAllocated(src, "pot.isAllocated()");
  requireAllocated(dst, "isAllocated()");
  QASSERT(dst.env(), dst.data() != src.data());
  std::fill(dst.data(), dst.data() + dst.size(), start);
  Plan p = makePlan(src, dst, true);
  const float* a = src.data();
  float* b = dst.data();
  forEachBlock(p, [&](size_t oa, size_t ob) {
    const float* __restrict x = a + oa;
    float* __restrict y = b + ob;
    if (p.reach == Reach::Identity) {
      for (size_t i = 0; i < p.block; ++i) y[i] = combine(y[i], x[i]);
    } else if (p.reach == Reach::Zero) {
      y[0] = combine(y[0], reduce(x, p.block));
    } else {
      const size_t* off = p.offB.data();
      for (size_t i = 0; i < p.block; ++i) y[off[i]] = combine(y[off[i]], x[i]);
    }
  });
  dst.setFactorRaw(src.factor());
}

float sumBlock(const float* x, size_t n) {
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
  size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    s0 += x[i];
    s1 += x[i + 1];
    s2 += x[i + 2];
    s3 += x[i + 3];
  }
  for (; i < n; ++i) s0 += x[i];
  return static_cast<float>(s0 + s1 + s2 + s3);
}

float maxBlock(const float* x, size_t n) {
  float m = -HUGE_VALF;
  for (size_t i = 0; i < n; ++i) m = std::max(m, x[i]);
  return m;
}
}  // namespace

void marginalizeInto(PotTable& dst, const PotTable& src) {
  reduceInto(dst, src, 0.0f, [](float y, float x) { return y + x; }, sumBlock);
}

void maxOutInto(PotTable& dst, const PotTable& src) {
  reduceInto(dst, src, -HUGE_VALF, [](float y, float x) { return std::max(y, x); }, maxBlock);
}

}  // namespace quorva
