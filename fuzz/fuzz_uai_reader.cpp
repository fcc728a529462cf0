// Fuzzes the UAI net reader through the shared round trip (FormatRoundTrip.h).
#include "FormatRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return quorva::fuzz::fuzzNetFormat(quorva::NetFormat::Uai, "fuzz.uai", data, size);
}
