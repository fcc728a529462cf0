// The display form of messages: glossary marks stripped, and runs of records merged.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Basic/ErrorRecord.h"
#include "Basic/Glossary.h"

using namespace quorva;

namespace {

TEST(GlossaryTest, MarksAreStrippedAndContinuationsJoined) {
  struct Case {
    const char* in;
    const char* out;
  } cases[] = {
      {"NULL passed for >-Bnode", "NULL passed for Bnode"},
      {"first>-cr-second", "first\nsecond"},
      {"three >-node-s left", "three nodes left"},
      {">-Quorva-'s memory", "Quorva's memory"},
      {"calls >-Environ.finalize twice", "calls Environ.finalize twice"},
      {"at >-ApiFrame-42 (x)", "at ApiFrame-42 (x)"},  // a hyphen before a digit stays
      {"a >-Bnet - b", "a Bnet - b"},
      {"a > b -c >", "a > b -c >"},
      {"ends with >-", "ends with "},
  };
  for (const Case& c : cases) EXPECT_EQ(stripGlossary(c.in), c.out) << "input: " << c.in;
}

ErrorRecord record(int severity, int number, const char* message) {
  ErrorRecord r;
  r.severity = severity;
  r.number = number;
  r.message = message;
  return r;
}

TEST(GlossaryTest, RecordsOfOneFormAreMergedIntoOneMoreLine) {
  ErrorRecord a = record(ERROR_SEV, -10, "bad >-Bnode A");
  ErrorRecord b = record(ERROR_SEV, -10, "bad >-Bnode B");
  ErrorRecord c = record(ERROR_SEV, -10, "bad >-Bnode C");
  ErrorRecord w = record(WARNING_SEV, -10, "odd >-Bnet");  // same number, other severity
  EXPECT_EQ(displayRecords({&a, &b, &w, &c}, 10),
            "bad Bnode A\n"
            "More errors of the form: bad Bnode B\n"
            "odd Bnet\n");
}

TEST(GlossaryTest, LinesPastTheLimitAreSummarised) {
  ErrorRecord a = record(ERROR_SEV, -1, "one");
  ErrorRecord b = record(ERROR_SEV, -2, "two");
  ErrorRecord c = record(ERROR_SEV, -3, "three");
  EXPECT_EQ(displayRecords({&a, &b, &c}, 2),
            "one\ntwo\nThere are more errors, but they won't be displayed\n");
  EXPECT_EQ(displayRecords({&a, &b}, 2), "one\ntwo\n");
}

}  // namespace
