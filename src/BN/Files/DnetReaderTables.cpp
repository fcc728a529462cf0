// Reading DNET tables ("probs", "functable", "numcases") from the spans kept for them, once the
// node's parents are linked: nested, flat and shallow groups, "@undef" and "@imposs", rows
// filled out with undefined entries, and the checks of every probability row.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "BN/Files/DnetReaderImpl.h"
#include "BN/Findings/Findings.h"
#include "BN/Net/FreshNet.h"
#include "BN/Tables/NodeTableOps.h"

namespace quorva {

namespace {

enum class CellTag { Number, Undef, Imposs };

struct Cell {
  double value = 0;
  CellTag tag = CellTag::Number;
  TextPosition pos;
};

enum class TableKind { Probs, FuncState, FuncReal, Exper };

// Parses one table's tokens into its entries, in the table's order (first parent slowest).  The
// tokens are read again from the table's span of the file; runs of plain numbers are read in one
// step, anything else token by token.
class TableParser {
 public:
  TableParser(TokenReader& rd, Bnode& node, const TokenText& text, TableKind kind)
      : rd_(rd), node_(node), toks_(rd.stream(), rd.text().substr(text.from, text.to - text.from), text.pos),
        endPos_(text.count ? text.last : text.pos), kind_(kind) {
    for (const Link& l : node.parents) dims_.push_back(l.parent->numStates);
    dims_.push_back(kind == TableKind::Probs ? node.numStates : 1);
    path_.assign(dims_.size(), -1);
  }

  std::vector<Cell> parse() {
    std::vector<Cell> cells;
    cells.reserve(static_cast<size_t>(std::min(span(0), 65536.0)));
    int c = next();
    if (c != TokenReader::END && c != '(') {
      // A lone entry stands for the whole table.
      Cell e = entry(take());
      cells.assign(static_cast<size_t>(span(0)), e);
    } else {
      if (c == TokenReader::END) rd_.failAt(endPos_, err::DnetNotEnoughEntries);
      group(0, cells);
    }
    if (next() != TokenReader::END) {
      Token t = take();
      if (isPunct(t, ")")) rd_.failAt(t.start, err::DnetExtraClose, label(dims_.size()), node_.name);
      rd_.failAt(t.start, err::DnetUnexpectedPunct, t.text, label(dims_.size()), node_.name);
    }
    return cells;
  }

  // The parent configuration of a row, for messages.
  std::string rowLabel(size_t row) const {
    std::vector<int> states(node_.parents.size());
    for (size_t i = states.size(); i-- > 0;) {
      states[i] = static_cast<int>(row % static_cast<size_t>(dims_[i]));
      row /= static_cast<size_t>(dims_[i]);
    }
    return describe(states, states.size());
  }

 private:
  // The next character after white space and comments (not taken), or END.
  int next() { return toks_.skipSpace(); }
  // The next token, taken.
  Token take() {
    Token t;
    toks_.readToken(t);
    return t;
  }
  static bool isPunct(const Token& t, const char* p) {
    return t.kind == TokenKind::Punct && t.text.size() == 1 && t.text[0] == p[0];
  }

  // The number of entries from nesting level `level` inward.
  double span(size_t level) const {
    double n = 1;
    for (size_t i = level; i < dims_.size(); ++i) n *= dims_[i];
    return n;
  }

  std::string describe(const std::vector<int>& states, size_t known) const {
    std::string out;
    for (size_t i = 0; i < known && i < node_.parents.size(); ++i) {
      if (states[i] < 0) break;
      const Bnode& p = *node_.parents[i].parent;
      if (i) out += ", ";
      // A table may hold more groups than the parent has states: those are named by number.
      const size_t s = static_cast<size_t>(states[i]);
      out += s < p.stateNames.size() ? p.stateNames[s] : "#" + std::to_string(states[i]);
    }
    return out;
  }
  std::string label(size_t level) const { return describe(path_, level); }

  [[noreturn]] void unclosed(size_t level) {
    rd_.failAt(endPos_, err::DnetTooFewClose, closes_, opens_, label(level), node_.name);
  }
  [[noreturn]] void unexpected(size_t level) {
    Token t = take();
    rd_.failAt(t.start, err::DnetUnexpectedPunct, t.text, label(level), node_.name);
  }

  // Reads the group that opens here (at its "("), appending its entries to `items`.
  void group(size_t level, std::vector<Cell>& items) {
    TextPosition openAt = toks_.here();
    toks_.readPunct('(');
    ++opens_;
    if (level >= dims_.size())
      rd_.failAt(openAt, err::DnetTooManyOpen, static_cast<int>(level + 1), static_cast<int>(dims_.size()),
                 flat_ ? "FLAT " : "", node_.name);
    // Every entry of a run of plain numbers is placed where the run starts: only the first entry
    // of a row is ever named in a message, so runs are read this way only within rows (and in
    // tables without rows).
    const bool runs = kind_ != TableKind::FuncState && (kind_ != TableKind::Probs || level + 1 == dims_.size());
    size_t first = items.size();
    int subgroups = 0, entries = 0;
    for (;;) {
      int c = next();
      if (c == TokenReader::END) unclosed(level);
      if (c == ')') break;
      if (subgroups + entries > 0) {
        if (c != ',') {
          Token t = take();
          if (t.kind == TokenKind::Punct && t.text != "#")
            rd_.failAt(t.start, err::DnetUnexpectedPunct, t.text, label(level), node_.name);
          rd_.failAt(t.start, err::DnetTableMissingComma, label(level), node_.name);
        }
        toks_.readPunct(',');
        c = next();
        if (c == TokenReader::END) unclosed(level);
      }
      if (c == '(') {
        if (entries > 0) unexpected(level);
        if (level < path_.size()) path_[level] = subgroups;
        group(level + 1, items);
        ++subgroups;
        continue;
      }
      if (subgroups > 0) unexpected(level);
      if (runs && c >= '0' && c <= '9') {
        TextPosition at = toks_.here();
        run_.clear();
        if (size_t n = toks_.readPlainNumbers(run_, SIZE_MAX, ',', true)) {
          for (double v : run_) items.push_back(Cell{v, CellTag::Number, at});
          entries += static_cast<int>(n);
          continue;
        }
      }
      items.push_back(entry(take()));
      ++entries;
    }
    TextPosition closeAt = toks_.here();
    toks_.readPunct(')');
    ++closes_;
    if (level < path_.size()) path_[level] = -1;
    shape(items, first, level, subgroups, entries, closeAt);
  }
  // Makes a group's entries cover its whole span: a short row is filled with undefined
  // entries, and a row given above the innermost level is repeated for every combination of
  // the dimensions below.  The group's entries are those of `items` from `first` on.
  void shape(std::vector<Cell>& items, size_t first, size_t level, int subgroups, int entries, TextPosition at) {
    if (subgroups > 0) {
      if (subgroups < dims_[level]) rd_.failAt(at, err::DnetNotEnoughEntries);
      if (subgroups > dims_[level]) rd_.failAt(at, err::DnetTooManyItems, label(level), node_.name);
      return;
    }
    size_t need = static_cast<size_t>(span(level));
    size_t row = static_cast<size_t>(dims_.back());
    size_t n = static_cast<size_t>(entries);
    if (n == need) {
      if (level + 1 < dims_.size()) flat_ = true;
      return;
    }
    if (n > need)
      rd_.failAt(at, err::DnetTooManyItems, label(level), node_.name);
    if (n > row) rd_.failAt(at, err::DnetNotEnoughElements, label(level), node_.name);
    Cell undef;
    undef.tag = CellTag::Undef;
    undef.pos = at;
    items.resize(first + row, undef);
    items.reserve(first + need);
    for (size_t k = 1; k < need / row; ++k)
      for (size_t j = 0; j < row; ++j) items.push_back(items[first + j]);
  }

  Cell entry(const Token& t) {
    Cell c;
    c.pos = t.start;
    if (t.kind == TokenKind::Number && !t.number.escape.empty()) {
      if (t.number.escape == "undef") c.tag = CellTag::Undef;
      else if (t.number.escape == "imposs") c.tag = CellTag::Imposs;
      else rd_.failAt(t.start, err::DnetUnknownEscape, t.number.escape, label(dims_.size()), node_.name);
      return c;
    }
    if (kind_ == TableKind::FuncState) return stateEntry(t, c);
    if (t.kind == TokenKind::Number) {
      c.value = t.number.value;
      return c;
    }
    if (t.kind == TokenKind::Word && isInfinity(t.text)) {
      c.value = std::numeric_limits<double>::infinity();
      return c;
    }
    rd_.failAt(t.start, err::DnetUnexpectedPunct, t.text, label(dims_.size()), node_.name);
  }

  static bool isInfinity(const std::string& w) {
    std::string u;
    for (char ch : w) u += static_cast<char>(ch >= 'a' && ch <= 'z' ? ch - 32 : ch);
    return u == "INFINITY" || u == "INF";
  }

  // A state of the node: its name, or "#" and its index.
  Cell stateEntry(const Token& t, Cell c) {
    // readNumber takes nothing when no number stands next; a number that is not whole is refused
    // below with the "#".
    if (Number n; isPunct(t, "#") && toks_.readNumber(n) && n.integral) {
      if (n.value < 0 || n.value >= node_.numStates)
        rd_.failAt(t.start, err::DnetUnknownStateEntry, "#" + std::to_string(static_cast<long long>(n.value)),
                   label(dims_.size()), node_.name);
      c.value = n.value;
      return c;
    }
    for (size_t i = 0; i < node_.stateNames.size(); ++i)
      if (node_.stateNames[i] == t.text) {
        c.value = static_cast<double>(i);
        return c;
      }
    rd_.failAt(t.start, err::DnetUnknownStateEntry, t.text, label(dims_.size()), node_.name);
  }

  TokenReader& rd_;
  Bnode& node_;
  TokenReader toks_;
  TextPosition endPos_;
  TableKind kind_;
  std::vector<int> dims_;
  std::vector<int> path_;  // the parent states of the groups now open (-1: none)
  std::vector<double> run_;
  int opens_ = 0, closes_ = 0;
  bool flat_ = false;
};

// The fault of one probability row, or null when it is good.  A row of "@imposs" marks an
// impossible condition and is kept as a row of zeros; a row with undefined entries is kept
// as given.
const char* rowFault(std::span<Cell> row) {
  size_t imposs = 0, undef = 0;
  bool negative = false, overOne = false;
  double sum = 0;
  for (const Cell& c : row) {
    if (c.tag == CellTag::Imposs) ++imposs;
    if (c.tag == CellTag::Undef) ++undef;
    if (c.tag != CellTag::Number) continue;
    negative |= c.value < 0;
    overOne |= c.value > 1;
    sum += c.value;
  }
  if (imposs > 0 && imposs < row.size()) return "some probabilities indicate an impossible condition and some don't, ";
  if (imposs == row.size()) {
    for (Cell& c : row) c = Cell{0, CellTag::Number, c.pos};
    return nullptr;
  }
  if (negative) return "has a negative probability, ";
  if (overOne) return "has a probability greater than 1, ";
  if (undef == 0 && sum != 0 && std::fabs(sum - 1) > ROW_SUM_TOLERANCE) return "sum of probabilities isn't 1 (100%), ";
  return nullptr;
}

std::vector<double> values(const std::vector<Cell>& cells) {
  std::vector<double> out;
  out.reserve(cells.size());
  for (const Cell& c : cells) out.push_back(c.tag == CellTag::Number ? c.value : undefDouble());
  return out;
}

}  // namespace

void DnetReader::setTables(NodeDecl& d) {
  Bnode& node = *net_->find(d.name);
  if (d.has("functable")) readTable(d, node, "functable", d.functable);
  if (d.has("probs")) readTable(d, node, "probs", d.probs);
  if (d.has("numcases")) readTable(d, node, "numcases", d.numcases);
}

// The findings saved with a node: a likelihood, then a state (which replaces it), then a value.
void DnetReader::setFindings(const NodeDecl& d) {
  bool evidence = d.fields.count("evidence"), likelihood = d.fields.count("likelihood"), value = d.fields.count("value");
  if (!evidence && !likelihood && !value) return;
  Bnode& node = *net_->find(d.name);
  if (likelihood) {
    ContextScope ctx(rd_, {"node", d.name, "likelihood"});
    if (!node.hasStates()) rd_.failAt(d.at("likelihood"), err::DnetNotDiscreteFinding, "likelihood", "node");
    if (d.likelihood.size() != static_cast<size_t>(node.numStates))
      rd_.failAt(d.at("likelihood"), err::DnetFindingCount, static_cast<int>(d.likelihood.size()), node.numStates, "node");
    std::vector<float> lik(d.likelihood.begin(), d.likelihood.end());
    enterLikelihood(node, lik.data());
  }
  if (evidence) {
    ContextScope ctx(rd_, {"node", d.name, "evidence"});
    if (!node.hasStates()) rd_.failAt(d.at("evidence"), err::DnetNotDiscreteFinding, "evidence", "node");
    const std::vector<Token>& t = d.evidence.tokens;
    int state = -1;
    std::string text;
    for (const Token& k : t) text += k.text;
    if (t.size() == 1 && t[0].kind == TokenKind::Word) {
      auto it = std::find(node.stateNames.begin(), node.stateNames.end(), t[0].text);
      if (it != node.stateNames.end()) state = static_cast<int>(it - node.stateNames.begin());
    } else if (t.size() == 2 && t[0].kind == TokenKind::Punct && t[0].text == "#" && t[1].kind == TokenKind::Number && t[1].number.integral &&
               t[1].number.value >= 0 && t[1].number.value < node.numStates) {
      state = static_cast<int>(t[1].number.value);
    }
    if (state < 0) rd_.failAt(d.at("evidence"), err::DnetUnknownState, text);
    enterState(node, state, true, false);
  }
  if (value) {
    ContextScope ctx(rd_, {"node", d.name, "value"});
    enterValue(node, d.value);
  }
}

void DnetReader::readTable(NodeDecl& d, Bnode& node, const std::string& field, const TokenText& text) {
  ContextScope ctx(rd_, {"node", d.name, field});
  TextPosition at = d.at(field);
  // A continuous node (a utility, say) has no states: its function table holds real values.
  TableKind kind = field == "probs"      ? TableKind::Probs
                   : field == "numcases" ? TableKind::Exper
                   : text.words || (node.hasStates() && node.details().levels.empty()) ? TableKind::FuncState
                                                                                        : TableKind::FuncReal;
  bool needsStates = kind == TableKind::Probs || kind == TableKind::FuncState;
  if (needsStates && !node.hasStates()) rd_.failAt(at, err::DnetTableNotDiscrete, node.name);
  for (const Link& l : node.parents)
    if (!l.parent->hasStates()) rd_.failAt(at, err::DnetTableParentNotDiscrete, node.name, l.parent->name);
  WhichTable which = kind == TableKind::Probs      ? WhichTable::Cpt
                     : kind == TableKind::Exper    ? WhichTable::Exper
                     : kind == TableKind::FuncReal ? WhichTable::FuncReal
                                                   : WhichTable::FuncState;
  checkTableSettable(node, which, field);  // refuses tables too large to hold
  TableParser parser(rd_, node, text, kind);
  std::vector<Cell> cells = parser.parse();
  if (kind == TableKind::Probs) {
    size_t n = static_cast<size_t>(node.numStates);
    for (size_t r = 0; r * n < cells.size(); ++r) {
      std::span<Cell> row(cells.data() + r * n, n);
      if (const char* fault = rowFault(row))
        rd_.failAt(row.front().pos, err::DnetRowFault, fault, parser.rowLabel(r), node.name);
    }
  }
  for (const Cell& c : cells) {
    if (kind != TableKind::Probs && c.tag == CellTag::Imposs)
      rd_.failAt(c.pos, err::DnetUnknownEscape, "imposs", "", node.name);
    if (kind == TableKind::Exper && c.tag == CellTag::Number && c.value < 0)
      rd_.failAt(c.pos, err::DnetLessThanZero, c.value);
  }
  std::vector<double> v = values(cells);
  if (which == WhichTable::Cpt) fillFreshTable(node, false, v.data());  // checked above
  else writeTable(node, which, nullptr, v.data());
}

}  // namespace quorva
