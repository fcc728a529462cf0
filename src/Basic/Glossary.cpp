// Stripping glossary marks and merging records of one form for display.
#include "Basic/Glossary.h"

#include <cctype>
#include <map>
#include <utility>

#include "Basic/ErrorRecord.h"
#include "Basic/Format.h"

namespace quorva {

namespace {
bool isWordChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.';
}
}  // namespace

std::string stripGlossary(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    if (text.compare(i, 5, ">-cr-") == 0) {
      out += '\n';
      i += 5;
      continue;
    }
    if (text.compare(i, 2, ">-") != 0) {
      out += text[i++];
      continue;
    }
    i += 2;
    while (i < text.size() && isWordChar(text[i])) out += text[i++];
    // A hyphen right after the word continues it: ">-node-s", ">-Quorva-'s"; a bracketed ending
    // is the plural a person reads: ">-finding-(s)" reads "findings".
    if (i + 1 < text.size() && text[i] == '-' &&
        (std::isalpha(static_cast<unsigned char>(text[i + 1])) || text[i + 1] == '\''))
      ++i;
    else if (i + 1 < text.size() && text[i] == '-' && text[i + 1] == '(') {
      const size_t close = text.find(')', i + 2);
      if (close != std::string_view::npos) {
        out.append(text.substr(i + 2, close - i - 2));
        i = close + 1;
      }
    }
  }
  return out;
}

std::string displayRecords(const std::vector<const ErrorRecord*>& records, size_t limit) {
  std::string out;
  size_t lines = 0;
  std::map<std::pair<int, int>, size_t> seenForms;  // (severity, number) -> times seen
  for (const ErrorRecord* r : records) {
    size_t seen = seenForms[{r->severity, r->number}]++;
    if (seen >= 2) continue;  // the "More ... of the form" line covers the rest
    if (lines == limit) {
      out += "There are more errors, but they won't be displayed\n";
      break;
    }
    std::string msg = stripGlossary(r->message);
    if (seen == 0)
      out += msg + "\n";
    else
      out += format("More %ss of the form: %s\n", severityName(r->severity), msg) ;
    ++lines;
  }
  return out;
}

}  // namespace quorva
