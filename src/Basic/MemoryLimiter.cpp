// Counting, limiting and failing table allocations.
#include "Basic/MemoryLimiter.h"

#include <cstdlib>

#include "Basic/BasicErrors.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

void* MemoryLimiter::allocate(size_t bytes, const char* purpose) {
  double want = static_cast<double>(bytes);
  ++allocations_;
  // Small requests are never refused for the limit; only the large ones that tables make are.
  if (bytes >= LIMITED_REQUEST && used_ + want > limit_)
    raiseMemoryError(env_, err::MemoryLimitReached, formatBytes(want));
  bool injected = failIn_ > 0 && --failIn_ == 0;
  void* p = injected ? nullptr : std::malloc(bytes ? bytes : 1);
  if (!p) raiseMemoryError(env_, err::NotEnoughMemory, purpose, formatBytes(want));
  used_ += want;
  return p;
}

void MemoryLimiter::release(void* p, size_t bytes) noexcept {
  if (!p) return;
  std::free(p);
  used_ -= static_cast<double>(bytes);
}

}  // namespace quorva
