// Cases into findings: reading each field of a case file as a value of its node, entering a case
// as findings, and the per-stream cursor behind reading one case at a time (CaseBinding.h matches
// the columns to the nodes).
//
// A field is, for its node: the missing-data character or nothing (no finding); a state name;
// a double-quoted state title; "#" and a state number; "[p0;p1;...]", a likelihood with one entry
// per state; or a number, which is a value of a continuous node (discretized or not) or the level
// of a state of a discrete node.
#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BN/Net/Bnode.h"
#include "VarVal/CaseBinding.h"
#include "VarVal/CaseReader.h"

namespace quorva {

class Bnet;
class Bnode;

struct CaseValue {
  enum Kind { Missing, State, Value, Likelihood, Skip } kind = Missing;
  int state = -1;
  double value = 0;
  std::vector<float> likelihood;
};

// Sets `out` to the field `text` of `row` (column `col`) as a value of `node`.  Faults are thrown;
// a word that names no state gives the warning "unknown value ..., so case is skipped" and a
// Skip.  `states`, when given, is the node's index of state names.  `out` is filled in place, so
// that a value read case after case keeps its likelihood's room.
void parseCaseValue(const Bnode& node, std::string_view text, const CaseReader& reader, const CaseRow& row,
                    size_t col, const StateIndex* states, CaseValue& out);

// What reading one case after another reuses, so that a case allocates nothing new.
struct CaseScratch {
  CaseRow row;
  std::vector<CaseValue> values;                    // per column
  std::vector<std::pair<Bnode*, Finding>> saved;  // findings as they were before this case
};

// Enters the case as findings: each read node's finding is replaced; without `add`, the listed
// nodes whose field is missing lose their findings.  False (and nothing changed) when the case is
// skipped.  A refused finding puts every finding back as it was and is thrown.
bool enterCase(const CaseReader& reader, const CaseRow& row, const CaseBinding& binding,
               const std::vector<Bnode*>& listed, bool add, CaseScratch& scratch);

// Where reading one case at a time has got to in one stream.
struct CaseCursor {
  std::unique_ptr<CaseReader> reader;
  uint64_t generation = 0;  // of the stream when the reader was made
  bool atEnd = false;       // NO_MORE_CASES has been returned
  bool fresh = true;        // the header was just read (bind with reports)
  std::vector<std::string> added;  // names of the nodes this reading added to the net
  CaseBinding binding;
  CaseScratch scratch;
};

using CaseCursors = std::map<const FileSpec*, std::unique_ptr<CaseCursor>>;

struct CaseRead {
  long long posn = NO_MORE_CASES_POSN;
  long id = -1;
  double freq = 1;
};

// Reads the case at `posn` (FIRST_CASE_POSN, NEXT_CASE_POSN or a position returned before) of
// `stream` into the findings of `listed` (nodes of `net`), keeping the stream's cursor in
// `cursors`.  Skipped cases are passed over.
CaseRead readCaseIntoNet(CaseCursors& cursors, FileSpec& stream, long long posn, bool add,
                         const std::vector<Bnode*>& listed, Bnet& net, AddNew mode, const CaseFormat& format);

}  // namespace quorva
