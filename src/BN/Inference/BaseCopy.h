// A saved copy of a junction tree's clique and separator tables as propagated with no findings,
// so that retracting or changing findings costs a copy back and one propagation instead of
// building every clique again from the node tables.
//
// The copy doubles the memory of the clique and separator tables (not of the separators' scratch
// tables), so it is kept only for trees whose tables take at most `JunctionTree::baseCopyMaxBytes`
// (BASE_COPY_MAX_BYTES unless a test lowers it), and only when the environment's memory limit
// leaves room for it.  Larger trees rebuild from the node tables and keep their tables' own size.
#pragma once
#include <cstddef>
#include <vector>

namespace quorva {

class EnvCore;
struct JunctionTree;

// Tables of at most this many bytes (cliques and separators) keep a copy for retraction.
inline constexpr size_t BASE_COPY_MAX_BYTES = size_t{32} << 20;

class BaseCopy {
 public:
  BaseCopy() = default;
  ~BaseCopy() { drop(); }
  BaseCopy(const BaseCopy&) = delete;
  BaseCopy& operator=(const BaseCopy&) = delete;

  bool have() const { return data_ != nullptr; }
  // The bytes a copy of the tree's tables takes.
  static size_t bytesFor(const JunctionTree& jt);
  // Copies the tree's clique and separator tables (every one written); false, keeping nothing,
  // when the environment's memory limit leaves no room.
  bool save(EnvCore* env, const JunctionTree& jt);
  // Writes the saved tables back; every clique is left at propagation state 1.
  void restore(JunctionTree& jt) const;
  void drop();

 private:
  EnvCore* env_ = nullptr;
  float* data_ = nullptr;
  size_t bytes_ = 0;
  std::vector<double> factors_;  // the tables' factors, cliques first
};

}  // namespace quorva
