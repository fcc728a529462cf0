// Several threads calling into one environment: their calls are serialised, and each thread
// sees only its own error records.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "Support/EnvFixture.h"

namespace {

constexpr int NODES_PER_THREAD = 300;

std::string nodeName(const char* prefix, int i) { return prefix + std::to_string(i); }

class ThreadsTest : public EnvTest, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    ASSERT_NE(ControlConcurrency_vq(env, "Serialize", GetParam()), nullptr);
  }
  void TearDown() override {
    ControlConcurrency_vq(env, "Serialize", "NormalBlocking");
    EnvTest::TearDown();
  }
};

// A writer adds nodes to a shared net while two readers build their own nets and watch the
// shared one grow: counts only rise, and the last node counted can be found by name.
TEST_P(ThreadsTest, WritersAndReadersOfASharedNetAreSerialised) {
  net_bn* shared = NewNet_bn("Shared", env);
  ASSERT_NE(shared, nullptr);
  std::atomic<bool> writing{true};
  std::atomic<int> failures{0};
  std::latch start(3);

  std::thread writer([&] {
    start.arrive_and_wait();
    for (int i = 0; i < NODES_PER_THREAD; ++i)
      if (!NewNode_bn(nodeName("S", i).c_str(), 2, shared)) ++failures;
    if (GetError_vq(env, NOTICE_ERR, nullptr)) ++failures;
    writing = false;
  });

  std::vector<net_bn*> ownNets(2);
  std::vector<std::thread> readers;
  for (int t = 0; t < 2; ++t) {
    readers.emplace_back([&, t] {
      ownNets[t] = NewNet_bn(("Own" + std::to_string(t)).c_str(), env);
      start.arrive_and_wait();
      int last = 0;
      for (int i = 0; writing || i < NODES_PER_THREAD; ++i) {
        if (i < NODES_PER_THREAD && !NewNode_bn(nodeName("N", i).c_str(), 3, ownNets[t])) ++failures;
        int len = LengthNodeList_bn(GetNetNodes_bn(shared));
        if (len < last || len > NODES_PER_THREAD) ++failures;
        last = len;
        if (len > 0 && !GetNodeNamed_bn(nodeName("S", len - 1).c_str(), shared)) ++failures;
      }
      if (GetError_vq(env, NOTICE_ERR, nullptr)) ++failures;
    });
  }
  writer.join();
  for (std::thread& r : readers) r.join();

  EXPECT_EQ(failures, 0);
  EXPECT_EQ(LengthNodeList_bn(GetNetNodes_bn(shared)), NODES_PER_THREAD);
  for (int t = 0; t < 2; ++t) {
    ASSERT_NE(ownNets[t], nullptr);
    EXPECT_EQ(LengthNodeList_bn(GetNetNodes_bn(ownNets[t])), NODES_PER_THREAD);
    EXPECT_NE(GetNodeNamed_bn(nodeName("N", NODES_PER_THREAD - 1).c_str(), ownNets[t]), nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(Serialize, ThreadsTest, ::testing::Values("NormalBlocking", "Sleep"));

class ThreadErrorsTest : public EnvTest {};

TEST_F(ThreadErrorsTest, ErrorRecordsAreVisibleOnlyToTheirOwnThread) {
  std::barrier sync(2);
  std::vector<int> seen[2];  // per thread, its error records at each look; another's counts 100
  auto body = [&](int t) {
    std::string own = "this is test # " + std::to_string(100 + t) + ",";
    auto look = [&] {
      int n = 0;
      for (report_vq* r = GetError_vq(env, ERROR_ERR, nullptr); r; r = GetError_vq(env, ERROR_ERR, r))
        n += std::string(ErrorMessage_vq(r)).rfind(own, 0) == 0 ? 1 : 100;
      seen[t].push_back(n);
      sync.arrive_and_wait();
    };
    TestFaultRecovery_vq(env, 100 + t);
    sync.arrive_and_wait();
    look();
    if (t == 0) ClearErrors_vq(env, ERROR_ERR);  // its own records only
    sync.arrive_and_wait();
    look();
    if (t == 0) TestFaultRecovery_vq(env, 100);
    sync.arrive_and_wait();
    if (t == 1) ClearErrors_vq(env, ERROR_ERR | ALL_THREADS);
    sync.arrive_and_wait();
    look();
  };
  std::thread a(body, 0), b(body, 1);
  a.join();
  b.join();
  EXPECT_EQ(seen[0], (std::vector<int>{1, 0, 0}));
  EXPECT_EQ(seen[1], (std::vector<int>{1, 1, 0}));
}

}  // namespace
