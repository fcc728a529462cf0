// Reading a net from a DNET text file.
#pragma once

namespace quorva {

class Bnet;
class EnvCore;
class FileSpec;

// Reads the whole stream `in` as a DNET net and returns the new net, owned by the caller, in
// `env`.  Nodes may name parents declared later in the file.  Visual objects are skipped (the
// engine keeps no display information), and so are fields it does not model (equations, delays,
// authors, beliefs).  A fault raises a located error record ("..., while reading field `F` of
// node 'N', on line L char C of file 'P'") and leaves no net behind; warnings (unknown fields,
// version) are recorded and the read goes on.
// `options` is the API's NO_VISUAL_INFO ... REGULAR_WINDOW, which all read the same here.
Bnet* readDnetNet(FileSpec& in, EnvCore* env, int options);

}  // namespace quorva
