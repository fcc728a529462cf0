// Fuzzes the case-file reader: arbitrary bytes in a memory stream are read as a case file against
// a small fixed net (two discrete nodes, one with levels, one discretized and one continuous
// node), case after case, entering each as findings, until the end or an error.
//
// The first byte chooses the settings: bits 0-1 the delimiter (tab, comma, space), bit 2 the
// missing-data character absent (with a comma), bits 3-4 the add-nodes mode, bit 5 small blocks,
// bit 6 keeping findings of missing columns.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "BN/Net/NodeStates.h"
#include "Basic/EnvCore.h"
#include "Basic/Stream.h"
#include "Basic/Raise.h"
#include "VarVal/CaseFindings.h"
#include "VarVal/CaseReader.h"
#include "FuzzEnv.h"

using namespace quorva;

namespace {

std::unique_ptr<Bnet> makeNet(EnvCore& env) {
  auto net = std::make_unique<Bnet>(&env, "Fuzz");
  Bnode& a = net->addNode("A", 2);
  setStateNames(a, "yes,no");
  Bnode& b = net->addNode("B", 3);
  const double levels[3] = {1, 2, 4};
  setLevels(b, 3, levels);
  setStateTitle(b, 2, "four \"4\"");
  Bnode& d = net->addNode("D", 0);
  const double bounds[3] = {0, 10, 100};
  setLevels(d, 2, bounds);  // two intervals: three thresholds
  net->addNode("C", 0);
  return net;
}

CaseFormat formatFor(uint8_t mode) {
  CaseFormat f;
  f.loaded = true;
  f.delimiter = "\t, "[(mode & 3) % 3];
  if (mode & 4) {
    f.delimiter = ',';
    f.missing = 0;
  }
  return f;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  EnvCore& env = fuzzEnv();
  uint8_t mode = data[0];
  std::unique_ptr<Bnet> net = makeNet(env);
  std::vector<Bnode*> listed(net->nodes.begin(), net->nodes.end());
  FileSpec stream(&env, FileSpec::Kind::Memory, (mode & 128) ? "fuzz.csv" : "fuzz.cas");
  stream.setContents(reinterpret_cast<const char*>(data + 1), size - 1, false);
  CaseFormat fmt = formatFor(mode);
  auto addMode = static_cast<AddNew>((mode >> 3) & 3);
  try {
    CaseReader reader(stream, fmt, false, (mode & 32) ? 7 : TokenReader::DEFAULT_BLOCK);
    if (reader.readHeader()) {
      std::vector<std::string> added;
      CaseBinding binding;
      binding.refresh(reader, *net, listed, addMode, true, added);
      CaseScratch scratch;
      CaseRow& row = scratch.row;
      uint64_t last = 0;
      while (true) {
        try {
          if (!reader.next(row)) break;
          if (row.offset < last || row.fields.size() != reader.columns().size()) std::abort();
          last = row.offset;
          binding.refresh(reader, *net, listed, addMode, false, added);
          enterCase(reader, row, binding, listed, (mode & 64) != 0, scratch);
        } catch (const QuorvaError&) {
          // a faulty line or refused finding: reading goes on with the next line
        }
        if (reader.casesRead() > 100000) break;
      }
    }
  } catch (const QuorvaError&) {
    // the file as a whole refused
  }
  // The same bytes through the one-case-at-a-time cursor, from the first case to the end.
  CaseCursors cursors;
  try {
    for (long long posn = FIRST_CASE_POSN; posn != NO_MORE_CASES_POSN;) {
      try {
        posn = readCaseIntoNet(cursors, stream, posn, false, listed, *net, AddNew::Dont, fmt).posn;
      } catch (const QuorvaError&) {
        if (posn == FIRST_CASE_POSN) break;
      }
      if (posn != NO_MORE_CASES_POSN) posn = NEXT_CASE_POSN;
    }
  } catch (const QuorvaError&) {
  }
  cursors.clear();
  env.errors.clearAll();
  return 0;
}
