// A drawing of the net where its file gives none: the layered layout of Graphviz ("dot"), made
// once when the server starts.  Graphviz measures in points with y upward; the page in pixels
// (one point each) with y downward, positions being the centres of the nodes' boxes.
#include <graphviz/gvc.h>

#include <map>
#include <string>

#include "ServeNetView.h"

namespace quorva::cli {

namespace {
// The page's box: a title line, then one line per state (keep in step with web/app.js).
constexpr double BOX_WIDTH = 200, DECISION_WIDTH = 250, TITLE_HEIGHT = 22, STATE_HEIGHT = 17;
constexpr double UTILITY_WIDTH = 150, UTILITY_HEIGHT = 70;
constexpr double POINTS_IN_INCH = 72;

// Graphviz takes attributes as mutable C strings.
char* text(const char* s) { return const_cast<char*>(s); }
}  // namespace

void nodeBoxSize(const node_bn* node, double& width, double& height) {
  const int kind = GetNodeKind_bn(node);
  if (kind == UTILITY_NODE) {
    width = UTILITY_WIDTH;
    height = UTILITY_HEIGHT;
    return;
  }
  width = kind == DECISION_NODE ? DECISION_WIDTH : BOX_WIDTH;
  height = TITLE_HEIGHT + STATE_HEIGHT * std::max(1, GetNodeNumberStates_bn(node)) + 6;
}

bool hasPositions(const net_bn* net) {
  for (node_bn* node : netNodes(net)) {
    double x = 0, y = 0;
    GetNodeVisPosition_bn(node, nullptr, &x, &y);
    if (x != 0 || y != 0) return true;
  }
  return false;
}

bool layOutNet(net_bn* net) {
  GVC_t* gvc = gvContext();
  if (!gvc) return false;
  Agraph_t* graph = agopen(text("net"), Agdirected, nullptr);
  agattr(graph, AGRAPH, text("nodesep"), text("0.4"));
  agattr(graph, AGRAPH, text("ranksep"), text("0.6"));
  agattr(graph, AGNODE, text("shape"), text("box"));
  agattr(graph, AGNODE, text("fixedsize"), text("true"));
  agattr(graph, AGNODE, text("width"), text("1"));
  agattr(graph, AGNODE, text("height"), text("1"));
  agattr(graph, AGNODE, text("label"), text(""));
  std::map<node_bn*, Agnode_t*> drawn;
  const std::vector<node_bn*> nodes = netNodes(net);
  for (node_bn* node : nodes) {
    Agnode_t* n = agnode(graph, text(GetNodeName_bn(node)), 1);
    double width = 0, height = 0;
    nodeBoxSize(node, width, height);
    agsafeset(n, text("width"), text(std::to_string(width / POINTS_IN_INCH).c_str()), text("1"));
    agsafeset(n, text("height"), text(std::to_string(height / POINTS_IN_INCH).c_str()), text("1"));
    drawn[node] = n;
  }
  for (node_bn* node : nodes) {
    const nodelist_bn* parents = GetNodeParents_bn(node);
    for (int i = 0, count = LengthNodeList_bn(parents); i < count; ++i) {
      auto from = drawn.find(GetNthNode_bn(parents, i));
      if (from != drawn.end()) agedge(graph, from->second, drawn[node], nullptr, 1);
    }
  }
  const bool laidOut = gvLayout(gvc, graph, "dot") == 0;
  if (laidOut) {
    const double top = GD_bb(graph).UR.y;
    for (node_bn* node : nodes) {
      const pointf at = ND_coord(drawn[node]);
      SetNodeVisPosition_bn(node, nullptr, at.x + 20, top - at.y + 20);
    }
    gvFreeLayout(gvc, graph);
  }
  agclose(graph);
  gvFreeContext(gvc);
  return laidOut;
}

}  // namespace quorva::cli
