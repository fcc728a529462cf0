// Reading and writing nets as XMLBIF 0.3 (the XML form of BIF), with the influence-diagram
// variant that marks variables TYPE="decision" or TYPE="utility".
#pragma once

namespace quorva {

class Bnet;
class EnvCore;
class FileSpec;

// Reads the whole stream `in` as XMLBIF and returns the new net, owned by the caller.  Names that
// are not legal are made legal and unique, the text as written kept as the title; a PROPERTY
// "position = (x, y)" gives the node's position.  A fault raises an error record that names the
// element and its line ("..., while reading VARIABLE 'A', on line L char C of file 'P'") and
// leaves no net behind.
Bnet* readXmlBifNet(FileSpec& in, EnvCore* env);

// Writes `net` to `out` as XMLBIF 0.3: nature, decision and utility variables, their tables
// (utilities one value per parent row), and positions when any node has one.
void writeXmlBifNet(const Bnet& net, FileSpec& out);

}  // namespace quorva
