// Conversions between the public opaque handles and the engine's objects.
#pragma once
#include <cstring>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Net/NodeList.h"
#include "Basic/ErrorRecord.h"
#include "Basic/Stream.h"
#include "Basic/RandomGen.h"
#include "Quorva.h"
#include "Quorva/Environ.h"
#include "VarVal/Caseset.h"

namespace quorva {

template <class T, class H>
inline T* engine(const H* h) {
  return reinterpret_cast<T*>(const_cast<H*>(h));
}

inline Environ* asEnv(const environ_vq* h) { return engine<Environ>(h); }
inline Bnet* asNet(const net_bn* h) { return engine<Bnet>(h); }
inline Bnode* asNode(const node_bn* h) { return engine<Bnode>(h); }
inline NodeList* asList(const nodelist_bn* h) { return engine<NodeList>(h); }
inline ErrorRecord* asReport(const report_vq* h) { return engine<ErrorRecord>(h); }
inline FileSpec* asStream(const stream_vq* h) { return engine<FileSpec>(h); }
inline RandomGen* asRandgen(const randgen_vq* h) { return engine<RandomGen>(h); }
inline Caseset* asCaseset(const caseset_cs* h) { return engine<Caseset>(h); }

// The int a C caller passed for an enum parameter: any int may arrive, and reading one outside
// the enumerators as the enum type would be undefined.
template <class E>
inline int enumBits(const E& e) {
  static_assert(sizeof(E) == sizeof(int));
  int v;
  std::memcpy(&v, &e, sizeof v);
  return v;
}

inline environ_vq* handle(Environ* e) { return reinterpret_cast<environ_vq*>(e); }
inline net_bn* handle(Bnet* n) { return reinterpret_cast<net_bn*>(n); }
inline node_bn* handle(Bnode* n) { return reinterpret_cast<node_bn*>(n); }
inline nodelist_bn* handle(NodeList* l) { return reinterpret_cast<nodelist_bn*>(l); }
inline const nodelist_bn* handle(const NodeList* l) { return reinterpret_cast<const nodelist_bn*>(l); }
inline report_vq* handle(ErrorRecord* r) { return reinterpret_cast<report_vq*>(r); }
inline stream_vq* handle(FileSpec* s) { return reinterpret_cast<stream_vq*>(s); }
inline randgen_vq* handle(RandomGen* g) { return reinterpret_cast<randgen_vq*>(g); }
inline caseset_cs* handle(Caseset* c) { return reinterpret_cast<caseset_cs*>(c); }

}  // namespace quorva
