// Reading Hugin NET files with the token reader ('%' opens a line comment).  Declarations and
// potentials are gathered into a sketch; the net is built once the whole file has been read.
#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>

#include "BN/Files/HuginNet.h"
#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/TokenReader.h"

namespace quorva {

namespace {

Syntax huginSyntax() {
  Syntax s;
  s.lineComment[0] = '%';
  s.lineComment[1] = 0;
  return s;
}

class HuginReader {
 public:
  explicit HuginReader(FileSpec& in) : rd_(in, huginSyntax()) {}

  Bnet* read(EnvCore* env) {
    if (rd_.skipSpace() == TokenReader::END) rd_.failAt(TextPosition{1, 1}, err::FmtEmpty);
    while (rd_.skipSpace() != TokenReader::END) {
      TextPosition at = rd_.here();
      std::string word = rd_.readIdentifier();
      if (word == "net") readNetBlock();
      else if (word == "node" || word == "discrete") readNode(word == "discrete", NATURE);
      else if (word == "decision") readNode(false, DECISION);
      else if (word == "utility") readNode(false, UTILITY);
      else if (word == "continuous") rd_.failAt(at, err::HuginContinuous, continuousName());
      else if (word == "potential") readPotential();
      else if (word == "class") rd_.failAt(at, err::HuginClass);
      else rd_.failAt(at, err::HuginNodeKeyword, nextText(word));
    }
    return buildNet(sketch_, env);
  }

 private:
  std::string nextText(const std::string& word) {
    if (!word.empty()) return word;
    int c = rd_.skipSpace();
    return c == TokenReader::END ? "end of file" : std::string(1, static_cast<char>(c));
  }
  void expect(char c) {
    if (rd_.readPunct(c)) return;
    rd_.skipSpace();
    rd_.fail(err::FmtExpectedGot, std::string("'") + c + "'", nextText(rd_.readIdentifier()));
  }
  std::string readName(const char* what) {
    std::string name = rd_.readIdentifier();
    if (name.empty()) rd_.fail(err::FmtExpectedGot, what, nextText(name));
    return name;
  }
  // The name after "continuous [node]", for the refusal.
  std::string continuousName() {
    std::string word = rd_.readIdentifier();
    if (word == "node" || word == "decision") word = rd_.readIdentifier();
    return word;
  }

  // A value: a string, a number, a word, or a parenthesised list of values; passed over.
  void skipValue() {
    int depth = 0;
    do {
      int punct = 0;
      TokenKind kind = rd_.skipToken(punct);
      if (kind == TokenKind::End) rd_.fail(err::FmtExpected, "a value and ';'");
      if (kind == TokenKind::Punct) {
        if (punct == '(') ++depth;
        else if (punct == ')') --depth;
        else if (depth == 0) rd_.fail(err::FmtExpectedGot, "a value", std::string(1, static_cast<char>(punct)));
      }
    } while (depth > 0);
  }

  // "attribute = value ;" statements up to '}', each given to `field`, which reads the value
  // and returns true, or returns false to have it passed over.
  template <class F>
  void readAttributes(F field) {
    expect('{');
    while (!rd_.readPunct('}')) {
      std::string name = readName("an attribute name or '}'");
      expect('=');
      if (!field(name)) skipValue();
      expect(';');
    }
    rd_.readPunct(';');  // some writers end blocks with ';'
  }

  void readNetBlock() {
    ContextScope ctx(rd_, {"net", "", ""});
    readAttributes([this](const std::string& name) {
      if (name != "name" && name != "label") return false;
      (name == "name" ? sketch_.name : sketch_.label) = rd_.readQuoted();
      return true;
    });
  }

  void readNode(bool discreteWord, int kind) {
    if (discreteWord) {
      std::string next = readName("'node' or 'decision'");
      if (next == "decision") kind = DECISION;
      else if (next != "node") rd_.failAt(rd_.tokenStart(), err::FmtExpectedGot, "'node' or 'decision'", next);
    }
    TextPosition at = rd_.here();
    SketchVar var;
    var.text = readName("a node name");
    var.kind = kind;
    ContextScope ctx(rd_, {"node", var.text, ""});
    if (index_.count(var.text)) rd_.failAt(at, err::FmtVariableTwice, var.text);
    readAttributes([this, &var](const std::string& name) {
      ContextScope field(rd_, {"node", var.text, name});
      if (name == "label") var.label = rd_.readQuoted();
      else if (name == "position") readPosition(var);
      else if (name == "states") readStates(var);
      else return false;
      return true;
    });
    if (kind == UTILITY) var.states.clear();
    else if (var.states.empty()) rd_.failAt(at, err::FmtNoStates, var.text);
    index_.emplace(var.text, sketch_.vars.size());
    sketch_.vars.push_back(std::move(var));
  }

  void readPosition(SketchVar& var) {
    expect('(');
    double xy[2];
    for (double& d : xy) {
      rd_.skipSpace();
      TextPosition at = rd_.here();
      if (!rd_.readNumber(number_) || !std::isfinite(number_.value))
        rd_.failAt(at, err::FmtExpected, "two numbers for the position");
      d = number_.value;
    }
    expect(')');
    var.hasPosition = true;
    var.x = xy[0];
    var.y = xy[1];
  }

  void readStates(SketchVar& var) {
    expect('(');
    var.states.reserve(4);  // most variables have few states: one allocation, not three
    while (!rd_.readPunct(')')) {
      rd_.skipSpace();
      TextPosition at = rd_.here();
      std::string s = rd_.readQuoted();
      if (std::find(var.states.begin(), var.states.end(), s) != var.states.end())
        rd_.failAt(at, err::FmtStateTwice, s, var.text);
      var.states.push_back(std::move(s));
    }
  }

  size_t lookup(const std::string& name, TextPosition at) {
    auto it = index_.find(name);
    if (it == index_.end()) rd_.failAt(at, err::FmtUnknownVariable, name);
    return it->second;
  }

  void readPotential() {
    expect('(');
    rd_.skipSpace();
    TextPosition at = rd_.here();
    std::string childName = readName("a node name");
    ContextScope ctx(rd_, {"potential of", childName, ""});
    size_t child = lookup(childName, at);
    int heads = 1;
    while (rd_.skipSpace() != '|' && rd_.skipSpace() != ')' && !rd_.readIdentifier().empty()) ++heads;
    if (heads > 1) rd_.failAt(at, err::HuginJoint, childName, heads);
    SketchVar& var = sketch_.vars[child];
    if (var.hasFamily) rd_.failAt(at, err::FmtTableTwice, childName);
    var.hasFamily = true;
    if (rd_.readPunct('|')) {
      sketch_.startParents(var);
      while (!rd_.readPunct(')')) {
        rd_.skipSpace();
        TextPosition pat = rd_.here();
        std::string name = readName("a parent name or ')'");
        size_t p = lookup(name, pat);
        if (p == child) rd_.failAt(pat, err::FmtOwnParent, childName);
        if (sketch_.vars[p].kind == UTILITY) rd_.failAt(pat, err::FmtUtilityChild, name, childName);
        if (!sketch_.addParent(var, p)) rd_.failAt(pat, err::FmtParentTwice, name, childName);
      }
    } else {
      expect(')');
    }
    readAttributes([this, child](const std::string& name) {
      if (name != "data") return false;
      ContextScope field(rd_, {"potential of", sketch_.vars[child].text, name});
      readData(sketch_.vars[child]);
      return true;
    });
  }

  // The numbers of a data list, nested or flat, in the table's order.
  void readData(SketchVar& var) {
    const double rows = sketch_.rows(var);
    const double need = var.kind == UTILITY ? rows : rows * static_cast<double>(var.states.size());
    TextPosition start = rd_.here();
    if (need > MAX_CPT_ENTRIES) rd_.failAt(start, err::FmtTableTooBig, var.text, need);
    expect('(');
    std::vector<double>& entries = sketch_.entries;
    const size_t from = entries.size();
    TokenReader::Brackets brackets{'(', ')', 1};
    int& depth = brackets.depth;
    double count = 0;
    while (depth > 0) {
      if (count < need) {
        count += static_cast<double>(rd_.readNestedNumbers(entries, static_cast<size_t>(need - count), brackets));
        if (depth == 0) break;
      }
      int c = rd_.skipSpace();
      if (c == '(' || c == ')') {
        rd_.readPunct(static_cast<char>(c));
        depth += c == '(' ? 1 : -1;
        continue;
      }
      TextPosition at = rd_.here();
      if (c == TokenReader::END || c == ';' || c == '}') rd_.failAt(start, err::HuginParentheses, var.text);
      if (!rd_.readNumber(number_)) rd_.failAt(at, err::FmtBadNumber, nextText(rd_.readBareWord("();")));
      double v = number_.value;
      if (var.kind == UTILITY ? !std::isfinite(v) : !(v >= 0 && v <= 3.4e38))
        rd_.failAt(at, err::FmtBadProbability, number_.text, var.text);
      if (++count <= need) entries.push_back(v);
    }
    if (count != need) rd_.failAt(start, err::FmtTableCount, var.text, static_cast<int>(std::min(count, 2e9)), need);
    sketch_.endTable(var, from);
  }

  TokenReader rd_;
  NetSketch sketch_;
  std::unordered_map<std::string, size_t> index_;
  Number number_;
};

}  // namespace

Bnet* readHuginNet(FileSpec& in, EnvCore* env) {
  HuginReader reader(in);
  return reader.read(env);
}

}  // namespace quorva
