#include "elut/model/mask_attributes.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"
#include "util/string_pool.h"

// A list grows by doubling. The array that it has outgrown stays in the arena;
// all of them together are smaller than the array in use.

namespace {

constexpr uint32_t FIRST_CAPACITY = 8;

struct AttributeNameRegistry {
  StringPool names;               // the slot of a name is its number
  UtVector<AttributeType> types;  // of the values, by number

  void reset() {
    StringPoolClear(&names);
    UtVector<AttributeType>().swap(types);
  }
};
constinit AttributeNameRegistry registry;

int Register(const char* name, AttributeType type, uint32_t* number) {
  if (registry.types.size() == ATTRIBUTE_NAME_LIMIT) return RC_INVALID;
  return UtGuarded([&] {
    registry.types.push_back(type);
    const int code = StringPoolAdd(&registry.names, name, number);
    if (code != RC_OK) registry.types.pop_back();
    return code;
  });
}

int MakeRoom(AttributeList* list) {
  if (list->count < list->capacity) return RC_OK;
  const uint32_t capacity = std::clamp<uint32_t>(
      list->capacity * 2u, FIRST_CAPACITY, ATTRIBUTE_LIMIT);
  void* block = list->arena->take(capacity * sizeof(Attribute));
  if (block == nullptr) return RC_NO_MEMORY;
  if (list->count > 0)
    memcpy(block, list->entries, list->count * sizeof(Attribute));
  list->entries = static_cast<Attribute*>(block);
  list->capacity = static_cast<uint16_t>(capacity);
  return RC_OK;
}

// Appends an entry of that name with an empty value. `*type` is the type of
// the value that it shall hold and becomes that of the name.
int Append(AttributeList* list, const char* name, AttributeType* type,
           Attribute** entry) {
  if (list->count >= ATTRIBUTE_LIMIT) return RC_INVALID;
  uint16_t number;
  int code = AttributeNameRegister(name, type, &number);
  if (code == RC_OK) code = MakeRoom(list);
  if (code != RC_OK) return code;
  *entry = &list->entries[list->count++];
  **entry = {.text = nullptr, .name = number, .type = *type};
  return RC_OK;
}

}  // namespace

void AttributeListInit(AttributeList* list, UtArena* arena) {
  *list = {nullptr, arena, 0, 0};
}

int AttributeListAdd(AttributeList* list, const char* name, int32_t integer) {
  AttributeType type = AttributeType::INTEGER;
  Attribute* entry;
  const int code = Append(list, name, &type, &entry);
  if (code != RC_OK) return code;
  if (type != AttributeType::INTEGER) return RC_INVALID;
  entry->integer = integer;
  return RC_OK;
}

int AttributeListAdd(AttributeList* list, const char* name, const char* text) {
  AttributeType type = AttributeType::STRING;
  Attribute* entry;
  const int code = Append(list, name, &type, &entry);
  if (code != RC_OK) return code;
  if (type != AttributeType::STRING) return RC_INVALID;
  if (*text == '\0') return RC_OK;
  entry->text = list->arena->copy(text, strlen(text));
  if (entry->text == nullptr) {
    list->count--;
    return RC_NO_MEMORY;
  }
  entry->type = AttributeType::OWN_STRING;
  return RC_OK;
}

int AttributeNameRegister(const char* name, AttributeType* type,
                          uint16_t* number) {
  if (*type == AttributeType::OWN_STRING) *type = AttributeType::STRING;
  uint32_t slot;
  int code = StringPoolFind(&registry.names, name, &slot);
  if (code == RC_NOT_FOUND) code = Register(name, *type, &slot);
  if (code != RC_OK) return code;
  *type = registry.types[slot];
  *number = static_cast<uint16_t>(slot);
  return RC_OK;
}

const char* AttributeName(uint16_t number) {
  return StringPoolText(&registry.names, number);
}

void AttributeNamesReset() {
  registry.reset();
}
