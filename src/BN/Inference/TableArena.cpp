// The junction tree's table block.
#include "BN/Inference/TableArena.h"

#include <cstdint>
#include <system_error>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "Basic/BasicErrors.h"
#include "Basic/EnvCore.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

TableArena::~TableArena() { release(); }

void TableArena::settle() {
  stop_.store(true, std::memory_order_relaxed);
  if (mapper_.joinable()) mapper_.join();
}

void TableArena::release() {
  settle();
  if (block_) env_->memory.release(block_, bytes_);
  block_ = nullptr;
  first_ = nullptr;
  bytes_ = used_ = 0;
}

void TableArena::allocate(EnvCore* env, size_t floats, const char* purpose) {
  release();
  env_ = env;
  size_t bytes = (floats + LINE) * sizeof(float);  // a line to spare for the alignment
  try {
    block_ = env->memory.allocate(bytes, purpose);
  } catch (const QuorvaError& e) {
    // Past the limit the limiter reports the limit; the refusal in the table's words follows.
    if (e.record && e.record->number == -err::NotEnoughMemory.number) throw;
    raiseMemoryError(env, err::NotEnoughMemory, purpose, formatBytes(static_cast<double>(bytes)));
  }
  bytes_ = bytes;
  auto at = reinterpret_cast<uintptr_t>(block_);
  first_ = reinterpret_cast<float*>((at + LINE * sizeof(float) - 1) / (LINE * sizeof(float)) * (LINE * sizeof(float)));
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  // Large pages for the whole 2 MB stretches of the block (a hint: refused, it changes nothing).
  constexpr uintptr_t HUGE_PAGE = uintptr_t{2} << 20;
  uintptr_t from = (at + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE, to = (at + bytes) / HUGE_PAGE * HUGE_PAGE;
  if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#endif
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  constexpr size_t CHUNK = size_t{8} << 20;
  if (bytes >= 4 * CHUNK) {
    uintptr_t low = (at + 4095) / 4096 * 4096, high = (at + bytes) / 4096 * 4096;
    stop_.store(false, std::memory_order_relaxed);
    try {
      mapper_ = std::thread([this, low, high] {
        for (uintptr_t end = high; end > low && !stop_.load(std::memory_order_relaxed);) {
          uintptr_t start = end - low > CHUNK ? end - CHUNK : low;
          if (madvise(reinterpret_cast<void*>(start), end - start, MADV_POPULATE_WRITE) != 0) return;
          end = start;
        }
      });
    } catch (const std::system_error&) {
      // No thread: the update maps the pages itself as it goes.
    }
  }
#endif
}

float* TableArena::slice(size_t n) {
  float* p = first_ + used_;
  used_ += sliceFloats(n);
  return p;
}

}  // namespace quorva
