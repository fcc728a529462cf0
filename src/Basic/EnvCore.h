// The part of the environment that engine code sees: its state, error records, memory limit,
// lock, default random generator, settings, progress reports and halt, and console.
#pragma once
#include <cstdio>
#include <mutex>
#include <string>

#include "Basic/ErrorLog.h"
#include "Basic/MemoryLimiter.h"
#include "Basic/Progress.h"
#include "Basic/Settings.h"
#include "Basic/RandomGen.h"
#include "Basic/Tagged.h"

namespace quorva {

// Error records can be kept only once the state has reached this value.
inline constexpr int ENV_USABLE_STATE = 25;

class EnvCore : public Tagged {
 public:
  EnvCore() : Tagged(ENVIRON_TYPE), errors(this), memory(this), settings(this), randgen(this, 0) {}
  EnvCore(const EnvCore&) = delete;
  EnvCore& operator=(const EnvCore&) = delete;

  bool usable() const { return isOfType(ENVIRON_TYPE) && state >= ENV_USABLE_STATE; }

  int state = 0;
  bool messageBox = false;  // show dialog-box messages (no window system: written to stderr)
  bool beep = false;
  ErrorLog errors;
  MemoryLimiter memory;
  Settings settings;  // read from the settings file on first use
  ProgressHub progress;
  bool verboseCompile = false;       // each compile prints its clique count and table size
  std::FILE* console = stdout;       // where console lines go
  std::recursive_mutex lock;  // serialises API calls; draws from `randgen` take it too
  RandomGen randgen;          // the default generator, seeded with 0 (declared after `lock`)
};

}  // namespace quorva
