#include "util/string_pool.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/xd_support.h"

namespace {

// "+ABC" adds a text, "-1" frees slot 1 and searches free slots from 0 on.
void Follow(StringPool* pool, const std::string& steps) {
  std::istringstream words(steps);
  for (std::string word; words >> word;) {
    const char* rest = word.c_str() + 1;
    uint32_t id = 0;
    if (word[0] == '+') {
      EXPECT_EQ(StringPoolAdd(pool, rest, &id), RC_OK);
      continue;
    }
    pool->slots[std::stoul(rest)].references = 0;
    pool->reuse_start = 0;
  }
}

// The state of a pool in one line: references, reserved bytes, offset and text
// of each slot, then slot capacity, where the searches for free slots and for
// those without space begin, and how much of the text buffer is used.
std::string Layout(const StringPool& pool) {
  std::ostringstream line;
  for (uint32_t id = 0; id < pool.slots.size(); ++id) {
    const StringPoolSlot& slot = pool.slots[id];
    const char* text = StringPoolText(&pool, id);
    line << slot.references << 'x' << slot.reserved;
    if ((pool.flags & POOL_OWN_TEXTS) == 0) line << '@' << slot.offset;
    line << ' ' << (text == nullptr ? "-" : text) << ", ";
  }
  line << pool.slot_capacity << ' ' << pool.reuse_start << ' '
       << pool.unused_start << ' ' << pool.text.size() << '/'
       << pool.text_capacity;
  return line.str();
}

// A, B and A in a pool of unique texts.
#define ABA                                                     \
  "0001 00000002 00000004 00000002 00000002 00000000 00000001 " \
  "00000002 00000002 00000001 00000002 00000004 00001600 00000004 41004200"

struct StepsCase {
  const char* record;  // that is read first, and written without steps
  uint32_t flags;
  const char *steps, *layout;
};
constexpr StepsCase STEPS[] = {
    {"", 4, "+A +B +A", "2x2@0 A, 1x2@2 B, 64 1 2 4/5632"},
    {"", 0, "+A + +A", "1x2@0 A, 1x1@2 , 1x2@3 A, 64 2 3 5/5632"},
    // A free slot of the same size is taken again.
    {"", 0, "+ABC +DEF +GHI -1 +XYZ",
     "1x4@0 ABC, 1x4@4 XYZ, 1x4@8 GHI, 64 1 3 12/5632"},
    // What a shorter text leaves over becomes the last slot.
    {"", 0, "+ABC +DEF +GHI -1 +X +Y",
     "1x4@0 ABC, 1x2@4 X, 1x4@8 GHI, 1x2@6 Y, 64 3 4 12/5632"},
    // Too small.
    {"", 0, "+ABC +DEF +GHI -1 +WXYZ",
     "1x4@0 ABC, 0x4@4 -, 1x4@8 GHI, 1x5@12 WXYZ, 64 3 4 17/5632"},
    // The last text gives back what it does not need.
    {"", 0, "+ABC +DEF +GHI -2 +X",
     "1x4@0 ABC, 1x4@4 DEF, 1x2@8 X, 64 2 3 10/5632"},
    {ABA, 0, "", "2x2@0 A, 1x2@2 B, 2 1 2 4/5632"},
    {"0001 00000002 00000002 00000001 00000001 41 00000001 00000002 4243 "
     "00000001 00000002",
     0, "", "1x1 A, 1x2 BC, 2 1 2 0/0"},
    // Pools that were read have as many slots as they need, until more come.
    {"0001 00000003 00000004 00000001 00000002 00000000 00000000 00000001 "
     "00000002 00000002 00000000 00000000 00000004 00001600 00000004 41004200",
     0, "+B +new +C", "1x2@0 A, 1x4@4 new, 2x2@2 B, 1x2@8 C, 64 3 4 10/5632"},
    // A claimed capacity is kept, and never taken as memory.
    {"0001 00000001 00000004 00000001 00000002 00000000 00000000 00000001 "
     "00000002 FFFFF000 00000002 4100",
     0, "", "1x2@0 A, 1 0 1 2/4294963200"},
};

int64_t Read(const std::string& bytes, StringPool* pool) {
  return XdReadFrom(XD_TRANSPORT_PLAIN, bytes,
                    [&](XdStream* xd) { return StringPoolRecord(xd, pool); });
}

std::string Written(StringPool* pool) {
  return XdWritten(XD_TRANSPORT_PLAIN,
                   [&](XdStream* xd) { return StringPoolRecord(xd, pool); });
}

TEST(StringPool, Layouts) {
  for (const StepsCase& row : STEPS) {
    StringPool pool;
    StringPoolInit(&pool, row.flags);
    const std::string bytes = FromHex(row.record);
    EXPECT_EQ(Read(bytes, &pool) == 0, !bytes.empty());
    Follow(&pool, row.steps);
    EXPECT_EQ(Layout(pool), row.layout) << row.record << row.steps;
    EXPECT_LE(pool.text.capacity(), 11264U);
    if (*row.steps != '\0') continue;
    EXPECT_EQ(ToHex(Written(&pool)), ToHex(bytes));
    for (size_t length = 0; length < bytes.size(); ++length)
      EXPECT_EQ(Read(bytes.substr(0, length), &pool), XD_FAILED) << length;
  }
}

// What a word of the record of A, B and A, counted behind its version, must not
// become.
const std::pair<size_t, std::vector<uint32_t>> BAD_WORDS[] = {
    {0, {UINT32_MAX, 3, 1}},     // more slots than bytes; more; fewer
    {1, {4 | 1, 4 | 16}},        // unknown flags
    {3, {1, 4, UINT32_MAX, 0}},  // space: no zero, past the text, far, none
    {4, {3}},                    // offset past the buffer
    {7, {UINT32_MAX - 1, 1}},    // ... far away, within another text
    {8, {3}},                    // searches past the slots
    {9, {3}},
    {10, {5, 0x1600, 3}},  // used bytes: of the file, of the block
    {11, {0, 0x1601}},     // capacity: too small, between the steps
    {12, {3, 5}},          // block and used bytes differ
};

TEST(StringPool, UnsoundRecordsAreRefused) {
  StringPool pool;
  std::string bytes;
  for (const auto& [word, values] : BAD_WORDS) {
    for (const uint32_t value : values) {
      bytes = FromHex(ABA);
      for (size_t i = 0; i < 4; ++i)
        bytes[2 + word * 4 + i] = static_cast<char>(value >> (24 - 8 * i));
      EXPECT_EQ(Read(bytes, &pool), XD_FAILED) << word << ": " << value;
    }
  }
  // Three slots share a text: each fits alone, but would take forever if large.
  bytes = FromHex(
      "0001 00000003 00000004 00000001 00000002 00000000 00000001 00000002 "
      "00000000 00000001 00000002 00000000 00000000 00000000 00000004 00001600 "
      "00000004 41004200");
  EXPECT_EQ(Read(bytes, &pool), XD_FAILED);
}

}  // namespace
