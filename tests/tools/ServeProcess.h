// `quorva serve` run as a process from a test: started on a free port of 127.0.0.1 (--port 0),
// its address read from the line it prints, stopped with Ctrl-C (SIGINT) and waited for, killed
// if it does not stop within a bound.
#pragma once
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

class ServeProcess {
 public:
  // Starts `quorva serve NET --port PORT EXTRA...`; port() is 0 when it printed no address within
  // 30 seconds (what it printed is in output()).
  explicit ServeProcess(const std::string& net, const std::vector<std::string>& extra = {}, const std::string& port = "0") {
    int out[2];
    if (pipe(out) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(out[1], 1);
      dup2(out[1], 2);
      close(out[0]);
      std::vector<std::string> args{QUORVA_TOOL, "serve", net, "--port", port};
      args.insert(args.end(), extra.begin(), extra.end());
      std::vector<char*> argv;
      for (std::string& a : args) argv.push_back(a.data());
      argv.push_back(nullptr);
      execv(QUORVA_TOOL, argv.data());
      _exit(127);
    }
    close(out[1]);
    fd_ = out[0];
    readAddress();
  }
  ~ServeProcess() { stop(); if (fd_ >= 0) close(fd_); }
  ServeProcess(const ServeProcess&) = delete;
  ServeProcess& operator=(const ServeProcess&) = delete;

  int port() const { return port_; }
  const std::string& output() const { return output_; }

  // Ctrl-C, then the exit status (-1 when it had to be killed or did not exit normally).
  int stop() {
    if (pid_ <= 0) return status_;
    kill(pid_, SIGINT);
    int status = 0;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    pid_t done = 0;
    while ((done = waitpid(pid_, &status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < limit)
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (done == 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, &status, 0);
      status_ = -1;
    } else {
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    pid_ = -1;
    drain();
    return status_;
  }

 private:
  pid_t pid_ = -1;
  int fd_ = -1, port_ = 0, status_ = -1;
  std::string output_;

  void readAddress() {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < limit && output_.find('\n') == std::string::npos) {
      pollfd p{fd_, POLLIN, 0};
      if (poll(&p, 1, 100) <= 0) continue;
      char buffer[512];
      const ssize_t n = read(fd_, buffer, sizeof buffer);
      if (n <= 0) break;
      output_.append(buffer, static_cast<size_t>(n));
    }
    const size_t at = output_.find("http://127.0.0.1:");
    if (at != std::string::npos) port_ = std::atoi(output_.c_str() + at + 17);
  }

  void drain() {
    char buffer[512];
    for (ssize_t n; (n = read(fd_, buffer, sizeof buffer)) > 0;) output_.append(buffer, static_cast<size_t>(n));
  }
};
