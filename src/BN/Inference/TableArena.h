// One allocation holding every clique and separator table of a junction tree.
//
// A single large block from the environment's memory-limited allocator costs the system one
// mapping of untouched (zero) pages, which the system zeroes as each is first touched; on a large
// block that is most of a first update's time, and taking a page at a time costs several times
// what asking for a whole stretch at once does.  So the block's pages are mapped in chunks, from
// both ends: a second thread maps from the far end while the update, before it writes a table,
// maps the chunks up to that table's end (prepare()) from the near end; each chunk is taken by
// one of the two.  Mapping changes no data, so the two never disagree.  Where the system offers
// large pages the block asks for them: later updates then run a quarter or more faster (fewer
// address-translation misses), and mapped in whole chunks they come at least as cheaply as small
// pages.  The tables are attached to slices of the block, each starting on a 64-byte line, and
// nothing is filled before the first update writes it.
#pragma once
#include <cstddef>
#include <mutex>
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
  // Maps the block's pages up to `end` (one past the last float about to be written) that are
  // not mapped yet; nothing once every chunk has been taken.
  void prepare(const float* end);
  // Waits for the mapping of the block's pages to end (the first update calls it when done).
  void settle();
  // Floats a slice of n floats takes, with the padding that starts the next on a line.
  static size_t sliceFloats(size_t n) { return (n + LINE - 1) / LINE * LINE; }
  // The next slice of n floats.
  float* slice(size_t n);
  size_t bytes() const { return bytes_; }
  // One past the last float handed out.
  const float* end() const { return first_ + used_; }

 private:
  static constexpr size_t LINE = 16;  // floats in a 64-byte line
  EnvCore* env_ = nullptr;
  void* block_ = nullptr;
  size_t bytes_ = 0;
  float* first_ = nullptr;  // the first line-aligned float of the block
  size_t used_ = 0;         // floats handed out
  // The chunks not yet taken for mapping: [low_, high_), counted in CHUNK bytes from grid_ (the
  // large page the block starts in), each cut to the block's whole pages [pagesFrom_, pagesTo_).
  bool takeChunk(bool fromLow, size_t& chunk);
  void mapChunk(size_t chunk) const;
  std::mutex chunks_;
  size_t low_ = 0, high_ = 0;
  char* grid_ = nullptr;
  char* pagesFrom_ = nullptr;
  char* pagesTo_ = nullptr;
  std::thread mapper_;         // maps the block's pages, from the far end
};

}  // namespace quorva
