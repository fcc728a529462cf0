// quorva convert IN OUT       read one net format, write another
// quorva check NET            read and compile a net, list its errors and warnings
#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Engine.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct ConvertOptions {
  std::string in, out;
};

int runConvert(const ConvertOptions& o) {
  Env env;
  net_bn* net = env.readNet(o.in);
  env.writeNet(net, o.out);
  return 0;
}

struct CheckOptions {
  std::string net;
};

// Prints the records of at least warning level to standard output, counts them, and clears them.
void listRecords(Env& env, int& errors, int& warnings) {
  for (report_vq* r = GetError_vq(env.get(), WARNING_ERR, nullptr); r; r = GetError_vq(env.get(), WARNING_ERR, r)) {
    std::printf("%s\n", recordText(r).c_str());
    ++(ErrorSeverity_vq(r) >= ERROR_ERR ? errors : warnings);
  }
  ClearErrors_vq(env.get(), INTERNAL_ERR);
}

int runCheck(const CheckOptions& o) {
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  int errors = 0, warnings = 0;
  stream_vq* stream = NewFileStream_vq(o.net.c_str(), env.get(), nullptr);
  net_bn* net = stream ? ReadNet_bn(stream, NO_VISUAL_INFO) : nullptr;
  if (stream) DeleteStream_vq(stream);
  listRecords(env, errors, warnings);
  if (net) {
    CompileNet_bn(net);
    progress.clear();
    listRecords(env, errors, warnings);
  } else if (errors == 0) {
    std::printf("error: the net could not be read\n");
    ++errors;
  }
  std::printf("%s: %s, %d error%s, %d warning%s\n", o.net.c_str(), !net ? "not read" : errors ? "read" : "read and compiled",
              errors, errors == 1 ? "" : "s", warnings, warnings == 1 ? "" : "s");
  return errors ? 1 : 0;
}

}  // namespace

void addConvertCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<ConvertOptions>();
  CLI::App* c = app.add_subcommand("convert", "Read a net in one format and write it in another");
  c->footer(
      "The formats follow the file extensions: BIF for .bif, DNET otherwise (.dne, .dnet).\n"
      "Example:\n"
      "  quorva convert tests/data/alarm.bif alarm.dne");
  c->add_option("IN", o->in, "The net to read (.dne, .dnet or .bif)")->required();
  c->add_option("OUT", o->out, "The file to write (.bif, or DNET for any other name); replaced if it exists")->required();
  c->callback([o, &chosen] { chosen = [o] { return runConvert(*o); }; });
}

void addCheckCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<CheckOptions>();
  CLI::App* c = app.add_subcommand("check", "Read and compile a net, and list every error and warning");
  c->footer(
      "Each record is printed on standard output as SEVERITY NUMBER: MESSAGE, then a summary line.\n"
      "Exit status 0 when there is no error (warnings allowed), 1 otherwise.");
  c->add_option("NET", o->net, "The net: a DNET file (.dne, .dnet) or a BIF file (.bif)")->required();
  c->callback([o, &chosen] { chosen = [o] { return runCheck(*o); }; });
}

}  // namespace quorva::cli
