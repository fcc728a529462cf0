// Reading UAI BAYES files and UAI evidence files with the token reader.
#include <charconv>
#include <string>
#include <vector>

#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Files/Uai.h"
#include "BN/Findings/Findings.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/TokenReader.h"

namespace quorva {

namespace {

Syntax uaiSyntax() {
  Syntax s;
  s.lineComment[0] = 0;
  s.lineComment[1] = 0;
  return s;
}

class UaiReader {
 public:
  explicit UaiReader(FileSpec& in) : rd_(in, uaiSyntax()) {}

  Bnet* read(EnvCore* env, const std::vector<std::string>& names, const std::string& namesFile) {
    if (rd_.skipSpace() == TokenReader::END) rd_.failAt(TextPosition{1, 1}, err::FmtEmpty);
    TextPosition at = rd_.here();
    std::string word = rd_.readIdentifier();
    if (word == "MARKOV") rd_.failAt(at, err::UaiMarkov);
    if (word != "BAYES") rd_.failAt(at, err::UaiPreamble, word.empty() ? rd_.readBareWord("") : word);
    const size_t n = count("the number of variables", 0, 1000000);
    if (!names.empty() && names.size() != n)
      rd_.failAt(at, err::UaiNames, namesFile, static_cast<int>(names.size()), static_cast<int>(n));
    // The net is named for the file.
    std::string file = rd_.stream().name();
    file = file.substr(file.find_last_of("/\\") == std::string::npos ? 0 : file.find_last_of("/\\") + 1);
    sketch_.name = file.substr(0, file.find('.'));
    sketch_.vars.resize(n);
    char made[24] = "v";  // a name made up: v0, v1, ...
    for (size_t i = 0; i < n; ++i) {
      SketchVar& v = sketch_.vars[i];
      if (names.empty()) v.text.assign(made, std::to_chars(made + 1, made + sizeof made, i).ptr);
      else v.text = names[i];
      v.numberedStates = count("a cardinality", 1, 1000000);
    }
    const size_t m = count("the number of tables", 0, 1000000);
    std::vector<size_t> childOf(m);
    for (size_t t = 0; t < m; ++t) childOf[t] = readScope();
    for (size_t i = 0; i < n; ++i)
      if (!sketch_.vars[i].hasFamily) rd_.fail(err::UaiNoTable, static_cast<int>(i));
    reserveTableEntries(sketch_.entries, totalEntries_);
    for (size_t t = 0; t < m; ++t) readTable(sketch_.vars[childOf[t]]);
    if (rd_.skipSpace() != TokenReader::END) rd_.fail(err::UaiTrailing, rd_.readBareWord(""));
    return buildNet(sketch_, env);
  }

 private:
  // A whole number from `low` to `high`.
  size_t count(const char* what, long low, long high) {
    uint64_t plain = 0;
    if (rd_.readPlainCount(static_cast<uint64_t>(low), static_cast<uint64_t>(high), plain)) return plain;
    rd_.skipSpace();
    TextPosition at = rd_.here();
    if (!rd_.readNumber(number_) || !number_.integral || number_.value < static_cast<double>(low) ||
        number_.value > static_cast<double>(high)) {
      std::string found = number_.text;
      if (found.empty()) found = rd_.atEnd() ? "end of file" : rd_.readBareWord("");
      rd_.failAt(at, err::UaiCount, what, static_cast<int>(low), static_cast<int>(high), found);
    }
    number_.text.clear();
    return static_cast<size_t>(number_.value);
  }

  // One scope; returns its child, the last variable.
  size_t readScope() {
    const size_t n = sketch_.vars.size();
    size_t size = count("a scope size", 1, static_cast<long>(std::max<size_t>(n, 1)));
    std::vector<size_t>& scope = scope_;
    scope.clear();
    TextPosition childAt;
    for (size_t k = 0; k < size; ++k) {
      size_t v = count("a variable index", 0, 1000000);
      childAt = rd_.tokenStart();
      if (v >= n) rd_.failAt(childAt, err::UaiVariableIndex, std::to_string(v), static_cast<int>(n));
      for (size_t u : scope)
        if (u == v) rd_.failAt(childAt, err::FmtParentTwice, "v" + std::to_string(v), "scope");
      scope.push_back(v);
    }
    size_t child = scope.back();
    SketchVar& var = sketch_.vars[child];
    if (var.hasFamily) rd_.failAt(childAt, err::UaiTwoTables, static_cast<int>(child));
    var.hasFamily = true;
    sketch_.startParents(var);
    for (size_t k = 0; k + 1 < scope.size(); ++k) sketch_.addParent(var, scope[k]);  // none repeated
    double entries = sketch_.rows(var) * static_cast<double>(var.numberedStates);
    if (entries > MAX_CPT_ENTRIES) rd_.failAt(childAt, err::FmtTableTooBig, var.text, entries);
    totalEntries_ += entries;
    return child;
  }

  void readTable(SketchVar& var) {
    ContextScope ctx(rd_, {"table of", var.text, ""});
    const double need = sketch_.rows(var) * static_cast<double>(var.numberedStates);
    rd_.skipSpace();
    TextPosition at = rd_.here();
    size_t given = count("a table's entry count", 0, 400000000);
    if (static_cast<double>(given) != need) rd_.failAt(at, err::FmtTableCount, var.text, static_cast<int>(given), need);
    std::vector<double>& entries = sketch_.entries;
    const size_t from = entries.size();
    for (size_t k = 0; k < given; ++k) {
      k += rd_.readPlainNumbers(entries, given - k);
      if (k == given) break;
      rd_.skipSpace();
      TextPosition nat = rd_.here();
      if (!rd_.readNumber(number_))
        rd_.failAt(nat, err::FmtBadNumber, rd_.atEnd() ? std::string("end of file") : rd_.readBareWord(""));
      if (!(number_.value >= 0 && number_.value <= 3.4e38)) rd_.failAt(nat, err::FmtBadProbability, number_.text, var.text);
      entries.push_back(number_.value);
    }
    sketch_.endTable(var, from);
  }

  TokenReader rd_;
  NetSketch sketch_;
  Number number_;
  std::vector<size_t> scope_;  // the scope being read
  double totalEntries_ = 0;    // of the tables whose scopes are read
};

}  // namespace

Bnet* readUaiNet(FileSpec& in, EnvCore* env, const std::vector<std::string>& names, const std::string& namesFile) {
  UaiReader reader(in);
  return reader.read(env, names, namesFile);
}

int readUaiEvidence(FileSpec& in, Bnet& net) {
  TokenReader rd(in, uaiSyntax());
  std::vector<double> nums;
  std::vector<TextPosition> where;
  Number num;
  while (rd.skipSpace() != TokenReader::END) {
    TextPosition at = rd.here();
    if (!rd.readNumber(num) || !num.integral || num.value < 0 || num.value > 1e9)
      rd.failAt(at, err::FmtBadNumber, num.text.empty() ? rd.readBareWord("") : num.text);
    nums.push_back(num.value);
    where.push_back(at);
  }
  if (nums.empty()) rd.failAt(TextPosition{1, 1}, err::FmtEmpty);
  // "N pairs...", or the older "1 N pairs..." (a sample count of 1).
  size_t first = 0;
  if (nums.size() != 1 + 2 * static_cast<size_t>(nums[0]) && nums[0] == 1 && nums.size() >= 2 &&
      nums.size() == 2 + 2 * static_cast<size_t>(nums[1]))
    first = 1;
  const size_t n = static_cast<size_t>(nums[first]);
  if (nums.size() - first - 1 != 2 * n)
    rd.failAt(where[first], err::UaiEvidenceCount, static_cast<int>(nums.size() - first - 1), static_cast<int>(n),
              static_cast<int>(2 * n));
  std::vector<std::pair<Bnode*, int>> findings;
  for (size_t k = 0; k < n; ++k) {
    size_t at = first + 1 + 2 * k;
    size_t index = static_cast<size_t>(nums[at]);
    if (index >= net.nodes.size())
      rd.failAt(where[at], err::UaiVariableIndex, std::to_string(index), static_cast<int>(net.nodes.size()));
    Bnode* node = net.nodes[index];
    if (nums[at + 1] >= node->numStates)
      rd.failAt(where[at + 1], err::UaiEvidenceValue, std::to_string(static_cast<long>(nums[at + 1])),
                static_cast<int>(index), node->numStates);
    for (const auto& f : findings)
      if (f.first == node) rd.failAt(where[at], err::UaiEvidenceTwice, static_cast<int>(index));
    findings.emplace_back(node, static_cast<int>(nums[at + 1]));
  }
  for (const auto& [node, state] : findings) enterState(*node, state, true, true);
  return static_cast<int>(findings.size());
}

}  // namespace quorva
