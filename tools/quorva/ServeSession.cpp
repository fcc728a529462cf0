// The JSON interface of `quorva serve` over one net.
#include "ServeSession.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

#include "BeliefFormat.h"
#include "ServeNetView.h"
#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {

using json = nlohmann::ordered_json;

std::string dumped(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

ServeReply ok(const json& value) { return {200, dumped(value)}; }

// The node of that name, else the one node with that title; null when there is none.
node_bn* nodeCalled(const net_bn* net, const std::string& name) {
  if (node_bn* node = GetNodeNamed_bn(name.c_str(), net)) return node;
  ClearErrors_vq(GetNetEnviron_bn(net), INTERNAL_ERR);  // a name that is not a legal name at all
  node_bn* found = nullptr;
  int titled = 0;
  for (node_bn* node : netNodes(net)) {
    const char* title = GetNodeTitle_bn(node);
    if (title && name == title && titled++ == 0) found = node;
  }
  return titled == 1 ? found : nullptr;
}

// The state of that name, else of that title, else "#index"; UNDEF_STATE when none.
state_bn stateCalled(const node_bn* node, const std::string& text) {
  const int count = GetNodeNumberStates_bn(node);
  for (int s = 0; s < count; ++s) {
    const char* name = GetNodeStateName_bn(node, s);
    if (name && text == name) return s;
  }
  for (int s = 0; s < count; ++s) {
    const char* title = GetNodeStateTitle_bn(node, s);
    if (title && *title && text == title) return s;
  }
  if (text.size() > 1 && text[0] == '#' && text.find_first_not_of("0123456789", 1) == std::string::npos &&
      text.size() < 10)
    return std::stoi(text.substr(1));
  return UNDEF_STATE;
}

std::string stateWord(const node_bn* node, int s) {
  const char* name = GetNodeStateName_bn(node, s);
  return name && *name ? name : "#" + std::to_string(s);
}

json number(double x) { return std::isfinite(x) && x != UNDEF_DBL ? json(x) : json(); }

// What a node's finding was, to put it back when a request is refused part way.
struct HeldFinding {
  node_bn* node;
  state_bn state;
  std::vector<prob_bn> likelihood;  // for a likelihood or negative finding
};

std::vector<HeldFinding> holdFindings(const net_bn* net) {
  std::vector<HeldFinding> held;
  for (node_bn* node : netNodes(net)) {
    if (GetNodeNumberStates_bn(node) <= 0) continue;
    const state_bn state = GetNodeFinding_bn(node);
    if (state == UNDEF_STATE) continue;
    HeldFinding h{node, state, {}};
    if (state < 0) {
      const prob_bn* like = GetNodeLikelihood_bn(node);
      if (like) h.likelihood.assign(like, like + GetNodeNumberStates_bn(node));
    }
    held.push_back(std::move(h));
  }
  return held;
}

void restoreFindings(net_bn* net, const std::vector<HeldFinding>& held) {
  RetractNetFindings_bn(net);
  for (const HeldFinding& h : held) {
    if (h.state >= 0)
      EnterFinding_bn(h.node, h.state);
    else if (!h.likelihood.empty())
      EnterNodeLikelihood_bn(h.node, h.likelihood.data());
  }
}

}  // namespace

ServeReply serveRefusal(int status, const std::string& message) {
  return {status, dumped(json{{"error", {{"number", 0}, {"message", message}}}})};
}

ServeSession::ServeSession(Env& env, net_bn* net, std::string path, NetFormat format, bool save)
    : env_(env), net_(net), path_(std::move(path)), format_(format), save_(save) {}

ServeReply ServeSession::engineError(int status, const std::string& otherwise) {
  report_vq* record = GetError_vq(env_.get(), ERROR_ERR, nullptr);
  ServeReply reply = serveRefusal(status, otherwise);
  if (record) {
    const char* text = ErrorDisplayMessage_vq(record);
    reply.body = dumped(json{{"error", {{"number", ErrorNumber_vq(record)}, {"message", text ? text : otherwise}}}});
  }
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  return reply;
}

ServeReply ServeSession::net() {
  std::lock_guard<std::mutex> hold(lock_);
  return ok(describeNet(net_));
}

std::string ServeSession::beliefsText() {
  json out;
  const double probability = FindingsProbability_bn(net_);
  out["findings_probability"] = number(probability);
  json findings = json::object(), beliefs = json::object(), utilities = json::object();
  for (node_bn* node : netNodes(net_)) {
    const int states = GetNodeNumberStates_bn(node);
    if (states <= 0 || GetNodeKind_bn(node) == UTILITY_NODE) continue;
    const state_bn finding = GetNodeFinding_bn(node);
    if (finding >= 0) findings[GetNodeName_bn(node)] = stateWord(node, finding);
    const prob_bn* b = GetNodeBeliefs_bn(node);
    json row = json::array();
    for (int s = 0; b && s < states; ++s) row.push_back(static_cast<double>(b[s]));
    beliefs[GetNodeName_bn(node)] = row;
    if (GetNodeKind_bn(node) == DECISION_NODE) {
      const double* u = GetNodeExpectedUtils_bn(node);
      json eu = json::array();
      for (int s = 0; u && s < states; ++s) eu.push_back(number(u[s]));
      utilities[GetNodeName_bn(node)] = eu;
    }
  }
  out["findings"] = findings;
  out["beliefs"] = beliefs;
  out["expected_utilities"] = utilities;
  out["expected_utility"] = utilities.empty() ? json() : number(GetNetExpectedUtility_bn(net_));
  return dumped(out);
}

ServeReply ServeSession::beliefs() {
  std::lock_guard<std::mutex> hold(lock_);
  std::string text = beliefsText();
  if (GetError_vq(env_.get(), ERROR_ERR, nullptr)) return engineError(500, "could not update the beliefs");
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  return {200, std::move(text)};
}

ServeReply ServeSession::enter(const std::string& body) {
  const json request = json::parse(body, nullptr, false);
  if (request.is_discarded() || !request.is_object())
    return serveRefusal(400, "the findings must be one JSON object {\"NODE\": \"STATE\" | index | null, ...}");
  std::lock_guard<std::mutex> hold(lock_);
  // Every node and state is looked up before any finding changes.
  std::vector<std::pair<node_bn*, state_bn>> changes;  // UNDEF_STATE: retract
  for (const auto& [name, value] : request.items()) {
    node_bn* node = nodeCalled(net_, name);
    if (!node) return serveRefusal(400, "net '" + netName(net_) + "' has no node named '" + name + "'");
    if (value.is_null()) {
      changes.emplace_back(node, UNDEF_STATE);
    } else if (value.is_number_integer()) {
      const long long index = value.get<long long>();
      // Out of range, the engine refuses it itself; beyond an int, it is told as the largest one.
      changes.emplace_back(node, static_cast<state_bn>(std::clamp<long long>(index, INT_MIN, INT_MAX)));
    } else if (value.is_string()) {
      const state_bn s = stateCalled(node, value.get<std::string>());
      if (s == UNDEF_STATE)
        return serveRefusal(400, "node '" + name + "' has no state '" + value.get<std::string>() + "'");
      changes.emplace_back(node, s);
    } else {
      return serveRefusal(400, "the finding for node '" + name + "' must be a state name, a state index or null");
    }
  }
  const std::vector<HeldFinding> held = holdFindings(net_);
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  bool refused = false;
  for (const auto& [node, state] : changes) {
    // A new state replaces the node's finding: the one before goes first.
    if (state == UNDEF_STATE || GetNodeFinding_bn(node) != state) RetractNodeFindings_bn(node);
    if (state != UNDEF_STATE) EnterFinding_bn(node, state);
    if ((refused = GetError_vq(env_.get(), ERROR_ERR, nullptr) != nullptr)) break;
  }
  // Findings each possible alone may be impossible together: updating says so.
  if (!refused) {
    FindingsProbability_bn(net_);
    refused = GetError_vq(env_.get(), ERROR_ERR, nullptr) != nullptr;
  }
  if (refused) {
    ServeReply reply = engineError(422, "the findings are impossible");
    restoreFindings(net_, held);
    ClearErrors_vq(env_.get(), INTERNAL_ERR);
    return reply;
  }
  std::string text = beliefsText();
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  return {200, std::move(text)};
}

ServeReply ServeSession::retractAll() {
  std::lock_guard<std::mutex> hold(lock_);
  RetractNetFindings_bn(net_);
  std::string text = beliefsText();
  if (GetError_vq(env_.get(), ERROR_ERR, nullptr)) return engineError(500, "could not update the beliefs");
  return {200, std::move(text)};
}

ServeReply ServeSession::move(const std::string& body) {
  const json request = json::parse(body, nullptr, false);
  if (request.is_discarded() || !request.is_object())
    return serveRefusal(400, "the positions must be one JSON object {\"NODE\": [x, y], ...}");
  std::lock_guard<std::mutex> hold(lock_);
  std::vector<std::pair<node_bn*, std::pair<double, double>>> moves;
  for (const auto& [name, value] : request.items()) {
    node_bn* node = nodeCalled(net_, name);
    if (!node) return serveRefusal(400, "net '" + netName(net_) + "' has no node named '" + name + "'");
    if (!value.is_array() || value.size() != 2 || !value[0].is_number() || !value[1].is_number())
      return serveRefusal(400, "the position of node '" + name + "' must be [x, y]");
    const double x = value[0].get<double>(), y = value[1].get<double>();
    if (!std::isfinite(x) || !std::isfinite(y) || std::fabs(x) > 1e9 || std::fabs(y) > 1e9)
      return serveRefusal(400, "the position of node '" + name + "' is out of range");
    moves.push_back({node, {x, y}});
  }
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  for (const auto& [node, at] : moves) SetNodeVisPosition_bn(node, nullptr, at.first, at.second);
  if (GetError_vq(env_.get(), ERROR_ERR, nullptr)) return engineError(400, "could not move the nodes");
  json answer = {{"moved", moves.size()}, {"saved", false}};
  if (save_) {
    const std::string problem = saveNet();
    if (!problem.empty()) return serveRefusal(500, problem);
    answer["saved"] = true;
  }
  return ok(answer);
}

std::string ServeSession::saveNet() {
  const std::string temporary = path_ + ".saving-" + std::to_string(getpid());
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  stream_vq* stream = NewFileStream_vq(temporary.c_str(), env_.get(), nullptr);
  if (stream) {
    quorva::tool::writeNetAs(net_, stream, format_ == NetFormat::Bif);
    DeleteStream_vq(stream);
  }
  report_vq* record = GetError_vq(env_.get(), ERROR_ERR, nullptr);
  std::string problem;
  if (record || !stream) {
    const char* text = record ? ErrorDisplayMessage_vq(record) : nullptr;
    problem = "could not write the net to '" + path_ + "'" + (text ? std::string(": ") + text : "");
  } else if (std::rename(temporary.c_str(), path_.c_str()) != 0) {
    problem = "could not replace '" + path_ + "' by the net written";
  }
  ClearErrors_vq(env_.get(), INTERNAL_ERR);
  if (!problem.empty()) std::remove(temporary.c_str());
  return problem;
}

}  // namespace quorva::cli
