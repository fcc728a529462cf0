// Fuzzes the DNET reader: arbitrary bytes in a memory stream are read as a net.  A read either
// gives a net (deleted here) or raises a located error; it must never crash or leak.
#include <cstdint>
#include <memory>
#include <string>

#include "BN/Net/Bnet.h"
#include "BN/Files/DnetReader.h"
#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "Basic/Raise.h"
#include "FuzzEnv.h"

using namespace quorva;

namespace {

// Long digit runs can declare legal but huge state counts or tables (hundreds of millions of
// entries), which only measure the machine's memory; such inputs are passed over.
bool hugeNumbers(const uint8_t* data, size_t size) {
  size_t run = 0;
  for (size_t i = 0; i < size; ++i) {
    run = (data[i] >= '0' && data[i] <= '9') ? run + 1 : 0;
    if (run > 3) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (hugeNumbers(data, size)) return 0;
  EnvCore& env = fuzzEnv();
  FileSpec stream(&env, FileSpec::Kind::Memory, "fuzz.dne");
  stream.setContents(reinterpret_cast<const char*>(data), size, false);
  try {
    std::unique_ptr<Bnet> net(readDnetNet(stream, &env, 0x10));
  } catch (const QuorvaError&) {
    // a fault in the file: recorded, and no net
  }
  env.errors.clearAll();
  return 0;
}
