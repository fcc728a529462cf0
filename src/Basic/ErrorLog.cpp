// Storing, limiting, finding and clearing error records.
#include "Basic/ErrorLog.h"

#include <algorithm>
#include <mutex>
#include <unordered_set>

#include "Basic/Format.h"

namespace quorva {

namespace {
void initShared(ErrorRecord& r, EnvCore* env, int severity, const char* text) {
  r.tag = REPORT_TYPE;
  r.env = env;
  r.severity = severity;
  r.message = text;
  r.disposition = NOT_DISPLAYED;
}

// Every record of every log, so that handles can be checked before they are read.
std::mutex& registryLock() {
  static std::mutex lock;
  return lock;
}
std::unordered_set<const void*>& registry() {
  static auto* records = new std::unordered_set<const void*>();
  return *records;
}
void enroll(const void* r) {
  std::lock_guard<std::mutex> g(registryLock());
  registry().insert(r);
}
void unenroll(const void* r) {
  std::lock_guard<std::mutex> g(registryLock());
  registry().erase(r);
}
}  // namespace

bool ErrorLog::exists(const void* p) {
  std::lock_guard<std::mutex> g(registryLock());
  return registry().count(p) != 0;
}

ErrorLog::ErrorLog(EnvCore* env) : env_(env) {
  initShared(generalWarning_, env, WARNING_SEV, "General warning");
  initShared(unspecifiedNotice_, env, NOTICE_SEV, "Just some unspecified notice");
  initShared(generalError_, env, ERROR_SEV, "General error (too many error records are live on this thread)");
  for (const ErrorRecord* r : {&generalWarning_, &unspecifiedNotice_, &generalError_}) enroll(r);
}

ErrorLog::~ErrorLog() {
  clearAll();
  for (const ErrorRecord* r : {&generalWarning_, &unspecifiedNotice_, &generalError_}) unenroll(r);
}

ErrorRecord* ErrorLog::shared(int severity) {
  if (severity >= ERROR_SEV) return &generalError_;
  if (severity == WARNING_SEV) return &generalWarning_;
  return &unspecifiedNotice_;
}

ErrorRecord* ErrorLog::add(int number, int severity, int disposition, uint32_t categories,
                           std::string message, std::string function) {
  std::thread::id self = std::this_thread::get_id();
  Tally& t = tallies_[self];
  ++t.attempted;
  int limit = severity >= ERROR_SEV ? maxPerThread
              : severity == WARNING_SEV ? maxPerThread * 3 / 4
                                        : maxPerThread / 2;
  if (t.live >= limit) {
    ++t.refused;
    return shared(severity);
  }
  if (t.refused > 0) reportRefused(t, self);
  auto r = std::make_unique<ErrorRecord>();
  r->number = number;
  r->severity = severity;
  r->env = env_;
  r->thread = self;
  r->disposition = disposition;
  r->categories = categories;
  r->utf16 = message.size() >= 2 && static_cast<unsigned char>(message[0]) == 0xFF &&
             static_cast<unsigned char>(message[1]) == 0xFE;
  r->message = std::move(message);
  r->function = std::move(function);
  if (number != 0) r->sequence = ++sequence_;
  return store(std::move(r), t);
}

ErrorRecord* ErrorLog::store(std::unique_ptr<ErrorRecord> r, Tally& t) {
  r->tag = REPORT_TYPE;
  ErrorRecord* raw = r.get();
  enroll(raw);
  records_.push_back(std::move(r));
  ++t.live;
  return raw;
}

void ErrorLog::reportRefused(Tally& t, std::thread::id thread) {
  auto r = std::make_unique<ErrorRecord>();
  r->severity = NOTICE_SEV;
  r->env = env_;
  r->thread = thread;
  r->disposition = NOT_DISPLAYED;
  r->message = format(
      "There were %d times a message could have been displayed (notice, warning or error), but "
      "they were filtered for expediency",
      t.refused);
  t.refused = 0;
  store(std::move(r), t);
}

ErrorRecord* ErrorLog::next(std::thread::id thread, int severity, const ErrorRecord* after) const {
  auto it = records_.begin();
  if (after) {
    it = std::find_if(records_.begin(), records_.end(),
                      [after](const auto& r) { return r.get() == after; });
    if (it == records_.end()) return nullptr;
    ++it;
  }
  for (; it != records_.end(); ++it)
    if ((*it)->thread == thread && (*it)->severity >= severity) return it->get();
  return nullptr;
}

bool ErrorLog::isLive(const ErrorRecord* r) const {
  return std::any_of(records_.begin(), records_.end(),
                     [r](const auto& p) { return p.get() == r; });
}

bool ErrorLog::isShared(const ErrorRecord* r) const {
  return r == &generalWarning_ || r == &unspecifiedNotice_ || r == &generalError_;
}

void ErrorLog::remove(ErrorRecord* r) {
  auto it = std::find_if(records_.begin(), records_.end(),
                         [r](const auto& p) { return p.get() == r; });
  if (it == records_.end()) return;
  --tallies_[r->thread].live;
  r->tag = 0;
  unenroll(r);
  records_.erase(it);
}

void ErrorLog::clear(int severity, bool allThreads, std::thread::id thread) {
  for (auto it = records_.begin(); it != records_.end();) {
    ErrorRecord* r = it->get();
    if ((allThreads || r->thread == thread) && r->severity <= severity) {
      --tallies_[r->thread].live;
      r->tag = 0;
      unenroll(r);
      it = records_.erase(it);
    } else {
      ++it;
    }
  }
}

void ErrorLog::clearAll() {
  for (const auto& r : records_) unenroll(r.get());
  records_.clear();
  tallies_.clear();
}

int ErrorLog::liveCount(std::thread::id thread) const {
  auto it = tallies_.find(thread);
  return it == tallies_.end() ? 0 : it->second.live;
}

int ErrorLog::refusedCount(std::thread::id thread) const {
  auto it = tallies_.find(thread);
  return it == tallies_.end() ? 0 : it->second.refused;
}

}  // namespace quorva
