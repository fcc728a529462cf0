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
      {"the >-finding-(s) entered", "the findings entered"},
      {"a >-node-(s without end", "a node-(s without end"},
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

TEST(GlossaryTest, RecordsOfOneFormMergeAndLinesPastTheLimitAreSummarised) {
  ErrorRecord a = record(ERROR_SEV, -10, "bad >-Bnode A");
  ErrorRecord b = record(ERROR_SEV, -10, "bad >-Bnode B");
  ErrorRecord c = record(ERROR_SEV, -10, "bad >-Bnode C");
  ErrorRecord w = record(WARNING_SEV, -10, "odd >-Bnet");  // same number, other severity
  ErrorRecord x = record(ERROR_SEV, -11, "other");
  EXPECT_EQ(displayRecords({&a, &b, &w, &c}, 10),
            "bad Bnode A\nMore errors of the form: bad Bnode B\nodd Bnet\n");
  EXPECT_EQ(displayRecords({&a, &w, &x}, 2),
            "bad Bnode A\nodd Bnet\nThere are more errors, but they won't be displayed\n");
  EXPECT_EQ(displayRecords({&a, &w}, 2), "bad Bnode A\nodd Bnet\n");
}

}  // namespace
