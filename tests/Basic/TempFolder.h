// A fresh folder for one test's files, removed when the test ends, with what is in it.
#pragma once
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct TempFolder {
  // Named for `tag`, this process and the running test, and emptied.
  explicit TempFolder(const std::string& tag)
      : dir(std::filesystem::temp_directory_path() /
            ("quorva-" + tag + "-" + std::to_string(::getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
  }
  ~TempFolder() { std::filesystem::remove_all(dir); }

  std::string path(const std::string& leaf) const { return (dir / leaf).string(); }
  static std::string bytesOf(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  // The names in the folder, so that a temporary file left behind shows.
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& e : std::filesystem::directory_iterator(dir)) all.push_back(e.path().filename().string());
    return all;
  }

  std::filesystem::path dir;
};
