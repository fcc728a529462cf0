// Helpers for node-table tests through the C API: a small net A(2), B(3) -> X(2), reading tables
// into vectors, and checks that a refused call left a node's tables as they were.
#pragma once
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "Support/NetSnapshot.h"

using Values = std::vector<double>;

// Distinct entries 0.001, 0.002, ... so that any misplaced entry shows.
inline Values distinct(size_t count, double step = 0.001) {
  Values v;
  for (size_t i = 0; i < count; ++i) v.push_back(static_cast<double>(i + 1) * step);
  return v;
}

inline bool isUndef(double v) { return v != v; }

// Entry by entry within a tolerance; a NaN in `want` asks for an undefined entry.
inline void expectValues(const Values& got, const Values& want, const std::string& what = "") {
  ASSERT_EQ(got.size(), want.size()) << what;
  for (size_t i = 0; i < want.size(); ++i) {
    if (isUndef(want[i])) EXPECT_TRUE(isUndef(got[i])) << what << " entry " << i << " is " << got[i];
    else EXPECT_NEAR(got[i], want[i], 1e-6) << what << " entry " << i;
  }
}

class TableTest : public NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    net = NewNet_bn("N", env);
    a = NewNode_bn("A", 2, net);
    b = NewNode_bn("B", 3, net);
    x = NewNode_bn("X", 2, net);
    ASSERT_EQ(AddLink_bn(a, x), 0);
    ASSERT_EQ(AddLink_bn(b, x), 1);
  }

  // A whole table (the engine's copy) or a sub-table (read into a caller's buffer); empty when the
  // read is refused.
  Values table(const node_bn* n, const char* which, const std::vector<state_bn>& ps = {}) {
    if (ps.empty()) {
      int size = 0;
      const double* got = GetNodeTable_bn(n, which, nullptr, 0, nullptr, &size);
      return got ? Values(got, got + size) : Values{};
    }
    Values buf(4096);
    int size = static_cast<int>(buf.size());
    const double* got = GetNodeTable_bn(n, which, ps.empty() ? nullptr : ps.data(), static_cast<int>(ps.size()),
                                        buf.data(), &size);
    if (!got) return {};
    EXPECT_EQ(got, buf.data());
    buf.resize(static_cast<size_t>(size));
    return buf;
  }

  void setTable(node_bn* n, const char* which, const Values& v) {
    SetNodeTable_bn(n, which, nullptr, 0, v.data(), static_cast<int>(v.size()));
  }

  // Every table of a node as text ("u" for undefined), with whether its CPT exists.
  std::string tablesOf(const node_bn* n) {
    std::string out = GetNodeProbs_bn(n, nullptr) ? "cpt:" : "no cpt:";
    for (const char* which : {"cpt", "exper", "function_state", "function_real"}) {
      for (double v : table(n, which)) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.9g", v);
        out += isUndef(v) ? std::string(" u") : std::string(" ") + buf;
      }
      out += " |";
    }
    return out;
  }

  // The messages of the errors recorded since the last clearErrors(), one a line ("" when none).
  std::string errorText() {
    std::string out;
    for (report_vq* r = GetError_vq(env, ERROR_ERR, nullptr); r; r = GetError_vq(env, ERROR_ERR, r))
      out += std::to_string(ErrorNumber_vq(r)) + ": " + ErrorMessage_vq(r) + "\n";
    return out;
  }

  // Like expectRefused, and the tables of `n` are exactly as they were.
  void expectRefusedKeepingTables(const node_bn* n, const std::function<void()>& call, int number,
                                  const std::string& text) {
    std::string before = tablesOf(n);
    expectRefused(net, call, number, text);
    EXPECT_EQ(tablesOf(n), before) << text;
  }

  net_bn* net = nullptr;
  node_bn *a = nullptr, *b = nullptr, *x = nullptr;
};
