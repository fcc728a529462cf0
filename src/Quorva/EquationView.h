// What the tools show of a node's equation: whether it parses against the node's parents and
// states, the equation printed back from its parse tree, the tree itself, its form and its value
// type; or, when it does not parse, the parser's message and where in the text it stopped.
#pragma once
#include <string>

#include "Quorva.h"

namespace quorva::tool {

struct EquationView {
  std::string text;            // the text parsed
  bool parses = false;
  // Parsed:
  std::string printed;         // the equation printed back
  std::string tree;            // its expression as nested calls: plus (A, mult (B, 2))
  bool probabilistic = false;
  std::string valueType;       // the expression's type: "boolean", "state", "integer", "real", ...
  // Not parsed:
  int number = 0;              // the error's number
  std::string message;         // its message, without the place and glossary marks
  long line = 0, column = 0;   // where the parse stopped (line 1, char 1 is the start)
};

// Parses `text` (the node's own equation when null) against the node as it is.  The parse's
// failure is given in `out`, not recorded; warnings of the parse stay recorded.  Nothing changes.
// False when the node is not valid (recorded).
bool viewEquation(node_bn* node, const char* text, EquationView& out);

}  // namespace quorva::tool
