// Reading cases for learning and testing.
#include "BN/Learning/CaseFeed.h"

#include <algorithm>
#include <filesystem>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/Stream.h"

namespace quorva {

namespace {

double streamSize(const FileSpec& file) {
  if (file.isMemory()) return static_cast<double>(file.contents().size());
  std::error_code ec;
  auto size = std::filesystem::file_size(file.name(), ec);
  return ec ? 0.0 : static_cast<double>(size);
}

// The one state a likelihood leaves possible, or -1.
int singleState(const std::vector<float>& l) {
  int found = -1;
  for (size_t i = 0; i < l.size(); ++i) {
    if (l[i] == 0) continue;
    if (found >= 0) return -1;
    found = static_cast<int>(i);
  }
  return found;
}

}  // namespace

int stateOfValue(const Bnode& node, double value) {
  const std::vector<double>& lv = node.details().levels;
  if (!node.hasStates() || lv.size() != static_cast<size_t>(node.numStates) + 1) return -1;
  bool rising = lv.back() >= lv.front();
  for (size_t i = 0; i + 1 < lv.size(); ++i) {
    double lo = rising ? lv[i] : lv[i + 1], hi = rising ? lv[i + 1] : lv[i];
    bool last = i + 2 == lv.size();
    if (value >= lo && (value < hi || (last && value == hi))) return static_cast<int>(i);
  }
  return -1;
}

CaseFeed::CaseFeed(FileSpec& file, Bnet& net, const std::vector<Bnode*>& wanted, const CaseFormat& format)
    : net_(net), reader_(file, format), size_(streamSize(file)) {
  states_.assign(net.nodes.size(), UNKNOWN_STATE);
  if (!reader_.readHeader()) return;
  std::vector<std::string> added;
  binding_.refresh(reader_, net, wanted, AddNew::Dont, true, added);
  place_.assign(binding_.bound.size(), 0);
  for (size_t c = 0; c < binding_.bound.size(); ++c)
    if (Bnode* n = binding_.bound[c])
      place_[c] = static_cast<size_t>(std::find(net.nodes.begin(), net.nodes.end(), n) - net.nodes.begin());
}

bool CaseFeed::anyBound() const {
  return std::any_of(binding_.bound.begin(), binding_.bound.end(), [](Bnode* n) { return n != nullptr; });
}

double CaseFeed::fraction() const {
  return size_ > 0 ? std::min(1.0, static_cast<double>(reader_.offset()) / size_) : 0.0;
}

bool CaseFeed::next() {
  const std::vector<Bnode*>& bound = binding_.bound;
  while (true) {
    for (size_t p : touched_) states_[p] = UNKNOWN_STATE;
    touched_.clear();
    likelihoods_.clear();
    if (!reader_.next(row_)) return false;
    bool skip = false;
    for (size_t c = 0; c < bound.size() && !skip; ++c) {
      if (!bound[c]) continue;
      CaseValue v;
      parseCaseValue(*bound[c], row_.fields[c], reader_, row_, c, &binding_.states[c], v);
      int state = UNKNOWN_STATE;
      if (v.kind == CaseValue::Skip) skip = true;
      if (v.kind == CaseValue::State) state = v.state;
      if (v.kind == CaseValue::Value) state = stateOfValue(*bound[c], v.value);
      if (v.kind == CaseValue::Likelihood) {
        state = singleState(v.likelihood);
        if (state < 0) likelihoods_.emplace_back(place_[c], std::move(v.likelihood));
      }
      if (state >= 0) {
        states_[place_[c]] = state;
        touched_.push_back(place_[c]);
      }
    }
    if (!skip) return true;
  }
}

}  // namespace quorva
