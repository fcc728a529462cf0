// Reading BIF nets.  The blocks are read in one pass; each probability block is kept as its
// parents and its table in the engine's layout (first parent slowest, the node's own states
// fastest), and parents and tables go into the net only after the whole file has been read.
#include "BN/Files/BifReader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "BN/Files/BifErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/FreshNet.h"
#include "BN/Net/NodeOps.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/IdName.h"
#include "Basic/ReaderErrors.h"
#include "Basic/TokenReader.h"

namespace quorva {

namespace {


struct Variable {
  Bnode* node = nullptr;
  std::unordered_map<std::string, int> states;  // state text as written -> state index (only
                                                // for more than FEW_STATES states)
  std::vector<std::string> stateTexts;
  bool hasBlock = false;  // a probability block has been read for it
  size_t order = 0;       // its place among the variables
};

// Up to this many states a state is found by looking through the texts, without hashing.
constexpr size_t FEW_STATES = 8;

struct ProbBlock {
  Variable* child = nullptr;
  std::vector<Variable*> parents;
  std::vector<double> table;  // empty: the block gave no numbers (parents only)
};

std::string joined(const std::vector<std::string>& texts) {
  std::string s;
  for (const std::string& t : texts) s += (s.empty() ? "" : ", ") + t;
  return s;
}

class BifReader {
 public:
  BifReader(FileSpec& in, EnvCore* env) : rd_(in), net_(std::make_unique<Bnet>(env, "Unnamed")) {}

  Bnet* read() {
    if (rd_.skipSpace() == TokenReader::END) rd_.failAt(TextPosition{}, err::EmptyFile, "net");
    while (rd_.skipSpace() != TokenReader::END) {
      TextPosition at = rd_.here();
      std::string word = rd_.readIdentifier();
      if (word == "network") readNetwork(at);
      else if (word == "variable") readVariable();
      else if (word == "probability") readProbability();
      else rd_.failAt(at, err::BifExpectedGot, "'network', 'variable' or 'probability'", nextText(word));
    }
    // Parents are set in the order of the variables, so that children lists do not depend on
    // the order of the probability blocks.
    std::sort(blocks_.begin(), blocks_.end(),
              [](const ProbBlock& x, const ProbBlock& y) { return x.child->order < y.child->order; });
    std::vector<Family> families;
    for (ProbBlock& b : blocks_) {
      std::vector<Link> links;
      links.reserve(b.parents.size());
      for (Variable* p : b.parents) links.push_back(Link{p->node, "", {}});
      families.emplace_back(b.child->node, std::move(links));
    }
    linkFresh(std::move(families));
    for (ProbBlock& b : blocks_) {
      if (b.table.empty()) continue;
      fillFreshTable(*b.child->node, false, b.table.data());
      scaleRowsToOne(*b.child->node);
    }
    return net_.release();
  }

 private:
  // The offending text for a message: the word read, else the next character.
  std::string nextText(const std::string& word) {
    if (!word.empty()) return word;
    int c = rd_.skipSpace();
    return c == TokenReader::END ? "end of file" : std::string(1, static_cast<char>(c));
  }

  void expect(char c) {
    if (rd_.readPunct(c)) return;
    rd_.skipSpace();
    TextPosition at = rd_.here();
    std::string what = std::string("'") + c + "'";
    rd_.failAt(at, err::BifExpectedGot, what, nextText(rd_.readBareWord(BIF_WORD_STOPS)));
  }

  std::string readName(const char* what) {
    std::string word;
    readName(what, word);
    return word;
  }
  // The same into `word`, which keeps its room.
  void readName(const char* what, std::string& word) {
    if (rd_.skipSpace() == '"') {
      word = rd_.readQuoted();
      return;
    }
    rd_.readBareWord(BIF_WORD_STOPS, word);
    if (word.empty()) rd_.fail(err::BifExpectedGot, what, nextText(word));
  }

  // "property ... ;": skipped.
  void skipProperty() {
    for (;;) {
      int punct = 0;
      TokenKind kind = rd_.skipToken(punct);
      if (kind == TokenKind::End) rd_.fail(err::BifExpected, "';' to end the property");
      if (kind == TokenKind::Punct && punct == ';') return;
    }
  }

  void readNetwork(TextPosition at) {
    if (sawNetwork_) rd_.failAt(at, err::BifNetworkTwice);
    sawNetwork_ = true;
    std::string text = readName("a network name");
    ContextScope ctx(rd_, {"network", text, ""});
    std::string name = legalName(text);
    setNetName(*net_, name.c_str());
    if (name != text) net_->title = text;
    expect('{');
    while (!rd_.readPunct('}')) {
      std::string word = rd_.readIdentifier();
      if (word != "property") rd_.fail(err::BifExpectedGot, "'property' or '}'", nextText(word));
      skipProperty();
    }
  }

  void readVariable() {
    rd_.skipSpace();
    TextPosition at = rd_.here();
    std::string text = readName("a variable name");
    ContextScope ctx(rd_, {"variable", text, ""});
    if (vars_.count(text)) rd_.failAt(at, err::BifVariableTwice, text);
    expect('{');
    Variable var;
    bool typed = false;
    while (!rd_.readPunct('}')) {
      std::string word = rd_.readIdentifier();
      if (word == "property") {
        skipProperty();
      } else if (word == "type" && !typed) {
        typed = true;
        readType(text, var);
      } else {
        rd_.fail(err::BifExpectedGot, typed ? "'property' or '}'" : "'type', 'property' or '}'",
                 nextText(word));
      }
    }
    if (!typed) rd_.fail(err::BifExpected, "a 'type' line in the variable block");
    std::string name = uniqueName(text, [this](const std::string& n) { return net_->nameTaken(n); });
    Bnode& node = net_->addNode(name, static_cast<int>(var.stateTexts.size()));
    if (name != text) node.editDetails().title = text;
    nameFreshStates(node, var.stateTexts);
    var.node = &node;
    var.order = vars_.size();
    vars_.emplace(text, std::make_unique<Variable>(std::move(var)));
  }

  // "type discrete [ n ] { s1, s2, ... } ;"
  void readType(const std::string& text, Variable& var) {
    std::string kind = rd_.readIdentifier();
    if (kind != "discrete") rd_.failAt(rd_.tokenStart(), err::BifNotDiscrete, text, nextText(kind));
    expect('[');
    Number n;
    rd_.skipSpace();
    TextPosition countAt = rd_.here();
    if (!rd_.readNumber(n) || !n.integral || n.value < 1 || n.value > 1e6)
      rd_.failAt(countAt, err::BifExpected, "a number of states from 1 to 1000000");
    expect(']');
    expect('{');
    var.stateTexts.reserve(4);  // most variables have few states: one allocation, not three
    do {
      rd_.skipSpace();
      TextPosition at = rd_.here();
      std::string s = readName("a state name");
      if (stateIndex(var, s) >= 0) rd_.failAt(at, err::BifStateTwice, s, text);
      var.stateTexts.push_back(s);
      if (var.stateTexts.size() > FEW_STATES) {
        if (var.states.empty())
          for (size_t i = 0; i + 1 < var.stateTexts.size(); ++i) var.states.emplace(var.stateTexts[i], static_cast<int>(i));
        var.states.emplace(s, static_cast<int>(var.stateTexts.size() - 1));
      }
    } while (rd_.readPunct(','));
    expect('}');
    if (static_cast<double>(var.stateTexts.size()) != n.value)
      rd_.failAt(countAt, err::BifStateCount, text, static_cast<int>(n.value),
                 static_cast<int>(var.stateTexts.size()));
    expect(';');
  }

  Variable& lookup(const std::string& text, TextPosition at) {
    auto it = vars_.find(text);
    if (it == vars_.end()) rd_.failAt(at, err::BifUnknownVariable, text);
    return *it->second;
  }

  // Numbers up to ';', separated by commas or white space, into `out`.
  void readNumbers(std::vector<double>& out) {
    out.clear();
    for (;;) {
      rd_.readPlainNumbers(out, SIZE_MAX, ',');
      int c = rd_.skipSpace();
      if (c == ';' || (c == ',' && !out.empty())) {
        rd_.readPunct(static_cast<char>(c));
        if (c == ';') return;
        continue;
      }
      TextPosition at = rd_.here();
      if (!rd_.readNumber(number_))
        rd_.failAt(at, err::BifExpectedGot, "a number or ';'", nextText(rd_.readBareWord(BIF_WORD_STOPS)));
      if (!(number_.value >= 0 && number_.value <= 3.4e38)) rd_.failAt(at, err::BifBadProbability, number_.text);
      out.push_back(number_.value);
    }
  }

  // The index of the state written `text` of `v`.
  static int stateIndex(const Variable& v, const std::string& text) {
    if (v.stateTexts.size() <= FEW_STATES) {
      for (size_t i = 0; i < v.stateTexts.size(); ++i)
        if (v.stateTexts[i] == text) return static_cast<int>(i);
      return -1;
    }
    auto it = v.states.find(text);
    return it == v.states.end() ? -1 : it->second;
  }

  void readProbability() {
    expect('(');
    rd_.skipSpace();
    TextPosition at = rd_.here();
    std::string childText = readName("a variable name");
    ContextScope ctx(rd_, {"probability block of variable", childText, ""});
    ProbBlock b;
    b.child = &lookup(childText, at);
    if (b.child->hasBlock) rd_.failAt(at, err::BifProbabilityTwice, childText);
    b.child->hasBlock = true;
    if (rd_.readPunct('|')) {
      b.parents.reserve(4);
      do {
        rd_.skipSpace();
        TextPosition pat = rd_.here();
        std::string text = readName("a parent name");
        Variable* p = &lookup(text, pat);
        if (p == b.child) rd_.failAt(pat, err::BifOwnParent, childText);
        for (Variable* q : b.parents)
          if (q == p) rd_.failAt(pat, err::BifParentTwice, text, childText);
        b.parents.push_back(p);
      } while (rd_.readPunct(','));
    }
    expect(')');
    expect('{');

    const size_t nc = b.child->stateTexts.size();
    double rowsD = 1;
    for (Variable* p : b.parents) rowsD *= static_cast<double>(p->stateTexts.size());
    if (rowsD * static_cast<double>(nc) > MAX_CPT_ENTRIES)
      rd_.failAt(at, err::BifTableTooBig, childText, rowsD * static_cast<double>(nc));
    const size_t rows = static_cast<size_t>(rowsD);
    std::vector<double>& nums = nums_;
    std::vector<std::string>& texts = texts_;  // the parent states of a row, as written
    std::vector<double> given, defaultRow;
    reserveTableEntries(given, rowsD * static_cast<double>(nc));
    std::vector<size_t> givenRow;
    givenRow.reserve(std::min<size_t>(rows, 1 << 16));
    std::vector<bool> seen(rows, false);
    size_t seenCount = 0;
    bool any = false;
    while (!rd_.readPunct('}')) {
      rd_.skipSpace();
      TextPosition lineAt = rd_.here();
      any = true;
      if (rd_.readPunct('(')) {
        size_t row = 0, count = 0;
        if (!rd_.readPunct(')')) {
          do {
            rd_.skipSpace();
            TextPosition sat = rd_.here();
            if (count == texts.size()) texts.emplace_back();
            std::string& text = texts[count++];
            readName("a parent state", text);
            if (count > b.parents.size())
              rd_.failAt(lineAt, err::BifRowParentCount, static_cast<int>(count), childText,
                         static_cast<int>(b.parents.size()));
            const Variable& p = *b.parents[count - 1];
            int state = stateIndex(p, text);
            if (state < 0) rd_.failAt(sat, err::BifUnknownState, text, p.node->name);
            row = row * p.stateTexts.size() + static_cast<size_t>(state);
          } while (rd_.readPunct(','));
          expect(')');
        }
        if (count != b.parents.size())
          rd_.failAt(lineAt, err::BifRowParentCount, static_cast<int>(count), childText,
                     static_cast<int>(b.parents.size()));
        if (seen[row])
          rd_.failAt(lineAt, err::BifRowTwice, joined({texts.begin(), texts.begin() + static_cast<long>(count)}),
                     childText);
        readNumbers(nums);
        if (nums.size() != nc)
          rd_.failAt(lineAt, err::BifRowCount, static_cast<int>(nums.size()), childText, static_cast<int>(nc));
        seen[row] = true;
        ++seenCount;
        givenRow.push_back(row);
        given.insert(given.end(), nums.begin(), nums.end());
        continue;
      }
      std::string word = rd_.readIdentifier();
      if (word == "property") {
        skipProperty();
      } else if (word == "table") {
        if (seenCount > 0) rd_.failAt(lineAt, err::BifRowTwice, std::string("all"), childText);
        readNumbers(nums);
        if (static_cast<double>(nums.size()) != rowsD * static_cast<double>(nc))
          rd_.failAt(lineAt, err::BifTableCount, static_cast<int>(nums.size()), childText,
                     rowsD * static_cast<double>(nc));
        // The child's states slowest, then the parents in order: transposed to rows.
        for (size_t r = 0; r < rows; ++r) {
          seen[r] = true;
          givenRow.push_back(r);
          for (size_t c = 0; c < nc; ++c) given.push_back(nums[c * rows + r]);
        }
        seenCount = rows;
      } else if (word == "default") {
        if (!defaultRow.empty()) rd_.failAt(lineAt, err::BifExpected, "only one default line");
        readNumbers(defaultRow);
        if (defaultRow.size() != nc)
          rd_.failAt(lineAt, err::BifRowCount, static_cast<int>(defaultRow.size()), childText, static_cast<int>(nc));
      } else {
        rd_.failAt(lineAt, err::BifExpectedGot, "'(', 'table', 'default', 'property' or '}'", nextText(word));
      }
    }
    if (any && (seenCount > 0 || !defaultRow.empty())) {
      if (seenCount < rows && defaultRow.empty()) {
        size_t r = 0;
        while (seen[r]) ++r;
        std::vector<std::string> texts(b.parents.size());
        for (size_t i = b.parents.size(); i-- > 0;) {
          size_t n = b.parents[i]->stateTexts.size();
          texts[i] = b.parents[i]->stateTexts[r % n];
          r /= n;
        }
        rd_.fail(err::BifRowMissing, joined(texts), childText);
      }
      // Every row given in order, as writers mostly do: the entries are the table already.
      bool inOrder = givenRow.size() == rows;
      for (size_t k = 0; inOrder && k < rows; ++k) inOrder = givenRow[k] == k;
      if (inOrder) {
        b.table = std::move(given);
      } else {
        b.table.resize(rows * nc);
        for (size_t r = 0; r < rows; ++r)
          if (!seen[r]) std::copy(defaultRow.begin(), defaultRow.end(), b.table.begin() + static_cast<long>(r * nc));
        for (size_t k = 0; k < givenRow.size(); ++k)
          std::copy(given.begin() + static_cast<long>(k * nc), given.begin() + static_cast<long>((k + 1) * nc),
                    b.table.begin() + static_cast<long>(givenRow[k] * nc));
      }
    }
    blocks_.push_back(std::move(b));
  }

  TokenReader rd_;
  std::unique_ptr<Bnet> net_;
  bool sawNetwork_ = false;
  std::unordered_map<std::string, std::unique_ptr<Variable>> vars_;  // by the name as written
  std::vector<ProbBlock> blocks_;
  // Kept between rows for their room.
  Number number_;
  std::vector<double> nums_;
  std::vector<std::string> texts_;
};

}  // namespace

Bnet* readBifNet(FileSpec& in, EnvCore* env) {
  BifReader reader(in, env);
  return reader.read();
}

}  // namespace quorva
