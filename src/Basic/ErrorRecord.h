// One error record: what an API call leaves behind instead of an error code.
#pragma once
#include <cstdint>
#include <string>
#include <thread>

#include "Basic/Tagged.h"

namespace quorva {

class EnvCore;

enum Severity : int {
  NULL_SEV = 0,
  FALSE_ALERT_SEV = 1,
  REPORT_SEV = 2,
  NOTICE_SEV = 3,
  WARNING_SEV = 4,
  ERROR_SEV = 5,
  INTERNAL_SEV = 6,
};
inline constexpr int MAX_SEVERITY = INTERNAL_SEV;

// How a record is to be shown: 0 not displayed .. 3 dialog box.
enum Disposition : int {
  NOT_DISPLAYED = 0,
  PRINTED = 1,
  SOUND_AND_PRINTED = 2,
  DIALOG = 3,
  DISPOSITION_UNSET = 4,
};

// Category bits, the same values as the public errcond_vq.
enum Category : uint32_t {
  OUT_OF_MEMORY_CAT = 0x08,
  USER_ABORTED_CAT = 0x20,
  FROM_WRAPPER_CAT = 0x40,
  FROM_DEVELOPER_CAT = 0x80,
  INCONS_FINDING_CAT = 0x200,
};

inline constexpr uint8_t USER_HALTED_FLAG = 0x20;

struct ErrorRecord : Tagged {
  ErrorRecord() : Tagged(REPORT_BUILDING_TYPE) {}

  int number = 0;           // stored negated; displays show the magnitude
  std::string message;      // with glossary marks
  bool utf16 = false;       // the text began with the bytes 0xFF 0xFE
  EnvCore* env = nullptr;
  void* group = nullptr;    // the error group holding it; null while ungrouped
  std::thread::id thread;
  int severity = NULL_SEV;
  uint8_t flags = 0;
  int disposition = DISPOSITION_UNSET;
  int fixStatus = 0;
  uint64_t sequence = 0;    // from a running counter when the number is non-zero
  uint32_t categories = 0;
  std::string function;     // the API function that was running when it was raised
  mutable std::string display;  // cache for the display form of the message
};

// "null-error", "false alert", ... "internal error"; "unknown severity" outside 0..6.
const char* severityName(int severity);
// "not displayed" .. "displayed in dialog box".
const char* dispositionName(int disposition);
// "doesn't need fixing" .. "can't be fixed".
const char* fixStatusName(int fix);

}  // namespace quorva
