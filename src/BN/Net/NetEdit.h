// The one place where every edit of a net opens and closes: the undo record, the drop of the
// compiled form, and the listeners all hang here.
#pragma once
#include <memory>
#include <utility>
#include <vector>

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

// The parts of a node that an edit may change: its links (parents with their input names and
// delays, and children), its tables (with whether they follow its equation), and the rest of it
// (kind, type, states, levels, texts, finding, node sets, position, whether it is deleted).
enum NodeParts : unsigned { NODE_LINKS = 1, NODE_TABLES = 2, NODE_REST = 4, NODE_ALL = 7 };

// What an edit declares, when it opens, that it may change; the undo record saves just that.
struct UndoScope {
  enum Part { WholeNet, NodeTexts, NodeTables, CptRow, NodeFinding, AllFindings, Parts };
  Part part = WholeNet;
  Bnode* node = nullptr;
  const int* parentStates = nullptr;  // for CptRow: one per parent, EVERY_STATE allowed
  // For Parts: nodes with the parts of each that may change, and which of the net's own fields.
  std::vector<std::pair<Bnode*, unsigned>> nodes;
  bool netLists = false;  // the node order (nodes made or deleted), elimination order, node sets
  bool netTexts = false;  // the name, title, comment, user fields and visual flag

  // Name, title, comment, equation, state names, titles and comments, user fields.
  static UndoScope texts(Bnode& n) { return make(NodeTexts, &n); }
  static UndoScope tables(Bnode& n) { return make(NodeTables, &n); }
  static UndoScope cptRow(Bnode& n, const int* ps) { return make(CptRow, &n, ps); }
  static UndoScope finding(Bnode& n) { return make(NodeFinding, &n); }
  static UndoScope findings() { return make(AllFindings); }
  static UndoScope parts() { return make(Parts); }
  static UndoScope lists() { return parts().withLists(); }
  static UndoScope netFields() {
    UndoScope s = parts();
    s.netTexts = true;
    return s;
  }
  static UndoScope nodeParts(Bnode& n, unsigned what) { return parts().with(&n, what); }

  // Adds a node's parts; a null node, or a node of another net, adds nothing.
  UndoScope& with(Bnode* n, unsigned what);
  UndoScope& withLists() {
    netLists = true;
    return *this;
  }

 private:
  static UndoScope make(Part p, Bnode* n = nullptr, const int* ps = nullptr) {
    UndoScope s;
    s.part = p;
    s.node = n;
    s.parentStates = ps;
    return s;
  }
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
