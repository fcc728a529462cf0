// Writing cases from findings.
#include "VarVal/CaseWriter.h"

#include <cmath>
#include <unordered_map>

#include "BN/Files/DnetWriter.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"
#include "Basic/StringQuoter.h"
#include "VarVal/CaseErrors.h"
#include "VarVal/CaseReader.h"

namespace quorva {

namespace {

const char* const CRLF = "\r\n";

bool hasNames(const Bnode& n) { return !n.stateNames.empty() || !n.details().stateTitles.empty(); }

// The level that stands for a state, or NaN when the node has none (for a discretized node, the
// middle of its interval when both ends are finite).
double stateLevel(const Bnode& n, int s) {
  auto i = static_cast<size_t>(s);
  const std::vector<double>& levels = n.details().levels;
  if (n.type != CONTINUOUS && levels.size() == static_cast<size_t>(n.numStates)) return levels[i];
  if (n.type == CONTINUOUS && levels.size() == static_cast<size_t>(n.numStates) + 1) {
    double mid = (levels[i] + levels[i + 1]) / 2;
    if (std::isfinite(mid)) return mid;
  }
  return std::nan("");
}

std::string stateText(const Bnode& n, int s, int form) {
  auto i = static_cast<size_t>(s);
  if (form <= FORM_NAMES && i < n.stateNames.size() && !n.stateNames[i].empty()) return n.stateNames[i];
  if (form <= FORM_TITLES && i < n.details().stateTitles.size() && !n.details().stateTitles[i].empty())
    return quoteString(n.details().stateTitles[i]);
  if (form <= FORM_LEVELS) {
    double level = stateLevel(n, s);
    if (!std::isnan(level)) return format("%g", level);
  }
  return format("#%d", s);
}

bool streamIsEmpty(FileSpec& s) {
  if (s.isMemory()) return s.contents().empty();
  std::FILE* f = s.name().empty() ? nullptr : std::fopen(s.name().c_str(), "rb");
  if (!f) return true;
  bool empty = std::fgetc(f) == EOF;
  std::fclose(f);
  return empty;
}

}  // namespace

std::string caseValueText(const Bnode& n, const CaseFormat& fmt) {
  const Finding& f = n.finding;
  if (!std::isnan(f.value) && (n.type == CONTINUOUS || fmt.valueForm == FORM_LEVELS || !hasNames(n)))
    return format("%g", f.value);
  if (f.state >= 0 && f.state < n.numStates) return stateText(n, f.state, fmt.valueForm);
  if (!std::isnan(f.value)) return format("%g", f.value);
  if (!f.likelihood.empty()) {
    std::string text = "[";
    for (size_t i = 0; i < f.likelihood.size(); ++i) text += format(i ? ";%g" : "%g", double{f.likelihood[i]});
    return text + "]";
  }
  return fmt.missingText();
}

std::string caseMagicLines() {
  std::string text = format("// ~->[CASE-%d]->~", CASE_FILE_VERSION) + CRLF + CRLF;
  text += creatorLine();
  return text + CRLF + CRLF;
}

void writeCase(FileSpec& stream, const std::vector<Bnode*>& nodes, long long id, double freq,
               const CaseFormat& fmt) {
  std::vector<CaseColumn> columns;
  char delim = fmt.delimiter;
  std::string text;
  if (streamIsEmpty(stream)) {
    if (fmt.header) text = caseMagicLines();
    if (id >= 0) columns.push_back({"IDnum", CaseColumn::IdNum});
    if (freq != 1) columns.push_back({"NumCases", CaseColumn::NumCases});
    for (const Bnode* n : nodes)
      if (n) columns.push_back({n->name, CaseColumn::Variable});
    if (id >= 0) text += " ";  // a header with IDnum begins with a space
    for (size_t i = 0; i < columns.size(); ++i) text += (i ? std::string(1, delim) : "") + columns[i].name;
    text += CRLF;
  } else {
    CaseReader header(stream, fmt, true);
    header.readHeader();
    columns = header.columns();
    delim = header.delimiter();
  }
  bool hasId = false, hasFreq = false;
  for (const CaseColumn& c : columns) {
    hasId = hasId || c.role == CaseColumn::IdNum;
    hasFreq = hasFreq || c.role == CaseColumn::NumCases;
  }
  if (id >= 0 && !hasId) engError(stream.env(), err::CaseNoIdColumn, stream.displayName(), id);
  if (freq != 1 && !hasFreq) engError(stream.env(), err::CaseNoFreqColumn, stream.displayName(), freq);

  std::unordered_map<std::string, const Bnode*> byName;
  for (const Bnode* n : nodes)
    if (n) byName.emplace(n->name, n);
  std::string line;
  for (size_t i = 0; i < columns.size(); ++i) {
    if (i) line += delim;
    const CaseColumn& c = columns[i];
    if (c.role == CaseColumn::IdNum) {
      line += id >= 0 ? format("%lld", id) : fmt.missingText();
    } else if (c.role == CaseColumn::NumCases) {
      line += format("%g", freq);
    } else {
      auto it = byName.find(c.name);
      line += it == byName.end() ? fmt.missingText() : caseValueText(*it->second, fmt);
    }
  }
  text += line + CRLF;
  stream.append(text);
}

}  // namespace quorva
