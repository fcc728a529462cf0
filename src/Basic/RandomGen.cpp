// The random generator: seeding, the xorshift1024* step, the derived draws, the state string and
// the locking of the environment's default generator.
#include "Basic/RandomGen.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <ctime>
#include <limits>
#include <mutex>

#include "Basic/EnvCore.h"
#include "Basic/RandomErrors.h"
#include "Basic/Raise.h"

namespace quorva {

namespace {

constexpr uint64_t XORSHIFT_MULTIPLIER = 0x106689D45497FDB5ULL;  // 1181783497276652981
constexpr size_t MAX_SEED_DIGITS = 18;

std::atomic<uint32_t>& reseedCounter() {
  static std::atomic<uint32_t> counter{0};
  return counter;
}

bool reproducibleFromProcessEnvironment() {
  const char* v = std::getenv("QUORVA_REPRODUCIBLE_RANDOM");
  return v && *v && std::string_view(v) != "0";
}

std::atomic<bool>& reproducible() {
  static std::atomic<bool> on{reproducibleFromProcessEnvironment()};
  return on;
}

// A process-wide spare normal variate, undefined until something stores one; a normal draw
// hands a stored one out first.  The polar draw below keeps its second variate to itself.
std::atomic<double> spareNormal{std::numeric_limits<double>::quiet_NaN()};

uint64_t clockSeed() {
  uint32_t count = reseedCounter().fetch_add(1) + 1;
  uint64_t seconds = reproducible().load() ? 0 : static_cast<uint32_t>(std::time(nullptr));
  return (seconds << 32) + count;
}

// Holds the environment's lock while a draw runs on that environment's default generator.
class DrawLock {
 public:
  explicit DrawLock(const RandomGen& gen) {
    EnvCore* env = gen.env;
    if (env && env->isOfType(ENVIRON_TYPE) && &env->randgen == &gen) {
      lock_ = &env->lock;
      lock_->lock();
    }
  }
  ~DrawLock() {
    if (lock_) lock_->unlock();
  }
  DrawLock(const DrawLock&) = delete;
  DrawLock& operator=(const DrawLock&) = delete;

 private:
  std::recursive_mutex* lock_ = nullptr;
};

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string shownChar(char c) {
  unsigned char u = static_cast<unsigned char>(c);
  if (std::isprint(u)) return format("'%c'", c);
  return format("code %u", static_cast<unsigned>(u));
}

}  // namespace

uint64_t splitMix64(uint64_t& x) {
  x += 0x9E3779B97F4A7C15ULL;
  uint64_t z = x;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

uint64_t parseSeed(EnvCore* env, std::string_view text) {
  bool negative = false;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  if (text.empty() || text.size() > MAX_SEED_DIGITS) argError(env, err::SeedNotInteger);
  long long value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') argError(env, err::SeedNotInteger);
    value = value * 10 + (c - '0');
  }
  if (negative && value != 0) argError(env, err::SeedNegative, -value);
  return static_cast<uint64_t>(value);
}

RandomGen::RandomGen(EnvCore* e, uint64_t s) : Tagged(BUILDING_TYPE), env(e) {
  seed(s);
  tag = RANDGEN_TYPE;
}

void RandomGen::seed(uint64_t x) {
  if (x == NO_SEED) x = clockSeed();
  DrawLock lock(*this);
  if (!state_) state_ = std::make_unique<State>();
  for (uint64_t& word : state_->s) word = splitMix64(x);
  state_->p = 0;
}

RandomGen::State& RandomGen::checkedState() {
  State* gen = state_.get();
  QASSERT(env, gen);
  return *gen;
}

namespace {

uint64_t step(uint64_t* s, unsigned& p) {
  uint64_t s0 = s[p];
  p = (p + 1) & 15;
  uint64_t s1 = s[p];
  s1 ^= s1 << 31;
  s[p] = s1 ^ s0 ^ (s1 >> 11) ^ (s0 >> 30);
  return s[p] * XORSHIFT_MULTIPLIER;
}

double unitFrom(uint64_t bits) {
  return std::bit_cast<double>((bits >> 12) | 0x3FF0000000000000ULL) - 1.0;
}

}  // namespace

uint64_t RandomGen::next64() {
  DrawLock lock(*this);
  State& st = checkedState();
  return step(st.s, st.p);
}

uint32_t RandomGen::next32() { return static_cast<uint32_t>(next64() >> 32); }

uint32_t RandomGen::below(uint32_t n) {
  return static_cast<uint32_t>((static_cast<uint64_t>(next32()) * n) >> 32);
}

double RandomGen::uniform() { return unitFrom(next64()); }

void RandomGen::fillUniform(double* out, size_t n) {
  DrawLock lock(*this);
  State& st = checkedState();
  uint64_t s[16];
  std::copy(std::begin(st.s), std::end(st.s), s);
  unsigned p = st.p;
  for (size_t i = 0; i < n; ++i) out[i] = unitFrom(step(s, p));
  std::copy(std::begin(s), std::end(s), st.s);
  st.p = p;
}

double RandomGen::normal() {
  DrawLock lock(*this);
  State& st = checkedState();
  if (double spare = spareNormal.load(); spare == spare) {
    spare = spareNormal.exchange(std::numeric_limits<double>::quiet_NaN());
    if (spare == spare) return spare;
  }
  double a, s;
  do {
    a = 2.0 * unitFrom(step(st.s, st.p)) - 1.0;
    double b = 2.0 * unitFrom(step(st.s, st.p)) - 1.0;
    s = a * a + b * b;
  } while (s >= 1.0 || s == 0.0);  // s == 0 (both exactly 0.5) would give 0 * infinity
  double f = static_cast<float>(std::sqrt(-2.0 * std::log(s) / s));
  return f * a;
}

const std::string& RandomGen::stateText() {
  DrawLock lock(*this);
  const State& st = checkedState();
  std::string text(RANDGEN_STATE_PREFIX);
  for (uint64_t word : st.s) text += format("%016llx", static_cast<unsigned long long>(word));
  text += format("%x", st.p);
  text_ = std::move(text);
  return text_;
}

void RandomGen::readState(std::string_view text) {
  if (text.size() < RANDGEN_STATE_LENGTH)
    argError(env, err::RandStateTooShort, static_cast<int>(text.size()), static_cast<int>(RANDGEN_STATE_LENGTH));
  size_t pos = RANDGEN_STATE_PREFIX.size();
  auto hexAt = [&]() -> uint64_t {
    int v = hexValue(text[pos]);
    if (v < 0) argError(env, err::RandStateNotHex, ordinal(static_cast<long>(pos) + 1), shownChar(text[pos]));
    ++pos;
    return static_cast<uint64_t>(v);
  };
  State read{};
  for (uint64_t& word : read.s)
    for (int digit = 0; digit < 16; ++digit) word = (word << 4) | hexAt();
  read.p = static_cast<unsigned>(hexAt());
  DrawLock lock(*this);
  if (!state_) state_ = std::make_unique<State>();
  *state_ = read;
}

void RandomGen::release() {
  state_.reset();
  std::string().swap(text_);
  tag = DELETED_TYPE;
  deleted = 1;
}

bool RandomGen::setReproducible(bool on) { return reproducible().exchange(on); }

uint32_t RandomGen::reseedCount() { return reseedCounter().load(); }

RandomGen& RandomGenHold::pick(EnvCore* env) const { return gen ? *gen : env->randgen; }

}  // namespace quorva
