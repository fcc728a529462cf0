// Writing a net as a DNET text file.
#pragma once
#include <string>

#include "BN/Files/DnetOut.h"

namespace quorva {

class Bnet;
class FileSpec;

// The engine's version as written in files ("1.00"), from QUORVA_VERSION.
std::string programVersion();

// The creator comment that heads written files: "// File created by someone using Quorva 1.00",
// the date and time in UTC when the clock gives them, and ".".
std::string creatorLine();

// The whole file text of `net`: the magic line with the format version of the environment's
// settings, the creator comment, and the "bnet" block with the net's fields, its nodes in the
// net's order, its node sets and its elimination order.  A field equal to that of a freshly made
// empty net or node is left out, except "autoupdate", which is always written.
std::string dnetNetText(const Bnet& net, const DnetLayout& layout = {});

// Writes that text to `out` in one piece, replacing what the stream held.
void writeDnetNet(const Bnet& net, FileSpec& out);

}  // namespace quorva
