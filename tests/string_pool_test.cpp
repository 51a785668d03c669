#include "util/string_pool.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/xd_support.h"

namespace {

uint32_t Add(StringPool* pool, const std::string& text) {
  uint32_t id = 0;
  EXPECT_EQ(StringPoolAdd(pool, text.c_str(), &id), RC_OK);
  return id;
}

// The state of a pool in one line: references, reserved bytes, offset and text
// of each slot, then the counters.
std::string Layout(const StringPool& pool) {
  std::string line;
  for (uint32_t id = 0; id < pool.slots.size(); ++id) {
    const StringPoolSlot& slot = pool.slots[id];
    const char* text = StringPoolText(&pool, id);
    line +=
        std::to_string(slot.references) + "x" + std::to_string(slot.reserved);
    if ((pool.flags & POOL_OWN_TEXTS) == 0)
      line += "@" + std::to_string(slot.offset);
    line += text == nullptr ? " - " : " '" + std::string(text) + "' ";
  }
  return line + "slots " + std::to_string(pool.slot_capacity) + " reuse " +
         std::to_string(pool.reuse_start) + " unused " +
         std::to_string(pool.unused_start) + " text " +
         std::to_string(pool.text.size()) + "/" +
         std::to_string(pool.text_capacity);
}

// Adding -------------------------------------------------------------------

struct AddCase {
  uint32_t flags;
  std::vector<std::string> texts;
  std::string layout;
};

TEST(StringPool, Adding) {
  const AddCase CASES[] = {
      {4, {}, "slots 0 reuse 0 unused 0 text 0/0"},
      {4,
       {"A", "B", "A"},
       "2x2@0 'A' 1x2@2 'B' slots 64 reuse 1 unused 2 text 4/5632"},
      {4 | 8,
       {"A", "B", "A"},
       "1x2@0 'A' 1x2@2 'B' slots 64 reuse 1 unused 2 text 4/5632"},
      {0,
       {"A", "", "A"},
       "1x2@0 'A' 1x1@2 '' 1x2@3 'A' slots 64 reuse 2 unused 3 text 5/5632"},
      {4, {"", ""}, "2x1@0 '' slots 64 reuse 0 unused 1 text 1/5632"},
      {2 | 4,
       {"AB", "", "AB"},
       "2x3 'AB' 1x1 '' slots 64 reuse 1 unused 2 text 0/0"},
  };
  for (const AddCase& row : CASES) {
    StringPool pool;
    StringPoolInit(&pool, row.flags);
    for (const std::string& text : row.texts) Add(&pool, text);
    EXPECT_EQ(Layout(pool), row.layout) << "flags " << row.flags;
  }
}

struct StepCase {
  size_t used;
  uint32_t capacity;
};

TEST(StringPool, BufferGrowsWhenAStepIsReached) {
  for (const StepCase& row : {StepCase{5631, 5632}, StepCase{5632, 11264},
                              StepCase{11263, 11264}, StepCase{11264, 16896}}) {
    StringPool pool;
    Add(&pool, std::string(row.used - 1, 'x'));
    EXPECT_EQ(pool.text.size(), row.used);
    EXPECT_EQ(pool.text_capacity, row.capacity) << row.used;
  }
}

TEST(StringPool, SlotsComeInSteps) {
  StringPool pool;
  for (uint32_t id = 0; id < 64; ++id) EXPECT_EQ(Add(&pool, "x"), id);
  EXPECT_EQ(pool.slot_capacity, 64U);
  Add(&pool, "x");
  EXPECT_EQ(pool.slot_capacity, 128U);

  // A pool that was read has as many slots as it needs; the next one brings it
  // back to whole steps.
  pool.slot_capacity = 65;
  Add(&pool, "x");
  EXPECT_EQ(pool.slot_capacity, 128U);
}

struct ReuseCase {
  const char* why;
  uint32_t freed;  // slot of "ABC", "DEF", "GHI" that becomes free
  uint32_t reuse_start;
  std::string added;
  std::string layout;
};

TEST(StringPool, FreeSlotsAreReused) {
  const ReuseCase CASES[] = {
      {"same size", 1, 0, "XYZ",
       "1x4@0 'ABC' 1x4@4 'XYZ' 1x4@8 'GHI' "
       "slots 64 reuse 1 unused 3 text 12/5632"},
      {"the surplus becomes a slot", 1, 0, "X",
       "1x4@0 'ABC' 1x2@4 'X' 1x4@8 'GHI' 0x2@6 - "
       "slots 64 reuse 1 unused 4 text 12/5632"},
      {"too small: a slot is appended", 1, 0, "WXYZ",
       "1x4@0 'ABC' 0x4@4 - 1x4@8 'GHI' 1x5@12 'WXYZ' "
       "slots 64 reuse 3 unused 4 text 17/5632"},
      {"before the start of the search", 1, 2, "XYZ",
       "1x4@0 'ABC' 0x4@4 - 1x4@8 'GHI' 1x4@12 'XYZ' "
       "slots 64 reuse 3 unused 4 text 16/5632"},
      {"the last one gives back its surplus", 2, 0, "X",
       "1x4@0 'ABC' 1x4@4 'DEF' 1x2@8 'X' "
       "slots 64 reuse 2 unused 3 text 10/5632"},
  };
  for (const ReuseCase& row : CASES) {
    SCOPED_TRACE(row.why);
    StringPool pool;
    for (const char* text : {"ABC", "DEF", "GHI"}) Add(&pool, text);
    pool.slots[row.freed].references = 0;
    pool.reuse_start = row.reuse_start;
    Add(&pool, row.added);
    EXPECT_EQ(Layout(pool), row.layout);
  }
}

// The last slot may hold space from the middle of the buffer: taking it for the
// end of the buffer would overwrite the text that is there.
TEST(StringPool, LastSlotInTheMiddle) {
  StringPool pool;
  for (const char* text : {"ABC", "DEF", "GHI"}) Add(&pool, text);
  pool.slots[1].references = 0;
  pool.reuse_start = 0;
  Add(&pool, "X");
  Add(&pool, "Y");
  EXPECT_EQ(Layout(pool),
            "1x4@0 'ABC' 1x2@4 'X' 1x4@8 'GHI' 1x2@6 'Y' "
            "slots 64 reuse 3 unused 4 text 12/5632");
}

TEST(StringPool, OwnTextGrowsInItsSlot) {
  StringPool pool;
  StringPoolInit(&pool, POOL_OWN_TEXTS);
  for (const char* text : {"ABC", "DEF"}) Add(&pool, text);
  pool.slots[0].references = 0;
  pool.reuse_start = 0;
  Add(&pool, "X");
  EXPECT_EQ(Layout(pool),
            "1x2 'X' 1x4 'DEF' slots 64 reuse 0 unused 2 text 0/0");

  // A free slot without space, as it is read.
  pool.slots[0] = {
      0, 0, {.own_text = (UtFree(&pool.slots[0].own_text), nullptr)}};
  pool.reuse_start = pool.unused_start = 0;
  Add(&pool, "long");
  EXPECT_EQ(Layout(pool),
            "1x5 'long' 1x4 'DEF' slots 64 reuse 2 unused 0 text 0/0");
}

// Look-up ------------------------------------------------------------------

TEST(StringPool, Finding) {
  StringPool pool;
  Add(&pool, "A");
  uint32_t id = 9;
  EXPECT_EQ(StringPoolFind(&pool, "a", &id), RC_NOT_FOUND);
  EXPECT_EQ(StringPoolFind(&pool, "", &id), RC_NOT_FOUND);
  Add(&pool, "");  // the index is there by now
  Add(&pool, "A");
  EXPECT_EQ(StringPoolFind(&pool, "", &id), RC_OK);
  EXPECT_EQ(id, 1U);
  EXPECT_EQ(StringPoolFind(&pool, "A", &id), RC_OK);
  EXPECT_EQ(id, 0U);
  pool.slots[1].references = 0;
  EXPECT_EQ(StringPoolFind(&pool, "", &id), RC_NOT_FOUND);
  EXPECT_EQ(StringPoolText(&pool, 1), nullptr);
  EXPECT_EQ(StringPoolText(&pool, 3), nullptr);
  EXPECT_STREQ(StringPoolText(&pool, 2), "A");
  StringPoolClear(&pool);
  EXPECT_EQ(StringPoolFind(&pool, "A", &id), RC_NOT_FOUND);
  EXPECT_EQ(Layout(pool), "slots 0 reuse 0 unused 0 text 0/0");
}

TEST(StringPool, ManyTexts) {
  constexpr uint32_t COUNT = 200000;
  for (const uint32_t flags : {0U, 4U, 2U | 4U}) {
    StringPool pool;
    StringPoolInit(&pool, flags);
    for (uint32_t i = 0; i < COUNT; ++i)
      ASSERT_EQ(Add(&pool, "name " + std::to_string(i)), i);
    for (uint32_t i = 0; i < COUNT; ++i) {
      uint32_t id = 0;
      const std::string text = "name " + std::to_string(i);
      ASSERT_EQ(StringPoolFind(&pool, text.c_str(), &id), RC_OK);
      ASSERT_EQ(id, i);
    }
  }
}

// Each request fails once, at every possible place; the pool stays as it was.
TEST(StringPool, WithoutMemory) {
  for (const uint32_t flags : {0U, 4U, 2U}) {
    StringPool pool;
    StringPoolInit(&pool, flags);
    uint32_t id;
    for (int i = 0; i < 300; ++i) {
      const std::string text(static_cast<size_t>(i) * 3, 'x');
      for (uint64_t nth = 1;; ++nth) {
        const std::string before = Layout(pool);
        UtFailAllocation(nth);
        const int code = StringPoolAdd(&pool, text.c_str(), &id);
        const bool struck = UtPendingFault() == 0;
        UtFailAllocation(0);
        ASSERT_EQ(code, struck ? RC_NO_MEMORY : RC_OK);
        if (!struck) break;
        ASSERT_EQ(Layout(pool), before);
      }
      ASSERT_EQ(text, StringPoolText(&pool, id));
    }
    StringPool read;
    UtFailAllocation(1);
    const std::string bytes = XdWritten(XD_TRANSPORT_PLAIN, [&](XdStream* xd) {
      return StringPoolRecord(xd, &pool);
    });
    EXPECT_EQ(UtPendingFault(), 1U) << "writing takes no memory";
    for (uint64_t nth = 1;; ++nth) {
      UtFailAllocation(nth);
      const bool good =
          XdReadFrom(XD_TRANSPORT_PLAIN, bytes, [&](XdStream* xd) {
            return StringPoolRecord(xd, &read);
          }).good;
      const bool struck = UtPendingFault() == 0;
      UtFailAllocation(0);
      ASSERT_EQ(good, !struck);
      if (!struck) break;
      ASSERT_TRUE(read.slots.empty());
    }
  }
}

// Record -------------------------------------------------------------------

struct RecordCase {
  uint32_t flags;
  std::vector<std::string> texts;
  XdTransport transport;
  std::string_view bytes;
};

TEST(StringPool, Records) {
  const RecordCase CASES[] = {
      {4,
       {},
       XD_TRANSPORT_PLAIN,
       "0001 00000000 00000004 00000000 00000000 00000000 00000000 00000000"},
      {4,
       {"A", "B", "A"},
       XD_TRANSPORT_PLAIN,
       "0001 00000002 00000004 00000002 00000002 00000000 00000001 00000002 "
       "00000002 00000001 00000002 00000004 00001600 00000004 41004200"},
      {4,
       {"A", "BC"},
       XD_TRANSPORT_XDR,
       "00000001 00000002 00000004 00000001 00000002 00000000 00000001 "
       "00000003 00000002 00000001 00000002 00000005 00001600 00000005 "
       "00000005 41004243 00000000"},
      {2,
       {"A", "", "BC"},
       XD_TRANSPORT_PLAIN,
       "0001 00000003 00000002 00000001 00000001 41 00000001 00000000 "
       "00000001 00000002 4243 00000002 00000003"},
      {2,
       {"BC"},
       XD_TRANSPORT_XDR,
       "00000001 00000001 00000002 00000001 00000002 00000002 42430000 "
       "00000000 00000001"},
  };
  for (const RecordCase& row : CASES) {
    SCOPED_TRACE(row.bytes);
    StringPool pool;
    StringPoolInit(&pool, row.flags);
    for (const std::string& text : row.texts) Add(&pool, text);
    const auto transfer = [&](XdStream* xd) {
      return StringPoolRecord(xd, &pool);
    };
    const std::string expected = FromHex(row.bytes);
    EXPECT_EQ(ToHex(XdWritten(row.transport, transfer)), ToHex(expected));
    Add(&pool, "goes when the pool is read");
    const XdOutcome outcome = XdReadFrom(row.transport, expected, transfer);
    EXPECT_TRUE(outcome.good && outcome.at_end);
    EXPECT_EQ(ToHex(XdWritten(row.transport, transfer)), ToHex(expected));
    EXPECT_EQ(pool.slot_capacity, pool.slots.size());

    for (size_t length = 0; length < expected.size(); ++length) {
      EXPECT_FALSE(
          XdReadFrom(row.transport, {expected.data(), length}, transfer).good);
      EXPECT_TRUE(pool.slots.empty());
    }
  }
}

TEST(StringPool, ReadPoolIsUsed) {
  const std::string bytes = FromHex(
      "0001 00000003 00000004 00000001 00000002 00000000 00000000 00000001 "
      "00000002 00000002 00000000 00000000 00000004 00001600 00000004 "
      "41004200");
  StringPool pool;
  ASSERT_TRUE(XdReadFrom(XD_TRANSPORT_PLAIN, bytes, [&](XdStream* xd) {
                return StringPoolRecord(xd, &pool);
              }).good);
  EXPECT_EQ(Layout(pool),
            "1x2@0 'A' 0x0@0 - 1x2@2 'B' slots 3 reuse 0 unused 0 text 4/5632");
  EXPECT_EQ(Add(&pool, "B"), 2U);
  EXPECT_EQ(Add(&pool, "new"), 1U);
  EXPECT_EQ(Add(&pool, "C"), 3U);
  EXPECT_EQ(Layout(pool),
            "1x2@0 'A' 1x4@4 'new' 2x2@2 'B' 1x2@8 'C' "
            "slots 64 reuse 3 unused 4 text 10/5632");
}

TEST(StringPool, ReadOwnTextsReserveTheirCharacters) {
  const std::string bytes = FromHex(
      "0001 00000002 00000002 00000001 00000001 41 00000001 00000002 4243 "
      "00000001 00000002");
  StringPool pool;
  ASSERT_TRUE(XdReadFrom(XD_TRANSPORT_PLAIN, bytes, [&](XdStream* xd) {
                return StringPoolRecord(xd, &pool);
              }).good);
  EXPECT_EQ(Layout(pool), "1x1 'A' 1x2 'BC' slots 2 reuse 1 unused 2 text 0/0");
}

// One word of a sound record is changed. Its words are those of the record of
// A, B and A above.
struct BadWord {
  const char* why;
  size_t word;  // behind the version
  uint32_t value;
};

TEST(StringPool, UnsoundRecordsAreRefused) {
  constexpr BadWord CASES[] = {
      {"more slots than bytes", 0, 0xFFFFFFFF},
      {"more slots than the record has", 0, 3},
      {"fewer slots", 0, 1},
      {"unknown flag", 1, 4 | 1},
      {"unknown flag", 1, 4 | 16},
      {"reserved bytes without a zero at their end", 3, 1},
      {"text shorter than its reserved bytes", 3, 4},
      {"reserved bytes past the buffer", 3, 0xFFFFFFFF},
      {"used slot without space", 3, 0},
      {"offset past the buffer", 4, 3},
      {"offset far away", 7, 0xFFFFFFFE},
      {"offset within another text", 7, 1},
      {"search past the slots", 8, 3},
      {"search past the slots", 9, 3},
      {"more used than there is", 10, 5},
      {"more used than the file holds", 10, 0x1600},
      {"used bytes and block differ", 10, 3},
      {"capacity below the used bytes", 11, 0},
      {"capacity between the steps", 11, 0x1601},
      {"used bytes and block differ", 12, 3},
      {"block longer than the used bytes", 12, 5},
  };
  const std::string sound = FromHex(
      "0001 00000002 00000004 00000002 00000002 00000000 00000001 00000002 "
      "00000002 00000001 00000002 00000004 00001600 00000004 41004200");
  StringPool pool;
  const auto read = [&](const std::string& bytes) {
    return XdReadFrom(XD_TRANSPORT_PLAIN, bytes,
                      [&](XdStream* xd) { return StringPoolRecord(xd, &pool); })
        .good;
  };
  ASSERT_TRUE(read(sound));
  std::string version = sound;
  version[1] = 2;
  EXPECT_FALSE(read(version));
  for (const BadWord& row : CASES) {
    std::string bytes = sound;
    for (size_t i = 0; i < 4; ++i)
      bytes[2 + row.word * 4 + i] =
          static_cast<char>(row.value >> (24 - 8 * i));
    EXPECT_FALSE(read(bytes)) << row.why;
    EXPECT_EQ(Layout(pool), "slots 0 reuse 0 unused 0 text 0/0") << row.why;
  }

  // Three slots share the text of one: each fits alone, but a few large texts
  // shared by all slots of a file would take forever to look at.
  EXPECT_FALSE(read(FromHex(
      "0001 00000003 00000004 00000001 00000002 00000000 00000001 00000002 "
      "00000000 00000001 00000002 00000000 00000000 00000000 00000004 00001600 "
      "00000004 41004200")));

  // Every other change is refused too, or gives a pool that works.
  for (size_t i = 0; i < sound.size(); ++i) {
    for (const int change : {0xFF, 0x01, 0x02, 0x80}) {
      std::string bytes = sound;
      bytes[i] = static_cast<char>(bytes[i] ^ change);
      if (!read(bytes)) continue;
      const uint32_t id = Add(&pool, "one more");
      EXPECT_STREQ(StringPoolText(&pool, id), "one more") << "byte " << i;
    }
  }
}

// A claimed capacity decides bytes that are written, never memory.
TEST(StringPool, ClaimedCapacityTakesNoMemory) {
  const std::string bytes = FromHex(
      "0001 00000001 00000004 00000001 00000002 00000000 00000000 00000001 "
      "00000002 FFFFF000 00000002 4100");
  StringPool pool;
  ASSERT_TRUE(XdReadFrom(XD_TRANSPORT_PLAIN, bytes, [&](XdStream* xd) {
                return StringPoolRecord(xd, &pool);
              }).good);
  EXPECT_EQ(pool.text_capacity, 0xFFFFF000);
  EXPECT_LE(pool.text.capacity(), 64U);
}

TEST(StringPool, Releasing) {
  for (const uint32_t flags : {4U, 2U}) {
    StringPool pool;
    StringPoolInit(&pool, flags);
    Add(&pool, "A");
    XdStream xd;
    XdCreateRelease(&xd);
    EXPECT_TRUE(StringPoolRecord(&xd, &pool));
    EXPECT_EQ(Layout(pool), "slots 0 reuse 0 unused 0 text 0/0");
    EXPECT_EQ(pool.flags, flags);
  }
}

// Listing ------------------------------------------------------------------

std::string Dumped(const StringPool& pool) {
  char* text = nullptr;
  size_t length = 0;
  FILE* file = open_memstream(&text, &length);
  EXPECT_EQ(StringPoolDump(file, &pool), RC_OK);
  fclose(file);
  std::string result(text, length);
  free(text);
  return result;
}

const std::string RULE(71, '*');

TEST(StringPool, Listing) {
  StringPool pool;
  StringPoolInit(&pool, POOL_UNIQUE);
  for (const char* text : {"A", "BC", "A"}) Add(&pool, text);
  EXPECT_EQ(Dumped(pool),
            "\n" + RULE +
                "\nItems_used=2\n"
                "I= 0, Cnt= 2, Off= 0 Len= 2, strlen+1= 2, Str= \"A\"\n"
                "I= 1, Cnt= 1, Off= 2 Len= 3, strlen+1= 3, Str= \"BC\"\n"
                "\n" +
                RULE + "\n\n");

  pool.slots[0].reserved = 0;
  EXPECT_EQ(Dumped(pool),
            "\n" + RULE +
                "\nItems_used=2\n"
                "I= 0, Cnt= 2, Off= 0 Len= 0, strlen+1= 2, Str= \"A\"\n"
                "\n<-ERROR: itemLen == 0\n\n"
                "\n<-ERROR: itemLen != calcLen\n\n"
                "I= 1, Cnt= 1, Off= 2 Len= 3, strlen+1= 3, Str= \"BC\"\n"
                "\n<-ERROR: itemOffset:2 != calcOffset:0\n\n"
                "\n" +
                RULE + "\n\n");

  StringPoolInit(&pool, POOL_OWN_TEXTS);
  Add(&pool, "A");
  EXPECT_EQ(Dumped(pool), "");
}

}  // namespace
