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

// Prints "quorva: MESSAGE" on standard error and throws Failure.
[[noreturn]] void fail(const std::string& message);

// "error", "warning", ... for a severity level 0..6.
const char* severityName(int level);
// "SEVERITY NUMBER: MESSAGE" for one record, its message without glossary marks.
std::string recordText(const report_vq* record);

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

  // Reads a net, as DNET or BIF by the file's extension.  Failure when it cannot be read.
  net_bn* readNet(const std::string& path);
  // Writes a net, as BIF for ".bif" and DNET otherwise.  Failure when it cannot be written.
  void writeNet(const net_bn* net, const std::string& path);

 private:
  environ_vq* env_ = nullptr;
};

// Asks long work in every live environment to stop (from the SIGINT handler; signal-safe).
void haltAll();
// Whether haltAll() has been called.
bool halted();

std::vector<node_bn*> netNodes(const net_bn* net);
// The named node; Failure ("net 'X' has no node named 'Y'") when there is none.
node_bn* findNode(const net_bn* net, const std::string& name);
// The nodes named (in the order named), or every node of the net when `names` is empty.
std::vector<node_bn*> selectNodes(const net_bn* net, const std::vector<std::string>& names);
// The number of cliques of a compiled net (counted in its junction-tree report); -1 on failure.
int cliqueCount(net_bn* net);
// A state given as its name or as "#index"; Failure when the node has no such state.
state_bn findState(const node_bn* node, const std::string& text);

}  // namespace quorva::cli
