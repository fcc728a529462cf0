// Factor products, sums and maxima, walking the result's entries with an odometer and stepping
// each operand by its own strides.
#include "BN/Query/Factor.h"

#include <algorithm>

namespace quorva {

namespace {

// The stride of each of `vars` in a factor over `of` (0 where `of` lacks the node).
std::vector<size_t> stridesIn(const std::vector<const Bnode*>& vars, const Factor& of) {
  std::vector<size_t> own(of.vars.size(), 1);
  for (size_t i = of.vars.size(); i-- > 1;) own[i - 1] = own[i] * static_cast<size_t>(of.card[i]);
  std::vector<size_t> out(vars.size(), 0);
  for (size_t i = 0; i < vars.size(); ++i)
    for (size_t j = 0; j < of.vars.size(); ++j)
      if (of.vars[j] == vars[i]) out[i] = own[j];
  return out;
}

// Visits every entry of a factor over `card` in order, passing the matching offsets in up to two
// operands whose strides are given.
template <class Visit>
void walk(const std::vector<int>& card, const std::vector<size_t>& sa, const std::vector<size_t>& sb, Visit visit) {
  size_t total = 1;
  for (int c : card) total *= static_cast<size_t>(c);
  std::vector<int> at(card.size(), 0);
  size_t oa = 0, ob = 0;
  for (size_t i = 0; i < total; ++i) {
    visit(i, oa, ob);
    for (size_t d = card.size(); d-- > 0;) {
      if (++at[d] < card[d]) {
        oa += sa[d];
        ob += sb[d];
        break;
      }
      oa -= sa[d] * static_cast<size_t>(card[d] - 1);
      ob -= sb[d] * static_cast<size_t>(card[d] - 1);
      at[d] = 0;
    }
  }
}

}  // namespace

Factor::Factor(std::vector<const Bnode*> v, std::vector<int> c, double fill) : vars(std::move(v)), card(std::move(c)) {
  size_t n = 1;
  for (int k : card) n *= static_cast<size_t>(k);
  values.assign(n, fill);
}

bool Factor::has(const Bnode* v) const { return std::find(vars.begin(), vars.end(), v) != vars.end(); }

double productSize(const Factor& a, const Factor& b) {
  double n = static_cast<double>(a.size());
  for (size_t i = 0; i < b.vars.size(); ++i)
    if (!a.has(b.vars[i])) n *= b.card[i];
  return n;
}

Factor multiply(const Factor& a, const Factor& b) {
  std::vector<const Bnode*> vars = a.vars;
  std::vector<int> card = a.card;
  for (size_t i = 0; i < b.vars.size(); ++i)
    if (!a.has(b.vars[i])) {
      vars.push_back(b.vars[i]);
      card.push_back(b.card[i]);
    }
  Factor out(vars, card, 0.0);
  walk(card, stridesIn(vars, a), stridesIn(vars, b),
       [&](size_t i, size_t oa, size_t ob) { out.values[i] = a.values[oa] * b.values[ob]; });
  return out;
}

Factor eliminate(const Factor& f, const Bnode* v, bool maximum, std::vector<int>* argmax) {
  size_t at = static_cast<size_t>(std::find(f.vars.begin(), f.vars.end(), v) - f.vars.begin());
  if (at == f.vars.size()) return f;
  std::vector<const Bnode*> vars = f.vars;
  std::vector<int> card = f.card;
  vars.erase(vars.begin() + static_cast<long>(at));
  card.erase(card.begin() + static_cast<long>(at));
  Factor out(vars, card, maximum ? -1.0 : 0.0);
  if (argmax) argmax->assign(out.size(), 0);
  // Walk the source with the eliminated node first, so each result entry is visited per state.
  std::vector<const Bnode*> walkVars{v};
  std::vector<int> walkCard{f.card[at]};
  walkVars.insert(walkVars.end(), vars.begin(), vars.end());
  walkCard.insert(walkCard.end(), card.begin(), card.end());
  std::vector<size_t> toResult = stridesIn(walkVars, out);
  size_t perState = out.size();
  walk(walkCard, stridesIn(walkVars, f), toResult, [&](size_t i, size_t of, size_t oo) {
    double x = f.values[of];
    if (!maximum) {
      out.values[oo] += x;
    } else if (x > out.values[oo]) {
      out.values[oo] = x;
      if (argmax) (*argmax)[oo] = static_cast<int>(i / perState);
    }
  });
  return out;
}

Factor reorder(const Factor& f, const std::vector<const Bnode*>& order) {
  std::vector<int> card;
  for (const Bnode* v : order) card.push_back(f.card[static_cast<size_t>(std::find(f.vars.begin(), f.vars.end(), v) - f.vars.begin())]);
  Factor out(order, card, 0.0);
  std::vector<size_t> none(order.size(), 0);
  walk(card, stridesIn(order, f), none, [&](size_t i, size_t of, size_t) { out.values[i] = f.values[of]; });
  return out;
}

}  // namespace quorva
