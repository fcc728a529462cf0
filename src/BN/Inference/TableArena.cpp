// The junction tree's table block.
#include "BN/Inference/TableArena.h"

#include <algorithm>
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

namespace {

constexpr uintptr_t PAGE = 4096;
constexpr uintptr_t HUGE_PAGE = uintptr_t{2} << 20;
constexpr size_t CHUNK = size_t{4} << 20;  // bytes mapped at once: whole large pages

}  // namespace

bool TableArena::takeChunk(bool fromLow, size_t& chunk) {
  std::lock_guard<std::mutex> hold(chunks_);
  if (low_ >= high_) return false;
  chunk = fromLow ? low_++ : --high_;
  return true;
}

void TableArena::mapChunk(size_t chunk) const {
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  char* from = std::max(pagesFrom_, grid_ + chunk * CHUNK);
  char* to = std::min(pagesTo_, grid_ + (chunk + 1) * CHUNK);
  // Refused (an older system), the pages are mapped as they are first written instead.
  if (to > from) madvise(from, static_cast<size_t>(to - from), MADV_POPULATE_WRITE);
#else
  (void)chunk;
#endif
}

void TableArena::prepare(const float* end) {
  const char* upTo = reinterpret_cast<const char*>(end);
  if (upTo <= grid_) return;
  size_t need = (static_cast<size_t>(upTo - grid_) + CHUNK - 1) / CHUNK;  // chunks below upTo
  for (size_t chunk = 0;;) {
    {
      std::lock_guard<std::mutex> hold(chunks_);
      if (low_ >= need || low_ >= high_) return;
      chunk = low_++;
    }
    mapChunk(chunk);
  }
}

void TableArena::settle() {
  {
    std::lock_guard<std::mutex> hold(chunks_);
    low_ = high_ = 0;
  }
  if (mapper_.joinable()) mapper_.join();
}

void TableArena::release() {
  settle();
  if (block_) env_->memory.release(block_, bytes_);
  block_ = nullptr;
  first_ = nullptr;
  grid_ = pagesFrom_ = pagesTo_ = nullptr;
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
  uintptr_t from = (at + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE, to = (at + bytes) / HUGE_PAGE * HUGE_PAGE;
  if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#endif
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  if (bytes < 4 * CHUNK) return;  // a small block is mapped as it is written
  // Chunks on the large-page grid, the first and last cut to the block's whole pages.
  uintptr_t low = (at + PAGE - 1) / PAGE * PAGE, high = (at + bytes) / PAGE * PAGE;
  grid_ = reinterpret_cast<char*>(low / HUGE_PAGE * HUGE_PAGE);
  pagesFrom_ = reinterpret_cast<char*>(low);
  pagesTo_ = reinterpret_cast<char*>(high);
  {
    std::lock_guard<std::mutex> hold(chunks_);
    low_ = 0;
    high_ = (static_cast<size_t>(pagesTo_ - grid_) + CHUNK - 1) / CHUNK;
  }
  try {
    mapper_ = std::thread([this] {
      for (size_t chunk = 0; takeChunk(false, chunk);) mapChunk(chunk);
    });
  } catch (const std::system_error&) {
    // No thread: the update maps every chunk itself as it goes.
  }
#endif
}

float* TableArena::slice(size_t n) {
  float* p = first_ + used_;
  used_ += sliceFloats(n);
  return p;
}

}  // namespace quorva
