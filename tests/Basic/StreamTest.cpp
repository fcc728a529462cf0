// File and memory streams, their faults, reading large files by blocks, and the settings file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "Basic/ReaderFixture.h"
#include "Basic/Settings.h"
#include "Basic/TempFolder.h"

using namespace quorva;
namespace fs = std::filesystem;

namespace {

class FileSpecTest : public ReaderTest {
 protected:
  std::string path(const std::string& leaf) { return tmp.path(leaf); }
  TempFolder tmp{"fs"};
  fs::path dir = tmp.dir;
};

TEST_F(FileSpecTest, FileStreamsWriteAppendAndReadBack) {
  FileSpec f(&env, FileSpec::Kind::File, path("net.dne"));
  EXPECT_FALSE(fs::exists(path("net.dne")));  // nothing is opened until it is used
  f.write("bnet A {};\n");
  f.append("// more\n");
  EXPECT_EQ(f.readAll(), "bnet A {};\n// more\n");
  EXPECT_EQ(f.displayName(), path("net.dne"));
}

TEST_F(FileSpecTest, OpenFailuresNameTheFileAndTheWayItWasWanted) {
  std::string missing = path("no/such/file.dne");
  FileSpec f(&env, FileSpec::Kind::File, missing);
  EXPECT_EQ(failure([&] { f.readAll(); }), "couldn't open file '" + missing + "' for reading");
  EXPECT_EQ(failure([&] { f.write("x"); }), "couldn't open file '" + missing + "' for writing");
  EXPECT_EQ(failure([&] { f.append("x"); }), "couldn't open file '" + missing + "' for appending");
  EXPECT_EQ(failure([&] { TokenReader r(f); }), "couldn't open file '" + missing + "' for reading");

  // A directory is named as one, whatever the stream was to do with it.
  FileSpec directory(&env, FileSpec::Kind::File, dir.string());
  const std::string isDir = " because it is a directory, not a file";
  EXPECT_EQ(failure([&] { directory.readAll(); }), "couldn't open '" + dir.string() + "' for reading," + isDir);
  EXPECT_EQ(failure([&] { TokenReader r(directory); }), "couldn't open '" + dir.string() + "' for reading," + isDir);
  EXPECT_EQ(failure([&] { directory.write("x"); }), "couldn't open '" + dir.string() + "' for writing," + isDir);
}

TEST_F(FileSpecTest, WriteFailureIsReported) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full to fill";
  FileSpec f(&env, FileSpec::Kind::File, "/dev/full");
  EXPECT_EQ(failure([&] { f.write(std::string(1 << 16, 'x')); }), "couldn't write to file '/dev/full'");
}

TEST_F(FileSpecTest, OnlyQovaStreamsTakeAPassword) {
  FileSpec text(&env, FileSpec::Kind::File, path("a.dne"));
  EXPECT_EQ(failure([&] { text.setPassword("secret"); }),
            "attempt to set an encryption password for a file which is in a non-encryptable format "
            "(extension is .dne)");
  FileSpec bare(&env, FileSpec::Kind::Memory, "");
  EXPECT_EQ(failure([&] { bare.setPassword("secret"); }),
            "attempt to set an encryption password for a file which is in a non-encryptable format "
            "(extension is none)");
  text.setPassword(nullptr);  // removing one is always allowed
  FileSpec binary(&env, FileSpec::Kind::Memory, "dir.v2/Net.QOVA");
  binary.setPassword("secret");
  EXPECT_EQ(binary.password(), "secret");
}

TEST_F(FileSpecTest, MemoryStreamsCopyOrBorrowTheirBytes) {
  FileSpec m(&env, FileSpec::Kind::Memory, "");
  std::string caller = "abc";
  m.setContents(caller.data(), caller.size(), false);
  caller[0] = 'X';  // borrowed: the stream sees the change
  EXPECT_EQ(m.contents(), "Xbc");
  m.append("d");    // a write makes the stream's own copy
  caller[1] = 'Y';
  EXPECT_EQ(m.readAll(), "Xbcd");
  m.setContents(caller.data(), 2, true);
  caller = "zzz";
  EXPECT_EQ(m.contents(), "XY");
  EXPECT_EQ(m.contents().data()[2], '\0');
  m.release();
  EXPECT_EQ(m.contents(), "");
}

class SettingsTest : public ReaderTest {};

TEST_F(SettingsTest, DefaultsAndTypedValues) {
  Settings& s = env.settings;
  EXPECT_EQ(s.formatVersion(), 100);
  EXPECT_FALSE(s.leaveUnicodeRaw());
  EXPECT_FALSE(s.nfcStrings());
  EXPECT_EQ(s.set(FORMAT_VERSION_SETTING, " 2.05 "), "");
  EXPECT_EQ(s.formatVersion(), 205);
  EXPECT_EQ(s.set(NFC_STRINGS_SETTING, "maybe"), "'maybe' should be on or off");
  EXPECT_FALSE(s.nfcStrings());
  EXPECT_EQ(s.set(FORMAT_VERSION_SETTING, "51"), "'51' is not a version number (such as 1.00 or 2.00)");
  EXPECT_EQ(s.formatVersion(), 205);
  EXPECT_EQ(s.set("Some_future_key", "x y"), "");
  EXPECT_EQ(s.value("Some_future_key"), "x y");
}

TEST_F(SettingsTest, RawUnicodeBelowVersionTwoIsTakenBackWithAWarning) {
  env.settings.loadText("Leave_unicode_raw_when_making_DNET_files = on\r\n"
                        "Version_of_format_to_make_DNET_and_QOVA_files = 1.5\r\n",
                        "s.txt");
  EXPECT_FALSE(env.settings.leaveUnicodeRaw());
  EXPECT_EQ(env.settings.value(UNICODE_RAW_SETTING), "off");
  EXPECT_EQ(records(WARNING_SEV),
            "Settings indicated to 'Leave_unicode_raw_when_making_DNET_files', but that will be "
            "ignored, because they also indicated to write files in version 1.50, whereas only "
            "versions >= 2.00 can do that (see 'Version_of_format_to_make_DNET_and_QOVA_files')");
  env.settings.loadText("# version two\nVersion_of_format_to_make_DNET_and_QOVA_files=2\n"
                        "Leave_unicode_raw_when_making_DNET_files=yes\n",
                        "s.txt");
  EXPECT_TRUE(env.settings.leaveUnicodeRaw());
}

TEST_F(SettingsTest, TheFileNamedByTheEnvironmentVariableIsReadOnFirstUse) {
  TempFolder tmp("st");
  fs::path file = tmp.dir / "settings.txt";
  {
    std::ofstream out(file);
    out << "// settings\n\nPut_strings_in_unicode_normalization_form_C = on\nno equals sign\n";
  }
  ::setenv(SETTINGS_FILE_VARIABLE, file.c_str(), 1);
  EnvCore fresh;
  fresh.state = ENV_USABLE_STATE;
  bool nfc = fresh.settings.nfcStrings();
  ::unsetenv(SETTINGS_FILE_VARIABLE);
  fs::remove(file);
  EXPECT_TRUE(nfc);
  const ErrorRecord* w = fresh.errors.next(std::this_thread::get_id(), WARNING_SEV, nullptr);
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(w->message, "expected 'Key = value', on line 4 of settings file '" + file.string() +
                            "' (line ignored)");

  ::setenv(SETTINGS_FILE_VARIABLE, file.c_str(), 1);  // now missing
  EnvCore missing;
  missing.state = ENV_USABLE_STATE;
  EXPECT_FALSE(missing.settings.nfcStrings());
  ::unsetenv(SETTINGS_FILE_VARIABLE);
  w = missing.errors.next(std::this_thread::get_id(), WARNING_SEV, nullptr);
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(w->number, -2651);
}

}  // namespace
