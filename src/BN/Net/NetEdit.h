// The one place where every edit of a net opens and closes: the undo record, the drop of the
// compiled form, and the listeners all hang here.
#pragma once

namespace quorva {

class Bnet;

enum class EditKind {
  Structure,  // nodes, states, links, kinds: the compiled form is dropped
  Tables,     // table contents: compiled potentials must be reloaded
  Text,       // names, titles, comments, user fields, visual data
};

// Open an edit before the first change and commit it after the last.  An edit that is destroyed
// without a commit was abandoned by a refusal, which is raised before any change is made.
class NetEdit {
 public:
  NetEdit(Bnet& net, const char* what, EditKind kind) : net_(net), what_(what), kind_(kind) {}
  NetEdit(const NetEdit&) = delete;
  NetEdit& operator=(const NetEdit&) = delete;

  void commit();
  const char* what() const { return what_; }

 private:
  Bnet& net_;
  const char* what_;
  EditKind kind_;
};

}  // namespace quorva
