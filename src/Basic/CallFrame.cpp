// The thread-local API call frame.
#include "Basic/CallFrame.h"

namespace quorva {

std::string& CallFrame::name() {
  thread_local std::string frame;
  return frame;
}

CallbackScope::CallbackScope() : saved_(CallFrame::name()) {
  CallFrame::name() = "Callback of " + saved_ + ":";
}

CallbackScope::~CallbackScope() { CallFrame::name() = saved_; }

}  // namespace quorva
