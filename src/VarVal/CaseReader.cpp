// Reading a case file as a table: preamble, header and case lines.
#include "VarVal/CaseReader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "Basic/Raise.h"
#include "VarVal/CaseErrors.h"

namespace quorva {

namespace {

// Space, tab, LF, VT, FF or CR.
bool isBlank(char c) {
  const auto u = static_cast<unsigned char>(c);
  return u <= ' ' && ((uint64_t{0x100003E00} >> u) & 1) != 0;
}

std::string trimmed(const std::string& s, size_t& first) {
  first = 0;
  while (first < s.size() && isBlank(s[first])) ++first;
  size_t last = s.size();
  while (last > first && isBlank(s[last - 1])) --last;
  return s.substr(first, last - first);
}

bool endsWithCsv(const std::string& path) {
  if (path.size() < 4) return false;
  std::string ext = path.substr(path.size() - 4);
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ext == ".csv";
}

// A whole field as a non-negative decimal integer.
bool parseId(std::string_view s, long& out) {
  if (s.empty() || s.size() > 18) return false;
  long v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    v = v * 10 + (c - '0');
  }
  out = v;
  return true;
}

}  // namespace

CaseReader::CaseReader(FileSpec& stream, const CaseFormat& format, bool quiet, size_t block)
    : stream_(stream), format_(format), quiet_(quiet), rd_(stream, Syntax{{0, 0}, false, false}, block) {}

void CaseReader::checkEncoding() {
  int b0 = rd_.peek(0), b1 = rd_.peek(1), b2 = rd_.peek(2), b3 = rd_.peek(3);
  const char* wide = nullptr;
  if (b0 == 0xFF && b1 == 0xFE)
    wide = (b2 == 0 && b3 == 0) ? "UTF-32LE" : "UTF-16LE";
  else if (b0 == 0xFE && b1 == 0xFF)
    wide = "UTF-16BE";
  else if (b0 == 0 && b1 == 0 && b2 == 0xFE && b3 == 0xFF)
    wide = "UTF-32BE";
  else if (b0 > 0 && b1 == 0)
    wide = "UTF-16LE";
  else if (b0 == 0 && b1 > 0)
    wide = "UTF-16BE";
  if (wide) engError(stream_.env(), err::CaseNotAscii, wide, stream_.displayName());
  rd_.skipText("\xEF\xBB\xBF");  // a UTF-8 byte order mark
}

void CaseReader::readMagic(const std::string& line) {
  size_t open = line.find("~->[");
  size_t close = line.find("]->~", open);
  if (close == std::string::npos) return;
  std::string inside = line.substr(open + 4, close - open - 4);
  size_t dash = inside.find('-');
  std::string kind = inside.substr(0, dash);
  if (kind != "CASE") engError(stream_.env(), err::NotCaseFile, kind, stream_.displayName());
  version_ = dash == std::string::npos ? 0 : std::strtod(inside.c_str() + dash + 1, nullptr);
  if (version_ != CASE_FILE_VERSION && !quiet_)
    engWarning(stream_.env(), err::CaseFileVersion, version_ < CASE_FILE_VERSION ? "old" : "new", version_,
               stream_.displayName());
}

bool CaseReader::stripComments(std::string& line, long) {
  if (comment_ == Comment::None && !std::memchr(line.data(), '/', line.size()) &&
      !std::memchr(line.data(), '"', line.size()))  // no comment can start or be quoted here
    return std::any_of(line.begin(), line.end(), [](char c) { return !isBlank(c); });
  bool data = false, openedHere = false, inQuote = false;
  for (size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    char d = i + 1 < line.size() ? line[i + 1] : '\0';
    if (comment_ == Comment::Block) {
      line[i] = ' ';
      if (c == '*' && d == '/') {  // the closing "*/" is blanked whole
        line[++i] = ' ';
        comment_ = Comment::None;
      }
      continue;
    }
    if (comment_ == Comment::Nested) {
      if ((c == '/' && d == '#') || (c == '#' && d == '/')) {
        depth_ += c == '/' ? 1 : -1;
        line[i] = line[i + 1] = ' ';
        ++i;
        if (depth_ == 0) comment_ = Comment::None;
      } else {
        line[i] = ' ';
      }
      continue;
    }
    if (inQuote) {
      if (c == '\\')
        ++i;
      else if (c == '"')
        inQuote = false;
      continue;
    }
    if (c == '"') {
      inQuote = data = true;
    } else if (c == '/' && d == '/') {
      line.resize(i);
      break;
    } else if (c == '/' && (d == '*' || d == '#')) {
      comment_ = d == '*' ? Comment::Block : Comment::Nested;
      depth_ = 1;
      openedHere = true;
      line[i] = line[i + 1] = ' ';
      ++i;
    } else if (!isBlank(c)) {
      data = true;
    }
  }
  if (comment_ != Comment::None && openedHere && data)
    engError(stream_.env(), err::CaseMultiLineComment);
  return data;
}

bool CaseReader::nextDataLine(CaseRow& row) {
  std::string& line = line_;
  while (!rd_.atEnd()) {
    row.offset = rd_.offset();
    row.line = rd_.here().line;
    rd_.readRestOfLine(line);
    if (comment_ == Comment::None && delim_ != ' ') {
      int plain = splitPlain(line, row.fields, row.chars, true);
      if (plain > 0) return true;
      if (plain == 0) continue;
    }
    if (!stripComments(line, row.line)) continue;
    split(line, row.fields, row.chars);
    return true;
  }
  return false;
}

int CaseReader::splitPlain(const std::string& line, std::vector<std::string_view>& fields, std::vector<long>& chars,
                           bool commentsLeft) const {
  const char* p = line.data();
  const size_t n = line.size();
  size_t count = 0, start = 0;
  bool filled = false;  // some field is not blank
  // Room for as many fields as there are columns, so that the usual line only stores.
  if (fields.size() < columns_.size()) fields.resize(columns_.size());
  chars.resize(fields.size());
  std::string_view* fieldAt = fields.data();
  long* charAt = chars.data();
  size_t room = fields.size();
  auto field = [&](size_t end) __attribute__((always_inline)) {
    size_t first = start, last = end;
    while (first < last && isBlank(p[first])) ++first;
    while (last > first && isBlank(p[last - 1])) --last;
    filled |= last > first;
    if (count == room) {
      fields.emplace_back();
      chars.push_back(0);
      fieldAt = fields.data();
      charAt = chars.data();
      room = fields.size();
    }
    fieldAt[count] = std::string_view(p + first, last - first);
    charAt[count++] = static_cast<long>(first + 1);
    start = end + 1;
  };
  // A '"' may start a quoted field and, while comments are left in, a "/" a comment: such a line
  // goes the long way.
  const char stop = commentsLeft ? '/' : '"';
  size_t i = 0;
#if defined(__SSE2__)
  // Sixteen bytes at a time: the delimiters as bits of a mask.
  const __m128i delim = _mm_set1_epi8(delim_), slash = _mm_set1_epi8(stop), quote = _mm_set1_epi8('"');
  for (; i + 16 <= n; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    if (_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(bytes, slash), _mm_cmpeq_epi8(bytes, quote)))) return -1;
    for (unsigned hits = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, delim))); hits;
         hits &= hits - 1)
      field(i + static_cast<size_t>(__builtin_ctz(hits)));
  }
#endif
  for (; i < n; ++i) {
    if (p[i] == stop || p[i] == '"') return -1;
    if (p[i] == delim_) field(i);
  }
  field(n);
  // A line of blanks and blank delimiters (tabs) holds no data; a comma is data.
  if (!filled && (count == 1 || isBlank(delim_))) return 0;
  fields.resize(count);
  chars.resize(count);
  return 1;
}

char CaseReader::chooseDelimiter(const std::string& header) const {
  if (endsWithCsv(stream_.name())) return ',';
  if (header.find(format_.delimiter) != std::string::npos) return format_.delimiter;
  for (char c : {'\t', ','})
    if (header.find(c) != std::string::npos) return c;
  return ' ';
}

void CaseReader::split(const std::string& line, std::vector<std::string_view>& fields, std::vector<long>& chars) const {
  if (delim_ != ' ' && splitPlain(line, fields, chars, false) > 0) return;  // no quoted field
  // Fields are assigned in place, so that a row read into the same vectors keeps their room.
  size_t count = 0;
  auto field = [&](size_t from, size_t to) {
    size_t first = from, last = to;
    while (first < last && isBlank(line[first])) ++first;
    while (last > first && isBlank(line[last - 1])) --last;
    if (count == fields.size()) fields.emplace_back();
    fields[count] = std::string_view(line.data() + first, last - first);
    if (count == chars.size()) chars.push_back(0);
    chars[count++] = static_cast<long>(first + 1);
  };
  size_t i = 0, n = line.size();
  if (delim_ == ' ') {
    while (true) {
      while (i < n && isBlank(line[i])) ++i;
      if (i >= n) break;
      size_t start = i;
      bool inQuote = false;
      for (; i < n && (inQuote || !isBlank(line[i])); ++i) {
        if (inQuote && line[i] == '\\')
          ++i;
        else if (line[i] == '"')
          inQuote = !inQuote;
      }
      field(start, std::min(i, n));
    }
  } else {
    size_t start = 0;
    bool inQuote = false;
    for (; i < n; ++i) {
      if (inQuote && line[i] == '\\') {
        ++i;
      } else if (line[i] == '"') {
        inQuote = !inQuote;
      } else if (!inQuote && line[i] == delim_) {
        field(start, i);
        start = i + 1;
      }
    }
    field(start, n);
  }
  fields.resize(count);
  chars.resize(count);
}

bool CaseReader::readHeader() {
  checkEncoding();
  bool sawMagic = false;
  std::string line;
  while (!rd_.atEnd()) {
    long lineNo = rd_.here().line;
    line = rd_.readRestOfLine();
    if (comment_ == Comment::None) {
      size_t lead = 0;
      std::string t = trimmed(line, lead);
      if (t.rfind("//", 0) == 0) {
        if (!sawMagic && t.find("~->[") != std::string::npos) {
          readMagic(t);
          sawMagic = version_ > 0;
        }
        continue;
      }
    }
    if (!stripComments(line, lineNo)) continue;
    if (!sawMagic && !quiet_) engNotice(stream_.env(), err::CaseNoVersion, stream_.displayName());
    delim_ = chooseDelimiter(line);
    std::vector<std::string_view> names;
    std::vector<long> chars;
    split(line, names, chars);
    for (std::string_view name : names) {
      CaseColumn col;
      col.name = std::string(name);
      if (col.name == "IDnum") {
        if (idColumn_ >= 0) engError(stream_.env(), err::MultipleIdNum, stream_.displayName());
        col.role = CaseColumn::IdNum;
        idColumn_ = static_cast<int>(columns_.size());
      } else if (col.name == "NumCases") {
        if (freqColumn_ >= 0) engError(stream_.env(), err::MultipleNumCases, stream_.displayName());
        col.role = CaseColumn::NumCases;
        freqColumn_ = static_cast<int>(columns_.size());
      }
      columns_.push_back(std::move(col));
    }
    lastCount_ = columns_.size();
    return true;
  }
  return false;
}

std::string CaseReader::where(const CaseRow& row, long charPos) const {
  return quorva::format("case %ld on line %ld (char %ld of file '%s')", row.number, row.line, charPos,
                stream_.displayName());
}

bool CaseReader::next(CaseRow& row) {
  if (!nextDataLine(row)) return false;
  row.number = ++cases_;
  row.id = -1;
  row.freq = 1;
  size_t count = row.fields.size(), before = lastCount_;
  lastCount_ = count;
  EnvCore* env = stream_.env();
  if (count < columns_.size())
    engError(env, err::CaseTooFew, static_cast<int>(count), static_cast<int>(before), where(row, 1));
  if (count > columns_.size()) engError(env, err::CaseTooMany, static_cast<int>(before), where(row, 1));
  if (idColumn_ >= 0) {
    const std::string_view f = row.fields[static_cast<size_t>(idColumn_)];
    if (!format_.isMissing(f) && !parseId(f, row.id))
      engError(env, err::CaseIllegalValue, std::string(f), "IDnum", where(row, row.chars[static_cast<size_t>(idColumn_)]));
  }
  if (freqColumn_ >= 0) {
    const std::string f(row.fields[static_cast<size_t>(freqColumn_)]);
    if (!format_.isMissing(f)) {
      char* end = nullptr;
      row.freq = std::strtod(f.c_str(), &end);
      if (*end || !std::isfinite(row.freq) || row.freq < 0)
        engError(env, err::CaseIllegalNumCases, f, where(row, row.chars[static_cast<size_t>(freqColumn_)]));
    }
  }
  return true;
}

}  // namespace quorva
