// An error's number and message format, kept together in each module's list of errors.
#pragma once

namespace quorva {

struct ErrDef {
  int number;        // positive; records store it negated
  const char* text;  // printf-style format, with glossary marks
};

}  // namespace quorva
