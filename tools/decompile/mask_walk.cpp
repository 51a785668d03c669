// Objects nest no deeper than the parser and the reader of compiled files
// allow, so here a routine may call itself.
//
// A file keeps attributes, handlers, MODULE block and children of an object in
// lists of their own; in what order a source has them among each other makes no
// difference.
#include <cstring>

#include "tools/decompile/program_walk.h"
#include "tools/decompile/spelling.h"

namespace {

// Events as a source names them, in the order in which they are written.
struct Event {
  uint32_t bit;
  const char* words;
};
constexpr Event EVENTS[] = {
    {EVENT_ENTER, "ENTER"},     {EVENT_EXIT, "EXIT"},
    {EVENT_CONTROL, "CONTROL"}, {EVENT_KEY, "KEY "},
    {EVENT_ABORT, "ABORT"},     {EVENT_BUTTON, "BUTTON PRESS"},
    {EVENT_MOTION, "MOTION"},   {EVENT_DESTROY, "DESTROY"},
    {EVENT_CONFIRM, "CONFIRM"}, {EVENT_CREATE, "CREATE"},
    {EVENT_SHOW, "SHOW"},       {EVENT_HIDE, "HIDE"},
    {EVENT_COMPUTE, "COMPUTE"}, {EVENT_ACTIVATE, "ACTIVATE"},
    {EVENT_MODIFY, "MODIFY"},
};

// What may stand in an object.
constexpr uint32_t TypeBit(MaskObjectType type) {
  return uint32_t{1} << static_cast<unsigned>(type);
}
constexpr uint32_t HANDLERS = uint32_t{1} << 30;
constexpr uint32_t MODULE = uint32_t{1} << 31;

constexpr uint32_t MembersOf(MaskObjectType type) {
  using enum MaskObjectType;
  constexpr uint32_t SIMPLE = TypeBit(BUTTON) | TypeBit(SCROLLBAR) |
                              TypeBit(RECORD) | TypeBit(DIALOG) |
                              TypeBit(GRAPHIC);
  constexpr uint32_t MENUS = TypeBit(MENUBAR) | TypeBit(MENU);
  constexpr uint32_t IN_GROUP =
      SIMPLE | MENUS | TypeBit(LABEL) | TypeBit(TEXT) | TypeBit(GROUP);
  switch (type) {
    case WINDOW: return IN_GROUP | TypeBit(TABLE) | HANDLERS | MODULE;
    case APPLICATION: return TypeBit(WINDOW) | HANDLERS | MODULE;
    case MENUBAR:
    case MENU: return MENUS | TypeBit(ITEM) | HANDLERS;
    case TABLE: return IN_GROUP | TypeBit(ITEM) | HANDLERS;
    case TEXT: return TypeBit(ITEM) | HANDLERS;
    case GROUP: return IN_GROUP | TypeBit(TABLE);
    case BUTTON:
    case SCROLLBAR:
    case RECORD:
    case DIALOG:
    case GRAPHIC:
    case ITEM: return HANDLERS;
    case LABEL:
    case NONE: return 0;
  }
  return 0;
}

class MaskWalk {
 public:
  MaskWalk(Unparsing* in, const EditorList& list, Layout* layout)
      : in_(in),
        names_(*list.attribute_names),
        layout_(layout),
        program_(in, layout) {}

  void run(const EditorList& list) {
    if (list.editors.empty()) refuse("no editor");
    const MaskObject* first = list.editors[0];
    for (const MaskObject* editor : list.editors) {
      if (editor == nullptr) refuse("an editor that is none");
      if (editor->type != first->type ||
          (editor->type != MaskObjectType::WINDOW &&
           editor->type != MaskObjectType::APPLICATION))
        refuse("the editors are not all windows or all applications");
      if (layout_ != nullptr) layout_->paragraph();
      object(*editor);
    }
    if (!in_->error) return;
    // A second definition is ignored, but lets the error be forgotten.
    line(MASK_TYPE_NAMES[static_cast<unsigned>(first->type)]);
    put_object_name(*first);
    put(" { ; }");
  }

 private:
  [[noreturn]] void refuse(const std::string& what) const {
    std::string path;
    for (const MaskObject* object : path_) {
      path += MASK_TYPE_NAMES[static_cast<unsigned>(object->type)];
      if (object->name[0] != '\0') path += std::string(" ") + object->name;
      path += ": ";
    }
    throw Refusal{path + what};
  }
  void line(std::string_view text) {
    if (layout_ == nullptr) return;
    layout_->line();
    layout_->put(text);
  }
  void put(std::string_view text) {
    if (layout_ != nullptr) layout_->put(text);
  }
  void begin_part(TextPart part, std::string_view name) {
    if (layout_ != nullptr) layout_->begin_part(part, name);
  }
  void end_part() {
    if (layout_ != nullptr) layout_->end_part();
  }
  void put_text(const char* text, bool references) {
    text_.clear();
    const bool spelled = references ? SpellConstant(&text_, text, true)
                                    : SpellText(&text_, text);
    if (!spelled)
      refuse("no source spells the text '" + std::string(text) + "'");
    if (layout_ != nullptr) layout_->put_literal(text_);
  }
  void put_name(const char* name) {
    if (IsIdentifier(&in_->words, name))
      put(name);
    else
      put_text(name, false);
  }
  void put_object_name(const MaskObject& object) {
    std::string name = object.name;
    if (name.empty()) return;
    // One that was cut behind a backslash has to be longer in the source.
    if (name.size() == MASK_NAME_BYTES - 1 && name.back() == '\\') name += '_';
    put(" ");
    put_name(name.c_str());
  }
  void open(std::string_view before) {
    put(before);
    if (layout_ != nullptr) layout_->indent();
  }
  void close() {
    if (layout_ != nullptr) layout_->outdent();
    line("}");
  }

  void attribute(const Attribute& attribute) {
    const char* name = names_.name(attribute.name);
    put_name(name);
    put(" = ");
    switch (attribute.type) {
      case AttributeType::INTEGER:
        text_.clear();
        SpellInteger(&text_, attribute.integer);
        put(text_);
        break;
      case AttributeType::STRING: put("\"\""); break;
      case AttributeType::OWN_STRING:
        if (attribute.text != nullptr && *attribute.text == '\0')
          refuse("an attribute with an empty text");
        // References to messages need an identifier in front.
        put_text(attribute.text == nullptr ? "" : attribute.text,
                 IsIdentifier(&in_->words, name));
        break;
      default: refuse("an attribute of no known type");
    }
    put(";");
  }

  void attributes(const AttributeList& list) {
    for (uint32_t i = 0; i < list.count; i++) {
      if (layout_ != nullptr) layout_->line();
      attribute(list.entries[i]);
    }
  }

  // ON ... DO action WITH "argument"; says the same as a list of these two.
  bool is_action(const AttributeList& list) {
    const auto is = [&](uint32_t i, const char* name) {
      return strcmp(names_.name(list.entries[i].name), name) == 0 &&
             list.entries[i].type != AttributeType::INTEGER;
    };
    return (list.count == 1 || (list.count == 2 && is(1, "argument"))) &&
           is(0, "action") && list.entries[0].text != nullptr &&
           IsIdentifier(&in_->words, list.entries[0].text);
  }

  void key(uint32_t code) {
    if (const char* name = McKeyName(code)) {
      put(name);
    } else if ((code | 0x20) >= 'a' && (code | 0x20) <= 'z') {
      const char letter[] = {static_cast<char>(code), '\0'};
      put(letter);
    } else if (code > ' ' && code < 127) {
      const char character[] = {'\'', static_cast<char>(code), '\'', '\0'};
      put(character);
    } else {
      text_.clear();
      SpellInteger(&text_, static_cast<int32_t>(code));
      put(text_);
    }
  }

  // The key is that of the KEY event, or without one that of the first event:
  // 1 for a button and 0 for the others.
  void events(const EventSpec& event) {
    uint32_t left = event.mask;
    bool first = true;
    const auto write = [&](const Event& row) {
      if (!first) put(" OR ");
      first = false;
      put(row.words);
      if (row.bit == EVENT_KEY) key(event.key);
      left &= ~row.bit;
    };
    const bool has_key = (event.mask & EVENT_KEY) != 0;
    const bool has_button = (event.mask & EVENT_BUTTON) != 0;
    const bool button_first = !has_key && has_button && event.key == 1;
    if (button_first)
      for (const Event& row : EVENTS)
        if (row.bit == EVENT_BUTTON) write(row);
    for (const Event& row : EVENTS)
      if ((left & row.bit) != 0 && row.bit != EVENT_BUTTON) write(row);
    // Not in front of the others.
    const bool button_last = (left & EVENT_BUTTON) != 0;
    if (button_last && first) refuse("a button event with that key code");
    if (button_last)
      for (const Event& row : EVENTS)
        if (row.bit == EVENT_BUTTON) write(row);
    if (left != 0 || first) refuse("an event that no source names");
    if (!has_key && event.key != (button_first ? 1u : 0u))
      refuse("an event with a key that is no KEY event");
  }

  void handler(const EventHandler& handler) {
    in_->error = false;
    begin_part(TextPart::HANDLER, "");
    line("ON ");
    events(handler.event);
    body(handler);
    end_part();
  }

  void body(const EventHandler& handler) {
    switch (handler.kind) {
      case HandlerKind::PROGRAM:
        if (handler.program == nullptr) refuse("a handler without a program");
        open(" EXECUTE {");
        program(*handler.program, ProgramFrame::HANDLER);
        return close();
      case HandlerKind::ATTRIBUTES: break;
      default: refuse("a handler of no known kind");
    }
    const AttributeList& list = handler.attributes;
    if (!is_action(list)) {
      open(" {");
      attributes(list);
      if (list.count == 0) line(";");
      return close();
    }
    put(" DO ");
    put(list.entries[0].text);
    if (list.count == 2) {
      put(" WITH ");
      const char* text = list.entries[1].text;
      put_text(text == nullptr ? "" : text, false);
    }
    put(";");
  }

  void program(const McProgram& program, ProgramFrame frame) {
    try {
      program_.run(program, frame);
    } catch (const Refusal& refusal) {
      refuse(refusal.reason);
    }
  }

  void object(const MaskObject& object) {
    path_.push_back(&object);
    const uint32_t members = MembersOf(object.type);
    in_->error = false;
    begin_part(TextPart::OBJECT,
               MASK_TYPE_NAMES[static_cast<unsigned>(object.type)] +
                   std::string(object.name[0] == '\0' ? "" : " ") +
                   object.name);
    line(MASK_TYPE_NAMES[static_cast<unsigned>(object.type)]);
    put_object_name(object);
    open(" {");
    begin_part(TextPart::ATTRIBUTES, "");
    attributes(object.attributes);
    end_part();
    if (object.handlers.count > 0 && (members & HANDLERS) == 0)
      refuse("an object of this type has no handlers");
    if (object.program != nullptr) {
      if ((members & MODULE) == 0)
        refuse("an object of this type has no MODULE block");
      begin_part(TextPart::MODULE, "MODULE");
      line("MODULE");
      open(" {");
      program(*object.program, ProgramFrame::MODULE);
      close();
      end_part();
    }
    for (uint32_t i = 0; i < object.handlers.count; i++)
      handler(object.handlers.entries[i]);
    for (const MaskObject* child = object.first_child; child != nullptr;
         child = child->next) {
      if ((members & TypeBit(child->type)) == 0)
        refuse(std::string("no ") +
               MASK_TYPE_NAMES[static_cast<unsigned>(child->type)] +
               " stands in an object of this type");
      this->object(*child);
    }
    if (object.attributes.count == 0 && object.handlers.count == 0 &&
        object.program == nullptr && object.first_child == nullptr)
      line(";");
    close();
    end_part();
    path_.pop_back();
  }

  Unparsing* in_;
  const AttributeNames& names_;
  Layout* layout_;
  ProgramWalk program_;
  std::vector<const MaskObject*> path_;
  std::string text_;
};

}  // namespace

void SurveyMasks(Unparsing* unparsing, const EditorList& list) {
  MaskWalk(unparsing, list, nullptr).run(list);
}

void WriteMasks(Unparsing* unparsing, const EditorList& list, Layout* layout) {
  MaskWalk(unparsing, list, layout).run(list);
}
