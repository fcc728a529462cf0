// The junction tree's table block.
#include "BN/Inference/TableArena.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "Basic/BasicErrors.h"
#include "Basic/EnvCore.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

TableArena::~TableArena() { release(); }

void TableArena::release() {
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
}

float* TableArena::slice(size_t n) {
  float* p = first_ + used_;
  used_ += sliceFloats(n);
  return p;
}

}  // namespace quorva
