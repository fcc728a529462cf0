// The per-thread name of the running API function.
#pragma once
#include <string>

namespace quorva {

class CallFrame {
 public:
  // The calling thread's frame name: empty outside any API function.
  static std::string& name();
  static bool inCallback() { return name().rfind("Callback", 0) == 0; }
};

// Marks the span of a listener callback: API calls made inside it are allowed and their frame
// reads "Callback of <outer>: <inner>".
class CallbackScope {
 public:
  CallbackScope();
  ~CallbackScope();
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;

 private:
  std::string saved_;
};

}  // namespace quorva
