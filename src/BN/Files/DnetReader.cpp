// Reading DNET files: the magic line, the top-level objects, the net block and its fields, node
// sets, user fields, skipped objects, and building the net once the block is read.
#include "BN/Files/DnetReader.h"

#include <cctype>

#include "BN/Files/DnetReaderImpl.h"
#include "BN/Net/Nodesets.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"
#include "Basic/ReaderErrors.h"
#include "Basic/StringQuoter.h"

namespace quorva {

namespace {

const std::set<std::string>& netFieldNames() {
  static const std::set<std::string> names = {
      "name",  "nodes",   "numdimensions", "eqncontext", "AutoCompile", "autoupdate",  "NodeSet",
      "ElimOrder", "title", "comment", "author", "whochanged", "whenchanged", "definenodes"};
  return names;
}

// The type code a file name's extension implies, or "" when it implies none.
std::string typeByExtension(const std::string& name) {
  auto ends = [&](const char* ext) {
    std::string e = ext;
    return name.size() >= e.size() && name.compare(name.size() - e.size(), e.size(), e) == 0;
  };
  if (ends(".dne") || ends(".dnet")) return "DNET";
  if (ends(".cas")) return "CASE";
  if (ends(".qova")) return "QOVA";
  return "";
}

bool knownFileType(const std::string& t) {
  return t == "DNET" || t == "CASE" || t == "QOVA" || t == "BNET";
}

}  // namespace

// Every option reads the same: the engine keeps no display information, so visual objects are
// always passed over.
DnetReader::DnetReader(FileSpec& in, EnvCore* env, int /*options*/) : env_(env), rd_(in, Syntax{}, TokenReader::WHOLE) {}

Bnet* DnetReader::read() {
  readMagicLine();
  while (rd_.skipSpace() != TokenReader::END) readTopObject();
  if (!net_) rd_.failAt(TextPosition{}, err::DnetNoNet, "bnet");
  buildNet();
  return net_.release();
}

// "// ~->[DNET-1]->~": the file type and the format version in hundredths.
void DnetReader::readMagicLine() {
  std::string file = rd_.stream().displayName();
  std::string line;
  if (rd_.peek() == '/' && rd_.peek(1) == '/') line = rd_.readRestOfLine();
  size_t a = line.find("~->[");
  size_t b = a == std::string::npos ? a : line.find("]->~", a + 4);
  if (b == std::string::npos) {
    if (rd_.skipSpace() == TokenReader::END) rd_.failAt(TextPosition{}, err::EmptyFile, "net");
    engWarning(env_, err::DnetVersionWarning, "an unknown", 0.0);
    return;
  }
  std::string inner = line.substr(a + 4, b - a - 4);
  size_t dash = inner.find('-');
  std::string type = inner.substr(0, dash);
  std::string ver = dash == std::string::npos ? "" : inner.substr(dash + 1);
  if (!knownFileType(type)) engError(env_, err::DnetUnknownFileType, type, file);
  if (type != "DNET") {
    std::string text = "'" + file + "' is not a DNET file";
    std::string byExt = typeByExtension(rd_.stream().name());
    if (!byExt.empty())
      text += " (but by file extension it looks like a " + byExt +
              " - by starting contents it looks like a " + type + " file)";
    engError(env_, err::DnetWrongFileType, text);
  }
  size_t i = 0;
  int whole = 0;
  while (i < ver.size() && std::isdigit(static_cast<unsigned char>(ver[i])) && whole <= 50)
    whole = whole * 10 + (ver[i++] - '0');
  if (i == 0 || whole > 50) engError(env_, err::DnetIllegalVersion, ver, file);
  int frac = 0;
  if (i < ver.size() && ver[i] == '.') {
    ++i;
    for (int scale = 10; i < ver.size() && std::isdigit(static_cast<unsigned char>(ver[i])); ++i, scale /= 10)
      frac += (ver[i] - '0') * scale;
  }
  if (i < ver.size()) engWarning(env_, err::DnetExtraVersion, ver.substr(i), file);
  version_ = whole * 100 + frac;
  if (version_ < 100) engWarning(env_, err::DnetVersionWarning, "an old", version_ / 100.0);
  if (version_ > 209) engWarning(env_, err::DnetVersionWarning, "a new", version_ / 100.0);
}

void DnetReader::readTopObject() {
  int c = rd_.skipSpace();
  std::string word = rd_.readIdentifier();
  if (word.empty()) rd_.fail(err::DnetIllegalSymbol, escapeChar(static_cast<unsigned char>(c)), "DNET");
  TextPosition at = rd_.tokenStart();
  std::string name;
  if (word == "bnet") {
    if (net_) rd_.failAt(at, err::DnetSecondNet, "bnet");
    readNetBlock();
    name = net_->name;
  } else {
    if (word != "visual") rd_.warnAt(at, err::DnetUnknownObject, word);
    name = rd_.readIdentifier();
    skipObject();
  }
  if (rd_.readPunct(';')) return;
  if (name.empty()) rd_.fail(err::DnetMissingSemicolon);
  rd_.fail(err::DnetMissingSemicolonAt, word, name);
}

void DnetReader::readNetBlock() {
  std::string name = rd_.readWord();
  TextPosition at = rd_.tokenStart();
  std::string why;
  if (checkName(name, NAME_ALL | NAME_NO_ASTERISK, &why)) rd_.failAt(at, err::DnetIllegalName, name, "net");
  net_ = std::make_unique<Bnet>(env_, name);
  ContextScope ctx(rd_, {"net", name, ""});
  std::string what = "bnet " + name;
  if (!rd_.readPunct('{')) rd_.fail(err::DnetMissingOpenBrace, what);
  for (std::string word = nextStatement(what); !word.empty(); word = nextStatement(what))
    readNetStatement(word);
}

std::string DnetReader::nextStatement(const std::string& what) {
  int c = rd_.skipSpace();
  if (c == TokenReader::END) rd_.fail(err::DnetNoCloseBrace, what);
  if (c == '}') {
    rd_.readChar();
    return "";
  }
  std::string word = rd_.readIdentifier();
  if (word.empty()) rd_.fail(err::DnetIllegalSymbol, escapeChar(static_cast<unsigned char>(c)), "DNET");
  return word;
}

void DnetReader::readNetStatement(const std::string& word) {
  if (word == "node" || word == "param" || word == "define") return readNodeObject(word);
  if (word == "user") return readUser(net_->userFields);
  if (word == "NodeSet" && rd_.skipSpace() != '=') return readNodeset();
  if (word == "visual" || word == "link") {
    // Display information: the engine keeps none, so the whole object is passed over.
    std::string name = rd_.readIdentifier();
    skipObject();
    if (!rd_.readPunct(';')) rd_.fail(err::DnetMissingSemicolonAt, word, name);
    return;
  }
  if (word == "elimorder") {
    rd_.readPunct('=');
    skipValue();
    return endStatement(word);
  }
  readNetField(word);
}

bool DnetReader::openField(const std::string& word, bool known, const TextPosition& at) {
  if (rd_.skipSpace() != '=') {
    if (known) rd_.fail(err::DnetMissingEquals, word);
    rd_.warnAt(at, err::DnetUnknownItem, "object", word);
    skipObject();
    rd_.readPunct(';');
    return false;
  }
  rd_.readPunct('=');
  if (!known) {
    rd_.warnAt(at, err::DnetUnknownItem, "field", word);
    skipValue();
    endStatement(word);
    return false;
  }
  return true;
}

void DnetReader::readNetField(const std::string& word) {
  ContextScope ctx(rd_, {"net", net_->name, word});
  TextPosition at = rd_.tokenStart();
  if (!openField(word, netFieldNames().count(word) > 0, at)) return;
  if (!netFields_.insert(word).second) rd_.failAt(at, err::DnetDuplicateNetField, word);
  if (word == "title") {
    net_->title = rd_.readQuoted();
  } else if (word == "comment") {
    net_->comment = rd_.readQuoted();
  } else if (word == "autoupdate") {
    net_->autoUpdate = rd_.readTruth() == Truth::True;
  } else if (word == "AutoCompile") {
    rd_.readTruth();
  } else if (word == "ElimOrder") {
    elimOrder_ = readNameList();
    elimOrderPos_ = at;
  } else if (word == "whenchanged" || word == "numdimensions") {
    readNumberValue();
  } else {
    skipValue();  // author, whochanged, eqncontext ...: not kept by the engine
  }
  endStatement(word);
}

void DnetReader::expectEquals(const std::string& field) {
  if (!rd_.readPunct('=')) rd_.fail(err::DnetMissingEquals, field);
}

void DnetReader::endStatement(const std::string& field) {
  if (!rd_.readPunct(';')) rd_.fail(err::DnetMissingStatementEnd, field);
}

// "NodeSet" name "{" "Nodes" "=" (names) ";" "}" ";"
void DnetReader::readNodeset() {
  NodesetDecl s;
  s.name = rd_.readWord();
  s.pos = rd_.tokenStart();
  ContextScope ctx(rd_, {"NodeSet", s.name, ""});
  std::string why;
  if (checkName(s.name, NAME_ALL | NAME_NO_ASTERISK, &why))
    rd_.failAt(s.pos, err::DnetIllegalName, s.name, "node set");
  for (const NodesetDecl& other : nodesets_)
    if (other.name == s.name) rd_.failAt(s.pos, err::DnetDuplicateNodeset, "node set", s.name);
  std::string what = "NodeSet " + s.name;
  if (!rd_.readPunct('{')) rd_.fail(err::DnetMissingOpenBrace, what);
  for (std::string word = nextStatement(what); !word.empty(); word = nextStatement(what)) {
    ContextScope field(rd_, {"NodeSet", s.name, word});
    if (!rd_.readPunct('=')) rd_.fail(err::DnetNodesetMissingEquals);
    if (word == "Nodes")
      s.members = readNameList();
    else
      skipValue();  // display settings
    if (!rd_.readPunct(';')) rd_.fail(err::DnetNodesetMissingSemicolon);
  }
  if (!rd_.readPunct(';')) rd_.fail(err::DnetMissingSemicolonAt, "NodeSet", s.name);
  nodesets_.push_back(std::move(s));
}

// "user" "U1" "{" name "=" value ";" ... "}" ";"
void DnetReader::readUser(UserFields& into) {
  std::string cls = rd_.readWord();
  if (cls != "U1") rd_.failAt(rd_.tokenStart(), err::DnetUnknownUserClass, cls);
  ContextScope ctx(rd_, {"user", cls, ""});
  std::string what = "user " + cls;
  if (!rd_.readPunct('{')) rd_.fail(err::DnetMissingOpenBrace, what);
  for (std::string name = nextStatement(what); !name.empty(); name = nextStatement(what)) {
    ContextScope field(rd_, {"user", cls, name});
    expectEquals(name);
    std::string value = rd_.readValueText();
    if (!rd_.readPunct(';')) {
      int c = rd_.skipSpace();
      std::string found = c == TokenReader::END ? "end of input" : escapeChar(static_cast<unsigned char>(c));
      rd_.fail(err::DnetUserMissingSemicolon, found);
    }
    into.set(name, std::move(value));
  }
  if (!rd_.readPunct(';')) rd_.fail(err::DnetMissingSemicolonAt, "user", cls);
}

void DnetReader::skipObject() {
  int depth = 0;
  for (;;) {
    int c = rd_.skipSpace();
    if (c == TokenReader::END) return;
    if (depth == 0 && (c == ';' || c == '}')) return;
    Token t = rd_.readToken();
    if (t.kind != TokenKind::Punct) continue;
    if (t.text == "{" || t.text == "(") ++depth;
    if ((t.text == "}" || t.text == ")") && --depth <= 0 && t.text == "}") return;
    if (depth < 0) depth = 0;
  }
}

void DnetReader::skipValue(std::vector<Token>* keep) {
  int depth = 0;
  for (;;) {
    int c = rd_.skipSpace();
    if (c == TokenReader::END || c == ';' || (depth == 0 && c == '}')) return;
    Token t = rd_.readToken();
    if (t.kind == TokenKind::Punct) {
      if (t.text == "(" || t.text == "{") ++depth;
      if ((t.text == ")" || t.text == "}") && depth > 0) --depth;
    }
    if (keep) keep->push_back(std::move(t));
  }
}

void DnetReader::skimValue(TokenText& into) {
  into.pos = rd_.here();
  into.from = into.to = rd_.offset();
  int depth = 0;
  for (;;) {
    int c = rd_.skipSpace();
    if (c == TokenReader::END || c == ';' || (depth == 0 && c == '}')) return;
    if (c >= '0' && c <= '9') {
      // A row of plain numbers and the commas between them, in one step.
      if (size_t n = rd_.skipPlainNumbers(',')) {
        into.last = rd_.tokenStart();
        into.to = rd_.offset();
        into.count += static_cast<long>(n);
        continue;
      }
    }
    int punct = 0;
    TokenKind kind = rd_.skipToken(punct);
    into.last = rd_.tokenStart();
    into.to = rd_.offset();
    ++into.count;
    into.words |= kind == TokenKind::Word || (kind == TokenKind::Punct && punct == '#');
    if (kind != TokenKind::Punct) continue;
    if (punct == '(' || punct == '{') ++depth;
    if ((punct == ')' || punct == '}') && depth > 0) --depth;
  }
}

void DnetReader::buildNet() {
  net_->reserveNodes(nodes_.size());
  for (NodeDecl& d : nodes_) createNode(d);
  linkNodes();
  for (NodeDecl& d : nodes_) setTables(d);
  for (const NodeDecl& d : nodes_) setFindings(d);
  for (const NodesetDecl& s : nodesets_) {
    ContextScope ctx(rd_, {"NodeSet", s.name, "Nodes"});
    if (!net_->findNodeset(s.name)) {
      checkNewNodesetName(*net_, s.name);
      net_->nodesets.push_back({s.name});
    }
    for (const std::string& m : s.members) {
      Bnode* node = net_->find(m);
      if (!node) rd_.failAt(s.pos, err::DnetUndefinedNode, m);
      addToNodeset(*node, s.name);
    }
  }
  ContextScope ctx(rd_, {"net", net_->name, "ElimOrder"});
  std::vector<Bnode*> order;
  for (const std::string& m : elimOrder_) {
    Bnode* node = net_->find(m);
    if (!node) rd_.failAt(elimOrderPos_, err::DnetUndefinedNode, m);
    order.push_back(node);
  }
  net_->elimOrder = std::move(order);
}

Bnet* readDnetNet(FileSpec& in, EnvCore* env, int options) {
  DnetReader reader(in, env, options);
  return reader.read();
}

}  // namespace quorva
