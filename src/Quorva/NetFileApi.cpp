// API functions of net files: the format follows the stream's name.
#include "BN/Files/DnetErrors.h"
#include "BN/Files/NetFormat.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

// The format a stream's name asks for; DNET for any name without a known extension.
NetFormat byName(const FileSpec& s) {
  NetFormat f = formatByExtension(s.name());
  return f == NetFormat::Unknown ? NetFormat::Dnet : f;
}

}  // namespace

extern "C" {

void WriteNet_bn(const net_bn* net, stream_vq* file) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    // Writing changes nothing of the net; DOT without bars reads no beliefs.
    Bnet& n = f.net(net);
    FileSpec& out = f.stream(file);
    writeNetAs(n, out, byName(out));
  });
}

net_bn* ReadNet_bn(stream_vq* file, int options) {
  return apiCall(__func__, static_cast<net_bn*>(nullptr), envOf(file), [&](ApiFrame& f) {
    FileSpec& in = f.stream(file);
    if (options != NO_VISUAL_INFO && options != NO_WINDOW && options != MINIMIZED_WINDOW &&
        options != REGULAR_WINDOW)
      argError(&f.env(), err::ReadNetOptions, options, NO_VISUAL_INFO, NO_WINDOW, MINIMIZED_WINDOW,
               REGULAR_WINDOW);
    return handle(&f.env().adoptNet(readNetAs(in, &f.env(), byName(in), options)));
  });
}

}  // extern "C"
