// Helpers shared by the BN tests: reading a net of tests/data (or examples/), and a net's text
// without the creator line, which carries the time of writing.
#pragma once
#include <string>

#include "Support/EnvFixture.h"

// The net read from tests/data/`file` (null when the read fails).
inline net_bn* readDataNet(environ_vq* env, const std::string& file) {
  stream_vq* s = NewFileStream_vq(dataPath(file).c_str(), env, nullptr);
  net_bn* net = ReadNet_bn(s, NO_VISUAL_INFO);
  DeleteStream_vq(s);
  return net;
}

// `text` without its "// File created ..." line's contents.
inline std::string withoutCreatorLine(std::string text) {
  size_t at = text.find("// File created");
  return at == std::string::npos ? text : text.erase(at, text.find('\n', at) - at);
}
