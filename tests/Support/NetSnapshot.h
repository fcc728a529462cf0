// Helpers for tests through the C API: a printable picture of a net, and checks that a call was
// refused (or warned) with the right record and left the net exactly as it was.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "Support/EnvFixture.h"

// The names in a node list, comma-separated ("-" for an empty entry).
inline std::string listNames(const nodelist_bn* list) {
  std::string out;
  for (int i = 0; i < LengthNodeList_bn(list); ++i) {
    node_bn* n = GetNthNode_bn(list, i);
    out += std::string(i ? "," : "") + (n ? GetNodeName_bn(n) : "-");
  }
  return out;
}

// One line per node, in net order: name, kind, type, states (name/title), levels, parents with
// their input names, children.
inline std::string snapshot(const net_bn* net) {
  std::string out;
  const nodelist_bn* nodes = GetNetNodes_bn(net);
  for (int i = 0; i < LengthNodeList_bn(nodes); ++i) {
    node_bn* n = GetNthNode_bn(nodes, i);
    int states = GetNodeNumberStates_bn(n);
    out += std::string(GetNodeName_bn(n)) + " k" + std::to_string(GetNodeKind_bn(n)) + " t" +
           std::to_string(GetNodeType_bn(n)) + " [";
    for (int s = 0; s < states; ++s)
      out += std::string(s ? "," : "") + GetNodeStateName_bn(n, s) + "/" + GetNodeStateTitle_bn(n, s);
    out += "]";
    if (const level_bn* lv = GetNodeLevels_bn(n)) {
      int count = GetNodeType_bn(n) == DISCRETE_TYPE ? states : states + 1;
      for (int s = 0; s < count; ++s) out += " " + std::to_string(lv[s]);
    }
    const nodelist_bn* parents = GetNodeParents_bn(n);
    out += " <- " + listNames(parents) + " (";
    for (int p = 0; p < LengthNodeList_bn(parents); ++p)
      out += std::string(p ? "," : "") + GetNodeInputName_bn(n, p);
    out += ") -> " + listNames(GetNodeChildren_bn(n)) + "\n";
  }
  return out;
}

class NetTest : public EnvTest {
 protected:
  void clearErrors() { ClearErrors_vq(env, INTERNAL_ERR); }

  // `call` must leave exactly one error record, of `number` and `text`, and `net` unchanged.
  void expectRefused(const net_bn* net, const std::function<void()>& call, int number,
                     const std::string& text) {
    clearErrors();
    std::string before = snapshot(net);
    call();
    EXPECT_EQ(errorCount(ERROR_ERR), 1) << text;
    report_vq* r = lastError();
    ASSERT_NE(r, nullptr) << text;
    EXPECT_EQ(ErrorNumber_vq(r), number);
    EXPECT_EQ(ErrorSeverity_vq(r), ERROR_ERR);
    EXPECT_STREQ(ErrorMessage_vq(r), text.c_str());
    EXPECT_EQ(snapshot(net), before);
  }

  // The messages of the warnings (and only warnings) recorded since the last clearErrors().
  std::vector<std::string> warnings() {
    std::vector<std::string> out;
    for (report_vq* r = GetError_vq(env, WARNING_ERR, nullptr); r; r = GetError_vq(env, WARNING_ERR, r))
      if (ErrorSeverity_vq(r) == WARNING_ERR) out.push_back(ErrorMessage_vq(r));
    return out;
  }
};
