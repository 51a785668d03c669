#include "Cutil/ut_memory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_hash.h"
#include "util/ut_struct.h"

namespace {

TEST(UtMemory, Blocks) {
  void* block = nullptr;
  ASSERT_EQ(UtResize(&block, 10, 3, false, 16), RC_OK);  // 30 become 32
  EXPECT_EQ(std::string(32, '\0'), std::string(static_cast<char*>(block), 32));
  memset(block, 'x', 32);
  ASSERT_EQ(UtResize(&block, 100000, 1, true, 0), RC_OK);
  EXPECT_EQ(std::string(32, 'x'), std::string(static_cast<char*>(block), 32));
  // Sizes that no size_t holds: one of them is 2^64, which would look like 0.
  constexpr size_t SIZES[][2] = {{SIZE_MAX, 2},
                                 {size_t{1} << 32, size_t{1} << 32}};
  for (const auto& [count, size] : SIZES) {
    EXPECT_EQ(UtResize(&block, count, size, true, 0), RC_NO_MEMORY) << count;
  }
  UtFree(&block);
}

TEST(UtMemory, ArenaKeepsItsTextsApart) {
  UtArena arena;
  std::vector<std::pair<char*, std::string>> texts;
  // Many small ones and, among them, some that take chunks of their own.
  for (size_t i = 0; i < 20000; ++i) {
    const size_t length = i % 1000 == 999 ? i * 10 : i % 100;
    const std::string text(length, static_cast<char>('a' + i % 26));
    char* copy = arena.copy(text.c_str(), text.size());
    ASSERT_EQ(reinterpret_cast<uintptr_t>(copy) % 8, 0U);
    texts.emplace_back(copy, text);
  }
  for (const auto& [copy, text] : texts) ASSERT_STREQ(copy, text.c_str());
  for (const size_t size : {SIZE_MAX, SIZE_MAX - 7})
    EXPECT_THROW((void)arena.take(size), std::bad_alloc);
}

TEST(UtMemory, RecordsStayInARow) {
  UtStruct<uint64_t> pool;
  for (const uint32_t cut : {0U, 1U, 64U, 99999U}) {
    pool.cut(cut);
    for (uint32_t number = cut; number < 100000; ++number)
      pool.add(uint64_t{number} * 3);
    ASSERT_EQ(100000U, pool.count());
    for (uint32_t number = 0; number < 100000; ++number)
      ASSERT_EQ(uint64_t{number} * 3, pool[number]);
  }
  pool.release();
  EXPECT_EQ(0U, pool.count());
}

#ifndef __SANITIZE_ADDRESS__
// Advice on large pages only counts for a heap that is there. In a process of
// its own, where nothing was freed before.
TEST(UtMemoryDeathTest, ExpectedBytesExtendTheHeapAtOnce) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        constexpr ptrdiff_t BYTES = ptrdiff_t{16} << 20;
        const char* before = static_cast<char*>(sbrk(0));
        UtExpectBytes(size_t{BYTES});
        _exit(static_cast<char*>(sbrk(0)) - before < BYTES);
      },
      testing::ExitedWithCode(0), "");
}
#endif

// Tables use the lowest bits. Once they knew little of the last bytes of a
// word, and names of eight characters that end in numbers all met.
TEST(UtMemory, HashSpreadsNumberedNames) {
  for (size_t width = 1; width <= 24; ++width) {
    std::vector<bool> met(4096);
    for (int i = 1000; i < 2000; ++i) {
      const std::string name = std::string(width, 'N') + std::to_string(i);
      met[UtHash(name.c_str(), name.size()) & 4095] = true;
    }
    const auto places = std::count(met.begin(), met.end(), true);
    EXPECT_GT(places, 700) << "width " << width;  // 887 by chance
  }
}

}  // namespace
