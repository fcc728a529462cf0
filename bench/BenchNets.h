// What the benchmarks share: an engine environment for the length of a benchmark, and the nets
// of tests/data read through the API.
#pragma once
#include <string>

#include "Quorva.h"

struct BenchEnv {
  environ_vq* env = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  BenchEnv() { InitQuorva2_bn(env, nullptr); }
  ~BenchEnv() { CloseQuorva_bn(env, nullptr); }
};

// tests/data/NAME.bif, or null when it cannot be read.
inline net_bn* readDataNet(BenchEnv& e, const char* name) {
  std::string path = std::string(QUORVA_SOURCE_DIR) + "/tests/data/" + name + ".bif";
  stream_vq* s = NewFileStream_vq(path.c_str(), e.env, nullptr);
  net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
  DeleteStream_vq(s);
  return net;
}
