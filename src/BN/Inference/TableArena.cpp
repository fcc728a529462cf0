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

constexpr size_t PAGE = 4096;
constexpr size_t CHUNK = size_t{4} << 20;  // bytes mapped at once

}  // namespace

bool TableArena::takeChunk(bool fromLow, size_t& chunk) {
  std::lock_guard<std::mutex> hold(chunks_);
  if (low_ >= high_) return false;
  chunk = fromLow ? low_++ : --high_;
  return true;
}

void TableArena::mapChunk(size_t chunk) const {
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  size_t from = chunk * CHUNK, to = std::min(pagesBytes_, from + CHUNK);
  // Refused (an older system), the pages are mapped as they are first written instead.
  madvise(pagesFrom_ + from, to - from, MADV_POPULATE_WRITE);
#else
  (void)chunk;
#endif
}

void TableArena::prepare(const float* end) {
  const char* upTo = reinterpret_cast<const char*>(end);
  if (upTo <= pagesFrom_) return;
  size_t need = (static_cast<size_t>(upTo - pagesFrom_) + CHUNK - 1) / CHUNK;  // chunks below upTo
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
  pagesFrom_ = nullptr;
  bytes_ = used_ = pagesBytes_ = 0;
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
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  if (bytes < 4 * CHUNK) return;  // a small block is mapped as it is written
  uintptr_t low = (at + PAGE - 1) / PAGE * PAGE, high = (at + bytes) / PAGE * PAGE;
  pagesFrom_ = reinterpret_cast<char*>(low);
  pagesBytes_ = high - low;
  {
    std::lock_guard<std::mutex> hold(chunks_);
    low_ = 0;
    high_ = (pagesBytes_ + CHUNK - 1) / CHUNK;
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
