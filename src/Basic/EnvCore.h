// The part of the environment that engine code sees: its state, error records and memory limit.
#pragma once
#include <string>

#include "Basic/ErrorLog.h"
#include "Basic/MemoryLimiter.h"
#include "Basic/Tagged.h"

namespace quorva {

// Error records can be kept only once the state has reached this value.
inline constexpr int ENV_USABLE_STATE = 25;

class EnvCore : public Tagged {
 public:
  EnvCore() : Tagged(ENVIRON_TYPE), errors(this), memory(this) {}
  EnvCore(const EnvCore&) = delete;
  EnvCore& operator=(const EnvCore&) = delete;

  bool usable() const { return isOfType(ENVIRON_TYPE) && state >= ENV_USABLE_STATE; }

  int state = 0;
  bool messageBox = false;  // show dialog-box messages (no window system: written to stderr)
  bool beep = false;
  ErrorLog errors;
  MemoryLimiter memory;
};

}  // namespace quorva
