// API functions that register listener callbacks.
#include <algorithm>
#include <memory>

#include "BN/Net/Listeners.h"
#include "Quorva/ApiFrame.h"

using namespace quorva;

namespace {
// Adds a registration, or with filter 0 removes the one of this callback and object.
void registerListener(std::vector<std::shared_ptr<Listener>>& list, const void* callback, void* object,
                      int filter, std::function<int(int, void*)> call) {
  list.erase(std::remove_if(list.begin(), list.end(),
                            [&](const auto& l) { return l->callback == callback && l->object == object; }),
             list.end());
  if (filter == 0) return;
  auto l = std::make_shared<Listener>();
  l->call = std::move(call);
  l->object = object;
  l->callback = callback;
  l->filter = filter;
  list.push_back(std::move(l));
}
}  // namespace

extern "C" {

void AddNetListener_bn(net_bn* net, netlistener_bn callback, void* object, int filter) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    f.notNull(reinterpret_cast<const void*>(callback), "callback");
    registerListener(n.listeners, reinterpret_cast<const void*>(callback), object, filter,
                     [callback, net, object](int e, void* info) {
                       return callback(net, static_cast<eventtype_vq>(e), object, info);
                     });
  });
}

void AddNodeListener_bn(node_bn* node, nodelistener_bn callback, void* object, int filter) {
  apiRun(__func__, envOf(node), [&](ApiFrame& f) {
    Bnode& n = f.node(node);
    f.notNull(reinterpret_cast<const void*>(callback), "callback");
    registerListener(n.editDetails().listeners, reinterpret_cast<const void*>(callback), object, filter,
                     [callback, node, object](int e, void* info) {
                       return callback(node, static_cast<eventtype_vq>(e), object, info);
                     });
  });
}

}  // extern "C"
