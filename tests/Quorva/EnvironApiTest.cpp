// The environment's API: its lifecycle, version, checking level, memory limit, language,
// concurrency settings and the deliberate test fault.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "Basic/CallFrame.h"
#include "Basic/Raise.h"
#include "Support/EnvFixture.h"
#include "Quorva/Handles.h"

using namespace quorva;

namespace {

const char* const CLOSED_TEXT = "memory system (or environment) is uninitialized or has been closed";

bool contains(const char* text, const std::string& part) {
  return text && std::string(text).find(part) != std::string::npos;
}

TEST(EnvironLifecycleTest, UsableOnlyBetweenInitialiseAndClose) {
  environ_vq* e = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  ASSERT_NE(e, nullptr);
  EXPECT_LT(asEnv(e)->state, ENV_USABLE_STATE);
  testing::internal::CaptureStderr();
  EXPECT_EQ(GetQuorvaVersion_bn(e, nullptr), -1);
  EXPECT_TRUE(contains(testing::internal::GetCapturedStderr().c_str(), CLOSED_TEXT));

  char mesg[MESG_LEN_vq] = "";
  ASSERT_GE(InitQuorva2_bn(e, mesg), 0);
  EXPECT_GE(asEnv(e)->state, ENV_USABLE_STATE);
  EXPECT_TRUE(contains(mesg, "1.00"));
  net_bn* net = NewNet_bn("Kept", e);
  ASSERT_NE(net, nullptr);

  ASSERT_EQ(CloseQuorva_bn(e, mesg), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(GetQuorvaVersion_bn(e, nullptr), -1);
  EXPECT_EQ(ArgumentChecking_vq(QUERY_CHECK, e), -1);
  EXPECT_EQ(GetNetName_bn(net), nullptr);  // its nets went with it
  EXPECT_EQ(CloseQuorva_bn(e, nullptr), -1);
  std::string err = testing::internal::GetCapturedStderr();
  size_t refusals = 0;
  for (size_t at = 0; (at = err.find(CLOSED_TEXT, at)) != std::string::npos; ++at) ++refusals;
  EXPECT_EQ(refusals, 4u) << err;
  EXPECT_TRUE(CallFrame::name().empty());
}

class EnvironApiTest : public EnvTest {};

TEST_F(EnvironApiTest, ArgumentCheckingReturnsThePreviousLevel) {
  EXPECT_EQ(ArgumentChecking_vq(QUERY_CHECK, env), REGULAR_CHECK);
  EXPECT_EQ(ArgumentChecking_vq(NO_CHECK, env), REGULAR_CHECK);
  EXPECT_EQ(ArgumentChecking_vq(-7, env), NO_CHECK);
  EXPECT_EQ(ArgumentChecking_vq(COMPLETE_CHECK, env), NO_CHECK);

  EXPECT_EQ(ArgumentChecking_vq(5, env), -1);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5176);
  EXPECT_EQ(ArgumentChecking_vq(0, env), -1);
  EXPECT_EQ(errorCount(ERROR_ERR), 2);
  EXPECT_EQ(ArgumentChecking_vq(QUERY_CHECK, env), COMPLETE_CHECK);
}

TEST_F(EnvironApiTest, MemoryLimitIsReturnedAndHonoured) {
  double initial = LimitMemoryUsage_vq(-1, env);
  EXPECT_EQ(LimitMemoryUsage_vq(4096, env), initial);
  EXPECT_EQ(LimitMemoryUsage_vq(-1, env), 4096);

  EXPECT_THROW(asEnv(env)->memory.allocate(25000, "for a test table"), QuorvaError);
  report_vq* r = lastError();
  EXPECT_EQ(ErrorNumber_vq(r), 3364);
  EXPECT_TRUE(ErrorCategory_vq(OUT_OF_MEMORY_CND, r));
  EXPECT_FALSE(ErrorCategory_vq(FROM_DEVELOPER_CND, r));
  EXPECT_EQ(asEnv(env)->memory.used(), 0);
}

TEST_F(EnvironApiTest, JavaLanguageQuotesFunctionsByObjectName) {
  EXPECT_STREQ(SetLanguage_vq(env, "Java"), "C");
  EXPECT_STREQ(SetLanguage_vq(env, "?"), "Java");
  EXPECT_STREQ(SetLanguage_vq(env, nullptr), "Java");

  CallFrame::name() = "CloseQuorva_bn";
  EXPECT_EQ(GetQuorvaVersion_bn(env, nullptr), -1);
  CallFrame::name().clear();
  const char* text = ErrorMessage_vq(lastError());
  EXPECT_TRUE(contains(text, ">-Environ.getVersion/getVersionString before")) << text;
  EXPECT_TRUE(contains(text, ">-Environ.finalize is finished")) << text;
  EXPECT_FALSE(contains(text, "CloseQuorva_bn")) << text;

  EXPECT_EQ(SetLanguage_vq(env, "Cobol"), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5177);
  EXPECT_STREQ(SetLanguage_vq(env, "C"), "Java");
}

// Restores the process-wide concurrency settings when a test ends, however it ends.
struct ConcurrencyDefaults {
  explicit ConcurrencyDefaults(environ_vq* e) : env(e) {}
  ~ConcurrencyDefaults() {
    ControlConcurrency_vq(env, "ExternalThreads", "MultiThread");
    ControlConcurrency_vq(env, "InternalThreads", "MultiThread");
    ControlConcurrency_vq(env, "Serialize", "NormalBlocking");
  }
  environ_vq* env;
};

TEST_F(EnvironApiTest, ConcurrencyCommandsSetQueryAndRefuseUnknowns) {
  ConcurrencyDefaults restore(env);
  EXPECT_STREQ(ControlConcurrency_vq(env, "InternalThreads", "SingleThread"), "MultiThread");
  EXPECT_STREQ(ControlConcurrency_vq(env, "InternalThreads", nullptr), "SingleThread");
  for (const char* v : {"Sleep", "CallerAssuresSafety", "NormalBlocking"}) {
    EXPECT_NE(ControlConcurrency_vq(env, "Serialize", v), nullptr) << v;
    EXPECT_STREQ(ControlConcurrency_vq(env, "Serialize", "?"), v);
    EXPECT_EQ(GetQuorvaVersion_bn(env, nullptr), 100) << "calls still run under " << v;
  }
  EXPECT_STREQ(ControlConcurrency_vq(env, "ExternalThreads", "SingleThread"), "MultiThread");
  EXPECT_EQ(GetQuorvaVersion_bn(env, nullptr), 100);
  ASSERT_EQ(errorCount(NOTHING_ERR), 0);

  EXPECT_EQ(ControlConcurrency_vq(env, "Serialize", "SingleThread"), nullptr);
  EXPECT_STREQ(ErrorMessage_vq(lastError()),
               "unknown value 'SingleThread' for concurrency command 'Serialize'");
  EXPECT_STREQ(ControlConcurrency_vq(env, "Serialize", "?"), "NormalBlocking");
  std::string longName(120, 'x');  // quoted up to 80 characters
  EXPECT_EQ(ControlConcurrency_vq(env, longName.c_str(), "?"), nullptr);
  EXPECT_EQ(std::string(ErrorMessage_vq(lastError())),
            "unknown concurrency command '" + longName.substr(0, 80) + "'");
}

TEST_F(EnvironApiTest, TestFaultRecordsAnArgumentErrorWithItsNumber) {
  EXPECT_EQ(TestFaultRecovery_vq(env, 42), -1);
  report_vq* r = lastError();
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(ErrorNumber_vq(r), 5197);
  EXPECT_TRUE(ErrorCategory_vq(FROM_WRAPPER_CND, r));
  EXPECT_STREQ(ErrorMessage_vq(r),
               "this is test # 42, an API param error generated deliberately to check recovery");
}

}  // namespace
