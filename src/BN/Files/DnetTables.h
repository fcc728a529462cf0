// Writing node tables and state values in the text net format.
#pragma once
#include <string>

namespace quorva {

class Bnode;
class DnetOut;

// A state of `node` as a file names it: its name, "#" and the index when the node has no state
// names, "@undef" (-3), "@imposs" (-4), or "@error" for any other index out of range.
std::string dnetStateValue(const Bnode& node, int state);

// The statements of the node's tables, each only when the table exists: "functable" (entries
// to 7 significant digits, or 10 when they are real values), "probs" (7), and "numcases" (one
// "%g" number when every entry is the same, else a table of 7 digits).
void writeNodeTables(DnetOut& out, const Bnode& node);

}  // namespace quorva
