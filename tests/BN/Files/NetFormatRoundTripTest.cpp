// Round trips through XMLBIF, Hugin NET and UAI: structure, names (or titles), kinds, tables and
// beliefs of shipped nets and of the decision nets of examples/ come back as they were.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "Support/EnvFixture.h"

namespace {

struct Case {
  const char* file;  // under tests/data, or "../../examples/..."
  int format;
  bool namesKept;  // UAI in memory has no names file: v0, v1, ...
};

class NetFormatRoundTrip : public EnvTest, public ::testing::WithParamInterface<Case> {
 protected:
  net_bn* readPath(const std::string& path) {
    stream_vq* s = NewFileStream_vq(path.c_str(), env, nullptr);
    net_bn* net = ReadNetFormat_bn(s, UNKNOWN_FORMAT, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    EXPECT_NE(net, nullptr) << path << ": " << lastMessage();
    return net;
  }
  std::string write(net_bn* net, int format) {
    stream_vq* s = NewMemoryStream_vq("out", env, nullptr);
    WriteNetFormat_bn(net, s, format);
    std::string text = streamText(s);
    DeleteStream_vq(s);
    EXPECT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
    return text;
  }
  net_bn* readText(const std::string& text, int format) {
    stream_vq* s = textStream(env, text, "in");
    net_bn* net = ReadNetFormat_bn(s, format, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    EXPECT_NE(net, nullptr) << lastMessage() << "\n" << text.substr(0, 2000);
    return net;
  }
};

std::vector<double> table(node_bn* n, const char* which) {
  int size = 0;
  const double* t = GetNodeTable_bn(n, which, nullptr, 0, nullptr, &size);
  return t ? std::vector<double>(t, t + size) : std::vector<double>{};
}

node_bn* nth(const net_bn* net, int i) { return GetNthNode_bn(GetNetNodes_bn(net), i); }

// The node's parents as indices in net order.
std::vector<int> parentIndices(const net_bn* net, node_bn* n) {
  std::vector<int> out;
  const nodelist_bn* ps = GetNodeParents_bn(n);
  for (int p = 0; p < LengthNodeList_bn(ps); ++p)
    out.push_back(IndexOfNodeInList_bn(GetNthNode_bn(ps, p), GetNetNodes_bn(net), 0));
  return out;
}

TEST_P(NetFormatRoundTrip, keeps_structure_names_tables_and_beliefs) {
  const Case& c = GetParam();
  net_bn* a = readPath(dataPath(c.file));
  ASSERT_NE(a, nullptr);
  std::string text = write(a, c.format);
  net_bn* b = readText(text, c.format);
  ASSERT_NE(b, nullptr);
  const int count = LengthNodeList_bn(GetNetNodes_bn(a));
  ASSERT_EQ(LengthNodeList_bn(GetNetNodes_bn(b)), count);
  for (int i = 0; i < count; ++i) {
    node_bn* x = nth(a, i);
    node_bn* y = nth(b, i);
    SCOPED_TRACE(GetNodeName_bn(x));
    if (c.namesKept) {
      EXPECT_STREQ(GetNodeName_bn(x), GetNodeName_bn(y));
      EXPECT_STREQ(GetNodeTitle_bn(x), GetNodeTitle_bn(y));
      for (int s = 0; s < GetNodeNumberStates_bn(x); ++s) {
        EXPECT_STREQ(GetNodeStateName_bn(x, s), GetNodeStateName_bn(y, s));
        EXPECT_STREQ(GetNodeStateTitle_bn(x, s), GetNodeStateTitle_bn(y, s));
      }
    }
    EXPECT_EQ(GetNodeKind_bn(x), GetNodeKind_bn(y));
    EXPECT_EQ(GetNodeNumberStates_bn(x), GetNodeNumberStates_bn(y));
    EXPECT_EQ(parentIndices(a, x), parentIndices(b, y));
    const char* which = GetNodeKind_bn(x) == UTILITY_NODE ? "function_real" : "cpt";
    std::vector<double> tx = table(x, which), ty = table(y, which);
    ClearErrors_vq(env, ERROR_ERR);  // a decision without a table has none to read
    ASSERT_EQ(tx.size(), ty.size());
    for (size_t k = 0; k < tx.size(); ++k) {
      if (std::isnan(tx[k])) EXPECT_TRUE(std::isnan(ty[k])) << k;  // undefined stays undefined
      else EXPECT_NEAR(tx[k], ty[k], 1e-6 * (1 + std::abs(tx[k]))) << k;
    }
  }
  CompileNet_bn(a);
  CompileNet_bn(b);
  ASSERT_EQ(errorCount(ERROR_ERR), 0) << lastMessage();
  for (int i = 0; i < count; ++i) {
    node_bn* x = nth(a, i);
    if (GetNodeKind_bn(x) != NATURE_NODE) continue;
    const prob_bn* bx = GetNodeBeliefs_bn(x);
    const prob_bn* by = GetNodeBeliefs_bn(nth(b, i));
    ASSERT_TRUE(bx && by) << lastMessage();
    for (int s = 0; s < GetNodeNumberStates_bn(x); ++s) EXPECT_NEAR(bx[s], by[s], 1e-5) << GetNodeName_bn(x);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, NetFormatRoundTrip,
    ::testing::Values(Case{"asia.bif", XMLBIF_FORMAT, true}, Case{"alarm.bif", XMLBIF_FORMAT, true},
                      Case{"insurance.bif", XMLBIF_FORMAT, true}, Case{"../../examples/treat.dne", XMLBIF_FORMAT, true},
                      Case{"../../examples/test_treat.dne", XMLBIF_FORMAT, true},
                      Case{"asia.bif", HUGIN_NET_FORMAT, true}, Case{"alarm.bif", HUGIN_NET_FORMAT, true},
                      Case{"survey.bif", HUGIN_NET_FORMAT, true},
                      Case{"../../examples/treat.dne", HUGIN_NET_FORMAT, true},
                      Case{"../../examples/test_treat.dne", HUGIN_NET_FORMAT, true},
                      Case{"../../examples/test_treat.dne", DNET_FORMAT, true},
                      Case{"asia.bif", UAI_FORMAT, false}, Case{"alarm.bif", UAI_FORMAT, false},
                      Case{"hailfinder.bif", UAI_FORMAT, false}));

// Positions survive DNET, XMLBIF and Hugin NET exactly, also those beyond a float's range and
// precision; a net without any writes none.
TEST_F(EnvTest, positions_survive_dnet_xmlbif_and_hugin) {
  for (int format : {DNET_FORMAT, XMLBIF_FORMAT, HUGIN_NET_FORMAT}) {
    net_bn* net = NewNet_bn("P", env);
    node_bn* a = addNode(net, "A", 2, "a0,a1", {}, {0.25, 0.75});
    node_bn* b = addNode(net, "B", 2, "b0,b1", {a}, {0.5, 0.5, 0.1, 0.9});
    stream_vq* s = NewMemoryStream_vq("p", env, nullptr);
    WriteNetFormat_bn(net, s, format);
    EXPECT_EQ(streamText(s).find("position"), std::string::npos) << format;
    SetNodeVisPosition_bn(a, nullptr, 120, -40.5);
    SetNodeVisPosition_bn(b, nullptr, 1e98, 310.1);
    WriteNetFormat_bn(net, s, format);
    net_bn* back = ReadNetFormat_bn(s, format, NO_VISUAL_INFO);
    ASSERT_NE(back, nullptr) << lastMessage();
    double x = 0, y = 0;
    GetNodeVisPosition_bn(GetNodeNamed_bn("A", back), nullptr, &x, &y);
    EXPECT_EQ(x, 120);
    EXPECT_EQ(y, -40.5);
    GetNodeVisPosition_bn(GetNodeNamed_bn("B", back), nullptr, &x, &y);
    EXPECT_EQ(x, 1e98);
    EXPECT_EQ(y, 310.1);
    DeleteStream_vq(s);
  }
}

// BIF and UAI cannot hold decisions or utilities, and UAI needs whole tables: refused, nothing
// written.
TEST_F(EnvTest, bif_and_uai_refuse_what_they_cannot_hold) {
  net_bn* net = NewNet_bn("D", env);
  node_bn* a = addNode(net, "A", 2, "a0,a1", {}, {0.5, 0.5});
  node_bn* d = addNode(net, "D", 2, "go,stay", {a});
  SetNodeKind_bn(d, DECISION_NODE);
  for (int format : {BIF_FORMAT, UAI_FORMAT}) {
    stream_vq* s = NewMemoryStream_vq("x", env, nullptr);
    WriteNetFormat_bn(net, s, format);
    EXPECT_EQ(ErrorNumber_vq(lastError()), 2955) << format;
    EXPECT_NE(lastMessage().find("decision"), std::string::npos);
    EXPECT_EQ(streamText(s), "");
    ClearErrors_vq(env, ERROR_ERR);
    DeleteStream_vq(s);
  }
  SetNodeKind_bn(d, NATURE_NODE);  // now a chance node without a table
  stream_vq* s = NewMemoryStream_vq("x", env, nullptr);
  WriteNetFormat_bn(net, s, UAI_FORMAT);
  EXPECT_EQ(ErrorNumber_vq(lastError()), 2960);
  DeleteStream_vq(s);
}

// A foreign table whose rows do not sum to 1 has those rows scaled, with one warning for the node;
// a row within rounding of 1 and an all-zero row (an impossible parent setting) stay as written.
// The net then writes as DNET and reads back.
TEST_F(EnvTest, foreign_rows_off_one_are_scaled_with_a_warning_and_write_as_dnet) {
  const std::string bif =
      "network t { }\n"
      "variable a { type discrete [ 2 ] { x, y }; }\n"
      "variable b { type discrete [ 2 ] { u, v }; }\n"
      "probability ( a ) { table 0.3, 0.6995; }\n"
      "probability ( b | a ) { (x) 0, 0; (y) 0.5, 0.3; }\n";
  const std::string hugin =
      "net { }\n"
      "node a { states = (\"x\" \"y\"); }\n"
      "node b { states = (\"u\" \"v\"); }\n"
      "potential (a) { data = (0.3 0.6995); }\n"
      "potential (b | a) { data = ((0 0) (0.5 0.3)); }\n";
  for (auto [text, format] : {std::pair{bif, BIF_FORMAT}, std::pair{hugin, HUGIN_NET_FORMAT}}) {
    SCOPED_TRACE(format);
    ClearErrors_vq(env, INTERNAL_ERR);
    stream_vq* s = textStream(env, text, "in");
    net_bn* net = ReadNetFormat_bn(s, format, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    ASSERT_NE(net, nullptr) << lastMessage();
    EXPECT_EQ(errorCount(WARNING_ERR), 1);
    EXPECT_EQ(ErrorNumber_vq(lastError(WARNING_ERR)), 2915);
    EXPECT_NE(lastMessage(WARNING_ERR).find("1 of the 2 rows of the table of 'b'"), std::string::npos)
        << lastMessage(WARNING_ERR);
    EXPECT_EQ(table(GetNodeNamed_bn("a", net), "cpt"), (std::vector<double>{0.3f, 0.6995f}));
    EXPECT_EQ(table(GetNodeNamed_bn("b", net), "cpt"), (std::vector<double>{0, 0, 0.625, 0.375}));
    stream_vq* out = NewMemoryStream_vq("out.dne", env, nullptr);
    WriteNetFormat_bn(net, out, DNET_FORMAT);
    EXPECT_NE(ReadNetFormat_bn(out, DNET_FORMAT, NO_VISUAL_INFO), nullptr) << lastMessage();
    DeleteStream_vq(out);
  }
}

}  // namespace
