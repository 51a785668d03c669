#include "elut/model/mask_objects.h"

#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_hash.h"
#include "elut/files/mask_file.h"
#include "elut/model/program.h"
#include "services/channels.h"

// The index of editors is a table of slots, a power of two, that is at most
// half full. A name looks for its slot from the one that its hash points to
// onwards. The table is made anew, twice as large, when it would become too
// full, and also for the first editor that is added behind editors read from
// a file.

namespace {

constexpr size_t FIRST_SLOTS = 64;
constexpr unsigned WARNING_CHANNEL = 2;

// The slot of the editor of that name, or the empty slot where it belongs.
uint32_t* SlotOf(EditorList* list, const char* name) {
  const size_t last = list->names.size() - 1;
  // Names are filled up with zeros, so all 32 bytes can be compared.
  for (size_t i = UtHash(name, MASK_NAME_BYTES) & last;; i = (i + 1) & last) {
    uint32_t* slot = &list->names[i];
    if (*slot == 0) return slot;
    if (memcmp(list->editors[*slot - 1]->name, name, MASK_NAME_BYTES) == 0)
      return slot;
  }
}

// Makes room for one more name. Throws bad_alloc with the list unchanged.
void MakeRoom(EditorList* list) {
  const size_t needed = 2 * (list->editors.size() + 1);
  if (needed <= list->names.size()) return;
  size_t slots = FIRST_SLOTS;
  while (slots < needed) slots *= 2;
  UtVector<uint32_t>(slots).swap(list->names);
  for (uint32_t i = 0; i < list->editors.size(); i++) {
    if (list->editors[i] == nullptr) continue;
    uint32_t* slot = SlotOf(list, list->editors[i]->name);
    if (*slot == 0) *slot = i + 1;
  }
}

}  // namespace

EditorList::~EditorList() {
  MaskListFree(this);
}

int MaskCreateObject(EditorList* list, const char* name, MaskObjectType type,
                     MaskObject** object) {
  *object = static_cast<MaskObject*>(list->arena.take(sizeof(MaskObject)));
  if (*object == nullptr) return RC_NO_MEMORY;
  **object = {};
  (*object)->type = type;
  memcpy((*object)->name, name, strnlen(name, MASK_NAME_BYTES - 1));
  AttributeListInit(&(*object)->attributes, &list->arena);
  (*object)->older = list->youngest;
  list->youngest = *object;
  return RC_OK;
}

void MaskAppendChild(MaskObject* parent, MaskObject* child) {
  child->parent = parent;
  if (parent->first_child == nullptr)
    parent->first_child = child;
  else
    parent->last_child->next = child;
  parent->last_child = child;
}

int MaskAddEditor(EditorList* list, MaskObject* object) {
  return UtGuarded([&] {
    MakeRoom(list);
    uint32_t* slot = SlotOf(list, object->name);
    if (*slot != 0) {
      ChannelPrint(WARNING_CHANNEL, "Ignore 2nd definition of editor %s",
                   object->name);
      return RC_OK;
    }
    list->editors.push_back(object);
    *slot = static_cast<uint32_t>(list->editors.size());
    return RC_OK;
  });
}

int MaskSetModule(MaskObject* object, McProgram** program) {
  *program = McProgramCreate();
  if (*program == nullptr) return RC_NO_NODE;
  McProgramFree(&object->program);
  object->program = *program;
  return RC_OK;
}

void MaskListFree(EditorList* list) {
  XdStream xd;
  XdCreateRelease(&xd);
  // Releasing never fails, and there is nothing to hand to a file.
  (void)MaskListRecord(&xd, list);
  (void)XdDestroy(&xd);
}
