// Explaining inconsistent findings by the "impossible condition" rows of node tables (rows of all
// zeros) that the findings reach.
#pragma once
#include <string>

namespace quorva {

class Bnet;

// The explanation to append to the inconsistent-findings error: which tables declare impossible
// a parent condition that the findings make possible, or that none does.  Empty when no table has
// such rows (or while an explanation is being worked out).  Tables, findings and the compiled
// tree are left as they were; the potentials are rebuilt at the next update.
std::string explainImpossible(Bnet& net);

}  // namespace quorva
