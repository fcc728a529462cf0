// Streams over files and memory buffers: opening, block reads, writes, appends and passwords.
#include "Basic/Stream.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <new>

#include "Basic/BasicErrors.h"
#include "Basic/EnvCore.h"
#include "Basic/Raise.h"
#include "Basic/ReaderErrors.h"

namespace quorva {

namespace {

// Reads a file through the stream that opened it, closing it at the end.
class FileInput : public StreamInput {
 public:
  explicit FileInput(FileSpec& fs) : fs_(fs), file_(fs.openFile("rb")) {}
  ~FileInput() override { fs_.closeFile(); }

  size_t read(char* dst, size_t max) override {
    size_t got = std::fread(dst, 1, max, file_);
    if (got < max && std::ferror(file_)) engError(fs_.env(), err::DiskReadError, fs_.name());
    return got;
  }

 private:
  FileSpec& fs_;
  std::FILE* file_;
};

// Reads a memory stream's bytes as they are at the time it is made.
class MemoryInput : public StreamInput {
 public:
  explicit MemoryInput(std::string_view bytes) : bytes_(bytes) {}

  size_t read(char* dst, size_t max) override {
    size_t n = std::min(max, bytes_.size());
    std::memcpy(dst, bytes_.data(), n);
    bytes_.remove_prefix(n);
    return n;
  }
  const std::string_view* inPlace() const override { return &bytes_; }

 private:
  std::string_view bytes_;
};

const char* openPurpose(const std::string& mode) {
  if (mode.find('a') != std::string::npos) return "appending";
  if (mode.find('w') != std::string::npos) return "writing";
  return "reading";
}

// The extension of a path with its dot, or "none".
std::string extensionOf(const std::string& path) {
  size_t slash = path.find_last_of("/\\");
  size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "none";
  return path.substr(dot);
}

bool endsWithNoCase(const std::string& s, std::string_view tail) {
  if (s.size() < tail.size()) return false;
  return std::equal(tail.begin(), tail.end(), s.end() - static_cast<long>(tail.size()),
                    [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) ==
                                                std::tolower(static_cast<unsigned char>(b)); });
}

}  // namespace

FileSpec::FileSpec(EnvCore* env, Kind kind, std::string name)
    : Tagged(FILESPEC_TYPE), env_(env), kind_(kind), name_(std::move(name)) {}

FileSpec::~FileSpec() { closeFile(); }

std::string FileSpec::displayName() const {
  return name_.empty() && isMemory() ? "In-memory File" : name_;
}

void FileSpec::setContents(const char* bytes, size_t length, bool copy) {
  QASSERT(env_, isMemory());
  ++generation_;
  if (!copy) {
    owned_.clear();
    owned_.shrink_to_fit();
    borrowed_ = bytes;
    borrowedLength_ = length;
    return;
  }
  try {
    std::string fresh(bytes, length);
    owned_.swap(fresh);
  } catch (const std::bad_alloc&) {
    raiseMemoryError(env_, err::NotEnoughMemory, "to set the contents of >-FileSpec " + displayName(),
                     formatBytes(static_cast<double>(length)));
  } catch (const std::length_error&) {
    raiseMemoryError(env_, err::NotEnoughMemory, "to set the contents of >-FileSpec " + displayName(),
                     formatBytes(static_cast<double>(length)));
  }
  borrowed_ = nullptr;
  borrowedLength_ = 0;
}

std::string_view FileSpec::contents() const {
  if (borrowed_) return {borrowed_, borrowedLength_};
  return owned_;
}

std::unique_ptr<StreamInput> FileSpec::openInput() {
  if (isMemory()) return std::make_unique<MemoryInput>(contents());
  return std::make_unique<FileInput>(*this);
}

std::string FileSpec::readAll() {
  if (isMemory()) return std::string(contents());
  std::unique_ptr<StreamInput> in = openInput();
  std::string all;
  char block[1 << 14];
  while (size_t got = in->read(block, sizeof block)) all.append(block, got);
  return all;
}

void FileSpec::write(std::string_view bytes) {
  WholeWrite whole(*this);
  whole.add(bytes);
  whole.commit();
}

void FileSpec::append(std::string_view bytes) {
  ++generation_;
  if (isMemory()) {
    std::string fresh(contents());
    fresh.append(bytes);
    owned_.swap(fresh);
    borrowed_ = nullptr;
    borrowedLength_ = 0;
    return;
  }
  std::FILE* f = openFile("ab");
  const long before = std::fseek(f, 0, SEEK_END) == 0 ? std::ftell(f) : -1;
  bool ok = putWithin(f, bytes);
  ok = std::fflush(f) == 0 && ok;
  closeFile();
  if (ok) return;
  // Leave the file as it was before this append.
  std::error_code ec;
  if (before >= 0) std::filesystem::resize_file(name_, static_cast<uintmax_t>(before), ec);
  engError(env_, err::CantWriteFile, name_);
}

bool FileSpec::putWithin(std::FILE* f, std::string_view bytes) {
  size_t room = bytes.size();
  if (writeBudget_ >= 0) room = std::min(room, static_cast<size_t>(writeBudget_));
  const size_t put = std::fwrite(bytes.data(), 1, room, f);
  if (writeBudget_ >= 0) writeBudget_ -= static_cast<long long>(put);
  return put == bytes.size();
}

std::FILE* FileSpec::openFile(const char* mode) {
  ++generation_;
  if (file_ && fileMode_ == mode) {
    bool appending = std::strchr(mode, 'a') != nullptr;
    std::fseek(file_, 0, appending ? SEEK_END : SEEK_SET);
    std::clearerr(file_);
    return file_;
  }
  closeFile();
  std::error_code ec;
  if (!name_.empty() && std::filesystem::is_directory(name_, ec)) engError(env_, err::IsDirectory, name_, openPurpose(mode));
  file_ = name_.empty() ? nullptr : std::fopen(name_.c_str(), mode);
  if (!file_) engError(env_, err::CantOpenFile, name_, openPurpose(mode));
  fileMode_ = mode;
  return file_;
}

void FileSpec::closeFile() {
  if (file_) ++generation_;
  if (file_) std::fclose(file_);
  file_ = nullptr;
  fileMode_.clear();
}

void FileSpec::setPassword(const char* password) {
  if (!password || !*password) {
    password_.clear();
    return;
  }
  if (!endsWithNoCase(name_, ".qova")) engError(env_, err::PasswordFormat, extensionOf(name_));
  password_ = password;
}

void FileSpec::release() {
  ++generation_;
  closeFile();
  std::string().swap(owned_);
  borrowed_ = nullptr;
  borrowedLength_ = 0;
  password_.clear();
}

}  // namespace quorva
