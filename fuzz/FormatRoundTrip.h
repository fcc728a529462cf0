// The round trip that the fuzzers of the foreign net readers share: arbitrary bytes in a memory
// stream are read as a net.  A read either fails with an error record or gives a net; a net is
// written in the same format, and that text must read back to a net that writes the very same
// text again.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "BN/Files/NetFormat.h"
#include "BN/Net/Bnet.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"
#include "FuzzEnv.h"

namespace quorva::fuzz {

namespace {

std::unique_ptr<Bnet> readNet(EnvCore& env, NetFormat format, const char* name, const char* bytes, size_t n) {
  FileSpec stream(&env, FileSpec::Kind::Memory, name);
  stream.setContents(bytes, n, false);
  try {
    return std::unique_ptr<Bnet>(readNetAs(stream, &env, format, 0x10));
  } catch (const QuorvaError&) {
    return nullptr;  // a fault in the input: recorded, no net
  }
}

// The net written in the format, or "" when the writer refuses it (such as a partial table).
std::string writeNet(EnvCore& env, NetFormat format, const char* name, Bnet& net) {
  FileSpec out(&env, FileSpec::Kind::Memory, name);
  try {
    writeNetAs(net, out, format);
  } catch (const QuorvaError&) {
    return "";
  }
  return std::string(out.contents());
}

}  // namespace

// One fuzz run of the reader of `format` (`name` is the memory stream's file name).
inline int fuzzNetFormat(NetFormat format, const char* name, const uint8_t* data, size_t size) {
  EnvCore& env = fuzzEnv();
  std::unique_ptr<Bnet> net = readNet(env, format, name, reinterpret_cast<const char*>(data), size);
  if (net) {
    double entries = 0;
    for (const Bnode* n : net->nodes) entries += static_cast<double>(n->tables.cpt.size() + n->tables.func.size());
    if (entries < 1e5) {  // the round trip of a huge table takes too long for a fuzz run
      std::string first = writeNet(env, format, name, *net);
      if (!first.empty()) {
        std::unique_ptr<Bnet> again = readNet(env, format, name, first.data(), first.size());
        if (!again || writeNet(env, format, name, *again) != first) std::abort();
      }
    }
  }
  env.errors.clearAll();
  return 0;
}

}  // namespace quorva::fuzz
