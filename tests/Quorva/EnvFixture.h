// A fixture for tests through the C API: an initialised environment, closed in TearDown.
#pragma once
#include <gtest/gtest.h>

#include "Quorva.h"

class EnvTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
    ASSERT_NE(env, nullptr);
    ASSERT_GE(InitQuorva2_bn(env, nullptr), 0);
  }

  void TearDown() override {
    if (env) {
      EXPECT_EQ(CloseQuorva_bn(env, nullptr), 0);
    }
    env = nullptr;
  }

  // The last live record of this thread of at least `sev`, or null when there is none.
  report_vq* lastError(errseverity_vq sev = ERROR_ERR) {
    report_vq* last = nullptr;
    for (report_vq* r = GetError_vq(env, sev, nullptr); r; r = GetError_vq(env, sev, r)) last = r;
    return last;
  }

  // How many live records of this thread have at least `sev`.
  int errorCount(errseverity_vq sev) {
    int n = 0;
    for (report_vq* r = GetError_vq(env, sev, nullptr); r; r = GetError_vq(env, sev, r)) ++n;
    return n;
  }

  environ_vq* env = nullptr;
};
