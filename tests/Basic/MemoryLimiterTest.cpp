// The memory limiter: the limit on total usage, injected failures, and its standard allocator.
#include <gtest/gtest.h>

#include <vector>

#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

using namespace quorva;

namespace {

class MemoryLimiterTest : public ::testing::Test {
 protected:
  void SetUp() override { env.state = ENV_USABLE_STATE; }

  // The record raised by `f`, which must throw.
  template <class F>
  const ErrorRecord* raisedBy(F f) {
    try {
      f();
    } catch (const QuorvaError& e) {
      return e.record;
    }
    ADD_FAILURE() << "no error was raised";
    return nullptr;
  }

  EnvCore env;
  MemoryLimiter& mem = env.memory;
};

TEST_F(MemoryLimiterTest, LargeRequestPastTheLimitFailsWith3364AndLeavesUsageAlone) {
  mem.setLimit(100000);
  void* a = mem.allocate(60000, "for a table");
  const ErrorRecord* r = raisedBy([&] { mem.allocate(40001, "for another table"); });
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->number, -3364);
  EXPECT_TRUE(r->categories & OUT_OF_MEMORY_CAT);
  EXPECT_EQ(r->message,
            ">-Quorva-'s memory usage has reached the limit placed on it: request for 39.1 KB failing");
  EXPECT_EQ(mem.used(), 60000);

  void* b = mem.allocate(40000, "fits exactly");
  void* small = mem.allocate(19999, "small requests are never refused for the limit");
  mem.release(a, 60000);
  mem.release(b, 40000);
  mem.release(small, 19999);
  EXPECT_EQ(mem.used(), 0);
}

TEST_F(MemoryLimiterTest, InjectedFailureHitsOnlyTheNthAllocation) {
  mem.failAllocationAfter(3);
  void* a = mem.allocate(16, "first");
  void* b = mem.allocate(16, "second");
  const ErrorRecord* r = raisedBy([&] { mem.allocate(2048, "for the third table"); });
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->number, -2183);
  EXPECT_TRUE(r->categories & OUT_OF_MEMORY_CAT);
  EXPECT_EQ(r->message, "not enough memory for the third table \n(2.0 KB needed)");
  EXPECT_EQ(mem.used(), 32);

  void* c = mem.allocate(16, "fourth");  // the failure was a one-off
  for (void* p : {a, b, c}) mem.release(p, 16);
  EXPECT_EQ(mem.used(), 0);
}

TEST_F(MemoryLimiterTest, VectorThroughLimitedAllocatorIsCountedAndLimited) {
  {
    std::vector<double, LimitedAllocator<double>> v(LimitedAllocator<double>(&mem, "for a vector"));
    v.resize(100, 1.5);
    EXPECT_GE(mem.used(), 100 * sizeof(double));

    mem.setLimit(mem.used() + 10 * sizeof(double));
    const ErrorRecord* r = raisedBy([&] { v.resize(5000); });
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->number, -3364);
    EXPECT_EQ(v.size(), 100u);  // the failed growth left the vector as it was
    EXPECT_EQ(v[99], 1.5);
  }
  EXPECT_EQ(mem.used(), 0);
}

}  // namespace
