// A potential: one full table, or a product of tables kept unmultiplied until a full table is
// needed.
#pragma once
#include <string>
#include <variant>
#include <vector>

#include "BN/Tables/PotTable.h"

namespace quorva {

struct ProductTable {
  std::vector<PotTable> factors;
};

class Potential {
 public:
  Potential() = default;
  explicit Potential(PotTable table) : form_(std::move(table)) {}
  explicit Potential(ProductTable product) : form_(std::move(product)) {}

  bool isProduct() const { return std::holds_alternative<ProductTable>(form_); }
  const PotTable& table() const { return std::get<PotTable>(form_); }
  const ProductTable& product() const { return std::get<ProductTable>(form_); }

  // Multiplies a product out into one table over `nodes` (the union of the factors' nodes when
  // empty); the size limits of tables apply.  A table is left as it is.
  PotTable& full(EnvCore* env, std::vector<Bnode*> nodes = {});

  // "Table (over vars A, B)\n" or "ProductTable (2, (A, B), (C))\n".
  std::string describe() const;

 private:
  std::variant<PotTable, ProductTable> form_;
};

}  // namespace quorva
