// Reading a net from a BIF file: `network`, `variable` and `probability` blocks.
#pragma once
#include <string_view>

namespace quorva {

// What ends a BIF word, besides white space and the opening of a comment: any other character
// may stand in a name ("0_00___0_01_%", "a-b", "x/y+z"), which the reader legalises, keeping
// the text as the title.
inline constexpr std::string_view BIF_WORD_STOPS = "{}()[],;|\"";

class Bnet;
class EnvCore;
class FileSpec;

// Reads the whole stream `in` as a BIF net and returns the new net, owned by the caller, in `env`.
// Names that are not legal node or state names are made legal and unique, and the text as written
// is kept as the node's or state's title.  A fault raises a located error record ("..., on line L
// char C of file 'P'") and leaves no net behind.
Bnet* readBifNet(FileSpec& in, EnvCore* env);

}  // namespace quorva
