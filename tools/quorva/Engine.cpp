// Environments, error records and lookups by name.
#include "Engine.h"

#include <atomic>
#include <cstdlib>

#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {

// Every live environment, so that the SIGINT handler can ask each to halt.
constexpr int MAX_ENVS = 256;
std::atomic<environ_vq*> liveEnvs[MAX_ENVS];
std::atomic<bool> haltRequested{false};

void enroll(environ_vq* env) {
  for (auto& slot : liveEnvs) {
    environ_vq* expected = nullptr;
    if (slot.compare_exchange_strong(expected, env)) return;
  }
}

void withdraw(environ_vq* env) {
  for (auto& slot : liveEnvs) {
    environ_vq* expected = env;
    if (slot.compare_exchange_strong(expected, nullptr)) return;
  }
}

}  // namespace

void haltAll() {
  haltRequested.store(true);
  for (auto& slot : liveEnvs)
    if (environ_vq* env = slot.load()) quorva::tool::requestHalt(env, true);
}

bool halted() { return haltRequested.load(std::memory_order_relaxed); }

void fail(const std::string& message) {
  std::fprintf(stderr, "quorva: %s\n", message.c_str());
  throw Failure{};
}

const char* severityName(int level) {
  static const char* const names[] = {"null-error", "false alert", "report", "notice", "warning", "error", "internal error"};
  return level >= 0 && level <= 6 ? names[level] : "unknown";
}

std::string recordText(const report_vq* record) {
  const char* text = ErrorDisplayMessage_vq(record);
  return std::string(severityName(ErrorSeverity_vq(record))) + " " + std::to_string(ErrorNumber_vq(record)) + ": " +
         (text ? text : "");
}

Env::Env() {
  env_ = NewQuorvaEnviron_vq(nullptr, nullptr, nullptr);
  if (!env_) fail("could not create an engine environment");
  char mesg[MESG_LEN_vq] = "";
  if (InitQuorva2_bn(env_, mesg) < 0) {
    flush();
    fail(std::string("could not start the engine: ") + mesg);
  }
  enroll(env_);
  if (halted()) quorva::tool::requestHalt(env_, true);
}

Env::~Env() {
  withdraw(env_);
  CloseQuorva_bn(env_, nullptr);
}

bool Env::flush(errseverity_vq least, std::FILE* out) {
  bool error = false;
  for (report_vq* r = GetError_vq(env_, least, nullptr); r; r = GetError_vq(env_, least, r)) {
    std::fprintf(out, "quorva: %s\n", recordText(r).c_str());
    error = error || ErrorSeverity_vq(r) >= ERROR_ERR;
  }
  ClearErrors_vq(env_, INTERNAL_ERR);
  return error;
}

void Env::check() {
  if (flush()) throw Failure{};
}

std::string Env::firstMessage(errseverity_vq least) const {
  report_vq* r = GetError_vq(env_, least, nullptr);
  if (!r) return "";
  const char* text = ErrorDisplayMessage_vq(r);
  return text ? text : "";
}

net_bn* Env::readNet(const std::string& path) {
  stream_vq* stream = NewFileStream_vq(path.c_str(), env_, nullptr);
  net_bn* net = stream ? ReadNet_bn(stream, NO_VISUAL_INFO) : nullptr;
  if (stream) DeleteStream_vq(stream);
  if (flush()) throw Failure{};
  if (!net) fail("could not read the net in '" + path + "'");
  return net;
}

void Env::writeNet(const net_bn* net, const std::string& path) {
  stream_vq* stream = NewFileStream_vq(path.c_str(), env_, nullptr);
  if (stream) {
    WriteNet_bn(net, stream);
    DeleteStream_vq(stream);
  }
  if (flush()) throw Failure{};
  if (!stream) fail("could not write the net to '" + path + "'");
}

std::vector<node_bn*> netNodes(const net_bn* net) {
  const nodelist_bn* list = GetNetNodes_bn(net);
  std::vector<node_bn*> nodes;
  for (int i = 0, n = LengthNodeList_bn(list); i < n; ++i) nodes.push_back(GetNthNode_bn(list, i));
  return nodes;
}

node_bn* findNode(const net_bn* net, const std::string& name) {
  node_bn* node = GetNodeNamed_bn(name.c_str(), net);
  if (!node) {
    ClearErrors_vq(GetNetEnviron_bn(net), INTERNAL_ERR);  // a name that is not a legal name at all
    fail("net '" + std::string(GetNetName_bn(net)) + "' has no node named '" + name + "'");
  }
  return node;
}

std::vector<node_bn*> selectNodes(const net_bn* net, const std::vector<std::string>& names) {
  if (names.empty()) return netNodes(net);
  std::vector<node_bn*> nodes;
  for (const std::string& name : names) nodes.push_back(findNode(net, name));
  return nodes;
}

int cliqueCount(net_bn* net) {
  const char* report = ReportJunctionTree_bn(net);
  if (!report) return -1;
  // One line per clique, beginning with its number; a header line before and a sum line after.
  int count = 0;
  for (const char* line = report; *line;) {
    const char* p = line;
    while (*p == ' ') ++p;
    if (*p >= '0' && *p <= '9') ++count;
    while (*line && *line != '\n') ++line;
    if (*line) ++line;
  }
  return count;
}

state_bn findState(const node_bn* node, const std::string& text) {
  const int count = GetNodeNumberStates_bn(node);
  std::string known;
  for (int s = 0; s < count; ++s) known += std::string(s ? ", " : "") + GetNodeStateName_bn(node, s);
  const std::string where = "node '" + std::string(GetNodeName_bn(node)) + "' (states: " + known + ")";
  if (!text.empty() && text[0] == '#') {
    char* end = nullptr;
    long index = std::strtol(text.c_str() + 1, &end, 10);
    if (text.size() < 2 || *end != '\0' || index < 0 || index >= count)
      fail("no state " + text + " in " + where);
    return static_cast<state_bn>(index);
  }
  state_bn s = GetStateNamed_bn(text.c_str(), node);
  if (s < 0) {
    ClearErrors_vq(GetNetEnviron_bn(GetNodeNet_bn(node)), INTERNAL_ERR);
    fail("no state '" + text + "' in " + where);
  }
  return s;
}

}  // namespace quorva::cli
