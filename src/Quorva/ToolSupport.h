// What interactive tools need beyond the C interface: a watcher for the progress of long work,
// the user's halt, the optimising compile with its console estimates, and the verbose compile
// line.  Each call takes the handles of the C interface and runs in an API frame (except the
// halt, which any thread or signal handler may request).
#pragma once
#include <cstdio>
#include <functional>
#include <string_view>

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
