#include "elut/model/mask_events.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Cutil/codes.h"
#include "elut/model/mask_objects.h"
#include "elut/model/program.h"

namespace {

struct KeyName {
  std::string_view name;
  uint32_t code;
};

// Sorted by name.
constexpr KeyName KEY_NAMES[] = {
    {"BS", 264},           {"CLE", 262},    {"CLL", 263},
    {"CLS", 265},          {"CUDN", 279},   {"CUL", 270},
    {"CUR", 271},          {"CUUP", 278},   {"DELC", 259},
    {"DELL", 261},         {"ESC", 283},    {"EXEC", 269},
    {"INSC", 258},         {"INSL", 260},   {"PF1", 289},
    {"PF10", 298},         {"PF11", 299},   {"PF12", 300},
    {"PF2", 290},          {"PF3", 291},    {"PF4", 292},
    {"PF5", 293},          {"PF6", 294},    {"PF7", 295},
    {"PF8", 296},          {"PF9", 297},    {"PGDN", 281},
    {"PGUP", 280},         {"RECALL", 328}, {"RETURN", KEY_RETURN},
    {"SF1", 301},          {"SF10", 310},   {"SF11", 311},
    {"SF12", 312},         {"SF2", 302},    {"SF3", 303},
    {"SF4", 304},          {"SF5", 305},    {"SF6", 306},
    {"SF7", 307},          {"SF8", 308},    {"SF9", 309},
    {"SHIFT-RECALL", 329},
};
static_assert(std::ranges::is_sorted(KEY_NAMES, {}, &KeyName::name));

constexpr uint32_t FIRST_CAPACITY = 2;

// A table grows by doubling, like the lists of attributes.
int MakeRoom(EventHandlers* handlers, UtArena* arena) {
  if (handlers->count < handlers->capacity) return RC_OK;
  if (handlers->count >= HANDLER_LIMIT) return RC_INVALID;
  const uint32_t capacity = std::clamp<uint32_t>(handlers->capacity * 2u,
                                                 FIRST_CAPACITY, HANDLER_LIMIT);
  void* block = arena->take(capacity * sizeof(EventHandler));
  if (block == nullptr) return RC_NO_MEMORY;
  if (handlers->count > 0)
    memcpy(block, handlers->entries, handlers->count * sizeof(EventHandler));
  handlers->entries = static_cast<EventHandler*>(block);
  handlers->capacity = static_cast<uint16_t>(capacity);
  return RC_OK;
}

}  // namespace

EventSpec MaskEvent(EventMask event) {
  return {event, event == EVENT_BUTTON ? 1u : 0u};
}

EventSpec MaskKeyEvent(uint32_t key) {
  return {EVENT_KEY, key};
}

EventSpec MaskJoinEvents(EventSpec left, EventSpec right) {
  const bool has_key = (right.mask & EVENT_KEY) != 0;
  return {left.mask | right.mask, has_key ? right.key : left.key};
}

uint32_t McKeyLookup(const char* text) {
  const std::string_view name = text;
  const KeyName* row =
      std::ranges::lower_bound(KEY_NAMES, name, {}, &KeyName::name);
  if (row != std::end(KEY_NAMES) && row->name == name) return row->code;
  return static_cast<unsigned char>(*text);
}

int MaskAddAttributeHandler(MaskObject* object, EventSpec event,
                            AttributeList** attributes) {
  *attributes = nullptr;
  EventHandlers* handlers = &object->handlers;
  UtArena* arena = object->attributes.arena;
  const int code = MakeRoom(handlers, arena);
  if (code != RC_OK) return code;
  EventHandler* handler = &handlers->entries[handlers->count++];
  handler->event = event;
  handler->kind = HandlerKind::ATTRIBUTES;
  AttributeListInit(&handler->attributes, arena);
  *attributes = &handler->attributes;
  return RC_OK;
}

int MaskAddProgramHandler(MaskObject* object, EventSpec event,
                          McProgram** program) {
  *program = nullptr;
  EventHandlers* handlers = &object->handlers;
  const int code = MakeRoom(handlers, object->attributes.arena);
  if (code != RC_OK) return code;
  *program = McProgramCreate();
  if (*program == nullptr) return RC_NO_NODE;
  EventHandler* handler = &handlers->entries[handlers->count++];
  handler->event = event;
  handler->kind = HandlerKind::PROGRAM;
  handler->program = *program;
  return RC_OK;
}
