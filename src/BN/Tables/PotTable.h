// A dense table of 32-bit floats over an ordered list of discrete nodes, with a double scale
// factor: the value an entry stands for is the stored float times the factor.
//
// Layout: row-major over the node list, the last node varying fastest.  The flat index of the
// state vector (s0 .. sk) is (((s0*n1 + s1)*n2 + s2)...)*nk + sk.  The entries for all states of
// the last node at one configuration of the others form a row.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "BN/Tables/TableShape.h"

namespace quorva {

class Bnode;
class EnvCore;

// Reserved entry values of node tables; rescaling never changes them.
inline constexpr uint32_t UNDEF_FLT_BITS = 0xFF7F7D30u;   // -3.3960315e38: not given
inline constexpr uint32_t UNSPEC_ROW_BITS = 0xFF7EFAE6u;  // -3.3892665e38: row left unspecified
float undefFloat();
float unspecifiedRowFloat();
inline bool isReservedFloat(float v) {
  uint32_t b = std::bit_cast<uint32_t>(v);
  return b == UNDEF_FLT_BITS || b == UNSPEC_ROW_BITS;
}
inline bool isUndefFloat(float v) { return std::bit_cast<uint32_t>(v) == UNDEF_FLT_BITS; }

inline constexpr double SIZE_CAP = 1.7976931348623156e305;
inline constexpr size_t TOO_LARGE = static_cast<size_t>(-1);
inline constexpr size_t MAX_ALLOC_ENTRIES = 0x1FFFFFFF;

// The product of the state counts: 1.0 for none, 0.0 if any is 0, capped at SIZE_CAP.
double sizeOfSpace(std::span<const int> dims);
// Sets each dimension of a shape being made to its node's present state count.
void countStates(TableShape& shape);

class PotTable {
 public:
  using NodeVec = std::vector<Bnode*>;

  PotTable() = default;
  explicit PotTable(EnvCore* env) : env_(env) {}
  PotTable(EnvCore* env, NodeVec nodes);
  ~PotTable();
  PotTable(const PotTable& other);
  PotTable& operator=(const PotTable& other);
  PotTable(PotTable&& other) noexcept;
  PotTable& operator=(PotTable&& other) noexcept;
  void swap(PotTable& other) noexcept;

  // Replaces the node list (the dimensions are the nodes' present state counts) and frees the data.
  void setNodes(std::span<Bnode* const> nodes);
  // The same with the dimensions given (for nodes whose state counts are about to change).
  void setNodes(std::span<Bnode* const> nodes, std::span<const int> dims);
  // The same with a shape made and filled by the caller.
  void setShape(ShapeRef shape);
  // Shares another table's node list.
  void shareNodes(const PotTable& other);
  std::span<Bnode* const> nodes() const { return shape_ ? shape_.get()->nodes() : std::span<Bnode* const>(); }
  std::span<const int> dims() const { return shape_ ? shape_.get()->dims() : std::span<const int>(); }
  size_t numNodes() const { return shape_ ? shape_.get()->count() : 0; }
  bool sharesNodesWith(const PotTable& o) const { return shape_.get() == o.shape_.get(); }
  // The same nodes with the same state counts, shared or not.
  bool sameNodesAs(const PotTable& o) const;
  // The node list's hold, for keeping what depends only on the list: its address names the list
  // while it is held.
  const ShapeRef& shape() const { return shape_; }
  // Entries: the product of the dimensions, or TOO_LARGE past 2147483647.
  size_t size() const { return size_; }
  // The length of a row: the last node's state count (1 with no nodes).
  size_t rowLength() const { return numNodes() == 0 ? 1 : static_cast<size_t>(dims().back()); }

  bool isAllocated() const { return data_ != nullptr; }
  // Allocates the entries through the environment's memory limit and sets the factor to 1.
  // Refused (error 2183, the table left unallocated) when too large or out of memory.
  void allocate();
  // Adopts entries owned by someone else; the factor is set to 1.
  void attach(float* data);
  void freeData();

  float* data() { return data_; }
  const float* data() const { return data_; }
  double factor() const { return factor_; }
  bool mayHaveNeg = false;
  EnvCore* env() const { return env_; }

  size_t indexOf(const int* states) const;
  float get(const int* states) const { return data_[indexOf(states)]; }
  void set(const int* states, float v) { data_[indexOf(states)] = v; }
  // Copies one row in at the configuration of the nodes before the last, scaled by 1/factor.
  void setRow(const int* leadingStates, const float* row);
  // Adds `v` to an entry and returns the previous value; sets *status to 0, -2458 (the result
  // would be below -2e-6: undone) or -2457 (a positive addition changed nothing).
  float addOn(size_t index, float v, int* status);

  void fill(double v);
  void multiplyScalar(double k);
  void setFactor(double f);
  void guardOverflow();
  void guardUnderflow();
  void normalizeRows();
  void zeroUndefined();
  void clipNegatives();
  double sum() const;
  void copyOut(double* out) const;
  // out[k] := the sum of the stored entries at state k of the node in place `dim` of the list
  // (the factor left out).
  void sumsAlong(size_t dim, double* out) const;
  // Multiplies every entry by v[its state of the node in place `dim` of the list].
  void multiplyAlong(size_t dim, const float* v);

  // Used by the two-table kernels.
  void setFactorRaw(double f);

 private:
  void requireAllocated(const char* cond) const;
  void releaseOwned();

  EnvCore* env_ = nullptr;
  ShapeRef shape_;  // null for no nodes, as a new or moved-from table has
  size_t size_ = 1;
  float* data_ = nullptr;
  size_t capacity_ = 0;  // entries allocated by this table; 0 for attached data
  double factor_ = 1.0;
};

// Gives both tables the larger of their two factors.
void makeFactorsSame(PotTable& a, PotTable& b);

}  // namespace quorva
