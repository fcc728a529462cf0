// Running the built quorva tool as a process from a test: its exit status and what it printed.
#pragma once
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct ToolRun {
  int status = -1;  // the exit status, or -1 when it did not exit
  std::string out, err;
};

inline std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// quorva with `args`, its standard output and error through files in the directory `dir`.
inline ToolRun runQuorva(const std::vector<std::string>& args, const std::string& dir) {
  const std::string out = dir + "/stdout", err = dir + "/stderr";
  pid_t pid = fork();
  if (pid == 0) {
    if (!freopen(out.c_str(), "w", stdout) || !freopen(err.c_str(), "w", stderr)) _exit(127);
    std::vector<char*> argv{const_cast<char*>(QUORVA_TOOL)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(QUORVA_TOOL, argv.data());
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

// The same in a temporary directory of its own, removed afterwards.
inline ToolRun runQuorva(const std::vector<std::string>& args) {
  char dir[] = "/tmp/quorva_run_XXXXXX";
  if (!mkdtemp(dir)) return {};
  ToolRun r = runQuorva(args, dir);
  std::system(("rm -rf '" + std::string(dir) + "'").c_str());
  return r;
}

// A test that runs the tool in a temporary directory of its own, removed afterwards.
class ToolDirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/quorva_tool_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir = pattern;
  }
  void TearDown() override { std::system(("rm -rf '" + dir + "'").c_str()); }
  ToolRun quorva(const std::vector<std::string>& args) { return runQuorva(args, dir); }
  // Writes `text` to `name` in the directory and returns its path.
  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(dir + "/" + name) << text;
    return dir + "/" + name;
  }
  std::string dir;
};
