// The model of one file of mask definitions: editors made of nested objects.
//
//   WINDOW Main {              an editor
//     width = 10;              its attributes
//     ON ENTER DO act;         its handlers
//     BUTTON Ok { ; }          its children, in the order of definition
//   }
//
// The EditorList of a file owns everything: objects, names, lists, texts and
// trees lie in its store, and the programs of MODULE blocks and EXECUTE
// handlers belong to the objects made for it, whether these were attached or
// not. All of it goes with MaskListFree. Objects are never removed or moved.
#pragma once

#include <cstdint>

#include "Cutil/ut_arena.h"
#include "Cutil/ut_index.h"
#include "Cutil/ut_memory.h"
#include "elut/model/mask_attributes.h"
#include "elut/model/mask_events.h"
#include "elut/model/program.h"

class McReportSink;

enum class MaskObjectType : uint8_t {
  NONE = 0,
  TEXT = 1,
  WINDOW = 2,
  LABEL = 3,
  BUTTON = 4,
  MENU = 5,
  SCROLLBAR = 6,
  MENUBAR = 7,
  ITEM = 8,
  RECORD = 9,
  TABLE = 10,
  APPLICATION = 11,
  DIALOG = 12,
  GROUP = 13,
  GRAPHIC = 14,
};

// Printed names, by code. They are the keywords too.
inline constexpr const char* MASK_TYPE_NAMES[] = {
    "",      "TEXT",        "WINDOW",  "LABEL", "BUTTON",
    "MENU",  "SCROLLBAR",   "MENUBAR", "ITEM",  "RECORD",
    "TABLE", "APPLICATION", "DIALOG",  "GROUP", "GRAPHIC",
};
inline constexpr unsigned MASK_TYPE_COUNT =
    sizeof(MASK_TYPE_NAMES) / sizeof(MASK_TYPE_NAMES[0]);
static_assert(MASK_TYPE_COUNT ==
              static_cast<unsigned>(MaskObjectType::GRAPHIC) + 1);

inline constexpr uint32_t MASK_NAME_BYTES = 32;  // with the closing zero

struct MaskObject {
  MaskObject* first_child;
  MaskObject* last_child;
  MaskObject* parent;          // nullptr: an editor, or not attached
  MaskObject* next;            // sibling
  MaskObject* older;           // object made before this one for the same list
  char name[MASK_NAME_BYTES];  // filled up with zeros; empty: no name
  AttributeList attributes;
  EventHandlers handlers;
  McProgram* program;  // the MODULE block; owned; nullptr: none
  MaskObjectType type;
};

struct EditorList {
  // The names outlive the list.
  explicit EditorList(AttributeNames* names_of_run)
      : attribute_names(names_of_run) {}
  EditorList(const EditorList&) = delete;
  EditorList& operator=(const EditorList&) = delete;
  ~EditorList();

  AttributeNames* attribute_names;  // of the run
  UtVector<MaskObject*> editors;    // a file may hold empty places: nullptr
  UtIndex<UtNumbered> names;        // of the editors; not of those read
  MaskObject* youngest = nullptr;   // object, attached or not
  McStore store;                    // of all that is in the list
};

// A new object of that type, its name cut to 31 characters. Throws bad_alloc.
[[nodiscard]] MaskObject* MaskCreateObject(EditorList* list, const char* name,
                                           MaskObjectType type);

// Makes `child` the last child of `parent`.
void MaskAppendChild(MaskObject* parent, MaskObject* child);

// Makes the object an editor. One whose name another editor has, be it the
// empty name, is ignored with a warning. Throws bad_alloc.
void MaskAddEditor(EditorList* list, MaskObject* object, McReportSink* reports);

// Gives the object a new program for its MODULE block, in place of the one it
// may have. Throws bad_alloc; the object is unchanged then.
[[nodiscard]] McProgram* MaskSetModule(EditorList* list, MaskObject* object);

// Releases everything; the list is empty then.
void MaskListFree(EditorList* list);
