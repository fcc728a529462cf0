// Reading XMLBIF nets through pugixml.  Variables and definitions are gathered into a sketch and
// the net is built from it only when the whole file has been checked.
#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Files/XmlBif.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/TokenReader.h"

namespace quorva {

namespace {

std::string trimmed(const char* text) {
  std::string s(text);
  const char* blanks = " \t\r\n";
  size_t a = s.find_first_not_of(blanks), b = s.find_last_not_of(blanks);
  return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

class XmlBifReader {
 public:
  XmlBifReader(FileSpec& in) : rd_(in, Syntax{}, TokenReader::WHOLE) {}

  Bnet* read(EnvCore* env) {
    std::string_view text = rd_.text();
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) rd_.failAt(TextPosition{1, 1}, err::FmtEmpty);
    pugi::xml_parse_result ok = doc_.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!ok) rd_.failAt(at(static_cast<ptrdiff_t>(ok.offset)), err::XmlSyntax, ok.description());
    pugi::xml_node bif = doc_.child("BIF");
    if (!bif) rd_.failAt(TextPosition{1, 1}, err::XmlNoElement, "BIF", "the document");
    pugi::xml_attribute version = bif.attribute("VERSION");
    if (version && trimmed(version.value()) != "0.3") rd_.failAt(at(bif), err::XmlVersion, version.value());
    pugi::xml_node network = bif.child("NETWORK");
    if (!network) rd_.failAt(at(bif), err::XmlNoElement, "NETWORK", "BIF");
    sketch_.name = trimmed(network.child_value("NAME"));
    for (pugi::xml_node v : network.children("VARIABLE")) readVariable(v);
    for (pugi::xml_node d : network.children()) {
      if (std::strcmp(d.name(), "DEFINITION") == 0 || std::strcmp(d.name(), "PROBABILITY") == 0) readDefinition(d);
    }
    return buildNet(sketch_, env);
  }

 private:
  // The line and character of a byte offset into the text.
  TextPosition at(ptrdiff_t offset) const {
    std::string_view text = rd_.text();
    size_t end = offset < 0 ? 0 : std::min(static_cast<size_t>(offset), text.size());
    TextPosition p{1, 1};
    for (size_t i = 0; i < end; ++i) {
      if (text[i] == '\n') {
        ++p.line;
        p.column = 1;
      } else {
        ++p.column;
      }
    }
    return p;
  }
  TextPosition at(const pugi::xml_node& n) const { return at(n.offset_debug()); }

  // The trimmed text of the one child `name` of `n`; a located fault when there is none.
  std::string required(const pugi::xml_node& n, const char* name, const char* in) {
    pugi::xml_node c = n.child(name);
    if (!c) rd_.failAt(at(n), err::XmlNoElement, name, in);
    return trimmed(c.child_value());
  }

  void readVariable(const pugi::xml_node& v) {
    std::string text = required(v, "NAME", "VARIABLE");
    ContextScope ctx(rd_, {"VARIABLE", text, ""});
    if (index_.count(text)) rd_.failAt(at(v), err::FmtVariableTwice, text);
    SketchVar var;
    var.text = text;
    std::string type = trimmed(v.attribute("TYPE").as_string("nature"));
    if (type == "nature") var.kind = NATURE;
    else if (type == "decision") var.kind = DECISION;
    else if (type == "utility") var.kind = UTILITY;
    else rd_.failAt(at(v), err::XmlVariableType, text, type);
    var.states.reserve(4);  // most variables have few states: one allocation, not three
    for (pugi::xml_node o : v.children("OUTCOME")) {
      std::string s = trimmed(o.child_value());
      if (std::find(var.states.begin(), var.states.end(), s) != var.states.end())
        rd_.failAt(at(o), err::FmtStateTwice, s, text);
      var.states.push_back(std::move(s));
    }
    if (var.kind == UTILITY) var.states.clear();  // a utility is a value, not a variable with outcomes
    else if (var.states.empty()) rd_.failAt(at(v), err::FmtNoStates, text);
    for (pugi::xml_node p : v.children("PROPERTY")) readProperty(p, var);
    index_.emplace(text, sketch_.vars.size());
    sketch_.vars.push_back(std::move(var));
  }

  // "position = (x, y)"; other properties are passed over.
  void readProperty(const pugi::xml_node& p, SketchVar& var) {
    std::string s = trimmed(p.child_value());
    size_t eq = s.find('=');
    if (eq == std::string::npos || trimmed(s.substr(0, eq).c_str()) != "position") return;
    std::string value = trimmed(s.substr(eq + 1).c_str());
    for (char& c : value)
      if (c == '(' || c == ')' || c == ',') c = ' ';
    const char* cur = value.c_str();
    char* end = nullptr;
    double xy[2];
    for (double& d : xy) {
      d = std::strtod(cur, &end);
      if (end == cur || !std::isfinite(d)) rd_.failAt(at(p), err::XmlPosition, s, var.text);
      cur = end;
    }
    if (trimmed(cur) != "") rd_.failAt(at(p), err::XmlPosition, s, var.text);
    var.hasPosition = true;
    var.x = xy[0];
    var.y = xy[1];
  }

  size_t lookup(const std::string& text, const pugi::xml_node& n) {
    auto it = index_.find(text);
    if (it == index_.end()) rd_.failAt(at(n), err::FmtUnknownVariable, text);
    return it->second;
  }

  void readDefinition(const pugi::xml_node& d) {
    std::string childText = required(d, "FOR", d.name());
    ContextScope ctx(rd_, {d.name(), childText, ""});
    size_t child = lookup(childText, d.child("FOR"));
    SketchVar& var = sketch_.vars[child];
    if (var.hasFamily) rd_.failAt(at(d), err::FmtTableTwice, childText);
    var.hasFamily = true;
    sketch_.startParents(var);
    for (pugi::xml_node g : d.children("GIVEN")) {
      std::string text = trimmed(g.child_value());
      size_t p = lookup(text, g);
      if (p == child) rd_.failAt(at(g), err::FmtOwnParent, childText);
      if (sketch_.vars[p].kind == UTILITY) rd_.failAt(at(g), err::FmtUtilityChild, text, childText);
      if (!sketch_.addParent(var, p)) rd_.failAt(at(g), err::FmtParentTwice, text, childText);
    }
    pugi::xml_node table = d.child("TABLE");
    if (table) readTable(table, var);  // without one the node has no table
  }

  void readTable(const pugi::xml_node& table, SketchVar& var) {
    const double rows = sketch_.rows(var);
    const double need = var.kind == UTILITY ? rows : rows * static_cast<double>(var.states.size());
    if (need > MAX_CPT_ENTRIES) rd_.failAt(at(table), err::FmtTableTooBig, var.text, need);
    const char* cur = table.child_value();
    double count = 0;
    std::vector<double>& entries = sketch_.entries;
    const size_t from = entries.size();
    for (;;) {
      cur += std::strspn(cur, " \t\r\n");
      if (!*cur) break;
      char* end = nullptr;
      double v = std::strtod(cur, &end);
      auto word = [cur] { return std::string(cur, std::strcspn(cur, " \t\r\n")); };  // for a message
      if (end == cur || (*end && !std::strchr(" \t\r\n", *end))) rd_.failAt(at(table), err::FmtBadNumber, word());
      if (var.kind == UTILITY ? !std::isfinite(v) : !(v >= 0 && v <= 3.4e38))
        rd_.failAt(at(table), err::FmtBadProbability, word(), var.text);
      if (++count <= need) entries.push_back(v);
      cur = end;
    }
    if (count != need) rd_.failAt(at(table), err::FmtTableCount, var.text, static_cast<int>(std::min(count, 2e9)), need);
    sketch_.endTable(var, from);
  }

  TokenReader rd_;
  pugi::xml_document doc_;
  NetSketch sketch_;
  std::unordered_map<std::string, size_t> index_;  // by the name as written
};

}  // namespace

Bnet* readXmlBifNet(FileSpec& in, EnvCore* env) {
  XmlBifReader reader(in);
  return reader.read(env);
}

}  // namespace quorva
