// Matching case-file fields to nodes and entering cases as findings.
#include "VarVal/CaseFindings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Findings/Findings.h"
#include "BN/Net/NetEdit.h"
#include "BN/Net/NodeOps.h"
#include "Basic/Raise.h"
#include "VarVal/CaseErrors.h"

namespace quorva {

namespace {

bool parseNumber(std::string_view text, double& out) {
  if (text.empty()) return false;
  const std::string s(text);  // the conversion wants a terminated text
  char* end = nullptr;
  out = std::strtod(s.c_str(), &end);
  return *end == '\0' && std::isfinite(out);
}

// A double-quoted field decoded by the token reader's string rules.
bool decodeQuoted(EnvCore* env, std::string_view text, std::string& out) {
  FileSpec field(env, FileSpec::Kind::Memory, "");
  field.setContents(text.data(), text.size(), false);
  TokenReader rd(field, Syntax{{0, 0}, false, false});
  out = rd.readQuoted();
  return rd.skipSpace() == TokenReader::END;
}

int findIn(const std::vector<std::string>& names, std::string_view text) {
  auto it = std::find(names.begin(), names.end(), text);
  return it == names.end() ? -1 : static_cast<int>(it - names.begin());
}

// The state whose name is `text` (looked up in `states` when given); failing that, the one state
// whose title is `text` (a label the user knows, such as "0" for the state legalised to "_");
// else -1.
int findState(const Bnode& node, std::string_view text, const StateIndex* states) {
  int byName = states ? states->find(text) : findIn(node.stateNames, text);
  if (byName >= 0 || text.empty() || node.details().stateTitles.empty()) return byName;
  int found = -1;
  for (size_t i = 0; i < node.details().stateTitles.size(); ++i) {
    if (node.details().stateTitles[i] != text) continue;
    if (found >= 0) return -1;  // the title does not pick one state
    found = static_cast<int>(i);
  }
  return found;
}

// Every field but a missing value or a state name: a quoted title, "#" and a number, a
// likelihood, a title, a number, or a word naming no state.
CaseValue unusualValue(const Bnode& node, std::string_view text, const CaseReader& reader, const CaseRow& row,
                       size_t col, const StateIndex* states) {
  EnvCore* env = node.net->env;
  // The position, built only for a message.
  auto where = [&] { return reader.where(row, row.chars[col]); };
  // A refusal that shows the field as written.
  auto refuse = [&](ErrDef e) { engError(env, e, std::string(text), node.name, where()); };
  CaseValue v;
  v.kind = CaseValue::State;
  if (text[0] == '"') {
    std::string decoded;
    if (!decodeQuoted(env, text, decoded)) refuse(err::CaseIllegalValue);
    v.state = findIn(node.details().stateTitles, decoded);
    if (v.state < 0) v.state = findIn(node.stateNames, decoded);
    if (v.state < 0) refuse(err::CaseNotAState);
    return v;
  }
  if (text[0] == '#') {
    if (text.size() < 2 || text.size() > 10 || !std::all_of(text.begin() + 1, text.end(), [](char ch) { return ch >= '0' && ch <= '9'; }))
      refuse(err::CaseIllegalValue);
    long s = 0;
    for (char ch : text.substr(1)) s = s * 10 + (ch - '0');
    if (s >= node.numStates) refuse(err::CaseNotAState);
    v.state = static_cast<int>(s);
    return v;
  }
  if (text[0] == '[') {
    v.kind = CaseValue::Likelihood;
    size_t from = 1;
    bool ok = text.back() == ']' && node.hasStates();
    while (ok && from < text.size()) {
      size_t to = text.find_first_of(";]", from);
      double p = 0;
      ok = parseNumber(text.substr(from, to - from), p) && p >= 0;
      v.likelihood.push_back(static_cast<float>(p));
      from = to + 1;
    }
    if (!ok || v.likelihood.size() != static_cast<size_t>(node.numStates))
      refuse(err::CaseIllegalValue);
    return v;
  }
  v.state = findState(node, text, states);
  if (v.state >= 0) return v;
  double x = 0;
  if (parseNumber(text, x)) {
    const std::vector<double>& lv = node.details().levels;
    if (node.type == CONTINUOUS) {
      v.kind = CaseValue::Value;
      v.value = x;
      if (lv.size() >= 2 && (x < std::min(lv.front(), lv.back()) || x > std::max(lv.front(), lv.back())))
        engError(env, err::CaseValueNoState, x, node.name, where());
      return v;
    }
    for (size_t i = 0; i < lv.size() && i < static_cast<size_t>(node.numStates); ++i)
      if (std::fabs(lv[i] - x) <= 1e-9 * std::max(1.0, std::fabs(x))) {
        v.state = static_cast<int>(i);
        return v;
      }
    engError(env, err::CaseValueNoState, x, node.name, where());
  }
  if (!node.hasStates()) refuse(err::CaseIllegalValue);
  engWarning(env, err::CaseUnknownValue, std::string(text), node.name, where());
  v.kind = CaseValue::Skip;
  return v;
}

}  // namespace

void parseCaseValue(const Bnode& node, std::string_view text, const CaseReader& reader, const CaseRow& row,
                    size_t col, const StateIndex* states, CaseValue& out) {
  out.kind = CaseValue::Missing;
  out.state = -1;
  if (reader.format().isMissing(text)) return;
  // The usual field, a state name, is looked up before anything else is made.
  if (text[0] != '"' && text[0] != '#' && text[0] != '[') {
    out.state = states ? states->find(text) : findIn(node.stateNames, text);
    if (out.state >= 0) {
      out.kind = CaseValue::State;
      return;
    }
  }
  out = unusualValue(node, text, reader, row, col, states);
}

bool enterCase(const CaseReader& reader, const CaseRow& row, const CaseBinding& binding,
               const std::vector<Bnode*>& listed, bool add, CaseScratch& scratch) {
  const std::vector<Bnode*>& bound = binding.bound;
  std::vector<CaseValue>& values = scratch.values;
  values.resize(bound.size());
  Bnet* net = nullptr;
  for (size_t c = 0; c < bound.size(); ++c) {
    if (!bound[c]) continue;
    net = bound[c]->net;
    parseCaseValue(*bound[c], row.fields[c], reader, row, c, &binding.states[c], values[c]);
    if (values[c].kind == CaseValue::Skip) return false;
  }
  for (Bnode* n : listed)
    if (n) net = n->net;
  if (!net) return true;
  // Each finding is saved just before it first changes; only those are put back on a refusal.
  std::vector<std::pair<Bnode*, Finding>>& saved = scratch.saved;
  saved.clear();
  try {
    NetEdit edit(*net, "read case", EditKind::Findings, UndoScope::findings());  // one undo step
    FindingBatch batch(*net);  // one update for the whole case
    if (!add)
      for (Bnode* n : listed)
        if (n && !n->finding.empty()) saved.emplace_back(n, takeInBatch(*n));
    for (size_t c = 0; c < bound.size(); ++c) {
      Bnode* n = bound[c];
      const CaseValue& v = values[c];
      if (!n || v.kind == CaseValue::Missing) continue;
      if (!n->finding.empty() || n->finding.action) saved.emplace_back(n, takeInBatch(*n));
      if (v.kind == CaseValue::State) {
        replaceStateInBatch(*n, v.state);
        continue;
      }
      if (v.kind == CaseValue::Value)
        enterValue(*n, v.value);
      else
        enterLikelihood(*n, v.likelihood.data());
    }
    batch.commit();
    edit.commit();
  } catch (...) {
    // Nodes given a value lose it (those without a finding before were not saved); then the
    // saved findings go back in reverse, so that a node saved twice ends with its first one.
    for (size_t c = 0; c < bound.size(); ++c)
      if (bound[c] && values[c].kind != CaseValue::Missing) bound[c]->finding = Finding();
    for (auto it = saved.rbegin(); it != saved.rend(); ++it) it->first->finding = it->second;
    net->findingsChanged();
    throw;
  }
  return true;
}

namespace {

CaseCursor& restart(CaseCursors& cursors, FileSpec& stream, const CaseFormat& format) {
  cursors.erase(&stream);
  auto cursor = std::make_unique<CaseCursor>();
  cursor->reader = std::make_unique<CaseReader>(stream, format);
  if (!cursor->reader->readHeader()) engError(stream.env(), err::CaseFileEmpty);
  cursor->generation = stream.generation();
  return *(cursors[&stream] = std::move(cursor));
}

}  // namespace

CaseRead readCaseIntoNet(CaseCursors& cursors, FileSpec& stream, long long posn, bool add,
                         const std::vector<Bnode*>& listed, Bnet& net, AddNew mode, const CaseFormat& format) {
  EnvCore* env = stream.env();
  if (posn == NO_MORE_CASES_POSN) engError(env, err::CaseNoMore);
  auto it = cursors.find(&stream);
  CaseCursor* cursor = it != cursors.end() && it->second->generation == stream.generation() ? it->second.get() : nullptr;
  if (posn == FIRST_CASE_POSN || !cursor) {
    cursor = &restart(cursors, stream, format);
  } else if (posn == NEXT_CASE_POSN && cursor->atEnd) {
    engWarning(env, err::CaseStartingOver, ordinal(cursor->reader->casesRead()), stream.displayName());
    cursor = &restart(cursors, stream, format);
  } else if (posn >= 0 && cursor->reader->offset() > static_cast<uint64_t>(posn)) {
    cursor = &restart(cursors, stream, format);
  }
  CaseReader& reader = *cursor->reader;
  CaseRow& row = cursor->scratch.row;
  while (true) {
    if (!reader.next(row)) {
      cursor->atEnd = true;
      if (reader.casesRead() == 0) engError(env, err::CaseFileEmpty);
      if (posn >= 0) engError(env, err::CaseNoSuchPosition, posn, stream.displayName());
      return {};
    }
    if (posn >= 0 && row.offset < static_cast<uint64_t>(posn)) continue;
    if (posn >= 0 && row.offset > static_cast<uint64_t>(posn))
      engError(env, err::CaseNoSuchPosition, posn, stream.displayName());
    cursor->binding.refresh(reader, net, listed, mode, cursor->fresh, cursor->added);
    cursor->fresh = false;
    if (!enterCase(reader, row, cursor->binding, listed, add, cursor->scratch)) {
      posn = NEXT_CASE_POSN;  // a skipped case: go on with the next
      continue;
    }
    return {static_cast<long long>(row.offset), row.id, row.freq};
  }
}

}  // namespace quorva
