// The token reader: the lexical layer shared by every text reader of the engine (net files, BIF
// files, case files, equations, the settings file).
//
// A reader author makes one TokenReader over a stream for the length of one read:
//
//   TokenReader rd(stream, Syntax{});                 // "//" line comments, no markup comments
//   ContextScope ctx(rd, {"node", name, ""});         // messages now say "while reading node 'A'"
//   std::string word = rd.readIdentifier();           // "" when no identifier stands next
//   if (!rd.readPunct('=')) rd.fail(myErrs::MissingEquals, word);
//   std::string title = rd.readQuoted();              // escapes decoded, NFC applied if set
//
// Input is read block by block, so a reader of a file of a million case rows keeps only one block
// and a few bytes of look-ahead in memory; a reader that comes back to parts of its input asks
// for the WHOLE block instead and may then read a span of it again with a reader over that span.
//
// Positions.  Lines and characters are counted from 1; a line ends at LF, at form feed, at a lone
// CR, and at CR LF (one end).  here() is the position of the next character to be read;
// tokenStart() that of the first character of the last token read (after white space).
//
// White space and comments.  The token and list methods (readIdentifier to readPropertyList)
// first skip white space (space, tab, LF, CR, VT, form feed) and comments: a line comment opened
// by the syntax's one or two characters; "/*" ... "*/" (not nesting); "/#" ... "#/" (nesting, at
// most 32 deep); and, when the syntax enables them, "<!-- ... -->" and "<![IGNORE[ ... ]>"
// sections (balanced by counting angle brackets, quoted strings inside skipped whole).  The
// character methods (peek, readChar, skipText, readRestOfLine, readRawUntil) skip nothing.
//
// Quoted strings.  Between the quotes bytes are taken as they stand (UTF-8), except after a
// backslash:
//   "\" and white space  a line continuation: the white space and comments after it are skipped
//   "\|"                 nothing (a separator)
//   "\Q" "\R" "\S"       raw binary: a length in 1, 2 or 8 bytes (little-endian), then that many
//                        bytes, stored unchanged
//   two hex digits       one byte (0-9 and A-F only), after which the reader is in sticky escape
//                        mode: every character is read as if a backslash stood before it, so
//                        further pairs continue the run, until a "/" (not stored) ends it.  A hex
//                        digit followed by a non-hex character is that digit itself.  No sticky
//                        mode when strings are read as UTF-16.
//   n r t v f b a e O    LF, CR, TAB, VT, form feed, backspace, bell, escape (27), a zero byte
//   anything else        itself (so \" is a quote and \\ a backslash)
// StringQuoter.h writes strings that read back unchanged.
//
// Faults.  Every fault is an error record of the stream's environment whose message ends with the
// context suffix: ", while reading field `F` of K 'N'" (or ", while reading K 'N'", or ", while
// reading a K"), then ", on line L char C of file 'P'" (or ", in file 'P'" with no position).
// fail/failAt throw (the error unwinds to the API frame); warn/warnAt and recordError record and
// return, for readers that go on after a fault.  Lexical faults of the reader itself (unterminated
// comments and strings, binary escapes, list punctuation, truth values) are thrown as errors.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Basic/ErrDef.h"
#include "Basic/ErrorRecord.h"
#include "Basic/Stream.h"
#include "Basic/Format.h"
#include "Basic/Raise.h"

namespace quorva {

// A place in the input; line 0 means not known.
struct TextPosition {
  long line = 0;
  long column = 0;
  bool known() const { return line > 0; }
};

// The lexical conventions of one text format, set by whoever reads.
struct Syntax {
  // The one or two characters that open a line comment: {'/', '/'} for net files; a second
  // character of 0 makes a one-character introducer (such as {'#', 0}); {0, 0} means none.
  char lineComment[2] = {'/', '/'};
  // Also recognise "<!--" ... "-->" and "<![IGNORE[" ... "]>".
  bool markupComments = false;
  // Return quoted strings as UTF-16LE ending in two zero bytes, instead of UTF-8.
  bool utf16Strings = false;
};

// What is being read, for messages: the kind of object ("node"), its name and the field; each
// may be empty.  They are views: the texts must outlive the scope that sets them (a context is set
// for every node and field read, and copying the texts each time would cost more than the rest).
struct ReadContext {
  std::string_view kind;
  std::string_view name;
  std::string_view field;
};

enum class Truth { False = 0, True = 1, Maybe = 2 };

// A number as read.
struct Number {
  double value = 0;
  bool integral = false;  // written without a decimal point, exponent or infinity
  std::string text;       // as written, sign included
  std::string escape;     // for "@name" (such as "@undef", "@imposs"): the name; value is NaN
};

enum class TokenKind {
  End,     // end of input
  Word,    // an identifier: a letter or '_', then letters, digits and '_'
  Number,  // see readNumber
  String,  // a quoted string, decoded
  Punct,   // any other single character (punctuation, a control character, a byte above 127)
};

struct Token {
  TokenKind kind = TokenKind::End;
  std::string text;  // the word, the decoded string, the number as written, or the character
  Number number;     // for a Number
  TextPosition start;
};

class TokenReader {
 public:
  static constexpr int END = -1;            // returned by the character reads at end of input
  static constexpr int MAX_COMMENT_DEPTH = 32;
  static constexpr size_t MAX_LOOKAHEAD = 16;
  static constexpr size_t DEFAULT_BLOCK = 64 * 1024;
  static constexpr size_t WHOLE = static_cast<size_t>(-1);  // hold all of the input

  // Starts reading `stream` from its beginning (opening its file: "couldn't open file '%s' for
  // reading").  `block` is the size of each read from the stream; with the default block, a
  // memory stream's bytes are read in place, without copying.
  // With the WHOLE block a file is read into memory at once (a memory stream in place), and
  // text() gives every byte.
  explicit TokenReader(FileSpec& stream, Syntax syntax = {}, size_t block = DEFAULT_BLOCK);
  // Reads `bytes` (kept alive by the caller) in place, counting positions from `start`; faults
  // name `stream` and are raised in its environment.
  TokenReader(FileSpec& stream, std::string_view bytes, TextPosition start, Syntax syntax = {});
  TokenReader(const TokenReader&) = delete;
  TokenReader& operator=(const TokenReader&) = delete;

  FileSpec& stream() { return stream_; }
  EnvCore* env() const { return stream_.env(); }
  const Syntax& syntax() const { return syntax_; }
  void setSyntax(const Syntax& s) { syntax_ = s; }

  // ---- characters (no skipping) ----
  // The next byte (0..255) without taking it; `ahead` (< MAX_LOOKAHEAD) looks further on.
  int peek(size_t ahead = 0) {
    if (pos_ + ahead >= end_ && !fill(ahead + 1)) return END;
    return static_cast<unsigned char>(data_[pos_ + ahead]);
  }
  // Takes the next byte, keeping the position.
  int readChar() {
    int c = peek();
    if (c == END) return END;
    ++pos_;
    ++offset_;
    // CR LF is one line end: the CR only moves along the line, the LF ends it.
    if (c == '\n' || c == '\f' || (c == '\r' && peek() != '\n')) {
      ++line_;
      column_ = 1;
    } else {
      ++column_;
    }
    return c;
  }
  bool atEnd() { return peek() == END; }
  // Takes `text` when the input continues with it (at most MAX_LOOKAHEAD bytes).
  bool skipText(std::string_view text);
  // The rest of the current line without its line end, which is taken too.
  std::string readRestOfLine();
  // The same into `line`, which keeps its room.
  void readRestOfLine(std::string& line);
  // Bytes up to (not taking) one of `stops`, a line end, or the end of input.
  std::string readRawUntil(std::string_view stops);

  // ---- white space and comments ----
  // Skips white space and comments; returns the next character (not taken) or END.
  int skipSpace() {
    // Nothing to skip, or one space before a token: the next byte (or the one after the space)
    // is neither white space nor the start of a comment.
    if (pos_ < end_) {
      const int c = static_cast<unsigned char>(data_[pos_]);
      if (!startsSpaceOrComment(c)) return c;
      if (c == ' ' && pos_ + 1 < end_) {
        const int next = static_cast<unsigned char>(data_[pos_ + 1]);
        if (!startsSpaceOrComment(next)) {
          takeInLine(1);
          return next;
        }
      }
    }
    return skipSpaceSlow();
  }

  // ---- tokens (each skips white space and comments first, and sets tokenStart) ----
  // An identifier, or "" (nothing taken) when none stands next.
  std::string readIdentifier();
  // A run of letters, digits, '_' and the characters of `extra` (it may begin with a digit: BIF
  // names such as "Pig-Network" with extra "-"; `extra` holds no line end), or "" when none
  // stands next.
  std::string readWord(std::string_view extra = {});
  // A run of any bytes but white space, control characters, the characters of `stops` and the
  // openings of comments ("1_00___2_%", "a-b/c+d" with stops "{}"), or "" when none stands next.
  std::string readBareWord(std::string_view stops);
  // The same into `out`, which keeps its room.
  void readBareWord(std::string_view stops, std::string& out);
  // A number: [+|-] digits [. digits] [e|E [+|-] digits], or one beginning with the point; or
  // [+|-] "INFINITY"/"Infinity"/"Inf" (any case); or "@" and a name (value NaN, `escape` set).
  // False, nothing taken, when none stands next.  Out-of-range values become infinity or 0.
  bool readNumber(Number& out);
  // Plain numbers (digits, optionally a point and digits, at most 15 significant digits and 22
  // after the point) separated by spaces, tabs and line feeds (and one `sep`, when not 0, once
  // `out` holds a number), appended to `out` until `max` have been read or something else stands
  // next (left for the other methods).  Returns how many were read: a fast way through long
  // tables, giving the values readNumber gives.
  // A `sep` is taken only together with the number after it; with `sepNeeded` (and a `sep`) the
  // numbers must be separated by it (white space alone ends the run).
  size_t readPlainNumbers(std::vector<double>& out, size_t max, char sep = 0, bool sepNeeded = false);
  // Brackets around and between numbers, and how deeply the reader stands inside them.
  struct Brackets {
    char open, close;
    int depth;
  };
  // Plain numbers as readPlainNumbers reads them (without separators) and the brackets around
  // and between them, counted in `brackets.depth`, until the bracket that brings the depth to 0
  // has been taken, or something else stands next (a number once `max` have been read).
  size_t readNestedNumbers(std::vector<double>& out, size_t max, Brackets& brackets);
  // Passes over plain numbers as readPlainNumbers reads them (the first not after a `sep`), and
  // returns how many; tokenStart() is then the start of the last.
  size_t skipPlainNumbers(char sep = 0);
  // A whole number written as plain digits (after white space) from `low` to `high`, taken and
  // put in `out`; false, nothing taken but white space, for anything else (read it the usual way).
  bool readPlainCount(uint64_t low, uint64_t high, uint64_t& out);
  // The next character if it is punctuation (ASCII, printable, not a letter, digit or '_';
  // '"' counts), taken; else 0 and nothing taken.
  int readPunct();
  // Takes the punctuation character `c` when it stands next.
  bool readPunct(char c) {
    if (skipSpace() != static_cast<unsigned char>(c)) return false;
    startToken();
    if (c == '\n' || c == '\r' || c == '\f') readChar();
    else takeInLine(1);
    return true;
  }
  // A quoted string with its escapes decoded (the rules above); "missing open quote" when none
  // stands next, "unterminated quote mark" at the end of input.  With the setting "Put_strings_in_unicode_normalization_form_C"
  // on, non-ASCII text not in Normalization Form C is converted (with a notice); with the syntax's
  // utf16Strings the result is UTF-16LE and two zero bytes.
  std::string readQuoted();
  // The text between quotes exactly as written, escapes left as they are (a backslash still keeps
  // the next character from ending the string).
  std::string readQuotedRaw();
  // Any token.  A word such as INFINITY comes back as a Word (readNumber reads it as a number);
  // "-INFINITY" and "@name" come back as Numbers.
  Token readToken();
  // The same into `t`, whose strings keep their room.
  void readToken(Token& t);
  // Passes over the token readToken would read (with the same faults), without keeping its
  // text, and returns its kind; a Punct's character is put in `punct`.
  TokenKind skipToken(int& punct);

  // ---- values and lists (TokenLists.cpp) ----
  // "TRUE" or "FALSE", and with `allowMaybe` "MAYBE"; anything else fails with "illegal value".
  Truth readTruth(bool allowMaybe = false);
  // "(" item {"," item} ")", "()" being empty.  `item` is called with the reader at each item and
  // must take it.  Faults: "missing '('", "illegal punctuation '%s'", "missing ','", "missing ')'".
  void readList(const std::function<void()>& item);
  // One value as text: a quoted string (decoded), a number as written, or a word (with `extra`
  // characters); punctuation fails with "illegal punctuation", the end with "missing ')'".
  std::string readValueText(std::string_view extra = {});
  // readList over readValueText.
  std::vector<std::string> readValueList(std::string_view extra = {});
  // "(" name {"," name} ")": legal names, none repeated.
  std::vector<std::string> readParamList();
  // "(" name "=" value {"," name "=" value} ")": legal names, none repeated; `value` reads each
  // value (given its name).
  void readPropertyList(const std::function<void(const std::string& name)>& value);
  // The same with each value read by readValueText.
  std::vector<std::pair<std::string, std::string>> readPropertyList();

  // ---- positions, context and faults ----
  TextPosition here() const { return {line_, column_}; }
  TextPosition tokenStart() const { return tokenStart_; }
  uint64_t offset() const { return offset_; }  // bytes taken so far
  // With the WHOLE block: all of the input (its bytes from offset 0).
  std::string_view text() const { return {data_, eof_ ? end_ : 0}; }
  int commentDepth() const { return depth_; }

  const ReadContext& context() const { return context_; }
  void setContext(ReadContext c) { context_ = c; }
  void swapContext(ReadContext& c) { std::swap(context_, c); }
  // The suffix that ends every message about a fault at `at`.
  std::string suffix(TextPosition at) const;

  template <class... A>
  [[noreturn]] void fail(ErrDef d, const A&... a) {
    failAt(here(), d, a...);
  }
  template <class... A>
  [[noreturn]] void failAt(TextPosition at, ErrDef d, const A&... a) {
    throwRecord(raise(ERROR_SEV, at, d.number, format(d.text, a...)));
  }
  template <class... A>
  ErrorRecord* recordError(TextPosition at, ErrDef d, const A&... a) {
    return raise(ERROR_SEV, at, d.number, format(d.text, a...));
  }
  template <class... A>
  void warn(ErrDef d, const A&... a) {
    raise(WARNING_SEV, here(), d.number, format(d.text, a...));
  }
  template <class... A>
  void warnAt(TextPosition at, ErrDef d, const A&... a) {
    raise(WARNING_SEV, at, d.number, format(d.text, a...));
  }

 private:
  ErrorRecord* raise(int severity, TextPosition at, int number, std::string text);
  bool fill(size_t need);
  int skipSpaceSlow();
  bool startsSpaceOrComment(int c) const {
    return c <= ' ' || c == '/' || c == '<' || c == static_cast<unsigned char>(syntax_.lineComment[0]);
  }
  void startToken() { tokenStart_ = here(); }
  void enterComment(ErrDef tooDeep);
  bool skipComment();
  void skipLineComment();
  void skipBlockComment();
  void skipNestedComment();
  bool skipMarkup();
  void skipIgnoreSection(TextPosition start);
  void skipBlanks();  // spaces, tabs and line feeds
  template <bool Nested, class Take>
  size_t plainNumbers(size_t max, char sep, bool sepNeeded, bool first, Take take, Brackets* brackets = nullptr);
  bool startsNumber();
  void readDigits(std::string& text);
  bool readInfinity(Number& out);
  size_t numberLength(bool& fraction, bool& exponent);
  void takeInLine(size_t n) {
    pos_ += n;
    offset_ += n;
    column_ += static_cast<long>(n);
  }
  bool readEscape(int c, std::string& out);
  void readBinary(int letter, std::string& out);
  std::string finishString(std::string bytes);

  FileSpec& stream_;
  std::unique_ptr<StreamInput> input_;
  // The stops of the last bare word, and the bytes that end one: white space and control
  // characters, '/' and the stops (at first, no stops).
  std::string wordStops_;
  uint64_t wordEnds_[4] = {((uint64_t{1} << 33) - 1) | (uint64_t{1} << '/'), 0, 0, 0};
  Syntax syntax_;
  std::vector<char> buf_;
  std::string whole_;           // a file held whole
  std::string_view whole_view_;
  const char* data_ = nullptr;  // the bytes being read: buf_, or a memory stream's own bytes
  size_t pos_ = 0, end_ = 0;
  bool eof_ = false;
  long line_ = 1, column_ = 1;
  uint64_t offset_ = 0;
  TextPosition tokenStart_{1, 1};
  int depth_ = 0;
  ReadContext context_;
};

// Sets the reader's context for a scope and puts the previous one back at its end.
class ContextScope {
 public:
  ContextScope(TokenReader& rd, ReadContext c) : rd_(rd), saved_(c) { rd.swapContext(saved_); }
  ~ContextScope() { rd_.swapContext(saved_); }
  ContextScope(const ContextScope&) = delete;
  ContextScope& operator=(const ContextScope&) = delete;

 private:
  TokenReader& rd_;
  ReadContext saved_;
};

}  // namespace quorva
