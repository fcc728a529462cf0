// The tool's hold on the engine: an environment that prints its error records the way the tool
// reports trouble ("quorva: SEVERITY NUMBER: MESSAGE" on standard error), reading nets, and finding
// nodes and states by the names a user types.
#pragma once
#include <cstdio>
#include <string>
#include <vector>

#include "Quorva.h"

namespace quorva::cli {

// Thrown once the reason has been printed: the command ends with status 1.
struct Failure {};
// Thrown once the reason has been printed: the command line was wrong (status 2).
struct UsageFailure {};

// Prints "quorva: MESSAGE" on standard error and throws Failure.
[[noreturn]] void fail(const std::string& message);
// Prints "quorva: MESSAGE" on standard error and throws UsageFailure.
[[noreturn]] void failUsage(const std::string& message);

// "1 node", "2 nodes": a count with its noun, singular or plural (`plural` when not noun + "s").
std::string counted(long long count, const std::string& noun, const std::string& plural = "");
// A number as a person reads it: up to 6 significant digits, "1.2e+308" for huge ones.
std::string readable(double x);

// The formats of net files.  Unknown: not said (by --format or the extension) or not recognised.
// DOT is written only.
enum class NetFormat { Unknown, Dnet, Bif, XmlBif, Hugin, Uai, Dot };
// The names --format and --to take, separated by '|', and the format of each name ("dnet", "bif",
// "xmlbif", "net" or "hugin", "uai", "dot").
extern const char* const FORMAT_NAMES;
NetFormat formatNamed(const std::string& name);
// By the file's extension: .dne and .dnet DNET, .bif BIF, .xml, .xbif and .xmlbif XMLBIF, .net
// Hugin NET, .uai UAI, .dot DOT; any other Unknown.
NetFormat formatByExtension(const std::string& path);
// By the start of the text, after a byte order mark, blanks and comments: "bnet NAME {" or the
// DNET first line is DNET, "network NAME {" BIF, "<?xml" or "<BIF" XMLBIF, "net {" or "class"
// Hugin NET, "BAYES" or "MARKOV" UAI.
NetFormat formatByContent(const std::string& start);
// Reads a net from the stream as `format` (Unknown: told by the stream's first bytes); null on
// failure, with the engine's records left in the environment.
net_bn* readNetFrom(stream_vq* stream, NetFormat format);

// "error", "warning", ... for a severity level 0..6.
const char* severityName(int level);
// "SEVERITY NUMBER: MESSAGE" for one record, its message without glossary marks.
std::string recordText(const report_vq* record);

// What keeps `path` from being read as a net: a directory, an empty file, or a format not given
// (`format` Unknown), not told by the extension and not recognised in the file's start; "" when
// nothing does (a missing file is left to the reader, which says so).  Sets `format` when it can:
// by the file's start, else by its extension.
std::string netFileProblem(const std::string& path, NetFormat& format);

class Env {
 public:
  Env();  // Failure when the engine cannot start
  ~Env();
  Env(const Env&) = delete;
  Env& operator=(const Env&) = delete;

  environ_vq* get() const { return env_; }

  // Prints the calling thread's records of at least `least` severity to `out` (prefixed
  // "quorva: ") and clears every record; true when one of them was an error or worse.
  bool flush(errseverity_vq least = NOTICE_ERR, std::FILE* out = stderr);
  // flush(), then Failure when there was an error.
  void check();
  // The message of the first record of at least `least` severity, or "" (the records stay).
  std::string firstMessage(errseverity_vq least = ERROR_ERR) const;

  // Reads a net in the format given, or (Unknown) the one its extension says, or else the one
  // its content shows.  Failure when it cannot be read: no such file, a directory, an empty
  // file, a format not recognised, or the reader's errors.
  net_bn* readNet(const std::string& path, NetFormat format = NetFormat::Unknown);
  // Writes a net in the format given, or (Unknown) the one its extension says; UsageFailure when
  // neither says, Failure when it cannot be written.  With `bars`, DOT is written with the
  // compiled net's belief bars.
  void writeNet(net_bn* net, const std::string& path, NetFormat format = NetFormat::Unknown, bool bars = false);

 private:
  environ_vq* env_ = nullptr;
};

// Asks long work in every live environment to stop (from the SIGINT handler; signal-safe).
void haltAll();
// Whether haltAll() has been called.
bool halted();
// Withdraws the request of haltAll(), so that work can go on after a search it cut short.
void clearHalt();

// Compiles the net, after an elimination-order search run for `optimizeSeconds` when that is
// above 0 (each improvement's estimate written to `console` when not null).  A Ctrl-C during
// the search ends it: the net is compiled with the best order found so far, "stopped: ..." is
// said on standard error, and the work goes on; `stopped` (may be null) tells whether it was.
// Failure (with the engine's records, or "could not compile the net in 'PATH'") otherwise.
void compileNet(Env& env, net_bn* net, const std::string& path, double optimizeSeconds, std::FILE* console = nullptr,
                bool* stopped = nullptr);

std::vector<node_bn*> netNodes(const net_bn* net);
// The node of that name, or else the one node whose title it is; Failure ("net 'X' has no node
// named 'Y'") when there is none, or when several nodes have that title.
node_bn* findNode(const net_bn* net, const std::string& name);
// Failure when the net has no nodes ("the net in 'PATH' has no nodes").
void requireNodes(const net_bn* net, const std::string& path);
// "node 'V' is a utility node, which this tool cannot use yet" (or decision), or "" when the node
// is one the tool can use.
std::string unusableNode(const node_bn* node);
// Failure when the net has no nodes, or nodes the tool cannot use yet.
void requireUsable(const net_bn* net, const std::string& path);

// Tables from equations.  The samples per row drawn when a net's tables are built for it.
inline constexpr int DEFAULT_EQUATION_SAMPLES = 200;
// The nodes that have an equation (only those without a table, when asked).
std::vector<node_bn*> equationNodes(const net_bn* net, bool onlyWithoutTables);
// Builds each node's table from its equation; Failure at the first that cannot be built.
void buildEquationTables(Env& env, const std::vector<node_bn*>& nodes, int samples);
// Prints "quorva: building the tables of N nodes from their equations (A, B, ...)" when some
// node has an equation but no table; true when it did.
bool tellMissingTables(const net_bn* net);
// Builds the tables of the nodes that have an equation but no table (saying so first, when
// `tell`), so that the net can be compiled.
void buildMissingTables(Env& env, net_bn* net, bool tell);
// The nodes named (in the order named, blanks around each name ignored), or every node of the
// net when `names` is empty.
std::vector<node_bn*> selectNodes(const net_bn* net, const std::vector<std::string>& names);
// The number of cliques of a compiled net; -1 on failure.
int cliqueCount(net_bn* net);
// The net's name as the tool prints it: the name, except that a net named "Unknown" (the name a
// file gives when it has none of its own) is called by its file's name.
std::string netName(const net_bn* net);
// "name" when the title is empty or the same, else "name (title)".
std::string withTitle(const std::string& name, const char* title);
// A state given as "#index", as its name, or else as the title of exactly one state; Failure
// when the node has no such state.
state_bn findState(const node_bn* node, const std::string& text);

}  // namespace quorva::cli
