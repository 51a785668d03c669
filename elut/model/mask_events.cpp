// Key names are few and fixed: a sorted table, searched by bisection, needs
// nothing at start-up. Handlers live in the arena of their EditorList, in an
// array that grows by doubling, like the lists of attributes.
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

// Appends a handler without a body, or nullptr when the table is full. The
// table grows by doubling, like the lists of attributes.
EventHandler* Append(MaskObject* object, EventSpec event, HandlerKind kind) {
  EventHandlers* handlers = &object->handlers;
  if (handlers->count >= HANDLER_LIMIT) return nullptr;
  if (handlers->count == handlers->capacity) {
    const uint32_t capacity = std::clamp<uint32_t>(
        handlers->capacity * 2u, FIRST_CAPACITY, HANDLER_LIMIT);
    auto* entries =
        object->attributes.arena->take_array<EventHandler>(capacity);
    if (handlers->count > 0)
      memcpy(entries, handlers->entries,
             handlers->count * sizeof(EventHandler));
    handlers->entries = entries;
    handlers->capacity = static_cast<uint16_t>(capacity);
  }
  EventHandler* handler = &handlers->entries[handlers->count++];
  handler->event = event;
  handler->kind = kind;
  handler->program = nullptr;
  return handler;
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

const char* McKeyName(uint32_t code) {
  for (const KeyName& row : KEY_NAMES)
    if (row.code == code && row.name.find('-') == std::string_view::npos)
      return row.name.data();
  return nullptr;
}

AttributeList* MaskAddAttributeHandler(MaskObject* object, EventSpec event) {
  EventHandler* handler = Append(object, event, HandlerKind::ATTRIBUTES);
  if (handler == nullptr) return nullptr;
  AttributeListInit(&handler->attributes, object->attributes.arena);
  return &handler->attributes;
}

McProgram* MaskAddProgramHandler(EditorList* list, MaskObject* object,
                                 EventSpec event) {
  UtPtr<McProgram> program = McProgramCreate(&list->store);
  EventHandler* handler = Append(object, event, HandlerKind::PROGRAM);
  if (handler == nullptr) return nullptr;
  handler->program = program.release();
  return handler->program;
}
