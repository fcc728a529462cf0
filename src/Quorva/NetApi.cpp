// API functions of nets.
#include "BN/Net/Listeners.h"
#include "BN/Net/NetCopy.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NodeOps.h"
#include "Quorva/ApiFrame.h"
#include "Quorva/UserFieldCalls.h"

using namespace quorva;

namespace {
void setNetText(ApiFrame& f, const net_bn* h, std::string Bnet::*field, const char* text) {
  Bnet& net = f.net(h);
  NetEdit edit(net, "set net text", EditKind::Text, UndoScope::netFields());
  net.*field = text ? text : "";
  edit.commit();
}
}  // namespace

extern "C" {

net_bn* NewNet_bn(const char* name, environ_vq* env) {
  return apiCall(__func__, static_cast<net_bn*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    std::string checked = checkedName(&e, name, "name");
    return handle(&e.adoptNet(new Bnet(&e, checked)));
  });
}

net_bn* CopyNet_bn(const net_bn* net, const char* new_name, environ_vq* new_env, const char* options) {
  return apiCall(__func__, static_cast<net_bn*>(nullptr), envOf(net), [&](ApiFrame& f) {
    Bnet& from = f.net(net);
    Environ& into = new_env ? *asEnv(new_env) : f.env();
    if (new_env && !handleIsOfType(new_env, ENVIRON_TYPE)) f.environ(new_env);
    Bnet* copy = copyNet(from, new_name, &into, options);
    return handle(&into.adoptNet(copy));
  });
}

void DeleteNet_bn(net_bn* net) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    fireNetEvent(n, REMOVE_EVENT_TYPE);
    if (!n.deleted) f.env().deleteNet(n);
  });
}

void SetNetName_bn(net_bn* net, const char* name) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) { setNetName(f.net(net), name); });
}

const char* GetNetName_bn(const net_bn* net) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(net),
                 [&](ApiFrame& f) { return f.net(net).name.c_str(); });
}

void SetNetTitle_bn(net_bn* net, const char* title) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) { setNetText(f, net, &Bnet::title, title); });
}

const char* GetNetTitle_bn(const net_bn* net) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(net),
                 [&](ApiFrame& f) { return f.net(net).title.c_str(); });
}

void SetNetComment_bn(net_bn* net, const char* comment) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) { setNetText(f, net, &Bnet::comment, comment); });
}

const char* GetNetComment_bn(const net_bn* net) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(net),
                 [&](ApiFrame& f) { return f.net(net).comment.c_str(); });
}

environ_vq* GetNetEnviron_bn(const net_bn* net) {
  return apiCall(__func__, static_cast<environ_vq*>(nullptr), envOf(net),
                 [&](ApiFrame& f) { return handle(Environ::of(f.net(net).env)); });
}

void SetNetUserField_bn(net_bn* net, const char* name, const void* data, int length, int kind) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    Bnet& n = f.net(net);
    setUserField(f, n, nullptr, n.userFields, name, data, length, kind);
  });
}

const char* GetNetUserField_bn(const net_bn* net, const char* name, int* length, int kind) {
  return apiCall(__func__, static_cast<const char*>(nullptr), envOf(net), [&](ApiFrame& f) {
    return getUserField(f, f.net(net).userFields, name, length, kind);
  });
}

void GetNetNthUserField_bn(const net_bn* net, int index, const char** name, const char** value,
                           int* length, int kind) {
  apiRun(__func__, envOf(net), [&](ApiFrame& f) {
    getNthUserField(f, f.net(net).userFields, index, name, value, length, kind);
  });
}

const nodelist_bn* GetNetNodes_bn(const net_bn* net) {
  return apiCall(__func__, static_cast<const nodelist_bn*>(nullptr), envOf(net), [&](ApiFrame& f) {
    const Bnet& n = f.net(net);
    n.nodeList.nodes = n.nodes;
    return handle(&n.nodeList);
  });
}

node_bn* GetNodeNamed_bn(const char* name, const net_bn* net) {
  return apiCall(__func__, static_cast<node_bn*>(nullptr), envOf(net), [&](ApiFrame& f) {
    const Bnet& n = f.net(net);
    return handle(name ? n.find(name) : nullptr);
  });
}

}  // extern "C"
