// The one place where every edit of a net opens and closes: the undo record, the drop of the
// compiled form, and the listeners all hang here.
#pragma once
#include <memory>

namespace quorva {

class Bnet;
class Bnode;
class UndoRecord;

enum class EditKind {
  Structure,  // nodes, states, links, kinds: the compiled form is dropped
  Tables,     // table contents: compiled potentials must be reloaded
  Text,       // names, titles, comments, user fields, visual data
  Findings,   // findings: the findings code marks beliefs stale itself
};

// What an edit declares, when it opens, that it may change; the undo record saves just that.
struct UndoScope {
  enum Part { WholeNet, NodeTexts, NodeTables, CptRow, NodeFinding, AllFindings };
  Part part = WholeNet;
  Bnode* node = nullptr;
  const int* parentStates = nullptr;  // for CptRow: one per parent, EVERY_STATE allowed

  // Name, title, comment, equation, state names, titles and comments, user fields.
  static UndoScope texts(Bnode& n) { return {NodeTexts, &n, nullptr}; }
  static UndoScope tables(Bnode& n) { return {NodeTables, &n, nullptr}; }
  static UndoScope cptRow(Bnode& n, const int* ps) { return {CptRow, &n, ps}; }
  static UndoScope finding(Bnode& n) { return {NodeFinding, &n, nullptr}; }
  static UndoScope findings() { return {AllFindings, nullptr, nullptr}; }
};

// Open an edit before the first change and commit it after the last.  An edit that is destroyed
// without a commit was abandoned by a refusal, which is raised before any change is made.
class NetEdit {
 public:
  NetEdit(Bnet& net, const char* what, EditKind kind, UndoScope scope = {});
  ~NetEdit();
  NetEdit(const NetEdit&) = delete;
  NetEdit& operator=(const NetEdit&) = delete;

  void commit();
  const char* what() const { return what_; }

 private:
  Bnet& net_;
  const char* what_;
  EditKind kind_;
  std::unique_ptr<UndoRecord> record_;  // the before-image, while undo is recording
  bool counted_ = false;
};

}  // namespace quorva
