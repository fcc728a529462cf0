// Cases into findings: matching the columns of a case file to the nodes of a net, reading each
// field as a value of its node, entering a case as findings, and the per-stream cursor behind
// reading one case at a time.
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

// The field `text` of `row` (column `col`) as a value of `node`.  Faults are thrown; a word that
// names no state gives the warning "unknown value ..., so case is skipped" and a Skip.
CaseValue parseCaseValue(const Bnode& node, const std::string& text, const CaseReader& reader,
                         const CaseRow& row, size_t col);

// The node each column feeds (null: not read).  Columns naming nodes of `net` are read when the
// node is in `listed` or its name is in `added`.  Columns naming no node are treated by `mode`:
// added nodes are continuous, are read too, and have their names put in `added`.  With `report`,
// duplicated columns, ignored names and questions are recorded as warnings and notices.
std::vector<Bnode*> bindColumns(const CaseReader& reader, Bnet& net, const std::vector<Bnode*>& listed,
                                AddNew mode, bool report, std::vector<std::string>& added);

// Enters the case as findings: each read node's finding is replaced; without `add`, the listed
// nodes whose field is missing lose their findings.  False (and nothing changed) when the case is
// skipped.  A refused finding puts every finding back as it was and is thrown.
bool enterCase(const CaseReader& reader, const CaseRow& row, const std::vector<Bnode*>& bound,
               const std::vector<Bnode*>& listed, bool add);

// Where reading one case at a time has got to in one stream.
struct CaseCursor {
  std::unique_ptr<CaseReader> reader;
  uint64_t generation = 0;  // of the stream when the reader was made
  bool atEnd = false;       // NO_MORE_CASES has been returned
  bool fresh = true;        // the header was just read (bind with reports)
  std::vector<std::string> added;  // names of the nodes this reading added to the net
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
