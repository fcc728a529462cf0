// Case files: the settings of the process's environment (delimiter, missing-data character and
// the form states are written in), and a net's findings written to and read from them case by case.
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

// The cases of a file entered one after another as findings of some nodes of a net.
class CaseReader {
 public:
  CaseReader(const Net& net, const std::string& path, const pb::object& nodes, bool add)
      : net_(net), nodes_(net.nodesOf(nodes)), add_(add) {
    stream_ = NewFileStream_vq(path.c_str(), processEnv(), nullptr);
    check(processEnv());
  }
  ~CaseReader() {
    if (stream_) DeleteStream_vq(stream_);
  }
  CaseReader(const CaseReader&) = delete;
  CaseReader& operator=(const CaseReader&) = delete;

  // Enters the next case; (IDnum or None, NumCases).  StopIteration after the last.
  pb::tuple next() {
    if (done_) throw pb::stop_iteration();
    NodeList list(net_.get(), nodes_);
    long id = -1;
    double freq = 1;
    caseposn_bn position = started_ ? NEXT_CASE : FIRST_CASE;
    started_ = true;  // after a refused case, the next read goes on after it
    ReadNetFindings2_bn(&position, stream_, add_, list.get(), &id, &freq);
    done_ = position == NO_MORE_CASES;
    check(processEnv());
    if (done_) throw pb::stop_iteration();
    pb::object idOut = id < 0 ? pb::object(pb::none()) : pb::object(pb::int_(id));
    return pb::make_tuple(idOut, freq);
  }

 private:
  Net net_;
  std::vector<Node> nodes_;
  bool add_;
  stream_vq* stream_ = nullptr;
  bool started_ = false, done_ = false;
};

void writeCase(const Net& net, const std::string& path, const pb::object& nodes, const pb::object& id, double freq) {
  NodeList list(net.get(), net.nodesOf(nodes));
  stream_vq* stream = NewFileStream_vq(path.c_str(), processEnv(), nullptr);
  if (stream) {
    WriteNetFindings_bn(list.get(), stream, id.is_none() ? -1 : id.cast<long>(), freq);
    DeleteStream_vq(stream);
  }
  check(processEnv());
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
  pb::class_<CaseReader>(m, "CaseReader", "The cases of a case file, each entered as findings in turn.")
      .def("__iter__", [](pb::object self) { return self; })
      .def("__next__", &CaseReader::next);
  addMethod(
      m, "Net", "read_cases",
      [](const Net& net, const std::string& path, const pb::object& nodes, bool add) {
        return std::make_unique<CaseReader>(net, path, nodes, add);
      },
      pb::arg("path"), pb::arg("nodes") = pb::none(), pb::arg("add") = false,
      "Iterates over the cases of a case file: each step enters the next case as the findings of\n"
      "`nodes` (None: every node) and gives (IDnum or None, NumCases).  A node whose value is missing\n"
      "loses its finding, or keeps it with `add`.  A case naming no state is skipped with a\n"
      "QuorvaWarning; a faulty one raises quorva.Error, and iterating again goes on after it.");
  addMethod(m, "Net", "write_case", &writeCase, pb::arg("path"), pb::arg("nodes") = pb::none(),
            pb::arg("id") = pb::none(), pb::arg("freq") = 1.0,
            "Appends the findings of `nodes` (None: every node) to a case file as one case, with an\n"
            "IDnum `id` and a NumCases `freq` when given; a new file gets the header line first.");
}

}  // namespace quorva::py
