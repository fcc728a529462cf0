// Writing BIF nets.  Each name is written as its title when the reader would map that title back
// to the same name (the title being the original text of a name made legal on import), and as
// the name itself otherwise.
#include "BN/Files/BifWriter.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <string>
#include <unordered_set>
#include <vector>

#include "BN/Files/BifErrors.h"
#include "BN/Files/BifReader.h"
#include "BN/Net/Bnet.h"
#include "BN/Tables/NodeTableOps.h"
#include "Basic/Stream.h"
#include "Basic/IdName.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

// A text the reader takes as one name: printable ASCII that holds no character ending a word
// and opens no comment.
bool isBifWord(const std::string& s) {
  if (s.empty()) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    char c = s[i];
    if (c <= ' ' || c > '~' || BIF_WORD_STOPS.find(c) != std::string_view::npos) return false;
    if (c == '/' && i + 1 < s.size() && (s[i + 1] == '/' || s[i + 1] == '*' || s[i + 1] == '#')) return false;
  }
  return true;
}

// The texts to write for `names` (in the order the reader meets them), given their titles.
std::vector<std::string> bifTexts(const std::vector<std::string>& names,
                                  const std::vector<std::string>& titles) {
  std::vector<std::string> out;
  std::unordered_set<std::string> earlierNames, written;
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string title = i < titles.size() ? titles[i] : "";
    bool useTitle = isBifWord(title) && !written.count(title) &&
                    uniqueName(title, [&earlierNames](const std::string& n) {
                      return earlierNames.count(n) > 0;
                    }) == names[i];
    out.push_back(useTitle ? title : names[i]);
    written.insert(out.back());
    earlierNames.insert(names[i]);
  }
  return out;
}

// The shortest decimal that reads back to the same float (0.01f is "0.01", not 0.00999999978).
std::string number(double v) {
  char buf[40];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<float>(v));
  return ec == std::errc() ? std::string(buf, end) : std::to_string(v);
}

}  // namespace

void writeBifNet(const Bnet& net, FileSpec& out) {
  std::vector<std::string> nodeNames, nodeTitles;
  for (const Bnode* n : net.nodes) {
    if (!n->hasStates()) engError(net.env, err::BifNoStates, n->name);
    nodeNames.push_back(n->name);
    nodeTitles.push_back(n->details().title);
  }
  std::vector<std::string> nodeTexts = bifTexts(nodeNames, nodeTitles);
  std::vector<std::vector<std::string>> stateTexts;
  for (const Bnode* n : net.nodes) {
    std::vector<std::string> names = n->stateNames;
    if (names.empty())
      for (int s = 0; s < n->numStates; ++s) names.push_back("state" + std::to_string(s));
    stateTexts.push_back(bifTexts(names, n->details().stateTitles));
  }
  auto indexOf = [&net](const Bnode* n) {
    size_t i = 0;
    while (net.nodes[i] != n) ++i;
    return i;
  };

  bool titleMaps = isBifWord(net.title) && legalName(net.title) == net.name;
  std::string text = "network " + (titleMaps ? net.title : net.name) + " {\n}\n";
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    text += "variable " + nodeTexts[i] + " {\n  type discrete [ " +
            std::to_string(net.nodes[i]->numStates) + " ] { ";
    for (size_t s = 0; s < stateTexts[i].size(); ++s) text += (s ? ", " : "") + stateTexts[i][s];
    text += " };\n}\n";
  }
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    Bnode& node = *net.nodes[i];
    std::vector<size_t> parents;
    for (const Link& l : node.parents) parents.push_back(indexOf(l.parent));
    text += "probability ( " + nodeTexts[i];
    for (size_t k = 0; k < parents.size(); ++k) text += (k ? ", " : " | ") + nodeTexts[parents[k]];
    text += " ) {\n";
    // Only a complete table is written; a node without one keeps just its parents.
    std::vector<double> cpt = node.tables.cpt.isAllocated()
                                  ? readTable(node, WhichTable::Cpt, nullptr)
                                  : std::vector<double>{};
    bool complete = !cpt.empty();
    for (double v : cpt) complete = complete && std::isfinite(v);
    const size_t nc = static_cast<size_t>(node.numStates);
    const size_t rows = complete ? cpt.size() / nc : 0;
    for (size_t r = 0; r < rows; ++r) {
      if (parents.empty()) {
        text += "  table ";
      } else {
        std::vector<std::string> texts(parents.size());
        size_t rest = r;
        for (size_t k = parents.size(); k-- > 0;) {
          const std::vector<std::string>& states = stateTexts[parents[k]];
          texts[k] = states[rest % states.size()];
          rest /= states.size();
        }
        text += "  (";
        for (size_t k = 0; k < texts.size(); ++k) text += (k ? ", " : "") + texts[k];
        text += ") ";
      }
      for (size_t c = 0; c < nc; ++c) text += (c ? ", " : "") + number(cpt[r * nc + c]);
      text += ";\n";
    }
    text += "}\n";
  }
  out.write(text);
}

}  // namespace quorva
