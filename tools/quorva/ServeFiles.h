// The files of the page `quorva serve` serves, carried in the binary (made at build time from
// tools/quorva/web by web/Embed.cmake).
#pragma once
#include <cstddef>
#include <string>

namespace quorva::cli {

struct WebFile {
  const char* path;  // as asked for: "/index.html"
  const char* type;  // its media type
  const unsigned char* data;
  size_t size;
};

extern const WebFile WEB_FILES[];
extern const size_t WEB_FILE_COUNT;

// The file served at exactly `path` ("/" is "/index.html"), or null.
inline const WebFile* webFileAt(const std::string& path) {
  const std::string wanted = path == "/" ? "/index.html" : path;
  for (size_t i = 0; i < WEB_FILE_COUNT; ++i)
    if (wanted == WEB_FILES[i].path) return &WEB_FILES[i];
  return nullptr;
}

}  // namespace quorva::cli
