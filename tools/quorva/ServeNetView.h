// The description of a net that `quorva serve` hands to its page, and the net's drawing layout.
#pragma once
#include <nlohmann/json.hpp>

#include "Engine.h"

namespace quorva::cli {

// {"name", "title", "nodes": [{"name", "title", "kind", "states", "state_titles", "parents",
// "position": [x, y], "comment", "equation", "table"}...]}, nodes in net order.
nlohmann::ordered_json describeNet(const net_bn* net);

// The size in pixels of a node's box on the page (as the page draws it), for the layout.
void nodeBoxSize(const node_bn* node, double& width, double& height);

// Whether some node of the net has a position other than (0, 0).
bool hasPositions(const net_bn* net);
// Places every node by a layered drawing of the net (each link downward where it can be),
// setting each node's position to its centre; false when the layout could not be made.
bool layOutNet(net_bn* net);

}  // namespace quorva::cli
