// One routine per record lists its fields in file order, for both directions,
// so that what is written can be read. The walk through the objects goes along
// their links, so that nothing recurses as deep as they nest. A file that is
// refused must leave nothing: the attribute names that it has brought are
// forgotten again.
#include "elut/files/mask_file.h"

#include <cstring>

#include "Cutil/codes.h"
#include "Cutil/ut_file.h"
#include "elut/files/program_file.h"
#include "elut/model/program.h"
#include "util/xd_header.h"

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
bool WriteAttribute(XdStream* xd, EditorList* list, Attribute* entry) {
  const bool string = entry->type == AttributeType::OWN_STRING;
  auto type =
      static_cast<uint8_t>(string ? AttributeType::STRING : entry->type);
  const char* name = list->attribute_names->name(entry->name);
  return XdUChar(xd, &type) && XdText(xd, &list->store.arena, &name) &&
         AttributeValueRecord(xd, &list->store.arena, entry);
}

bool TypeIsRefused(uint8_t type) {
  return type == 0 || type == 2 || type == 6;
}

// The number of the name that follows. Its text is needed only for that.
bool ReadAttributeName(XdStream* xd, EditorList* list, AttributeType type,
                       uint16_t* number) {
  const char* name;
  if (!XdText(xd, &list->store.arena, &name)) return false;
  if (name == nullptr) return XdFail(xd, "an attribute without a name");
  const AttributeType wanted =
      type == AttributeType::OWN_STRING ? AttributeType::STRING : type;
  AttributeType registered = wanted;
  const int code = list->attribute_names->take(name, &registered, number);
  list->store.arena.give_back(const_cast<char*>(name), strlen(name) + 1);
  if (code != RC_OK) return XdFail(xd, "one attribute name too many");
  return registered == wanted ||
         XdFail(xd, "an attribute whose name has values of another type");
}

bool ReadAttribute(XdStream* xd, EditorList* list, Attribute* entry) {
  uint8_t type = 0;
  if (!XdUChar(xd, &type)) return false;
  if (TypeIsRefused(type)) return XdFail(xd, "a type that no attribute has");
  entry->text = nullptr;
  entry->type = static_cast<AttributeType>(type);
  if (!ReadAttributeName(xd, list, entry->type, &entry->name)) return false;
  if (entry->type == AttributeType::STRING)
    entry->type = AttributeType::OWN_STRING;
  return AttributeValueRecord(xd, &list->store.arena, entry);
}

bool AttributeListRecord(XdStream* xd, EditorList* list,
                         AttributeList* attributes) {
  uint16_t count = attributes->count;
  if (!XdUShort(xd, &count)) return false;
  if (xd->direction == XD_DECODE && count > 0) {
    if (!XdCountFits(xd, count, ATTRIBUTE_BYTES)) return false;
    attributes->entries = list->store.arena.take_array<Attribute>(count);
    attributes->capacity = count;
  }
  const auto transfer =
      xd->direction == XD_ENCODE ? WriteAttribute : ReadAttribute;
  for (uint16_t i = 0; i < count; i++) {
    if (!transfer(xd, list, &attributes->entries[i])) return false;
    if (xd->direction == XD_DECODE) attributes->count++;
  }
  return true;
}

bool HandlerBodyRecord(XdStream* xd, EditorList* list, EventHandler* handler) {
  switch (handler->kind) {
    case HandlerKind::ATTRIBUTES:
      return AttributeListRecord(xd, list, &handler->attributes);
    case HandlerKind::PROGRAM:
      return McXdrProgram(xd, &list->store, &handler->program);
  }
  return true;
}

bool HandlerRecord(XdStream* xd, EditorList* list, EventHandler* handler) {
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
      AttributeListInit(&handler->attributes, &list->store.arena);
  }
  return HandlerBodyRecord(xd, list, handler);
}

bool HandlersRecord(XdStream* xd, EditorList* list, EventHandlers* handlers) {
  uint16_t count = handlers->count;
  if (!XdUShort(xd, &count)) return false;
  if (xd->direction == XD_DECODE && count > 0) {
    if (!XdCountFits(xd, count, HANDLER_BYTES)) return false;
    handlers->entries = list->store.arena.take_array<EventHandler>(count);
    memset(static_cast<void*>(handlers->entries), 0,
           count * sizeof(EventHandler));
    handlers->count = handlers->capacity = count;
  }
  for (uint16_t i = 0; i < count; i++)
    if (!HandlerRecord(xd, list, &handlers->entries[i])) return false;
  return true;
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
    if (type >= MASK_TYPE_COUNT) return XdFail(xd, "a type that no object has");
    if (type != 0) *place = MaskCreateObject(list, "", MaskObjectType{type});
  }
  MaskObject* object = *place;
  if (object == nullptr) return true;
  if (!XdStringBuf(xd, object->name, MASK_NAME_BYTES)) return false;
  if (!AttributeListRecord(xd, list, &object->attributes)) return false;
  if (!HandlersRecord(xd, list, &object->handlers)) return false;
  return McXdrProgram(xd, &list->store, &object->program);
}

// Puts an object that was read where it belongs. Only children have siblings.
bool Attach(XdStream* xd, MaskObject* parent, MaskObject* object,
            MaskObject** place) {
  if (parent != nullptr) {
    MaskAppendChild(parent, object);
    return true;
  }
  if (*place != nullptr) return XdFail(xd, "an editor with a sibling");
  *place = object;
  return true;
}

// The object of one place, which may be empty, with everything in it and with
// the siblings after it.
bool ObjectRecord(XdStream* xd, EditorList* list, MaskObject** place) {
  MaskObject* parent = nullptr;
  MaskObject* object = *place;
  uint32_t depth = 0;
  for (;;) {
    if (!FieldsRecord(xd, list, &object)) return false;
    if (object != nullptr) {
      if (xd->direction == XD_DECODE && !Attach(xd, parent, object, place))
        return false;
      if (++depth > MASK_NESTING_LIMIT && xd->direction == XD_DECODE)
        return XdFail(xd, "objects that nest too deep");
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

bool ListRecord(XdStream* xd, EditorList* list) {
  auto count = static_cast<uint32_t>(list->editors.size());
  if (!XdULong(xd, &count)) return false;
  if (!XdCountFits(xd, count, EDITOR_BYTES)) return false;
  if (xd->direction == XD_DECODE) list->editors.assign(count, nullptr);
  for (MaskObject*& editor : list->editors)
    if (!ObjectRecord(xd, list, &editor)) return false;
  return true;
}

bool WriteRecord(XdStream* xd, void* list) {
  bool written = false;
  return UtGuarded([&] {
           written = ListRecord(xd, static_cast<EditorList*>(list));
           return RC_OK;
         }) == RC_OK &&
         written;
}

}  // namespace

int MaskListWrite(EditorList* list, int transport, const char* path) {
  return XdWriteFile(path, XD_KIND_MASK, transport, XdPart::KEPT, WriteRecord,
                     list);
}

int MaskListWriteWhole(EditorList* list, int transport, const char* path) {
  return XdWriteFile(path, XD_KIND_MASK, transport, XdPart::DROPPED,
                     WriteRecord, list);
}

int MaskListWriteToSink(EditorList* list, int transport, XdSink* sink) {
  XdStream xd;
  if (const int code = XdOpenForWriting(&xd, sink, transport)) return code;
  XdWriteHeader(&xd, XD_KIND_MASK);
  return WriteRecord(&xd, list) && XdDestroy(&xd) ? RC_OK : RC_BODY_FAILED;
}

int MaskListRead(const char* path, EditorList* list) {
  MaskListFree(list);
  UtString bytes;
  switch (UtReadWhole(path, UT_LARGEST_FILE, &bytes)) {
    case RC_OK: return MaskListReadFromBytes(bytes, list);
    case RC_NO_MEMORY: return RC_BODY_FAILED;
    default: return RC_CANNOT_CREATE;
  }
}

int MaskListReadFromBytes(std::string_view bytes, EditorList* list) {
  MaskListFree(list);
  XdStream xd;
  XdHeader header;
  if (const int code =
          XdOpenForReading(bytes, XD_KIND_MASK, XD_KIND_MASK, &xd, &header))
    return code;
  const uint32_t names = list->attribute_names->count();
  const int code = UtGuarded([&] {
    const bool complete = ListRecord(&xd, list) && XdRemaining(&xd) == 0;
    return complete ? RC_OK : RC_BODY_FAILED;
  });
  if (code == RC_OK) return code;
  MaskListFree(list);
  list->attribute_names->forget_since(names);
  return RC_BODY_FAILED;
}
