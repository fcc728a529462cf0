// Fuzzes the token reader: arbitrary bytes in a memory stream are read as tokens (or lists) until
// the end or the first error, and quoted text must read back byte for byte.
//
// The first byte chooses the syntax and the reading: bit 0 markup comments, bit 1 UTF-16 strings,
// bit 2 '#' line comments, bit 3 small blocks, bits 4-5 tokens / value lists / property lists /
// parameter lists with truth values, bit 6 Normalization Form C, bit 7 raw UTF-8 when quoting.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "Basic/Raise.h"
#include "Basic/Settings.h"
#include "Basic/StringQuoter.h"
#include "Basic/TokenReader.h"
#include "FuzzEnv.h"

using namespace quorva;

namespace {

Syntax syntaxFor(uint8_t mode) {
  Syntax s;
  s.markupComments = (mode & 1) != 0;
  s.utf16Strings = (mode & 2) != 0;
  if (mode & 4) {
    s.lineComment[0] = '#';
    s.lineComment[1] = 0;
  }
  return s;
}

void readAll(TokenReader& rd, int what) {
  switch (what) {
    case 0:
      while (rd.readToken().kind != TokenKind::End) {
      }
      break;
    case 1:
      while (!rd.atEnd()) rd.readValueList("-.");
      break;
    case 2:
      while (!rd.atEnd()) rd.readPropertyList();
      break;
    default:
      while (!rd.atEnd()) {
        rd.readParamList();
        rd.readTruth(true);
      }
      break;
  }
}

void readTokens(EnvCore& env, uint8_t mode, const char* text, size_t n) {
  env.settings.set(NFC_STRINGS_SETTING, (mode & 64) ? "on" : "off");
  FileSpec stream(&env, FileSpec::Kind::Memory, "fuzz.dne");
  stream.setContents(text, n, false);
  TokenReader rd(stream, syntaxFor(mode), (mode & 8) ? 32 : TokenReader::DEFAULT_BLOCK);
  try {
    readAll(rd, (mode >> 4) & 3);
  } catch (const QuorvaError&) {
    // a lexical fault: recorded, and the read ends
  }
}

// What the quoter writes, the reader must give back unchanged.
void checkRoundTrip(EnvCore& env, const char* text, size_t n, bool rawUtf8) {
  env.settings.set(NFC_STRINGS_SETTING, "off");
  std::string original(text, n);
  std::string quoted = quoteString(original, {rawUtf8}) + " ";
  FileSpec stream(&env, FileSpec::Kind::Memory, "");
  stream.setContents(quoted.data(), quoted.size(), false);
  TokenReader rd(stream);
  if (rd.readQuoted() != original || rd.skipSpace() != TokenReader::END) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  EnvCore& env = fuzzEnv();
  const char* text = reinterpret_cast<const char*>(data + 1);
  readTokens(env, data[0], text, size - 1);
  checkRoundTrip(env, text, size - 1, (data[0] & 128) != 0);
  env.errors.clearAll();
  return 0;
}
