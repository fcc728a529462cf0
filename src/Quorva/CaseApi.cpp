// API functions of case files and casesets.
#include <cstring>

#include "BN/Net/Bnet.h"
#include "Quorva/ApiErrors.h"
#include "Quorva/ApiFrame.h"
#include "VarVal/CaseErrors.h"
#include "VarVal/CaseFindings.h"
#include "VarVal/CaseWriter.h"
#include "VarVal/Caseset.h"

using namespace quorva;

namespace {

CaseFormat& caseFormat(Environ& env) {
  env.caseFormat.load(env);
  return env.caseFormat;
}

// A character argument as a message shows it.
std::string charWord(int c) {
  if (c == 0) return "absent";
  if (c == ' ') return "space";
  if (c == '\t') return "tab";
  if (c > ' ' && c < 127) return format("'%c'", c);
  return format("%d", c);
}

// The live nodes of a list argument, and the net they belong to.
std::vector<Bnode*> listedNodes(ApiFrame& f, const nodelist_bn* nodes, Bnet** net) {
  const NodeList& list = f.list(nodes);
  std::vector<Bnode*> out;
  out.reserve(list.nodes.size());
  for (Bnode* n : list.nodes)
    if (n) out.push_back(&f.node(handle(n)));
  *net = list.net;
  if (!*net) argError(&f.env(), err::NullArgument, "nodes");
  return out;
}

void checkOptions(ApiFrame& f, const char* options) {
  if (options && *options) argError(&f.env(), err::CaseOptionsArg, options);
}

void readFindings(const char* fname, caseposn_bn* case_posn, stream_vq* file, bool add,
                  const nodelist_bn* nodes, int mode, long* id_num, double* freq) {
  apiRun(fname, envOf(file), [&](ApiFrame& f) {
    FileSpec& stream = f.stream(file);
    Bnet* net = nullptr;
    std::vector<Bnode*> listed = listedNodes(f, nodes, &net);
    f.notNull(case_posn, "case_posn");
    long long posn = *case_posn;
    if (posn < 0 && posn != FIRST_CASE && posn != NEXT_CASE && posn != NO_MORE_CASES)
      argError(&f.env(), err::CasePosnArg, posn);
    if (mode < DONT_ADD_NEW || mode > QUIETLY_ADD_NEW) argError(&f.env(), err::CaseAddModeArg, mode);
    Environ& env = f.env();
    try {
      CaseRead got = readCaseIntoNet(env.caseCursors, stream, posn, add, listed, *net, static_cast<AddNew>(mode),
                                     caseFormat(env));
      *case_posn = got.posn;
      if (id_num) *id_num = got.id;
      if (freq) *freq = got.freq;
    } catch (...) {
      if (posn == FIRST_CASE) *case_posn = NO_MORE_CASES;
      throw;
    }
  });
}

}  // namespace

extern "C" {

long WriteNetFindings_bn(const nodelist_bn* nodes, stream_vq* file, long id_num, double freq) {
  return apiCall(__func__, -1L, envOf(file), [&](ApiFrame& f) {
    FileSpec& stream = f.stream(file);
    Bnet* net = nullptr;
    std::vector<Bnode*> listed = listedNodes(f, nodes, &net);
    if (id_num < -1) argError(&f.env(), err::CaseIdNumArg, static_cast<long long>(id_num));
    if (!(freq >= 0)) argError(&f.env(), err::CaseFreqArg, freq);
    f.env().caseCursors.erase(&stream);
    writeCase(stream, listed, id_num, freq, caseFormat(f.env()));
    return 0L;
  });
}

void ReadNetFindings_bn(caseposn_bn* case_posn, stream_vq* file, const nodelist_bn* nodes, long* id_num,
                        double* freq) {
  readFindings(__func__, case_posn, file, false, nodes, DONT_ADD_NEW, id_num, freq);
}

void ReadNetFindings2_bn(caseposn_bn* case_posn, stream_vq* file, bool_vq add, const nodelist_bn* nodes,
                         long* id_num, double* freq) {
  readFindings(__func__, case_posn, file, add != 0, nodes, DONT_ADD_NEW, id_num, freq);
}

void ReadNetFindings3_bn(caseposn_bn* case_posn, stream_vq* file, bool_vq add, const nodelist_bn* nodes,
                         addnew_bn add_new, long* id_num, double* freq) {
  readFindings(__func__, case_posn, file, add != 0, nodes, enumBits(add_new), id_num, freq);
}

int SetCaseFileDelimChar_vq(int newchar, environ_vq* env) {
  return apiCall(__func__, -1, envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    CaseFormat& fmt = caseFormat(e);
    int before = fmt.delimiter;
    if (newchar == -1) return before;
    if (newchar != ',' && newchar != ' ' && newchar != '\t')
      argError(&e, err::CaseDelimChar, -1, charWord(newchar));
    if (newchar != ',' && (fmt.missing == 0 || fmt.missing == ' '))
      argError(&e, err::CaseDelimNeedsComma, charWord(newchar), charWord(fmt.missing));
    fmt.delimiter = static_cast<char>(newchar);
    return before;
  });
}

int SetMissingDataChar_vq(int newchar, environ_vq* env) {
  return apiCall(__func__, -1, envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    CaseFormat& fmt = caseFormat(e);
    int before = fmt.missing;
    if (newchar == -1) return before;
    if (newchar != 0 && !(newchar > 0 && newchar < 127 && std::strchr(" *?-", newchar)))
      argError(&e, err::MissingDataChar, -1, charWord(newchar));
    if ((newchar == 0 || newchar == ' ') && fmt.delimiter != ',')
      argError(&e, err::MissingNeedsComma, charWord(newchar), charWord(fmt.delimiter));
    fmt.missing = static_cast<char>(newchar);
    return before;
  });
}

int SetCaseFileValueForm_vq(int form, environ_vq* env) {
  return apiCall(__func__, -1, envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    CaseFormat& fmt = caseFormat(e);
    int before = fmt.valueForm;
    if (form == -1) return before;
    if (form < FORM_NAMES || form > FORM_NUMBERS) argError(&e, err::CaseValueFormArg, form);
    fmt.valueForm = form;
    return before;
  });
}

caseset_cs* NewCaseset_cs(const char* name, environ_vq* env) {
  return apiCall(__func__, static_cast<caseset_cs*>(nullptr), envOf(env), [&](ApiFrame& f) {
    Environ& e = f.environ(env);
    e.casesets.push_back(std::make_unique<Caseset>(&e, name ? name : ""));
    return handle(e.casesets.back().get());
  });
}

void AddFileToCaseset_cs(caseset_cs* cases, stream_vq* file, double degree, const char* options) {
  apiRun(__func__, envOf(cases), [&](ApiFrame& f) {
    Caseset& set = f.caseset(cases);
    FileSpec& stream = f.stream(file);
    if (!(degree >= 0)) argError(&f.env(), err::CaseDegreeArg, degree);
    checkOptions(f, options);
    addCaseFile(set, stream, degree, caseFormat(f.env()));
  });
}

void WriteCaseset_cs(const caseset_cs* cases, stream_vq* file, const char* options) {
  apiRun(__func__, envOf(cases), [&](ApiFrame& f) {
    const Caseset& set = f.caseset(cases);
    FileSpec& stream = f.stream(file);
    checkOptions(f, options);
    f.env().caseCursors.erase(&stream);
    writeCaseset(set, stream, caseFormat(f.env()));
  });
}

void DeleteCaseset_cs(caseset_cs* cases) {
  apiRun(__func__, envOf(cases), [&](ApiFrame& f) { f.caseset(cases).release(); });
}

}  // extern "C"
