// The memory-limited allocator that every table allocation goes through.
#pragma once
#include <cstddef>
#include <limits>

namespace quorva {

class EnvCore;

// Requests of this many bytes or more count against the limit.
inline constexpr size_t LIMITED_REQUEST = 20000;

class MemoryLimiter {
 public:
  explicit MemoryLimiter(EnvCore* env) : env_(env) {}

  // Allocates `bytes`; past the limit raises error 3364, on a failed allocation error 2183
  // "not enough memory <purpose> (<size> needed)".  Never returns null.
  void* allocate(size_t bytes, const char* purpose);
  void release(void* p, size_t bytes) noexcept;

  double limit() const { return limit_; }
  void setLimit(double bytes) { limit_ = bytes; }
  double used() const { return used_; }

  // Test hook: the n-th allocation from now (1 = the next) fails as if memory ran out; 0 = never.
  void failAllocationAfter(long n) { failIn_ = n; }
  // How many allocations have been asked for, so that a test can fail each one in turn.
  long allocations() const { return allocations_; }

 private:
  EnvCore* env_;
  double limit_ = std::numeric_limits<double>::infinity();
  double used_ = 0;
  long failIn_ = 0;
  long allocations_ = 0;
};

// A standard allocator over a MemoryLimiter, for std::vector and friends.
template <class T>
struct LimitedAllocator {
  using value_type = T;
  MemoryLimiter* limiter;
  const char* purpose;

  LimitedAllocator(MemoryLimiter* l, const char* p) : limiter(l), purpose(p) {}
  template <class U>
  LimitedAllocator(const LimitedAllocator<U>& o) : limiter(o.limiter), purpose(o.purpose) {}

  T* allocate(size_t n) { return static_cast<T*>(limiter->allocate(n * sizeof(T), purpose)); }
  void deallocate(T* p, size_t n) noexcept { limiter->release(p, n * sizeof(T)); }
  template <class U>
  bool operator==(const LimitedAllocator<U>& o) const { return limiter == o.limiter; }
};

}  // namespace quorva
