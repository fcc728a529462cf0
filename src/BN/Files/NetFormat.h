// The net file formats the engine reads and writes, told by a file's extension or by its first
// bytes, and one place that reads or writes a net in any of them.
#pragma once
#include <string>
#include <string_view>

namespace quorva {

class Bnet;
class EnvCore;
class FileSpec;

// The values are those of the API's *_FORMAT constants.
enum class NetFormat : int {
  Unknown = 0,
  Dnet = 1,
  Bif = 2,
  XmlBif = 3,
  Hugin = 4,
  Uai = 5,
  Dot = 6,         // write only
  DotBeliefs = 7,  // write only: DOT with belief bars
};

// "DNET", "BIF", "XMLBIF", "Hugin NET", "UAI", "DOT".
const char* formatWord(NetFormat f);
// By the name's extension: .dne and .dnet DNET, .bif BIF, .xml, .xbif and .xmlbif XMLBIF, .net
// Hugin, .uai UAI, .dot DOT; Unknown for any other.
NetFormat formatByExtension(std::string_view name);
// By the first bytes, after a byte order mark, blanks and comments ("//", "/* */", "%"):
// "<?xml" or "<BIF" XMLBIF; "net" then "{", or "class", Hugin; "BAYES" or "MARKOV" UAI;
// "network" BIF; "bnet" or the DNET magic line DNET; Unknown for anything else.
NetFormat formatByContent(std::string_view start);
// The format of a stream: by its first bytes, else by its name's extension, else DNET.
NetFormat guessFormat(FileSpec& in);

// Reads `in` as `format` (not Unknown or a DOT format).  `options` as for the DNET reader.  A UAI
// file stream takes its node names from the file PATH.names beside it when there is one.
Bnet* readNetAs(FileSpec& in, EnvCore* env, NetFormat format, int options);
// Writes `net` to `out` as `format`; DotBeliefs needs a compiled net.  BIF and UAI refuse
// decision and utility nodes.  Writing UAI to a file stream also writes the node names, one per
// line, to PATH.names.
void writeNetAs(Bnet& net, FileSpec& out, NetFormat format);

}  // namespace quorva
