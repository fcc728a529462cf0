// The per-thread limits on live error records, the shared records handed out in their place,
// and the raising routine's cut of long messages and its fallback to standard error.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

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
  std::vector<const ErrorRecord*> mine() {
    std::vector<const ErrorRecord*> out;
    for (auto* r = env.errors.next(self, NULL_SEV, nullptr); r; r = env.errors.next(self, NULL_SEV, r))
      out.push_back(r);
    return out;
  }

  EnvCore env;
  std::thread::id self = std::this_thread::get_id();
};

TEST_F(ErrorLogTest, EachSeverityIsRefusedAtItsShareOfTheLimit) {
  // Adds records of `severity` until one is refused; returns the refused one.
  auto fill = [&](int severity) {
    for (int i = 0; i < 20; ++i) {
      ErrorRecord* r = add(severity);
      if (env.errors.isShared(r)) return r;
    }
    return static_cast<ErrorRecord*>(nullptr);
  };
  ErrorRecord* notice = fill(NOTICE_SEV);
  ASSERT_NE(notice, nullptr);
  EXPECT_EQ(env.errors.liveCount(self), 4);
  EXPECT_EQ(notice->message, "Just some unspecified notice");
  EXPECT_EQ(add(REPORT_SEV), notice);

  ErrorRecord* warning = fill(WARNING_SEV);  // a refused notice does not stop warnings
  ASSERT_NE(warning, nullptr);
  EXPECT_EQ(env.errors.liveCount(self), 6);
  EXPECT_EQ(warning->message, "General warning");
  EXPECT_EQ(warning->severity, WARNING_SEV);

  ErrorRecord* error = fill(ERROR_SEV);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(env.errors.liveCount(self), 8);
  EXPECT_EQ(error->severity, ERROR_SEV);
  EXPECT_EQ(mine().size(), 8u);
  EXPECT_EQ(add(NOTICE_SEV), notice);
}

TEST_F(ErrorLogTest, FilteredRecordsAreCountedInOneNoticeOnceThereIsRoom) {
  for (int i = 0; i < 4; ++i) add(NOTICE_SEV);
  for (int i = 0; i < 3; ++i) add(NOTICE_SEV);
  EXPECT_EQ(env.errors.refusedCount(self), 3);

  env.errors.clear(NOTICE_SEV, false, self);
  ASSERT_EQ(env.errors.liveCount(self), 0);
  add(WARNING_SEV, "first after");
  add(WARNING_SEV, "second after");

  auto records = mine();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0]->severity, NOTICE_SEV);
  EXPECT_EQ(records[0]->message,
            "There were 3 times a message could have been displayed (notice, warning or error), "
            "but they were filtered for expediency");
  EXPECT_EQ(records[1]->message, "first after");
  EXPECT_EQ(records[2]->message, "second after");
  EXPECT_EQ(env.errors.refusedCount(self), 0);
}

TEST_F(ErrorLogTest, ClearingRemovesOnlyUpToTheSeverityAndMakesRoom) {
  for (int i = 0; i < 3; ++i) add(ERROR_SEV);
  for (int i = 0; i < 3; ++i) add(WARNING_SEV);
  EXPECT_TRUE(env.errors.isShared(add(WARNING_SEV)));

  env.errors.clear(WARNING_SEV, false, self);
  auto records = mine();
  ASSERT_EQ(records.size(), 3u);
  for (const ErrorRecord* r : records) EXPECT_EQ(r->severity, ERROR_SEV);
  EXPECT_FALSE(env.errors.isShared(add(WARNING_SEV)));
}

TEST_F(ErrorLogTest, OtherThreadsRecordsDoNotCountAgainstThisThread) {
  for (int i = 0; i < 8; ++i) add(ERROR_SEV);
  ASSERT_TRUE(env.errors.isShared(add(ERROR_SEV)));

  ErrorRecord* theirs = nullptr;
  std::thread::id other;
  std::thread t([&] {
    other = std::this_thread::get_id();
    theirs = add(ERROR_SEV, "from the other thread");
  });
  t.join();
  ASSERT_FALSE(env.errors.isShared(theirs));
  EXPECT_EQ(env.errors.liveCount(other), 1);
  EXPECT_EQ(env.errors.next(other, NULL_SEV, nullptr), theirs);
  for (const ErrorRecord* r : mine()) EXPECT_NE(r, theirs);
  EXPECT_TRUE(env.errors.isShared(add(ERROR_SEV)));  // this thread is still full

  env.errors.clear(MAX_SEVERITY, true, self);
  EXPECT_EQ(env.errors.liveCount(other), 0);
  EXPECT_TRUE(mine().empty());
}

TEST_F(ErrorLogTest, RaisedMessagesAreCutAt511Bytes) {
  std::string text(2000, 'm');
  ErrorRecord* r = raiseRecord(&env, NOT_DISPLAYED, ERROR_SEV, 0, -7, text);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->message, text.substr(0, 511));
  EXPECT_EQ(r->number, -7);
  EXPECT_EQ(r->thread, self);
}

TEST_F(ErrorLogTest, WithoutUsableEnvironmentTheMessageGoesToStandardError) {
  EnvCore closed;  // never initialised
  testing::internal::CaptureStderr();
  ErrorRecord* r = raiseRecord(&closed, DIALOG, ERROR_SEV, 0, -4321, "a >-Bnode went >-Quorva-'s way");
  std::string out = testing::internal::GetCapturedStderr();
  EXPECT_EQ(r, nullptr);
  EXPECT_NE(out.find("Error 4321"), std::string::npos) << out;
  EXPECT_NE(out.find("a Bnode went Quorva's way"), std::string::npos) << out;
  EXPECT_EQ(closed.errors.liveCount(self), 0);
}

TEST_F(ErrorLogTest, FailedInternalCheckThrowsAnInternalErrorNamingFileAndLine) {
  int line = 0;
  try {
    line = __LINE__ + 1;
    QASSERT(&env, line < 0);
    FAIL() << "QASSERT did not throw";
  } catch (const QuorvaError& e) {
    ASSERT_NE(e.record, nullptr);
    EXPECT_EQ(e.record->severity, INTERNAL_SEV);
    EXPECT_EQ(e.record->message, "ErrorLogTest-" + std::to_string(line) + " (line < 0).");
  }
}

}  // namespace
