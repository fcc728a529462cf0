// Writing beliefs as JSON lines and as tables.
#include "BeliefFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

namespace {
constexpr int TABLE_BAR = 40;

std::string dumped(const nlohmann::ordered_json& value) {
  return value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

// The printable length of UTF-8 text (code points).
size_t columns(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}
}  // namespace

void appendNumber(std::string& out, double x) {
  if (!std::isfinite(x)) {
    out += "null";
    return;
  }
  char buffer[64];
  char* end = nlohmann::detail::to_chars(buffer, buffer + sizeof buffer, x);
  out.append(buffer, static_cast<size_t>(end - buffer));
}

void appendJsonString(std::string& out, std::string_view text) { out += dumped(std::string(text)); }

namespace {

// The name and title fields of a node: {"name":N[,"title":T],"states":[S...][,"titles":[T...]]}
// without the closing brace.
nlohmann::ordered_json nodeFields(node_bn* node) {
  const std::string name = GetNodeName_bn(node);
  nlohmann::ordered_json fields = {{"name", name}};
  const char* title = GetNodeTitle_bn(node);
  if (title && *title && name != title) fields["title"] = title;
  nlohmann::ordered_json states = nlohmann::ordered_json::array(), titles = nlohmann::ordered_json::array();
  bool titled = false;
  for (int s = 0, count = GetNodeNumberStates_bn(node); s < count; ++s) {
    std::string state = GetNodeStateName_bn(node, s);
    if (state.empty()) state = "#" + std::to_string(s);
    const char* stateTitle = GetNodeStateTitle_bn(node, s);
    titled = titled || (stateTitle && *stateTitle && state != stateTitle);
    states.push_back(state);
    titles.push_back(stateTitle && *stateTitle ? std::string(stateTitle) : state);
  }
  fields["states"] = states;
  if (titled) fields["titles"] = titles;
  return fields;
}

}  // namespace

BeliefFormat::BeliefFormat(const net_bn* net, std::vector<node_bn*> shown) : shown_(std::move(shown)) {
  netName_ = netName(net);
  head_ = ",\"net\":" + dumped(netName_) + ",\"findings_probability\":";
  for (node_bn* node : shown_) {
    const int count = GetNodeNumberStates_bn(node);
    std::vector<std::string> labels;
    for (int s = 0; s < count; ++s) {
      std::string name = GetNodeStateName_bn(node, s);
      if (name.empty()) name = "#" + std::to_string(s);
      const char* title = GetNodeStateTitle_bn(node, s);
      labels.push_back(title && *title && name != title ? name + " (" + title + ")" : name);
    }
    nlohmann::ordered_json fields = nodeFields(node);
    fields["beliefs"] = nlohmann::ordered_json::array();
    std::string head = dumped(fields);
    head.resize(head.size() - 3);  // without the "[]}" of the empty beliefs
    nodeHeads_.push_back(head + "[");
    const std::string name = GetNodeName_bn(node);
    const char* title = GetNodeTitle_bn(node);
    titles_.push_back(title && *title && name != title ? name + ": " + title : name);
    stateLabels_.push_back(std::move(labels));
  }
  beliefs_.assign(shown_.size(), nullptr);
  const std::vector<node_bn*> all = netNodes(net);
  int at = 0;
  std::vector<int> offsetOf(all.size());
  for (size_t i = 0; i < all.size(); ++i) {
    offsetOf[i] = at;
    if (GetNodeKind_bn(all[i]) != UTILITY_NODE) at += std::max(0, GetNodeNumberStates_bn(all[i]));
  }
  for (node_bn* node : shown_) {
    const size_t i = static_cast<size_t>(std::find(all.begin(), all.end(), node) - all.begin());
    offsets_.push_back(i < all.size() ? offsetOf[i] : 0);
    valued_.push_back(GetNodeLevels_bn(node) != nullptr ? 1 : 0);
  }
  means_.assign(shown_.size(), 0);
  sds_.assign(shown_.size(), 0);
}

bool BeliefFormat::read(net_bn* net) {
  probability_ = FindingsProbability_bn(net);
  if (!(probability_ > 0)) return false;
  for (size_t i = 0; i < shown_.size(); ++i) {
    beliefs_[i] = GetNodeBeliefs_bn(shown_[i]);
    if (!beliefs_[i]) return false;
  }
  readExpected();
  return true;
}

void BeliefFormat::appendJson(std::string& out, long caseNo) const {
  if (caseNo >= 0) {
    out += "{\"case\":";
    out += std::to_string(caseNo);
    out += head_;
  } else {
    out += '{';
    out.append(head_, 1);
  }
  appendNumber(out, probability_);
  appendApproxHead(out);
  out += ",\"nodes\":[";
  for (size_t i = 0; i < shown_.size(); ++i) {
    if (i) out += ',';
    out += nodeHeads_[i];
    const size_t count = stateLabels_[i].size();
    for (size_t s = 0; s < count; ++s) {
      if (s) out += ',';
      appendNumber(out, static_cast<double>(beliefs_[i][s]));
    }
    out += ']';
    appendNodeExtras(out, i);
    out += '}';
  }
  out += "]}\n";
}

void BeliefFormat::appendJsonError(std::string& out, long caseNo, std::string_view message) {
  out += "{\"case\":";
  out += std::to_string(caseNo);
  out += ",\"error\":";
  appendJsonString(out, message);
  out += "}\n";
}

nlohmann::ordered_json BeliefFormat::toJson() const {
  nlohmann::ordered_json top = {{"net", netName_}, {"findings_probability", probability_}};
  addApproxJson(top);
  nlohmann::ordered_json nodes = nlohmann::ordered_json::array();
  for (size_t i = 0; i < shown_.size(); ++i) {
    nlohmann::ordered_json node = nodeFields(shown_[i]), beliefs = nlohmann::ordered_json::array();
    for (size_t s = 0; s < stateLabels_[i].size(); ++s) beliefs.push_back(static_cast<double>(beliefs_[i][s]));
    node["beliefs"] = beliefs;
    addNodeJson(node, i);
    nodes.push_back(node);
  }
  top["nodes"] = nodes;
  return top;
}

void BeliefFormat::appendTables(std::string& out) const {
  char line[64];
  std::snprintf(line, sizeof line, "%.6g", probability_);
  out += "Probability of the findings: ";
  out += method_ == BeliefMethod::Exact ? std::string(line) : approxLine();
  out += "\n";
  for (size_t i = 0; i < shown_.size(); ++i) {
    out += "\n";
    out += titles_[i];
    out += "\n";
    size_t width = 0;
    for (const std::string& label : stateLabels_[i]) width = std::max(width, columns(label));
    for (size_t s = 0; s < stateLabels_[i].size(); ++s) {
      const double p = beliefs_[i][s];
      out += "  ";
      out += stateLabels_[i][s];
      out.append(width - columns(stateLabels_[i][s]), ' ');
      std::snprintf(line, sizeof line, " %7.2f%% ", p * 100);
      out += line;
      if (!errors_.empty()) {
        std::snprintf(line, sizeof line, "\u00B1%5.2f%% ", errors_[i][s] * 100);
        out += line;
      }
      std::string bar = blockBar(p, TABLE_BAR);
      bar.erase(bar.find_last_not_of(' ') + 1);
      out += bar;
      out += "\n";
    }
    if (valued_[i]) out += "  expected value: " + readable(means_[i]) + " (std dev " + readable(sds_[i]) + ")\n";
  }
}

}  // namespace quorva::cli
