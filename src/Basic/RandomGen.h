// The engine's random generator: xorshift1024* over sixteen 64-bit words, seeded by SplitMix64,
// with whole-number, uniform and normal draws and a text form of its state.
//
// Every random choice of the engine draws from one of these.  The environment owns a default
// generator (EnvCore::randgen, seeded with 0); a net may hold its own (Bnet::randgen), which then
// takes precedence.  Draws from an environment's default generator take the environment's lock,
// so that threads of one environment can share it; any other generator is used by one thread at
// a time and takes no lock.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Basic/Tagged.h"

namespace quorva {

class EnvCore;

// Seeding with this value takes the seed from the clock (see RandomGen::seed).
inline constexpr uint64_t NO_SEED = ~uint64_t{0};

// The state string: this 16-character prefix (skipped when read), the sixteen state words as 16
// hexadecimal digits each, then the index as one hexadecimal digit.
inline constexpr std::string_view RANDGEN_STATE_PREFIX = "QuorvaRandGen01:";
inline constexpr size_t RANDGEN_STATE_LENGTH = 16 + 16 * 16 + 1;  // 273

// One step of SplitMix64: advances `x` and returns the next output.
uint64_t splitMix64(uint64_t& x);

// Reads a seed text: an optional sign and 1 to 18 decimal digits.  Refuses anything else with
// error 3840 and a negative value with error 3841, both raised in `env`.
uint64_t parseSeed(EnvCore* env, std::string_view text);

class RandomGen : public Tagged {
 public:
  // A generator of `env` seeded with `seed` (NO_SEED: from the clock).
  RandomGen(EnvCore* env, uint64_t seed);
  RandomGen(const RandomGen&) = delete;
  RandomGen& operator=(const RandomGen&) = delete;

  EnvCore* env;

  // Seeds the state with sixteen SplitMix64 outputs started at `seed` and sets the index to 0.
  // NO_SEED takes the seed from the clock instead: the time in seconds in the high 32 bits plus a
  // process-wide counter, incremented at every such seeding, in the low 32 bits (the time part is
  // 0 while reproducible runs are switched on).
  void seed(uint64_t seed);

  // Draws.  Each one on a generator whose state has been freed is an internal fault ("gen").
  uint64_t next64();
  uint32_t next32();  // the high 32 bits of next64
  // A whole number in 0..n-1 by multiply-shift of next32 (n must be at least 1).
  uint32_t below(uint32_t n);
  // A double in [0, 1) with 52 random bits; 1.0 never occurs.
  double uniform();
  // `n` draws of uniform() in a row, taking the generator's lock once.
  void fillUniform(double* out, size_t n);
  // A standard normal variate by the polar method; each one uses its own pair of uniforms.
  double normal();

  // The state string, kept in the generator's text buffer until the next call.
  const std::string& stateText();
  // Takes the state from a state string; a string shorter than RANDGEN_STATE_LENGTH (error 3612)
  // or with a character that is not a hexadecimal digit (error 3839) leaves the state unchanged.
  void readState(std::string_view text);

  bool hasState() const { return state_ != nullptr; }
  // Frees the state and the text buffer and gives the object the deleted tag.
  void release();

  // The process-wide switch for reproducible runs: while on, the clock part of a NO_SEED seeding
  // is 0.  It starts on when the process environment variable QUORVA_REPRODUCIBLE_RANDOM is set
  // to anything but "" or "0".  Returns the setting before.
  static bool setReproducible(bool on);
  // The process-wide counter of NO_SEED seedings (the low 32 bits of the last clock seed).
  static uint32_t reseedCount();

 private:
  struct State {
    uint64_t s[16];
    unsigned p;
  };
  State& checkedState();

  std::unique_ptr<State> state_;  // allocated at the first seeding, kept across reseeding
  std::string text_;              // the state string handed out last
};

// A net's hold on a generator of its own.  An owned generator is deleted with the net (or when
// the net is given another); a borrowed one stays the application's.
struct RandomGenHold {
  RandomGen* gen = nullptr;
  bool owned = false;

  // The generator to draw from: the held one, or else the default generator of `env`.
  RandomGen& pick(EnvCore* env) const;
};

}  // namespace quorva
