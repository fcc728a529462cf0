// Drawing blocks of cases on worker threads and writing them in block order.
#include "BN/Approx/CaseSampler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "BN/Approx/SampleModel.h"
#include "BN/Net/Bnet.h"
#include "BN/Net/Bnode.h"
#include "Basic/Format.h"
#include "Basic/RandomGen.h"
#include "Basic/Stream.h"
#include "Basic/StringQuoter.h"
#include "VarVal/CaseFormat.h"
#include "VarVal/CaseWriter.h"

namespace quorva {

namespace {

const char* const CRLF = "\r\n";

// A state as a case file writes it: by the value form, its name, its quoted title, its level,
// or "#" and its number, whichever the node has first.
std::string stateText(const Bnode& n, int s, int form) {
  const auto i = static_cast<size_t>(s);
  const NodeDetails& d = n.details();
  if (form <= FORM_NAMES && i < n.stateNames.size() && !n.stateNames[i].empty()) return n.stateNames[i];
  if (form <= FORM_TITLES && i < d.stateTitles.size() && !d.stateTitles[i].empty())
    return quoteString(d.stateTitles[i]);
  if (form <= FORM_LEVELS) {
    double level = std::nan("");
    if (n.type != CONTINUOUS && d.levels.size() == static_cast<size_t>(n.numStates)) level = d.levels[i];
    if (n.type == CONTINUOUS && d.levels.size() == static_cast<size_t>(n.numStates) + 1)
      level = (d.levels[i] + d.levels[i + 1]) / 2;
    if (std::isfinite(level)) return format("%g", level);
  }
  return format("#%d", s);
}

// What one case line is made of: the columns' nodes and the text of each of their states.
struct Columns {
  std::vector<int> nodes;                            // net positions
  std::vector<std::vector<std::string>> stateTexts;  // per column, per state
  std::string missing;
  char delimiter = '\t';
  bool weighted = false;
};

Columns columnsOf(const Bnet& net, const SampleModel& model, const CaseFormat& fmt) {
  Columns c;
  c.missing = fmt.missingText();
  c.delimiter = fmt.delimiter;
  c.weighted = model.hasFindings();
  for (size_t i = 0; i < net.nodes.size(); ++i) {
    const Bnode& n = *net.nodes[i];
    if (n.kind == UTILITY || n.numStates <= 0) continue;
    c.nodes.push_back(static_cast<int>(i));
    std::vector<std::string> texts;
    for (int s = 0; s < n.numStates; ++s) texts.push_back(stateText(n, s, fmt.valueForm));
    c.stateTexts.push_back(std::move(texts));
  }
  return c;
}

std::string headerText(const Bnet& net, const Columns& c, const CaseFormat& fmt) {
  std::string text = fmt.header ? caseMagicLines() : std::string();
  bool first = true;
  if (c.weighted) {
    text += "NumCases";
    first = false;
  }
  for (int i : c.nodes) {
    if (!first) text += c.delimiter;
    text += net.nodes[static_cast<size_t>(i)]->name;
    first = false;
  }
  return text + CRLF;
}

// Draws the cases of one block and appends their lines to `out`.
void drawBlock(const SampleModel& model, const Columns& c, uint64_t seed, uint64_t block, long long cases,
               std::string& out) {
  RandomGen rng(nullptr, blockSeed(seed, block));
  std::vector<int> values(model.size());
  std::vector<double> uniforms;
  char number[32];
  for (long long k = 0; k < cases; ++k) {
    const double weight = model.draw(rng, values.data(), uniforms);
    bool first = true;
    if (c.weighted) {
      std::snprintf(number, sizeof number, "%g", weight);
      out += number;
      first = false;
    }
    for (size_t col = 0; col < c.nodes.size(); ++col) {
      if (!first) out += c.delimiter;
      first = false;
      const int v = values[static_cast<size_t>(c.nodes[col])];
      out += v >= 0 ? c.stateTexts[col][static_cast<size_t>(v)] : c.missing;
    }
    out += CRLF;
  }
}

}  // namespace

uint64_t blockSeed(uint64_t seed, uint64_t block) {
  uint64_t x = seed ^ (block * 0xD1B54A32D192ED03ull);
  splitMix64(x);
  return splitMix64(x);
}

void writeSampledCases(const Bnet& net, FileSpec& stream, long long count, uint64_t seed, int threads,
                       const CaseFormat& format) {
  const SampleModel model(net);
  const Columns columns = columnsOf(net, model, format);
  WholeWrite out(stream);  // the old file stays whole until every case is written
  out.add(headerText(net, columns, format));
  const long long blocks = (count + SAMPLE_BLOCK_CASES - 1) / SAMPLE_BLOCK_CASES;
  const auto workers = static_cast<size_t>(std::max(1, threads));
  // Rounds of 2 blocks per worker: the next round is drawn while this one is written.
  const long long perRound = 2 * static_cast<long long>(workers);
  auto drawRound = [&](long long round, std::vector<std::string>& texts) {
    auto work = [&, round](size_t w) {
      for (long long j = static_cast<long long>(w); j < perRound; j += static_cast<long long>(workers)) {
        const long long b = round * perRound + j;
        std::string& out = texts[static_cast<size_t>(j)];
        out.clear();
        if (b >= blocks) continue;
        const long long cases = std::min(SAMPLE_BLOCK_CASES, count - b * SAMPLE_BLOCK_CASES);
        drawBlock(model, columns, seed, static_cast<uint64_t>(b), cases, out);
      }
    };
    std::vector<std::thread> pool;
    for (size_t w = 1; w < workers; ++w) pool.emplace_back(work, w);
    work(0);
    for (std::thread& t : pool) t.join();
  };
  const long long rounds = (blocks + perRound - 1) / perRound;
  std::vector<std::string> ready(static_cast<size_t>(perRound)), next(static_cast<size_t>(perRound));
  if (rounds > 0) drawRound(0, ready);
  for (long long r = 0; r < rounds; ++r) {
    std::thread drawing;
    if (r + 1 < rounds) drawing = std::thread(drawRound, r + 1, std::ref(next));
    try {
      for (const std::string& text : ready)
        if (!text.empty()) out.add(text);
    } catch (...) {
      if (drawing.joinable()) drawing.join();
      throw;
    }
    if (drawing.joinable()) drawing.join();
    std::swap(ready, next);
  }
  out.commit();
}

}  // namespace quorva
