#include "Cutil/ut_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_hash.h"
#include "util/ut_struct.h"

namespace {

// Blocks -------------------------------------------------------------------

TEST(UtMemory, ResizedBlock) {
  void* block = nullptr;
  ASSERT_EQ(UtResize(&block, 10, 3, false, 16), RC_OK);
  char* bytes = static_cast<char*>(block);
  // 30 bytes become 32.
  EXPECT_TRUE(std::all_of(bytes, bytes + 32, [](char c) { return c == 0; }));
  memset(bytes, 'x', 32);
  ASSERT_EQ(UtResize(&block, 100000, 1, true, 0), RC_OK);
  bytes = static_cast<char*>(block);
  EXPECT_TRUE(std::all_of(bytes, bytes + 32, [](char c) { return c == 'x'; }));
  ASSERT_EQ(UtResize(&block, 8, 0, false, 16), RC_OK);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(UtResize(&block, 0, 8, false, 16), RC_OK);
  EXPECT_EQ(block, nullptr);
}

struct SizeCase {
  size_t count, size, granule;
};

TEST(UtMemory, ImpossibleSizesAreRefused) {
  constexpr SizeCase CASES[] = {
      {SIZE_MAX, 2, 0},                       // more than a size can be
      {size_t{1} << 32, size_t{1} << 32, 0},  // 2^64, as a size 0
      {(size_t{1} << 63) - 1, 1, 0},
  };
  for (const SizeCase& row : CASES) {
    void* block = UtAllocZero(1, 8);
    void* const held = block;
    EXPECT_EQ(UtResize(&block, row.count, row.size, true, row.granule),
              RC_NO_MEMORY);
    EXPECT_EQ(block, held);
    UtFree(&block);
    EXPECT_EQ(block, nullptr);
  }
}

TEST(UtMemory, ChosenRequestFails) {
  void* blocks[4] = {};
  UtFailAllocation(3);
  for (void*& block : blocks) block = UtAllocBytes(8);
  EXPECT_TRUE(blocks[0] && blocks[1] && !blocks[2] && blocks[3]);
  EXPECT_EQ(UtPendingFault(), 0U);
  for (void*& block : blocks) UtFree(&block);

  UtVector<int> numbers(4);
  const auto grow = [&] {
    numbers.resize(1000);
    return RC_OK;
  };
  UtFailAllocation(1);
  EXPECT_EQ(UtGuarded(grow), RC_NO_MEMORY);
  EXPECT_EQ(numbers.size(), 4U);
  EXPECT_EQ(UtGuarded(grow), RC_OK);
  EXPECT_EQ(UtGuarded([] { return RC_NOT_FOUND; }), RC_NOT_FOUND);
}

// Arena --------------------------------------------------------------------

TEST(UtMemory, ArenaKeepsItsTextsApart) {
  UtArena arena;
  std::vector<std::pair<char*, std::string>> texts;
  // Many small ones and, among them, some that take chunks of their own.
  for (size_t i = 0; i < 20000; ++i) {
    const size_t length = i % 1000 == 999 ? i * 10 : i % 100;
    const std::string text(length, static_cast<char>('a' + i % 26));
    char* copy = arena.copy(text.c_str(), text.size());
    ASSERT_NE(copy, nullptr);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(copy) % 8, 0U);
    texts.emplace_back(copy, text);
  }
  for (const auto& [copy, text] : texts) ASSERT_STREQ(copy, text.c_str());
  EXPECT_EQ(arena.take(SIZE_MAX), nullptr);
  EXPECT_EQ(arena.take(SIZE_MAX - 7), nullptr);
}

TEST(UtMemory, ArenaTakesTheYoungestBlockBack) {
  UtArena arena;
  void* old = arena.take(24);
  void* young = arena.take(5);
  arena.give_back(old, 24);  // stays
  EXPECT_NE(arena.take(24), old);
  arena.release();
  old = arena.take(24);
  young = arena.take(5);
  arena.give_back(young, 5);
  EXPECT_EQ(arena.take(8), young);
}

TEST(UtMemory, ArenaOutlivesAFault) {
  UtArena arena;
  UtFailAllocation(1);
  EXPECT_EQ(arena.take(8), nullptr);
  void* block = arena.take(8);
  EXPECT_NE(block, nullptr);
  UtFailAllocation(1);
  EXPECT_EQ(arena.take(1000000), nullptr);
  UtFailAllocation(0);
  arena.give_back(block, 8);
  EXPECT_EQ(arena.take(8), block);
}

// Record pool --------------------------------------------------------------

struct Record {
  uint64_t value;
  UtRecord next;
};

TEST(UtMemory, RecordsAreNumbered) {
  UtStruct<Record> pool;
  for (uint32_t number = 1; number <= 100000; ++number) {
    ASSERT_EQ(pool.take(), number);
    pool[number].value = uint64_t{number} * 3;
  }
  EXPECT_EQ(pool.end(), 100001U);
  for (uint32_t number = 1; number <= 100000; ++number)
    ASSERT_EQ(pool[number].value, uint64_t{number} * 3);
  pool.give(7);
  pool.give(99);
  EXPECT_EQ(pool.take(), 99U);
  EXPECT_EQ(pool.take(), 7U);
  EXPECT_EQ(pool.take(), 100001U);
  pool.give(5);
  pool.release();
  EXPECT_EQ(pool.take(), 1U) << "what was given back went with its block";
}

TEST(UtMemory, RecordPoolOutlivesAFault) {
  UtStruct<Record> pool;
  uint32_t taken = 0;
  for (int faults = 0; faults < 5; ++faults) {
    UtFailAllocation(2);
    while (const UtRecord record = pool.take())
      pool[record].value = taken = record;
  }
  UtFailAllocation(0);
  EXPECT_EQ(pool.take(), taken + 1);
  EXPECT_EQ(pool[taken].value, taken);
}

// Hash ---------------------------------------------------------------------

// Tables use the lowest bits. Once they knew little of the last bytes of a
// word, and names of eight characters that end in numbers all met.
TEST(UtMemory, HashSpreadsNumberedNames) {
  for (size_t width = 1; width <= 24; ++width) {
    std::vector<bool> met(4096);
    int places = 0;
    for (int i = 0; i < 1000; ++i) {
      std::string name(width, 'N');
      name += std::to_string(1000 + i);
      const uint32_t place = UtHash(name.c_str(), name.size()) & 4095;
      places += !met[place];
      met[place] = true;
    }
    EXPECT_GT(places, 700) << "width " << width;  // 887 by chance
  }
}

}  // namespace
