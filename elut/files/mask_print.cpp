#include "elut/files/mask_print.h"

#include "Cutil/codes.h"
#include "Cutil/ut_memory.h"
#include "elut/files/listing.h"
#include "services/channels.h"

// What the channel answers is not looked at: nobody is left to tell it to.

namespace {

void PrintEvents(unsigned channel, EventSpec event) {
  const char* separator = "";
  for (const EventWord& row : EVENT_WORDS) {
    if ((event.mask & row.bit) == 0) continue;
    if (row.bit == EVENT_KEY)
      ChannelPrint(channel, "%s KEY 0x%x", separator, event.key);
    else
      ChannelPrint(channel, "%s %s", separator, row.word);
    separator = " OR";
  }
}

void PrintHandler(unsigned channel, UtString* indent,
                  const EventHandler* handler) {
  ChannelPrint(channel, "%sON", indent->c_str());
  PrintEvents(channel, handler->event);
  if (handler->kind == HandlerKind::PROGRAM) ChannelPrint(channel, " EXECUTE");
  ChannelPrint(channel, "\n%s{\n", indent->c_str());
  indent->push_back('\t');
  switch (handler->kind) {
    case HandlerKind::ATTRIBUTES:
      AttributeListPrint(channel, indent->c_str(), &handler->attributes);
      break;
    case HandlerKind::PROGRAM:
      // A program that cannot be printed to its end is printed that far. Only
      // a file can hold a handler without one.
      if (handler->program != nullptr)
        (void)McPrintExpr(channel, indent->c_str(), handler->program);
      break;
  }
  indent->pop_back();
  ChannelPrint(channel, "%s}\n", indent->c_str());
}

void PrintHandlers(unsigned channel, UtString* indent,
                   const EventHandlers* handlers) {
  for (uint16_t i = 0; i < handlers->count; i++)
    PrintHandler(channel, indent, &handlers->entries[i]);
}

void OpenObject(unsigned channel, UtString* indent, const MaskObject* object) {
  ChannelPrint(channel, "%s%s %s\n", indent->c_str(),
               MASK_TYPE_NAMES[static_cast<uint8_t>(object->type)],
               object->name);
  ChannelPrint(channel, "%s{\n", indent->c_str());
  indent->push_back('\t');
  AttributeListPrint(channel, indent->c_str(), &object->attributes);
  PrintHandlers(channel, indent, &object->handlers);
}

void CloseObject(unsigned channel, UtString* indent) {
  indent->pop_back();
  ChannelPrint(channel, "%s}\n", indent->c_str());
}

// Follows the links of the objects, down, along and up again.
void PrintSubtree(unsigned channel, UtString* indent, const MaskObject* top) {
  const MaskObject* object = top;
  for (;;) {
    OpenObject(channel, indent, object);
    if (object->first_child != nullptr) {
      object = object->first_child;
      continue;
    }
    CloseObject(channel, indent);
    while (object != top && object->next == nullptr) {
      object = object->parent;
      CloseObject(channel, indent);
    }
    if (object == top) return;
    object = object->next;
  }
}

// Runs `print` with the indent as a text that can grow.
template <class Print>
int WithIndent(const char* indent, Print print) {
  return UtGuarded([&] {
    UtString text = indent;
    print(&text);
    return RC_OK;
  });
}

}  // namespace

int MaskListPrint(unsigned channel, const EditorList* list) {
  return WithIndent("", [&](UtString* indent) {
    for (const MaskObject* editor : list->editors)
      if (editor != nullptr) PrintSubtree(channel, indent, editor);
  });
}

int MaskObjectPrint(unsigned channel, const char* indent,
                    const MaskObject* object) {
  return WithIndent(
      indent, [&](UtString* text) { PrintSubtree(channel, text, object); });
}

void AttributeListPrint(unsigned channel, const char* indent,
                        const AttributeList* list) {
  for (uint16_t i = 0; i < list->count; i++) {
    const Attribute& entry = list->entries[i];
    const char* name = AttributeName(entry.name);
    switch (entry.type) {
      case AttributeType::INTEGER:
        ChannelPrint(channel, "%s%s= %d;\n", indent, name, entry.integer);
        break;
      case AttributeType::STRING:
      case AttributeType::OWN_STRING:
        ChannelPrint(channel, "%s%s= \"%s\";\n", indent, name,
                     entry.text == nullptr ? "" : entry.text);
        break;
    }
  }
}

int EventHandlersPrint(unsigned channel, const char* indent,
                       const EventHandlers* handlers) {
  return WithIndent(
      indent, [&](UtString* text) { PrintHandlers(channel, text, handlers); });
}
