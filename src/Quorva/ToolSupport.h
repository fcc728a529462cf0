// What interactive tools need beyond the C interface: a watcher for the progress of long work,
// the user's halt, the optimising compile with its console estimates, and the verbose compile
// line.  Each call takes the handles of the C interface and runs in an API frame (except the
// halt, which any thread or signal handler may request).
#pragma once
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Quorva.h"

namespace quorva::tool {

// Called on the working thread with what is being done and the fraction done (0 to 1), and
// with -1 when that piece of work ends.  An empty function removes the watcher.
using ProgressWatcher = std::function<void(std::string_view what, double fraction)>;
void setProgressWatcher(environ_vq* env, ProgressWatcher watcher);

// Asks long work in the environment to stop at its next check (or withdraws the request).
void requestHalt(environ_vq* env, bool halt);

// Compiles the net with the optimising elimination-order search, run for `seconds`, writing each
// improvement's estimate line to `console` (none when null).  False on failure, with the error
// recorded in the environment as for CompileNet_bn.  A halt (requestHalt) during the search ends
// the search, not the compile: the net is compiled with the best order found so far, notice 2296
// says the search was halted, and the call succeeds.  The halt stays requested (withdraw it
// before further long work, which would stop at once).
bool compileOptimized(net_bn* net, double seconds, std::FILE* console);

// With `on`, every compile in the environment prints its clique count and table size to
// `console`.
void setVerboseCompile(environ_vq* env, bool on, std::FILE* console);

}  // namespace quorva::tool

namespace quorva::tool {

// Reads a net from the stream as BIF (`bif`) or as DNET, whatever the stream's name says; null on
// failure, with the error recorded as for ReadNet_bn.
net_bn* readNetAs(stream_vq* stream, bool bif);
// Writes the net to the stream as BIF (`bif`) or as DNET, whatever the stream's name says.
void writeNetAs(const net_bn* net, stream_vq* stream, bool bif);

// One clique of a compiled net's junction tree: its members in elimination order (with whether
// the clique is each one's home), its table size, the clique it is joined to (-1 for a root) and
// the separator between them.
struct CliqueInfo {
  std::vector<std::string> members;
  std::vector<bool> home;
  double size = 0;
  int joinedTo = -1;
  std::vector<std::string> separator;
  double separatorSize = 0;
};
// The cliques of the compiled net, in order; false (recorded) when the net is not compiled.
bool junctionTree(net_bn* net, std::vector<CliqueInfo>& out);

}  // namespace quorva::tool
