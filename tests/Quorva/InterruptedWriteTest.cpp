// Every writer of whole files, failed part way through its write: the file it was replacing is
// left byte for byte as it was, no temporary file is left beside it, and the call records the
// write fault.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "Quorva/Handles.h"
#include "Support/EnvFixture.h"

using namespace quorva;
namespace fs = std::filesystem;

namespace {

class InterruptedWriteTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    dir = fs::temp_directory_path() / ("quorva-iw-" + std::to_string(::getpid()) + "-" +
                                       ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
    stream_vq* in = NewFileStream_vq(dataPath("asia.bif").c_str(), env, nullptr);
    net = ReadNet_bn(in, NO_VISUAL_INFO);
    DeleteStream_vq(in);
    ASSERT_NE(net, nullptr);
  }
  void TearDown() override {
    fs::remove_all(dir);
    EnvTest::TearDown();
  }

  static std::string bytesOf(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& e : fs::directory_iterator(dir)) all.push_back(e.path().filename().string());
    return all;
  }

  fs::path dir;
  net_bn* net = nullptr;
};

struct Writer {
  const char* file;
  // Writes the net (or cases) to `s`.
  std::function<void(net_bn*, stream_vq*, environ_vq*)> write;
};

TEST_F(InterruptedWriteTest, each_writer_leaves_old_file_when_failing_part_way) {
  const std::string cases = "// ~->[CASE-1]->~\n\nsmoke asia\nyes no\nno no\n";
  const Writer writers[] = {
      {"net.dne", [](net_bn* n, stream_vq* s, environ_vq*) { WriteNet_bn(n, s); }},
      {"net.bif", [](net_bn* n, stream_vq* s, environ_vq*) { WriteNet_bn(n, s); }},
      {"drawn.cas", [](net_bn* n, stream_vq* s, environ_vq*) { WriteSampledCases_bn(n, s, 10000, 7, 2, nullptr); }},
      {"all.cas", [cases](net_bn*, stream_vq* s, environ_vq* e) {
         stream_vq* src = textStream(e, cases, "src.cas");
         caseset_cs* set = NewCaseset_cs("set", e);
         AddFileToCaseset_cs(set, src, 1, nullptr);
         WriteCaseset_cs(set, s, nullptr);
         DeleteCaseset_cs(set);
         DeleteStream_vq(src);
       }},
  };
  for (const Writer& w : writers) {
    const fs::path path = dir / w.file;
    stream_vq* s = NewFileStream_vq(path.string().c_str(), env, nullptr);
    w.write(net, s, env);  // the previous version of the file
    ASSERT_EQ(errorCount(ERROR_ERR), 0) << w.file << ": " << lastMessage();
    const std::string old = bytesOf(path);
    ASSERT_GT(old.size(), 20u) << w.file;
    for (long long budget : {0LL, 1LL, static_cast<long long>(old.size() / 2),
                             static_cast<long long>(old.size()) - 1}) {
      SCOPED_TRACE(std::string(w.file) + " failing after " + std::to_string(budget) + " bytes");
      asStream(s)->failWritesAfter(budget);
      w.write(net, s, env);
      EXPECT_EQ(lastMessage(), "couldn't write to file '" + path.string() + "'");
      EXPECT_EQ(bytesOf(path), old);
      EXPECT_EQ(names().size(), 1u) << "a temporary file was left behind";
      ClearErrors_vq(env, ERROR_ERR);
    }
    asStream(s)->failWritesAfter(-1);
    DeleteStream_vq(s);
    fs::remove(path);
  }
}

TEST_F(InterruptedWriteTest, failing_writer_returns_its_failure_value) {
  stream_vq* s = NewFileStream_vq((dir / "drawn.cas").string().c_str(), env, nullptr);
  asStream(s)->failWritesAfter(100);
  EXPECT_EQ(WriteSampledCases_bn(net, s, 5000, 3, 1, nullptr), -1);
  EXPECT_TRUE(names().empty());
  asStream(s)->failWritesAfter(-1);
  EXPECT_EQ(WriteSampledCases_bn(net, s, 5000, 3, 1, nullptr), 5000);
  DeleteStream_vq(s);
}

}  // namespace
