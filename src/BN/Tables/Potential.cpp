// Potentials: multiplying out products, and their diagnostic description.
#include "BN/Tables/Potential.h"

#include <algorithm>

#include "BN/Net/Bnode.h"
#include "BN/Tables/PotKernels.h"

namespace quorva {

namespace {
std::string nodeNames(std::span<Bnode* const> nodes) {
  std::string out;
  for (const Bnode* n : nodes) {
    if (!out.empty()) out += ", ";
    out += n->name;
  }
  return out;
}
}  // namespace

PotTable& Potential::full(EnvCore* env, std::vector<Bnode*> nodes) {
  if (!isProduct()) return std::get<PotTable>(form_);
  const ProductTable& p = product();
  if (nodes.empty())
    for (const PotTable& f : p.factors)
      for (Bnode* n : f.nodes())
        if (std::find(nodes.begin(), nodes.end(), n) == nodes.end()) nodes.push_back(n);
  PotTable out(env, std::move(nodes));
  out.allocate();
  out.fill(1.0);
  for (const PotTable& f : p.factors) multiplyIn(out, f);
  form_ = std::move(out);
  return std::get<PotTable>(form_);
}

std::string Potential::describe() const {
  if (!isProduct()) return "Table (over vars " + nodeNames(table().nodes()) + ")\n";
  const ProductTable& p = product();
  std::string out = "ProductTable (" + std::to_string(p.factors.size());
  for (const PotTable& f : p.factors) out += ", (" + nodeNames(f.nodes()) + ")";
  return out + ")\n";
}

}  // namespace quorva
