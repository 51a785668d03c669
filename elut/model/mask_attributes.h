// Attributes of masks: `width = 10;` or `text = "Ok";` in a definition.
//
// Any object and any handler may be given an attribute of any name. Only the
// type of a name's values is fixed: by the first use of the name in the run,
// whatever file it stands in. The registry of names keeps them, numbered in
// the order of their first use, as long as the run lasts.
//
// A list takes the memory for its entries and texts from the arena that it was
// made with, the one of its EditorList, and goes when that arena goes.
#pragma once

#include <cstdint>

#include "Cutil/ut_arena.h"
#include "util/string_pool.h"

enum class AttributeType : uint8_t {
  INTEGER = 1,
  STRING = 4,      // without text
  OWN_STRING = 5,  // with a text, which only a file can make an absent one
};

// Files may hold types that are none of these. Such attributes have no value.
struct Attribute {
  union {
    int32_t integer;
    const char* text;  // nullptr: none
  };
  uint16_t name;  // number of the name in the registry
  AttributeType type;
};

struct AttributeList {
  Attribute* entries;
  UtArena* arena;
  uint16_t count;
  uint16_t capacity;
};

// Counts are 16-bit numbers in the file, and those who read it let lists grow
// by 32 entries: a full list is the last multiple of 32 that fits.
inline constexpr uint32_t ATTRIBUTE_LIMIT = 65504;
inline constexpr uint32_t ATTRIBUTE_NAME_LIMIT = 65536;  // of a run

// Makes the list empty. What it held stays in its arena.
void AttributeListInit(AttributeList* list, UtArena* arena);

// The names of a run.
class AttributeNames {
 public:
  // The number of a name, which is registered with the type given when it is
  // new. `*type` becomes the type that the name has, STRING for either kind of
  // text. Returns 0, or RC_NAMES_FULL when there are ATTRIBUTE_NAME_LIMIT
  // names. Throws bad_alloc.
  [[nodiscard]] int take(const char* name, AttributeType* type,
                         uint16_t* number);

  // The name of that number.
  [[nodiscard]] const char* name(uint16_t number) const;

  uint32_t count() const { return static_cast<uint32_t>(types_.size()); }

  // Forgets the names that were registered since there were `count`. No list
  // may use them.
  void forget_since(uint32_t count);

 private:
  StringPool names_;               // the slot of a name is its number
  UtVector<AttributeType> types_;  // of the values, by number
};

// Append an attribute; an empty text is stored as none. They return 0; or,
// without appending anything, RC_TABLE_FULL when the list has ATTRIBUTE_LIMIT
// entries, or RC_NAMES_FULL when the run has no room for one more name. With
// RC_TYPE_CLASH the name has values of the other type: an entry of the name's
// type with an empty value, 0 or no text, was appended all the same. They throw
// bad_alloc.
[[nodiscard]] int AttributeListAdd(AttributeNames* names, AttributeList* list,
                                   const char* name, int32_t integer);
[[nodiscard]] int AttributeListAdd(AttributeNames* names, AttributeList* list,
                                   const char* name, const char* text);
