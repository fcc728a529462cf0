// Environments, error records and lookups by name.
#include "Engine.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>

#include "Quorva/ToolSupport.h"

namespace quorva::cli {

namespace {

// Every live environment, so that the SIGINT handler can ask each to halt.
constexpr int MAX_ENVS = 256;
std::atomic<environ_vq*> liveEnvs[MAX_ENVS];
std::atomic<bool> haltRequested{false};

// The file each net was read from, for netName().
std::mutex pathsLock;
std::map<const net_bn*, std::string> netPaths;

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

void clearHalt() {
  haltRequested.store(false);
  for (auto& slot : liveEnvs)
    if (environ_vq* env = slot.load()) quorva::tool::requestHalt(env, false);
}

void compileNet(Env& env, net_bn* net, const std::string& path, double optimizeSeconds, std::FILE* console,
                bool* stopped) {
  if (stopped) *stopped = false;
  if (optimizeSeconds > 0) {
    bool done = quorva::tool::compileOptimized(net, optimizeSeconds, console);
    if (halted()) {
      // The search keeps its best order on the net; a compile that the halt cut short after the
      // search is done again with that order.
      clearHalt();
      ClearErrors_vq(env.get(), INTERNAL_ERR);
      if (!done) {
        CompileNet_bn(net);
        done = GetError_vq(env.get(), ERROR_ERR, nullptr) == nullptr;
      }
      if (done) {
        std::fprintf(stderr, "quorva: stopped: compiled with the best elimination order found so far\n");
        if (stopped) *stopped = true;
      }
    }
    const bool errors = env.flush();
    if (!done && !errors) fail("could not compile the net in '" + path + "'");
    if (errors) throw Failure{};
    return;
  }
  CompileNet_bn(net);
  if (env.flush()) throw Failure{};
}

void fail(const std::string& message) {
  std::fprintf(stderr, "quorva: %s\n", message.c_str());
  throw Failure{};
}

void failUsage(const std::string& message) {
  std::fprintf(stderr, "quorva: %s\n", message.c_str());
  throw UsageFailure{};
}

std::string counted(long long count, const std::string& noun, const std::string& plural) {
  return std::to_string(count) + " " + (count == 1 ? noun : plural.empty() ? noun + "s" : plural);
}

std::string readable(double x) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", x);
  return text;
}

const char* const FORMAT_NAMES = "dnet|bif|xmlbif|net|uai|dot";

NetFormat formatNamed(const std::string& name) {
  static const std::pair<const char*, NetFormat> names[] = {
      {"dnet", NetFormat::Dnet}, {"bif", NetFormat::Bif},   {"xmlbif", NetFormat::XmlBif}, {"net", NetFormat::Hugin},
      {"hugin", NetFormat::Hugin}, {"uai", NetFormat::Uai}, {"dot", NetFormat::Dot}};
  for (const auto& [word, format] : names)
    if (name == word) return format;
  return NetFormat::Unknown;
}

NetFormat formatByExtension(const std::string& path) {
  const size_t slash = path.find_last_of('/'), dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return NetFormat::Unknown;
  std::string ext = path.substr(dot + 1);
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "dne" || ext == "dnet") return NetFormat::Dnet;
  if (ext == "xml" || ext == "xbif" || ext == "xmlbif") return NetFormat::XmlBif;
  return ext == "bif" ? NetFormat::Bif : ext == "net" ? NetFormat::Hugin : ext == "uai" ? NetFormat::Uai
         : ext == "dot" ? NetFormat::Dot : NetFormat::Unknown;
}

NetFormat formatByContent(const std::string& start) {
  size_t at = start.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  while (at < start.size()) {
    if (std::isspace(static_cast<unsigned char>(start[at]))) {
      ++at;
    } else if (start.compare(at, 11, "// ~->[DNET") == 0) {
      return NetFormat::Dnet;
    } else if (start.compare(at, 2, "//") == 0 || start[at] == '%') {
      at = start.find('\n', at);
    } else if (start.compare(at, 2, "/*") == 0) {
      at = start.find("*/", at + 2);
      if (at != std::string::npos) at += 2;
    } else {
      break;
    }
  }
  if (at >= start.size()) return NetFormat::Unknown;
  if (start.compare(at, 5, "<?xml") == 0 || start.compare(at, 4, "<BIF") == 0) return NetFormat::XmlBif;
  size_t end = at;
  while (end < start.size() && (std::isalnum(static_cast<unsigned char>(start[end])) || start[end] == '_')) ++end;
  const std::string word = start.substr(at, end - at);
  if (word == "net") {
    size_t next = start.find_first_not_of(" \t\r\n", end);
    return next != std::string::npos && start[next] == '{' ? NetFormat::Hugin : NetFormat::Unknown;
  }
  return word == "bnet" ? NetFormat::Dnet : word == "network" ? NetFormat::Bif
         : word == "class" ? NetFormat::Hugin : word == "BAYES" || word == "MARKOV" ? NetFormat::Uai
         : NetFormat::Unknown;
}

namespace {

// The C interface's constant for a format.
int apiFormat(NetFormat f) {
  switch (f) {
    case NetFormat::Dnet: return DNET_FORMAT;
    case NetFormat::Bif: return BIF_FORMAT;
    case NetFormat::XmlBif: return XMLBIF_FORMAT;
    case NetFormat::Hugin: return HUGIN_NET_FORMAT;
    case NetFormat::Uai: return UAI_FORMAT;
    case NetFormat::Dot: return DOT_FORMAT;
    default: return UNKNOWN_FORMAT;
  }
}

}  // namespace

net_bn* readNetFrom(stream_vq* stream, NetFormat format) {
  return ReadNetFormat_bn(stream, apiFormat(format), NO_VISUAL_INFO);
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
  // Tables that would not fit in the machine's memory are refused with the size they need,
  // rather than the process being ended by the system.
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
  if (pages > 0 && pageSize > 0) LimitMemoryUsage_vq(static_cast<double>(pages) * static_cast<double>(pageSize), env_);
  ClearErrors_vq(env_, INTERNAL_ERR);
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
    // Every plain case file gets notice 2450 (no format version): it says nothing to a user.
    if (ErrorNumber_vq(r) == 2450 && ErrorSeverity_vq(r) < WARNING_ERR) continue;
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

std::string netFileProblem(const std::string& path, NetFormat& format) {
  struct stat info {};
  if (stat(path.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) return "'" + path + "' is a directory, not a net file";
    if (S_ISREG(info.st_mode) && info.st_size == 0) return "'" + path + "' is empty";
  }
  if (format != NetFormat::Unknown) return "";
  // The start of the file says the format when it can (a BIF net named .net is still BIF); else
  // the extension does.
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    format = formatByExtension(path);
    if (format == NetFormat::Unknown || format == NetFormat::Dot) format = NetFormat::Dnet;  // the reader says why it cannot be opened
    return "";
  }
  std::string start(8192, '\0');
  in.read(start.data(), static_cast<std::streamsize>(start.size()));
  start.resize(static_cast<size_t>(in.gcount()));
  format = formatByContent(start);
  if (format == NetFormat::Unknown) format = formatByExtension(path);
  if (format != NetFormat::Unknown) return "";
  return "'" + path + "' is neither a DNET net (\"bnet NAME {\") nor another format told by its start (BIF \"network NAME {\", " +
         "XMLBIF \"<?xml\", Hugin NET \"net {\", UAI \"BAYES\"); if it is one, say which with --format " + FORMAT_NAMES;
}

net_bn* Env::readNet(const std::string& path, NetFormat format) {
  const std::string problem = netFileProblem(path, format);
  if (!problem.empty()) fail(problem);
  stream_vq* stream = NewFileStream_vq(path.c_str(), env_, nullptr);
  if (format == NetFormat::Dot) fail("'" + path + "': DOT files can be written, not read");
  net_bn* net = stream ? readNetFrom(stream, format) : nullptr;
  if (stream) DeleteStream_vq(stream);
  if (flush()) throw Failure{};
  if (!net) fail("could not read the net in '" + path + "'");
  std::lock_guard<std::mutex> lock(pathsLock);
  netPaths[net] = path;
  return net;
}

void Env::writeNet(net_bn* net, const std::string& path, NetFormat format, bool bars) {
  if (format == NetFormat::Unknown) format = formatByExtension(path);
  if (format == NetFormat::Unknown)
    failUsage("cannot tell which format to write '" + path +
              "' in: name it .dne, .dnet, .bif, .xml, .net, .uai or .dot, or give --to " + FORMAT_NAMES);
  stream_vq* stream = NewFileStream_vq(path.c_str(), env_, nullptr);
  if (stream) {
    WriteNetFormat_bn(net, stream, bars && format == NetFormat::Dot ? DOT_BELIEFS_FORMAT : apiFormat(format));
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

namespace {

std::string trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t"), last = text.find_last_not_of(" \t");
  return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

}  // namespace

node_bn* findNode(const net_bn* net, const std::string& name) {
  node_bn* node = GetNodeNamed_bn(name.c_str(), net);
  ClearErrors_vq(GetNetEnviron_bn(net), INTERNAL_ERR);  // a name that is not a legal name at all
  if (node) return node;
  std::vector<node_bn*> titled;
  for (node_bn* n : netNodes(net)) {
    const char* title = GetNodeTitle_bn(n);
    if (title && name == title) titled.push_back(n);
  }
  if (titled.size() == 1) return titled.front();
  std::string message = "net '" + netName(net) + "' has no node named '" + name + "'";
  if (titled.size() > 1) {
    message += ", and " + counted(static_cast<long long>(titled.size()), "node") + " have that title:";
    for (size_t i = 0; i < titled.size(); ++i) message += std::string(i ? ", " : " ") + GetNodeName_bn(titled[i]);
  }
  fail(message);
}

void requireNodes(const net_bn* net, const std::string& path) {
  if (LengthNodeList_bn(GetNetNodes_bn(net)) == 0) fail("the net in '" + path + "' has no nodes");
}

std::string unusableNode(const node_bn* node) {
  const int kind = GetNodeKind_bn(node);
  if (kind != UTILITY_NODE && kind != DECISION_NODE) return "";
  return std::string("node '") + GetNodeName_bn(node) + "' is a " + (kind == UTILITY_NODE ? "utility" : "decision") +
         " node, which this tool cannot use yet";
}

void requireUsable(const net_bn* net, const std::string& path) {
  requireNodes(net, path);
  for (node_bn* node : netNodes(net)) {
    const std::string problem = unusableNode(node);
    if (!problem.empty()) fail(problem);
  }
}

std::vector<node_bn*> selectNodes(const net_bn* net, const std::vector<std::string>& names) {
  if (names.empty()) return netNodes(net);
  std::vector<node_bn*> nodes;
  for (const std::string& name : names) nodes.push_back(findNode(net, trimmed(name)));
  return nodes;
}

std::string netName(const net_bn* net) {
  std::string name = GetNetName_bn(net);
  std::string lower = name;
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower != "unknown") return name;
  std::lock_guard<std::mutex> lock(pathsLock);
  auto it = netPaths.find(net);
  if (it == netPaths.end()) return name;
  std::string file = it->second.substr(it->second.find_last_of('/') + 1);
  return file.substr(0, file.find_last_of('.'));
}

std::string withTitle(const std::string& name, const char* title) {
  return title && *title && name != title ? name + " (" + title + ")" : name;
}

int cliqueCount(net_bn* net) {
  std::vector<quorva::tool::CliqueInfo> cliques;
  if (!quorva::tool::junctionTree(net, cliques)) return -1;
  return static_cast<int>(cliques.size());
}

state_bn findState(const node_bn* node, const std::string& text) {
  const int count = GetNodeNumberStates_bn(node);
  std::string known;
  for (int s = 0; s < count; ++s)
    known += (s ? ", " : "") + withTitle(GetNodeStateName_bn(node, s), GetNodeStateTitle_bn(node, s));
  const std::string where = "node '" + std::string(GetNodeName_bn(node)) + "' (states: " + known + ")";
  if (!text.empty() && text[0] == '#') {
    char* end = nullptr;
    long index = std::strtol(text.c_str() + 1, &end, 10);
    if (text.size() < 2 || *end != '\0' || index < 0 || index >= count)
      fail("no state " + text + " in " + where);
    return static_cast<state_bn>(index);
  }
  state_bn found = GetStateNamed_bn(text.c_str(), node);
  ClearErrors_vq(GetNetEnviron_bn(GetNodeNet_bn(node)), INTERNAL_ERR);
  if (found >= 0) return found;
  int titled = 0;
  for (int s = 0; s < count; ++s) {
    const char* title = GetNodeStateTitle_bn(node, s);
    if (title && text == title) found = (titled++ == 0) ? static_cast<state_bn>(s) : found;
  }
  if (titled == 1) return found;
  fail("no state '" + text + "' in " + where + (titled > 1 ? ", and several states have that title" : ""));
}

}  // namespace quorva::cli
