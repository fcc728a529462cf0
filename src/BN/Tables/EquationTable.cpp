// Building a node's table from its equation: the checks, the plan, the rows built in parallel
// blocks, the faults reported with the row they happened in, and the new table put in place at
// once.
#include "BN/Tables/EquationTable.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <thread>

#include "BN/Net/Bnet.h"
#include "BN/Net/NetEdit.h"
#include "BN/Tables/EquationRows.h"
#include "BN/Tables/EquationTableErrors.h"
#include "BN/Tables/NodeTables.h"
#include "Basic/EnvCore.h"
#include "Basic/Progress.h"
#include "Basic/Raise.h"
#include "Basic/RandomGen.h"
#include "Equation/EqnParser.h"

namespace quorva {

namespace {

// Float counts stay exact up to 2^24; a row takes no more samples than that.
constexpr int MAX_SAMPLES = 1 << 24;
// A block holds about this many evaluations (fixed by the plan alone, never by the thread count).
constexpr double BLOCK_WORK = 1 << 15;
constexpr size_t MAX_BLOCK_ROWS = 4096;

bool usesRandomized(const EqnExpr& e) {
  if (e.func && e.func->randomized) return true;
  return std::any_of(e.args.begin(), e.args.end(), [](const auto& a) { return usesRandomized(*a); });
}

bool continuous(const Bnode& n) { return n.type != DISCRETE; }
bool discretized(const Bnode& n) { return continuous(n) && n.details().levels.size() >= 2; }

// A discrete distribution (no cumulative routine) of the node's own value, or a continuous one.
const EqnFunc* distributionOfNode(const Equation& eq) {
  const EqnExpr& r = *eq.root;
  if (!r.isFuncExpr() || r.args.empty() || !r.args[0]->isVar() || r.args[0]->var != eq.outputIndex() ||
      r.args[0]->use != VarUse::Value)
    return nullptr;
  std::string_view name = r.func->name;
  return name.size() > 4 && name.substr(name.size() - 4) == "Dist" ? r.func : nullptr;
}

std::string linkName(const Link& l) { return l.inputName.empty() ? l.parent->name : l.inputName; }

EqnTablePlan makePlan(Bnode& node, const Equation& eq, const EquationTableOptions& opt, bool& randomized) {
  EnvCore* env = node.net->env;
  EqnTablePlan p;
  p.node = &node;
  p.eq = &eq;
  p.continuousNode = continuous(node);
  if (discretized(node)) p.nodeBounds = &node.details().levels;
  int drawn = 0;
  for (const Link& l : node.parents) {
    p.dims.push_back(std::max(l.parent->numStates, 1));
    p.parentBounds.push_back(continuous(*l.parent) ? &l.parent->details().levels : nullptr);
    drawn += continuous(*l.parent) ? 1 : 0;
  }
  p.strides.assign(p.dims.size(), 1);
  double rows = 1;
  for (size_t k = p.dims.size(); k-- > 0;) {
    p.strides[k] = static_cast<size_t>(rows);
    rows *= p.dims[k];
  }
  for (int v = 0; v < eq.outputIndex(); ++v) {
    size_t k = 0;
    while (k < node.parents.size() && linkName(node.parents[k]) != eq.vars[v].name) ++k;
    QASSERT(env, k < node.parents.size());
    p.varParent.push_back(static_cast<int>(k));
  }
  const bool nodeSampled = eq.probabilistic && p.continuousNode;
  const int sampledVars = drawn + (nodeSampled ? 1 : 0);
  const int samples = sampledVars == 0 ? 1 : opt.numSamples;
  randomized = usesRandomized(*eq.root);

  if (eq.probabilistic) {
    p.kind = EqnTableKind::Cpt;
    if (eq.probOfState >= 0) {
      p.outMode = EqnOutMode::BooleanPair;
    } else if (p.continuousNode) {
      const EqnFunc* dist = distributionOfNode(eq);
      p.outMode = !dist ? EqnOutMode::Sampled : dist->cdf ? EqnOutMode::Cdf : EqnOutMode::Index;
    }
  } else if (p.continuousNode && (samples == 1 || !p.nodeBounds || node.kind == UTILITY)) {
    p.kind = EqnTableKind::FuncReal;
  } else if (sampledVars == 0) {
    p.kind = EqnTableKind::FuncState;
  } else {
    p.kind = EqnTableKind::CountCpt;
  }
  if (randomized && (p.kind == EqnTableKind::FuncState || (p.kind == EqnTableKind::FuncReal && samples == 1)))
    engError(env, err::EqnTableRandomized, "Rand");
  // Nothing is drawn when the node's probabilities come without a draw and no parent is drawn:
  // every sample would be the same.
  const bool draws = drawn > 0 || randomized || p.outMode == EqnOutMode::Sampled ||
                     (!eq.probabilistic && samples > 1);
  p.samples = draws ? samples : 1;
  p.sampling = draws;
  p.states = p.kind == EqnTableKind::FuncState || p.kind == EqnTableKind::FuncReal ? 1 : node.numStates;
  if (rows * p.states > MAX_CPT_ENTRIES) engError(env, err::EqnTableTooLarge, node.name);
  p.rows = static_cast<size_t>(rows);
  return p;
}

// "A = a1, X = 2.5": the parent values of a row, a drawn parent's value as drawn.
std::string rowText(const EqnTablePlan& p, const RowFault& f) {
  const Bnode& node = *p.node;
  std::string s;
  for (size_t k = 0; k < node.parents.size(); ++k) {
    const Bnode& parent = *node.parents[k].parent;
    const int state = static_cast<int>(f.row / p.strides[k] % p.dims[k]);
    std::string value;
    if (p.parentBounds[k]) {
      auto v = std::find(p.varParent.begin(), p.varParent.end(), static_cast<int>(k));
      value = v == p.varParent.end() ? format("interval %d", state)
                                     : format("%g", f.values[static_cast<size_t>(v - p.varParent.begin())]);
    } else {
      value = parent.stateNames.empty() ? format("#%d", state) : parent.stateNames[static_cast<size_t>(state)];
    }
    s += (s.empty() ? "" : ", ") + parent.name + " = " + value;
  }
  return s;
}

template <class... A>
[[noreturn]] void failAtRow(EnvCore* env, const std::string& where, ErrDef d, const A&... a) {
  throwRecord(raiseRecord(env, SOUND_AND_PRINTED, ERROR_SEV, 0, -d.number, format(d.text, a...) + where));
}

ErrorRecord* lastRecord(EnvCore* env) {
  ErrorRecord* last = nullptr;
  for (ErrorRecord* r = env->errors.next(std::this_thread::get_id(), ERROR_SEV, nullptr); r;
       r = env->errors.next(std::this_thread::get_id(), ERROR_SEV, r))
    last = r;
  return last;
}

// Raises the fault of a row.  An evaluation fault was recorded by the evaluator while the row was
// built again on this thread (`before`: the last record before that); its message gains the row.
[[noreturn]] void reportFault(const EqnTablePlan& p, const RowFault& f, ErrorRecord* before) {
  const Bnode& node = *p.node;
  EnvCore* env = node.net->env;
  const std::string where = ", for parent values " + (node.parents.empty() ? std::string("(none)") : rowText(p, f)) +
                            " of >-node '" + node.name + "'";
  const char* plain = node.details().levels.empty() ? " without state-numbers" : "";
  switch (f.kind) {
    case RowFault::Eval:
      if (ErrorRecord* r = env->errors.next(std::this_thread::get_id(), ERROR_SEV, before)) {
        r->message += where;
        r->display.clear();
        throwRecord(r);
      }
      [[fallthrough]];
    case RowFault::None:  // the row did not fail again: nothing better to say
    case RowFault::Undefined:
      failAtRow(env, where, err::EqnTableUndefined, node.name);
    case RowFault::NotInteger:
      failAtRow(env, where, err::EqnTableNotInteger, node.name, f.value, plain);
    case RowFault::Negative:
      failAtRow(env, where, err::EqnTableNegativeState, node.name, static_cast<int>(f.value), plain);
    case RowFault::TooHigh:
      failAtRow(env, where, err::EqnTableStateTooHigh, node.name, f.value > 2e9 ? 2000000000 : static_cast<int>(f.value),
                node.numStates - 1, plain);
    case RowFault::NotALevel:
      failAtRow(env, where, err::EqnTableNotALevel, node.name, f.value);
    case RowFault::Outside:
      failAtRow(env, where, err::EqnTableOutsideIntervals, node.name, f.value);
    case RowFault::NegativeProb:
      break;
  }
  const std::string state = f.state >= 0 && !node.stateNames.empty() ? node.stateNames[static_cast<size_t>(f.state)]
                                                                      : format("#%d", f.state);
  failAtRow(env, where, err::EqnTableNegativeProb, node.name, f.value, state);
}

// The rows, built in blocks by several threads.
class RowRun {
 public:
  RowRun(const EqnTablePlan& plan, uint64_t seed, bool drawn, int threads)
      : p_(plan), seed_(seed), drawn_(drawn) {
    const double perRow = static_cast<double>(plan.samples) * std::max(plan.states, 1);
    blockRows_ = std::clamp<size_t>(static_cast<size_t>(BLOCK_WORK / perRow), 1, MAX_BLOCK_ROWS);
    blocks_ = (plan.rows + blockRows_ - 1) / blockRows_;
    threads_ = static_cast<int>(std::min<size_t>(static_cast<size_t>(std::max(threads, 1)), blocks_));
    cells_.assign(plan.rows * plan.rowLength(), 0.0);
    done_.assign(blocks_, 0);
    firstFailed_ = blocks_;
  }

  // Builds every row; false when some row failed (failedBlock() then names the first).
  bool run(ProgressHub& hub, Progress& progress) {
    std::vector<std::thread> workers;
    for (int t = 1; t < threads_; ++t) workers.emplace_back([&] { work(hub, nullptr); });
    work(hub, &progress);
    for (std::thread& w : workers) w.join();
    if (workerFault_) std::rethrow_exception(workerFault_);
    return firstFailed_.load() == blocks_;
  }

  // Builds the failed block again on this thread, recording what the evaluation reports.
  RowFault rerunFailed(EnvCore* env) {
    EvalContext ctx{env, nullptr};
    RowFault f;
    block(firstFailed_.load(), ctx, f);
    return f;
  }

  size_t rowsBuilt() const {
    size_t n = 0;
    for (size_t b = 0; b < blocks_; ++b)
      if (done_[b]) n += std::min(p_.rows, (b + 1) * blockRows_) - b * blockRows_;
    return n;
  }
  bool rowBuilt(size_t row) const { return done_[row / blockRows_] != 0; }
  const std::vector<double>& cells() const { return cells_; }

 private:
  void work(ProgressHub& hub, Progress* progress) {
    try {
      EvalContext ctx{nullptr, nullptr};
      RowFault f;
      for (size_t b = next_++; b < blocks_ && b < firstFailed_.load(); b = next_++) {
        if (hub.haltRequested()) return;
        if (!block(b, ctx, f)) {
          size_t seen = firstFailed_.load();
          while (b < seen && !firstFailed_.compare_exchange_weak(seen, b)) {
          }
          return;
        }
        done_[b] = 1;
        const size_t rows = rowsDone_ += std::min(p_.rows, (b + 1) * blockRows_) - b * blockRows_;
        if (progress) progress->update(static_cast<double>(rows) / static_cast<double>(p_.rows));
      }
    } catch (...) {
      std::lock_guard<std::mutex> hold(faultLock_);
      if (!workerFault_) workerFault_ = std::current_exception();
      firstFailed_ = 0;
    }
  }

  bool block(size_t b, EvalContext& ctx, RowFault& f) {
    const size_t begin = b * blockRows_, end = std::min(p_.rows, begin + blockRows_);
    std::fill(cells_.begin() + begin * p_.rowLength(), cells_.begin() + end * p_.rowLength(), 0.0);
    std::unique_ptr<RandomGen> rng;
    if (drawn_) {
      uint64_t x = seed_ + b * 0x9E3779B97F4A7C15ULL;
      rng = std::make_unique<RandomGen>(nullptr, splitMix64(x));
    }
    ctx.rng = rng.get();
    const bool ok = buildEquationRows(p_, begin, end, rng.get(), ctx, cells_.data() + begin * p_.rowLength(), f);
    ctx.rng = nullptr;
    return ok;
  }

  const EqnTablePlan& p_;
  uint64_t seed_;
  bool drawn_;
  size_t blockRows_ = 1, blocks_ = 0;
  int threads_ = 1;
  std::vector<double> cells_;
  std::vector<char> done_;
  std::atomic<size_t> next_{0}, rowsDone_{0};
  std::atomic<size_t> firstFailed_{~size_t{0}};  // the first block that failed (blocks_: none)
  std::mutex faultLock_;
  std::exception_ptr workerFault_;
};

// The finished tables, made before anything on the node changes.
struct NewTables {
  PotTable main, exper;
  bool funcReal = false;
  bool func = false;
  bool withExper = false;
};

const char* zeroRowsText(const EqnTablePlan& p) {
  return p.sampling ? "no nonzero probability was discovered by sampling"
                    : "its equation specified zero for all its states";
}

void finishCpt(Bnode& node, const EqnTablePlan& p, const RowRun& run, const EquationTableOptions& opt, NewTables& t) {
  EnvCore* env = node.net->env;
  const bool adding = opt.addExist && node.tables.cpt.isAllocated();
  PotTable old = adding ? node.tables.cpt : PotTable();
  if (adding) old.setFactor(1.0);
  const bool oldExper = opt.addExist && node.tables.exper.isAllocated();
  t.main = freshTable(node, true, undefFloat());
  t.withExper = opt.sampUnc;
  if (t.withExper) t.exper = freshTable(node, false, 0.0f);
  const size_t len = static_cast<size_t>(p.states);
  const std::vector<double>& cells = run.cells();
  size_t zeroRows = 0;
  std::vector<double> row(len);
  for (size_t r = 0; r < p.rows; ++r) {
    const float* before = adding ? old.data() + r * len : nullptr;
    const bool beforeDefined = before && std::none_of(before, before + len, [](float v) { return isReservedFloat(v); });
    const double beforeWeight = beforeDefined ? (oldExper ? node.tables.exper.data()[r] : 1.0) : 0.0;
    float* out = t.main.data() + r * len;
    if (!run.rowBuilt(r)) {
      if (beforeDefined) std::copy(before, before + len, out);
      continue;
    }
    double sum = 0;
    for (size_t j = 0; j < len; ++j) sum += cells[r * len + j];
    if (sum > 0) {
      for (size_t j = 0; j < len; ++j) row[j] = cells[r * len + j] / sum * p.samples;
    } else if (beforeDefined) {
      std::fill(row.begin(), row.end(), 0.0);
    } else {
      ++zeroRows;
      std::fill(row.begin(), row.end(), 1.0);
    }
    double total = 0;
    for (size_t j = 0; j < len; ++j) total += row[j] += beforeDefined ? before[j] * beforeWeight : 0.0;
    for (size_t j = 0; j < len; ++j) out[j] = static_cast<float>(total > 0 ? row[j] / total : 1.0 / len);
    if (t.withExper)
      t.exper.data()[r] = static_cast<float>((oldExper ? node.tables.exper.data()[r] : 0.0) + (sum > 0 ? p.samples : 0));
  }
  if (zeroRows == 0) return;
  if (node.parents.empty())
    engWarning(env, err::EqnTableParentlessZero, node.name, zeroRowsText(p));
  else
    engWarning(env, err::EqnTableUniformRows, node.name, static_cast<int>(zeroRows), static_cast<int>(p.rows),
               zeroRowsText(p));
}

void finishFunc(Bnode& node, const EqnTablePlan& p, const RowRun& run, NewTables& t) {
  t.func = true;
  t.funcReal = p.kind == EqnTableKind::FuncReal;
  t.main = freshTable(node, false, undefFloat());
  const std::vector<double>& cells = run.cells();
  for (size_t r = 0; r < p.rows; ++r)
    if (run.rowBuilt(r)) t.main.data()[r] = static_cast<float>(cells[r]);
}

}  // namespace

bool needsTableFromEquation(const Bnode& node) {
  return !node.details().equation.empty() && !node.tables.cpt.isAllocated() && !node.tables.func.isAllocated();
}

void equationToTable(Bnode& node, const EquationTableOptions& opt) {
  EnvCore* env = node.net->env;
  for (const Link& l : node.parents)
    if (continuous(*l.parent) && !discretized(*l.parent))
      engError(env, err::EqnTableParentNoLevels, node.name, l.parent->name);
  if (node.details().equation.empty()) engError(env, err::EqnTableNoEquation, node.name);
  std::unique_ptr<Equation> eq = parseEquation(env, eqnSourceOf(node, node.details().equation));
  if (eq->probabilistic && continuous(node) && !discretized(node)) engError(env, err::EqnTableNodeNoLevels, node.name);
  bool randomized = false;
  EquationTableOptions o = opt;
  if (o.numSamples > MAX_SAMPLES) {
    engWarning(env, eq->probabilistic ? err::EqnTableCellOverflow : err::EqnTableRowOverflow, MAX_SAMPLES, o.numSamples,
               node.name);
    o.numSamples = MAX_SAMPLES;
  }
  const EqnTablePlan plan = makePlan(node, *eq, o, randomized);

  const bool drawn = plan.sampling;
  const uint64_t seed = drawn ? node.net->randgen.pick(env).next64() : 0;
  int threads = o.threads;
  if (threads <= 0) {  // one per processor, for work worth starting threads for
    threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    if (static_cast<double>(plan.rows) * plan.samples * std::max(plan.states, 1) < 20000) threads = 1;
  }
  RowRun run(plan, seed, drawn, threads);
  const std::string what = "generating >-CPTable for node '" + node.name + "'";
  {
    Progress progress(env->progress, what);
    if (!run.run(env->progress, progress)) {
      ErrorRecord* before = lastRecord(env);
      reportFault(plan, run.rerunFailed(env), before);
    }
  }
  const size_t built = run.rowsBuilt();

  NewTables t;
  if (plan.kind == EqnTableKind::Cpt || plan.kind == EqnTableKind::CountCpt)
    finishCpt(node, plan, run, o, t);
  else
    finishFunc(node, plan, run, t);

  NetEdit edit(*node.net, "table from equation", EditKind::Tables, UndoScope::tables(node));
  if (t.func) {
    node.tables.clear();
    node.tables.func = std::move(t.main);
    node.tables.funcReal = t.funcReal;
  } else {
    if (!o.addExist) node.tables.clear();
    node.tables.cpt = std::move(t.main);
    if (t.withExper) node.tables.exper = std::move(t.exper);
  }
  node.eqnDirty = false;
  edit.commit();
  if (built < plan.rows)
    engWarning(env, err::EqnTableHalted, node.name, static_cast<int>(built), static_cast<int>(plan.rows));
}

}  // namespace quorva
