// Setting and reading node tables by row and by sub-table.
#pragma once
#include <string>
#include <vector>

namespace quorva {

class Bnode;

enum class WhichTable { Cpt, Exper, FuncState, FuncReal };

inline constexpr int EVERY_STATE_VALUE = -5;

// Refuses parent states out of range (EVERY_STATE only where `allowEvery`).
void checkParentStates(const Bnode& node, const int* parentStates, bool allowEvery);
// The rows at parent states that may hold EVERY_STATE (null: every row), first parent slowest.
std::vector<size_t> matchingRows(const Bnode& node, const int* parentStates);

void setProbs(Bnode& node, const int* parentStates, const float* probs);
// The row (or the whole CPT with null states), rescaled to factor 1; null when there is no CPT.
const float* getProbs(Bnode& node, const int* parentStates);
void setFuncState(Bnode& node, const int* parentStates, int state);
void setFuncReal(Bnode& node, const int* parentStates, double value);
int getFuncState(const Bnode& node, const int* parentStates);
double getFuncReal(const Bnode& node, const int* parentStates);
void setExperience(Bnode& node, const int* parentStates, double experience);
double getExperience(const Bnode& node, const int* parentStates);
void deleteTables(Bnode& node);

// Whole tables and sub-tables as doubles (undefined entries as the undefined double).
size_t entriesPerRow(const Bnode& node, WhichTable which);
// The number of entries of the sub-table at parent states that may hold EVERY_STATE (null: the
// whole table), counted without building it.
double subTableEntries(const Bnode& node, WhichTable which, const int* parentStates);
std::vector<double> readTable(Bnode& node, WhichTable which, const int* parentStates);
void writeTable(Bnode& node, WhichTable which, const int* parentStates, const double* values);
// Removes one table as an edit of the net; a function table goes only when it has the form asked
// for.  Nothing happens when the node has no such table.
void removeTable(Bnode& node, WhichTable which);
// Refuses what SetNodeTable_bn may not set on this node.
void checkTableSettable(const Bnode& node, WhichTable which, const std::string& whichName);

}  // namespace quorva
