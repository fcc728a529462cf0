// Reading DNET node objects into declarations, inheriting from definitions, and building the
// nodes, their states and their links.
#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "BN/Files/DnetReaderImpl.h"
#include "BN/Net/FreshNet.h"
#include "BN/Net/Links.h"
#include "BN/Net/NodeOps.h"
#include "BN/Net/NodeStates.h"
#include "Basic/IdName.h"

namespace quorva {

namespace {

const std::set<std::string>& nodeFieldNames() {
  static const std::set<std::string> names = {
      "name",     "discrete",  "measure",    "numstates", "states",     "statetitles", "StateComments",
      "levels",   "units",     "kind",       "chance",    "parents",    "inputs",      "functable",
      "probs",    "numcases",  "ExperBase",  "equation",  "EqnDirty",   "delays",      "persist",
      "position", "title",     "comment",    "author",    "whochanged", "whenchanged", "evidence",
      "value",    "likelihood", "Finding",   "belief",    "children",   "net",         "visual",
      "definenodes", "isdefine", "fields"};
  return names;
}

const char* const KIND_WORDS[] = {"UNKNOWN_KIND", "NATURE",       "CONSTANT", "DECISION",
                                  "UTILITY",      "DISCONNECTED", "ADVERSARY"};
const char* const MEASURE_WORDS[] = {"UNKNOWN_MEASURE", "NOMINAL",  "PROXIMAL",
                                     "ORDINAL",         "INTERVAL", "RATIO"};
const char* const CHANCE_WORDS[] = {"INVERTABLE", "DETERMIN", "CHANCE", "UNKNOWN_CHANCE"};

// The statements that shape a table, which must come after "parents".  ("inputs" may stand on
// either side: the writer puts it first, and its count is checked once the links are made.)
const char* const AFTER_PARENTS[] = {"functable", "probs", "numcases"};

std::string ordinal(size_t n) {
  const char* suffix = (n % 100 >= 11 && n % 100 <= 13) ? "th"
                       : n % 10 == 1                    ? "st"
                       : n % 10 == 2                    ? "nd"
                       : n % 10 == 3                    ? "rd"
                                                        : "th";
  return std::to_string(n) + suffix;
}

// Copies one field of a definition into a node that lacks it.
void copyField(NodeDecl& to, const NodeDecl& from, const std::string& f) {
  if (f == "discrete") to.discrete = from.discrete;
  else if (f == "measure") to.measure = from.measure;
  else if (f == "numstates") to.numStates = from.numStates;
  else if (f == "states") to.states = from.states;
  else if (f == "statetitles") to.stateTitles = from.stateTitles;
  else if (f == "StateComments") to.stateComments = from.stateComments;
  else if (f == "levels") to.levels = from.levels;
  else if (f == "kind") to.kind = from.kind;
  else if (f == "title") to.title = from.title;
  else if (f == "comment") to.comment = from.comment;
  else if (f == "parents") to.parents = from.parents;
  else if (f == "inputs") to.inputs = from.inputs;
  else if (f == "probs") to.probs = from.probs;
  else if (f == "functable") to.functable = from.functable;
  else if (f == "numcases") to.numcases = from.numcases;
  else if (f == "position") to.position = from.position;
  else if (f == "equation") to.equation = from.equation;
  else if (f == "EqnDirty") to.eqnDirty = from.eqnDirty;
}

}  // namespace

// ("define")? ("node" | "param") name ("(" definitions ")")? "{" statements "}" ";"
void DnetReader::readNodeObject(const std::string& keyword) {
  NodeDecl d;
  d.pos = rd_.tokenStart();
  std::string kw = keyword;
  if (keyword == "define") {
    d.isDefine = true;
    kw = rd_.readIdentifier();
    if (kw != "node" && kw != "param") rd_.failAt(rd_.tokenStart(), err::DnetIllegalValue, kw);
  }
  d.isParam = kw == "param";
  d.name = rd_.readWord();
  TextPosition nameAt = rd_.tokenStart();
  std::string why;
  if (checkName(d.name, NAME_ALL | NAME_NO_ASTERISK, &why))
    rd_.failAt(nameAt, err::DnetIllegalName, d.name, "node");
  ContextScope ctx(rd_, {"node", d.name, ""});
  if (d.isDefine ? defines_.count(d.name) > 0 : nodeNames_.count(d.name) > 0)
    rd_.failAt(nameAt, err::DnetDuplicateNode, "node", d.name);
  std::vector<std::string> bases;
  if (rd_.skipSpace() == '(') {
    bases = rd_.readParamList();
    for (const std::string& b : bases)
      if (!defines_.count(b)) rd_.failAt(rd_.tokenStart(), err::DnetInheritUndefined, "node", d.name, "node");
  }
  std::string what = kw + " " + d.name;
  if (!rd_.readPunct('{')) rd_.fail(err::DnetMissingOpenBrace, what);
  for (std::string word = nextStatement(what); !word.empty(); word = nextStatement(what)) {
    if (word == "user") {
      readUser(d.user);
    } else if (word == "visual") {
      std::string name = rd_.readIdentifier();
      skipObject();
      if (!rd_.readPunct(';')) rd_.fail(err::DnetMissingSemicolonAt, word, name);
    } else {
      readNodeField(d, word);
    }
  }
  for (const std::string& b : bases) inheritFrom(d, defines_.at(b));
  if (d.isParam) {
    d.kind = DISCONNECTED;
    if (!d.parents.empty()) failIn(d, "parents", d.at("parents"), err::DnetParamParents);
  }
  if (!rd_.readPunct(';')) rd_.fail(err::DnetMissingSemicolonAt, kw, d.name);
  if (d.isDefine) {
    std::string name = d.name;
    defines_.emplace(name, std::move(d));
  } else {
    nodeNames_.insert(d.name);
    nodes_.push_back(std::move(d));
  }
}

void DnetReader::inheritFrom(NodeDecl& d, const NodeDecl& def) {
  std::set<std::string> given = def.inherited;
  for (const auto& f : def.fields) given.insert(f.first);
  for (const std::string& f : given) {
    if (d.has(f)) continue;
    copyField(d, def, f);
    d.inherited.insert(f);
  }
  for (size_t i = 0; i < def.user.size(); ++i) {
    const auto* f = def.user.nth(i);
    if (!d.user.get(f->first)) d.user.set(f->first, f->second);
  }
}

void DnetReader::readNodeField(NodeDecl& d, const std::string& word) {
  ContextScope ctx(rd_, {"node", d.name, word});
  TextPosition at = rd_.tokenStart();
  if (!openField(word, nodeFieldNames().count(word) > 0, at)) return;
  if (d.fields.count(word)) rd_.failAt(at, err::DnetDuplicateNodeField, word, "node", d.name);
  if (word == "parents")
    for (const char* f : AFTER_PARENTS)
      if (d.fields.count(f)) failIn(d, f, d.fields.at(f), err::DnetAfterParents, f);
  d.fields.set(word, at);
  d.inherited.erase(word);
  if (!readNodeValue(d, word)) skipValue();  // a field the engine does not keep
  endStatement(word);
}

// Reads the value of a field the engine keeps (or checks); false for one to be skipped.
bool DnetReader::readNodeValue(NodeDecl& d, const std::string& word) {
  if (word == "discrete") {
    d.discrete = rd_.readTruth() == Truth::True ? 1 : 0;
  } else if (word == "measure") {
    d.measure = readEnumWord(MEASURE_WORDS, 6, "RATIONAL", 5);
  } else if (word == "numstates") {
    double n = readNumberValue();
    TextPosition at = rd_.tokenStart();
    if (n < 1) rd_.failAt(at, err::DnetNumStatesLow, word, static_cast<int>(n));
    if (n != std::floor(n) || n > 1e9) rd_.failAt(at, err::DnetIllegalValue, std::to_string(n));
    d.numStates = static_cast<int>(n);
  } else if (word == "states") {
    d.states = readNameList();
  } else if (word == "statetitles") {
    d.stateTitles = readNameList();
  } else if (word == "StateComments") {
    d.stateComments = readNameList();
  } else if (word == "levels") {
    d.levels = readNumberList();
  } else if (word == "kind") {
    d.kind = readEnumWord(KIND_WORDS, 7);
  } else if (word == "chance") {
    readEnumWord(CHANCE_WORDS, 4);
  } else if (word == "parents") {
    d.parents = readNameList();
  } else if (word == "inputs") {
    d.inputs = readNameList();
  } else if (word == "probs" || word == "functable" || word == "numcases") {
    TokenText& t = word == "probs" ? d.probs : word == "functable" ? d.functable : d.numcases;
    t = TokenText{};
    skimValue(t);
  } else if (word == "ExperBase") {
    double v = readNumberValue();
    TextPosition at = rd_.tokenStart();
    if (v < 0) rd_.failAt(at, err::DnetLessThanZero, v);
  } else if (word == "evidence") {
    d.evidence.pos = rd_.here();
    skipValue(&d.evidence.tokens);
  } else if (word == "likelihood") {
    d.likelihood = readNumberList();
  } else if (word == "value") {
    d.value = readNumberValue();
  } else if (word == "position") {
    d.position = readNumberList();
  } else if (word == "equation") {
    d.equation = rd_.readQuoted();
  } else if (word == "EqnDirty") {
    d.eqnDirty = rd_.readTruth() == Truth::True;
  } else if (word == "title") {
    d.title = rd_.readQuoted();
  } else if (word == "comment") {
    d.comment = rd_.readQuoted();
  } else {
    return false;
  }
  return true;
}

std::vector<std::string> DnetReader::readNameList() { return rd_.readValueList(); }

std::vector<double> DnetReader::readNumberList() {
  std::vector<double> out;
  rd_.readList([&] { out.push_back(readNumberValue()); });
  return out;
}

double DnetReader::readNumberValue() {
  Number n;
  if (rd_.readNumber(n)) return n.value;
  int c = rd_.skipSpace();
  if (c == TokenReader::END) rd_.fail(err::DnetIllegalValue, "end of input");
  Token t = rd_.readToken();
  rd_.failAt(t.start, err::DnetIllegalValue, t.text);
}

int DnetReader::readEnumWord(const char* const* words, int count, const char* extra, int extraCode) {
  std::string w = rd_.readIdentifier();
  for (int i = 0; i < count; ++i)
    if (w == words[i]) return i;
  if (extra && w == extra) return extraCode;
  if (w.empty() && rd_.skipSpace() != TokenReader::END) w = rd_.readToken().text;
  rd_.failAt(rd_.tokenStart(), err::DnetIllegalValue, w);
}

// The node with its kind, states, levels and texts (its links come later).
void DnetReader::createNode(NodeDecl& d) {
  int n = d.numStates;
  int named = static_cast<int>(d.states.size());
  if (d.has("states")) {
    if (n >= 0 && n != named)
      failIn(d, "numstates", d.at("numstates"), err::DnetNumStatesDisagree, "numstates", n, named);
    n = named;
  }
  int levels = static_cast<int>(d.levels.size());
  bool discrete = d.discrete >= 0 ? d.discrete == 1 : (n > 0 || levels > 0);
  if (discrete) {
    if (n < 0) n = levels;
    if (levels > 0 && levels != n)
      failIn(d, "levels", d.at("levels"), err::DnetLevelsCount, levels, n, d.name, n, "discrete");
    if (n <= 0) failIn(d, "", d.pos, err::DnetMissingNodeField, "numstates", "node", d.name);
  } else if (levels > 0) {
    if (levels < 2)
      failIn(d, "levels", d.at("levels"), err::DnetLevelsMinimum, levels, 2, d.name, "continuous");
    if (n >= 0 && levels != n + 1)
      failIn(d, "levels", d.at("levels"), err::DnetLevelsCount, levels, n + 1, d.name, n, "continuous");
    n = levels - 1;
  } else if (n > 0) {
    failIn(d, "", d.pos, err::DnetMissingNodeField, "levels", "node", d.name);
  }
  ContextScope ctx(rd_, {"node", d.name, ""});
  Bnode& node = quorva::createNode(*net_, d.name.c_str(), discrete ? n : 0);
  if (levels > 0) setLevels(node, n, d.levels.data());
  setStates(node, d);
  node.kind = d.kind;  // also the kinds only a file can give (parameters, unknown, adversary)
  node.measure = d.measure;
  node.eqnDirty = d.eqnDirty;
  if (!d.title.empty() || !d.comment.empty() || !d.equation.empty() || d.user.size() > 0) {
    NodeDetails& more = node.editDetails();
    more.title = d.title;
    more.comment = d.comment;
    more.equation = d.equation;
    more.userFields = d.user;
  }
  if (d.position.size() >= 2) {
    node.visX = d.position[0];
    node.visY = d.position[1];
  }
}

void DnetReader::setStates(Bnode& node, NodeDecl& d) {
  if (!d.states.empty()) {
    // Repeats are looked for among the earlier names; a set only for long lists.
    std::unordered_set<std::string> seen;
    const bool many = d.states.size() > 32;
    auto repeated = [&](size_t i) {
      if (many) return !seen.insert(d.states[i]).second;
      return std::find(d.states.begin(), d.states.begin() + static_cast<long>(i), d.states[i]) !=
             d.states.begin() + static_cast<long>(i);
    };
    for (size_t i = 0; i < d.states.size(); ++i) {
      const std::string& s = d.states[i];
      if (s.empty()) failIn(d, "states", d.at("states"), err::DnetEmptyStateName, ordinal(i + 1));
      std::string why;
      if (checkName(s, NAME_ALL | NAME_NO_ASTERISK, &why))
        failIn(d, "states", d.at("states"), err::DnetIllegalName, s, "state");
      if (repeated(i)) failIn(d, "states", d.at("states"), err::DnetDuplicateNode, "state", s);
    }
    if (static_cast<int>(d.states.size()) == node.numStates) {
      node.stateNames = d.states;  // legal and distinct: set as they stand, the net is not yet seen
    } else {
      std::string joined;
      for (size_t i = 0; i < d.states.size(); ++i) joined += (i ? "," : "") + d.states[i];
      setStateNames(node, joined.c_str());  // refuses the count
    }
  }
  auto texts = [&](const char* field, const std::vector<std::string>& list, bool title) {
    if (list.empty()) return;
    if (static_cast<int>(list.size()) != node.numStates)
      failIn(d, field, d.at(field), err::DnetStateNamesCount, node.numStates, static_cast<int>(list.size()));
    for (size_t i = 0; i < list.size(); ++i) {
      if (title)
        setStateTitle(node, static_cast<int>(i), list[i].c_str());
      else
        setStateComment(node, static_cast<int>(i), list[i].c_str());
    }
  };
  texts("statetitles", d.stateTitles, true);
  texts("StateComments", d.stateComments, false);
}

// Every node's links.  Without input names, cycles or repeated parents (as nearly every file
// is), all are set in one step; otherwise node by node, which warns and names inputs as it goes.
void DnetReader::linkNodes() {
  std::vector<Family> families;
  bool plain = true;
  for (NodeDecl& d : nodes_) {
    size_t count = d.parents.size();
    if (d.has("inputs") && d.inputs.size() != count)
      failIn(d, "inputs", d.at("inputs"), err::DnetInputsCount, static_cast<int>(d.inputs.size()),
             static_cast<int>(count));
    for (const std::string& in : d.inputs) plain = plain && in.empty();
    if (count == 0) continue;
    std::vector<Link> links;
    links.reserve(count);
    for (const std::string& name : d.parents) links.push_back(Link{parentNamed(d, name), "", {}});
    families.emplace_back(net_->find(d.name), std::move(links));
  }
  if (plain && linkFreshIfClean(families)) return;
  for (NodeDecl& d : nodes_) linkNode(d);
}

Bnode* DnetReader::parentNamed(const NodeDecl& d, const std::string& name) {
  Bnode* p = net_->find(name);
  if (!p && defines_.count(name)) failIn(d, "parents", d.at("parents"), err::DnetDefinitionUsed, name);
  if (!p) failIn(d, "parents", d.at("parents"), err::DnetUndefinedNode, name);
  return p;
}

// The node's links, in the order of its "parents" statement, with their input names.
void DnetReader::linkNode(NodeDecl& d) {
  Bnode& child = *net_->find(d.name);
  size_t count = d.parents.size();
  if (d.has("inputs") && d.inputs.size() != count)
    failIn(d, "inputs", d.at("inputs"), err::DnetInputsCount, static_cast<int>(d.inputs.size()),
           static_cast<int>(count));
  if (count == 0) return;
  std::vector<ParentSlot> slots;
  for (const std::string& name : d.parents) slots.push_back({Link{parentNamed(d, name), "", {}}, -1, true});
  ContextScope ctx(rd_, {"node", d.name, "parents"});
  setNodeParents(child, std::move(slots), true);
  for (size_t i = 0; i < d.inputs.size(); ++i)
    if (!d.inputs[i].empty()) setInputName(child, static_cast<int>(i), d.inputs[i].c_str());
}

}  // namespace quorva
