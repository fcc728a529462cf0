// Reading and writing nets in the Hugin NET text format: a `net { }` block, `node`, `decision`
// and `utility` blocks with their states, labels and positions, and `potential ( A | B C )`
// blocks whose data are nested by the parents in order, the node's own states innermost.
#pragma once

namespace quorva {

class Bnet;
class EnvCore;
class FileSpec;

// Reads the whole stream `in` as a Hugin NET file and returns the new net, owned by the caller.
// Labels become titles and positions positions; names that are not legal are made legal and
// unique.  Continuous nodes, classes and joint potentials are refused.  A fault raises a located
// error record and leaves no net behind.
Bnet* readHuginNet(FileSpec& in, EnvCore* env);

// Writes `net` to `out` in the Hugin NET format.
void writeHuginNet(const Bnet& net, FileSpec& out);

}  // namespace quorva
