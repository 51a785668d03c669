#include "elut/files/mask_file.h"

#include <cstring>

#include "Cutil/codes.h"
#include "elut/files/program_file.h"
#include "util/xd_header.h"

// One routine per record, for all directions. The walk through the objects
// goes along their links, so that nothing recurses as deep as they nest.
// Releasing needs no walk at all: only programs own memory outside the arena,
// and the list chains all objects that may hold one.

namespace {

// The fewest bytes that a record takes in a file, in the plain transport.
constexpr uint64_t ATTRIBUTE_BYTES = 1 + 4;
constexpr uint64_t HANDLER_BYTES = 1 + 4 + 4;
constexpr uint64_t EDITOR_BYTES = 1;

bool AttributeValueRecord(XdStream* xd, UtArena* arena, Attribute* entry) {
  switch (entry->type) {
    case AttributeType::INTEGER: return XdLong(xd, &entry->integer);
    case AttributeType::STRING:
    case AttributeType::OWN_STRING: return XdText(xd, arena, &entry->text);
  }
  return true;
}

// The file knows one type of strings.
bool WriteAttribute(XdStream* xd, UtArena* arena, Attribute* entry) {
  const bool string = entry->type == AttributeType::OWN_STRING;
  auto type =
      static_cast<uint8_t>(string ? AttributeType::STRING : entry->type);
  const char* name = AttributeName(entry->name);
  return XdUChar(xd, &type) && XdText(xd, arena, &name) &&
         AttributeValueRecord(xd, arena, entry);
}

bool TypeIsRefused(uint8_t type) {
  return type == 0 || type == 2 || type == 6;
}

// The number of the name that follows. Its text is needed only for that.
bool ReadAttributeName(XdStream* xd, UtArena* arena, AttributeType type,
                       uint16_t* number) {
  const char* name;
  if (!XdText(xd, arena, &name) || name == nullptr) return false;
  const AttributeType wanted =
      type == AttributeType::OWN_STRING ? AttributeType::STRING : type;
  AttributeType registered = wanted;
  const int code = AttributeNameRegister(name, &registered, number);
  arena->give_back(const_cast<char*>(name), strlen(name) + 1);
  return code == RC_OK && registered == wanted;
}

bool ReadAttribute(XdStream* xd, UtArena* arena, Attribute* entry) {
  uint8_t type = 0;
  if (!XdUChar(xd, &type) || TypeIsRefused(type)) return false;
  entry->text = nullptr;
  entry->type = static_cast<AttributeType>(type);
  if (!ReadAttributeName(xd, arena, entry->type, &entry->name)) return false;
  if (entry->type == AttributeType::STRING)
    entry->type = AttributeType::OWN_STRING;
  return AttributeValueRecord(xd, arena, entry);
}

// A table of `count` records in the arena, or nullptr.
template <class Record>
Record* TakeTable(UtArena* arena, uint16_t count) {
  return static_cast<Record*>(arena->take(count * sizeof(Record)));
}

bool HandlerBodyRecord(XdStream* xd, EventHandler* handler) {
  switch (handler->kind) {
    case HandlerKind::ATTRIBUTES:
      return AttributeListRecord(xd, &handler->attributes);
    case HandlerKind::PROGRAM: return McXdrProgram(xd, &handler->program);
  }
  return true;
}

bool HandlerRecord(XdStream* xd, UtArena* arena, EventHandler* handler) {
  auto kind = static_cast<uint8_t>(handler->kind);
  auto key = static_cast<int32_t>(handler->event.key);
  if (!XdUChar(xd, &kind)) return false;
  if (!XdULong(xd, &handler->event.mask)) return false;
  if (!XdLong(xd, &key)) return false;
  if (xd->direction == XD_DECODE) {
    handler->event.key = static_cast<uint32_t>(key);
    // From here on the handler owns a body of its kind.
    handler->kind = static_cast<HandlerKind>(kind);
    if (handler->kind == HandlerKind::PROGRAM)
      handler->program = nullptr;
    else
      AttributeListInit(&handler->attributes, arena);
  }
  return HandlerBodyRecord(xd, handler);
}

// Everything of an object but its children: a type of 0 when there is none.
// Reading makes the object, as a part of no chain yet.
bool FieldsRecord(XdStream* xd, EditorList* list, MaskObject** place) {
  uint8_t type = 0;
  if (xd->direction == XD_ENCODE && *place != nullptr)
    type = static_cast<uint8_t>((*place)->type);
  if (!XdUChar(xd, &type)) return false;
  if (xd->direction == XD_DECODE) {
    *place = nullptr;
    if (type >= MASK_TYPE_COUNT) return false;
    if (type != 0 &&
        MaskCreateObject(list, "", MaskObjectType{type}, place) != RC_OK)
      return false;
  }
  MaskObject* object = *place;
  if (object == nullptr) return true;
  if (!XdStringBuf(xd, object->name, MASK_NAME_BYTES)) return false;
  if (!AttributeListRecord(xd, &object->attributes)) return false;
  if (!EventHandlersRecord(xd, &object->handlers, &list->arena)) return false;
  return McXdrProgram(xd, &object->program);
}

// Puts an object that was read where it belongs. Only children have siblings.
bool Attach(MaskObject* parent, MaskObject* object, MaskObject** place) {
  if (parent != nullptr) {
    MaskAppendChild(parent, object);
    return true;
  }
  if (*place != nullptr) return false;
  *place = object;
  return true;
}

bool MakePlaces(EditorList* list, uint32_t count) {
  return UtGuarded([&] {
           list->editors.assign(count, nullptr);
           return RC_OK;
         }) == RC_OK;
}

bool ReleaseList(XdStream* xd, EditorList* list) {
  for (MaskObject* object = list->youngest; object != nullptr;
       object = object->older) {
    if (!EventHandlersRecord(xd, &object->handlers, &list->arena)) return false;
    if (!McXdrProgram(xd, &object->program)) return false;
  }
  UtVector<MaskObject*>().swap(list->editors);
  UtVector<uint32_t>().swap(list->names);
  list->youngest = nullptr;
  list->arena.release();
  return true;
}

}  // namespace

int MaskListWrite(EditorList* list, int transport, const char* path) {
  FILE* file;
  XdStream xd;
  const int code = XdOpenForWriting(path, XD_KIND_MASK, transport, &file, &xd);
  if (code != RC_OK) return code;
  return XdCloseWritten(file, &xd, MaskListRecord(&xd, list));
}

int MaskListRead(const char* path, EditorList* list) {
  MaskListFree(list);
  FILE* file;
  XdStream xd;
  XdHeader header;
  const int code =
      XdOpenForReading(path, XD_KIND_MASK, XD_KIND_MASK, &file, &xd, &header);
  if (code != RC_OK) return code;
  const bool complete = MaskListRecord(&xd, list) && XdRemaining(&xd) == 0;
  (void)XdDestroy(&xd);  // nothing is left to write
  fclose(file);
  if (!complete) MaskListFree(list);
  return complete ? RC_OK : RC_BODY_FAILED;
}

bool MaskListRecord(XdStream* xd, EditorList* list) {
  if (xd->direction == XD_FREE) return ReleaseList(xd, list);
  auto count = static_cast<uint32_t>(list->editors.size());
  if (!XdULong(xd, &count)) return false;
  if (!XdCountFits(xd, count, EDITOR_BYTES)) return false;
  if (xd->direction == XD_DECODE && !MakePlaces(list, count)) return false;
  for (MaskObject*& editor : list->editors)
    if (!MaskObjectRecord(xd, list, &editor)) return false;
  return true;
}

bool MaskObjectRecord(XdStream* xd, EditorList* list, MaskObject** place) {
  MaskObject* parent = nullptr;
  MaskObject* object = *place;
  uint32_t depth = 0;
  for (;;) {
    if (!FieldsRecord(xd, list, &object)) return false;
    if (object != nullptr) {
      if (xd->direction == XD_DECODE && !Attach(parent, object, place))
        return false;
      if (++depth > MASK_NESTING_LIMIT && xd->direction == XD_DECODE)
        return false;
      parent = object;
      object = parent->first_child;
    } else {
      // The chain below `parent` has ended: on to the next sibling.
      if (depth == 0) return true;
      object = parent->next;
      parent = parent->parent;
      depth--;
    }
  }
}

bool AttributeListRecord(XdStream* xd, AttributeList* list) {
  if (xd->direction == XD_FREE) {
    AttributeListInit(list, list->arena);
    return true;
  }
  uint16_t count = list->count;
  if (!XdUShort(xd, &count)) return false;
  if (xd->direction == XD_DECODE && count > 0) {
    if (!XdCountFits(xd, count, ATTRIBUTE_BYTES)) return false;
    list->entries = TakeTable<Attribute>(list->arena, count);
    if (list->entries == nullptr) return false;
    list->capacity = count;
  }
  const auto transfer =
      xd->direction == XD_ENCODE ? WriteAttribute : ReadAttribute;
  for (uint16_t i = 0; i < count; i++) {
    if (!transfer(xd, list->arena, &list->entries[i])) return false;
    if (xd->direction == XD_DECODE) list->count++;
  }
  return true;
}

bool EventHandlersRecord(XdStream* xd, EventHandlers* handlers,
                         UtArena* arena) {
  uint16_t count = handlers->count;
  if (!XdUShort(xd, &count)) return false;
  if (xd->direction == XD_DECODE && count > 0) {
    if (!XdCountFits(xd, count, HANDLER_BYTES)) return false;
    handlers->entries = TakeTable<EventHandler>(arena, count);
    if (handlers->entries == nullptr) return false;
    memset(static_cast<void*>(handlers->entries), 0,
           count * sizeof(EventHandler));
    handlers->count = handlers->capacity = count;
  }
  for (uint16_t i = 0; i < count; i++)
    if (!HandlerRecord(xd, arena, &handlers->entries[i])) return false;
  if (xd->direction == XD_FREE) *handlers = {};
  return true;
}
