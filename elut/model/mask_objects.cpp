// Objects are chained in the order in which they were made, so that releasing
// a list needs no walk through their nesting: only programs own memory outside
// the arena, and every object that may hold one is in the chain.
#include "elut/model/mask_objects.h"

#include <cstring>

#include "Cutil/ut_hash.h"
#include "elut/syntax/scanner.h"

namespace {

constexpr size_t FIRST_SLOTS = 64;

void FreePrograms(MaskObject* object) {
  McProgramFree(&object->program);
  for (uint16_t i = 0; i < object->handlers.count; i++) {
    EventHandler* handler = &object->handlers.entries[i];
    if (handler->kind == HandlerKind::PROGRAM) McProgramFree(&handler->program);
  }
}

}  // namespace

EditorList::~EditorList() {
  MaskListFree(this);
}

MaskObject* MaskCreateObject(EditorList* list, const char* name,
                             MaskObjectType type) {
  auto* object = list->store.arena.take_array<MaskObject>(1);
  *object = {};
  object->type = type;
  memcpy(object->name, name, strnlen(name, MASK_NAME_BYTES - 1));
  AttributeListInit(&object->attributes, &list->store.arena);
  object->older = list->youngest;
  list->youngest = object;
  return object;
}

void MaskAppendChild(MaskObject* parent, MaskObject* child) {
  child->parent = parent;
  if (parent->first_child == nullptr)
    parent->first_child = child;
  else
    parent->last_child->next = child;
  parent->last_child = child;
}

void MaskAddEditor(EditorList* list, MaskObject* object,
                   McReportSink* reports) {
  list->names.make_room(FIRST_SLOTS);
  // Names are filled up with zeros, so all 32 bytes can be compared.
  const uint32_t hash = UtHash(object->name, MASK_NAME_BYTES);
  UtNumbered* slot = list->names.slot(hash, [&](const UtNumbered& entry) {
    return entry.hash == hash && memcmp(list->editors[entry.number()]->name,
                                        object->name, MASK_NAME_BYTES) == 0;
  });
  if (!slot->empty()) {
    McReportText(reports, McReportKind::WARNING,
                 "Ignore 2nd definition of editor %s", object->name);
    return;
  }
  list->editors.push_back(object);
  list->names.fill(slot, UtNumbered(hash, list->editors.size() - 1));
}

McProgram* MaskSetModule(EditorList* list, MaskObject* object) {
  McProgram* program = McProgramCreate(&list->store).release();
  McProgramFree(&object->program);
  object->program = program;
  return program;
}

void MaskListFree(EditorList* list) {
  for (MaskObject* object = list->youngest; object != nullptr;
       object = object->older)
    FreePrograms(object);
  UtVector<MaskObject*>().swap(list->editors);
  list->names.clear();
  list->youngest = nullptr;
  list->store.arena.release();
  list->store.nodes.release();
}
