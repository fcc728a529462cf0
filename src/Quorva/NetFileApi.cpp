// API functions of net files.
#include <algorithm>
#include <cctype>

#include "BN/Files/BifReader.h"
#include "BN/Files/BifWriter.h"
#include "BN/Files/DnetErrors.h"
#include "BN/Files/DnetReader.h"
#include "BN/Files/DnetWriter.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

bool hasExtension(const std::string& name, const char* ext) {
  std::string e(ext);
  if (name.size() < e.size()) return false;
  return std::equal(e.begin(), e.end(), name.end() - static_cast<std::ptrdiff_t>(e.size()),
                    [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) ==
                                                std::tolower(static_cast<unsigned char>(b)); });
}

}  // namespace

extern "C" {

void WriteNet_bn(const net_bn* net, stream_vq* file) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    const Bnet& n = f.net(net);
    FileSpec& out = f.stream(file);
    if (hasExtension(out.name(), ".bif"))
      writeBifNet(n, out);
    else
      writeDnetNet(n, out);
  });
}

net_bn* ReadNet_bn(stream_vq* file, int options) {
  return apiCall(__func__, static_cast<net_bn*>(nullptr), envOf(file), [&](ApiFrame& f) {
    FileSpec& in = f.stream(file);
    if (options != NO_VISUAL_INFO && options != NO_WINDOW && options != MINIMIZED_WINDOW &&
        options != REGULAR_WINDOW)
      argError(&f.env(), err::ReadNetOptions, options, NO_VISUAL_INFO, NO_WINDOW, MINIMIZED_WINDOW,
               REGULAR_WINDOW);
    Bnet* net = hasExtension(in.name(), ".bif") ? readBifNet(in, &f.env())
                                                : readDnetNet(in, &f.env(), options);
    return handle(&f.env().adoptNet(net));
  });
}

}  // extern "C"
