// Casesets over case files.
#include "VarVal/Caseset.h"

#include <algorithm>

#include "Basic/Format.h"
#include "Basic/Raise.h"
#include "VarVal/CaseErrors.h"
#include "VarVal/CaseReader.h"
#include "VarVal/CaseWriter.h"

namespace quorva {

void Caseset::release() {
  parts.clear();
  parts.shrink_to_fit();
  deleted = 1;
}

void addCaseFile(Caseset& cases, FileSpec& file, double degree, const CaseFormat& format) {
  CaseReader reader(file, format);
  if (reader.readHeader()) {
    CaseRow row;
    while (reader.next(row)) {
    }
  }
  cases.parts.push_back({&file, degree});
}

void writeCaseset(const Caseset& cases, FileSpec& out, const CaseFormat& fmt) {
  bool anyId = false, anyFreq = false;
  std::vector<std::string> names;
  for (const Caseset::Part& part : cases.parts) {
    if (part.file->deleted) engError(cases.env, err::CasesetFileDeleted, part.file->displayName(), cases.name);
    CaseReader reader(*part.file, fmt, true);
    reader.readHeader();
    anyId = anyId || reader.idColumn() >= 0;
    anyFreq = anyFreq || reader.freqColumn() >= 0 || part.degree != 1;
    for (const CaseColumn& c : reader.columns())
      if (c.role == CaseColumn::Variable && std::find(names.begin(), names.end(), c.name) == names.end())
        names.push_back(c.name);
  }
  const std::string delim(1, fmt.delimiter), crlf = "\r\n", missing = fmt.missingText();
  std::string text = fmt.header ? caseMagicLines() : std::string();
  std::vector<std::string> header;
  if (anyId) header.push_back("IDnum");
  if (anyFreq) header.push_back("NumCases");
  header.insert(header.end(), names.begin(), names.end());
  text += anyId ? " " : "";
  for (size_t i = 0; i < header.size(); ++i) text += (i ? delim : "") + header[i];
  text += crlf;

  for (const Caseset::Part& part : cases.parts) {
    CaseReader reader(*part.file, fmt, true);
    if (!reader.readHeader()) continue;
    // Where each output column comes from in this file (-1: missing).
    std::vector<int> source(names.size(), -1);
    for (size_t n = 0; n < names.size(); ++n)
      for (size_t c = 0; c < reader.columns().size(); ++c)
        if (reader.columns()[c].role == CaseColumn::Variable && reader.columns()[c].name == names[n]) {
          source[n] = static_cast<int>(c);
          break;
        }
    CaseRow row;
    while (reader.next(row)) {
      std::string line;
      if (anyId) line += (row.id >= 0 ? format("%ld", row.id) : missing) + delim;
      if (anyFreq) line += format("%g", row.freq * part.degree) + delim;
      for (size_t n = 0; n < names.size(); ++n) {
        if (n) line += delim;
        const std::string_view field = source[n] >= 0 ? row.fields[static_cast<size_t>(source[n])] : missing;
        line += fmt.isMissing(field) ? std::string_view(missing) : field;
      }
      text += line + crlf;
    }
  }
  out.write(text);
}

}  // namespace quorva
