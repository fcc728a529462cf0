// The error records of one environment, with the per-thread limits on how many stay live.
#pragma once
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>

#include "Basic/ErrorRecord.h"

namespace quorva {

class ErrorLog {
 public:
  explicit ErrorLog(EnvCore* env);
  ~ErrorLog();
  ErrorLog(const ErrorLog&) = delete;
  ErrorLog& operator=(const ErrorLog&) = delete;

  // Whether `p` is a record of some log, live or shared: a handle to a record that has been
  // cleared is freed memory, and is recognised here without reading it.
  static bool exists(const void* p);

  // The most live records a thread may hold; warnings stop at 3/4 of it, lesser records at 1/2.
  int maxPerThread = 100;

  // Adds a record made of these parts, or hands out a shared record when the thread is over
  // its limit for that severity.  Returns the record.
  ErrorRecord* add(int number, int severity, int disposition, uint32_t categories,
                   std::string message, std::string function);

  // The next record of `thread` after `after` (null: the first) of at least `severity`.
  ErrorRecord* next(std::thread::id thread, int severity, const ErrorRecord* after) const;

  bool isLive(const ErrorRecord* r) const;
  bool isShared(const ErrorRecord* r) const;
  void remove(ErrorRecord* r);
  // Removes the records of severity up to `severity`, of `thread` or of all threads.
  void clear(int severity, bool allThreads, std::thread::id thread);
  void clearAll();

  int liveCount(std::thread::id thread) const;
  int refusedCount(std::thread::id thread) const;

 private:
  struct Tally {
    int live = 0;
    long attempted = 0;
    int refused = 0;  // refused for the limit since last reported
  };
  ErrorRecord* shared(int severity);
  void reportRefused(Tally& t, std::thread::id thread);
  ErrorRecord* store(std::unique_ptr<ErrorRecord> r, Tally& t);

  EnvCore* env_;
  std::list<std::unique_ptr<ErrorRecord>> records_;
  std::unordered_map<std::thread::id, Tally> tallies_;
  ErrorRecord generalWarning_, unspecifiedNotice_, generalError_;
  uint64_t sequence_ = 0;
};

}  // namespace quorva
