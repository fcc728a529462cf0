// Parsing equation text into an Equation, and printing one back as text.
//
// Two forms:
//   Out (In1, In2, ...) = expression              deterministic: the value of Out ("f" may stand
//                                                 for Out)
//   P (Out, <Cdf, ... | In1, In2, ...) = expression  probabilistic: the probability of Out's state
//
// Every fault is an error record with the position in the text (it ends the parse, and nothing is
// kept); warnings are recorded and parsing goes on.  Parsing never changes the node.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "Equation/EqnExpr.h"

namespace quorva {

class EnvCore;
class Bnode;
struct TextPosition;

// What an equation is parsed against.
struct EqnSource {
  std::string text;
  EqnVar output;
  std::vector<EqnVar> inputs;  // what the head may name: each link's name, or its parent's name
  // Named constants besides the built-in ones (null: none).  With `addUnknownConsts`, a name that
  // resolves to nothing else is added to it with the undefined value.
  std::vector<std::unique_ptr<EqnConst>>* constants = nullptr;
  bool addUnknownConsts = false;
  std::string streamName;  // names the text in messages ("" for none)
};

// The source for a node's equation text: its parents (by link name where the link has one).
EqnSource eqnSourceOf(const Bnode& node, std::string text);

// Parses; throws the error record (QuorvaError) on a fault, after setting `stoppedAt` (when not
// null) to where in the text the parse stopped.
std::unique_ptr<Equation> parseEquation(EnvCore* env, const EqnSource& src, TextPosition* stoppedAt = nullptr);

// The equation as text: its head, " = ", and the expression.
std::string printEquation(const Equation& eq);
// One expression as text.
std::string printExpr(const Equation& eq, const EqnExpr& e);

// Number formatting used in printing ("%.15g"; "undef"; "1e999" for an infinite literal).
std::string formatEqnNumber(double v);

// Whether the text names a unit a number may carry ("state" and units of measure).
bool isEqnUnit(std::string_view word);

}  // namespace quorva
