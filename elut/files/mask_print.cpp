// A printer goes through the objects along their links, down, along and up
// again, with the indent as a text that grows and shrinks. What the channel
// answers is not looked at: nobody is left to tell it to.
#include "elut/files/mask_print.h"

#include "elut/files/listing.h"

namespace {

class MaskPrinter {
 public:
  MaskPrinter(Channels* channels, unsigned channel, const EditorList* list)
      : channels_(channels), channel_(channel), list_(list) {}

  void print_subtree(const MaskObject* top) {
    const MaskObject* object = top;
    for (;;) {
      open(object);
      if (object->first_child != nullptr) {
        object = object->first_child;
        continue;
      }
      close();
      while (object != top && object->next == nullptr) {
        object = object->parent;
        close();
      }
      if (object == top) return;
      object = object->next;
    }
  }

 private:
  const char* indent() const { return indent_.c_str(); }

  void open(const MaskObject* object) {
    channels_->print(channel_, "%s%s %s\n", indent(),
                     MASK_TYPE_NAMES[static_cast<uint8_t>(object->type)],
                     object->name);
    channels_->print(channel_, "%s{\n", indent());
    indent_.push_back('\t');
    print_attributes(object->attributes);
    for (uint16_t i = 0; i < object->handlers.count; i++)
      print_handler(object->handlers.entries[i]);
  }

  void close() {
    indent_.pop_back();
    channels_->print(channel_, "%s}\n", indent());
  }

  void print_attributes(const AttributeList& list) {
    for (uint16_t i = 0; i < list.count; i++) {
      const Attribute& entry = list.entries[i];
      const char* name = list_->attribute_names->name(entry.name);
      switch (entry.type) {
        case AttributeType::INTEGER:
          channels_->print(channel_, "%s%s= %d;\n", indent(), name,
                           entry.integer);
          break;
        case AttributeType::STRING:
        case AttributeType::OWN_STRING:
          channels_->print(channel_, "%s%s= \"%s\";\n", indent(), name,
                           entry.text == nullptr ? "" : entry.text);
          break;
      }
    }
  }

  void print_events(EventSpec event) {
    const char* separator = "";
    for (const EventWord& row : EVENT_WORDS) {
      if ((event.mask & row.bit) == 0) continue;
      if (row.bit == EVENT_KEY)
        channels_->print(channel_, "%s KEY 0x%x", separator, event.key);
      else
        channels_->print(channel_, "%s %s", separator, row.word);
      separator = " OR";
    }
  }

  void print_handler(const EventHandler& handler) {
    channels_->print(channel_, "%sON", indent());
    print_events(handler.event);
    if (handler.kind == HandlerKind::PROGRAM)
      channels_->print(channel_, " EXECUTE");
    channels_->print(channel_, "\n%s{\n", indent());
    indent_.push_back('\t');
    switch (handler.kind) {
      case HandlerKind::ATTRIBUTES: print_attributes(handler.attributes); break;
      case HandlerKind::PROGRAM:
        // A program that cannot be printed to its end is printed that far. Only
        // a file can hold a handler without one.
        if (handler.program != nullptr)
          (void)McPrintExpr(channels_, channel_, indent(), handler.program);
        break;
    }
    close();
  }

  Channels* channels_;
  unsigned channel_;
  const EditorList* list_;
  UtString indent_;  // a tab per level
};

}  // namespace

int MaskListPrint(Channels* channels, unsigned channel,
                  const EditorList* list) {
  return UtGuarded([&] {
    MaskPrinter printer(channels, channel, list);
    for (const MaskObject* editor : list->editors)
      if (editor != nullptr) printer.print_subtree(editor);
    return RC_OK;
  });
}
