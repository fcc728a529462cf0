// A fixture for tests through the C API: an initialised environment, closed in TearDown.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Quorva.h"

// A file of tests/data.
inline std::string dataPath(const std::string& file) {
  const char* dir = std::getenv("QUORVA_TEST_DATA");
  return std::string(dir ? dir : "tests/data") + "/" + file;
}

// The bytes a memory stream holds.
inline std::string streamText(stream_vq* s) {
  long long length = 0;
  const char* bytes = GetStreamContents_vq(s, &length);
  return bytes ? std::string(bytes, static_cast<size_t>(length)) : std::string();
}

// A net written to a memory stream named `name`, as text.
inline std::string netText(const net_bn* net, environ_vq* env, const char* name = nullptr) {
  stream_vq* s = NewMemoryStream_vq(name, env, nullptr);
  WriteNet_bn(net, s);
  std::string text = streamText(s);
  DeleteStream_vq(s);
  return text;
}

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

  // The message of lastError(sev) ("" when there is none).
  std::string lastMessage(errseverity_vq sev = ERROR_ERR) {
    report_vq* r = lastError(sev);
    return r ? ErrorMessage_vq(r) : "";
  }

  // How many live records of this thread have at least `sev`.
  int errorCount(errseverity_vq sev) {
    int n = 0;
    for (report_vq* r = GetError_vq(env, sev, nullptr); r; r = GetError_vq(env, sev, r)) ++n;
    return n;
  }

  environ_vq* env = nullptr;
};
