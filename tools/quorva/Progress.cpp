// Drawing the progress bar: "\r" + what + a bar of block characters + percentage, redrawn at
// most ten times a second, first drawn half a second into a piece of work.
#include "Progress.h"

#include <unistd.h>

#include <cstdio>

#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {
constexpr auto FIRST_DRAW = std::chrono::milliseconds(500);
constexpr auto REDRAW = std::chrono::milliseconds(100);
constexpr int BAR_WIDTH = 30;
constexpr int LINE_WIDTH = 79;
}  // namespace

std::string blockBar(double fraction, int width) {
  static const char* const partial[] = {"", "\u258F", "\u258E", "\u258D", "\u258C", "\u258B", "\u258A", "\u2589"};
  if (!(fraction > 0)) fraction = 0;
  if (fraction > 1) fraction = 1;
  long eighths = static_cast<long>(fraction * width * 8 + 0.5);
  std::string bar;
  for (int i = 0; i < width; ++i, eighths -= 8) {
    if (eighths >= 8)
      bar += "\u2588";
    else if (eighths > 0)
      bar += partial[eighths];
    else
      bar += ' ';
  }
  return bar;
}

ProgressBar::ProgressBar() : enabled_(isatty(2) != 0) {}

ProgressBar::~ProgressBar() {
  if (watched_) quorva::tool::setProgressWatcher(watched_, {});
  clear();
}

void ProgressBar::watch(environ_vq* env) {
  if (!enabled_) return;
  watched_ = env;
  quorva::tool::setProgressWatcher(env, [this](std::string_view what, double fraction) { update(what, fraction); });
}

void ProgressBar::update(std::string_view what, double fraction) {
  if (!enabled_) return;
  std::lock_guard<std::mutex> lock(mutex_);
  const Clock::time_point now = Clock::now();
  if (fraction < 0) {
    if (what == piece_ || what.empty()) {
      if (visible_) std::fprintf(stderr, "\r%*s\r", LINE_WIDTH, "");
      visible_ = false;
      piece_.clear();
    }
    return;
  }
  if (what != piece_) {
    piece_.assign(what);
    started_ = now;
    drawn_ = {};
  }
  if (now - started_ < FIRST_DRAW || now - drawn_ < REDRAW) return;
  drawn_ = now;
  if (fraction > 1) fraction = 1;
  std::string bar = blockBar(fraction, BAR_WIDTH);
  std::string label = piece_.substr(0, LINE_WIDTH - BAR_WIDTH - 9);
  std::fprintf(stderr, "\r%-*s |%s| %3d%%", LINE_WIDTH - BAR_WIDTH - 9, label.c_str(), bar.c_str(),
               static_cast<int>(fraction * 100));
  std::fflush(stderr);
  visible_ = true;
}

void ProgressBar::clear() {
  if (!enabled_) return;
  std::lock_guard<std::mutex> lock(mutex_);
  if (visible_) std::fprintf(stderr, "\r%*s\r", LINE_WIDTH, "");
  std::fflush(stderr);
  visible_ = false;
  piece_.clear();
}

}  // namespace quorva::cli
