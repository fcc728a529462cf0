// The per-thread limits on live error records and the shared records handed out in their place.
#include <gtest/gtest.h>

#include <thread>

#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

using namespace quorva;

namespace {

class ErrorLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env.state = ENV_USABLE_STATE;
    env.errors.maxPerThread = 8;  // errors stop at 8 live, warnings at 6, the rest at 4
  }
  ErrorRecord* add(int severity, const char* text = "record") {
    return env.errors.add(-1, severity, NOT_DISPLAYED, 0, text, "Test");
  }
  // Adds records of `severity` until one is refused; returns the refused one.
  ErrorRecord* fill(int severity) {
    for (int i = 0; i < 20; ++i)
      if (ErrorRecord* r = add(severity); env.errors.isShared(r)) return r;
    return nullptr;
  }
  const ErrorRecord* nth(int n) {
    const ErrorRecord* r = env.errors.next(self, NULL_SEV, nullptr);
    while (r && n-- > 0) r = env.errors.next(self, NULL_SEV, r);
    return r;
  }

  EnvCore env;
  std::thread::id self = std::this_thread::get_id();
};

TEST_F(ErrorLogTest, EachSeverityIsRefusedAtItsShareOfTheLimit) {
  ErrorRecord* notice = fill(NOTICE_SEV);
  ASSERT_NE(notice, nullptr);
  EXPECT_EQ(env.errors.liveCount(self), 4);
  EXPECT_EQ(notice->message, "Just some unspecified notice");
  EXPECT_EQ(add(REPORT_SEV), notice);

  ErrorRecord* warning = fill(WARNING_SEV);  // refused notices do not stop warnings
  ASSERT_NE(warning, nullptr);
  EXPECT_EQ(env.errors.liveCount(self), 6);
  EXPECT_EQ(warning->message, "General warning");

  ErrorRecord* error = fill(ERROR_SEV);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(env.errors.liveCount(self), 8);
  EXPECT_EQ(error->severity, ERROR_SEV);
  EXPECT_EQ(nth(7)->severity, ERROR_SEV);
  EXPECT_EQ(nth(8), nullptr);
}

TEST_F(ErrorLogTest, FilteredRecordsAreCountedInOneNoticeOnceThereIsRoom) {
  for (int i = 0; i < 7; ++i) add(NOTICE_SEV);  // 4 kept, 3 refused
  env.errors.clear(NOTICE_SEV, false, self);
  add(WARNING_SEV, "first after");
  add(WARNING_SEV, "second after");

  EXPECT_EQ(nth(0)->severity, NOTICE_SEV);
  EXPECT_EQ(nth(0)->message,
            "There were 3 times a message could have been displayed (notice, warning or error), "
            "but they were filtered for expediency");
  EXPECT_EQ(nth(1)->message, "first after");
  EXPECT_EQ(nth(2)->message, "second after");
  EXPECT_EQ(nth(3), nullptr);
}

TEST_F(ErrorLogTest, OtherThreadsRecordsDoNotCountAgainstThisThread) {
  ASSERT_NE(fill(ERROR_SEV), nullptr);
  ErrorRecord* theirs = nullptr;
  std::thread::id other;
  std::thread t([&] {
    other = std::this_thread::get_id();
    theirs = add(ERROR_SEV, "from the other thread");
  });
  t.join();
  EXPECT_FALSE(env.errors.isShared(theirs));
  EXPECT_EQ(env.errors.next(other, NULL_SEV, nullptr), theirs);
  EXPECT_TRUE(env.errors.isShared(add(ERROR_SEV)));  // this thread is still full

  env.errors.clear(MAX_SEVERITY, true, self);
  EXPECT_EQ(env.errors.liveCount(other), 0);
  EXPECT_EQ(env.errors.liveCount(self), 0);
}

TEST_F(ErrorLogTest, FailedInternalCheckThrowsAnInternalErrorNamingFileAndLine) {
  int line = __LINE__ + 2;
  try {
    QASSERT(&env, line < 0);
    FAIL() << "QASSERT did not throw";
  } catch (const QuorvaError& e) {
    ASSERT_NE(e.record, nullptr);
    EXPECT_EQ(e.record->severity, INTERNAL_SEV);
    EXPECT_EQ(e.record->message, "ErrorLogTest-" + std::to_string(line) + " (line < 0).");
  }
}

}  // namespace
