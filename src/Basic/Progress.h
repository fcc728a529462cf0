// Long work seen from outside: a watcher (a progress bar) told what is being done and how far it
// has got, and a halt that the user may request from any thread and that long work polls.
#pragma once
#include <atomic>
#include <functional>
#include <string_view>

namespace quorva {

class ProgressHub {
 public:
  // Called on the working thread with the fraction done (0 to 1), and with -1 when the work ends.
  using Watcher = std::function<void(std::string_view what, double fraction)>;

  void setWatcher(Watcher w) { watcher_ = std::move(w); }
  void report(std::string_view what, double fraction) const {
    if (watcher_) watcher_(what, fraction);
  }
  // The halt stays requested until it is withdrawn.
  void requestHalt(bool on) { halt_.store(on, std::memory_order_relaxed); }
  bool haltRequested() const { return halt_.load(std::memory_order_relaxed); }

 private:
  Watcher watcher_;
  std::atomic<bool> halt_{false};
};

// One piece of long work.  Reports reach the watcher at most once per 1/500 of the way; the end
// is reported when the object goes.
class Progress {
 public:
  // `what` must outlive the object (the callers pass literals).
  Progress(ProgressHub& hub, std::string_view what, bool shown = true) : hub_(hub), what_(what), shown_(shown) {
    if (shown_) hub_.report(what_, 0);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (shown_) hub_.report(what_, -1);
  }

  // Reports the fraction done; false once the user has asked to halt.
  bool update(double fraction) {
    if (shown_ && (fraction >= last_ + 0.002 || fraction >= 1)) {
      last_ = fraction;
      hub_.report(what_, fraction);
    }
    return !hub_.haltRequested();
  }
  bool halted() const { return hub_.haltRequested(); }

 private:
  ProgressHub& hub_;
  std::string_view what_;
  bool shown_;
  double last_ = 0;
};

}  // namespace quorva
