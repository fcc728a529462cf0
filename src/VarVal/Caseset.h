// Casesets: collections of cases held in case files, each file with a degree (a weight that
// multiplies the frequency of each of its cases).  The cases stay in their files: a caseset holds
// only the streams, and reads them again whenever it is written.
#pragma once
#include <string>
#include <vector>

#include "Basic/Stream.h"
#include "Basic/Tagged.h"
#include "VarVal/CaseFormat.h"

namespace quorva {

class EnvCore;

class Caseset : public Tagged {
 public:
  Caseset(EnvCore* env, std::string name) : Tagged(CASESET_TYPE), env(env), name(std::move(name)) {}

  struct Part {
    FileSpec* file;  // owned by the environment; a deleted one keeps its shell
    double degree;
  };

  EnvCore* env;
  std::string name;
  std::vector<Part> parts;

  // Empties the caseset, leaving the shell that marks it deleted.
  void release();
};

// Reads `file` through as a case file (header, and every case line checked for its form) and
// adds it with `degree`.  A refused file leaves the caseset as it was.
void addCaseFile(Caseset& cases, FileSpec& file, double degree, const CaseFormat& format);

// Writes every case of the caseset to `out` as one case file, built whole and written in one
// piece: an IDnum column when any file has one, a NumCases column when any file has one or a
// degree is not 1, and the union of the files' variable columns in the order first met.  A file
// without some column gives it the missing-data character.
void writeCaseset(const Caseset& cases, FileSpec& out, const CaseFormat& format);

}  // namespace quorva
