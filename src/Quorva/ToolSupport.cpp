// The interactive tools' calls, each in an API frame.
#include "Quorva/ToolSupport.h"

#include "BN/Inference/JunctionTree.h"
#include "Quorva/ApiFrame.h"

namespace quorva::tool {

void setProgressWatcher(environ_vq* env, ProgressWatcher watcher) {
  apiRun("SetProgressWatcher", envOf(env), [&](ApiFrame& f) { f.environ(env).progress.setWatcher(std::move(watcher)); });
}

void requestHalt(environ_vq* env, bool halt) {
  // No frame: the flag is atomic, and the caller may be a signal handler or another thread.
  if (Environ* e = envOf(env)) e->progress.requestHalt(halt);
}

bool compileOptimized(net_bn* net, double seconds, std::FILE* console) {
  return apiCall("CompileNet_bn", false, envOf(net), [&](ApiFrame& f) {
    CompileOptions options;
    options.optimize = true;
    options.seconds = seconds;
    options.console = console;
    compileNet(f.net(net), options);
    return true;
  });
}

void setVerboseCompile(environ_vq* env, bool on, std::FILE* console) {
  apiRun("SetVerboseCompile", envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    e.verboseCompile = on;
    e.console = console;
  });
}

}  // namespace quorva::tool
