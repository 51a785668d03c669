// String pool: texts in numbered slots, so that records refer to a text by a
// small number and each text is written once.
//
// A program keeps the names of its external variables in one, the masks of a
// run their attribute names. The pool owns everything in it.
//
// The counters, search starts and capacities below are fields of the compiled
// program file, so the rules by which they change are part of its format. They
// describe how much room the pool would have if it grew in fixed steps; the
// memory it really takes grows geometrically. For example, behind A, B and A
// in a pool of unique texts:
//
//   slot   references  reserved  offset      slot_capacity 64
//   0 "A"  2           2         0           reuse_start   1
//   1 "B"  1           2         2           unused_start  2
//   text   41 00 42 00                       text_capacity 5632
//
// Texts are compared byte by byte. The index that finds them is built by the
// first look-up and is not part of the file.
#pragma once

#include <cstdint>
#include <cstdio>

#include "Cutil/ut_index.h"
#include "Cutil/ut_memory.h"
#include "util/XD_main.h"

enum StringPoolFlags : uint32_t {
  POOL_OWN_TEXTS = 0x2,   // each slot holds a block; no shared text buffer
  POOL_UNIQUE = 0x4,      // adding a text that is present returns its slot ...
  POOL_KEEP_COUNTS = 0x8  // ... and leaves its reference count as it is
};
constexpr uint32_t POOL_KNOWN_FLAGS =
    POOL_OWN_TEXTS | POOL_UNIQUE | POOL_KEEP_COUNTS;
constexpr uint32_t POOL_TEXT_STEP = 5632;  // by which the shared buffer grows

// The text of a slot is there while `references` and `reserved` are not 0.
struct StringPoolSlot {
  uint32_t references;  // 0: the slot is free
  uint32_t reserved;    // bytes for the text and its closing zero byte
  union {
    uint32_t offset;  // of the text in the shared buffer
    char* own_text;   // with POOL_OWN_TEXTS
  };
};
static_assert(sizeof(StringPoolSlot) == 16);

struct StringPool {
  StringPool() = default;
  StringPool(const StringPool&) = delete;
  StringPool& operator=(const StringPool&) = delete;
  ~StringPool();

  uint32_t flags = 0;
  UtVector<StringPoolSlot> slots;  // ids run from 0 to slots.size() - 1
  uint32_t slot_capacity = 0;      // a multiple of 64; as read: the slot count
  uint32_t reuse_start = 0;        // where the search for a free slot begins
  uint32_t unused_start = 0;       // ... and that for one without space
  UtVector<char> text;             // the shared buffer, its used part only
  uint32_t text_capacity = 0;      // a multiple of 5632
  UtIndex<UtNumbered> index;       // of the texts, by slot id
};

// Makes the pool empty, with `flags`.
void StringPoolInit(StringPool* pool, uint32_t flags);

// Adds a text, which must not lie in the pool itself, or finds it again in a
// pool of unique texts. Returns 0, or RC_NO_MEMORY with the pool as it was.
[[nodiscard]] int StringPoolAdd(StringPool* pool, const char* text,
                                uint32_t* id);

// A slot that holds just this text. Returns 0, RC_NOT_FOUND, or RC_NO_MEMORY
// when the index cannot be built.
[[nodiscard]] int StringPoolFind(StringPool* pool, const char* text,
                                 uint32_t* id);

// The text of a slot, valid until the next add; nullptr when the id is not in
// use.
const char* StringPoolText(const StringPool* pool, uint32_t id);

// Makes the pool empty; its flags stay.
void StringPoolClear(StringPool* pool);

// Takes a pool that was only ever appended to back to its first `count` slots.
void StringPoolTruncate(StringPool* pool, uint32_t count);

// Record of the pool:
//
//   u16  1, the version of the record
//   u32  slot count, u32 flags
//   per slot: u32 references; unless these are 0, u32 reserved and u32 offset,
//             or, with POOL_OWN_TEXTS, the text
//   u32  reuse_start, u32 unused_start
//   u32  used bytes and u32 capacity of the text buffer, the used bytes as a
//        counted block; without POOL_OWN_TEXTS only
//
// Reading refuses flags that do not exist, a search start behind the slots, a
// capacity that no pool has, and a slot whose text does not fill its reserved
// bytes or lies outside the buffer; the pool is empty then.
[[nodiscard]] bool StringPoolRecord(XdStream* xd, StringPool* pool);

// Lists the slots of a pool with a shared buffer, for diagnosis, and what is
// not as appending leaves it. Returns 0; a pool of own texts prints nothing.
int StringPoolDump(FILE* file, const StringPool* pool);
