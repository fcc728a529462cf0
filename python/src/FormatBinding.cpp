// Net files in formats other than the one a file's name implies: reading and writing in a named
// format, telling a file's format, and UAI evidence files.
#include "PyEngine.h"

namespace quorva::py {

namespace {

struct FormatName {
  const char* name;
  int code;
};
constexpr FormatName FORMATS[] = {{"dnet", DNET_FORMAT},         {"bif", BIF_FORMAT},
                                  {"xmlbif", XMLBIF_FORMAT},     {"hugin", HUGIN_NET_FORMAT},
                                  {"uai", UAI_FORMAT},           {"dot", DOT_FORMAT},
                                  {"dot_beliefs", DOT_BELIEFS_FORMAT}};

// A file stream of the process's environment, deleted with the object.
class FileStream {
 public:
  explicit FileStream(const std::string& path) : stream_(NewFileStream_vq(path.c_str(), processEnv(), nullptr)) {
    check(processEnv());
  }
  ~FileStream() {
    if (stream_) DeleteStream_vq(stream_);
  }
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;
  stream_vq* get() const { return stream_; }

 private:
  stream_vq* stream_;
};

}  // namespace

int netFormatCode(const std::string& name) {
  for (const FormatName& f : FORMATS)
    if (name == f.name) return f.code;
  throw pb::value_error("a net format is 'dnet', 'bif', 'xmlbif', 'hugin', 'uai', 'dot' or 'dot_beliefs', not '" +
                        name + "'");
}

Net readNetFormat(const std::string& path, const std::string& format) {
  const int code = netFormatCode(format);
  if (code == DOT_FORMAT || code == DOT_BELIEFS_FORMAT) throw pb::value_error("DOT files are written only");
  FileStream stream(path);
  net_bn* net = ReadNetFormat_bn(stream.get(), code, NO_VISUAL_INFO);
  try {
    check(processEnv());
  } catch (...) {
    if (net) DeleteNet_bn(net);
    ClearErrors_vq(processEnv(), INTERNAL_ERR);
    throw;
  }
  if (!net) throw std::runtime_error("could not read a net from '" + path + "'");
  return Net(net);
}

void writeNetFormat(const Net& net, const std::string& path, const std::string& format) {
  const int code = netFormatCode(format);
  FileStream stream(path);
  WriteNetFormat_bn(net.get(), stream.get(), code);
  check(processEnv());
}

void bindFormats(pb::module_& m) {
  m.def(
      "guess_format",
      [](const std::string& path) {
        FileStream stream(path);
        const int code = GuessNetFormat_bn(stream.get());
        check(processEnv());
        for (const FormatName& f : FORMATS)
          if (f.code == code) return std::string(f.name);
        throw std::runtime_error("the engine named an unknown format");
      },
      pb::arg("path"),
      "The format of the net file ('dnet', 'bif', 'xmlbif', 'hugin' or 'uai'), told by its first bytes,\n"
      "else by its extension.");
  addMethod(
      m, "Net", "enter_uai_evidence",
      [](const Net& net, const std::string& path) {
        FileStream stream(path);
        const int count = EnterUaiEvidence_bn(net.get(), stream.get());
        check(processEnv());
        return count;
      },
      pb::arg("path"),
      "Enters the findings of a UAI evidence file (variables by their index in the net's order) and\n"
      "returns how many; a faulty file enters none.");
}

}  // namespace quorva::py
