// The environment: the engine's part plus the API's lock, checking level, language and the
// objects it owns.
#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "BN/Net/Bnet.h"
#include "BN/Net/NodeList.h"
#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "VarVal/CaseFindings.h"
#include "VarVal/CaseFormat.h"
#include "VarVal/Caseset.h"

namespace quorva {

inline constexpr int NO_CHECK_LEVEL = 1;
inline constexpr int QUICK_CHECK_LEVEL = 2;
inline constexpr int REGULAR_CHECK_LEVEL = 3;
inline constexpr int COMPLETE_CHECK_LEVEL = 4;

class Environ : public EnvCore {
 public:
  int checkingLevel = REGULAR_CHECK_LEVEL;
  std::string language = "C";
  std::vector<std::unique_ptr<Bnet>> nets;
  std::vector<std::unique_ptr<NodeList>> lists;  // lists the application made

  static Environ* of(EnvCore* core) { return static_cast<Environ*>(core); }

  Bnet& adoptNet(Bnet* net);
  // Deletes a net, keeping its shell so that later use of its handle is recognised.
  void deleteNet(Bnet& net);
  NodeList& newList(Bnet* net);
  void deleteList(NodeList& list);
  bool ownsList(const NodeList* list) const;
  // Random generators made through the API; deleted ones stay as shells until the close.
  std::vector<std::unique_ptr<RandomGen>> randgens;
  RandomGen& adoptRandgen(std::unique_ptr<RandomGen> gen);
  // Frees a generator's state, leaving its shell; nets that held it go back to the default one.
  void deleteRandgen(RandomGen& gen);
  // Streams; a deleted one stays as a freed shell, and so do all of them once the environment is
  // closed (its shell is kept), so that later use of a handle is recognised.
  std::vector<std::unique_ptr<FileSpec>> streams;
  FileSpec& adoptStream(std::unique_ptr<FileSpec> stream);
  void deleteStream(FileSpec& stream);
  // Case files: the settings, the cursors of reading one case at a time (per stream), and the
  // casesets (a deleted one stays as a shell until the close).
  CaseFormat caseFormat;
  CaseCursors caseCursors;
  std::vector<std::unique_ptr<Caseset>> casesets;
  // Learners and net testers; a deleted one stays as a shell until the close.
  std::vector<std::shared_ptr<Tagged>> learnObjects;
  // Frees everything the environment owns and marks it closed.
  void close();
};

// How calls find and take an environment's lock; process-wide, read by every call without a lock.
enum class Threads : int { Multi, Single };
enum class Serialize : int { NormalBlocking, Sleep, CallerAssuresSafety };
struct Concurrency {
  std::atomic<Threads> externalThreads{Threads::Multi};  // Single: one global environment
  std::atomic<Threads> internalThreads{Threads::Multi};
  std::atomic<Serialize> serialize{Serialize::NormalBlocking};
};
Concurrency& concurrency();

// The environment used when none can be found from a call's arguments: the one most recently
// initialised and not closed.
Environ* defaultEnviron();
// Makes an environment the most recently initialised one.
void setDefaultEnviron(Environ* env);
// Takes a closing environment out of the running for default.
void forgetDefaultEnviron(Environ* env);

// Keeps a closed environment's shell for the life of the process.
void buryEnviron(std::unique_ptr<Environ> env);

}  // namespace quorva
