// Choosing a net file format and reading or writing in it.
#include "BN/Files/NetFormat.h"

#include <cctype>
#include <fstream>
#include <vector>

#include "BN/Files/BifReader.h"
#include "BN/Files/BifWriter.h"
#include "BN/Files/DnetReader.h"
#include "BN/Files/DnetWriter.h"
#include "BN/Files/Dot.h"
#include "BN/Files/HuginNet.h"
#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/Uai.h"
#include "BN/Files/XmlBif.h"
#include "BN/Net/Bnet.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"

namespace quorva {

const char* formatWord(NetFormat f) {
  switch (f) {
    case NetFormat::Dnet: return "DNET";
    case NetFormat::Bif: return "BIF";
    case NetFormat::XmlBif: return "XMLBIF";
    case NetFormat::Hugin: return "Hugin NET";
    case NetFormat::Uai: return "UAI";
    case NetFormat::Dot:
    case NetFormat::DotBeliefs: return "DOT";
    default: return "unknown";
  }
}

NetFormat formatByExtension(std::string_view name) {
  const size_t slash = name.find_last_of("/\\"), dot = name.find_last_of('.');
  if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) return NetFormat::Unknown;
  std::string ext(name.substr(dot + 1));
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "dne" || ext == "dnet") return NetFormat::Dnet;
  if (ext == "bif") return NetFormat::Bif;
  if (ext == "xml" || ext == "xbif" || ext == "xmlbif") return NetFormat::XmlBif;
  if (ext == "net") return NetFormat::Hugin;
  if (ext == "uai") return NetFormat::Uai;
  if (ext == "dot") return NetFormat::Dot;
  return NetFormat::Unknown;
}

namespace {

bool startsWith(std::string_view s, size_t at, std::string_view word) { return s.substr(at, word.size()) == word; }

// The word (letters, digits, '_') at `at`.
std::string_view wordAt(std::string_view s, size_t at) {
  size_t end = at;
  while (end < s.size() && (std::isalnum(static_cast<unsigned char>(s[end])) || s[end] == '_')) ++end;
  return s.substr(at, end - at);
}

// The first place in `s` that is not a blank or a comment.
size_t skipBlanks(std::string_view s, size_t at) {
  while (at < s.size()) {
    if (std::isspace(static_cast<unsigned char>(s[at]))) ++at;
    else if (startsWith(s, at, "/*")) at = s.find("*/", at + 2) == std::string_view::npos ? s.size() : s.find("*/", at + 2) + 2;
    else if (s[at] == '%' || (startsWith(s, at, "//") && !startsWith(s, at, "// ~->[DNET"))) at = s.find('\n', at) == std::string_view::npos ? s.size() : s.find('\n', at);
    else break;
  }
  return at;
}

}  // namespace

NetFormat formatByContent(std::string_view s) {
  size_t at = startsWith(s, 0, "\xEF\xBB\xBF") ? 3 : 0;
  at = skipBlanks(s, at);
  if (at >= s.size()) return NetFormat::Unknown;
  if (startsWith(s, at, "<?xml") || startsWith(s, at, "<BIF")) return NetFormat::XmlBif;
  if (startsWith(s, at, "// ~->[DNET")) return NetFormat::Dnet;
  std::string_view word = wordAt(s, at);
  if (word == "BAYES" || word == "MARKOV") return NetFormat::Uai;
  if (word == "network") return NetFormat::Bif;
  if (word == "bnet") return NetFormat::Dnet;
  if (word == "class") return NetFormat::Hugin;
  if (word == "net" && at + 3 < s.size() && s[skipBlanks(s, at + 3)] == '{') return NetFormat::Hugin;
  return NetFormat::Unknown;
}

NetFormat guessFormat(FileSpec& in) {
  std::string start;
  if (in.isMemory()) {
    start = std::string(in.contents().substr(0, 8192));
  } else {
    std::ifstream f(in.name(), std::ios::binary);
    start.resize(8192);
    f.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(f ? start.size() : static_cast<size_t>(f.gcount()));
  }
  NetFormat f = formatByContent(start);
  if (f == NetFormat::Unknown) f = formatByExtension(in.name());
  if (f == NetFormat::Unknown || f == NetFormat::Dot) f = NetFormat::Dnet;
  return f;
}

namespace {

// The lines of PATH.names beside a UAI file stream, if there is such a file.
std::vector<std::string> uaiNames(FileSpec& in, std::string& path) {
  std::vector<std::string> names;
  if (in.isMemory()) return names;
  path = in.name() + ".names";
  std::ifstream f(path);
  std::string line;
  while (f && std::getline(f, line)) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    names.push_back(line);
  }
  while (!names.empty() && names.back().empty()) names.pop_back();
  return names;
}

}  // namespace

Bnet* readNetAs(FileSpec& in, EnvCore* env, NetFormat format, int options) {
  switch (format) {
    case NetFormat::Dnet: return readDnetNet(in, env, options);
    case NetFormat::Bif: return readBifNet(in, env);
    case NetFormat::XmlBif: return readXmlBifNet(in, env);
    case NetFormat::Hugin: return readHuginNet(in, env);
    case NetFormat::Uai: {
      std::string path;
      std::vector<std::string> names = uaiNames(in, path);
      return readUaiNet(in, env, names, path);
    }
    case NetFormat::Dot:
    case NetFormat::DotBeliefs: engError(env, err::FmtWriteOnly, "DOT");
    default: engError(env, err::FmtUnknownFormat, static_cast<int>(format));
  }
}

void writeNetAs(Bnet& net, FileSpec& out, NetFormat format) {
  if (format == NetFormat::Bif)
    for (const Bnode* n : net.nodes)
      if (n->kind == DECISION || n->kind == UTILITY)
        engError(net.env, err::FmtCantHoldKind, n->name, n->kind == DECISION ? "decision" : "utility", "BIF");
  switch (format) {
    case NetFormat::Dnet: writeDnetNet(net, out); break;
    case NetFormat::Bif: writeBifNet(net, out); break;
    case NetFormat::XmlBif: writeXmlBifNet(net, out); break;
    case NetFormat::Hugin: writeHuginNet(net, out); break;
    case NetFormat::Uai: {
      std::string names = writeUaiNet(net, out);
      if (!out.isMemory()) {
        FileSpec side(out.env(), FileSpec::Kind::File, out.name() + ".names");
        side.write(names);
      }
      break;
    }
    case NetFormat::Dot: writeDotNet(net, out, false); break;
    case NetFormat::DotBeliefs: writeDotNet(net, out, true); break;
    default: engError(net.env, err::FmtUnknownFormat, static_cast<int>(format));
  }
}

}  // namespace quorva
