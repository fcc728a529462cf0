// Writing a net as a BIF file.
#pragma once

namespace quorva {

class Bnet;
class FileSpec;

// Writes `net` to `out` as `network`, `variable` and `probability` blocks that readBifNet reads
// back to the same names, states, parents and tables.  A node or state whose title is the text
// the reader would map back to its name is written under its title, otherwise under its name.
void writeBifNet(const Bnet& net, FileSpec& out);

}  // namespace quorva
