// The two-table kernels.
//
// Each kernel walks one table ("A") in memory order and reaches the other ("B") through strides.
// The iteration space is a list of dimensions, each with a count and a stride in both tables
// (stride 0 in B where B lacks the node: broadcast, or summed out; stride 0 in A for the nodes
// of B that a reduction iterates although A lacks them).  Dimensions of one state are dropped
// and neighbours whose strides line up in both tables are merged.
//
// The trailing dimensions of A, up to BLOCK_TARGET entries, form a block: consecutive entries of
// A.  Within the block, dimensions that B has ("kept") and dimensions it lacks ("spread") are
// grouped.  B's values over the kept groups form the kept vector (read through an offset table,
// or in place when its offsets run 0, 1, 2, ..).  Reading kernels (copy, multiply, divide)
// expand the kept vector over the spread groups and combine it with the block; reducing kernels
// (sum, max) fold the spread groups out of the block and combine the result into B.  Every step
// repeats or folds whole rows, and the steps on the most data have the longest rows, so the
// loops vectorise.
//
// When B is large and its fastest-varying dimensions lie outside A's block, each block would
// touch a new cache line for every entry of B; then the block is a tile made of A's trailing
// dimensions and B's.  The tile's entries of B pass through a buffer in B's order, so that both
// tables are read and written in whole rows.
#include "BN/Tables/PotKernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <system_error>
#include <unordered_map>
#include <thread>
#include <type_traits>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Tables/PotErrors.h"
#include "BN/Tables/PotTable.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

constexpr size_t BLOCK_TARGET = 4096;  // entries of A per block: 16 KB, well inside L1 + L2
constexpr size_t TILE_SIDE = 64;       // entries along each table's trailing dimensions in a tile
constexpr size_t TILE_MIN_B = 1 << 16;  // B entries from which tiling pays
constexpr size_t SMALL_A = 1024;        // A entries up to which B is reached through an offset list

struct Dim {
  size_t count, sA, sB;
};

// A group of the block's dimensions, outermost first: neighbouring dimensions that B has all
// ("kept") or lacks all ("spread").  `rows` is the product of the counts of the kept groups
// outside it, `rest` the product of the counts of all the groups inside it.
struct Group {
  size_t count;
  bool kept;
  size_t rows = 1, rest = 1;
};

// A short list held in place, for the dimensions of a plan: a plan keeps only dimensions of 2
// or more states, and an allocated table has fewer than 2^29 entries, so each table gives fewer
// than 29.
template <class T>
class ShortList {
 public:
  static constexpr size_t CAPACITY = 64;
  void push_back(const T& v) { items_[n_++] = v; }
  size_t size() const { return n_; }
  bool empty() const { return n_ == 0; }
  T& operator[](size_t i) { return items_[i]; }
  const T& operator[](size_t i) const { return items_[i]; }
  T& back() { return items_[n_ - 1]; }
  T* begin() { return items_.data(); }
  T* end() { return items_.data() + n_; }
  const T* begin() const { return items_.data(); }
  const T* end() const { return items_.data() + n_; }

 private:
  size_t n_ = 0;  // ahead of the items, so that a short list's count shares their first lines
  std::array<T, CAPACITY> items_;
};
using Dims = ShortList<Dim>;

// The scalars come first and the lists are used from their fronts, so that a plan in use
// occupies a few cache lines.
struct Plan {
  size_t baseB = 0;        // B's offset from the source nodes fixed at their current states
  size_t block = 1;        // entries of A per block
  size_t kept = 1;
  bool keptInPlace = true;  // offK[k] == k
  bool anySpread = false;
  bool tiled = false;
  std::vector<std::pair<size_t, size_t>> fixed;  // those nodes: (place in B's list, stride in B)
  std::vector<uint32_t> offK;  // B offsets of the kept vector
  // Small A: A as runs of `run` consecutive entries that meet one entry of B (the trailing
  // dimensions B lacks), and the B offset of each run (else empty).
  std::vector<uint32_t> each;
  size_t run = 1;
  Dims outer;  // walked as an odometer, outermost first
  // Blocks of consecutive entries of A.
  ShortList<Group> groups;
  // Tiles: A and B both through offsets.
  std::vector<uint32_t> tileA;    // A offsets, in A's order
  std::vector<uint32_t> tileB;    // B offsets of the tile's B entries, in B's order
  std::vector<uint32_t> tileMap;  // for each A entry, its B entry's place in tileB
};

int indexIn(std::span<Bnode* const> list, const Bnode* n) {
  auto it = std::find(list.begin(), list.end(), n);
  return it == list.end() ? -1 : static_cast<int>(it - list.begin());
}

// Appends d to `out`, merged into the last dimension when their strides line up in both tables.
void appendMerged(Dims& out, const Dim& d) {
  if (!out.empty()) {
    Dim& o = out.back();
    if (o.sA == d.sA * d.count && o.sB == d.sB * d.count) {
      o = {o.count * d.count, d.sA, d.sB};
      return;
    }
  }
  out.push_back(d);
}

// The offsets over the row-major enumeration of `dims`, through stride `s` of each.
template <class Stride>
std::vector<uint32_t> offsetsOver(const Dims& dims, Stride s) {
  size_t n = 1;
  for (const Dim& d : dims) n *= d.count;
  std::vector<uint32_t> off(n);
  off[0] = 0;
  size_t len = 1;  // filled so far: the enumeration of the dimensions inside the current one
  for (size_t k = dims.size(); k-- > 0;) {
    for (size_t i = 1; i < dims[k].count; ++i)
      for (size_t j = 0; j < len; ++j) off[i * len + j] = static_cast<uint32_t>(off[j] + i * s(dims[k]));
    len *= dims[k].count;
  }
  return off;
}

// Sets B's base offset from the current states of the nodes the plan fixes.
void setBase(Plan& p, const PotTable& a, const PotTable& b) {
  p.baseB = 0;
  for (auto [j, stride] : p.fixed) {
    const Bnode* n = b.nodes()[j];
    int st = n->curState, dim = b.dims()[j];
    if (st < 0 || st >= dim) engError(a.env(), err::CurrentStateRange, st, dim, static_cast<int>(j), n->numStates);
    p.baseB += static_cast<size_t>(st) * stride;
  }
}

// `iterateBOnly`: the nodes of B absent from A are iterated (outermost) instead of fixed.
// `offsetsWhenSmall`: a small A is walked in one piece, with an offset into B for each run of
// entries (for plans kept for many calls, as setting up blocks costs more than the walk).
Plan makePlan(const PotTable& a, const PotTable& b, bool iterateBOnly, bool offsetsWhenSmall = false) {
  Plan p;
  const auto& an = a.nodes();
  const auto& bn = b.nodes();
  const auto& ad = a.dims();
  const auto& bd = b.dims();
  QASSERT(a.env(), a.size() < MAX_ALLOC_ENTRIES && b.size() < MAX_ALLOC_ENTRIES);  // for ShortList
  std::vector<size_t> sb(bd.size());
  for (size_t j = bd.size(), acc = 1; j-- > 0; acc *= static_cast<size_t>(bd[j])) sb[j] = acc;
  Dims bOnly, dims;
  for (size_t j = 0; j < bn.size(); ++j) {
    if (indexIn(an, bn[j]) >= 0) continue;
    if (iterateBOnly) {
      if (bd[j] > 1) bOnly.push_back({static_cast<size_t>(bd[j]), 0, sb[j]});
    } else {
      p.fixed.push_back({j, sb[j]});
    }
  }
  setBase(p, a, b);
  size_t sa = a.size();  // A's strides: each the product of the counts after it
  for (size_t i = 0; i < an.size(); ++i) {
    sa /= static_cast<size_t>(ad[i]);
    if (ad[i] == 1) continue;
    int j = indexIn(bn, an[i]);
    dims.push_back({static_cast<size_t>(ad[i]), sa, j >= 0 ? sb[static_cast<size_t>(j)] : 0});
  }

  if (offsetsWhenSmall && bOnly.empty() && a.size() <= SMALL_A) {
    size_t k = dims.size();
    while (k > 0 && dims[k - 1].sB == 0) p.run *= dims[--k].count;
    Dims lead;
    for (size_t i = 0; i < k; ++i) lead.push_back(dims[i]);
    p.each = offsetsOver(lead, [](const Dim& d) { return d.sB; });
    return p;
  }

  // The block: A's trailing dimensions.
  size_t k = dims.size();
  while (k > 0 && (k == dims.size() || p.block * dims[k - 1].count <= BLOCK_TARGET)) p.block *= dims[--k].count;

  // B large, and a dimension outside the block steps through B more finely than any inside it.
  size_t finestIn = SIZE_MAX, finestOut = SIZE_MAX;
  for (size_t i = 0; i < dims.size(); ++i) {
    if (dims[i].sB == 0) continue;
    size_t& f = i >= k ? finestIn : finestOut;
    f = std::min(f, dims[i].sB);
  }
  for (const Dim& d : bOnly) finestOut = std::min(finestOut, d.sB);
  if (b.size() >= TILE_MIN_B && finestOut < finestIn && finestOut < 16) {
    p.tiled = true;
    Dims all = bOnly;
    for (const Dim& d : dims) all.push_back(d);
    std::vector<bool> inTile(all.size(), false);
    size_t sideA = 1;
    for (size_t i = all.size(); i-- > 0 && all[i].sA != 0 && (sideA == 1 || sideA * all[i].count <= TILE_SIDE);) {
      inTile[i] = true;
      sideA *= all[i].count;
    }
    std::vector<size_t> byB;
    for (size_t i = 0; i < all.size(); ++i)
      if (!inTile[i] && all[i].sB != 0) byB.push_back(i);
    std::sort(byB.begin(), byB.end(), [&](size_t x, size_t y) { return all[x].sB < all[y].sB; });
    size_t sideB = 1;
    for (size_t i : byB) {
      if (sideB > 1 && sideB * all[i].count > TILE_SIDE) break;
      inTile[i] = true;
      sideB *= all[i].count;
    }
    Dims tile;
    for (size_t i = 0; i < all.size(); ++i) {
      if (inTile[i]) tile.push_back(all[i]);
      else appendMerged(p.outer, all[i]);
    }
    p.block = sideA * sideB;
    // The tile passes through a buffer in B's order, so that both tables are read and written
    // in whole rows (large power-of-two strides would otherwise thrash the cache sets).
    Dims inB;
    for (const Dim& d : tile)
      if (d.sB != 0) inB.push_back(d);
    std::stable_sort(inB.begin(), inB.end(), [](const Dim& x, const Dim& y) { return x.sB > y.sB; });
    Dims toBuf = tile;
    for (Dim& d : toBuf) {
      size_t at = 1;
      for (size_t j = inB.size(); j-- > 0 && inB[j].sB != d.sB;) at *= inB[j].count;
      d.sB = d.sB == 0 ? 0 : at;
    }
    p.tileA = offsetsOver(tile, [](const Dim& d) { return d.sA; });
    p.tileMap = offsetsOver(toBuf, [](const Dim& d) { return d.sB; });
    p.tileB = offsetsOver(inB, [](const Dim& d) { return d.sB; });
    return p;
  }

  for (const Dim& d : bOnly) appendMerged(p.outer, d);
  for (size_t i = 0; i < k; ++i) appendMerged(p.outer, dims[i]);
  Dims inBlock;
  for (size_t i = k; i < dims.size(); ++i) appendMerged(inBlock, dims[i]);
  Dims keptDims;
  for (const Dim& d : inBlock) {
    bool kept = d.sB != 0;
    if (!p.groups.empty() && p.groups.back().kept == kept) p.groups.back().count *= d.count;
    else p.groups.push_back({d.count, kept});
    if (kept) keptDims.push_back(d);
    else p.anySpread = true;
  }
  size_t rows = 1, rest = 1;
  for (Group& g : p.groups) {
    g.rows = rows;
    if (g.kept) rows *= g.count;
  }
  for (size_t g = p.groups.size(); g-- > 0;) {
    p.groups[g].rest = rest;
    rest *= p.groups[g].count;
  }
  p.kept = rows;
  p.offK = offsetsOver(keptDims, [](const Dim& d) { return d.sB; });
  for (size_t i = 0; i < p.offK.size(); ++i) p.keptInPlace = p.keptInPlace && p.offK[i] == i;
  return p;
}

// Calls inner(offsetA, offsetB) for each block, walking the outer dimensions as an odometer.
template <class Inner>
void forEachBlock(const Plan& p, Inner&& inner) {
  size_t n = p.outer.size();
  std::array<size_t, Dims::CAPACITY> ctr;
  std::fill(ctr.begin(), ctr.begin() + n, 0);
  size_t offA = 0, offB = p.baseB;
  while (true) {
    inner(offA, offB);
    size_t d = n;
    for (;;) {
      if (d == 0) return;
      const Dim& o = p.outer[--d];
      if (++ctr[d] < o.count) {
        offA += o.sA;
        offB += o.sB;
        break;
      }
      offA -= o.sA * (o.count - 1);
      offB -= o.sB * (o.count - 1);
      ctr[d] = 0;
    }
  }
}

// Scratch space for the block steps: per thread, kept between calls.
float* scratch(size_t n) {
  thread_local std::vector<float> buf;
  if (buf.size() < n) buf.resize(n);
  return buf.data();
}

void requireAllocated(const PotTable& t, const char* cond) {
  if (!t.isAllocated()) internalCheckFailed(t.env(), __FILE__, __LINE__, cond);
}

// The entrywise operations: x (the walked table's entry) combined with y (the other's).
struct CopyOp {
  float operator()(float, float y) const { return y; }
};
struct MulOp {
  float operator()(float x, float y) const { return x * y; }
};
struct DivOp {  // division by 0 gives 0: the entry's configuration is impossible
  float operator()(float x, float y) const {
    // The quotient is masked rather than chosen, so that the loops stay branch-free.
    uint32_t keep = y == 0.0f ? 0u : ~0u;
    return std::bit_cast<float>(std::bit_cast<uint32_t>(x / y) & keep);
  }
};
struct SumOp {
  float operator()(float acc, float x) const { return acc + x; }
};
struct MaxOp {
  float operator()(float acc, float x) const { return acc < x ? x : acc; }
};

// Division is bound by the divider rather than by memory; where the processor has 256-bit
// vectors, the long division loops use them (the quotients are the same).
#if defined(__GNUC__) && defined(__x86_64__)
#define QUORVA_WIDE_DIVIDE 1
__attribute__((target("avx2"))) void divideRowWide(float* __restrict x, const float* __restrict y, size_t n) {
  for (size_t i = 0; i < n; ++i) x[i] = DivOp{}(x[i], y[i]);
}
__attribute__((target("avx2"))) void divideScalarWide(float* __restrict x, float s, size_t n) {
  for (size_t i = 0; i < n; ++i) x[i] = DivOp{}(x[i], s);
}
bool wideDivide() {
  static const bool have = (__builtin_cpu_init(), __builtin_cpu_supports("avx2"));
  return have;
}
#endif
constexpr size_t WIDE_DIVIDE_MIN = 32;

// x[i] = op(x[i], y[i]) for n entries.
template <class Op>
inline void rowOp(float* __restrict x, const float* __restrict y, size_t n, Op op) {
#ifdef QUORVA_WIDE_DIVIDE
  if constexpr (std::is_same_v<Op, DivOp>) {
    if (n >= WIDE_DIVIDE_MIN && wideDivide()) return divideRowWide(x, y, n);
  }
#endif
  for (size_t i = 0; i < n; ++i) x[i] = op(x[i], y[i]);
}
template <class Op>
inline void scalarOp(float* __restrict x, float s, size_t n, Op op) {
#ifdef QUORVA_WIDE_DIVIDE
  if constexpr (std::is_same_v<Op, DivOp>) {
    if (n >= WIDE_DIVIDE_MIN && wideDivide()) return divideScalarWide(x, s, n);
  }
#endif
  for (size_t i = 0; i < n; ++i) x[i] = op(x[i], s);
}

// out[o][i][k] = in[o][k] for i < r, rows of `len` entries; short rows with the length fixed.
template <size_t LEN>
void repeatShort(const float* __restrict in, float* __restrict out, size_t rows, size_t r) {
  for (size_t o = 0; o < rows; ++o, in += LEN)
    for (size_t i = 0; i < r; ++i, out += LEN)
      for (size_t k = 0; k < LEN; ++k) out[k] = in[k];
}
void repeatRows(const float* __restrict in, float* __restrict out, size_t rows, size_t len, size_t r) {
  switch (len) {
    case 1:
      for (size_t o = 0; o < rows; ++o, out += r) std::fill(out, out + r, in[o]);
      return;
    case 2: return repeatShort<2>(in, out, rows, r);
    case 3: return repeatShort<3>(in, out, rows, r);
    case 4: return repeatShort<4>(in, out, rows, r);
    default:
      for (size_t o = 0; o < rows; ++o, in += len)
        for (size_t i = 0; i < r; ++i, out += len) std::memcpy(out, in, len * sizeof(float));
  }
}

// x[o][i][k] = op(x[o][i][k], y[o][k]) for i < r, rows of `len` entries.
template <size_t LEN, class Op>
void combineShort(float* __restrict x, const float* __restrict y, size_t rows, size_t r, Op op) {
  for (size_t o = 0; o < rows; ++o, y += LEN)
    for (size_t i = 0; i < r; ++i, x += LEN)
      for (size_t k = 0; k < LEN; ++k) x[k] = op(x[k], y[k]);
}
template <class Op>
void combineRows(float* __restrict x, const float* __restrict y, size_t rows, size_t len, size_t r, Op op) {
  switch (len) {
    case 1:
      for (size_t o = 0; o < rows; ++o, x += r) scalarOp(x, y[o], r, op);
      return;
    case 2: return combineShort<2>(x, y, rows, r, op);
    case 3: return combineShort<3>(x, y, rows, r, op);
    case 4: return combineShort<4>(x, y, rows, r, op);
    default:
      for (size_t o = 0; o < rows; ++o, y += len)
        for (size_t i = 0; i < r; ++i, x += len) rowOp(x, y, len, op);
  }
}

// A reading kernel (copy, multiply, divide) over one block of consecutive entries of A.  The
// kept vector is expanded over the spread groups from the innermost out, so the steps on the
// most data, the outer ones, work on the longest rows; the outermost step is combined with the
// block as it goes.
template <class Op>
void readBlock(const Plan& p, float* __restrict x, const float* y, Op op) {
  if (!p.anySpread) {
    if (p.keptInPlace) {
      rowOp(x, y, p.block, op);
    } else {
      const uint32_t* off = p.offK.data();
      for (size_t i = 0; i < p.block; ++i) x[i] = op(x[i], y[off[i]]);
    }
    return;
  }
  const float* cur = y;
  float* buf = scratch(2 * p.block + p.kept);
  float* spare[2] = {buf, buf + p.block};
  int turn = 0;
  if (!p.keptInPlace) {
    float* g = buf + 2 * p.block;
    for (size_t i = 0; i < p.kept; ++i) g[i] = y[p.offK[i]];
    cur = g;
  }
  size_t first = 0;
  while (p.groups[first].kept) ++first;
  for (size_t g = p.groups.size(); --g > first;) {
    const Group& gr = p.groups[g];
    if (gr.kept) continue;
    float* out = spare[turn];
    turn ^= 1;
    repeatRows(cur, out, gr.rows, gr.rest, gr.count);
    cur = out;
  }
  const Group& gr = p.groups[first];
  combineRows(x, cur, gr.rows, gr.rest, gr.count, op);
}

// Folds n consecutive entries into one.
template <class Op>
inline float foldRun(const float* __restrict x, size_t n, Op op) {
  if (n >= 16) {
    float lane[8];
    for (int j = 0; j < 8; ++j) lane[j] = x[j];
    size_t i = 8;
    for (; i + 8 <= n; i += 8)
      for (int j = 0; j < 8; ++j) lane[j] = op(lane[j], x[i + j]);
    float acc = op(op(op(lane[0], lane[4]), op(lane[1], lane[5])), op(op(lane[2], lane[6]), op(lane[3], lane[7])));
    for (; i < n; ++i) acc = op(acc, x[i]);
    return acc;
  }
  float acc = x[0];
  for (size_t i = 1; i < n; ++i) acc = op(acc, x[i]);
  return acc;
}

// out[o][k] = fold over i < r of in[o][i][k], rows of `len` entries (r >= 2).
template <size_t LEN, class Op>
void foldShort(const float* __restrict in, float* __restrict out, size_t rows, size_t r, Op op) {
  for (size_t o = 0; o < rows; ++o, out += LEN) {
    float acc[LEN];
    for (size_t k = 0; k < LEN; ++k) acc[k] = in[k];
    in += LEN;
    for (size_t i = 1; i < r; ++i, in += LEN)
      for (size_t k = 0; k < LEN; ++k) acc[k] = op(acc[k], in[k]);
    for (size_t k = 0; k < LEN; ++k) out[k] = acc[k];
  }
}
template <class Op>
void foldRows(const float* __restrict in, float* __restrict out, size_t rows, size_t len, size_t r, Op op) {
  switch (len) {
    case 1:
      if (r == 2) {
        for (size_t o = 0; o < rows; ++o) out[o] = op(in[2 * o], in[2 * o + 1]);
      } else {
        for (size_t o = 0; o < rows; ++o, in += r) out[o] = foldRun(in, r, op);
      }
      return;
    case 2: return foldShort<2>(in, out, rows, r, op);
    case 3: return foldShort<3>(in, out, rows, r, op);
    case 4: return foldShort<4>(in, out, rows, r, op);
    default:
      for (size_t o = 0; o < rows; ++o, out += len) {
        for (size_t k = 0; k < len; ++k) out[k] = op(in[k], in[len + k]);
        in += 2 * len;
        for (size_t i = 2; i < r; ++i, in += len) rowOp(out, in, len, op);
      }
  }
}

// A reducing kernel (sum, max) over one block of consecutive entries of A, into B at y.  The
// spread groups are folded from the outermost in: the steps on the most data work on the
// longest rows.
template <class Op>
void reduceBlock(const Plan& p, const float* __restrict x, float* y, Op op) {
  const float* cur = x;
  if (p.anySpread) {
    float* buf = scratch(p.block);
    float* spare[2] = {buf, buf + p.block / 2};
    int turn = 0;
    for (const Group& gr : p.groups) {
      if (gr.kept) continue;
      float* out = spare[turn];
      turn ^= 1;
      foldRows(cur, out, gr.rows, gr.rest, gr.count, op);
      cur = out;
    }
  }
  if (p.keptInPlace) {
    rowOp(y, cur, p.kept, op);
  } else {
    const uint32_t* off = p.offK.data();
    for (size_t i = 0; i < p.kept; ++i) y[off[i]] = op(y[off[i]], cur[i]);
  }
}

// Plans depend only on the two node lists (and on the current states of fixed nodes, which only
// move the base offset), so each net keeps the plans of the table pairs it has met.
struct PlanKey {
  const TableShape* a;
  const TableShape* b;
  bool bOnly;
  bool operator==(const PlanKey&) const = default;
};
struct PlanKeyHash {
  size_t operator()(const PlanKey& k) const {
    auto h = [](const void* p) { return std::hash<const void*>()(p); };
    return h(k.a) ^ (h(k.b) * 31) ^ k.bOnly;
  }
};
struct CachedPlan {
  Plan plan;
  ShapeRef a, b;  // held, so that the keys' addresses stay these lists'
};
struct PlanCache {
  std::unordered_map<PlanKey, CachedPlan, PlanKeyHash> plans;
};

constexpr size_t MAX_CACHED_PLANS = 4096;

// The plan for A and B: from the net's cache when both lists are the ones it was made for.
const Plan& cachedPlan(const PotTable& a, const PotTable& b, bool bOnly, std::unique_ptr<Plan>& temp) {
  Bnet* net = !a.nodes().empty() ? a.nodes().front()->net : !b.nodes().empty() ? b.nodes().front()->net : nullptr;
  if (!net || !a.shape() || !b.shape()) return *(temp = std::make_unique<Plan>(makePlan(a, b, bOnly)));
  if (!net->kernelPlans) net->kernelPlans = std::make_shared<PlanCache>();
  auto& cache = static_cast<PlanCache*>(net->kernelPlans.get())->plans;
  PlanKey key{a.shape().get(), b.shape().get(), bOnly};
  auto it = cache.find(key);
  if (it != cache.end()) {
    Plan& p = it->second.plan;
    // Only the base offset of nodes fixed at their current states can have moved.
    if (!p.fixed.empty()) setBase(p, a, b);
    return p;
  }
  if (cache.size() >= MAX_CACHED_PLANS) cache.clear();
  CachedPlan& slot = cache[key];
  slot = CachedPlan{makePlan(a, b, bOnly), a.shape(), b.shape()};
  return slot.plan;
}

}  // namespace

struct KernelPlan::Held {
  Plan plan;
  bool bOnly;
  ShapeRef a, b;  // held, so that their addresses stay theirs
};

KernelPlan::KernelPlan() = default;
KernelPlan::~KernelPlan() = default;
KernelPlan::KernelPlan(const KernelPlan&) {}
KernelPlan& KernelPlan::operator=(const KernelPlan& o) {
  if (this != &o) held.reset();
  return *this;
}
KernelPlan::KernelPlan(KernelPlan&&) noexcept = default;
KernelPlan& KernelPlan::operator=(KernelPlan&&) noexcept = default;

namespace {

// The plan for A and B: the one kept when it was made for these two node lists, else a new one
// kept in its place.
const Plan& keptPlan(KernelPlan& kept, const PotTable& a, const PotTable& b, bool bOnly) {
  KernelPlan::Held* h = kept.held.get();
  if (h && h->bOnly == bOnly && h->a.get() == a.shape().get() && h->b.get() == b.shape().get()) {
    if (!h->plan.fixed.empty()) setBase(h->plan, a, b);
    return h->plan;
  }
  Plan p = makePlan(a, b, bOnly, true);
  kept.held.reset(new KernelPlan::Held{std::move(p), bOnly, a.shape(), b.shape()});
  return kept.held->plan;
}

// The plan from the caller's keeping when it keeps one, else from the net's cache.
const Plan& planOf(KernelPlan* kept, const PotTable& a, const PotTable& b, bool bOnly, std::unique_ptr<Plan>& temp) {
  return kept ? keptPlan(*kept, a, b, bOnly) : cachedPlan(a, b, bOnly, temp);
}

// A block copy; 65,536 floats or more are split with a worker thread when the machine has more
// than one core (and copied in one piece when no thread can be started).
void copyBlock(float* dst, const float* src, size_t n) {
  constexpr size_t SPLIT = 65536;
  if (n < SPLIT || std::thread::hardware_concurrency() < 2) {
    std::memcpy(dst, src, n * sizeof(float));
    return;
  }
  size_t half = n / 2;
  std::thread worker;
  try {
    worker = std::thread([=] { std::memcpy(dst + half, src + half, (n - half) * sizeof(float)); });
  } catch (const std::system_error&) {
    std::memcpy(dst, src, n * sizeof(float));
    return;
  }
  std::memcpy(dst, src, half * sizeof(float));
  worker.join();
}

template <class Op>
void readKernel(PotTable& dst, const PotTable& src, Op op, KernelPlan* kept = nullptr) {
  if (dst.sameNodesAs(src)) {  // the same list: entry by entry
    rowOp(dst.data(), src.data(), dst.size(), op);
    return;
  }
  std::unique_ptr<Plan> temp;  // a plan for this call only
  const Plan& p = planOf(kept, dst, src, false, temp);
  float* a = dst.data();
  const float* b = src.data();
  if (!p.each.empty()) {
    const uint32_t* off = p.each.data();
    const float* y = b + p.baseB;
    size_t n = p.each.size(), run = p.run;
    if (run == 1) {
      for (size_t i = 0; i < n; ++i) a[i] = op(a[i], y[off[i]]);
    } else {
      for (size_t r = 0; r < n; ++r) scalarOp(a + r * run, y[off[r]], run, op);
    }
  } else if (p.tiled) {
    const uint32_t *ta = p.tileA.data(), *tb = p.tileB.data(), *map = p.tileMap.data();
    size_t nb = p.tileB.size();
    float* buf = scratch(nb);
    forEachBlock(p, [&](size_t oa, size_t ob) {
      float* x = a + oa;
      const float* y = b + ob;
      for (size_t j = 0; j < nb; ++j) buf[j] = y[tb[j]];
      for (size_t i = 0; i < p.block; ++i) x[ta[i]] = op(x[ta[i]], buf[map[i]]);
    });
  } else {
    forEachBlock(p, [&](size_t oa, size_t ob) { readBlock(p, a + oa, b + ob, op); });
  }
}

// Reduces src into dst over the src nodes absent from dst.
template <class Op>
void reduceInto(PotTable& dst, const PotTable& src, float start, Op op, KernelPlan* kept = nullptr) {
  requireAllocated(src, "pot.isAllocated()");
  requireAllocated(dst, "isAllocated()");
  QASSERT(dst.env(), dst.data() != src.data());
  std::fill(dst.data(), dst.data() + dst.size(), start);
  std::unique_ptr<Plan> temp;
  const Plan& p = planOf(kept, src, dst, true, temp);
  const float* a = src.data();
  float* b = dst.data();
  if (!p.each.empty()) {
    const uint32_t* off = p.each.data();
    float* y = b + p.baseB;
    size_t n = p.each.size(), run = p.run;
    if (run == 1) {
      for (size_t i = 0; i < n; ++i) y[off[i]] = op(y[off[i]], a[i]);
    } else {
      for (size_t r = 0; r < n; ++r) y[off[r]] = op(y[off[r]], foldRun(a + r * run, run, op));
    }
  } else if (p.tiled) {
    const uint32_t *ta = p.tileA.data(), *tb = p.tileB.data(), *map = p.tileMap.data();
    size_t nb = p.tileB.size();
    float* buf = scratch(nb);
    forEachBlock(p, [&](size_t oa, size_t ob) {
      const float* x = a + oa;
      float* y = b + ob;
      for (size_t j = 0; j < nb; ++j) buf[j] = y[tb[j]];
      for (size_t i = 0; i < p.block; ++i) buf[map[i]] = op(buf[map[i]], x[ta[i]]);
      for (size_t j = 0; j < nb; ++j) y[tb[j]] = buf[j];
    });
  } else {
    forEachBlock(p, [&](size_t oa, size_t ob) { reduceBlock(p, a + oa, b + ob, op); });
  }
  dst.setFactorRaw(src.factor());
}

}  // namespace

void copyFrom(PotTable& dst, const PotTable& src, bool reorder) {
  QASSERT(dst.env(), &src != &dst || !reorder);
  requireAllocated(src, "pot.isAllocated()");
  requireAllocated(dst, "isAllocated()");
  if (!reorder || std::ranges::equal(dst.nodes(), src.nodes())) {
    QASSERT(dst.env(), dst.size() == src.size());
    if (&src != &dst) copyBlock(dst.data(), src.data(), dst.size());
  } else {
    readKernel(dst, src, CopyOp{});
  }
  dst.setFactorRaw(src.factor());
}

namespace {

void multiplyWith(PotTable& dst, const PotTable& src, KernelPlan* kept) {
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
      scalarOp(dst.data(), v, dst.size(), MulOp{});
      dst.setFactorRaw(dst.factor() * src.factor());
    }
  } else {
    readKernel(dst, src, MulOp{}, kept);
    dst.setFactorRaw(dst.factor() * src.factor());
  }
  dst.guardUnderflow();
}

}  // namespace

void multiplyIn(PotTable& dst, const PotTable& src) { multiplyWith(dst, src, nullptr); }

void multiplyIn(PotTable& dst, const PotTable& src, KernelPlan& plan) { multiplyWith(dst, src, &plan); }

void divideBy(PotTable& dst, const PotTable& src) {
  requireAllocated(dst, "pot1.isAllocated()");
  requireAllocated(src, "pot2.isAllocated()");
  QASSERT(dst.env(), dst.data() != src.data());
  readKernel(dst, src, DivOp{});
  dst.setFactorRaw(dst.factor() / src.factor());
  if (dst.factor() < 1.0) dst.guardOverflow();
  dst.guardUnderflow();
}

void marginalizeInto(PotTable& dst, const PotTable& src) { reduceInto(dst, src, 0.0f, SumOp{}); }

void marginalizeInto(PotTable& dst, const PotTable& src, KernelPlan& plan) {
  reduceInto(dst, src, 0.0f, SumOp{}, &plan);
}

void maxOutInto(PotTable& dst, const PotTable& src) { reduceInto(dst, src, -HUGE_VALF, MaxOp{}); }

}  // namespace quorva
