// Every shipped net read from BIF, written as DNET, read back and written again gives the same
// text, and the tables survive within float precision.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "EnvFixture.h"
#include "Quorva.h"

namespace {

std::string dataFile(const std::string& name) {
  const char* dir = std::getenv("QUORVA_TEST_DATA");
  return std::string(dir ? dir : "tests/data") + "/" + name;
}

class NetFileRoundTripTest : public EnvTest {
 protected:
  net_bn* readFrom(stream_vq* s) {
    net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
    DeleteStream_vq(s);
    return net;
  }
  std::string dnetText(net_bn* net) {
    stream_vq* out = NewMemoryStream_vq("round.dne", env, nullptr);
    WriteNet_bn(net, out);
    long long length = 0;
    const char* bytes = GetStreamContents_vq(out, &length);
    std::string text = bytes ? std::string(bytes, static_cast<size_t>(length)) : "";
    DeleteStream_vq(out);
    return text;
  }
};

TEST_F(NetFileRoundTripTest, BifNetsSurviveDnetWritingAndReading) {
  for (const char* name : {"asia", "survey", "alarm", "insurance", "hailfinder", "Pigs"}) {
    SCOPED_TRACE(name);
    net_bn* original = readFrom(NewFileStream_vq(dataFile(std::string(name) + ".bif").c_str(), env, nullptr));
    ASSERT_NE(original, nullptr) << ErrorMessage_vq(lastError());
    std::string first = dnetText(original);
    ASSERT_FALSE(first.empty());

    stream_vq* in = NewMemoryStream_vq("round.dne", env, nullptr);
    SetStreamContents_vq(in, first.data(), static_cast<long long>(first.size()), 1);
    net_bn* again = readFrom(in);
    ASSERT_NE(again, nullptr) << ErrorMessage_vq(lastError());
    // The creator comment carries the time of writing: compare from the net block on.
    auto body = [](const std::string& t) { return t.substr(t.find("bnet")); };
    EXPECT_EQ(body(dnetText(again)), body(first));

    const nodelist_bn* a = GetNetNodes_bn(original);
    ASSERT_EQ(LengthNodeList_bn(a), LengthNodeList_bn(GetNetNodes_bn(again)));
    for (int i = 0; i < LengthNodeList_bn(a); ++i) {
      node_bn* n = GetNthNode_bn(a, i);
      node_bn* m = GetNodeNamed_bn(GetNodeName_bn(n), again);
      ASSERT_NE(m, nullptr);
      int size = 0;
      const double* x = GetNodeTable_bn(n, "cpt", nullptr, 0, nullptr, &size);
      std::vector<double> want(x, x + size);
      int size2 = 0;
      const double* y = GetNodeTable_bn(m, "cpt", nullptr, 0, nullptr, &size2);
      ASSERT_EQ(size, size2);
      for (int k = 0; k < size; ++k) EXPECT_NEAR(y[k], want[static_cast<size_t>(k)], 1e-6);
    }
    DeleteNet_bn(original);
    DeleteNet_bn(again);
  }
}

}  // namespace
