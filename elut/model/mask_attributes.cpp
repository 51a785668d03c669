// A list grows by doubling. The array that it has outgrown stays in the arena;
// all of them together are smaller than the array in use, and nothing needs to
// be freed when the list goes. Names are numbered by a string pool, which is
// what the files' reader wants, and their types stand in an array beside it.
#include "elut/model/mask_attributes.h"

#include <algorithm>
#include <cstring>

#include "Cutil/codes.h"

namespace {

constexpr uint32_t FIRST_CAPACITY = 8;

void MakeRoom(AttributeList* list) {
  if (list->count < list->capacity) return;
  const uint32_t capacity = std::clamp<uint32_t>(
      list->capacity * 2u, FIRST_CAPACITY, ATTRIBUTE_LIMIT);
  auto* entries = list->arena->take_array<Attribute>(capacity);
  if (list->count > 0)
    memcpy(entries, list->entries, list->count * sizeof(Attribute));
  list->entries = entries;
  list->capacity = static_cast<uint16_t>(capacity);
}

// Appends an entry of that name with an empty value. `*type` is the type of
// the value that it shall hold and becomes that of the name.
int Append(AttributeNames* names, AttributeList* list, const char* name,
           AttributeType* type, Attribute** entry) {
  if (list->count >= ATTRIBUTE_LIMIT) return RC_TABLE_FULL;
  uint16_t number;
  if (const int code = names->take(name, type, &number)) return code;
  MakeRoom(list);
  *entry = &list->entries[list->count++];
  **entry = {.text = nullptr, .name = number, .type = *type};
  return RC_OK;
}

}  // namespace

void AttributeListInit(AttributeList* list, UtArena* arena) {
  *list = {nullptr, arena, 0, 0};
}

int AttributeListAdd(AttributeNames* names, AttributeList* list,
                     const char* name, int32_t integer) {
  AttributeType type = AttributeType::INTEGER;
  Attribute* entry;
  if (const int code = Append(names, list, name, &type, &entry)) return code;
  if (type != AttributeType::INTEGER) return RC_TYPE_CLASH;
  entry->integer = integer;
  return RC_OK;
}

int AttributeListAdd(AttributeNames* names, AttributeList* list,
                     const char* name, const char* text) {
  AttributeType type = AttributeType::STRING;
  Attribute* entry;
  if (const int code = Append(names, list, name, &type, &entry)) return code;
  if (type != AttributeType::STRING) return RC_TYPE_CLASH;
  if (*text == '\0') return RC_OK;
  entry->text = list->arena->copy(text, strlen(text));
  entry->type = AttributeType::OWN_STRING;
  return RC_OK;
}

int AttributeNames::take(const char* name, AttributeType* type,
                         uint16_t* number) {
  if (*type == AttributeType::OWN_STRING) *type = AttributeType::STRING;
  uint32_t slot;
  int code = StringPoolFind(&names_, name, &slot);
  if (code == RC_NOT_FOUND) {
    if (types_.size() == ATTRIBUTE_NAME_LIMIT) return RC_NAMES_FULL;
    types_.push_back(*type);
    code = StringPoolAdd(&names_, name, &slot);
    if (code != RC_OK) types_.pop_back();
  }
  if (code != RC_OK) throw std::bad_alloc();
  *type = types_[slot];
  *number = static_cast<uint16_t>(slot);
  return RC_OK;
}

const char* AttributeNames::name(uint16_t number) const {
  return StringPoolText(&names_, number);
}

void AttributeNames::forget_since(uint32_t count) {
  StringPoolTruncate(&names_, count);
  types_.resize(std::min<size_t>(count, types_.size()));
}
