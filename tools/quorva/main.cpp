// quorva: belief and decision nets from the command line.  Parses the command line into one
// subcommand and runs it.  Exit status: 0 done, 1 the command failed (every reason printed on
// standard error), 2 the command line was wrong.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>

#include "Commands.h"
#include "Engine.h"

namespace {

void onInterrupt(int) { quorva::cli::haltAll(); }

}  // namespace

namespace quorva::cli {

CLI::Option* addNetArgument(CLI::App* command, std::string& path) {
  return command
      ->add_option("NET", path,
                   "The net: DNET (.dne, .dnet), BIF (.bif), XMLBIF (.xml, .xbif, .xmlbif), Hugin NET (.net) "
                   "or UAI (.uai); with another extension, the format is told by the file's start")
      ->required();
}

CLI::Option* addFormatOption(CLI::App* command, std::string& format, const char* name, const char* help) {
  return command->add_option(name, format, help)
      ->type_name(FORMAT_NAMES)
      ->check(CLI::Validator(
          [](std::string& text) {
            return formatNamed(text) != NetFormat::Unknown ? ""
                                                           : std::string("expected ") + FORMAT_NAMES + ", got '" + text + "'";
          },
          ""));
}

CLI::Option* addOptimizeOption(CLI::App* command, double& seconds, const char* help) {
  return command->add_option("--optimize", seconds, help)
      ->type_name("SECONDS")
      ->check(CLI::Validator(
          [](std::string& text) -> std::string {
            char* end = nullptr;
            const double x = std::strtod(text.c_str(), &end);
            if (text.empty() || *end != '\0' || !(x > 0) || !(x < 1e9))
              return "expected a number of seconds above 0, got '" + text + "'";
            return "";
          },
          ""));
}

CLI::Option* addNodesOption(CLI::App* command, std::vector<std::string>& names) {
  return command->add_option("--nodes", names, "Print only these nodes, in this order (default: every node)")
      ->delimiter(',')
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("A,B,...");
}

}  // namespace quorva::cli

int main(int argc, char** argv) {
  using namespace quorva::cli;
  CLI::App app{"quorva: belief and decision nets from the command line.\n"
               "Reads nets as DNET, BIF, XMLBIF, Hugin NET or UAI files, enters findings and prints beliefs,\n"
               "runs case files, compiles, converts and checks nets, and measures inference.",
               "quorva"};
  app.require_subcommand(1, 1);
  app.set_version_flag("--version", "quorva 1.00");
  Runner chosen;
  addBeliefsCommand(app, chosen);
  addCasesCommand(app, chosen);
  addCompileCommand(app, chosen);
  addConvertCommand(app, chosen);
  addCheckCommand(app, chosen);
  addBenchCommand(app, chosen);
  addTablesCommand(app, chosen);
  addSensitivityCommand(app, chosen);
  addEquationCommand(app, chosen);
  addQueryCommands(app, chosen);
  addLearnCommand(app, chosen);
  addTestCommand(app, chosen);
  addDecideCommand(app, chosen);
  addSampleCommand(app, chosen);
  addServeCommand(app, chosen);
  static const char* const COMMANDS = "beliefs, cases, compile, convert, check, bench, tables, sensitivity, equation, learn, test, mpe, joint, graph, decide, sample, serve";
  if (argc < 2) {
    std::fprintf(stderr, "quorva: a command is required (one of %s); quorva --help tells more\n", COMMANDS);
    return 2;
  }
  const std::string first = argv[1];
  const std::function<bool(const CLI::App*)> named = [&first](const CLI::App* c) { return c->get_name() == first; };
  const auto known = static_cast<const CLI::App&>(app).get_subcommands(named);
  if (!first.empty() && first[0] != '-' && known.empty()) {
    std::fprintf(stderr, "quorva: unknown command '%s' (the commands are %s)\n", first.c_str(), COMMANDS);
    return 2;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    int code = app.exit(e);
    return code == 0 ? 0 : 2;
  }
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  action.sa_flags = SA_RESETHAND;  // a second Ctrl-C ends the process at once
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  try {
    int status = chosen();
    if (std::fflush(stdout) != 0) {
      std::fprintf(stderr, "quorva: could not write the output\n");
      return 1;
    }
    return status;
  } catch (const Failure&) {
    std::fflush(stdout);
    return 1;
  } catch (const UsageFailure&) {
    std::fflush(stdout);
    return 2;
  } catch (const std::exception& e) {
    std::fflush(stdout);
    std::fprintf(stderr, "quorva: %s\n", e.what());
    return 1;
  }
}
