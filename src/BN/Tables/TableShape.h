// The nodes of a table and their state counts, in one block that tables share: it never changes
// once made (a new list makes a new shape), so that its address names the list, and it is freed
// with the last table that holds it.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <utility>

namespace quorva {

class Bnode;

class TableShape {
 public:
  // A shape of `count` nodes, its lists to be filled by the maker before it is shared.
  static TableShape* make(size_t count) {
    void* block = ::operator new(bytesFor(count));
    return new (block) TableShape(count);
  }
  size_t count() const { return count_; }
  Bnode** nodes() { return reinterpret_cast<Bnode**>(this + 1); }
  int* dims() { return reinterpret_cast<int*>(nodes() + count_); }
  std::span<Bnode* const> nodes() const { return {const_cast<TableShape*>(this)->nodes(), count_}; }
  std::span<const int> dims() const { return {const_cast<TableShape*>(this)->dims(), count_}; }

 private:
  friend class ShapeRef;
  explicit TableShape(size_t count) : count_(count) {
    Bnode** n = nodes();
    for (size_t i = 0; i < count; ++i) new (n + i) Bnode*(nullptr);
    int* d = dims();
    for (size_t i = 0; i < count; ++i) new (d + i) int(0);
  }
  static size_t bytesFor(size_t count) { return sizeof(TableShape) + count * (sizeof(Bnode*) + sizeof(int)); }

  std::atomic<uint32_t> refs_{1};
  size_t count_;
};
static_assert(sizeof(TableShape) % alignof(Bnode*) == 0);

// A counted hold on a shape; null holds none.
class ShapeRef {
 public:
  ShapeRef() = default;
  explicit ShapeRef(TableShape* made) : shape_(made) {}  // takes over the maker's count
  ShapeRef(const ShapeRef& o) noexcept : shape_(o.shape_) { hold(); }
  ShapeRef(ShapeRef&& o) noexcept : shape_(o.shape_) { o.shape_ = nullptr; }
  ShapeRef& operator=(const ShapeRef& o) noexcept {
    ShapeRef copy(o);
    swap(copy);
    return *this;
  }
  ShapeRef& operator=(ShapeRef&& o) noexcept {
    ShapeRef taken(std::move(o));
    swap(taken);
    return *this;
  }
  ~ShapeRef() { release(); }
  void swap(ShapeRef& o) noexcept { std::swap(shape_, o.shape_); }

  const TableShape* get() const { return shape_; }
  explicit operator bool() const { return shape_ != nullptr; }

 private:
  void hold() noexcept {
    if (shape_) shape_->refs_.fetch_add(1, std::memory_order_relaxed);
  }
  void release() noexcept {
    if (shape_ && shape_->refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      shape_->~TableShape();
      ::operator delete(static_cast<void*>(shape_));
    }
    shape_ = nullptr;
  }

  TableShape* shape_ = nullptr;
};

}  // namespace quorva
