// Matching case-file fields to nodes and entering cases as findings.
#include "VarVal/CaseFindings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Findings/Findings.h"
#include "BN/Net/NodeOps.h"
#include "Basic/Raise.h"
#include "VarVal/CaseErrors.h"

namespace quorva {

namespace {

bool parseNumber(const std::string& s, double& out) {
  if (s.empty()) return false;
  char* end = nullptr;
  out = std::strtod(s.c_str(), &end);
  return *end == '\0' && std::isfinite(out);
}

// A double-quoted field decoded by the token reader's string rules.
bool decodeQuoted(EnvCore* env, const std::string& text, std::string& out) {
  FileSpec field(env, FileSpec::Kind::Memory, "");
  field.setContents(text.data(), text.size(), false);
  TokenReader rd(field, Syntax{{0, 0}, false, false});
  out = rd.readQuoted();
  return rd.skipSpace() == TokenReader::END;
}

int findIn(const std::vector<std::string>& names, const std::string& text) {
  auto it = std::find(names.begin(), names.end(), text);
  return it == names.end() ? -1 : static_cast<int>(it - names.begin());
}

// The state whose name is `text`; failing that, the one state whose title is `text` (a label the
// user knows, such as "0" for the state legalised to "_"); else -1.
int findState(const Bnode& node, const std::string& text) {
  int byName = findIn(node.stateNames, text);
  if (byName >= 0 || text.empty()) return byName;
  int found = -1;
  for (size_t i = 0; i < node.stateTitles.size(); ++i) {
    if (node.stateTitles[i] != text) continue;
    if (found >= 0) return -1;  // the title does not pick one state
    found = static_cast<int>(i);
  }
  return found;
}

// The node named `label`; failing that, the one node whose title is `label`; else null.
Bnode* findNode(Bnet& net, const std::string& label) {
  if (Bnode* node = net.find(label)) return node;
  Bnode* found = nullptr;
  for (Bnode* node : net.nodes) {
    if (label.empty() || node->title != label) continue;
    if (found) return nullptr;
    found = node;
  }
  return found;
}

}  // namespace

CaseValue parseCaseValue(const Bnode& node, const std::string& text, const CaseReader& reader,
                         const CaseRow& row, size_t col) {
  EnvCore* env = node.net->env;
  // The position, built only for a message.
  auto where = [&] { return reader.where(row, row.chars[col]); };
  CaseValue v;
  if (reader.format().isMissing(text)) return v;
  v.kind = CaseValue::State;
  if (text[0] == '"') {
    std::string decoded;
    if (!decodeQuoted(env, text, decoded)) engError(env, err::CaseIllegalValue, text, node.name, where());
    v.state = findIn(node.stateTitles, decoded);
    if (v.state < 0) v.state = findIn(node.stateNames, decoded);
    if (v.state < 0) engError(env, err::CaseNotAState, text, node.name, where());
    return v;
  }
  if (text[0] == '#') {
    long s = -1;
    if (text.size() < 2 || text.size() > 10 || !std::all_of(text.begin() + 1, text.end(), [](char ch) { return ch >= '0' && ch <= '9'; }))
      engError(env, err::CaseIllegalValue, text, node.name, where());
    s = std::strtol(text.c_str() + 1, nullptr, 10);
    if (s >= node.numStates) engError(env, err::CaseNotAState, text, node.name, where());
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
      engError(env, err::CaseIllegalValue, text, node.name, where());
    return v;
  }
  v.state = findState(node, text);
  if (v.state >= 0) return v;
  double x = 0;
  if (parseNumber(text, x)) {
    const std::vector<double>& lv = node.levels;
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
  if (!node.hasStates()) engError(env, err::CaseIllegalValue, text, node.name, where());
  engWarning(env, err::CaseUnknownValue, text, node.name, where());
  v.kind = CaseValue::Skip;
  return v;
}

std::vector<Bnode*> bindColumns(const CaseReader& reader, Bnet& net, const std::vector<Bnode*>& listed,
                                AddNew mode, bool report, std::vector<std::string>& added) {
  EnvCore* env = net.env;
  const std::string file = reader.stream().displayName();
  std::vector<Bnode*> bound(reader.columns().size(), nullptr);
  std::set<const Bnode*> seen;
  std::string ignored;
  for (size_t c = 0; c < bound.size(); ++c) {
    const CaseColumn& col = reader.columns()[c];
    if (col.role != CaseColumn::Variable) continue;
    Bnode* node = findNode(net, col.name);
    if (!node && (mode == AddNew::PrintAndAdd || mode == AddNew::Quietly)) {
      node = &createNode(net, col.name.c_str(), 0);
      added.push_back(col.name);
      if (mode == AddNew::PrintAndAdd) engNotice(env, err::AddedNode, col.name, net.name, file);
    }
    if (!node) {
      if (report && mode == AddNew::Query) engNotice(env, err::QueryAddNode, col.name, file);
      ignored += (ignored.empty() ? "" : ", ") + col.name;
      continue;
    }
    if (!seen.insert(node).second) {
      if (report) engWarning(env, err::DuplicateColumn, col.name, file);
      continue;
    }
    bool read = std::find(listed.begin(), listed.end(), node) != listed.end() ||
                std::find(added.begin(), added.end(), col.name) != added.end();
    if (read) bound[c] = node;
  }
  if (report && !ignored.empty()) engNotice(env, err::NodesNotInNet, file, net.name, ignored);
  return bound;
}

bool enterCase(const CaseReader& reader, const CaseRow& row, const std::vector<Bnode*>& bound,
               const std::vector<Bnode*>& listed, bool add) {
  std::vector<CaseValue> values(bound.size());
  for (size_t c = 0; c < bound.size(); ++c) {
    if (!bound[c]) continue;
    values[c] = parseCaseValue(*bound[c], row.fields[c], reader, row, c);
    if (values[c].kind == CaseValue::Skip) return false;
  }
  std::vector<std::pair<Bnode*, Finding>> saved;
  for (Bnode* n : listed)
    if (n) saved.emplace_back(n, n->finding);
  for (Bnode* n : bound)
    if (n) saved.emplace_back(n, n->finding);
  if (saved.empty()) return true;
  try {
    FindingBatch batch(*saved.front().first->net);  // one update for the whole case
    if (!add)
      for (Bnode* n : listed)
        if (n && !n->finding.empty()) retractNode(*n);
    for (size_t c = 0; c < bound.size(); ++c) {
      Bnode* n = bound[c];
      const CaseValue& v = values[c];
      if (!n || v.kind == CaseValue::Missing) continue;
      if (!n->finding.empty()) retractNode(*n);
      if (v.kind == CaseValue::State)
        enterState(*n, v.state, true, true);
      else if (v.kind == CaseValue::Value)
        enterValue(*n, v.value);
      else
        enterLikelihood(*n, v.likelihood.data());
    }
    batch.commit();
  } catch (...) {
    // Put back in reverse, so that a node saved twice ends with its first (original) finding.
    for (auto it = saved.rbegin(); it != saved.rend(); ++it) it->first->finding = it->second;
    if (!saved.empty()) saved.front().first->net->findingsChanged();
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
  while (true) {
    CaseRow row;
    if (!reader.next(row)) {
      cursor->atEnd = true;
      if (reader.casesRead() == 0) engError(env, err::CaseFileEmpty);
      if (posn >= 0) engError(env, err::CaseNoSuchPosition, posn, stream.displayName());
      return {};
    }
    if (posn >= 0 && row.offset < static_cast<uint64_t>(posn)) continue;
    if (posn >= 0 && row.offset > static_cast<uint64_t>(posn))
      engError(env, err::CaseNoSuchPosition, posn, stream.displayName());
    std::vector<Bnode*> bound = bindColumns(reader, net, listed, mode, cursor->fresh, cursor->added);
    cursor->fresh = false;
    if (!enterCase(reader, row, bound, listed, add)) {
      posn = NEXT_CASE_POSN;  // a skipped case: go on with the next
      continue;
    }
    return {static_cast<long long>(row.offset), row.id, row.freq};
  }
}

}  // namespace quorva
