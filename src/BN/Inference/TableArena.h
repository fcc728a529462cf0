// One allocation holding every clique and separator table of a junction tree.
//
// A single large block from the environment's memory-limited allocator costs the system one
// mapping of untouched (zero) pages, which are faulted in as the first update writes them; where
// the system offers large pages, the block asks for them, so that faulting in a table of a
// gigabyte takes hundreds of faults rather than hundreds of thousands.  The tables are attached to
// slices of the block, each starting on a 64-byte line, and nothing is filled before the first
// update writes it.  The system zeroes each page as it is first touched, which on a large block
// is most of a first update's time; a second thread has the pages mapped from the far end of
// the block while the update works from the near end, so that two cores share the zeroing
// (mapping changes no data, so the two never disagree).
#pragma once
#include <atomic>
#include <cstddef>
#include <thread>

namespace quorva {

class EnvCore;

class TableArena {
 public:
  TableArena() = default;
  ~TableArena();
  TableArena(const TableArena&) = delete;
  TableArena& operator=(const TableArena&) = delete;

  // Allocates room for `floats` floats laid out in slices (see slice()); error 2183 with
  // `purpose` when refused.  Any earlier block is released first.
  void allocate(EnvCore* env, size_t floats, const char* purpose);
  void release();
  // Waits for the mapping of the block's pages to end (the first update calls it when done).
  void settle();
  // Floats a slice of n floats takes, with the padding that starts the next on a line.
  static size_t sliceFloats(size_t n) { return (n + LINE - 1) / LINE * LINE; }
  // The next slice of n floats.
  float* slice(size_t n);
  size_t bytes() const { return bytes_; }

 private:
  static constexpr size_t LINE = 16;  // floats in a 64-byte line
  EnvCore* env_ = nullptr;
  void* block_ = nullptr;
  size_t bytes_ = 0;
  float* first_ = nullptr;  // the first line-aligned float of the block
  size_t used_ = 0;         // floats handed out
  std::thread mapper_;      // maps the block's pages, from the far end
  std::atomic<bool> stop_{false};
};

}  // namespace quorva
