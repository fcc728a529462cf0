// Potential tables: storage, element access, and the whole-table operations.
#include "BN/Tables/PotTable.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "BN/Net/Bnode.h"
#include "BN/Tables/PotErrors.h"
#include "Basic/BasicErrors.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"

namespace quorva {

float undefFloat() { return std::bit_cast<float>(UNDEF_FLT_BITS); }
float unspecifiedRowFloat() { return std::bit_cast<float>(UNSPEC_ROW_BITS); }

double sizeOfSpace(std::span<const int> dims) {
  double s = 1.0;
  for (int d : dims) {
    if (d == 0) return 0.0;
    s *= d;
    if (s > SIZE_CAP) s = SIZE_CAP;
  }
  return s;
}

namespace {
size_t entriesOf(std::span<const int> dims) {
  double s = sizeOfSpace(dims);
  return s > 2147483647.0 ? TOO_LARGE : static_cast<size_t>(s);
}
}  // namespace

PotTable::PotTable(EnvCore* env, NodeVec nodes) : env_(env) { setNodes(std::move(nodes)); }

PotTable::~PotTable() { releaseOwned(); }

PotTable::PotTable(const PotTable& o)
    : mayHaveNeg(o.mayHaveNeg), env_(o.env_), shape_(o.shape_), size_(o.size_), factor_(o.factor_) {
  if (o.data_) {
    allocate();
    std::memcpy(data_, o.data_, size_ * sizeof(float));
    factor_ = o.factor_;
  }
}

PotTable& PotTable::operator=(const PotTable& o) {
  if (this != &o) {
    PotTable copy(o);
    *this = std::move(copy);
  }
  return *this;
}

PotTable::PotTable(PotTable&& o) noexcept
    : mayHaveNeg(o.mayHaveNeg), env_(o.env_), shape_(std::move(o.shape_)), size_(o.size_), data_(o.data_),
      capacity_(o.capacity_), factor_(o.factor_) {
  o.data_ = nullptr;
  o.capacity_ = 0;
  o.size_ = 1;
}

void PotTable::swap(PotTable& o) noexcept {
  std::swap(mayHaveNeg, o.mayHaveNeg);
  std::swap(env_, o.env_);
  shape_.swap(o.shape_);
  std::swap(size_, o.size_);
  std::swap(data_, o.data_);
  std::swap(capacity_, o.capacity_);
  std::swap(factor_, o.factor_);
}

PotTable& PotTable::operator=(PotTable&& o) noexcept {
  if (this != &o) {
    releaseOwned();
    mayHaveNeg = o.mayHaveNeg;
    env_ = o.env_;
    shape_ = std::move(o.shape_);
    size_ = o.size_;
    data_ = o.data_;
    capacity_ = o.capacity_;
    factor_ = o.factor_;
    o.data_ = nullptr;
    o.capacity_ = 0;
    o.size_ = 1;
  }
  return *this;
}

void countStates(TableShape& shape) {
  for (size_t i = 0; i < shape.count(); ++i) shape.dims()[i] = shape.nodes()[i]->numStates;
}

void PotTable::setNodes(std::span<Bnode* const> nodes) {
  TableShape* made = TableShape::make(nodes.size());
  ShapeRef shape(made);
  std::copy(nodes.begin(), nodes.end(), made->nodes());
  countStates(*made);
  setShape(std::move(shape));
}

void PotTable::setNodes(std::span<Bnode* const> nodes, std::span<const int> dims) {
  QASSERT(env_, dims.size() == nodes.size());
  TableShape* made = TableShape::make(nodes.size());
  std::copy(nodes.begin(), nodes.end(), made->nodes());
  std::copy(dims.begin(), dims.end(), made->dims());
  setShape(ShapeRef(made));
}

void PotTable::setShape(ShapeRef shape) {
  freeData();
  shape_ = std::move(shape);
  size_ = entriesOf(dims());
}

void PotTable::shareNodes(const PotTable& other) {
  freeData();
  shape_ = other.shape_;
  size_ = other.size_;
}

bool PotTable::sameNodesAs(const PotTable& o) const {
  return sharesNodesWith(o) || (std::ranges::equal(nodes(), o.nodes()) && std::ranges::equal(dims(), o.dims()));
}

namespace {
// The words for what a table of `dims` dimensions is allocated for, made once for the usual counts.
// `spare` holds the words for unusual counts.
const std::string& tablePurpose(size_t dims, std::string& spare) {
  static const std::vector<std::string> usual = [] {
    std::vector<std::string> words;
    for (int d = 0; d < 64; ++d) words.push_back(format("to make full %d dimensional table", d));
    return words;
  }();
  if (dims < usual.size()) return usual[dims];
  spare = format("to make full %d dimensional table", static_cast<int>(dims));
  return spare;
}
}  // namespace

void PotTable::allocate() {
  QASSERT(env_, size_ != 0);  // sizespace != 0
  std::string spare;
  const std::string& purpose = tablePurpose(numNodes(), spare);
  auto refuse = [&] { raiseMemoryError(env_, err::NotEnoughMemory, purpose, formatBytes(4.0 * sizeOfSpace(dims()))); };
  if (size_ == TOO_LARGE || size_ >= MAX_ALLOC_ENTRIES) refuse();
  if (capacity_ == size_) {
    factor_ = 1.0;
    return;
  }
  freeData();
  size_t bytes = size_ * sizeof(float);
  float* p = nullptr;
  if (env_) {
    try {
      p = static_cast<float*>(env_->memory.allocate(bytes, purpose.c_str()));
    } catch (const QuorvaError& e) {
      // The limiter has already reported a failed allocation in these words; past its limit it
      // reports the limit, and the table's refusal follows.
      if (e.record && e.record->number == -err::NotEnoughMemory.number) throw;
      refuse();
    }
  } else {
    p = static_cast<float*>(std::malloc(bytes ? bytes : 1));
    if (!p) refuse();
  }
  data_ = p;
  capacity_ = size_;
  factor_ = 1.0;
}

void PotTable::attach(float* data) {
  freeData();
  data_ = data;
  factor_ = 1.0;
}

void PotTable::releaseOwned() {
  if (data_ && capacity_) {
    if (env_) env_->memory.release(data_, capacity_ * sizeof(float));
    else std::free(data_);
  }
}

void PotTable::freeData() {
  releaseOwned();
  data_ = nullptr;
  capacity_ = 0;
}

void PotTable::requireAllocated(const char* cond) const {
  if (!data_) internalCheckFailed(env_, __FILE__, __LINE__, cond);
}

size_t PotTable::indexOf(const int* states) const {
  size_t r = 0;
  const std::span<const int> d = dims();
  for (size_t i = 0; i < d.size(); ++i) r = r * static_cast<size_t>(d[i]) + static_cast<size_t>(states[i]);
  return r;
}

void PotTable::setRow(const int* leadingStates, const float* row) {
  requireAllocated("isAllocated()");
  size_t n = rowLength(), at = 0;
  const std::span<const int> d = dims();
  for (size_t i = 0; i + 1 < d.size(); ++i) at = at * static_cast<size_t>(d[i]) + static_cast<size_t>(leadingStates[i]);
  at *= n;
  double scale = factor_ == 1.0 ? 1.0 : 1.0 / factor_;
  for (size_t i = 0; i < n; ++i)
    data_[at + i] = isReservedFloat(row[i]) || scale == 1.0 ? row[i] : static_cast<float>(row[i] * scale);
}

float PotTable::addOn(size_t index, float v, int* status) {
  requireAllocated("isAllocated()");
  float prev = data_[index];
  float r = prev + v;
  *status = 0;
  if (r < 0) {
    if (r < -2e-6f) {
      *status = -2458;
      return prev;
    }
    r = 0;
  } else if (v > 0 && r == prev) {
    *status = -2457;
    return prev;
  }
  data_[index] = r;
  return prev;
}

void PotTable::fill(double v) {
  requireAllocated("isAllocated()");
  factor_ = 1.0;
  double total = std::fabs(static_cast<double>(size_) * v);
  float entry = static_cast<float>(v);
  if (total < 1e-10 && v != 0) {
    factor_ = total;
    entry = static_cast<float>((v < 0 ? -1.0 : 1.0) / static_cast<double>(size_));
  }
  std::fill(data_, data_ + size_, entry);
}

void PotTable::multiplyScalar(double k) {
  if (k == 1.0) return;
  double f = factor_ * k;
  if (f != 0.0) {
    factor_ = f;
    return;
  }
  requireAllocated("isAllocated()");
  for (size_t i = 0; i < size_; ++i)
    if (!isReservedFloat(data_[i])) data_[i] = static_cast<float>(data_[i] * k);
}

void PotTable::setFactorRaw(double f) {
  if (!(f > 0)) internalCheckFailed(env_, __FILE__, __LINE__, "new_factor > 0");
  factor_ = f;
}

void PotTable::setFactor(double f) {
  if (!(f > 0)) internalCheckFailed(env_, __FILE__, __LINE__, "new_factor > 0");
  if (f == factor_) return;
  requireAllocated("isAllocated()");
  double ratio = factor_ / f;
  factor_ = f;
  for (size_t i = 0; i < size_; ++i)
    if (!isReservedFloat(data_[i])) data_[i] = static_cast<float>(data_[i] * ratio);
}

void makeFactorsSame(PotTable& a, PotTable& b) {
  double f = a.factor() > b.factor() ? a.factor() : b.factor();
  a.setFactor(f);
  b.setFactor(f);
}

namespace {
// Divides the non-reserved entries by s.
void divideEntries(float* d, size_t n, double s) {
  double inv = 1.0 / s;
  for (size_t i = 0; i < n; ++i)
    if (!isReservedFloat(d[i])) d[i] = static_cast<float>(d[i] * inv);
}
}  // namespace

void PotTable::guardOverflow() {
  requireAllocated("isAllocated()");
  double s = 0;
  for (size_t i = 0; i < size_; ++i)
    if (!isReservedFloat(data_[i])) s += data_[i];
  if (s > 1e10) {
    divideEntries(data_, size_, s);
    setFactorRaw(factor_ * s);
  }
}

void PotTable::guardUnderflow() {
  requireAllocated("isAllocated()");
  // The sum stops once it reaches 1e-10; below that it is the sum of the whole table.  After the
  // first few entries it is taken a chunk at a time.  A chunk of entries of at least 0 holding one
  // of 1e-10 or more ends the sum there, and one of zeros adds nothing: both are seen in a
  // branch-free pass that vectorises.  Any other chunk is summed entry by entry (reserved values
  // and magnitudes of negative entries included), as the sum could reach the threshold part way
  // through it and fall back under.
  constexpr size_t CHUNK = 64;
  constexpr float ENOUGH = 1e-10f;  // the float nearest 1e-10, a little above it
  auto term = [this](float v) { return isReservedFloat(v) ? 0.0f : mayHaveNeg ? std::fabs(v) : v; };
  double s = 0;
  size_t lead = std::min<size_t>(size_, 8);  // mostly the threshold is reached in the first few
  for (size_t i = 0; i < lead && s < 1e-10; ++i) s += term(data_[i]);
  for (size_t at = lead; at < size_ && s < 1e-10; at += CHUNK) {
    size_t end = std::min(size_, at + CHUNK);
    if (!mayHaveNeg) {
      int below = 0, enough = 0, nonZero = 0;  // reserved values are below 0
      for (size_t i = at; i < end; ++i) {
        float v = data_[i];
        below |= !(v >= 0);
        enough |= v >= ENOUGH;
        nonZero |= v != 0;
      }
      if (!below && enough) return;  // the sum reaches the threshold in this chunk
      if (!below && !nonZero) continue;
    }
    for (size_t i = at; i < end && s < 1e-10; ++i) s += term(data_[i]);
  }
  if (s > 0 && s < 1e-10) {
    divideEntries(data_, size_, s);
    setFactorRaw(factor_ * s);
  }
}

void PotTable::normalizeRows() {
  size_t n = rowLength();
  if (!data_) {
    allocate();
    std::fill(data_, data_ + size_, static_cast<float>(1.0 / static_cast<double>(n)));
    return;
  }
  factor_ = 1.0;
  for (size_t at = 0; at + n <= size_; at += n) {
    double s = 0;
    bool plain = true;
    for (size_t i = 0; i < n; ++i) {
      float v = data_[at + i];
      if (isReservedFloat(v) || !(v >= 0)) plain = false;
      s += v;
    }
    if (plain && s > 0)
      for (size_t i = 0; i < n; ++i) data_[at + i] = static_cast<float>(data_[at + i] / s);
  }
}

void PotTable::zeroUndefined() {
  if (!data_) {
    allocate();
    std::fill(data_, data_ + size_, 0.0f);
    return;
  }
  for (size_t i = 0; i < size_; ++i)
    if (isUndefFloat(data_[i])) data_[i] = 0;
}

void PotTable::clipNegatives() {
  requireAllocated("isAllocated()");
  for (size_t i = 0; i < size_; ++i)
    if (!(data_[i] >= 0)) data_[i] = 0;
}

double PotTable::sum() const {
  requireAllocated("isAllocated()");
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
  size_t i = 0;
  for (; i + 4 <= size_; i += 4) {
    s0 += data_[i];
    s1 += data_[i + 1];
    s2 += data_[i + 2];
    s3 += data_[i + 3];
  }
  for (; i < size_; ++i) s0 += data_[i];
  return (s0 + s1 + s2 + s3) * factor_;
}

namespace {
// The entries of dimension `dim` as [outer][count][inner]: the counts before, at and after it.
struct Span {
  size_t outer, count, inner;
};
Span spanAlong(std::span<const int> dims, size_t size, size_t dim) {
  size_t inner = 1;
  for (size_t i = dim + 1; i < dims.size(); ++i) inner *= static_cast<size_t>(dims[i]);
  size_t count = static_cast<size_t>(dims[dim]);
  return {size / (count * inner), count, inner};
}
}  // namespace

void PotTable::sumsAlong(size_t dim, double* out) const {
  requireAllocated("isAllocated()");
  Span sp = spanAlong(dims(), size_, dim);
  std::fill(out, out + sp.count, 0.0);
  const float* p = data_;
  size_t row = sp.count * sp.inner;
  constexpr size_t SHORT_ROW = 256;
  if (row <= SHORT_ROW) {
    // Short rows: the rows are added up entrywise (independent sums, so the loop vectorises),
    // then each state's run of the total row.
    double acc[SHORT_ROW];
    std::fill(acc, acc + row, 0.0);
    for (size_t o = 0; o < sp.outer; ++o, p += row)
      for (size_t j = 0; j < row; ++j) acc[j] += p[j];
    for (size_t k = 0; k < sp.count; ++k)
      for (size_t i = 0; i < sp.inner; ++i) out[k] += acc[k * sp.inner + i];
    return;
  }
  if (sp.inner == 1) {
    for (size_t o = 0; o < sp.outer; ++o, p += sp.count)
      for (size_t k = 0; k < sp.count; ++k) out[k] += p[k];
    return;
  }
  for (size_t o = 0; o < sp.outer; ++o)
    for (size_t k = 0; k < sp.count; ++k, p += sp.inner) {
      double s0 = 0, s1 = 0;
      size_t i = 0;
      for (; i + 2 <= sp.inner; i += 2) {
        s0 += p[i];
        s1 += p[i + 1];
      }
      if (i < sp.inner) s0 += p[i];
      out[k] += s0 + s1;
    }
}

void PotTable::multiplyAlong(size_t dim, const float* v) {
  requireAllocated("isAllocated()");
  Span sp = spanAlong(dims(), size_, dim);
  float* p = data_;
  if (sp.inner == 1) {
    for (size_t o = 0; o < sp.outer; ++o, p += sp.count)
      for (size_t k = 0; k < sp.count; ++k) p[k] *= v[k];
    return;
  }
  for (size_t o = 0; o < sp.outer; ++o)
    for (size_t k = 0; k < sp.count; ++k, p += sp.inner) {
      float f = v[k];
      for (size_t i = 0; i < sp.inner; ++i) p[i] *= f;
    }
}

void PotTable::copyOut(double* out) const {
  requireAllocated("isAllocated()");
  for (size_t i = 0; i < size_; ++i) out[i] = data_[i] * factor_;
}

}  // namespace quorva
