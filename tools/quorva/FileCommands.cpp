// quorva convert IN OUT [--format F] [--to F] [--optimize SECONDS] [--bars [-f NODE=STATE]...]:
// reads a net in one format and writes it in another (or the same); DOT may carry belief bars.
#include <sys/stat.h>

#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Engine.h"
#include "Findings.h"
#include "Progress.h"

namespace quorva::cli {

namespace {

struct ConvertOptions {
  std::string in, out, format, to;
  double optimize = 0;
  bool bars = false;
  FindingOptions findings;
};

bool sameFile(const std::string& a, const std::string& b) {
  struct stat x {}, y {};
  return stat(a.c_str(), &x) == 0 && stat(b.c_str(), &y) == 0 && x.st_dev == y.st_dev && x.st_ino == y.st_ino;
}

int runConvert(const ConvertOptions& o) {
  NetFormat to = formatNamed(o.to);
  if (to == NetFormat::Unknown) to = formatByExtension(o.out);
  if (to == NetFormat::Unknown)
    failUsage("cannot tell which format to write '" + o.out +
              "' in: name it .dne, .dnet, .bif, .xml, .net, .uai or .dot, or give --to " + FORMAT_NAMES);
  if (o.bars && to != NetFormat::Dot) failUsage("--bars is for DOT output (.dot or --to dot)");
  if (!o.bars && !o.findings.args().empty()) failUsage("findings are only used for --bars");
  if (sameFile(o.in, o.out)) failUsage("'" + o.out + "' is the net being read: write the converted net to another file");
  Env env;
  ProgressBar progress;
  progress.watch(env.get());
  net_bn* net = env.readNet(o.in, formatNamed(o.format));
  if (o.bars) {
    // The bars show the compiled net's beliefs given the findings.
    requireNodes(net, o.in);
    compileNet(env, net, o.in, o.optimize);
    enterFindings(env, net, o.findings.args());
    progress.clear();
    env.check();
  } else if (o.optimize > 0) {
    // The order found is kept on the net, and written with it.
    requireNodes(net, o.in);
    compileNet(env, net, o.in, o.optimize);
    nodelist_bn* order = DupNodeList_bn(GetNetElimOrder_bn(net));
    SetNetElimOrder_bn(net, order);
    DeleteNodeList_bn(order);
    progress.clear();
    env.check();
  }
  env.writeNet(net, o.out, to, o.bars);
  return 0;
}

}  // namespace

void addConvertCommand(CLI::App& app, Runner& chosen) {
  auto o = std::make_shared<ConvertOptions>();
  CLI::App* c = app.add_subcommand("convert", "Read a net in one format and write it in another");
  c->footer(
      "The formats follow the file extensions: DNET for .dne and .dnet, BIF for .bif, XMLBIF for .xml,\n"
      ".xbif and .xmlbif, Hugin NET for .net, UAI for .uai (BAYES; node names also written to OUT.names,\n"
      "and read from IN.names when there is one), DOT for .dot (written only).  A net to read with\n"
      "another extension is told by its start; a file to write with another needs --to.  BIF and UAI\n"
      "cannot hold decision or utility nodes.\n"
      "With --optimize, the elimination order found is saved with the net (DNET keeps it).\n"
      "With --bars (DOT only), each node is drawn with its states, beliefs and bars, given the findings.\n"
      "Examples:\n"
      "  quorva convert tests/data/alarm.bif alarm.dne\n"
      "  quorva convert examples/treat.dne treat.xml\n"
      "  quorva convert tests/data/asia.bif asia.dot --bars -f smoking=f1\n"
      "  quorva convert tests/data/Link.bif link.dne --optimize 30");
  c->add_option("IN", o->in, "The net to read (.dne, .dnet, .bif, .xml, .net or .uai, or another told by its start)")
      ->required();
  c->add_option("OUT", o->out,
                "The file to write (.dne, .dnet, .bif, .xml, .net, .uai or .dot, or another with --to); replaced if it exists")
      ->required();
  addFormatOption(c, o->format, "--format", "Read IN as this format, whatever its name");
  addFormatOption(c, o->to, "--to", "Write OUT in this format, whatever its name");
  addOptimizeOption(c, o->optimize, "Search this many seconds for an elimination order, and save it with the net");
  c->add_flag("--bars", o->bars, "DOT: draw each node's beliefs as bars (the net is compiled)");
  o->findings.addTo(c);
  c->callback([o, &chosen] { chosen = [o] { return runConvert(*o); }; });
}

}  // namespace quorva::cli
