// The net and node blocks of a DNET text file.
#include "BN/Files/DnetWriter.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "BN/Net/Bnet.h"
#include "BN/Files/DnetNumbers.h"
#include "BN/Files/DnetTables.h"
#include "BN/Inference/JunctionTree.h"
#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "Quorva.h"

namespace quorva {

namespace {

constexpr const char* PROGRAM_NAME = "Quorva";
constexpr const char* DEFAULT_CREATOR = "someone";

const char* truth(bool b) { return b ? "TRUE" : "FALSE"; }

const char* measureWord(int measure) {
  static const char* const words[] = {"UNKNOWN_MEASURE", "NOMINAL", "PROXIMAL",
                                      "ORDINAL",         "INTERVAL", "RATIO"};
  return measure >= 0 && measure <= 5 ? words[measure] : "UNKNOWN_MEASURE";
}

// The "chance" word: a node with a function table is deterministic, every other one a chance node.
enum ChanceCode { INVERTABLE = 0, DETERMIN = 1, CHANCE = 2, UNKNOWN_CHANCE = 3 };
const char* chanceWord(int code) {
  static const char* const words[] = {"INVERTABLE", "DETERMIN", "CHANCE", "UNKNOWN_CHANCE"};
  return code >= 0 && code <= 3 ? words[code] : "UNKNOWN_CHANCE";
}
int chanceOf(const Bnode& node) { return node.tables.func.isAllocated() ? DETERMIN : CHANCE; }

// A per-dimension text ("delays", "persist"): bare when it is a number, else quoted.
std::string dimensionValue(const std::string& text) {
  if (text.empty()) return "0";
  char* end = nullptr;
  std::strtod(text.c_str(), &end);
  if (end && *end == '\0') return text;
  return quoteString(text);
}

std::vector<std::string> dimensionList(const std::vector<std::string>& values) {
  std::vector<std::string> items;
  for (const std::string& v : values) items.push_back(dimensionValue(v));
  return items;
}

bool anyNonEmpty(const std::vector<std::string>& texts) {
  for (const std::string& t : texts)
    if (!t.empty()) return true;
  return false;
}

void writeStringList(DnetOut& out, const char* keyword, const std::vector<std::string>& texts) {
  out.startLine();
  out.put(keyword);
  out.put(" = (");
  for (size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) out.put(", ");
    out.quoted(texts[i]);
  }
  out.put(");");
  out.endLine();
}

void writeUserFields(DnetOut& out, const UserFields& fields) {
  if (fields.size() == 0) return;
  out.openBlock("user U1");
  for (size_t i = 0; i < fields.size(); ++i) {
    const auto* f = fields.nth(i);
    out.stringField(f->first, f->second);
  }
  out.closeBlock();
}

std::string numberG(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%g", v);
  return buf;
}

bool beliefsCurrent(const Bnode& node) {
  const Bnet& net = *node.net;
  return net.jt && net.beliefsCurrent() && !node.beliefs.empty() &&
         node.beliefsVersion == net.jt->version + 1;
}

void writeNode(DnetOut& out, const Bnode& node, const Bnode& empty) {
  out.openBlock(std::string(node.kind == DISCONNECTED ? "param " : "node ") + node.name);

  // Written when it differs from the default, or from what a reader infers from states and levels.
  bool inferredDiscrete = node.numStates > 0 || !node.details().levels.empty();
  if (node.type != empty.type || (node.type == DISCRETE) != inferredDiscrete)
    out.field("discrete", truth(node.type == DISCRETE));
  if (node.measure != empty.measure) out.field("measure", measureWord(node.measure));
  if (node.numStates != empty.numStates) out.field("numstates", std::to_string(node.numStates));
  if (!node.stateNames.empty()) {
    std::vector<std::string> names;
    for (int s = 0; s < node.numStates; ++s) names.push_back(dnetStateValue(node, s));
    out.listField("states", names);
  }
  if (anyNonEmpty(node.details().stateTitles)) writeStringList(out, "statetitles", node.details().stateTitles);
  if (anyNonEmpty(node.details().stateComments)) writeStringList(out, "StateComments", node.details().stateComments);
  if (node.details().levels != empty.details().levels) {
    std::vector<std::string> levels;
    for (double v : node.details().levels) levels.push_back(listNumber(v));
    out.listField("levels", levels);
  }
  if (node.kind != empty.kind) out.field("kind", nodeKindWord(node.kind));
  if (chanceOf(node) != chanceOf(empty)) out.field("chance", chanceWord(chanceOf(node)));

  bool anyInput = false, anyDelay = false;
  for (const Link& link : node.parents) {
    anyInput = anyInput || !link.inputName.empty();
    anyDelay = anyDelay || link.hasDelay();
  }
  if (anyInput) {
    std::vector<std::string> inputs;
    for (const Link& link : node.parents) inputs.push_back(link.inputName.empty() ? "\"\"" : link.inputName);
    out.listField("inputs", inputs);
  }
  if (!node.parents.empty()) {
    std::vector<std::string> parents;
    for (const Link& link : node.parents) parents.push_back(link.parent->name);
    out.listField("parents", parents);
  }
  writeNodeTables(out, node);
  if (node.details().equation != empty.details().equation) out.stringField("equation", node.details().equation);
  if (node.eqnDirty != empty.eqnDirty) out.field("EqnDirty", truth(node.eqnDirty));
  if (anyDelay) {
    std::vector<std::string> vectors;
    for (const Link& link : node.parents) vectors.push_back(DnetOut::list(dimensionList(link.delays)));
    out.listField("delays", vectors);
  }
  if (anyNonEmpty(node.details().persistence)) out.listField("persist", dimensionList(node.details().persistence));
  if (node.visX != empty.visX || node.visY != empty.visY)
    out.listField("position", {listNumber(node.visX), listNumber(node.visY)});
  if (node.details().title != empty.details().title) out.stringField("title", node.details().title);
  if (node.details().comment != empty.details().comment) out.stringField("comment", node.details().comment);

  const Finding& f = node.finding;
  if (f.state >= 0) out.field("evidence", dnetStateValue(node, f.state));
  if (!std::isnan(f.value)) out.field("value", numberG(f.value));
  if (f.state < 0 && !f.likelihood.empty()) {
    std::vector<std::string> items;
    for (float v : f.likelihood) items.push_back(listNumber(v));
    out.listField("likelihood", items);
  }
  if (beliefsCurrent(node)) {
    std::vector<std::string> items;
    for (float v : node.beliefs) items.push_back(listNumber(v));
    out.listField("belief", items);
  }
  writeUserFields(out, node.details().userFields);
  out.closeBlock();
}

}  // namespace

std::string programVersion() {
  char text[32];
  std::snprintf(text, sizeof text, "%d.%02d", QUORVA_VERSION / 100, QUORVA_VERSION % 100);
  return text;
}

std::string creatorLine() {
  std::string text = std::string("// File created by ") + DEFAULT_CREATOR + " using " + PROGRAM_NAME + " " +
                     programVersion();
  std::time_t now = std::time(nullptr);
  std::tm utc{};
  if (now != static_cast<std::time_t>(-1) && gmtime_r(&now, &utc)) {
    char date[64], clock[64];
    if (std::strftime(date, sizeof date, "%x", &utc) > 0 && std::strftime(clock, sizeof clock, "%X", &utc) > 0)
      text += std::string(" on ") + date + " at " + clock + " UTC";
  }
  return text + ".";
}

std::string dnetNetText(const Bnet& net, const DnetLayout& layout) {
  Settings& settings = net.env->settings;
  int version = settings.formatVersion();
  QuoteStyle quote;
  quote.rawUtf8 = settings.leaveUnicodeRaw() && version >= 200;
  DnetOut out(layout, quote);

  out.put("// ~->[DNET-" + std::to_string(version / 100) + "]->~");
  out.endLine();
  out.endLine();
  out.put(creatorLine());
  out.endLine();
  out.endLine();

  const Bnet emptyNet(net.env, "Empty_Net");
  const Bnode emptyNode(nullptr, "Empty_Node", 0);

  out.openBlock("bnet " + net.name);
  out.field("autoupdate", truth(net.autoUpdate));
  if (net.title != emptyNet.title) out.stringField("title", net.title);
  if (net.comment != emptyNet.comment) out.stringField("comment", net.comment);
  writeUserFields(out, net.userFields);
  for (const Bnode* node : net.nodes) {
    out.endLine();
    writeNode(out, *node, emptyNode);
  }
  if (!net.nodesets.empty() || !net.elimOrder.empty()) out.endLine();
  for (const Nodeset& set : net.nodesets) {
    std::vector<std::string> members;
    for (const Bnode* node : net.nodes)
      for (const std::string& s : node->details().nodesets)
        if (s == set.name) members.push_back(node->name);
    out.line("NodeSet " + set.name + " {Nodes = " + DnetOut::list(members) + ";};");
  }
  if (!net.elimOrder.empty()) {
    std::vector<std::string> names;
    for (const Bnode* node : net.elimOrder) names.push_back(node->name);
    out.listField("ElimOrder", names);
  }
  out.closeBlock();
  return out.take();
}

void writeDnetNet(const Bnet& net, FileSpec& out) { out.write(dnetNetText(net, DnetLayout{})); }

}  // namespace quorva
