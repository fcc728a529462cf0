// Files written whole or not at all: a write that fails part way leaves the old file as it was
// and no temporary file beside it; a failed append leaves the file as it was before it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Basic/ReaderFixture.h"
#include "Basic/TempFolder.h"

using namespace quorva;
namespace fs = std::filesystem;

namespace {

class WholeWriteTest : public ReaderTest {
 protected:
  static void put(const std::string& p, const std::string& bytes) { std::ofstream(p, std::ios::binary) << bytes; }
  TempFolder tmp{"ww"};
  std::string file = tmp.path("net.dne");
};

const std::string OLD = "// ~->[DNET-1]->~\n\nbnet Old {\n autoupdate = TRUE;\n};\n";
const std::string NEW(5000, 'n');

// Each way of writing a file whole, failing after every kind of byte count.
TEST_F(WholeWriteTest, failed_write_leaves_old_file_whole_and_no_temporary) {
  struct Way {
    const char* what;
    void (*write)(FileSpec&);
  };
  const Way ways[] = {
      {"write", [](FileSpec& f) { f.write(NEW); }},
      {"parts", [](FileSpec& f) {
         WholeWrite w(f);
         for (size_t i = 0; i < NEW.size(); i += 700) w.add(std::string_view(NEW).substr(i, 700));
         w.commit();
       }},
  };
  for (const Way& way : ways) {
    for (long long budget : {0LL, 1LL, 699LL, 700LL, 2500LL, 4999LL}) {
      SCOPED_TRACE(std::string(way.what) + " failing after " + std::to_string(budget));
      put(file, OLD);
      FileSpec f(&env, FileSpec::Kind::File, file);
      f.failWritesAfter(budget);
      EXPECT_EQ(failure([&] { way.write(f); }), "couldn't write to file '" + file + "'");
      EXPECT_EQ(tmp.bytesOf(file), OLD);
      EXPECT_EQ(tmp.names(), std::vector<std::string>{"net.dne"});
      f.failWritesAfter(-1);
      way.write(f);  // the stream still works once the fault is gone
      EXPECT_EQ(tmp.bytesOf(file), NEW);
      EXPECT_EQ(tmp.names(), std::vector<std::string>{"net.dne"});
    }
  }
}

TEST_F(WholeWriteTest, dropped_without_commit_leaves_old_file) {
  put(file, OLD);
  FileSpec f(&env, FileSpec::Kind::File, file);
  {
    WholeWrite w(f);
    w.add(NEW);
  }
  EXPECT_EQ(tmp.bytesOf(file), OLD);
  EXPECT_EQ(tmp.names(), std::vector<std::string>{"net.dne"});
}

TEST_F(WholeWriteTest, replacement_keeps_permissions_and_symbolic_links) {
  put(file, OLD);
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  fs::create_symlink(file, tmp.dir / "link.dne");
  FileSpec viaLink(&env, FileSpec::Kind::File, (tmp.dir / "link.dne").string());
  viaLink.write(NEW);
  EXPECT_TRUE(fs::is_symlink(tmp.dir / "link.dne"));
  EXPECT_EQ(tmp.bytesOf(file), NEW);
  EXPECT_EQ(fs::status(file).permissions(),
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(WholeWriteTest, failed_append_is_cut_back) {
  put(file, OLD);
  FileSpec f(&env, FileSpec::Kind::File, file);
  f.failWritesAfter(3);
  EXPECT_EQ(failure([&] { f.append(NEW); }), "couldn't write to file '" + file + "'");
  EXPECT_EQ(tmp.bytesOf(file), OLD);
  f.failWritesAfter(-1);
  f.append("x");
  EXPECT_EQ(tmp.bytesOf(file), OLD + "x");
}

TEST_F(WholeWriteTest, memory_stream_takes_parts_only_at_commit) {
  FileSpec m(&env, FileSpec::Kind::Memory, "");
  m.write(OLD);
  {
    WholeWrite w(m);
    w.add("abc");
    EXPECT_EQ(m.contents(), OLD);
  }
  EXPECT_EQ(m.contents(), OLD);
  WholeWrite w(m);
  w.add("abc");
  w.add("def");
  w.commit();
  EXPECT_EQ(m.contents(), "abcdef");
}

}  // namespace
