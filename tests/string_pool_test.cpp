#include "util/string_pool.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/xd_support.h"

namespace {

uint32_t Add(StringPool* pool, const std::string& text) {
  uint32_t id = 0;
  EXPECT_EQ(StringPoolAdd(pool, text.c_str(), &id), RC_OK);
  return id;
}

// "+ABC" adds a text, "-1" frees slot 1 and searches free slots from 0 on, "@2"
// from 2 on.
void Follow(StringPool* pool, const std::string& steps) {
  std::istringstream words(steps);
  for (std::string word; words >> word;) {
    const std::string rest = word.substr(1);
    const auto number = static_cast<uint32_t>(atoi(rest.c_str()));
    if (word[0] == '+') Add(pool, rest);
    if (word[0] == '-') pool->slots[number].references = 0;
    if (word[0] != '+') pool->reuse_start = word[0] == '@' ? number : 0;
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
  const char* record;  // that is read first; "": a new pool
  uint32_t flags;
  const char *steps, *layout;
};
constexpr StepsCase STEPS[] = {
    {"", 4, "", "0 0 0 0/0"},
    {"", 4, "+A +B +A", "2x2@0 A, 1x2@2 B, 64 1 2 4/5632"},
    {"", 4 | 8, "+A +B +A", "1x2@0 A, 1x2@2 B, 64 1 2 4/5632"},
    {"", 0, "+A + +A", "1x2@0 A, 1x1@2 , 1x2@3 A, 64 2 3 5/5632"},
    {"", 2 | 4, "+AB + +AB", "2x3 AB, 1x1 , 64 1 2 0/0"},
    // A free slot of the same size is taken again.
    {"", 0, "+ABC +DEF +GHI -1 +XYZ",
     "1x4@0 ABC, 1x4@4 XYZ, 1x4@8 GHI, 64 1 3 12/5632"},
    // What a shorter text leaves over becomes a slot.
    {"", 0, "+ABC +DEF +GHI -1 +X",
     "1x4@0 ABC, 1x2@4 X, 1x4@8 GHI, 0x2@6 -, 64 1 4 12/5632"},
    // That slot is the last one, but not at the end of the buffer.
    {"", 0, "+ABC +DEF +GHI -1 +X +Y",
     "1x4@0 ABC, 1x2@4 X, 1x4@8 GHI, 1x2@6 Y, 64 3 4 12/5632"},
    // Too small; and before the start of the search.
    {"", 0, "+ABC +DEF +GHI -1 +WXYZ",
     "1x4@0 ABC, 0x4@4 -, 1x4@8 GHI, 1x5@12 WXYZ, 64 3 4 17/5632"},
    {"", 0, "+ABC +DEF +GHI -1 @2 +XYZ",
     "1x4@0 ABC, 0x4@4 -, 1x4@8 GHI, 1x4@12 XYZ, 64 3 4 16/5632"},
    // The last text gives back what it does not need.
    {"", 0, "+ABC +DEF +GHI -2 +X",
     "1x4@0 ABC, 1x4@4 DEF, 1x2@8 X, 64 2 3 10/5632"},
    {"", 2, "+ABC +DEF -0 +X", "1x2 X, 1x4 DEF, 64 0 2 0/0"},
    // Pools that were read have as many slots as they need, until more come.
    {ABA, 0, "", "2x2@0 A, 1x2@2 B, 2 1 2 4/5632"},
    {"0001 00000003 00000004 00000001 00000002 00000000 00000000 00000001 "
     "00000002 00000002 00000000 00000000 00000004 00001600 00000004 41004200",
     0, "+B +new +C", "1x2@0 A, 1x4@4 new, 2x2@2 B, 1x2@8 C, 64 3 4 10/5632"},
    {"0001 00000002 00000002 00000001 00000001 41 00000001 00000002 4243 "
     "00000001 00000002",
     0, "", "1x1 A, 1x2 BC, 2 1 2 0/0"},
    {"0001 00000002 00000002 00000000 00000001 00000001 41 "
     "00000000 00000000",
     0, "+long", "1x5 long, 1x1 A, 2 2 0 0/0"},
    // A claimed capacity is kept, and never taken as memory.
    {"0001 00000001 00000004 00000001 00000002 00000000 00000000 00000001 "
     "00000002 FFFFF000 00000002 4100",
     0, "", "1x2@0 A, 1 0 1 2/4294963200"},
};

int64_t Read(const std::string& bytes, StringPool* pool,
             XdTransport transport = XD_TRANSPORT_PLAIN) {
  return XdReadFrom(transport, bytes,
                    [&](XdStream* xd) { return StringPoolRecord(xd, pool); });
}

TEST(StringPool, Layouts) {
  for (const StepsCase& row : STEPS) {
    StringPool pool;
    StringPoolInit(&pool, row.flags);
    EXPECT_EQ(Read(FromHex(row.record), &pool) == 0, *row.record != '\0');
    Follow(&pool, row.steps);
    EXPECT_EQ(Layout(pool), row.layout) << row.record << row.steps;
    EXPECT_LE(pool.text.capacity(), 11264U);
  }
}

TEST(StringPool, TextsAndSlotsComeInSteps) {
  for (const uint32_t used : {5631U, 5632U, 11263U, 11264U}) {
    StringPool pool;
    Add(&pool, std::string(used - 1, 'x'));
    EXPECT_EQ(pool.text_capacity, (used / 5632 + 1) * 5632) << used;
  }
  StringPool pool;
  for (uint32_t id = 0; id <= 64; ++id) {
    EXPECT_EQ(Add(&pool, "x"), id);
    EXPECT_EQ(pool.slot_capacity, id < 64 ? 64U : 128U);
  }
}

uint32_t Find(StringPool* pool, const std::string& text) {
  uint32_t id;
  return StringPoolFind(pool, text.c_str(), &id) == RC_OK ? id : UINT32_MAX;
}

TEST(StringPool, Finding) {
  StringPool pool;
  Add(&pool, "A");
  EXPECT_EQ(Find(&pool, "a"), UINT32_MAX);
  Follow(&pool, "+ +A");  // the index is there by now
  EXPECT_EQ(Find(&pool, ""), 1U);
  EXPECT_EQ(Find(&pool, "A"), 0U);
  Follow(&pool, "-1");
  EXPECT_EQ(Find(&pool, ""), UINT32_MAX);
  EXPECT_EQ(StringPoolText(&pool, 3), nullptr);
  for (const uint32_t flags : {0U, 4U, 2U | 4U}) {
    StringPoolInit(&pool, flags);
    EXPECT_EQ(Find(&pool, "A"), UINT32_MAX);
    for (uint32_t i = 0; i < 200000; ++i)
      ASSERT_EQ(Add(&pool, "name " + std::to_string(i)), i);
    for (uint32_t i = 0; i < 200000; ++i)
      ASSERT_EQ(Find(&pool, "name " + std::to_string(i)), i);
  }
}

struct RecordCase {
  uint32_t flags;
  const char* steps;
  XdTransport transport;
  const char* bytes;
};
constexpr RecordCase RECORDS[] = {
    {4, "", XD_TRANSPORT_PLAIN,
     "0001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"},
    {4, "+A +B +A", XD_TRANSPORT_PLAIN, ABA},
    {4, "+A +BC", XD_TRANSPORT_XDR,
     "00000001 00000002 00000004 00000001 00000002 00000000 00000001 00000003 "
     "00000002 00000001 00000002 00000005 00001600 00000005 00000005 41004243 "
     "00000000"},
    {2, "+A + +BC", XD_TRANSPORT_PLAIN,
     "0001 00000003 00000002 00000001 00000001 41 00000001 00000000 00000001 "
     "00000002 4243 00000002 00000003"},
    {2, "+BC", XD_TRANSPORT_XDR,
     "00000001 00000001 00000002 00000001 00000002 00000002 42430000 00000000 "
     "00000001"},
};

TEST(StringPool, Records) {
  for (const RecordCase& row : RECORDS) {
    SCOPED_TRACE(row.bytes);
    StringPool pool;
    const auto transfer = [&](XdStream* xd) {
      return StringPoolRecord(xd, &pool);
    };
    StringPoolInit(&pool, row.flags);
    Follow(&pool, row.steps);
    const std::string bytes = FromHex(row.bytes);
    EXPECT_EQ(ToHex(XdWritten(row.transport, transfer)), ToHex(bytes));
    Add(&pool, "goes when the pool is read");
    EXPECT_EQ(Read(bytes, &pool, row.transport), 0);
    EXPECT_EQ(ToHex(XdWritten(row.transport, transfer)), ToHex(bytes));
    for (size_t length = 0; length < bytes.size(); ++length) {
      EXPECT_EQ(Read(bytes.substr(0, length), &pool, row.transport), XD_FAILED);
      EXPECT_TRUE(pool.slots.empty());
    }
  }
}

// What a word of the record of A, B and A, counted behind its version, must not
// become.
struct BadWord {
  size_t word;
  std::vector<uint32_t> values;
};
const BadWord BAD_WORDS[] = {
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
  std::string bytes = FromHex(ABA);
  bytes[1] = 2;
  EXPECT_EQ(Read(bytes, &pool), XD_FAILED) << "version";
  for (const BadWord& row : BAD_WORDS)
    for (const uint32_t value : row.values) {
      bytes = FromHex(ABA);
      for (size_t i = 0; i < 4; ++i)
        bytes[2 + row.word * 4 + i] = static_cast<char>(value >> (24 - 8 * i));
      EXPECT_EQ(Read(bytes, &pool), XD_FAILED) << row.word << ": " << value;
      EXPECT_EQ(Layout(pool), "0 0 0 0/0") << row.word << ": " << value;
    }
  // Three slots share the text of one: each fits alone, but a few large texts
  // shared by all slots of a file would take forever to look at.
  bytes = FromHex(
      "0001 00000003 00000004 00000001 00000002 00000000 00000001 00000002 "
      "00000000 00000001 00000002 00000000 00000000 00000000 00000004 00001600 "
      "00000004 41004200");
  EXPECT_EQ(Read(bytes, &pool), XD_FAILED);
}

TEST(StringPool, Listing) {
  const std::string rule(71, '*');
  const std::string head = "\n" + rule + "\nItems_used=3\n";
  const std::string tail = "\n" + rule + "\n\n";
  StringPool pool, own;
  StringPoolInit(&own, POOL_OWN_TEXTS);
  Add(&own, "A");  // nothing is printed
  Follow(&pool, "+A +BC +D");
  char* text = nullptr;
  size_t length = 0;
  FILE* file = open_memstream(&text, &length);
  EXPECT_EQ(StringPoolDump(file, &own), RC_OK);
  pool.slots[1].reserved = 0;
  EXPECT_EQ(StringPoolDump(file, &pool), RC_OK);
  fclose(file);
  EXPECT_EQ(text, head +
                      "I= 0, Cnt= 1, Off= 0 Len= 2, strlen+1= 2, Str= \"A\"\n"
                      "I= 1, Cnt= 1, Off= 2 Len= 0, strlen+1= 3, Str= \"BC\"\n"
                      "\n<-ERROR: itemLen == 0\n\n"
                      "\n<-ERROR: itemLen != calcLen\n\n"
                      "I= 2, Cnt= 1, Off= 5 Len= 2, strlen+1= 2, Str= \"D\"\n"
                      "\n<-ERROR: itemOffset:5 != calcOffset:2\n\n" +
                      tail);
  free(text);
}

}  // namespace
