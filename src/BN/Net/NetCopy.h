// Duplicating nets and sets of nodes.
#pragma once
#include <string>
#include <vector>

namespace quorva {

class Bnet;
class Bnode;
class EnvCore;

// Splits an options text ("a,b") and refuses any word not in `known`.
std::vector<std::string> parseOptions(EnvCore* env, const char* options,
                                      const std::vector<std::string>& known);

// A new net in `env` named `name` with the parts of `from` that `options` keep.
Bnet* copyNet(const Bnet& from, const char* name, EnvCore* env, const char* options);

// Copies `nodes` and the links among them into `into`; returns the copies in order.  Refusals
// are recorded in `errEnv` (default: the environment of `into`).
std::vector<Bnode*> copyNodes(const std::vector<Bnode*>& nodes, Bnet& into, const char* options,
                              EnvCore* errEnv = nullptr);

// Takes the nodes added after the first `keep` out of the net again, with their links.
void removeAddedNodes(Bnet& net, size_t keep);

}  // namespace quorva
