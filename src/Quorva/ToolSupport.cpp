// The interactive tools' calls, each in an API frame.
#include "Quorva/ToolSupport.h"

#include "BN/Files/BifReader.h"
#include "BN/Files/BifWriter.h"
#include "BN/Files/DnetReader.h"
#include "BN/Files/DnetWriter.h"
#include "BN/Inference/InferErrors.h"
#include "BN/Inference/JunctionTree.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
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

namespace quorva::tool {

net_bn* readNetAs(stream_vq* stream, bool bif) {
  return apiCall("ReadNet_bn", static_cast<net_bn*>(nullptr), envOf(stream), [&](ApiFrame& f) {
    FileSpec& in = f.stream(stream);
    Bnet* net = bif ? readBifNet(in, &f.env()) : readDnetNet(in, &f.env(), NO_VISUAL_INFO);
    return handle(&f.env().adoptNet(net));
  });
}

void writeNetAs(const net_bn* net, stream_vq* stream, bool bif) {
  apiRun("WriteNet_bn", envOf(net), [&](ApiFrame& f) {
    const Bnet& n = f.net(net);
    FileSpec& out = f.stream(stream);
    if (bif)
      writeBifNet(n, out);
    else
      writeDnetNet(n, out);
  });
}

bool junctionTree(net_bn* net, std::vector<CliqueInfo>& out) {
  return apiCall("ReportJunctionTree_bn", false, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (!n.jt) engError(&f.env(), err::NeedsCompiling, n.name);
    const JunctionTree& jt = *n.jt;
    std::vector<CliqueInfo> cliques(jt.cliques.size());
    for (size_t i = 0; i < jt.cliques.size(); ++i) {
      const Clique& c = jt.cliques[i];
      cliques[i].size = c.size;
      for (const Bnode* m : c.members) {
        cliques[i].members.push_back(m->name);
        cliques[i].home.push_back(m->homeClique == static_cast<int>(i));
      }
    }
    for (const Separator& s : jt.seps) {
      CliqueInfo& child = cliques[static_cast<size_t>(s.b)];
      child.joinedTo = s.a;
      child.separatorSize = s.size;
      for (const Bnode* m : s.nodes) child.separator.push_back(m->name);
    }
    out = std::move(cliques);
    return true;
  });
}

}  // namespace quorva::tool
