// API functions of the foreign net formats: reading and writing in a chosen format, guessing a
// stream's format, and UAI evidence files.
#include "BN/Files/NetFormat.h"
#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/Uai.h"
#include "BN/Files/DnetErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {

void checkReadOptions(EnvCore* env, int options) {
  if (options != NO_VISUAL_INFO && options != NO_WINDOW && options != MINIMIZED_WINDOW && options != REGULAR_WINDOW)
    argError(env, err::ReadNetOptions, options, NO_VISUAL_INFO, NO_WINDOW, MINIMIZED_WINDOW, REGULAR_WINDOW);
}

}  // namespace

extern "C" {

int GuessNetFormat_bn(stream_vq* stream) {
  return apiCall(__func__, -1, envOf(stream),
                 [&](ApiFrame& f) { return static_cast<int>(guessFormat(f.stream(stream))); });
}

net_bn* ReadNetFormat_bn(stream_vq* stream, int format, int options) {
  return apiCall(__func__, static_cast<net_bn*>(nullptr), envOf(stream), [&](ApiFrame& f) {
    FileSpec& in = f.stream(stream);
    if (format < UNKNOWN_FORMAT || format > UAI_FORMAT) argError(&f.env(), err::FmtArgReadFormat, format);
    checkReadOptions(&f.env(), options);
    NetFormat which = format == UNKNOWN_FORMAT ? guessFormat(in) : static_cast<NetFormat>(format);
    return handle(&f.env().adoptNet(readNetAs(in, &f.env(), which, options)));
  });
}

void WriteNetFormat_bn(net_bn* net, stream_vq* stream, int format) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    FileSpec& out = f.stream(stream);
    if (format < DNET_FORMAT || format > DOT_BELIEFS_FORMAT)
      argError(&f.env(), err::FmtArgFormat, format, DNET_FORMAT, DOT_BELIEFS_FORMAT);
    writeNetAs(n, out, static_cast<NetFormat>(format));
  });
}

int EnterUaiEvidence_bn(net_bn* net, stream_vq* stream) {
  return apiCall(__func__, -1, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    return readUaiEvidence(f.stream(stream), n);
  });
}

}  // extern "C"
