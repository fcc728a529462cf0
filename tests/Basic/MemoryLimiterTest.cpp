// The memory limiter: the limit on total usage, injected failures, and its standard allocator.
#include <gtest/gtest.h>

#include <string>
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

TEST_F(MemoryLimiterTest, RequestPastTheLimitFailsWith3364AndLeavesUsageAlone) {
  mem.setLimit(1000);
  void* a = mem.allocate(600, "for a table");
  EXPECT_EQ(mem.used(), 600);

  const ErrorRecord* r = raisedBy([&] { mem.allocate(401, "for another table"); });
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->number, -3364);
  EXPECT_EQ(r->severity, ERROR_SEV);
  EXPECT_TRUE(r->categories & OUT_OF_MEMORY_CAT);
  EXPECT_EQ(r->message,
            ">-Quorva-'s memory usage has reached the limit placed on it: request for 401 bytes failing");
  EXPECT_EQ(mem.used(), 600);

  void* b = mem.allocate(400, "fits exactly");
  EXPECT_EQ(mem.used(), 1000);
  mem.release(a, 600);
  mem.release(b, 400);
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
  mem.release(a, 16);
  mem.release(b, 16);
  mem.release(c, 16);
  EXPECT_EQ(mem.used(), 0);
}

TEST_F(MemoryLimiterTest, VectorThroughLimitedAllocatorIsCountedAndLimited) {
  {
    using Vec = std::vector<double, LimitedAllocator<double>>;
    Vec v(LimitedAllocator<double>(&mem, "for a vector"));
    v.resize(100, 1.5);
    EXPECT_GE(mem.used(), 100 * sizeof(double));

    mem.setLimit(mem.used() + 10 * sizeof(double));
    const ErrorRecord* r = raisedBy([&] { v.resize(1000); });
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->number, -3364);
    EXPECT_EQ(v.size(), 100u);  // the failed growth left the vector as it was
    EXPECT_EQ(v[99], 1.5);
  }
  EXPECT_EQ(mem.used(), 0);
}

}  // namespace
