// Firing listener callbacks.
#include "BN/Net/Listeners.h"

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Findings/FindingErrors.h"
#include "Basic/CallFrame.h"
#include "Basic/Raise.h"

namespace quorva {

const char* eventName(int event) {
  switch (event) {
    case CREATE_EVENT_TYPE: return "CREATE_EVENT";
    case REMOVE_EVENT_TYPE: return "REMOVE_EVENT";
    case DUPLICATE_EVENT_TYPE: return "DUPLICATE_EVENT";
    default: return "UNKNOWN_EVENT";
  }
}

namespace {

// Kept out of line, so that an event with no listener (nearly every one) costs a test and nothing
// more: inlined, its frame would be set up on every call.
[[gnu::noinline]] void fire(EnvCore* env, const char* kind, const std::string& name,
          std::vector<std::shared_ptr<Listener>> listeners, int event, void* info) {
  for (const auto& l : listeners) {
    if (!(l->filter & event)) continue;
    int result = 0;
    try {
      CallbackScope scope;
      result = l->call(event, info);
    } catch (const std::exception& e) {
      engWarning(env, err::CallbackThrew, kind, name, eventName(event), e.what());
      continue;
    } catch (...) {
      engWarning(env, err::CallbackThrew, kind, name, eventName(event), "");
      continue;
    }
    if (result < -1000) engWarning(env, err::CallbackOutOfRange, kind, name, eventName(event));
    else if (result < 0) engWarning(env, err::CallbackNegative, kind, name, eventName(event), result);
  }
}

}  // namespace

void fireNetEvent(Bnet& net, int event, void* info) {
  if (!net.listeners.empty()) fire(net.env, "Bnet", net.name, net.listeners, event, info);
}

void fireNodeListeners(Bnode& node, int event, void* info) {
  if (!node.details().listeners.empty())
    fire(node.net->env, "Bnode", node.name, node.details().listeners, event, info);
}

}  // namespace quorva
