// Reading, making and clearing error records through the API.
#include <gtest/gtest.h>

#include <string>

#include "Support/EnvFixture.h"
#include "Quorva/Handles.h"

using namespace quorva;

namespace {

class ErrorApiTest : public EnvTest {};

TEST_F(ErrorApiTest, GetErrorWalksRecordsOfAtLeastTheSeverityInOrder) {
  report_vq* notice = NewError_vq(env, 11, NOTICE_ERR, "a notice");
  report_vq* error = NewError_vq(env, 12, ERROR_ERR, "an error");
  report_vq* warning = NewError_vq(env, 13, WARNING_ERR, "a warning");
  ASSERT_TRUE(notice && error && warning);

  EXPECT_EQ(GetError_vq(env, WARNING_ERR, nullptr), error);
  EXPECT_EQ(GetError_vq(env, WARNING_ERR, error), warning);
  EXPECT_EQ(GetError_vq(env, WARNING_ERR, warning), nullptr);
  EXPECT_EQ(GetError_vq(env, NOTHING_ERR, nullptr), notice);
  EXPECT_EQ(errorCount(NOTICE_ERR), 3);

  EXPECT_EQ(ErrorNumber_vq(warning), 13);
  EXPECT_EQ(asReport(warning)->number, -13);  // kept negated
  EXPECT_TRUE(ErrorCategory_vq(FROM_DEVELOPER_CND, warning));
  EXPECT_FALSE(ErrorCategory_vq(FROM_WRAPPER_CND, warning));
}

TEST_F(ErrorApiTest, MessageKeepsGlossaryMarksThatDisplayStripsAndIsCutAt511Bytes) {
  const char* text = "bad >-Bnode in >-Quorva-'s net>-cr-three >-node-s left";
  report_vq* r = NewError_vq(env, 5, ERROR_ERR, text);
  EXPECT_STREQ(ErrorMessage_vq(r), text);
  EXPECT_STREQ(ErrorDisplayMessage_vq(r), "bad Bnode in Quorva's net\nthree nodes left");

  std::string longText = std::string(400, 'a') + std::string(300, 'b');
  EXPECT_EQ(std::string(ErrorMessage_vq(NewError_vq(env, 9, NOTICE_ERR, longText.c_str()))),
            longText.substr(0, 511));
}

TEST_F(ErrorApiTest, ClearErrorsRemovesThisThreadsRecordsUpToTheSeverity) {
  NewError_vq(env, 1, NOTICE_ERR, "n");
  NewError_vq(env, 2, WARNING_ERR, "w");
  report_vq* kept = NewError_vq(env, 3, ERROR_ERR, "e");
  ClearErrors_vq(env, WARNING_ERR);
  EXPECT_EQ(GetError_vq(env, NOTHING_ERR, nullptr), kept);
  EXPECT_EQ(errorCount(NOTHING_ERR), 1);

  ClearError_vq(kept);
  EXPECT_EQ(errorCount(NOTHING_ERR), 0);
  NewError_vq(env, 4, INTERNAL_ERR, "i");
  ClearErrors_vq(env, INTERNAL_ERR | ALL_THREADS);
  EXPECT_EQ(errorCount(NOTHING_ERR), 0);
}

TEST_F(ErrorApiTest, ClearErrorsRefusesSeverityOutOfRange) {
  NewError_vq(env, 1, NOTICE_ERR, "stays");
  ClearErrors_vq(env, 7);
  EXPECT_STREQ(ErrorMessage_vq(lastError()),
               "argument 'severity' is 7, but should be between 0 and 6 inclusive");
  ClearErrors_vq(env, 7 | ALL_THREADS);
  EXPECT_STREQ(ErrorMessage_vq(lastError()),
               "argument 'severity' is 7 after removing 32 for ALL_THREADS, but should be between "
               "0 and 6 inclusive");
  EXPECT_EQ(errorCount(NOTICE_ERR), 3);  // nothing was cleared
}

TEST_F(ErrorApiTest, NewErrorRefusesNumberOrSeverityOutOfRange) {
  EXPECT_NE(NewError_vq(env, 1, NOTHING_ERR, "lowest"), nullptr);
  EXPECT_NE(NewError_vq(env, 999, INTERNAL_ERR, "highest"), nullptr);
  EXPECT_EQ(NewError_vq(env, 0, ERROR_ERR, "x"), nullptr);
  EXPECT_EQ(NewError_vq(env, 1000, ERROR_ERR, "x"), nullptr);
  EXPECT_STREQ(ErrorMessage_vq(lastError()),
               "argument 'number' is 1000, but it should be between 1 and 999 inclusive");
  EXPECT_EQ(NewError_vq(env, 5, static_cast<errseverity_vq>(7), "x"), nullptr);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 5173);
  EXPECT_EQ(NewError_vq(env, 5, ERROR_ERR, nullptr), nullptr);
  // The two accepted ones, then a refusal record for each refused call.
  EXPECT_EQ(errorCount(NOTHING_ERR), 6);
}

TEST_F(ErrorApiTest, NoticesPastHalfTheDefaultLimitGetTheSharedNotice) {
  for (int i = 0; i < 50; ++i) ASSERT_NE(NewError_vq(env, 100, NOTICE_ERR, "filler"), nullptr);
  report_vq* shared = NewError_vq(env, 101, NOTICE_ERR, "one too many");
  ASSERT_NE(shared, nullptr);
  EXPECT_STREQ(ErrorMessage_vq(shared), "Just some unspecified notice");
  EXPECT_EQ(errorCount(NOTHING_ERR), 50);
  ClearError_vq(shared);  // shared records outlive a clear
  EXPECT_STREQ(ErrorMessage_vq(shared), "Just some unspecified notice");
  report_vq* warning = NewError_vq(env, 102, WARNING_ERR, "a warning still fits");
  EXPECT_STREQ(ErrorMessage_vq(warning), "a warning still fits");
}

}  // namespace
