// Attributes of masks: `width = 10;` or `text = "Ok";` in a definition.
//
// Any object and any handler may be given an attribute of any name. Only the
// type of a name's values is fixed: by the first use of the name in the run,
// whatever file it stands in. The registry of names keeps them, numbered in
// the order of their first use, until the process ends.
//
// A list takes the memory for its entries and texts from the arena that it was
// made with, the one of its EditorList, and goes when that arena goes.
#pragma once

#include <cstdint>

#include "Cutil/ut_arena.h"

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

// Append an attribute; an empty text is stored as none. They return 0,
// RC_NO_MEMORY, or RC_INVALID in one of three cases, which the list's count
// tells apart:
//   - the name has values of the other type. An entry of the name's type with
//     an empty value, 0 or no text, was appended all the same;
//   - the list is full, that is, its count is ATTRIBUTE_LIMIT, or
//   - the run has no room for one more name. Nothing was appended.
[[nodiscard]] int AttributeListAdd(AttributeList* list, const char* name,
                                   int32_t integer);
[[nodiscard]] int AttributeListAdd(AttributeList* list, const char* name,
                                   const char* text);

// The registry of names ----------------------------------------------------

// The number of a name, which is registered with the type given when it is
// new. `*type` becomes the type that the name has, STRING for either kind of
// text. Returns 0, RC_INVALID when there are ATTRIBUTE_NAME_LIMIT names, or
// RC_NO_MEMORY.
[[nodiscard]] int AttributeNameRegister(const char* name, AttributeType* type,
                                        uint16_t* number);

// The name of that number.
const char* AttributeName(uint16_t number);

// For tests: forgets all names. No list may be in use.
void AttributeNamesReset();
