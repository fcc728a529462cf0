// A fixture for tests through the C API: an initialised environment, closed in TearDown.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <initializer_list>
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

// Sets a node's whole CPT: every row in order, the last parent fastest.
inline void setCpt(node_bn* node, std::initializer_list<double> entries) {
  SetNodeTable_bn(node, "cpt", nullptr, 0, entries.begin(), static_cast<int>(entries.size()));
}

// A node of `net` with `states` states, their names (comma-separated) when given, these parents
// in order, and its whole CPT when given.
inline node_bn* addNode(net_bn* net, const char* name, int states, const char* stateNames = nullptr,
                        std::initializer_list<node_bn*> parents = {}, std::initializer_list<double> cpt = {}) {
  node_bn* node = NewNode_bn(name, states, net);
  if (stateNames) SetNodeStateNames_bn(node, stateNames);
  for (node_bn* parent : parents) AddLink_bn(parent, node);
  if (cpt.size()) setCpt(node, cpt);
  return node;
}

// A new list of these nodes of `net`.
inline nodelist_bn* nodeList(net_bn* net, std::initializer_list<node_bn*> nodes) {
  nodelist_bn* list = NewNodeList2_bn(0, net);
  for (node_bn* n : nodes) AddNodeToList_bn(n, list, -1);
  return list;
}

// A memory stream named `name` holding a copy of `text`.
inline stream_vq* textStream(environ_vq* env, const std::string& text, const char* name) {
  stream_vq* s = NewMemoryStream_vq(name, env, nullptr);
  SetStreamContents_vq(s, text.data(), static_cast<long long>(text.size()), 1);
  return s;
}

// The net that ReadNet_bn reads from `text` in a memory stream named `name` (null when refused).
inline net_bn* netFromText(environ_vq* env, const std::string& text, const char* name = "t.dne",
                           int options = NO_VISUAL_INFO) {
  stream_vq* s = textStream(env, text, name);
  net_bn* net = ReadNet_bn(s, options);
  DeleteStream_vq(s);
  return net;
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
