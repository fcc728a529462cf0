// The random generator against the published SplitMix64 and xorshift1024* recurrences, its
// draws' ranges and distributions, its state string, its seeds, clock seeding and locking.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <future>
#include <string>
#include <vector>

#include "Basic/EnvCore.h"
#include "Basic/RandomErrors.h"
#include "Basic/RandomGen.h"
#include "Basic/Raise.h"

using namespace quorva;

namespace {

// SplitMix64 and xorshift1024*, written out here from their published definitions.
std::vector<uint64_t> splitMixOutputs(uint64_t x, int count) {
  std::vector<uint64_t> out;
  for (int i = 0; i < count; ++i) {
    x += 0x9E3779B97F4A7C15ULL;
    uint64_t z = x;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    out.push_back(z ^ (z >> 31));
  }
  return out;
}

struct Xorshift1024Star {
  std::vector<uint64_t> s;
  int p = 0;
  uint64_t next() {
    const uint64_t s0 = s[static_cast<size_t>(p)];
    p = (p + 1) & 15;
    uint64_t s1 = s[static_cast<size_t>(p)];
    s1 ^= s1 << 31;
    s[static_cast<size_t>(p)] = s1 ^ s0 ^ (s1 >> 11) ^ (s0 >> 30);
    return s[static_cast<size_t>(p)] * 1181783497276652981ULL;
  }
};

std::string hexState(const std::vector<uint64_t>& words, int p) {
  std::string text(RANDGEN_STATE_PREFIX);
  char buf[20];
  for (uint64_t w : words) {
    std::snprintf(buf, sizeof buf, "%016llx", static_cast<unsigned long long>(w));
    text += buf;
  }
  std::snprintf(buf, sizeof buf, "%x", p);
  return text + buf;
}

class RandomGenTest : public ::testing::Test {
 protected:
  void SetUp() override { env.state = ENV_USABLE_STATE; }

  // Runs `f`, which must raise an error record, and returns the record.
  template <class F>
  const ErrorRecord& refusal(F&& f) {
    try {
      f();
    } catch (const QuorvaError& e) {
      if (e.record) return *e.record;
    }
    ADD_FAILURE() << "no error record was raised";
    static ErrorRecord none;
    return none;
  }

  EnvCore env;
};

TEST_F(RandomGenTest, SeedingAndDrawsFollowSplitMix64AndXorshift1024Star) {
  std::vector<uint64_t> expected = splitMixOutputs(0, 16);
  // The first published outputs of SplitMix64 started at 0.
  EXPECT_EQ(expected[0], 0xE220A8397B1DCDAFULL);
  EXPECT_EQ(expected[3], 0xF88BB8A8724C81ECULL);
  RandomGen zero(&env, 0);
  EXPECT_EQ(zero.stateText(), hexState(expected, 0));
  EXPECT_EQ(zero.stateText().size(), RANDGEN_STATE_LENGTH);

  RandomGen gen(&env, 7);
  gen.next64();
  gen.seed(42);  // reseeding starts afresh, index back at 0
  Xorshift1024Star ref{splitMixOutputs(42, 16)};
  for (int i = 0; i < 40; ++i) ASSERT_EQ(gen.next64(), ref.next()) << "draw " << i;  // the index wraps
  EXPECT_EQ(gen.stateText(), hexState(ref.s, 8));
  EXPECT_EQ(gen.next32(), static_cast<uint32_t>(ref.next() >> 32));
}

TEST_F(RandomGenTest, AStateStringContinuesTheSequenceAndABadOneChangesNothing) {
  RandomGen gen(&env, 2024);
  for (int i = 0; i < 37; ++i) gen.next64();  // the index is now 5
  std::string saved = gen.stateText();
  EXPECT_EQ(saved.back(), '5');
  RandomGen lower(&env, 1), upper(&env, 2);
  lower.readState(saved + "trailing text is ignored");
  std::string shouted = saved;
  for (size_t i = RANDGEN_STATE_PREFIX.size(); i < shouted.size(); ++i)
    shouted[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(shouted[i])));
  upper.readState(std::string(16, '#') + shouted.substr(16));  // the prefix is skipped unread
  for (int i = 0; i < 100; ++i) {
    uint64_t x = gen.next64();
    ASSERT_EQ(lower.next64(), x);
    ASSERT_EQ(upper.next64(), x);
  }

  RandomGen kept(&env, 5), twin(&env, 5);
  const ErrorRecord& shortOne = refusal([&] { kept.readState(saved.substr(0, 272)); });
  EXPECT_EQ(shortOne.number, -err::RandStateTooShort.number);
  EXPECT_EQ(shortOne.message,
            "string containing random-generator-state is too short (272 characters instead of 273 characters)");
  for (size_t at : {size_t{16}, size_t{200}, size_t{272}}) {  // the first word, a later one, the index
    std::string bad = saved;
    bad[at] = 'g';
    const ErrorRecord& notHex = refusal([&] { kept.readState(bad); });
    EXPECT_EQ(notHex.number, -err::RandStateNotHex.number);
    if (at == 16) {
      EXPECT_EQ(notHex.message, "string containing random-generator-state has a character that is not a hex "
                                "digit (the 17th character is 'g')");
    }
  }
  for (int i = 0; i < 20; ++i) ASSERT_EQ(kept.next64(), twin.next64());
}

TEST_F(RandomGenTest, SeedTextsAreDigitsOnlyAtMost18AndNotNegative) {
  EXPECT_EQ(parseSeed(&env, "0"), 0u);
  EXPECT_EQ(parseSeed(&env, "-0"), 0u);
  EXPECT_EQ(parseSeed(&env, "000123"), 123u);
  EXPECT_EQ(parseSeed(&env, "999999999999999999"), 999999999999999999ULL);
  for (const char* text : {"1234567890123456789", "", "-", "12a", " 7", "7 ", "0x10", "1.5"}) {
    const ErrorRecord& r = refusal([&] { parseSeed(&env, text); });
    EXPECT_EQ(r.number, -err::SeedNotInteger.number) << text;
    EXPECT_EQ(r.message, "'seed' should be an integer with no more than 18 digits") << text;
  }
  const ErrorRecord& negative = refusal([&] { parseSeed(&env, "-999999999999999999"); });
  EXPECT_EQ(negative.number, -err::SeedNegative.number);
  EXPECT_EQ(negative.message, "value of 'seed' must not be negative, but it is -999999999999999999");
}

TEST_F(RandomGenTest, UniformAndBelowStayInRangeAndAreRoughlyUniform) {
  RandomGen gen(&env, 99);
  // Chi-square over 10 cells: 9 degrees of freedom, 40 is far past the 0.99999 quantile (~36).
  const int cells = 10, draws = 100000;
  std::vector<int> byUniform(cells), byBelow(cells);
  for (int i = 0; i < draws; ++i) {
    double u = gen.uniform();
    ASSERT_GE(u, 0.0);
    ASSERT_LT(u, 1.0);
    ++byUniform[static_cast<size_t>(u * cells)];
    uint32_t b = gen.below(cells);
    ASSERT_LT(b, static_cast<uint32_t>(cells));
    ++byBelow[b];
    ASSERT_EQ(gen.below(1), 0u);
    ASSERT_LT(gen.below(0xFFFFFFFFu), 0xFFFFFFFFu);
  }
  for (const std::vector<int>& count : {byUniform, byBelow}) {
    double chi = 0, expect = double(draws) / cells;
    for (int c : count) chi += (c - expect) * (c - expect) / expect;
    EXPECT_LT(chi, 40.0);
  }
}

TEST_F(RandomGenTest, NormalHasMeanZeroUnitVarianceAndNormalTails) {
  RandomGen gen(&env, 31337);
  const int n = 200000;
  double sum = 0, sumSq = 0;
  int tails = 0;
  for (int i = 0; i < n; ++i) {
    double x = gen.normal();
    ASSERT_TRUE(std::isfinite(x));
    sum += x;
    sumSq += x * x;
    tails += std::fabs(x) > 1.959964;
  }
  double mean = sum / n, variance = sumSq / n - mean * mean;
  EXPECT_NEAR(mean, 0.0, 0.012);      // about five standard errors
  EXPECT_NEAR(variance, 1.0, 0.016);  // likewise
  EXPECT_NEAR(double(tails) / n, 0.05, 0.0025);
}

TEST_F(RandomGenTest, ClockSeedsCarryTheTimeAndACounterUnlessRunsAreReproducible) {
  RandomGen gen(&env, 0);
  bool before = RandomGen::setReproducible(true);
  gen.seed(NO_SEED);
  RandomGen byCount(&env, RandomGen::reseedCount());
  EXPECT_EQ(gen.next64(), byCount.next64());
  std::string first = gen.stateText();
  gen.seed(NO_SEED);
  EXPECT_NE(gen.stateText(), first);  // the counter moved on

  RandomGen::setReproducible(false);
  uint64_t t0 = static_cast<uint32_t>(std::time(nullptr));
  gen.seed(NO_SEED);
  uint64_t t1 = static_cast<uint32_t>(std::time(nullptr)), count = RandomGen::reseedCount();
  uint64_t x = gen.next64();
  bool matched = false;
  for (uint64_t t = t0; t <= t1; ++t) matched |= RandomGen(&env, (t << 32) + count).next64() == x;
  EXPECT_TRUE(matched);
  RandomGen::setReproducible(before);
}

TEST_F(RandomGenTest, AReleasedGeneratorIsTaggedDeletedAndDrawingFromItIsAnInternalFault) {
  RandomGen gen(&env, 1);
  gen.release();
  EXPECT_EQ(gen.tag, DELETED_TYPE);
  EXPECT_FALSE(gen.hasState());
  const ErrorRecord& r = refusal([&] { gen.uniform(); });
  EXPECT_EQ(r.severity, INTERNAL_SEV);
  EXPECT_NE(r.message.find("(gen)."), std::string::npos) << r.message;
  refusal([&] { gen.stateText(); });
  gen.seed(4);  // seeding gives it a state again
  EXPECT_EQ(gen.next64(), RandomGen(&env, 4).next64());
}

TEST_F(RandomGenTest, OnlyTheDefaultGeneratorWaitsForTheEnvironmentLock) {
  RandomGen own(&env, 0);
  std::unique_lock<std::recursive_mutex> held(env.lock);
  auto ownDraw = std::async(std::launch::async, [&] { return own.next64(); });
  ASSERT_EQ(ownDraw.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  auto defaultDraw = std::async(std::launch::async, [&] { return env.randgen.next64(); });
  EXPECT_EQ(defaultDraw.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  held.unlock();
  EXPECT_EQ(defaultDraw.get(), ownDraw.get());  // both the first draw of seed 0
}

}  // namespace
