// The one environment every fuzzer runs its inputs in, made usable once and kept for the run.
#pragma once
#include "Basic/EnvCore.h"

namespace quorva {

inline EnvCore& fuzzEnv() {
  static EnvCore* env = [] {
    auto* e = new EnvCore();
    e->state = ENV_USABLE_STATE;
    return e;
  }();
  return *env;
}

}  // namespace quorva
