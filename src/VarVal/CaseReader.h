// Reading a case file as a table, one row at a time: the lines before the header (magic line,
// comments), the header of column names, and then each case line split into its fields.  Nothing
// here knows of nets: CaseFindings.h matches the fields against nodes.
//
// The file is read through the token reader block by block, and only the current line is held,
// so a file of any number of rows is read in bounded memory.
//
// Layout.  Lines are ended by LF, CR LF, a lone CR or form feed.  Blank lines are skipped.  "//"
// starts a comment to the end of the line; "/*" ... "*/" and "/#" ... "#/" (nesting) may span
// lines, but one may not start on a line that holds case information and end on a later one.
// Fields are separated by the delimiter (a run of spaces and tabs for the space delimiter), and
// trimmed of spaces; a double-quoted field may hold the delimiter.  The header's delimiter is the
// environment's when the header holds it, else tab, comma or space in that order (always comma
// for a ".csv" file).
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Basic/Stream.h"
#include "Basic/TokenReader.h"
#include "VarVal/CaseFormat.h"

namespace quorva {

struct CaseColumn {
  enum Role { Variable, IdNum, NumCases };
  std::string name;
  Role role = Variable;
};

struct CaseRow {
  long number = 0;      // 1 for the first case of the file
  long line = 0;
  uint64_t offset = 0;  // of the start of its line: the case's position
  long id = -1;         // IDnum, or -1
  double freq = 1;      // NumCases, or 1
  // Per column, trimmed (IDnum and NumCases included): views of the reader's current line, good
  // until it reads the next.
  std::vector<std::string_view> fields;
  std::vector<long> chars;          // per column, the character position of the field
};

class CaseReader {
 public:
  // `quiet`: no notices or warnings about the file's version (for a writer looking at the header
  // of a file it appends to).
  CaseReader(FileSpec& stream, const CaseFormat& format, bool quiet = false,
             size_t block = TokenReader::DEFAULT_BLOCK);

  // Reads up to and including the header line; false when the file holds no header at all.
  // Refusals (encoding, another kind of file, duplicated IDnum/NumCases columns) are thrown.
  bool readHeader();
  const std::vector<CaseColumn>& columns() const { return columns_; }
  int idColumn() const { return idColumn_; }
  int freqColumn() const { return freqColumn_; }
  char delimiter() const { return delim_; }
  double version() const { return version_; }  // 0 when the file names none

  // The next case; false at the end of the file.  A malformed line (wrong number of entries, a
  // bad IDnum or NumCases, a comment spanning lines) is thrown, after the reader has moved past
  // it, so that reading can go on with the next line.
  bool next(CaseRow& row);
  long casesRead() const { return cases_; }
  // The position of the next line to be read.
  uint64_t offset() const { return rd_.offset(); }

  // "case N on line L (char C of file 'P')", for the messages about a field of a row.
  std::string where(const CaseRow& row, long charPos) const;
  FileSpec& stream() const { return stream_; }
  const CaseFormat& format() const { return format_; }

 private:
  enum class Comment { None, Block, Nested };
  // Reads on to the next line that holds data and splits it into the row's fields (setting its
  // line and offset too); false at the end of the file.
  bool nextDataLine(CaseRow& row);
  // The split of a line with no quote in it, and with `commentsLeft` no "/" either (no comment
  // open), for a delimiter other than space.  1 when the fields are set, 0 for a blank line, -1
  // for a line that needs the full treatment (which sets the fields again).
  int splitPlain(const std::string& line, std::vector<std::string_view>& fields, std::vector<long>& chars,
                 bool commentsLeft) const;
  // Blanks out comments in `line` (keeping character positions); true when anything but space
  // is left.  Throws when a comment opened after data runs past the line.
  bool stripComments(std::string& line, long lineNo);
  void checkEncoding();
  void readMagic(const std::string& line);
  void split(const std::string& line, std::vector<std::string_view>& fields, std::vector<long>& chars) const;
  char chooseDelimiter(const std::string& header) const;

  FileSpec& stream_;
  CaseFormat format_;
  bool quiet_;
  TokenReader rd_;
  char delim_ = '\t';
  double version_ = 0;
  std::vector<CaseColumn> columns_;
  int idColumn_ = -1, freqColumn_ = -1;
  long cases_ = 0;
  size_t lastCount_ = 0;
  Comment comment_ = Comment::None;
  int depth_ = 0;
  std::string line_;  // the line being read, kept for its room
};

}  // namespace quorva
