// Running the built quorva tool as a process from a test: its exit status and what it printed.
#pragma once
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
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

// A new temporary directory ("" when none could be made), and its removal.
inline std::string makeTempDir() {
  char dir[] = "/tmp/quorva_tool_XXXXXX";
  return mkdtemp(dir) ? dir : "";
}
inline void removeDir(const std::string& dir) { std::system(("rm -rf '" + dir + "'").c_str()); }

// The same in a temporary directory of its own, removed afterwards.
inline ToolRun runQuorva(const std::vector<std::string>& args) {
  const std::string dir = makeTempDir();
  if (dir.empty()) return {};
  ToolRun r = runQuorva(args, dir);
  removeDir(dir);
  return r;
}

// `quorva ARGS`, which must succeed: its output read as JSON (null when it fails).
inline nlohmann::json runJson(const std::vector<std::string>& args) {
  ToolRun r = runQuorva(args);
  EXPECT_EQ(r.status, 0) << r.err;
  return r.status == 0 ? nlohmann::json::parse(r.out) : nlohmann::json();
}

// A test that runs the tool in a temporary directory of its own, removed afterwards.
class ToolDirTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE((dir = makeTempDir()).empty()); }
  void TearDown() override { removeDir(dir); }
  ToolRun quorva(const std::vector<std::string>& args) { return runQuorva(args, dir); }
  // Writes `text` to `name` in the directory and returns its path.
  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(dir + "/" + name) << text;
    return dir + "/" + name;
  }
  // `quorva beliefs --json ARGS`, which must succeed with one line of JSON (null when it fails).
  nlohmann::json beliefs(std::vector<std::string> args) {
    args.insert(args.begin(), {"beliefs", "--json"});
    ToolRun r = quorva(args);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
    return r.status == 0 ? nlohmann::json::parse(r.out) : nlohmann::json();
  }
  std::string dir;
};

// Two JSON answers of `quorva beliefs` name the same nodes and states, with beliefs within
// `tolerance` and findings probabilities within `probTolerance`.
inline void expectSameBeliefs(const nlohmann::json& a, const nlohmann::json& b, double tolerance,
                              double probTolerance = -1) {
  EXPECT_NEAR(a["findings_probability"].get<double>(), b["findings_probability"].get<double>(),
              probTolerance < 0 ? tolerance : probTolerance);
  ASSERT_EQ(a["nodes"].size(), b["nodes"].size());
  for (size_t i = 0; i < a["nodes"].size(); ++i) {
    const nlohmann::json &x = a["nodes"][i], &y = b["nodes"][i];
    EXPECT_EQ(x["name"], y["name"]);
    EXPECT_EQ(x["states"], y["states"]);
    for (size_t s = 0; s < x["beliefs"].size(); ++s)
      EXPECT_NEAR(x["beliefs"][s].get<double>(), y["beliefs"][s].get<double>(), tolerance) << x["name"];
  }
}
