// Parsing the head of an equation (deterministic and probabilistic forms) and its result typing.
#include "Equation/EqnParser.h"

#include <algorithm>
#include <cctype>

#include "BN/Net/Bnode.h"
#include "Basic/Stream.h"
#include "Equation/EqnParserImpl.h"

namespace quorva {

namespace {
bool equalsNoCase(const std::string& a, const char* b) {
  return a.size() == std::strlen(b) &&
         std::equal(a.begin(), a.end(), b, [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}
bool contains(const std::vector<std::string>& v, const std::string& s) {
  return std::find(v.begin(), v.end(), s) != v.end();
}
bool mentionsVar(const EqnExpr& e, int var) {
  if (e.isVar()) return e.var == var;
  return std::any_of(e.args.begin(), e.args.end(), [&](const auto& a) { return mentionsVar(*a, var); });
}
}  // namespace

std::string ordinalWord(int n) {
  static const char* const words[] = {"first", "second", "third", "fourth", "fifth", "sixth"};
  return n >= 1 && n <= 6 ? words[n - 1] : ordinal(n);
}

EqnVar eqnVarOf(const Bnode& node, const std::string& name) {
  EqnVar v;
  v.name = name;
  v.continuous = node.type == CONTINUOUS;
  v.numStates = node.numStates;
  v.stateNames = node.stateNames;
  v.levels = node.details().levels;
  return v;
}

EqnSource eqnSourceOf(const Bnode& node, std::string text) {
  EqnSource src;
  src.text = std::move(text);
  src.output = eqnVarOf(node, node.name);
  for (const Link& link : node.parents)
    if (link.parent)
      src.inputs.push_back(eqnVarOf(*link.parent, link.inputName.empty() ? link.parent->name : link.inputName));
  return src;
}

std::unique_ptr<Equation> parseEquation(EnvCore* env, const EqnSource& src, TextPosition* stoppedAt) {
  FileSpec stream(env, FileSpec::Kind::Memory, src.streamName);
  stream.setContents(src.text.data(), src.text.size(), false);
  // The text is short and held in memory: a block just larger than it saves the usual 64 KB.
  TokenReader rd(stream, Syntax{{0, 0}, false, false}, src.text.size() + 2 * TokenReader::MAX_LOOKAHEAD);
  ContextScope scope(rd, {"node", src.output.name, "equation"});
  auto eq = std::make_unique<Equation>();
  try {
    EqnParserImpl(rd, src, *eq).parse();
  } catch (const QuorvaError&) {
    if (stoppedAt) *stoppedAt = rd.here();
    throw;
  }
  eq->program = compileEqnProgram(*eq->root);
  return eq;
}

const EqnVar* EqnParserImpl::findCandidate(const std::string& name) const {
  for (const EqnVar& v : src_.inputs)
    if (v.name == name) return &v;
  return nullptr;
}

void EqnParserImpl::parse() {
  rd_.skipSpace();
  std::string first = rd_.readIdentifier();
  if (equalsNoCase(first, "P")) {
    parseProbabilistic(first);
  } else {
    parseDeterministic(first);
  }
}

void EqnParserImpl::parseDeterministic(const std::string& name) {
  if (name != src_.output.name && name != "f") rd_.fail(err::EqnWrongOutput, name);
  eq_.output = src_.output.name;
  if (!rd_.readPunct('(')) rd_.fail(err::EqnMissingOpenDecl);
  bool firstName = true;
  for (;;) {
    int c = rd_.skipSpace();
    if (c == TokenReader::END) break;
    if (c == ')') {
      rd_.readChar();
      break;
    }
    if (!firstName) {
      if (c != ',') {
        if (std::isalpha(c) || c == '_') rd_.fail(err::EqnMissingComma);
        rd_.fail(err::EqnPunctFirst, static_cast<char>(c));
      }
      rd_.readChar();
      c = rd_.skipSpace();
      if (c != TokenReader::END && !std::isalpha(c) && c != '_')
        rd_.fail(err::EqnPunctSecond, static_cast<char>(c));
    }
    std::string input = rd_.readIdentifier();
    if (input.empty()) rd_.fail(err::EqnPunctFirst, static_cast<char>(c == TokenReader::END ? ' ' : c));
    if (contains(eq_.inputs, input)) rd_.fail(err::EqnRepeatedName);
    const EqnVar* v = findCandidate(input);
    if (!v) rd_.fail(err::EqnUnknownInput, input);
    eq_.inputs.push_back(input);
    eq_.vars.push_back(*v);
    firstName = false;
  }
  if (!rd_.readPunct('=')) rd_.fail(err::EqnMissingEquals);
  eq_.vars.push_back(src_.output);
  eq_.root = parseExpr(0, eq_.outputIndex());
  if (!eq_.root) rd_.fail(err::EqnEmptyDefn);
  expectEnd();
  typeDeterministicResult();
}

void EqnParserImpl::typeDeterministicResult() {
  const EqnVar& out = src_.output;
  EqnType t = eq_.root->type;
  if (t == EqnType::Boolean) {
    if (out.numStates != 2) rd_.fail(err::EqnBoolOutputStates, out.name, out.numStates);
    eq_.boolTrueState = booleanTrueState(out);
    if (eq_.boolTrueState < 0) {
      rd_.warn(err::EqnBoolOutputNames, out.name);
      eq_.boolTrueState = 1;
    }
  } else if (out.hasLevels() && (t == EqnType::Integer || t == EqnType::Real ||
                                 t == EqnType::Numeric || t == EqnType::Any)) {
    eq_.selectsByLevel = true;
  }
}

// Any name ending in "Rand" that is a randomized function, anywhere in the text.
void EqnParserImpl::checkNoRandomized() {
  const std::string& t = src_.text;
  size_t i = 0;
  while (i < t.size()) {
    if (!std::isalpha(static_cast<unsigned char>(t[i])) && t[i] != '_') {
      ++i;
      continue;
    }
    size_t j = i;
    while (j < t.size() && (std::isalnum(static_cast<unsigned char>(t[j])) || t[j] == '_')) ++j;
    const EqnFunc* f = findEqnFunc(std::string_view(t).substr(i, j - i));
    if (f && f->randomized) rd_.fail(err::EqnRandInProb, "Rand");
    i = j;
  }
}

void EqnParserImpl::parseProbabilistic(const std::string& name) {
  checkNoRandomized();
  eq_.probabilistic = true;
  eq_.upperP = name == "P";
  eq_.output = src_.output.name;
  if (!rd_.readPunct('(')) rd_.fail(err::EqnMissingOpenProb);
  std::vector<std::string> names;
  readProbHead(names);
  if (!rd_.readPunct('=')) rd_.fail(err::EqnProbMissingEquals);
  if (names.empty() || names[0] != src_.output.name)
    rd_.fail(err::EqnProbWrongOutput, names.empty() ? std::string() : names[0]);
  eq_.inputs = names;
  for (const std::string& n : names)
    if (n != src_.output.name) eq_.vars.push_back(*findCandidate(n));
  eq_.vars.push_back(src_.output);
  eq_.root = parseExpr(0, eq_.outputIndex());
  if (!eq_.root) rd_.fail(err::EqnProbEmpty);
  expectEnd();
  typeProbabilisticResult();
}

void EqnParserImpl::readProbHead(std::vector<std::string>& names) {
  bool bar = false, expectName = true, seenPlain = false;
  for (;;) {
    int c = rd_.skipSpace();
    if (c == TokenReader::END) return;
    if (c == ')') {
      rd_.readChar();
      return;
    }
    if (c == '|') {
      if (bar) rd_.fail(err::EqnTwoBars);
      if (names.empty()) rd_.fail(err::EqnNothingBeforeBar);
      rd_.readChar();
      bar = expectName = true;
      continue;
    }
    if (c == ',' && !expectName) {
      rd_.readChar();
      expectName = true;
      continue;
    }
    bool cdf = c == '<';
    if (!cdf && !std::isalpha(c) && c != '_')
      rd_.fail(expectName ? err::EqnProbPunctName : err::EqnProbPunct, static_cast<char>(c));
    if (!expectName) rd_.fail(err::EqnProbMissingComma);
    if (cdf) rd_.readChar();
    addProbName(names, cdf, bar, seenPlain);
    expectName = false;
    if (!bar) eq_.numBeforeBar = static_cast<int>(names.size());
  }
}

void EqnParserImpl::addProbName(std::vector<std::string>& names, bool cdf, bool bar, bool& seenPlain) {
  if (cdf && bar) rd_.fail(err::EqnCdfAfterBar);
  if (cdf && seenPlain) rd_.fail(err::EqnCdfNotFirst);
  std::string n = rd_.readIdentifier();
  if (n.empty()) {
    int c = rd_.skipSpace();
    rd_.fail(err::EqnProbPunctName, static_cast<char>(c == TokenReader::END ? ' ' : c));
  }
  if (contains(names, n)) rd_.fail(err::EqnProbRepeated);
  if (n != src_.output.name && !findCandidate(n)) rd_.fail(err::EqnProbUnknown, n);
  names.push_back(n);
  if (cdf)
    ++eq_.numCumulative;
  else
    seenPlain = true;
}

void EqnParserImpl::typeProbabilisticResult() {
  if (mentionsVar(*eq_.root, eq_.outputIndex())) return;
  int trueState = booleanTrueState(src_.output);
  if (trueState >= 0) {
    eq_.probOfState = trueState;
  } else {
    rd_.warn(err::EqnOutputAbsent, src_.output.name);
  }
}

void EqnParserImpl::expectEnd() {
  int c = rd_.skipSpace();
  if (c == ';') {
    rd_.readChar();
    c = rd_.skipSpace();
  }
  if (c == TokenReader::END) return;
  if (c == ')') rd_.fail(err::EqnUnexpectedClose);
  rd_.fail(err::EqnUnexpectedChar, std::string(1, static_cast<char>(c)));
}

}  // namespace quorva
