// The DNET reader's inner parts, shared by DnetReader.cpp (the file and the net block),
// DnetReaderNodes.cpp (node objects and building the nodes) and DnetReaderTables.cpp (tables).
//
// A net is read in two phases.  First the whole "bnet" block is parsed into declarations: each
// node's fields as written, with the position of every statement, and its tables kept as the
// span of the file they stand in (their shape depends on the parents' states, and a parent may be
// declared later; the file is held whole, and each table is read from its span when built).  Then
// the net is built through the engine's operations: nodes with their states, then every node's
// links, then the tables, the node sets and the elimination order.  A fault found while
// building is reported at the statement it comes from.
#pragma once
#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Files/DnetErrors.h"
#include "Basic/TokenReader.h"
#include "Basic/UserFields.h"

namespace quorva {

// A value kept as tokens (a finding) or as the span of the file it stands in (a table), and
// where it began.
struct TokenText {
  std::vector<Token> tokens;
  TextPosition pos;
  uint64_t from = 0, to = 0;  // the span: bytes of the file
  long count = 0;             // tokens in the span (0 only for an empty one)
  TextPosition last;          // where its last token starts
  bool words = false;         // some token is a word or "#" (names of states)
};

// The statements of a node read so far, and where each stood.  Only known fields are kept, each
// once, so the list is short and searched in order.
class FieldPlaces {
 public:
  using Entry = std::pair<std::string, TextPosition>;
  using const_iterator = std::vector<Entry>::const_iterator;
  const_iterator begin() const { return list_.begin(); }
  const_iterator end() const { return list_.end(); }
  const_iterator find(std::string_view f) const {
    return std::find_if(list_.begin(), list_.end(), [f](const Entry& e) { return e.first == f; });
  }
  size_t count(std::string_view f) const { return find(f) == end() ? 0 : 1; }
  // Where the statement `f` stood; it must have been read.
  const TextPosition& at(std::string_view f) const { return find(f)->second; }
  // Records the statement `f` at `pos` (a field already recorded is moved to `pos`).
  void set(const std::string& f, const TextPosition& pos) {
    auto it = list_.begin() + (find(f) - begin());
    if (it != list_.end()) it->second = pos;
    else list_.emplace_back(f, pos);
  }

 private:
  std::vector<Entry> list_;
};

// One node (or definition) as declared in the file.
struct NodeDecl {
  std::string name;
  bool isDefine = false;
  bool isParam = false;
  TextPosition pos;
  FieldPlaces fields;               // the statements read, and where
  std::set<std::string> inherited;  // fields taken from a definition

  bool has(const std::string& f) const { return fields.count(f) || inherited.count(f); }
  TextPosition at(const std::string& f) const {
    auto it = fields.find(f);
    return it == fields.end() ? pos : it->second;
  }

  int discrete = -1;  // -1 not given, 0 FALSE, 1 TRUE
  int measure = 0;
  int numStates = -1;
  std::vector<std::string> states, stateTitles, stateComments;
  std::vector<double> levels;
  int kind = 1;  // NATURE
  std::string title, comment;
  std::string equation;  // kept as written; parsed when used, so a faulty one does not stop the read
  bool eqnDirty = false;
  std::vector<std::string> parents, inputs;
  TokenText probs, functable, numcases;
  TokenText evidence;                  // the state of a finding: a name, or "#" and a number
  std::vector<double> likelihood;
  double value = 0;                    // a real-valued finding, when "value" was read
  std::vector<double> position;
  UserFields user;
};

// One node set as declared.
struct NodesetDecl {
  std::string name;
  std::vector<std::string> members;
  TextPosition pos;
};

class DnetReader {
 public:
  DnetReader(FileSpec& in, EnvCore* env, int options);
  Bnet* read();

  // ---- DnetReader.cpp ----
  void readMagicLine();
  void readTopObject();
  void readNetBlock();
  void readNetStatement(const std::string& word);
  // Reads the "=" after a field name; an unknown object or field is skipped with a warning
  // (false), a known field without "=" refused.  True when the caller is to read the value.
  bool openField(const std::string& word, bool known, const TextPosition& at);
  void readNetField(const std::string& word);
  void readNodeset();
  void readUser(UserFields& into);
  // Skips an object's remaining header and its "{...}" block, stopping before the ";".
  void skipObject();
  // Skips a statement's value (keeping its tokens in `keep`), stopping before its ";" (values
  // hold none outside quotes) or before the "}" that ends the block.
  void skipValue(std::vector<Token>* keep = nullptr);
  // The same, keeping the span of the value in `into` (a table, read again when it is built).
  void skimValue(TokenText& into);
  // Takes the ";" that ends the statement `field`.
  void endStatement(const std::string& field);
  void expectEquals(const std::string& field);
  // The next statement's word, or "" at the block's "}" (taken); `what` names the block.
  std::string nextStatement(const std::string& what);
  void buildNet();

  // ---- DnetReaderNodes.cpp ----
  void readNodeObject(const std::string& keyword);
  void readNodeField(NodeDecl& d, const std::string& word);
  bool readNodeValue(NodeDecl& d, const std::string& word);
  void inheritFrom(NodeDecl& d, const NodeDecl& def);
  std::vector<std::string> readNameList();
  std::vector<double> readNumberList();
  double readNumberValue();
  int readEnumWord(const char* const* words, int count, const char* extra = nullptr, int extraCode = 0);
  void createNode(NodeDecl& d);
  void setStates(Bnode& node, NodeDecl& d);
  void linkNodes();
  void linkNode(NodeDecl& d);
  Bnode* parentNamed(const NodeDecl& d, const std::string& name);

  // ---- DnetReaderTables.cpp ----
  void setTables(NodeDecl& d);
  void readTable(NodeDecl& d, Bnode& node, const std::string& field, const TokenText& text);
  void setFindings(const NodeDecl& d);

  // Raises an error at `at` with the context of field `field` of node `d`.
  template <class... A>
  [[noreturn]] void failIn(const NodeDecl& d, const std::string& field, TextPosition at, ErrDef e,
                           const A&... a) {
    ContextScope ctx(rd_, {"node", d.name, field});
    rd_.failAt(at, e, a...);
  }

  TokenReader& rd() { return rd_; }
  Bnet& net() { return *net_; }

 private:
  EnvCore* env_;
  TokenReader rd_;
  std::unique_ptr<Bnet> net_;
  int version_ = 0;  // hundredths; 0 when no magic line was found
  std::set<std::string> netFields_;
  std::vector<NodeDecl> nodes_;
  std::map<std::string, NodeDecl> defines_;
  std::set<std::string> nodeNames_;
  std::vector<NodesetDecl> nodesets_;
  std::vector<std::string> elimOrder_;
  TextPosition elimOrderPos_;
};

}  // namespace quorva
