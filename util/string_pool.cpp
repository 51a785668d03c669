// What can fail comes before the first change: an add reserves memory for all
// that it may need, then places the text by rules that cannot fail.
#include "util/string_pool.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Cutil/ut_hash.h"

namespace {

constexpr uint32_t SLOT_STEP = 64;
constexpr uint32_t LARGEST_COUNT = UINT32_MAX - 2 * SLOT_STEP;
constexpr uint32_t LARGEST_TEXT = UINT32_MAX - POOL_TEXT_STEP;

constexpr uint16_t RECORD_VERSION = 1;

bool OwnsTexts(const StringPool* pool) {
  return (pool->flags & POOL_OWN_TEXTS) != 0;
}

uint32_t SlotCount(const StringPool* pool) {
  return static_cast<uint32_t>(pool->slots.size());
}

uint32_t TextUsed(const StringPool* pool) {
  return static_cast<uint32_t>(pool->text.size());
}

bool HasText(const StringPoolSlot& slot) {
  return slot.references != 0 && slot.reserved != 0;
}

const char* TextOf(const StringPool* pool, const StringPoolSlot& slot) {
  return OwnsTexts(pool) ? slot.own_text : pool->text.data() + slot.offset;
}

// Index --------------------------------------------------------------------

// The index entry of `text`, or the empty one where it belongs.
UtNumbered* EntryOf(StringPool* pool, const char* text, uint32_t hash) {
  return pool->index.slot(hash, [&](const UtNumbered& entry) {
    if (entry.hash != hash) return false;
    const StringPoolSlot& slot = pool->slots[entry.number()];
    return HasText(slot) && strcmp(TextOf(pool, slot), text) == 0;
  });
}

// Enters the text of slot `id`, unless another slot of that text is there.
void EnterText(StringPool* pool, uint32_t id, const char* text, uint32_t hash) {
  UtNumbered* entry = EntryOf(pool, text, hash);
  if (entry->empty()) pool->index.fill(entry, UtNumbered(hash, id));
}

// Makes room for one more entry, and builds the index when there is none. May
// throw bad_alloc, with the index as it was.
void MakeIndexRoom(StringPool* pool) {
  if (pool->index.has_slots()) return pool->index.make_room();
  pool->index.make_room(std::bit_ceil((pool->slots.size() + 8) * 2));
  for (uint32_t id = 0; id < SlotCount(pool); ++id) {
    const StringPoolSlot& slot = pool->slots[id];
    if (!HasText(slot)) continue;
    const char* text = TextOf(pool, slot);
    EnterText(pool, id, text, UtHash(text, strlen(text)));
  }
}

// Free slots ---------------------------------------------------------------

// The first free slot with `need` bytes, or the slot count.
uint32_t FindReusable(const StringPool* pool, uint32_t need) {
  uint32_t id = pool->reuse_start;
  while (id < SlotCount(pool) &&
         (pool->slots[id].references != 0 || pool->slots[id].reserved < need))
    ++id;
  return id;
}

// The first free slot without space, or the slot count.
uint32_t FindUnused(const StringPool* pool) {
  uint32_t id = pool->unused_start;
  while (id < SlotCount(pool) &&
         (pool->slots[id].references != 0 || pool->slots[id].reserved != 0))
    ++id;
  return id;
}

// Appends a slot when `id` is the slot count. There is room for it.
void MakeSlot(StringPool* pool, uint32_t id) {
  const uint32_t count = SlotCount(pool);
  if (id < count) return;
  if (count >= pool->slot_capacity)
    pool->slot_capacity = count / SLOT_STEP * SLOT_STEP + SLOT_STEP;
  pool->slots.push_back({});
  pool->unused_start = count + 1;
}

// Hands a part of the buffer that no text takes to a free slot.
void FreeSpace(StringPool* pool, uint32_t offset, uint32_t bytes) {
  if (bytes == 0) return;
  const uint32_t id = FindUnused(pool);
  MakeSlot(pool, id);
  pool->slots[id].reserved = bytes;
  pool->slots[id].offset = offset;
}

// Adding -------------------------------------------------------------------

// Makes memory for `more` further elements, twice as much as there is when it
// does not suffice. May throw bad_alloc, with the vector as it was.
template <class T>
void Reserve(UtVector<T>* vector, size_t more) {
  const size_t size = vector->size();
  if (vector->capacity() - size < more)
    vector->reserve(size + std::max(size, more));
}

// The capacity that a buffer gets when it has to hold `used` bytes. It always
// stays larger than these.
uint32_t CapacityFor(uint32_t used) {
  return (used / POOL_TEXT_STEP + 1) * POOL_TEXT_STEP;
}

// Gives slot `id` a place of `need` bytes in the buffer. There is memory for
// them and for one further slot.
void PlaceText(StringPool* pool, uint32_t id, uint32_t need) {
  StringPoolSlot& slot = pool->slots[id];
  const uint32_t used = TextUsed(pool);
  const uint32_t offset = slot.offset;
  const uint32_t reserved = slot.reserved;
  slot.reserved = need;
  // What other slots left over may belong to the last one, too.
  const bool at_end =
      id + 1 == SlotCount(pool) && (reserved == 0 || offset + reserved == used);
  if (at_end) {
    slot.offset = used - reserved;
    pool->text.resize(slot.offset + need);
    if (need > reserved)
      pool->text_capacity =
          std::max(pool->text_capacity, CapacityFor(TextUsed(pool)));
  } else if (need <= reserved) {
    FreeSpace(pool, offset + need, reserved - need);
  } else {
    slot.offset = used;
    pool->text.resize(used + need);
    if (TextUsed(pool) > pool->text_capacity)
      pool->text_capacity = CapacityFor(TextUsed(pool));
    FreeSpace(pool, offset, reserved);
  }
}

// Adds a text of `need` bytes, its zero byte included. All that can fail comes
// before the first change of what the file or a look-up would show.
int AddText(StringPool* pool, const char* text, uint32_t need, uint32_t* id) {
  uint32_t hash = 0;
  const bool unique = (pool->flags & POOL_UNIQUE) != 0;
  if (unique || pool->index.has_slots()) {
    MakeIndexRoom(pool);
    hash = UtHash(text, need - 1);
  }
  if (unique) {
    const UtNumbered* known = EntryOf(pool, text, hash);
    if (!known->empty()) {
      *id = known->number();
      uint32_t& references = pool->slots[*id].references;
      if ((pool->flags & POOL_KEEP_COUNTS) == 0 && references < UINT32_MAX)
        ++references;
      return RC_OK;
    }
  }

  const uint32_t count = SlotCount(pool);
  if (count >= LARGEST_COUNT) return RC_NO_MEMORY;
  Reserve(&pool->slots, 2);  // a new one, and one for space left over
  const uint32_t reusable = FindReusable(pool, need);
  const uint32_t chosen = reusable < count ? reusable : FindUnused(pool);
  void* own_text = nullptr;
  if (OwnsTexts(pool)) {
    const bool fresh = chosen == count;
    if (!fresh) own_text = pool->slots[chosen].own_text;
    if (fresh || need > pool->slots[chosen].reserved) {
      const int code = UtResize(&own_text, need, 1, true, 0);
      if (code != RC_OK) return code;
    }
  } else {
    if (need > LARGEST_TEXT - std::min(TextUsed(pool), LARGEST_TEXT))
      return RC_NO_MEMORY;
    Reserve(&pool->text, need);
  }

  pool->reuse_start = reusable;
  MakeSlot(pool, chosen);
  StringPoolSlot& slot = pool->slots[chosen];
  slot.references = 1;
  if (OwnsTexts(pool)) {
    slot.own_text = static_cast<char*>(own_text);
    slot.reserved = need;
    memcpy(slot.own_text, text, need);
  } else {
    PlaceText(pool, chosen, need);
    memcpy(pool->text.data() + slot.offset, text, need);
  }
  if (pool->index.has_slots()) EnterText(pool, chosen, text, hash);
  *id = chosen;
  return RC_OK;
}

}  // namespace

StringPool::~StringPool() {
  StringPoolClear(this);
}

void StringPoolInit(StringPool* pool, uint32_t flags) {
  StringPoolClear(pool);
  pool->flags = flags;
}

int StringPoolAdd(StringPool* pool, const char* text, uint32_t* id) {
  *id = 0;
  const size_t length = strlen(text);
  if (length >= LARGEST_TEXT) return RC_NO_MEMORY;
  const auto need = static_cast<uint32_t>(length + 1);
  return UtGuarded([&] { return AddText(pool, text, need, id); });
}

int StringPoolFind(StringPool* pool, const char* text, uint32_t* id) {
  *id = 0;
  return UtGuarded([&] {
    if (!pool->index.has_slots()) MakeIndexRoom(pool);
    const UtNumbered* known = EntryOf(pool, text, UtHash(text, strlen(text)));
    if (known->empty()) return RC_NOT_FOUND;
    *id = known->number();
    return RC_OK;
  });
}

const char* StringPoolText(const StringPool* pool, uint32_t id) {
  if (id >= SlotCount(pool) || !HasText(pool->slots[id])) return nullptr;
  return TextOf(pool, pool->slots[id]);
}

void StringPoolClear(StringPool* pool) {
  if (OwnsTexts(pool)) {
    for (StringPoolSlot& slot : pool->slots) UtFree(&slot.own_text);
  }
  // clear() would keep the memory.
  UtVector<StringPoolSlot>().swap(pool->slots);
  UtVector<char>().swap(pool->text);
  pool->index.clear();
  pool->slot_capacity = pool->text_capacity = 0;
  pool->reuse_start = pool->unused_start = 0;
}

void StringPoolTruncate(StringPool* pool, uint32_t count) {
  if (count >= SlotCount(pool)) return;
  if (!OwnsTexts(pool)) pool->text.resize(pool->slots[count].offset);
  for (uint32_t id = count; id < SlotCount(pool); ++id)
    if (OwnsTexts(pool)) UtFree(&pool->slots[id].own_text);
  pool->slots.resize(count);
  pool->unused_start = count;
  pool->reuse_start = count == 0 ? 0 : count - 1;
  // The next look-up builds it again.
  pool->index.clear();
}

// Record -------------------------------------------------------------------

namespace {

// The text of a slot that owns it. Reading reserves its characters only; the
// closing zero byte is there, but counts when the slot is written again.
bool RecordOwnText(XdStream* xd, StringPoolSlot* slot) {
  uint32_t length = 0;
  if (xd->direction == XD_ENCODE) {
    length = static_cast<uint32_t>(strlen(slot->own_text));
    slot->reserved = std::max(slot->reserved, length + 1);
  }
  if (!XdULong(xd, &length)) return false;
  if (xd->direction == XD_DECODE) {
    if (!XdCountFits(xd, length, 1)) return false;
    slot->own_text = static_cast<char*>(UtAllocBytes(size_t{length} + 1));
    if (slot->own_text == nullptr) return false;
    slot->own_text[length] = '\0';
    slot->reserved = length;
  }
  return XdCharacters(xd, slot->own_text, length);
}

bool RecordSlot(XdStream* xd, StringPoolSlot* slot, bool own_text) {
  if (!XdULong(xd, &slot->references)) return false;
  if (slot->references == 0) return true;
  if (own_text) return RecordOwnText(xd, slot);
  return XdULong(xd, &slot->reserved) && XdULong(xd, &slot->offset);
}

// True when each used slot has a text that fills its reserved bytes, and no
// more bytes are reserved than there are: slots of a sound pool do not overlap.
bool TextsFit(const StringPool* pool) {
  uint64_t reserved = 0;
  for (const StringPoolSlot& slot : pool->slots) {
    if (slot.references == 0) continue;
    reserved += slot.reserved;
    if (slot.reserved == 0 || reserved > TextUsed(pool) ||
        slot.offset > TextUsed(pool) - slot.reserved)
      return false;
    const char* text = pool->text.data() + slot.offset;
    if (strnlen(text, slot.reserved) != slot.reserved - 1) return false;
  }
  return true;
}

bool RecordBuffer(XdStream* xd, StringPool* pool) {
  uint32_t used = TextUsed(pool);
  if (!XdULong(xd, &used)) return false;
  if (!XdULong(xd, &pool->text_capacity)) return false;
  if (xd->direction == XD_DECODE) {
    if (used > pool->text_capacity || pool->text_capacity % POOL_TEXT_STEP != 0)
      return XdFail(xd, "a capacity that no string pool has");
    if (!XdCountFits(xd, used, 1)) return false;
    pool->text.resize(used);
  }
  // An empty vector has no block, and reading into none would allocate one.
  char none = 0;
  char* block = used == 0 ? &none : pool->text.data();
  uint32_t length = used;
  if (!XdBytes(xd, &block, &length, &used)) return false;
  if (xd->direction == XD_ENCODE) return true;
  return (length == used && TextsFit(pool)) ||
         XdFail(xd, "a slot whose text is not in the text buffer");
}

bool RecordPool(XdStream* xd, StringPool* pool) {
  uint16_t version = RECORD_VERSION;
  if (!XdUShort(xd, &version)) return false;
  if (version != RECORD_VERSION)
    return XdFail(xd, "a string pool of another version");
  uint32_t count = SlotCount(pool);
  if (!XdULong(xd, &count)) return false;
  uint32_t flags = pool->flags;
  if (!XdULong(xd, &flags)) return false;
  if (xd->direction == XD_DECODE) {
    if ((flags & ~POOL_KNOWN_FLAGS) != 0)
      return XdFail(xd, "flags that no string pool has");
    if (!XdCountFits(xd, count, sizeof(uint32_t))) return false;
    pool->flags = flags;
    pool->slots.resize(count);
    pool->slot_capacity = count;
  }
  const bool own_texts = OwnsTexts(pool);
  for (StringPoolSlot& slot : pool->slots) {
    if (!RecordSlot(xd, &slot, own_texts)) return false;
  }
  if (!XdULong(xd, &pool->reuse_start)) return false;
  if (!XdULong(xd, &pool->unused_start)) return false;
  if (pool->reuse_start > count || pool->unused_start > count)
    return XdFail(xd, "a search start behind the slots");
  return own_texts || RecordBuffer(xd, pool);
}

}  // namespace

bool StringPoolRecord(XdStream* xd, StringPool* pool) {
  if (xd->direction == XD_ENCODE) return RecordPool(xd, pool);
  StringPoolClear(pool);
  if (xd->direction == XD_FREE) return true;
  const int code =
      UtGuarded([&] { return RecordPool(xd, pool) ? RC_OK : RC_BODY_FAILED; });
  if (code != RC_OK) StringPoolClear(pool);
  return code == RC_OK;
}

int StringPoolDump(FILE* file, const StringPool* pool) {
  if (OwnsTexts(pool)) return RC_OK;
  const auto number = [](uint32_t value) { return static_cast<int>(value); };
  const char* const rule =
      "***********************************"
      "************************************";
  fprintf(file, "\n%s\n", rule);
  fprintf(file, "Items_used=%d\n", number(SlotCount(pool)));
  uint32_t expected = 0;
  for (uint32_t id = 0; id < SlotCount(pool); ++id) {
    const StringPoolSlot& slot = pool->slots[id];
    // A free slot as it was read stands nowhere, and no text may end there.
    const uint32_t rest =
        TextUsed(pool) - std::min(slot.offset, TextUsed(pool));
    const char* text = rest == 0 ? "" : pool->text.data() + slot.offset;
    const auto length = static_cast<uint32_t>(strnlen(text, rest));
    fprintf(file, "I= %d, Cnt= %d, Off= %d", number(id),
            number(slot.references), number(slot.offset));
    fprintf(file, " Len= %d, strlen+1= %d, Str= \"%.*s\"\n",
            number(slot.reserved), number(length + 1), number(length), text);
    if (slot.reserved == 0) fprintf(file, "\n<-ERROR: itemLen == 0\n\n");
    if (slot.reserved != length + 1)
      fprintf(file, "\n<-ERROR: itemLen != calcLen\n\n");
    if (slot.offset != expected)
      fprintf(file, "\n<-ERROR: itemOffset:%d != calcOffset:%d\n\n",
              number(slot.offset), number(expected));
    expected = slot.offset + slot.reserved;
  }
  fprintf(file, "\n%s\n\n", rule);
  return RC_OK;
}
