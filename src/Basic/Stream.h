// Streams: the one object through which every file is read and written, bound either to a file
// path or to a buffer in memory.
#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "Basic/Tagged.h"

namespace quorva {

class EnvCore;

// The bytes of a stream from its start, delivered block by block so that a large file never has
// to be held whole.  Made by FileSpec::openInput; a file stays open until its input is destroyed.
class StreamInput {
 public:
  virtual ~StreamInput() = default;
  // Copies up to `max` of the next bytes into `dst` and returns how many; 0 only at the end.
  // A read that fails part way raises "disk error trying to read file '%s'".
  virtual size_t read(char* dst, size_t max) = 0;
  // The bytes not yet read, when they already stand in memory (a memory stream), so that a
  // reader may take them in place; null otherwise.
  virtual const std::string_view* inPlace() const { return nullptr; }
};

// A stream (stream_vq in the API).  A file stream opens its file only when it is read or written,
// and closes it again afterwards; a memory stream holds its bytes itself or reads a caller's
// buffer in place.  Faults are raised as error records in the stream's environment.
class FileSpec : public Tagged {
 public:
  enum class Kind { File, Memory };

  // `name` is the path of a file stream, or the (possibly empty) name of a memory stream.
  FileSpec(EnvCore* env, Kind kind, std::string name);
  ~FileSpec();
  FileSpec(const FileSpec&) = delete;
  FileSpec& operator=(const FileSpec&) = delete;

  EnvCore* env() const { return env_; }
  Kind kind() const { return kind_; }
  bool isMemory() const { return kind_ == Kind::Memory; }
  // The path or the name as given (empty for an unnamed memory stream).
  const std::string& name() const { return name_; }
  // The name for messages: the path or name, "In-memory File" for an unnamed memory stream.
  std::string displayName() const;

  // Memory streams only.  Replaces the bytes: with `copy` the stream keeps its own copy (raising
  // "not enough memory to set the contents of >-FileSpec <name>" when it cannot be made);
  // without, it reads `bytes` in place, and the caller keeps them alive and unchanged until the
  // contents are next replaced or the stream is freed.
  void setContents(const char* bytes, size_t length, bool copy);
  // The bytes of a memory stream, valid until the stream changes.  Owned bytes are followed by
  // a zero byte, so that text contents can be read as a C string.
  std::string_view contents() const;

  // Reading from the start.  For a file: "couldn't open file '%s' for reading".
  std::unique_ptr<StreamInput> openInput();
  std::string readAll();

  // Writing: `write` replaces the whole contents, `append` adds to the end.  A file is replaced
  // whole or not at all (see WholeWrite).  An append cannot be made atomic: a failed one is
  // undone by cutting the file back to its length before, so only a process killed part way
  // through can leave part of one append behind.  "couldn't open file '%s' for
  // writing|appending", "couldn't write to file '%s'".
  void write(std::string_view bytes);
  void append(std::string_view bytes);

  // Test hook: the stream's file writes fail as if the disk were full once `bytes` more bytes
  // have gone out (0 fails the next write at once); negative = never.
  void failWritesAfter(long long bytes) { writeBudget_ = bytes; }
  // Writes `bytes` to `f` within the budget of failWritesAfter; false when not all went out.
  bool putWithin(std::FILE* f, std::string_view bytes);

  // The encryption password: only a stream whose name ends in ".qova" may carry one.  Null or
  // empty removes it.  The bytes are still read and written as plain data.
  void setPassword(const char* password);
  const std::string& password() const { return password_; }

  // Frees the buffer and closes the file; done when the stream is deleted.
  void release();

  // Opens the stream's file in `mode` (a stream whose file is already open in that mode is
  // repositioned instead: to its end for appending, else to its start), and closes it.
  std::FILE* openFile(const char* mode);
  void closeFile();

  // Changes whenever the bytes or the open file may have changed under a reader that is kept
  // between calls (contents set, written, released; the file opened, repositioned or closed).
  uint64_t generation() const { return generation_; }

 private:
  friend class WholeWrite;

  EnvCore* env_;
  Kind kind_;
  std::string name_;
  std::string owned_;                 // a memory stream's own bytes
  const char* borrowed_ = nullptr;    // or a caller's bytes, read in place
  size_t borrowedLength_ = 0;
  std::string password_;
  std::FILE* file_ = nullptr;
  std::string fileMode_;
  uint64_t generation_ = 0;
  long long writeBudget_ = -1;
};

// The new whole contents of a stream, written in parts.  For a file stream the parts go to a
// temporary file beside the file ("<name>.tmp-XXXXXX"), which replaces the file by a rename
// only at `commit`; dropped before that (a fault part way), the temporary file is removed and
// the old file is left as it was.  A memory stream's parts are gathered and replace its
// contents at `commit`.  A device or a pipe (a path that is there but not a regular file) cannot
// be replaced and is written in place, as is a file in a folder where no new file can be made.
class WholeWrite {
 public:
  explicit WholeWrite(FileSpec& fs);
  ~WholeWrite();
  WholeWrite(const WholeWrite&) = delete;
  WholeWrite& operator=(const WholeWrite&) = delete;

  void add(std::string_view bytes);
  void commit();

 private:
  void abandon() noexcept;

  FileSpec& fs_;
  std::string target_;    // the file replaced: the path, or what a symbolic link points to
  std::string temp_;      // the temporary file, while it exists
  std::FILE* file_ = nullptr;
  std::string gathered_;  // a memory stream's new bytes
  bool inPlace_ = false;   // writing straight to a device or pipe
};

}  // namespace quorva
