// Glossary marks in messages, and the display form that a person reads.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace quorva {

struct ErrorRecord;

// Removes each ">-" mark, the hyphen that continues a marked word with an ending (">-node-s"
// reads "nodes"), and turns ">-cr-" into a line break.
std::string stripGlossary(std::string_view text);

// The display text of a run of records: each record's message stripped of marks, with records of
// the same severity and number after the first merged into one line "More %ss of the form: %s".
// At most `limit` lines are shown; past it "There are more errors, but they won't be displayed".
std::string displayRecords(const std::vector<const ErrorRecord*>& records, size_t limit);

}  // namespace quorva
