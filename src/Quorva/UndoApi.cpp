// API functions of undo and redo.
#include "BN/Net/Bnet.h"
#include "BN/Net/UndoErrors.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {
void checkToWhen(Environ& env, long long to_when) {
  if (to_when != -1) argError(&env, err::UndoToWhen);
}
}  // namespace

extern "C" {

void SetNetNumUndos_bn(net_bn* net, int count_limit, double memory_limit, const char* options) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    if (options && *options) argError(&f.env(), err::UndoOptions, options);
    n.undo.setLimits(&f.env(), count_limit, memory_limit);
  });
}

bool_vq UndoNetLastOper_vq(net_bn* net, double to_when) {
  return apiCall(__func__, bool_vq{0}, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    checkToWhen(f.env(), static_cast<long long>(to_when) == to_when ? static_cast<long long>(to_when) : 0);
    return static_cast<bool_vq>(n.undo.undo(n));
  });
}

bool_vq RedoNetOper_vq(net_bn* net, double to_when) {
  return apiCall(__func__, bool_vq{0}, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    checkToWhen(f.env(), static_cast<long long>(to_when) == to_when ? static_cast<long long>(to_when) : 0);
    return static_cast<bool_vq>(n.undo.redo(n));
  });
}

}  // extern "C"
