// How an environment writes case files (delimiter, missing-data character, value form), carried
// from the process's environment to the environments of worker threads.  Needs no Python.
#pragma once
#include "Quorva.h"

namespace quorva::py {

// The engine's codes: a character, 0 for an absent missing-data character; -1 leaves one as is.
struct CaseFileForm {
  int delimiter = -1;
  int missing = -1;
  int valueForm = -1;
};

CaseFileForm caseFileForm(environ_vq* env);
// Sets the settings of `form` other than -1, the delimiter and the missing-data character in an
// order the engine accepts.  When it refuses one, every setting is put back and false returned
// (the refusal is left in the records of `env`).
bool applyCaseFileForm(environ_vq* env, const CaseFileForm& form);

}  // namespace quorva::py
