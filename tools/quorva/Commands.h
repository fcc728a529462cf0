// The subcommands of the quorva tool.  Each add*Command() declares its options on `app`; when
// the command line chooses it, `chosen` is set to the function that runs it and returns the exit
// status (a Failure thrown out of it means status 1, its reason printed already).
#pragma once
#include <CLI/CLI.hpp>
#include <functional>

namespace quorva::cli {

using Runner = std::function<int()>;

void addBeliefsCommand(CLI::App& app, Runner& chosen);
void addCasesCommand(CLI::App& app, Runner& chosen);
void addCompileCommand(CLI::App& app, Runner& chosen);
void addConvertCommand(CLI::App& app, Runner& chosen);
void addCheckCommand(CLI::App& app, Runner& chosen);
void addBenchCommand(CLI::App& app, Runner& chosen);
void addTablesCommand(CLI::App& app, Runner& chosen);
void addSensitivityCommand(CLI::App& app, Runner& chosen);
void addEquationCommand(CLI::App& app, Runner& chosen);
// mpe, joint and graph: questions beyond one node's beliefs.
void addQueryCommands(CLI::App& app, Runner& chosen);
void addLearnCommand(CLI::App& app, Runner& chosen);
void addTestCommand(CLI::App& app, Runner& chosen);
void addDecideCommand(CLI::App& app, Runner& chosen);
void addSampleCommand(CLI::App& app, Runner& chosen);
// serve: the net in a web page on a local server.
void addServeCommand(CLI::App& app, Runner& chosen);

// The positional NET argument that most commands take.
CLI::Option* addNetArgument(CLI::App* command, std::string& path);
// --nodes A,B,...: the nodes to print (all when not given).
CLI::Option* addNodesOption(CLI::App* command, std::vector<std::string>& names);
// An option (`name`: "--format", "--to") taking "dnet" or "bif".
CLI::Option* addFormatOption(CLI::App* command, std::string& format, const char* name, const char* help);
// --optimize SECONDS: a number above 0.
CLI::Option* addOptimizeOption(CLI::App* command, double& seconds, const char* help);

}  // namespace quorva::cli
