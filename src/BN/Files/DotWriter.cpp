// Writing DOT digraphs, plain or with belief bars as HTML labels.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "BN/Files/Dot.h"
#include "BN/Files/NetFormatErrors.h"
#include "BN/Files/NetFormatSketch.h"
#include "BN/Inference/BeliefUpdate.h"
#include "BN/Net/Bnet.h"
#include "Basic/Raise.h"
#include "Basic/Stream.h"

namespace quorva {

namespace {

// A DOT quoted string.
std::string quoted(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n') out += "\\n";
    else if (c != '\r') out += c;
  }
  return out + "\"";
}

// Text inside an HTML label.
std::string html(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '&') out += "&amp;";
    else if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else if (c == '"') out += "&quot;";
    else if (c == '\n' || c == '\r') out += ' ';
    else out += c;
  }
  return out;
}

const char* shapeOf(const Bnode& n) {
  return n.kind == DECISION ? "box" : n.kind == UTILITY ? "diamond" : "ellipse";
}

// The HTML label of a node with its beliefs: a header row, then a row per state.
std::string barsLabel(Bnode& n, const std::string& title) {
  const std::vector<float>& beliefs = nodeBeliefs(n);
  std::vector<std::string> states = stateNamesOf(n);
  std::string t = "<<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLSPACING=\"1\">";
  t += "<TR><TD COLSPAN=\"3\"><B>" + html(title) + "</B></TD></TR>";
  for (size_t s = 0; s < states.size(); ++s) {
    double p = s < beliefs.size() ? beliefs[s] : 0;
    char percent[16];
    std::snprintf(percent, sizeof percent, "%.1f", 100 * p);
    long width = std::lround(100 * p);
    const std::vector<std::string>& titles = n.details().stateTitles;
    t += "<TR><TD ALIGN=\"LEFT\">" + html(s < titles.size() && !titles[s].empty() ? titles[s] : states[s]) +
         "</TD><TD ALIGN=\"RIGHT\">" + percent + "</TD><TD ALIGN=\"LEFT\" WIDTH=\"100\">";
    if (width > 0)
      t += "<TABLE BORDER=\"0\" CELLPADDING=\"0\" CELLSPACING=\"0\"><TR><TD BGCOLOR=\"#336699\" WIDTH=\"" +
           std::to_string(width) + "\" HEIGHT=\"8\" FIXEDSIZE=\"TRUE\"></TD></TR></TABLE>";
    t += "</TD></TR>";
  }
  return t + "</TABLE>>";
}

}  // namespace

void writeDotNet(Bnet& net, FileSpec& out, bool bars) {
  if (bars && !net.jt) engError(net.env, err::FmtNeedsCompiled, net.name);
  bool positions = false;
  for (const Bnode* n : net.nodes) positions = positions || n->visX != 0 || n->visY != 0;
  std::string text = "digraph " + quoted(net.title.empty() ? net.name : net.title) + " {\n";
  text += "  node [fontname=\"Helvetica\"];\n";
  for (Bnode* n : net.nodes) {
    const std::string title = n->details().title.empty() ? n->name : n->details().title;
    text += "  " + n->name + " [";
    if (bars && n->kind != UTILITY && n->hasStates())
      text += std::string("shape=") + (n->kind == DECISION ? "box" : "box, style=rounded") + ", label=" + barsLabel(*n, title);
    else
      text += std::string("shape=") + shapeOf(*n) + ", label=" + quoted(title);
    if (positions) text += ", pos=\"" + floatText(n->visX) + "," + floatText(-n->visY) + "!\"";
    text += "];\n";
  }
  for (const Bnode* n : net.nodes)
    for (const Link& l : n->parents) text += "  " + l.parent->name + " -> " + n->name + ";\n";
  text += "}\n";
  out.write(text);
}

}  // namespace quorva
