// Every writer of whole files, failed part way through its write: the file it was replacing is
// left byte for byte as it was, no temporary file is left beside it, and the call records the
// write fault.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "Basic/TempFolder.h"
#include "Quorva/Handles.h"
#include "Support/EnvFixture.h"

using namespace quorva;
namespace fs = std::filesystem;

namespace {

class InterruptedWriteTest : public EnvTest {
 protected:
  void SetUp() override {
    EnvTest::SetUp();
    stream_vq* in = NewFileStream_vq(dataPath("asia.bif").c_str(), env, nullptr);
    net = ReadNet_bn(in, NO_VISUAL_INFO);
    DeleteStream_vq(in);
    ASSERT_NE(net, nullptr);
  }

  TempFolder tmp{"iw"};
  net_bn* net = nullptr;
};

TEST_F(InterruptedWriteTest, each_writer_leaves_old_file_when_failing_part_way) {
  const std::string cases = "// ~->[CASE-1]->~\n\nsmoke asia\nyes no\nno no\n";
  // Each file and how it is written to `s`.
  const std::pair<const char*, std::function<void(stream_vq*)>> writers[] = {
      {"net.dne", [&](stream_vq* s) { WriteNet_bn(net, s); }},
      {"net.bif", [&](stream_vq* s) { WriteNet_bn(net, s); }},
      {"drawn.cas", [&](stream_vq* s) { WriteSampledCases_bn(net, s, 10000, 7, 2, nullptr); }},
      {"all.cas", [&](stream_vq* s) {
         stream_vq* src = textStream(env, cases, "src.cas");
         caseset_cs* set = NewCaseset_cs("set", env);
         AddFileToCaseset_cs(set, src, 1, nullptr);
         WriteCaseset_cs(set, s, nullptr);
         DeleteCaseset_cs(set);
         DeleteStream_vq(src);
       }},
  };
  for (const auto& [file, write] : writers) {
    const fs::path path = tmp.dir / file;
    stream_vq* s = NewFileStream_vq(path.string().c_str(), env, nullptr);
    write(s);  // the previous version of the file
    ASSERT_EQ(errorCount(ERROR_ERR), 0) << file << ": " << lastMessage();
    const std::string old = tmp.bytesOf(path);
    ASSERT_GT(old.size(), 20u) << file;
    for (long long budget : {0LL, 1LL, static_cast<long long>(old.size() / 2),
                             static_cast<long long>(old.size()) - 1}) {
      SCOPED_TRACE(std::string(file) + " failing after " + std::to_string(budget) + " bytes");
      asStream(s)->failWritesAfter(budget);
      write(s);
      EXPECT_EQ(lastMessage(), "couldn't write to file '" + path.string() + "'");
      EXPECT_EQ(tmp.bytesOf(path), old);
      EXPECT_EQ(tmp.names().size(), 1u) << "a temporary file was left behind";
      ClearErrors_vq(env, ERROR_ERR);
    }
    asStream(s)->failWritesAfter(-1);
    DeleteStream_vq(s);
    fs::remove(path);
  }
}

TEST_F(InterruptedWriteTest, failing_writer_returns_its_failure_value) {
  stream_vq* s = NewFileStream_vq((tmp.dir / "drawn.cas").string().c_str(), env, nullptr);
  asStream(s)->failWritesAfter(100);
  EXPECT_EQ(WriteSampledCases_bn(net, s, 5000, 3, 1, nullptr), -1);
  EXPECT_TRUE(tmp.names().empty());
  asStream(s)->failWritesAfter(-1);
  EXPECT_EQ(WriteSampledCases_bn(net, s, 5000, 3, 1, nullptr), 5000);
  DeleteStream_vq(s);
}

}  // namespace
