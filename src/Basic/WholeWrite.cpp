// A stream's new contents written whole: through a temporary file and a rename for a file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "Basic/EnvCore.h"
#include "Basic/Raise.h"
#include "Basic/ReaderErrors.h"
#include "Basic/Stream.h"

namespace quorva {

namespace fs = std::filesystem;

namespace {

// The file a write to `path` replaces: what a symbolic link points to, so the link stays.
std::string replacedFile(const std::string& path) {
  std::error_code ec;
  if (!fs::is_symlink(path, ec)) return path;
  fs::path target = fs::weakly_canonical(path, ec);
  return ec ? path : target.string();
}

// Six characters unlikely to repeat between processes and calls.
std::string tempSuffix() {
  static std::atomic<uint64_t> counter{0};
  uint64_t x = static_cast<uint64_t>(::getpid()) * 0x9E3779B97F4A7C15ull ^
               static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
               (++counter * 0xBF58476D1CE4E5B9ull);
  static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::string s;
  for (int i = 0; i < 6; ++i, x /= 36) s += digits[x % 36];
  return s;
}

// Makes a new file "<target>.tmp-XXXXXX" beside `target`, with the permissions of `target`
// when it exists (else those a new file gets).  Returns null when none can be made.
std::FILE* makeTemp(const std::string& target, std::string& temp) {
  struct stat old {};
  const bool hadFile = ::stat(target.c_str(), &old) == 0;
  for (int attempt = 0; attempt < 64; ++attempt) {
    temp = target + ".tmp-" + tempSuffix();
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno == EEXIST) continue;
    if (fd < 0) break;
    if (hadFile) (void)::fchmod(fd, old.st_mode & 07777);
    if (std::FILE* f = ::fdopen(fd, "wb")) return f;
    ::close(fd);
    ::unlink(temp.c_str());
    break;
  }
  temp.clear();
  return nullptr;
}

}  // namespace

WholeWrite::WholeWrite(FileSpec& fs) : fs_(fs) {
  ++fs_.generation_;
  if (fs_.isMemory()) return;
  fs_.closeFile();
  std::error_code ec;
  const std::string& name = fs_.name();
  if (!name.empty() && fs::is_directory(name, ec)) engError(fs_.env(), err::IsDirectory, name, "writing");
  target_ = name.empty() ? name : replacedFile(name);
  // A device or a pipe cannot be replaced: its bytes are written to it as they come.
  inPlace_ = !target_.empty() && fs::exists(target_, ec) && !fs::is_regular_file(target_, ec);
  if (inPlace_)
    file_ = std::fopen(target_.c_str(), "wb");
  else if (!target_.empty())
    file_ = makeTemp(target_, temp_);
  // A folder that takes no new file may still let its files be rewritten: then in place.
  if (!file_ && !inPlace_ && !target_.empty() && fs::exists(target_, ec)) {
    inPlace_ = true;
    file_ = std::fopen(target_.c_str(), "wb");
  }
  if (!file_) engError(fs_.env(), err::CantOpenFile, name, "writing");
}

WholeWrite::~WholeWrite() { abandon(); }

void WholeWrite::add(std::string_view bytes) {
  if (fs_.isMemory()) {
    gathered_.append(bytes);
    return;
  }
  if (!file_ || !fs_.putWithin(file_, bytes)) {
    abandon();
    engError(fs_.env(), err::CantWriteFile, fs_.name());
  }
}

void WholeWrite::commit() {
  ++fs_.generation_;
  if (fs_.isMemory()) {
    fs_.owned_.swap(gathered_);
    fs_.borrowed_ = nullptr;
    fs_.borrowedLength_ = 0;
    return;
  }
  bool ok = file_ != nullptr && std::fflush(file_) == 0;
  ok = ok && (inPlace_ || ::fsync(::fileno(file_)) == 0);
  ok = file_ != nullptr && std::fclose(file_) == 0 && ok;
  file_ = nullptr;
  ok = ok && (inPlace_ || std::rename(temp_.c_str(), target_.c_str()) == 0);
  if (!ok) {
    abandon();
    engError(fs_.env(), err::CantWriteFile, fs_.name());
  }
  temp_.clear();
}

void WholeWrite::abandon() noexcept {
  if (file_) std::fclose(file_);
  file_ = nullptr;
  if (!temp_.empty()) ::unlink(temp_.c_str());
  temp_.clear();
}

}  // namespace quorva
