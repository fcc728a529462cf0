// The API frame: handle checks at each checking level, failure values, nested calls and
// callbacks, and the call-frame name that every call must leave as it found it.
#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <string>

#include "Basic/CallFrame.h"
#include "Support/EnvFixture.h"
#include "Quorva/Handles.h"

using namespace quorva;

namespace {

class ApiFrameTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    net = NewNet_bn("Frame", env);
    node = NewNode_bn("A", 2, net);
    ASSERT_TRUE(net && node);
  }
  void TearDown() override {
    CallFrame::name().clear();  // never leave a simulated frame behind for the next test
    EnvTest::TearDown();
  }

  // Checks that the call failed with `number` and `text`, raised by the frame.
  void expectRefusal(int number, const char* text) {
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(ErrorNumber_vq(r), number);
    EXPECT_STREQ(ErrorMessage_vq(r), text);
    EXPECT_TRUE(ErrorCategory_vq(FROM_WRAPPER_CND, r));
    ClearErrors_vq(env, INTERNAL_ERR);
  }

  net_bn* net = nullptr;
  node_bn* node = nullptr;
};

// Null handles are refused with 5105, handles of another type with 5144, deleted ones with 5184.
TEST_F(ApiFrameTest, NullForeignAndDeletedHandlesAreRefused) {
  EXPECT_EQ(GetNodeName_bn(nullptr), nullptr);
  expectRefusal(5105, "NULL passed for >-Bnode");
  EXPECT_EQ(GetNetName_bn(nullptr), nullptr);
  expectRefusal(5105, "NULL passed for >-Bnet");
  EXPECT_EQ(GetNodeNumberStates_bn(reinterpret_cast<node_bn*>(net)), -1);
  expectRefusal(5144, "passed object is not a >-Bnode (it is damaged, or of another type)");
  EXPECT_EQ(GetNetName_bn(reinterpret_cast<net_bn*>(node)), nullptr);
  expectRefusal(5144, "passed object is not a >-Bnet (it is damaged, or of another type)");
  DeleteNode_bn(node);
  ASSERT_EQ(lastError(), nullptr);
  EXPECT_EQ(GetNodeName_bn(node), nullptr);
  expectRefusal(5184, "deleted >-Bnode passed");
  DeleteNet_bn(net);
  EXPECT_EQ(GetNetName_bn(net), nullptr);
  expectRefusal(5184, "deleted or damaged >-Bnet passed");
}

TEST_F(ApiFrameTest, FailingCallsReturnTheirFailureValueAndClearTheFrameName) {
  std::vector<std::pair<const char*, std::function<bool()>>> calls = {
      {"GetNodeNumberStates_bn", [] { return GetNodeNumberStates_bn(nullptr) == -1; }},
      {"GetNodeKind_bn", [] { return GetNodeKind_bn(nullptr) == 0; }},
      {"LengthNodeList_bn", [] { return LengthNodeList_bn(nullptr) == -1; }},
      {"ErrorSeverity_vq", [] { return ErrorSeverity_vq(nullptr) == NOTHING_ERR; }},
      {"TestFaultRecovery_vq", [this] { return TestFaultRecovery_vq(env, 1) == -1; }},
  };
  for (auto& [name, call] : calls) {
    EXPECT_TRUE(call()) << name;
    EXPECT_TRUE(CallFrame::name().empty()) << name << " left " << CallFrame::name();
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr) << name;
    EXPECT_EQ(asReport(r)->function, name);
    ClearErrors_vq(env, INTERNAL_ERR);
  }
}

TEST_F(ApiFrameTest, NoCheckLevelSkipsHandleChecksButStillStopsANull) {
  ASSERT_EQ(ArgumentChecking_vq(NO_CHECK, env), REGULAR_CHECK);
  EXPECT_EQ(GetNodeName_bn(nullptr), nullptr);
  EXPECT_TRUE(CallFrame::name().empty());
  report_vq* r = lastError();
  ASSERT_NE(r, nullptr);
  EXPECT_NE(ErrorNumber_vq(r), 5105);
  EXPECT_EQ(ErrorSeverity_vq(r), INTERNAL_ERR);
  EXPECT_TRUE(std::regex_match(ErrorMessage_vq(r), std::regex(R"([A-Za-z]+-[0-9]+ \(.+\)\.)")))
      << ErrorMessage_vq(r);
  ClearErrors_vq(env, INTERNAL_ERR);

  DeleteNode_bn(node);  // the shell is still there to read, unchecked
  GetNodeName_bn(node);
  EXPECT_EQ(lastError(), nullptr);
}

TEST_F(ApiFrameTest, NestedCallIsRefusedNamingBothFunctions) {
  CallFrame::name() = "NewNode_bn";
  EXPECT_EQ(GetNodeNumberStates_bn(node), -1);
  EXPECT_EQ(CallFrame::name(), "NewNode_bn");  // the outer call is still running
  CallFrame::name().clear();
  expectRefusal(5114,
                "Thread is calling a >-Quorva API function >-GetNodeNumberStates_bn before the "
                "previous one >-NewNode_bn is finished.");
  EXPECT_EQ(GetNodeNumberStates_bn(node), 2);
}

TEST_F(ApiFrameTest, CallbackMayCallTheApiAndItsErrorsNameBothFunctions) {
  CallFrame::name() = "NewNode_bn";
  {
    CallbackScope callback;
    EXPECT_EQ(GetNodeNumberStates_bn(node), 2);
    EXPECT_EQ(TestFaultRecovery_vq(env, 3), -1);
    EXPECT_EQ(CallFrame::name(), "Callback of NewNode_bn:");
  }
  EXPECT_EQ(CallFrame::name(), "NewNode_bn");
  CallFrame::name().clear();
  report_vq* r = lastError();
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(ErrorNumber_vq(r), 5197);
  EXPECT_EQ(asReport(r)->function, "Callback of NewNode_bn: TestFaultRecovery_vq");
}

TEST_F(ApiFrameTest, NullHandleIsRecordedInTheOpenEnvironmentAfterAnotherCloses) {
  environ_vq* other = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  ASSERT_GE(InitQuorva2_bn(other, nullptr), 0);
  ASSERT_EQ(CloseQuorva_bn(other, nullptr), 0);

  testing::internal::CaptureStderr();
  EXPECT_EQ(GetNodeName_bn(nullptr), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  expectRefusal(5105, "NULL passed for >-Bnode");
}

}  // namespace
