// Operations between two potential tables whose node lists may differ in content and order.
// Nodes are matched by identity.  A node of the source that is absent from the destination, in an
// operation that does not sum or maximise it out, is fixed at its current state (Bnode::curState).
#pragma once
#include <memory>

namespace quorva {

class PotTable;

// The iteration plan of a kernel on one pair of tables, for a caller that applies the kernel to
// the same pair again and again (the junction tree's messages).  It is made on first use and made
// again when either table's node list has been replaced; a copy starts empty.
class KernelPlan {
 public:
  KernelPlan();
  ~KernelPlan();
  KernelPlan(const KernelPlan&);
  KernelPlan& operator=(const KernelPlan&);
  KernelPlan(KernelPlan&&) noexcept;
  KernelPlan& operator=(KernelPlan&&) noexcept;

  struct Held;  // the plan and the node lists it was made for
  std::unique_ptr<Held> held;
};

// dst := src values (factor copied).  With `reorder` false the two lists must be equal and the
// data is copied as one block.
void copyFrom(PotTable& dst, const PotTable& src, bool reorder);
// dst := dst * src entrywise; factors multiply; then the underflow guard.
void multiplyIn(PotTable& dst, const PotTable& src);
// The same through a plan kept for this pair of tables.
void multiplyIn(PotTable& dst, const PotTable& src, KernelPlan& plan);
// dst := dst / src entrywise, 0 where src is 0; dst factor / src factor, then the overflow guard
// when that factor is below 1, then the underflow guard.
void divideBy(PotTable& dst, const PotTable& src);
// dst := sum of src over the src nodes absent from dst (dst nodes absent from src get the same
// sums for each of their states).
void marginalizeInto(PotTable& dst, const PotTable& src);
void marginalizeInto(PotTable& dst, const PotTable& src, KernelPlan& plan);
// dst := maximum of src over the src nodes absent from dst.
void maxOutInto(PotTable& dst, const PotTable& src);

}  // namespace quorva
