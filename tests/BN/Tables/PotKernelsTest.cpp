// The two-table kernels against a naive reference that enumerates every joint state of the union
// of the two node lists, on random tables whose lists differ in content and order; then the
// factor handling and the edge cases one by one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Tables/PotKernels.h"
#include "BN/Tables/PotTable.h"
#include "BN/Tables/Potential.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

using namespace quorva;

namespace {

using Nodes = std::vector<Bnode*>;

enum class Op { Copy, Multiply, Divide, Sum, Max };
const char* opName(Op op) {
  static const char* const names[] = {"copy", "multiply", "divide", "sum", "max"};
  return names[static_cast<int>(op)];
}

size_t position(const Nodes& list, const Bnode* n) {
  return static_cast<size_t>(std::find(list.begin(), list.end(), n) - list.begin());
}
bool contains(const Nodes& list, const Bnode* n) { return position(list, n) < list.size(); }

// Where each node of `t` sits in `all`.
std::vector<size_t> positionsIn(const PotTable& t, const Nodes& all) {
  std::vector<size_t> pos;
  for (Bnode* n : t.nodes()) pos.push_back(position(all, n));
  return pos;
}

// The flat index in `t` of the joint state `st`, given per node of the union list.
size_t flatIndex(const PotTable& t, const std::vector<size_t>& pos, const std::vector<int>& st) {
  size_t r = 0;
  for (size_t i = 0; i < pos.size(); ++i) r = r * static_cast<size_t>(t.dims()[i]) + static_cast<size_t>(st[pos[i]]);
  return r;
}

// What `op` should leave in dst, as values (entry times factor), computed in double.
std::vector<double> reference(Op op, const PotTable& dst, const PotTable& src) {
  Nodes all(dst.nodes().begin(), dst.nodes().end());
  for (Bnode* n : src.nodes())
    if (!contains(all, n)) all.push_back(n);
  std::vector<size_t> posD = positionsIn(dst, all), posS = positionsIn(src, all);
  std::vector<double> out(dst.size(), op == Op::Max ? -HUGE_VAL : 0.0);
  std::vector<int> st(all.size(), 0);
  for (;;) {
    bool atCurrent = true;  // the source-only nodes sit at their current states
    for (size_t i = dst.numNodes(); i < all.size(); ++i) atCurrent = atCurrent && st[i] == all[i]->curState;
    size_t di = flatIndex(dst, posD, st);
    double d = dst.data()[di] * dst.factor();
    float se = src.data()[flatIndex(src, posS, st)];
    double s = se * src.factor();
    switch (op) {
      case Op::Copy: if (atCurrent) out[di] = s; break;
      case Op::Multiply: if (atCurrent) out[di] = d * s; break;
      case Op::Divide: if (atCurrent) out[di] = se == 0 ? 0.0 : d / s; break;
      case Op::Sum: out[di] += s; break;
      case Op::Max: out[di] = std::max(out[di], s); break;
    }
    size_t k = all.size();
    while (k > 0 && ++st[k - 1] == all[k - 1]->numStates) st[--k] = 0;
    if (k == 0) break;
  }
  return out;
}

// With `kept`, the kernels that take a kept plan use it.
void apply(Op op, PotTable& dst, const PotTable& src, KernelPlan* kept) {
  switch (op) {
    case Op::Copy: copyFrom(dst, src, true); break;
    case Op::Multiply: kept ? multiplyIn(dst, src, *kept) : multiplyIn(dst, src); break;
    case Op::Divide: divideBy(dst, src); break;
    case Op::Sum: kept ? marginalizeInto(dst, src, *kept) : marginalizeInto(dst, src); break;
    case Op::Max: maxOutInto(dst, src); break;
  }
}

std::string describe(const Nodes& list) {
  std::string s = "(";
  for (Bnode* n : list) s += n->name + std::to_string(n->numStates) + "@" + std::to_string(n->curState) + " ";
  return s + ")";
}

class PotKernelsTest : public ::testing::Test {
 protected:
  PotKernelsTest() { core.state = ENV_USABLE_STATE; }

  Nodes makeNodes(const std::vector<int>& states) {
    Nodes out;
    for (int s : states) out.push_back(&net.addNode("N" + std::to_string(net.nodes.size()), s));
    return out;
  }

  // A table over `nodes` with random entries in [0.05, 1) (a share of them 0) and a random factor.
  PotTable randomTable(const Nodes& nodes, double zeroShare) {
    PotTable t(&core, nodes);
    t.allocate();
    std::uniform_real_distribution<float> value(0.05f, 1.0f);
    std::bernoulli_distribution zero(zeroShare);
    for (size_t i = 0; i < t.size(); ++i) t.data()[i] = zero(rng) ? 0.0f : value(rng);
    t.setFactorRaw(std::pow(10.0, std::uniform_real_distribution<double>(-3, 3)(rng)));
    return t;
  }

  PotTable filled(const Nodes& nodes, const std::vector<float>& values, double factor = 1) {
    PotTable t(&core, nodes);
    t.allocate();
    std::copy(values.begin(), values.end(), t.data());
    t.setFactorRaw(factor);
    return t;
  }

  // Runs `op` on random tables over these lists and compares every value with the reference.
  void check(Op op, const Nodes& dstNodes, const Nodes& srcNodes) {
    SCOPED_TRACE(std::string(opName(op)) + " dst " + describe(dstNodes) + " src " + describe(srcNodes));
    PotTable dst = randomTable(dstNodes, 0.1), src = randomTable(srcNodes, 0.15);
    if (op == Op::Max && std::bernoulli_distribution(0.5)(rng))  // utilities may be all negative
      for (size_t i = 0; i < src.size(); ++i) src.data()[i] = -src.data()[i];
    std::vector<double> want = reference(op, dst, src);
    apply(op, dst, src, useKept ? &kept : nullptr);
    ASSERT_EQ(dst.size(), want.size());
    // Sums run in float over up to a few thousand terms of one sign.
    double tol = op == Op::Sum ? 1e-4 : 1e-5;
    int bad = 0;
    for (size_t i = 0; i < want.size() && bad < 5; ++i) {
      double got = dst.data()[i] * dst.factor();
      if (std::fabs(got - want[i]) > tol * std::fabs(want[i]) + 1e-300) {
        ++bad;
        ADD_FAILURE() << "entry " << i << ": got " << got << ", want " << want[i];
      }
    }
  }

  Nodes shuffled(Nodes v) {
    std::shuffle(v.begin(), v.end(), rng);
    return v;
  }
  // A random selection of `list`, in its order, of between lo and hi nodes.
  Nodes pick(const Nodes& list, size_t lo, size_t hi) {
    size_t n = std::uniform_int_distribution<size_t>(lo, std::min(hi, list.size()))(rng);
    Nodes idx = shuffled(list);
    idx.resize(n);
    Nodes out;
    for (Bnode* x : list)
      if (contains(idx, x)) out.push_back(x);
    return out;
  }

  // Every pairing shape, on `rounds` random draws from a pool of nodes of 2 to 4 states.
  void checkAllShapes(Op op, int rounds) {
    std::uniform_int_distribution<int> states(2, 4);
    std::vector<int> counts;
    for (int i = 0; i < 9; ++i) counts.push_back(states(rng));
    Nodes pool = makeNodes(counts);
    for (int round = 0; round < rounds; ++round) {
      for (Bnode* n : pool) n->curState = std::uniform_int_distribution<int>(0, n->numStates - 1)(rng);
      Nodes list = pick(shuffled(pool), 1, 6);
      size_t cut = std::uniform_int_distribution<size_t>(0, list.size())(rng);
      Nodes prefix(list.begin(), list.begin() + static_cast<long>(cut));
      Nodes suffix(list.begin() + static_cast<long>(cut), list.end());
      Nodes others;
      for (Bnode* n : pool)
        if (!contains(list, n)) others.push_back(n);
      Nodes scattered = pick(list, 1, list.size());
      check(op, list, shuffled(list));        // the same nodes in another order
      check(op, list, prefix);                // the source a leading part
      check(op, list, suffix);                // the source a trailing part
      check(op, list, scattered);             // the source a scattered subset
      check(op, list, shuffled(scattered));   // ... in another order
      check(op, prefix, list);                // the destination a leading part
      check(op, suffix, list);                // the destination a trailing part
      check(op, shuffled(scattered), list);   // the destination a scattered subset
      check(op, list, pick(others, 1, 3));    // disjoint lists
      check(op, pick(pool, 0, 5), shuffled(pick(pool, 0, 5)));  // partly overlapping, maybe empty
      check(op, list, {});
      check(op, {}, list);
    }
  }

  EnvCore core;
  Bnet net{&core, "N"};
  bool useKept = false;
  KernelPlan kept;  // one plan for every pair of tables: remade as the lists change
  std::mt19937 rng{20240611};
};

TEST_F(PotKernelsTest, EveryKernelMatchesTheReferenceOnEveryPairingShape) {
  for (Op op : {Op::Copy, Op::Multiply, Op::Divide, Op::Sum, Op::Max}) checkAllShapes(op, 12);
}
// Kept plans walk small tables through a list of offsets instead of blocks.
TEST_F(PotKernelsTest, KernelsThroughKeptPlansMatchTheReference) {
  useKept = true;
  checkAllShapes(Op::Multiply, 12);
  checkAllShapes(Op::Sum, 12);
}

// Tables of 2^12 entries: several inner blocks, so the outer strides matter as well.
TEST_F(PotKernelsTest, KernelsOnLargerTablesInMixedOrdersMatchTheReference) {
  Nodes bin = makeNodes(std::vector<int>(11, 2));
  bin.push_back(makeNodes({3})[0]);
  Nodes reversed(bin.rbegin(), bin.rend());
  Nodes everyOther, oddOnes, interleaved;
  for (size_t i = 0; i < bin.size(); i += 2) everyOther.push_back(bin[i]);
  for (size_t i = 1; i < bin.size(); i += 2) oddOnes.push_back(bin[i]);
  for (size_t i = 0; i < 6; ++i) interleaved.insert(interleaved.end(), {bin[i], bin[11 - i]});
  Nodes first10(bin.begin(), bin.begin() + 10);
  for (Op op : {Op::Copy, Op::Multiply, Op::Divide, Op::Sum, Op::Max}) {
    check(op, bin, reversed);
    check(op, bin, interleaved);
    // Nodes present and absent in turn, with the last present or absent, in rows of 1 to 4.
    check(op, bin, everyOther);
    check(op, bin, oddOnes);
    check(op, first10, {bin[1], bin[3], bin[5], bin[7], bin[9]});
    check(op, first10, {bin[1], bin[3], bin[6], bin[8], bin[9]});
    check(op, everyOther, reversed);
    check(op, Nodes(bin.begin(), bin.begin() + 3), bin);
    check(op, Nodes(bin.end() - 3, bin.end()), bin);
  }
}

// Tables of 2^16 entries and more, reordered so that the fastest nodes of the table read or
// written lie outside the other table's inner block: the kernels work through tiles.
TEST_F(PotKernelsTest, ReordersOfLargeTablesMatchTheReference) {
  Nodes big = makeNodes(std::vector<int>(16, 2));
  Nodes extra = makeNodes({3, 2});
  extra[0]->curState = 2;
  Nodes reversed(big.rbegin(), big.rend());
  Nodes rotated(big.end() - 2, big.end());
  rotated.insert(rotated.end(), big.begin(), big.end() - 2);
  Nodes bigPlus = big;
  bigPlus.push_back(extra[0]);  // fixed at its current state, or summed out
  Nodes reversedPlus = reversed;
  reversedPlus.push_back(extra[1]);  // a destination node the source lacks
  for (Op op : {Op::Copy, Op::Multiply, Op::Divide}) {
    check(op, reversed, big);
    check(op, rotated, bigPlus);
  }
  for (Op op : {Op::Sum, Op::Max}) {
    check(op, reversed, bigPlus);
    check(op, reversedPlus, big);
  }
}

TEST_F(PotKernelsTest, MultiplyByATableWithoutNodesChangesOnlyTheFactor) {
  PotTable dst = randomTable(makeNodes({2, 3}), 0), scalar = filled({}, {0.5f}, 4);
  std::vector<float> before(dst.data(), dst.data() + dst.size());
  double factor = dst.factor();
  multiplyIn(dst, scalar);
  EXPECT_EQ(std::vector<float>(dst.data(), dst.data() + dst.size()), before);
  EXPECT_NEAR(dst.factor(), factor * 2, factor * 1e-12);
}

TEST_F(PotKernelsTest, MultiplyInRescalesAProductThatWouldUnderflow) {
  Nodes n = makeNodes({4});
  PotTable dst = filled(n, std::vector<float>(4, 1e-5f), 3), src = filled(n, std::vector<float>(4, 1e-6f), 2);
  multiplyIn(dst, src);  // entries 1e-11 each, summing to 4e-11
  EXPECT_NEAR(dst.factor(), 6 * 4e-11, 6 * 4e-11 * 1e-5);
  for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(dst.data()[i], 0.25f);
}

TEST_F(PotKernelsTest, DivideByDividesTheFactorsAndGuardsOverflowOnlyWhenItDropsBelowOne) {
  Nodes n = makeNodes({2, 2});
  for (double srcFactor : {4.0, 0.5}) {
    PotTable dst = filled(n, std::vector<float>(4, 4e10f)), src = filled({n[1]}, {2, 0}, srcFactor);
    divideBy(dst, src);  // entries 2e10 where the source is 2, 0 where it is 0
    for (int i = 0; i < 4; ++i) {
      double want = i % 2 ? 0.0 : 4e10 / (2 * srcFactor);
      EXPECT_NEAR(dst.data()[i] * dst.factor(), want, want * 1e-6) << srcFactor << " " << i;
    }
    if (srcFactor > 1) {  // factor 0.25: the entries, summing to 4e10, are brought down to sum to 1
      EXPECT_NEAR(dst.factor(), 0.25 * 4e10, 0.25 * 4e10 * 1e-6);
      EXPECT_FLOAT_EQ(dst.data()[0] + dst.data()[2], 1.0f);
    } else {
      EXPECT_EQ(dst.factor(), 2.0);
      EXPECT_FLOAT_EQ(dst.data()[0], 2e10f);
    }
  }
}

TEST_F(PotKernelsTest, DivideByATinySourceEntryStaysFinite) {
  Nodes n = makeNodes(std::vector<int>(10, 2));  // the divisor is the same over runs of 512
  std::vector<float> values(1024, 1e-5f);
  values[1] = 0;
  const float tiny = 1e-39f;  // subnormal: its reciprocal does not fit in a float
  PotTable dst = filled(n, values), src = filled({n[0]}, {tiny, 1});
  divideBy(dst, src);
  for (size_t i = 0; i < dst.size(); ++i) {
    double want = i == 1 ? 0.0 : 1e-5 / (i < 512 ? static_cast<double>(tiny) : 1.0);
    ASSERT_NEAR(dst.data()[i] * dst.factor(), want, want * 1e-5) << i;
  }
}

TEST_F(PotKernelsTest, ASourceNodeFixedOutsideItsStatesIsRejected) {
  Nodes n = makeNodes({2, 3});
  PotTable dst = filled({n[0]}, {1, 1}), src = filled(n, std::vector<float>(6, 1));
  n[1]->curState = 3;
  try {
    multiplyIn(dst, src);
    ADD_FAILURE() << "no error";
  } catch (const QuorvaError& e) {
    ASSERT_NE(e.record, nullptr);
    EXPECT_EQ(e.record->number, -2459);
  }
}

TEST_F(PotKernelsTest, AProductPotentialMultipliesOutToTheProductOfItsFactors) {
  Nodes n = makeNodes({2, 3, 2});
  ProductTable product;
  product.factors.push_back(randomTable({n[2], n[0]}, 0));
  product.factors.push_back(randomTable({n[1]}, 0));
  PotTable expect(&core, {n[1], n[0], n[2]});
  expect.allocate();
  expect.fill(1);
  std::vector<double> want = reference(Op::Multiply, expect, product.factors[0]);
  std::copy(want.begin(), want.end(), expect.data());  // factor 1
  want = reference(Op::Multiply, expect, product.factors[1]);

  Potential p(std::move(product));
  EXPECT_EQ(p.describe(), "ProductTable (2, (N2, N0), (N1))\n");
  PotTable& full = p.full(&core, {n[1], n[0], n[2]});
  EXPECT_FALSE(p.isProduct());
  EXPECT_EQ(p.describe(), "Table (over vars N1, N0, N2)\n");
  ASSERT_EQ(full.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(full.data()[i] * full.factor(), want[i], want[i] * 1e-5) << i;
}

}  // namespace
