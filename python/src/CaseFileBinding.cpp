// The case-file settings of the process's environment: delimiter, missing-data character and
// the form states are written in.
#include "PyEngine.h"

namespace quorva::py {

CaseFileForm caseFileForm(environ_vq* env) {
  return {SetCaseFileDelimChar_vq(-1, env), SetMissingDataChar_vq(-1, env), SetCaseFileValueForm_vq(-1, env)};
}

namespace {

// Sets the delimiter and the missing-data character: the engine accepts an absent (or blank)
// missing-data character only with commas, so the comma goes in first and leaves last.
bool setDelimiterAndMissing(environ_vq* env, int delimiter, int missing) {
  const bool commaFirst = delimiter == ',' || (delimiter < 0 && SetCaseFileDelimChar_vq(-1, env) == ',');
  if (commaFirst) {
    if (delimiter >= 0 && SetCaseFileDelimChar_vq(delimiter, env) < 0) return false;
    return missing < 0 || SetMissingDataChar_vq(missing, env) >= 0;
  }
  if (missing >= 0 && SetMissingDataChar_vq(missing, env) < 0) return false;
  return delimiter < 0 || SetCaseFileDelimChar_vq(delimiter, env) >= 0;
}

constexpr const char* FORMS[] = {"name", "title", "level", "number"};

int formCode(const pb::object& form) {
  if (form.is_none()) return -1;
  const std::string name = pb::cast<std::string>(form);
  for (int i = 0; i < 4; ++i)
    if (name == FORMS[i]) return i;
  throw pb::value_error("a value form is 'name', 'title', 'level' or 'number', not '" + name + "'");
}

int charCode(const pb::object& c, const char* what) {
  if (c.is_none()) return -1;
  const std::string text = pb::cast<std::string>(c);
  if (text.size() > 1) throw pb::value_error(std::string("a ") + what + " is one character");
  return text.empty() ? 0 : static_cast<unsigned char>(text[0]);
}

pb::tuple asPython(const CaseFileForm& f) {
  const std::string missing = f.missing > 0 ? std::string(1, static_cast<char>(f.missing)) : "";
  const char* form = f.valueForm >= 0 && f.valueForm < 4 ? FORMS[f.valueForm] : "name";
  return pb::make_tuple(std::string(1, static_cast<char>(f.delimiter)), missing, form);
}

}  // namespace

bool applyCaseFileForm(environ_vq* env, const CaseFileForm& form) {
  const CaseFileForm before = caseFileForm(env);
  if (setDelimiterAndMissing(env, form.delimiter, form.missing) &&
      (form.valueForm < 0 || SetCaseFileValueForm_vq(form.valueForm, env) >= 0))
    return true;
  setDelimiterAndMissing(env, before.delimiter, before.missing);
  SetCaseFileValueForm_vq(before.valueForm, env);
  return false;
}

void bindCaseFiles(pb::module_& m) {
  m.def(
      "_case_file_settings",
      [](const pb::object& delimiter, const pb::object& missing, const pb::object& form) {
        const CaseFileForm want{charCode(delimiter, "delimiter"), charCode(missing, "missing-data character"),
                                formCode(form)};
        environ_vq* env = processEnv();
        const CaseFileForm before = caseFileForm(env);
        applyCaseFileForm(env, want);
        check(env);
        return pb::make_tuple(asPython(before), asPython(caseFileForm(env)));
      },
      pb::arg("delimiter"), pb::arg("missing"), pb::arg("value_form"));
}

}  // namespace quorva::py
