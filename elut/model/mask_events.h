// Events of masks and the handlers of an object:
//
//   ON KEY PF1 OR ENTER DO show_help WITH "keys";    a list of attributes
//   ON BUTTON PRESS EXECUTE { PRINT 1; }             a program
//
// A handler stands for every event whose bit is in its mask, and has one key
// code for all of them.
#pragma once

#include <cstdint>

#include "elut/model/mask_attributes.h"

struct EditorList;
struct MaskObject;
struct McProgram;

enum EventMask : uint32_t {
  EVENT_ENTER = 0x1,
  EVENT_EXIT = 0x2,
  EVENT_CONTROL = 0x4,
  EVENT_KEY = 0x8,
  EVENT_ABORT = 0x10,
  EVENT_EXPOSE = 0x20,  // this one and the next: only the run time makes them
  EVENT_RESIZE = 0x40,
  EVENT_BUTTON = 0x80,  // pressed or released
  EVENT_MOTION = 0x100,
  EVENT_DESTROY = 0x800,
  EVENT_CONFIRM = 0x2000,
  EVENT_CREATE = 0x4000,
  EVENT_SHOW = 0x8000,
  EVENT_HIDE = 0x10000,
  EVENT_COMPUTE = 0x20000,
  EVENT_ACTIVATE = 0x40000,
  EVENT_MODIFY = 0x100000,
};

// The events in the order in which they are printed, with the words that stand
// for them there. The others are not printed.
struct EventWord {
  EventMask bit;
  const char* word;
};
inline constexpr EventWord EVENT_WORDS[] = {
    {EVENT_ENTER, "ENTER"},     {EVENT_EXIT, "EXIT"},
    {EVENT_CONTROL, "CONTROL"}, {EVENT_KEY, "KEY"},
    {EVENT_ABORT, "ABORT"},     {EVENT_EXPOSE, "EXPOSE"},
    {EVENT_RESIZE, "RESIZE"},   {EVENT_BUTTON, "BUTTON"},
    {EVENT_MOTION, "MOTION"},   {EVENT_ACTIVATE, "ACTIVATE"},
    {EVENT_MODIFY, "MODIFIED"},
};

// What a handler is for.
struct EventSpec {
  uint32_t mask;  // EventMask bits
  uint32_t key;   // of a KEY event; 1 for BUTTON, else 0
};

// A single event other than KEY, a KEY event, and the two sides of an OR. The
// union keeps the right side's key when that has a KEY event, else the left's.
EventSpec MaskEvent(EventMask event);
EventSpec MaskKeyEvent(uint32_t key);
EventSpec MaskJoinEvents(EventSpec left, EventSpec right);

// The code of a key name such as PF1; of any other text its first character.
uint32_t McKeyLookup(const char* text);

// A name that McKeyLookup knows for the code and that is one word of the
// language, or nullptr.
const char* McKeyName(uint32_t code);

// The RETURN key, whose name is a keyword of the language too.
inline constexpr uint32_t KEY_RETURN = 266;

enum class HandlerKind : uint8_t {
  ATTRIBUTES = 1,
  PROGRAM = 2,
};

// Files may hold kinds that are neither. Such handlers have no body.
struct EventHandler {
  EventSpec event;
  HandlerKind kind;
  union {
    AttributeList attributes;
    McProgram* program;  // owned; nullptr: none
  };
};

struct EventHandlers {
  EventHandler* entries;  // in the arena of the EditorList
  uint16_t count;
  uint16_t capacity;
};

// As for attributes, but tables grow by 8 entries.
inline constexpr uint32_t HANDLER_LIMIT = 65528;

// Append a handler to an object and hand out its empty body. The list that is
// handed out moves when the object gets another handler. They return nullptr
// when the object has HANDLER_LIMIT handlers, and throw bad_alloc; the object
// is unchanged then.
[[nodiscard]] AttributeList* MaskAddAttributeHandler(MaskObject* object,
                                                     EventSpec event);
[[nodiscard]] McProgram* MaskAddProgramHandler(EditorList* list,
                                               MaskObject* object,
                                               EventSpec event);
