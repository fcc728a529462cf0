// Writing cases: the text of a node's finding as a case-file value, and appending one case made
// of the current findings of some nodes to a case file.
#pragma once
#include <string>
#include <vector>

#include "Basic/Stream.h"
#include "VarVal/CaseFormat.h"

namespace quorva {

class Bnode;

// The value of a node's finding as written in a case file (see CaseFindings.h for reading):
// a real value with 6 significant digits (continuous node, form 2, or a node without state names
// or titles); a state by the value form (name, quoted title, level, "#" and number); a likelihood
// as "[p0;p1;...]"; no finding as the missing-data text.
std::string caseValueText(const Bnode& node, const CaseFormat& format);

// "// ~->[CASE-1]->~", an empty line and the creator comment, each ended by "\r\n".
std::string caseMagicLines();

// Appends one case to `stream`.  A new or empty file first gets the header (and, with the header
// setting, the magic and creator lines): an IDnum column when `id` is 0 or more, a NumCases
// column when `freq` is not 1, then the names of `nodes`.  A file that already has a header keeps
// its columns: each is filled from the node of `nodes` of that name, or is missing.  The line is
// built whole and written in one piece.
void writeCase(FileSpec& stream, const std::vector<Bnode*>& nodes, long long id, double freq,
               const CaseFormat& format);

}  // namespace quorva
