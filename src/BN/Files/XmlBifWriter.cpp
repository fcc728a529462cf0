// Writing XMLBIF 0.3 nets through pugixml, which escapes the texts.
#include <pugixml.hpp>

#include <cmath>
#include <string>
#include <vector>

#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Files/XmlBif.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTableOps.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"

namespace quorva {

namespace {

// A text the reader gives back unchanged: not empty, no blanks at its ends.
bool holdsInXml(const std::string& s) {
  const char* blanks = " \t\r\n";
  return !s.empty() && std::string(blanks).find(s.front()) == std::string::npos &&
         std::string(blanks).find(s.back()) == std::string::npos;
}

struct StringWriter : pugi::xml_writer {
  std::string text;
  void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
};

// The table of a node as numbers separated by spaces, or "" when it has no complete one.
std::string tableText(Bnode& node) {
  bool utility = node.kind == UTILITY;
  const PotTable& t = utility ? node.tables.func : node.tables.cpt;
  if (!t.isAllocated() || (utility && !node.tables.funcReal)) return "";
  std::vector<double> values = readTable(node, utility ? WhichTable::FuncReal : WhichTable::Cpt, nullptr);
  std::string text;
  for (double v : values) {
    if (!std::isfinite(v)) return "";
    text += (text.empty() ? "" : " ") + floatText(v);
  }
  return text;
}

}  // namespace

void writeXmlBifNet(const Bnet& net, FileSpec& out) {
  std::vector<std::string> names, titles;
  bool positions = false;
  for (const Bnode* n : net.nodes) {
    if (n->kind != UTILITY && !n->hasStates()) engError(net.env, err::FmtNoStatesWrite, n->name, "XMLBIF");
    names.push_back(n->name);
    titles.push_back(n->details().title);
    positions = positions || n->visX != 0 || n->visY != 0;
  }
  std::vector<std::string> texts = exportTexts(names, titles, holdsInXml);

  pugi::xml_document doc;
  pugi::xml_node decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  pugi::xml_node bif = doc.append_child("BIF");
  bif.append_attribute("VERSION") = "0.3";
  pugi::xml_node network = bif.append_child("NETWORK");
  bool netTitle = holdsInXml(net.title) && legalName(net.title) == net.name;
  network.append_child("NAME").text() = (netTitle ? net.title : net.name).c_str();
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    const Bnode& n = *net.nodes[i];
    pugi::xml_node v = network.append_child("VARIABLE");
    v.append_attribute("TYPE") = n.kind == DECISION ? "decision" : n.kind == UTILITY ? "utility" : "nature";
    v.append_child("NAME").text() = texts[i].c_str();
    if (n.kind != UTILITY) {
      std::vector<std::string> states = exportTexts(stateNamesOf(n), n.details().stateTitles, holdsInXml);
      for (const std::string& s : states) v.append_child("OUTCOME").text() = s.c_str();
    }
    if (positions) {
      std::string pos = "position = (" + doubleText(n.visX) + ", " + doubleText(n.visY) + ")";
      v.append_child("PROPERTY").text() = pos.c_str();
    }
  }
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    Bnode& n = *net.nodes[i];
    pugi::xml_node d = network.append_child("DEFINITION");
    d.append_child("FOR").text() = texts[i].c_str();
    for (const Link& l : n.parents) {
      size_t p = 0;
      while (net.nodes[p] != l.parent) ++p;
      d.append_child("GIVEN").text() = texts[p].c_str();
    }
    std::string table = tableText(n);
    if (!table.empty()) d.append_child("TABLE").text() = table.c_str();
  }
  StringWriter w;
  doc.save(w, "  ", pugi::format_default, pugi::encoding_utf8);
  out.write(w.text);
}

}  // namespace quorva
