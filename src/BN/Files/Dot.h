// Writing a net as a Graphviz DOT digraph (there is no reader: DOT holds no tables).
#pragma once

namespace quorva {

class Bnet;
class FileSpec;

// Writes `net` to `out` as a digraph: one graph node per node, labelled with its title (its name
// when it has none), chance nodes as ellipses, decisions as boxes, utilities as diamonds, and an
// edge per link; positions become pinned `pos` attributes when any node has one.  With `bars`,
// each node with states is drawn as an HTML table of its states with the belief in percent and a
// bar of proportional width, from the beliefs of the compiled net given its findings; a net that
// is not compiled is refused.
void writeDotNet(Bnet& net, FileSpec& out, bool bars);

}  // namespace quorva
