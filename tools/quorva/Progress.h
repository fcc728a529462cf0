// A one-line progress bar on standard error, drawn only when standard error is a terminal and a
// piece of work has lasted long enough to be worth watching.
#pragma once
#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

#include "Quorva.h"

namespace quorva::cli {

// A bar `width` characters wide filled to `fraction` with full and partial block characters
// (eighths), padded with spaces.
std::string blockBar(double fraction, int width);

class ProgressBar {
 public:
  ProgressBar();  // enabled when standard error is a terminal
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // `fraction` 0..1 of `what` is done; a negative fraction ends that piece and erases the bar.
  void update(std::string_view what, double fraction);
  // Erases the bar if it is drawn.
  void clear();
  // Routes the engine's progress reports for `env` here (until the bar is destroyed).
  void watch(environ_vq* env);

 private:
  using Clock = std::chrono::steady_clock;
  bool enabled_;
  std::mutex mutex_;
  std::string piece_;
  Clock::time_point started_, drawn_;
  bool visible_ = false;
  environ_vq* watched_ = nullptr;
};

}  // namespace quorva::cli
