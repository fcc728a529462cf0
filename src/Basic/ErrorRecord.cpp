// Names of severities, display dispositions and fix states.
#include "Basic/ErrorRecord.h"

namespace quorva {

const char* severityName(int severity) {
  static const char* const names[] = {"null-error", "false alert", "report", "notice",
                                      "warning",    "error",       "internal error"};
  return severity >= 0 && severity <= MAX_SEVERITY ? names[severity] : "unknown severity";
}

const char* dispositionName(int disposition) {
  static const char* const names[] = {"not displayed", "printed to Messages window",
                                      "made warning sound and printed to Messages window",
                                      "displayed in dialog box"};
  return disposition >= 0 && disposition <= 3 ? names[disposition] : "not yet disposed";
}

const char* fixStatusName(int fix) {
  static const char* const names[] = {"doesn't need fixing", "was fixed",     "was patched",
                                      "was covered up",      "still remains", "can't be fixed"};
  return fix >= 0 && fix <= 5 ? names[fix] : "unknown";
}

}  // namespace quorva
