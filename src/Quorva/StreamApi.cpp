// API functions of streams: file and memory streams, their contents and passwords.
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"
#include "Quorva/StreamErrors.h"

using namespace quorva;

namespace {

void checkAccess(Environ& env, const char* access) {
  if (access) argError(&env, err::StreamAccess);
}

// The memory stream a contents call works on.
FileSpec& memoryStream(ApiFrame& f, const stream_vq* h) {
  FileSpec& fs = f.stream(h);
  if (!fs.isMemory()) argError(&f.env(), err::MemoryStreamOnly);
  return fs;
}

}  // namespace

extern "C" {

stream_vq* NewFileStream_vq(const char* filename, environ_vq* env, const char* access) {
  return apiCall(__func__, static_cast<stream_vq*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    checkAccess(e, access);
    if (!filename) argError(&e, err::NullString, "filename");
    if (!*filename) argError(&e, err::BadFileName, "the file name is empty");
    auto fs = std::make_unique<FileSpec>(&e, FileSpec::Kind::File, filename);
    return handle(&e.adoptStream(std::move(fs)));
  });
}

stream_vq* NewMemoryStream_vq(const char* name, environ_vq* env, const char* access) {
  return apiCall(__func__, static_cast<stream_vq*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    checkAccess(e, access);
    auto fs = std::make_unique<FileSpec>(&e, FileSpec::Kind::Memory, name ? name : "");
    return handle(&e.adoptStream(std::move(fs)));
  });
}

void SetStreamContents_vq(stream_vq* stream, const char* buffer, long long length, bool_vq copy) {
  apiRun(__func__, envOf(stream), [&](ApiFrame& f) {
    FileSpec& fs = memoryStream(f, stream);
    if (length < 0) argError(&f.env(), err::StreamLengthNegative, length);
    if (length > 0) f.notNull(buffer, "buffer");
    fs.setContents(length > 0 ? buffer : "", static_cast<size_t>(length), copy != 0);
  });
}

const char* GetStreamContents_vq(stream_vq* stream, long long* length) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(stream), [&](ApiFrame& f) {
    std::string_view bytes = memoryStream(f, stream).contents();
    if (length) *length = static_cast<long long>(bytes.size());
    return bytes.data();
  });
}

void DeleteStream_vq(stream_vq* stream) {
  apiRun(__func__, envOf(stream), [&](ApiFrame& f) { f.env().deleteStream(f.stream(stream)); });
}

void SetStreamPassword_vq(stream_vq* stream, const char* password) {
  apiRun(__func__, envOf(stream), [&](ApiFrame& f) { f.stream(stream).setPassword(password); });
}

}  // extern "C"
