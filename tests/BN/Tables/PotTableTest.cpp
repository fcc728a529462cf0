// Potential tables on their own: size and allocation limits, the reserved markers, filling and
// rescaling, the overflow and underflow guards, row normalisation and entry updates.
#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Tables/PotTable.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

using namespace quorva;

namespace {

const float UNDEF = -3.3960315e38f;
const float UNSPEC = -3.3892665e38f;
uint32_t bits(float v) { return std::bit_cast<uint32_t>(v); }

class PotTableTest : public ::testing::Test {
 protected:
  PotTableTest() { core.state = ENV_USABLE_STATE; }

  std::vector<Bnode*> nodesWith(const std::vector<int>& states) {
    std::vector<Bnode*> out;
    for (int s : states) out.push_back(&net.addNode("N" + std::to_string(net.nodes.size()), s));
    return out;
  }

  // An allocated table over fresh nodes of these state counts holding `values` (factor 1).
  PotTable table(const std::vector<int>& states, const std::vector<float>& values) {
    PotTable t(&core, nodesWith(states));
    t.allocate();
    EXPECT_EQ(t.size(), values.size());
    std::copy(values.begin(), values.end(), t.data());
    return t;
  }

  // Allocating `t` must fail with error 2183 and this message, leaving it unallocated.
  void expectRefused(PotTable& t, const std::string& message) {
    try {
      t.allocate();
      ADD_FAILURE() << "allocated";
    } catch (const QuorvaError& e) {
      ASSERT_NE(e.record, nullptr);
      EXPECT_EQ(e.record->number, -2183);
      EXPECT_EQ(e.record->message, message);
    }
    EXPECT_FALSE(t.isAllocated());
  }

  static std::vector<float> entries(const PotTable& t) { return {t.data(), t.data() + t.size()}; }

  EnvCore core;
  Bnet net{&core, "N"};
};

TEST_F(PotTableTest, SizeIsTheProductOfStateCountsOneWithoutNodesZeroWithAnEmptyNode) {
  EXPECT_EQ(PotTable(&core, nodesWith({2, 3, 4})).size(), 24u);
  EXPECT_EQ(PotTable(&core, {}).size(), 1u);
  EXPECT_EQ(PotTable(&core, nodesWith({3, 0, 2})).size(), 0u);
  EXPECT_EQ(PotTable(&core, nodesWith(std::vector<int>(30, 2))).size(), size_t{1} << 30);
  EXPECT_EQ(PotTable(&core, nodesWith(std::vector<int>(31, 2))).size(), TOO_LARGE);
  EXPECT_EQ(sizeOfSpace(std::vector<int>(400, 10)), SIZE_CAP);
  PotTable t(&core, nodesWith({2, 3, 4}));
  const int states[] = {1, 2, 3};
  EXPECT_EQ(t.indexOf(states), 1u * 12 + 2 * 4 + 3);  // row-major, the last node fastest
}

TEST_F(PotTableTest, OversizedTablesAreRefusedWith2183WithoutTryingToAllocate) {
  PotTable pastLimit(&core, nodesWith(std::vector<int>(29, 2)));  // 2^29 entries: 4 bytes each
  expectRefused(pastLimit, "not enough memory to make full 29 dimensional table \n(2.0 GB needed)");
  PotTable tooLarge(&core, nodesWith(std::vector<int>(31, 2)));
  expectRefused(tooLarge, "not enough memory to make full 31 dimensional table \n(8.0 GB needed)");
  EXPECT_EQ(core.memory.used(), 0);
}

TEST_F(PotTableTest, AllocationIsChargedToTheEnvironmentAndRefusedPastItsLimit) {
  {
    PotTable a = table({10, 100}, std::vector<float>(1000, 1.5f));
    PotTable b = a;  // a copy owns its own entries
    EXPECT_EQ(core.memory.used(), 8000);
    b.data()[7] = 9;
    EXPECT_EQ(a.data()[7], 1.5f);
  }
  EXPECT_EQ(core.memory.used(), 0);

  core.memory.setLimit(100000);
  PotTable big(&core, nodesWith(std::vector<int>(16, 2)));
  expectRefused(big, "not enough memory to make full 16 dimensional table \n(256.0 KB needed)");

  // A failed allocation within the limit is reported once, in the table's words.
  core.errors.clearAll();
  core.memory.failAllocationAfter(1);
  PotTable small(&core, nodesWith({5, 5}));
  expectRefused(small, "not enough memory to make full 2 dimensional table \n(100 bytes needed)");
  EXPECT_EQ(core.memory.used(), 0);
  int reports = 0;
  for (ErrorRecord* e = core.errors.next(std::this_thread::get_id(), ERROR_SEV, nullptr); e;
       e = core.errors.next(std::this_thread::get_id(), ERROR_SEV, e))
    reports += e->number == -2183;
  EXPECT_EQ(reports, 1);
}

TEST_F(PotTableTest, FillSpreadsATinyTotalOverTheEntriesThroughTheFactor) {
  PotTable t = table({10}, std::vector<float>(10, 0));
  for (double v : {1e-12, -1e-12}) {
    t.setFactorRaw(3);
    t.fill(v);
    EXPECT_NEAR(t.factor(), 1e-11, 1e-20);
    for (float e : entries(t)) EXPECT_FLOAT_EQ(e, v > 0 ? 0.1f : -0.1f);
  }
  t.fill(0.25);
  EXPECT_EQ(t.factor(), 1.0);
  EXPECT_EQ(entries(t), std::vector<float>(10, 0.25f));
}

// Markers at entries 1 and 3 must come through every rescaling unchanged.
void expectMarkers(const PotTable& t) {
  EXPECT_EQ(bits(t.data()[1]), 0xFF7F7D30u);
  EXPECT_EQ(bits(t.data()[3]), 0xFF7EFAE6u);
}

TEST_F(PotTableTest, SetFactorAndMultiplyScalarKeepValuesAndTheReservedMarkers) {
  EXPECT_EQ(bits(undefFloat()), 0xFF7F7D30u);
  EXPECT_EQ(bits(unspecifiedRowFloat()), 0xFF7EFAE6u);
  PotTable t = table({4}, {1, UNDEF, 4, UNSPEC});
  t.setFactorRaw(0.5);
  t.setFactor(8);
  EXPECT_EQ(t.factor(), 8.0);
  EXPECT_FLOAT_EQ(t.data()[0] * 8, 0.5f);
  EXPECT_FLOAT_EQ(t.data()[2] * 8, 2.0f);
  expectMarkers(t);
  for (double bad : {0.0, -2.0}) {
    try {
      t.setFactor(bad);
      ADD_FAILURE() << "accepted " << bad;
    } catch (const QuorvaError& e) {
      ASSERT_NE(e.record, nullptr);
      EXPECT_EQ(e.record->severity, INTERNAL_SEV);
      EXPECT_NE(e.record->message.find("new_factor > 0"), std::string::npos) << e.record->message;
    }
    EXPECT_EQ(t.factor(), 8.0);
  }

  t.multiplyScalar(3);  // only the factor moves
  EXPECT_EQ(t.factor(), 24.0);
  EXPECT_FLOAT_EQ(t.data()[2] * 8, 2.0f);
  t.setFactorRaw(1e-300);
  t.multiplyScalar(1e-30);  // the factor would underflow to 0: the entries are scaled instead
  EXPECT_EQ(t.factor(), 1e-300);
  EXPECT_NEAR(t.data()[2], 0.25e-30f, 1e-37f);
  expectMarkers(t);
  t.multiplyScalar(0);
  EXPECT_EQ(t.factor(), 1e-300);
  EXPECT_EQ(t.data()[2], 0.0f);

  PotTable a = table({2}, {1, 3}), b = table({2}, {5, 7});
  a.setFactorRaw(10);
  b.setFactorRaw(1000);
  makeFactorsSame(b, a);
  EXPECT_EQ(a.factor(), 1000.0);
  EXPECT_EQ(b.factor(), 1000.0);
  EXPECT_NEAR(a.data()[1] * a.factor(), 30.0, 1e-5);
  EXPECT_NEAR(b.data()[1] * b.factor(), 7000.0, 1e-3);
}

TEST_F(PotTableTest, ZeroUndefinedClearsOnlyTheUndefinedMarker) {
  PotTable t = table({4}, {UNDEF, UNSPEC, 2, UNDEF});
  t.zeroUndefined();
  EXPECT_EQ(t.data()[0], 0.0f);
  EXPECT_EQ(bits(t.data()[1]), 0xFF7EFAE6u);
  EXPECT_EQ(t.data()[2], 2.0f);
  EXPECT_EQ(t.data()[3], 0.0f);

  PotTable fresh(&core, nodesWith({3, 2}));
  fresh.zeroUndefined();
  ASSERT_TRUE(fresh.isAllocated());
  EXPECT_EQ(entries(fresh), std::vector<float>(6, 0.0f));
}

TEST_F(PotTableTest, GuardsRescaleOnlyPastTheirThresholdsAndSkipTheMarkers) {
  PotTable big = table({4}, {1.5e10f, UNDEF, 0.5e10f, UNSPEC});
  big.guardOverflow();  // the markers do not count in the sum
  EXPECT_NEAR(big.factor(), 2e10, 2e10 * 1e-6);
  EXPECT_FLOAT_EQ(big.data()[0], 0.75f);
  expectMarkers(big);
  PotTable fine = table({2}, {4e9f, 1e9f});
  fine.guardOverflow();
  EXPECT_EQ(fine.factor(), 1.0);
  EXPECT_EQ(fine.data()[0], 4e9f);

  PotTable tiny = table({4}, {1e-11f, UNDEF, 3e-11f, UNSPEC});
  tiny.guardUnderflow();
  EXPECT_NEAR(tiny.factor(), 4e-11, 4e-11 * 1e-6);
  EXPECT_FLOAT_EQ(tiny.data()[2], 0.75f);
  expectMarkers(tiny);
  // With negative entries allowed, the magnitudes are summed.
  PotTable neg = table({2}, {-3e-11f, 1e-11f});
  neg.mayHaveNeg = true;
  neg.guardUnderflow();
  EXPECT_NEAR(neg.factor(), 4e-11, 4e-11 * 1e-6);
  EXPECT_FLOAT_EQ(neg.data()[0], -0.75f);
  // The sum stops once it reaches 1e-10, so a later negative entry cannot pull it back under.
  PotTable early = table({2}, {2e-10f, -1.5e-10f});
  early.guardUnderflow();
  EXPECT_EQ(early.factor(), 1.0);
  EXPECT_EQ(early.data()[0], 2e-10f);
}

TEST_F(PotTableTest, NormalizeRowsMakesEachRowOfTheLastNodeSumToOne) {
  PotTable t = table({2, 3}, {1, 1, 2, 0, 3, 3});
  t.setFactorRaw(5);
  t.normalizeRows();
  EXPECT_EQ(t.factor(), 1.0);
  const std::vector<float> want{0.25f, 0.25f, 0.5f, 0, 0.5f, 0.5f};
  for (size_t i = 0; i < want.size(); ++i) EXPECT_FLOAT_EQ(t.data()[i], want[i]) << i;

  PotTable fresh(&core, nodesWith({3, 4}));
  fresh.normalizeRows();
  ASSERT_TRUE(fresh.isAllocated());
  for (float v : entries(fresh)) EXPECT_FLOAT_EQ(v, 0.25f);
}

TEST_F(PotTableTest, SumCopyOutAndSetRowWorkInValuesIncludingTheFactor) {
  PotTable t = table({2, 2}, {1, -2, std::numeric_limits<float>::quiet_NaN(), 4});
  t.clipNegatives();
  EXPECT_EQ(entries(t), (std::vector<float>{1, 0, 0, 4}));

  t.setFactorRaw(0.5);
  EXPECT_DOUBLE_EQ(t.sum(), 2.5);
  std::vector<double> out(4);
  t.copyOut(out.data());
  EXPECT_EQ(out, (std::vector<double>{0.5, 0, 0, 2}));

  const int lead[] = {1};
  const float row[] = {3, UNDEF};
  t.setRow(lead, row);  // given in values: stored divided by the factor, markers as they are
  t.copyOut(out.data());
  EXPECT_DOUBLE_EQ(out[2], 3.0);
  EXPECT_EQ(bits(t.data()[3]), 0xFF7F7D30u);
}

TEST_F(PotTableTest, AddOnReportsAdditionsThatWereUndoneOrLost) {
  PotTable t = table({4}, {1, 1e-6f, 0, 1e8f});
  int status = 1;
  EXPECT_EQ(t.addOn(0, 0.5f, &status), 1.0f);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(t.data()[0], 1.5f);
  EXPECT_EQ(t.addOn(1, -2e-6f, &status), 1e-6f);  // slightly negative: rounding, clamped to 0
  EXPECT_EQ(status, 0);
  EXPECT_EQ(t.data()[1], 0.0f);
  EXPECT_EQ(t.addOn(2, -3e-6f, &status), 0.0f);  // really negative: undone
  EXPECT_EQ(status, -2458);
  EXPECT_EQ(t.data()[2], 0.0f);
  EXPECT_EQ(t.addOn(3, 1.0f, &status), 1e8f);  // lost below the float's precision
  EXPECT_EQ(status, -2457);
  EXPECT_EQ(t.data()[3], 1e8f);
}

}  // namespace
