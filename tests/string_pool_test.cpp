#include "util/string_pool.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "stream_catch.h"
#include "xd_support.h"

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
constexpr char ABA[] =
    "0001 00000002 00000004 00000002 00000002 00000000 00000001 "
    "00000002 00000002 00000001 00000002 00000004 00001600 00000004 41004200";

int64_t Read(const std::string& bytes, StringPool* pool) {
  return XdReadFrom(XD_TRANSPORT_PLAIN, bytes,
                    [&](XdStream* xd) { return StringPoolRecord(xd, pool); });
}

std::string Written(StringPool* pool) {
  return XdWritten(XD_TRANSPORT_PLAIN,
                   [&](XdStream* xd) { return StringPoolRecord(xd, pool); });
}

TEST(StringPool, Layouts) {
  // A record that is read first, and written without steps; else the flags; the
  // steps; the layout.
  constexpr char ROWS[] = R"(
    | 4 | +A +B +A | 2x2@0 A, 1x2@2 B, 64 1 2 4/5632
    | 12 | +A +B +A | 1x2@0 A, 1x2@2 B, 64 1 2 4/5632
    | 0 | +A + +A | 1x2@0 A, 1x1@2 , 1x2@3 A, 64 2 3 5/5632
    // A free slot of the same size is taken again.
    | 0 | +ABC +DEF +GHI -1 +XYZ | 1x4@0 ABC, 1x4@4 XYZ, 1x4@8 GHI, 64 1 3
      + 12/5632
    // What a shorter text leaves over becomes the last slot.
    | 0 | +ABC +DEF +GHI -1 +X +Y | 1x4@0 ABC, 1x2@4 X, 1x4@8 GHI, 1x2@6 Y, 64 3
      + 4 12/5632
    // Too small.
    | 0 | +ABC +DEF +GHI -1 +WXYZ | 1x4@0 ABC, 0x4@4 -, 1x4@8 GHI, 1x5@12 WXYZ,
      + 64 3 4 17/5632
    // The last text gives back what it does not need.
    | 0 | +ABC +DEF +GHI -2 +X | 1x4@0 ABC, 1x4@4 DEF, 1x2@8 X, 64 2 3 10/5632
    | 2 | +ABC +B -0 +D | 1x2 D, 1x2 B, 64 0 2 0/0
    0001 00000002 00000004 00000002 00000002 00000000 00000001 00000002 00000002
      + 00000001 00000002 00000004 00001600 00000004 41004200 | |
      + | 2x2@0 A, 1x2@2 B, 2 1 2 4/5632
    0001 00000002 00000002 00000001 00000001 41 00000001 00000002 4243 00000001
      + 00000002 | | | 1x1 A, 1x2 BC, 2 1 2 0/0
    // Pools that were read have as many slots as they need, until more come.
    0001 00000003 00000004 00000001 00000002 00000000 00000000 00000001 00000002
      + 00000002 00000000 00000000 00000004 00001600 00000004 41004200 |
      + | +B +new +C | 1x2@0 A, 1x4@4 new, 2x2@2 B, 1x2@8 C, 64 3 4 10/5632
    // A claimed capacity is kept, and never taken as memory.
    0001 00000001 00000004 00000001 00000002 00000000 00000000 00000001 00000002
      + FFFFF000 00000002 4100 | | | 1x2@0 A, 1 0 1 2/4294963200)";
  for (const auto& [record, flags, steps, layout] : Rows<4>(ROWS)) {
    StringPool pool;
    StringPoolInit(&pool, static_cast<uint32_t>(atoi(flags.c_str())));
    const std::string bytes = FromHex(record);
    EXPECT_EQ(Read(bytes, &pool) == 0, !bytes.empty());
    Follow(&pool, steps);
    EXPECT_EQ(Layout(pool), layout) << record << steps;
    EXPECT_LE(pool.text.capacity(), 11264U);
    if (!steps.empty()) continue;
    EXPECT_EQ(ToHex(Written(&pool)), ToHex(bytes));
    for (size_t length = 0; length < bytes.size(); ++length)
      EXPECT_EQ(Read(bytes.substr(0, length), &pool), XD_FAILED) << length;
  }
}

// What a word of the record of A, B and A, counted behind its version, must not
// become.
TEST(StringPool, UnsoundRecordsAreRefused) {
  constexpr char ROWS[] = R"(
    // More slots than bytes; more; fewer; unknown flags.
    0 | FFFFFFFF ;; 0 | 00000003 ;; 0 | 00000001 ;; 1 | 00000005 ;; 1 | 00000014
    // Space: no zero, past the text, far, none.
    3 | 00000001 ;; 3 | 00000004 ;; 3 | FFFFFFFF ;; 3 | 00000000
    // Offset past the buffer; far away, within another text; searches past the
    // slots.
    4 | 00000003 ;; 7 | FFFFFFFE ;; 7 | 00000001 ;; 8 | 00000003 ;; 9 | 00000003
    // Used bytes: of the file, of the block; capacity: too small, between the
    // steps; block and used bytes differ.
    10 | 00000005 ;; 10 | 00001600 ;; 10 | 00000003 ;; 11 | 00000000
    11 | 00001601 ;; 12 | 00000003 ;; 12 | 00000005)";
  StringPool pool;
  for (const auto& [word, value] : Rows<2>(ROWS)) {
    const std::string bytes = FromHex(ABA);
    EXPECT_EQ(XD_FAILED, Read(std::string(bytes).replace(2 + stoul(word) * 4, 4,
                                                         FromHex(value)),
                              &pool))
        << word << " " << value;
  }
  // Three slots share a text: each fits alone, but would take forever if large.
  EXPECT_EQ(XD_FAILED, Read(FromHex("0001 00000003 00000004 00000001 00000002 "
                                    "00000000 00000001 00000002 "
                                    "00000000 00000001 00000002 00000000 "
                                    "00000000 00000000 00000004 00001600 "
                                    "00000004 41004200"),
                            &pool));
  EXPECT_EQ(XD_FAILED, Read("\0\2" + FromHex(ABA).substr(2), &pool));
}

// Truncating takes back what was appended since.
TEST(StringPool, Truncates) {
  for (const uint32_t flags : {4u, 2u}) {
    StringPool pool, other;
    StringPoolInit(&pool, flags);
    StringPoolInit(&other, flags);
    Follow(&pool, "+A +BC +D");
    StringPoolTruncate(&pool, 5);
    StringPoolTruncate(&pool, 1);
    uint32_t id;
    EXPECT_EQ(1005, StringPoolFind(&pool, "BC", &id));
    Follow(&pool, "+E +BC");
    Follow(&other, "+A +E +BC");
    EXPECT_EQ(Layout(other), Layout(pool));
    EXPECT_EQ(0, StringPoolFind(&pool, "BC", &id));
    EXPECT_EQ(2u, id);
    EXPECT_EQ(nullptr, StringPoolText(&pool, 3));
  }
}

TEST(StringPool, Dump) {
  const std::string rule = "\n" + std::string(71, '*') + "\n";
  StringPool pool;
  StringPoolInit(&pool, 0);
  Follow(&pool, "+ab +c +d");
  pool.slots[0].reserved = 2;
  pool.slots[2].reserved = 0;
  const auto dumped = [&] {
    const StreamCatch out(stdout);
    EXPECT_EQ(RC_OK, StringPoolDump(stdout, &pool));
    return out.text();
  };
  EXPECT_EQ(rule +
                "Items_used=3\n"
                "I= 0, Cnt= 1, Off= 0 Len= 2, strlen+1= 3, Str= \"ab\"\n"
                "\n<-ERROR: itemLen != calcLen\n\n"
                "I= 1, Cnt= 1, Off= 3 Len= 2, strlen+1= 2, Str= \"c\"\n"
                "\n<-ERROR: itemOffset:3 != calcOffset:2\n\n"
                "I= 2, Cnt= 1, Off= 5 Len= 0, strlen+1= 2, Str= \"d\"\n"
                "\n<-ERROR: itemLen == 0\n\n"
                "\n<-ERROR: itemLen != calcLen\n\n" +
                rule + "\n",
            dumped());
  StringPoolInit(&pool, POOL_OWN_TEXTS);
  EXPECT_EQ("", dumped());
}

}  // namespace
