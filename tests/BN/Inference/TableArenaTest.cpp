// The junction tree's table block: slices start on 64-byte lines and do not overlap, and mapping
// the block's pages ahead of the writer (from either end, while the tables are being written)
// never changes what has been written.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "BN/Inference/TableArena.h"
#include "Basic/EnvCore.h"

namespace {

using quorva::TableArena;

class TableArenaTest : public ::testing::Test {
 protected:
  void SetUp() override { env.state = quorva::ENV_USABLE_STATE; }
  quorva::EnvCore env;
};

// Every float of the slices gets a value of its own; the value at slice t, place i.
float mark(size_t t, size_t i) { return static_cast<float>(t * 1000003 + i % 4099); }

TEST_F(TableArenaTest, MappingAheadKeepsWhatWasWrittenAtEverySize) {
  // Sizes below and above the block that is mapped in chunks, with slices that cross chunks.
  const std::vector<std::vector<size_t>> layouts = {
      {1, 15, 16, 17},
      {3'000'000, 5, 2'500'001, 1'048'576, 7},
      {9'000'000, 9'000'000, 33},
  };
  for (const std::vector<size_t>& sizes : layouts) {
    SCOPED_TRACE(sizes.front());
    size_t floats = 0;
    for (size_t n : sizes) floats += TableArena::sliceFloats(n);
    TableArena arena;
    arena.allocate(&env, floats, "for the test");
    std::vector<float*> slices;
    for (size_t n : sizes) {
      slices.push_back(arena.slice(n));
      EXPECT_EQ(reinterpret_cast<uintptr_t>(slices.back()) % 64, 0u);
    }
    ASSERT_LE(slices.back() + sizes.back(), arena.end());
    // Written in order, each slice mapped just before it is written (as the first update does),
    // while the other thread maps from the far end.
    for (size_t t = 0; t < sizes.size(); ++t) {
      arena.prepare(slices[t] + sizes[t]);
      for (size_t i = 0; i < sizes[t]; ++i) slices[t][i] = mark(t, i);
    }
    arena.prepare(arena.end());
    arena.settle();
    size_t wrong = 0;
    for (size_t t = 0; t < sizes.size(); ++t)
      for (size_t i = 0; i < sizes[t]; ++i) wrong += slices[t][i] != mark(t, i);
    EXPECT_EQ(wrong, 0u) << "a later slice overlapped an earlier one or mapping cleared a page";
  }
}

TEST_F(TableArenaTest, ABlockAllocatedAgainIsMappedAgain) {
  TableArena arena;
  for (int round = 0; round < 2; ++round) {
    arena.allocate(&env, 6'000'000, "for the test");
    float* p = arena.slice(6'000'000);
    arena.prepare(arena.end());
    for (size_t i = 0; i < 6'000'000; i += 1024) p[i] = static_cast<float>(i + round);
    arena.settle();
    size_t wrong = 0;
    for (size_t i = 0; i < 6'000'000; i += 1024) wrong += p[i] != static_cast<float>(i + round);
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(env.memory.used(), static_cast<double>(arena.bytes()));
  }
  arena.release();
  EXPECT_EQ(env.memory.used(), 0.0);
}

}  // namespace
