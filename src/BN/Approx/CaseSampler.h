// Writing cases drawn from a net to a case file, in fixed blocks of cases so that the file is the
// same whatever the number of threads: block b draws from a generator seeded from the seed and b,
// and blocks are written in order, a few at a time (never the whole file in memory).
#pragma once
#include <cstdint>

namespace quorva {

class Bnet;
class FileSpec;
struct CaseFormat;

inline constexpr long long SAMPLE_BLOCK_CASES = 4096;

// The seed of block `block` of a run seeded with `seed`.
uint64_t blockSeed(uint64_t seed, uint64_t block);

// Replaces the contents of `stream` with `count` cases drawn from the net by forward sampling:
// a header line (after the magic lines when the format asks for them) of the names of the nodes
// with states (utility nodes left out), in net order, then one line per case.  When the net has
// findings, nodes with a state finding keep that state and a first "NumCases" column gives each
// case its likelihood weight (P(finding | parents) times likelihoods), printed with "%g".  Lines
// end with "\r\n".  `threads` (1 or more) draw blocks at once.
void writeSampledCases(const Bnet& net, FileSpec& stream, long long count, uint64_t seed, int threads,
                       const CaseFormat& format);

}  // namespace quorva
