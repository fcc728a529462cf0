// Undo records: before-images of parts of a net, swapped with the net's present state.
#include "BN/Net/UndoRecords.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <utility>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Net/UndoErrors.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/Raise.h"
#include "Quorva.h"

namespace quorva {

namespace {

size_t textBytes(const std::string& s) { return s.capacity() > 15 ? s.capacity() : 0; }
size_t textBytes(const std::vector<std::string>& v) {
  size_t n = v.capacity() * sizeof(std::string);
  for (const std::string& s : v) n += textBytes(s);
  return n;
}
size_t textBytes(const UserFields& fields) {
  size_t n = 0;
  for (size_t i = 0; i < fields.size(); ++i) n += textBytes(fields.nth(i)->first) + textBytes(fields.nth(i)->second);
  return n;
}
size_t tableBytes(const PotTable& t) { return t.isAllocated() ? t.size() * sizeof(float) : 0; }
size_t tablesBytes(const NodeTables& t) { return tableBytes(t.cpt) + tableBytes(t.func) + tableBytes(t.exper); }
size_t findingBytes(const Finding& f) {
  return sizeof(Finding) + (f.likelihood.capacity() + f.calibration.capacity()) * sizeof(float);
}

bool sameValue(double a, double b) { return a == b || (a != a && b != b); }
bool sameFinding(const Finding& a, const Finding& b) {
  return a.state == b.state && sameValue(a.value, b.value) && a.likelihood == b.likelihood &&
         a.calibration == b.calibration && a.action == b.action;
}

bool sameTable(const PotTable& a, const PotTable& b) {
  if (a.isAllocated() != b.isAllocated()) return false;
  if (!a.isAllocated()) return true;
  return a.sameNodesAs(b) && a.factor() == b.factor() &&
         std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}
bool sameTables(const NodeTables& a, const NodeTables& b) {
  return sameTable(a.cpt, b.cpt) && sameTable(a.func, b.func) && sameTable(a.exper, b.exper) && a.funcReal == b.funcReal;
}
bool sameFields(const UserFields& a, const UserFields& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (*a.nth(i) != *b.nth(i)) return false;
  return true;
}
bool sameLinks(const std::vector<Link>& a, const std::vector<Link>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Link& x, const Link& y) {
    return x.parent == y.parent && x.inputName == y.inputName && x.delays == y.delays;
  });
}

// The parts of a node that an edit declared it may change; swapped whole with the live node.
struct NodeImage {
  Bnode* node = nullptr;
  unsigned parts = NODE_ALL;
  // NODE_LINKS
  std::vector<Link> parents;
  std::vector<Bnode*> children;
  // NODE_TABLES
  NodeTables tables;
  bool eqnDirty = false;
  // NODE_REST
  uint8_t deleted = 1;
  std::string name, title, comment, equation;
  UserFields userFields;
  int kind = NATURE, type = DISCRETE, measure = 0, numStates = 0;
  std::vector<std::string> stateNames, stateTitles, stateComments;
  std::vector<double> levels;
  Finding finding;
  double visX = 0, visY = 0;
  std::vector<std::string> nodesets, persistence;

  // What a node made by the edit was before it: a deleted shell.
  static NodeImage shell(Bnode& n) {
    NodeImage im;
    im.node = &n;
    return im;
  }

  static NodeImage of(Bnode& n, unsigned parts) {
    NodeImage im;
    im.node = &n;
    im.parts = parts;
    if (parts & NODE_LINKS) {
      im.parents = n.parents;
      im.children = n.children;
    }
    if (parts & NODE_TABLES) {
      im.tables = n.tables;
      im.eqnDirty = n.eqnDirty;
    }
    if (parts & NODE_REST) {
      im.deleted = n.deleted;
      im.name = n.name;
      im.title = n.details().title;
      im.comment = n.details().comment;
      im.equation = n.details().equation;
      im.userFields = n.details().userFields;
      im.kind = n.kind;
      im.type = n.type;
      im.measure = n.measure;
      im.numStates = n.numStates;
      im.stateNames = n.stateNames;
      im.stateTitles = n.details().stateTitles;
      im.stateComments = n.details().stateComments;
      im.levels = n.details().levels;
      im.finding = n.finding;
      im.visX = n.visX;
      im.visY = n.visY;
      im.nodesets = n.details().nodesets;
      im.persistence = n.details().persistence;
    }
    return im;
  }

  void swapWith(Bnode& n) {
    using std::swap;
    if (parts & NODE_LINKS) {
      swap(parents, n.parents);
      swap(children, n.children);
    }
    if (parts & NODE_TABLES) {
      tables.cpt.swap(n.tables.cpt);
      tables.func.swap(n.tables.func);
      tables.exper.swap(n.tables.exper);
      swap(tables.funcReal, n.tables.funcReal);
      swap(eqnDirty, n.eqnDirty);
    }
    if (parts & NODE_REST) {
      NodeDetails& d = n.editDetails();
      swap(deleted, n.deleted);
      swap(name, n.name);
      swap(title, d.title);
      swap(comment, d.comment);
      swap(equation, d.equation);
      swap(userFields, d.userFields);
      swap(kind, n.kind);
      swap(type, n.type);
      swap(measure, n.measure);
      swap(numStates, n.numStates);
      swap(stateNames, n.stateNames);
      swap(stateTitles, d.stateTitles);
      swap(stateComments, d.stateComments);
      swap(levels, d.levels);
      swap(finding, n.finding);
      swap(visX, n.visX);
      swap(visY, n.visY);
      swap(nodesets, d.nodesets);
      swap(persistence, d.persistence);
    }
  }

  bool sameAs(const Bnode& n) const {
    if ((parts & NODE_LINKS) && !(sameLinks(parents, n.parents) && children == n.children)) return false;
    if ((parts & NODE_TABLES) && !(eqnDirty == n.eqnDirty && sameTables(tables, n.tables))) return false;
    if (!(parts & NODE_REST)) return true;
    const NodeDetails& d = n.details();
    return deleted == n.deleted && name == n.name && title == d.title && comment == d.comment &&
           equation == d.equation && sameFields(userFields, d.userFields) && kind == n.kind && type == n.type &&
           measure == n.measure && numStates == n.numStates && stateNames == n.stateNames &&
           stateTitles == d.stateTitles && stateComments == d.stateComments && levels == d.levels &&
           sameFinding(finding, n.finding) && visX == n.visX && visY == n.visY && nodesets == d.nodesets &&
           persistence == d.persistence;
  }

  size_t size() const {
    size_t n = sizeof(NodeImage) + textBytes(name) + textBytes(title) + textBytes(comment) +
               textBytes(equation) + textBytes(stateNames) + textBytes(stateTitles) +
               textBytes(stateComments) + textBytes(nodesets) + textBytes(persistence);
    n += levels.capacity() * sizeof(double) + children.capacity() * sizeof(Bnode*);
    for (const Link& l : parents) n += sizeof(Link) + textBytes(l.inputName) + textBytes(l.delays);
    n += textBytes(userFields);
    return n + tablesBytes(tables) + findingBytes(finding) - sizeof(Finding);
  }
};

// The net's own lists and texts.
struct NetImage {
  bool lists = false, texts = false;
  std::vector<Bnode*> nodes, elimOrder;
  std::vector<Nodeset> nodesets;
  std::string name, title, comment;
  UserFields userFields;
  bool hasVisual = false;

  static NetImage of(const Bnet& net, bool lists, bool texts) {
    NetImage im;
    im.lists = lists;
    im.texts = texts;
    if (lists) {
      im.nodes = net.nodes;
      im.elimOrder = net.elimOrder;
      im.nodesets = net.nodesets;
    }
    if (texts) {
      im.name = net.name;
      im.title = net.title;
      im.comment = net.comment;
      im.userFields = net.userFields;
      im.hasVisual = net.hasVisual;
    }
    return im;
  }

  void swapWith(Bnet& net) {
    if (lists) {
      std::swap(nodes, net.nodes);
      std::swap(elimOrder, net.elimOrder);
      std::swap(nodesets, net.nodesets);
    }
    if (texts) {
      std::swap(name, net.name);
      std::swap(title, net.title);
      std::swap(comment, net.comment);
      std::swap(userFields, net.userFields);
      std::swap(hasVisual, net.hasVisual);
    }
  }

  bool sameAs(const Bnet& net) const {
    if (lists) {
      if (nodes != net.nodes || elimOrder != net.elimOrder || nodesets.size() != net.nodesets.size()) return false;
      for (size_t i = 0; i < nodesets.size(); ++i)
        if (nodesets[i].name != net.nodesets[i].name || nodesets[i].color != net.nodesets[i].color) return false;
    }
    return !texts || (name == net.name && title == net.title && comment == net.comment &&
                      sameFields(userFields, net.userFields) && hasVisual == net.hasVisual);
  }

  size_t size() const {
    size_t n = (nodes.capacity() + elimOrder.capacity()) * sizeof(Bnode*) + textBytes(name) + textBytes(title) +
               textBytes(comment);
    for (const Nodeset& s : nodesets) n += sizeof(Nodeset) + textBytes(s.name);
    n += textBytes(userFields);
    return n;
  }
};

// Some parts of some nodes and of the net.  Auto updating is a setting the caller switches as it
// works, not an edit, and is left as it is.
class PartsRecord : public UndoRecord {
 public:
  PartsRecord(Bnet& net, const std::vector<std::pair<Bnode*, unsigned>>& nodes, bool lists, bool texts)
      : net_(NetImage::of(net, lists, texts)) {
    images_.reserve(nodes.size());
    for (const auto& [n, parts] : nodes)
      if (n->net == &net) images_.push_back(NodeImage::of(*n, parts));
    recount();
  }

  void apply(Bnet& net) override {
    if (net_.lists) {
      // Live nodes that the record holds in no way were made by the edit: they go back to shells.
      std::unordered_set<const Bnode*> held(net_.nodes.begin(), net_.nodes.end());
      for (const NodeImage& im : images_) held.insert(im.node);
      for (Bnode* n : net.nodes)
        if (!held.count(n)) images_.push_back(NodeImage::shell(*n));
    }
    for (NodeImage& im : images_) im.swapWith(*im.node);
    net_.swapWith(net);
    net.reindex();
    recount();
  }

  size_t size() const override { return bytes_; }
  bool unchanged(const Bnet& net) const override {
    return net_.sameAs(net) && std::all_of(images_.begin(), images_.end(), [](const NodeImage& im) { return im.sameAs(*im.node); });
  }

 private:
  void recount() {
    bytes_ = sizeof(PartsRecord) + net_.size();
    for (const NodeImage& im : images_) bytes_ += im.size();
  }

  NetImage net_;
  std::vector<NodeImage> images_;
  size_t bytes_ = 0;
};

// One node's texts: everything of it that no table, link or finding depends on.
class TextsRecord : public UndoRecord {
 public:
  explicit TextsRecord(Bnode& n)
      : node_(&n), name_(n.name), title_(n.details().title), comment_(n.details().comment),
        equation_(n.details().equation), eqnDirty_(n.eqnDirty), userFields_(n.details().userFields),
        stateNames_(n.stateNames), stateTitles_(n.details().stateTitles), stateComments_(n.details().stateComments) {}

  void apply(Bnet& net) override {
    bool renamed = name_ != node_->name;
    std::swap(name_, node_->name);
    std::swap(title_, node_->editDetails().title);
    std::swap(comment_, node_->editDetails().comment);
    std::swap(equation_, node_->editDetails().equation);
    std::swap(eqnDirty_, node_->eqnDirty);
    std::swap(userFields_, node_->editDetails().userFields);
    std::swap(stateNames_, node_->stateNames);
    std::swap(stateTitles_, node_->editDetails().stateTitles);
    std::swap(stateComments_, node_->editDetails().stateComments);
    if (renamed) net.reindex();
  }
  size_t size() const override {
    size_t n = sizeof(TextsRecord) + textBytes(name_) + textBytes(title_) + textBytes(comment_) +
               textBytes(equation_) + textBytes(stateNames_) + textBytes(stateTitles_) + textBytes(stateComments_);
    n += textBytes(userFields_);
    return n;
  }

 private:
  Bnode* node_;
  std::string name_, title_, comment_, equation_;
  bool eqnDirty_;
  UserFields userFields_;
  std::vector<std::string> stateNames_, stateTitles_, stateComments_;
};

// One node's tables (and whether they match its equation).
class TablesRecord : public UndoRecord {
 public:
  explicit TablesRecord(Bnode& n) : node_(&n), tables_(n.tables), eqnDirty_(n.eqnDirty) {}

  void apply(Bnet&) override {
    tables_.cpt.swap(node_->tables.cpt);
    tables_.func.swap(node_->tables.func);
    tables_.exper.swap(node_->tables.exper);
    std::swap(tables_.funcReal, node_->tables.funcReal);
    std::swap(eqnDirty_, node_->eqnDirty);
  }
  size_t size() const override { return sizeof(TablesRecord) + tablesBytes(tables_); }
  bool unchanged(const Bnet&) const override {
    return eqnDirty_ == node_->eqnDirty && sameTables(tables_, node_->tables);
  }

 private:
  Bnode* node_;
  NodeTables tables_;
  bool eqnDirty_;
};

// One row of a CPT whose factor is 1 (so that rewriting the row leaves the others as they were).
class CptRowRecord : public UndoRecord {
 public:
  CptRowRecord(Bnode& n, size_t row) : node_(&n), row_(row) {
    const PotTable& t = n.tables.cpt;
    entries_ = t.size();
    const float* from = t.data() + row * t.rowLength();
    values_.assign(from, from + t.rowLength());
  }

  void apply(Bnet& net) override {
    PotTable& t = node_->tables.cpt;
    if (!t.isAllocated() || t.size() != entries_ || t.rowLength() != values_.size())
      engError(net.env, err::UndoGarbled, static_cast<int>(stamp));
    t.setFactor(1.0);
    std::swap_ranges(values_.begin(), values_.end(), t.data() + row_ * t.rowLength());
  }
  size_t size() const override { return sizeof(CptRowRecord) + values_.capacity() * sizeof(float); }
  bool unchanged(const Bnet&) const override {
    const PotTable& t = node_->tables.cpt;
    return t.factor() == 1.0 && std::memcmp(values_.data(), t.data() + row_ * t.rowLength(),
                                            values_.size() * sizeof(float)) == 0;
  }

 private:
  Bnode* node_;
  size_t row_;
  size_t entries_;
  std::vector<float> values_;
};

// The findings of one node or of all.
class FindingsRecord : public UndoRecord {
 public:
  explicit FindingsRecord(std::vector<Bnode*> nodes) {
    for (Bnode* n : nodes) saved_.emplace_back(n, n->finding);
  }

  void apply(Bnet&) override {
    for (auto& [n, f] : saved_) std::swap(f, n->finding);
  }
  size_t size() const override {
    size_t n = sizeof(FindingsRecord);
    for (const auto& s : saved_) n += sizeof(Bnode*) + findingBytes(s.second);
    return n;
  }
  bool unchanged(const Bnet&) const override {
    return std::all_of(saved_.begin(), saved_.end(), [](const auto& s) { return sameFinding(s.second, s.first->finding); });
  }

 private:
  std::vector<std::pair<Bnode*, Finding>> saved_;
};

// The CPT row that `ps` names when it names exactly one, else -1.
long singleRow(const Bnode& n, const int* ps) {
  if (!ps && !n.parents.empty()) return -1;
  for (size_t i = 0; i < n.parents.size(); ++i)
    if (ps[i] < 0) return -1;
  return static_cast<long>(n.parents.empty() ? 0 : rowOffset(n, ps));
}

}  // namespace

std::unique_ptr<UndoRecord> saveBefore(Bnet& net, const UndoScope& scope) {
  switch (scope.part) {
    case UndoScope::CptRow: {
      const PotTable& t = scope.node->tables.cpt;
      long row = singleRow(*scope.node, scope.parentStates);
      if (row >= 0 && t.isAllocated() && t.factor() == 1.0)
        return std::make_unique<CptRowRecord>(*scope.node, static_cast<size_t>(row));
      return std::make_unique<TablesRecord>(*scope.node);
    }
    case UndoScope::NodeTexts:
      return std::make_unique<TextsRecord>(*scope.node);
    case UndoScope::NodeTables:
      return std::make_unique<TablesRecord>(*scope.node);
    case UndoScope::NodeFinding:
      return std::make_unique<FindingsRecord>(std::vector<Bnode*>{scope.node});
    case UndoScope::AllFindings:
      return std::make_unique<FindingsRecord>(net.nodes);
    case UndoScope::Parts:
      return std::make_unique<PartsRecord>(net, scope.nodes, scope.netLists, scope.netTexts);
    case UndoScope::WholeNet:
      break;
  }
  std::vector<std::pair<Bnode*, unsigned>> all;
  for (Bnode* n : net.nodes) all.emplace_back(n, NODE_ALL);
  return std::make_unique<PartsRecord>(net, all, true, true);
}

}  // namespace quorva
