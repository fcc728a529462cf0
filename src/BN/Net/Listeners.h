// Callbacks that applications register on nets and nodes, and the firing of events to them.
#pragma once
#include <functional>

#include "BN/Net/Bnode.h"

namespace quorva {

class Bnet;

enum EventType : int {
  CREATE_EVENT_TYPE = 0x01,
  DUPLICATE_EVENT_TYPE = 0x02,
  REMOVE_EVENT_TYPE = 0x04,
  CHANGE_EVENT_TYPE = 0x08,  // findings changed
};
const char* eventName(int event);  // "CREATE_EVENT", ... or "UNKNOWN_EVENT"

struct Listener {
  std::function<int(int event, void* info)> call;
  void* object = nullptr;  // identifies the registration with the callback
  const void* callback = nullptr;
  int filter = 0;          // the events it wants
};

// Calls every listener of the net (or node) that wants `event`, inside a callback frame so that
// it may call the API.  A callback that throws or returns a negative value leaves a warning.
void fireNetEvent(Bnet& net, int event, void* info = nullptr);
void fireNodeListeners(Bnode& node, int event, void* info);
// Only a node with details can have listeners: the usual node costs one test, inline.
inline void fireNodeEvent(Bnode& node, int event, void* info = nullptr) {
  if (node.hasDetails()) fireNodeListeners(node, event, info);
}

}  // namespace quorva
