// Masks: what the rules of the mask definition do with objects, attributes and
// handlers, and with the programs in them.
//
// Rules are reduced from the inside out, but an object must be there before its
// members. So it is made when its name has been read, and pushed on a stack of
// open objects; members go to the top one. The stack is a vector: how deep
// objects nest is up to the parser's stack alone.
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/actions.h"
#include "elut/compile/variables.h"

namespace {

MaskObject* InnermostObject(McFront* front) {
  return front->parse.objects.back();
}

// A list of the file cannot hold what the source has: no later success may
// hide that.
void MaskLimit(McFront* front, const char* report) {
  McParseFail(&front->scanner, RcSeen(RC_TABLE_FULL), "%s", report);
  front->parse.mask_limit = true;
}

template <class Value>
void AddAttribute(McFront* front, const char* name, Value value) {
  AttributeList* list = front->parse.target != nullptr
                            ? front->parse.target
                            : &InnermostObject(front)->attributes;
  switch (AttributeListAdd(front->parse.editors->attribute_names, list, name,
                           value)) {
    case RC_TABLE_FULL: return MaskLimit(front, "too many attributes\n");
    case RC_NAMES_FULL: return MaskLimit(front, "too many attribute names\n");
    default: return;  // a clash of types is silent
  }
}

}  // namespace

void McParseOpenObject(McFront* front, MaskObjectType type, const char* name) {
  EditorList* editors = front->parse.editors;
  MaskObject* object = MaskCreateObject(editors, name, type);
  if (front->parse.objects.empty())
    MaskAddEditor(editors, object, front->scanner.sink);
  else
    MaskAppendChild(InnermostObject(front), object);
  front->parse.objects.push_back(object);
  front->scanner.error_code = RC_OK;
}

void McParseCloseObject(McFront* front) {
  front->parse.objects.pop_back();
}

void McParseOpenModule(McFront* front) {
  McCompileEnter(front, nullptr);
  McCompileEnter(front,
                 MaskSetModule(front->parse.editors, InnermostObject(front)));
}

void McParseProgramHandler(McFront* front, EventSpec event) {
  McProgram* program = MaskAddProgramHandler(front->parse.editors,
                                             InnermostObject(front), event);
  front->scanner.error_code = RC_OK;
  if (program == nullptr) MaskLimit(front, "too many handlers\n");
  McCompileEnter(front, program);
}

void McParseAttributeHandler(McFront* front, EventSpec event) {
  AttributeList* list = MaskAddAttributeHandler(InnermostObject(front), event);
  front->scanner.error_code = RC_OK;
  if (list == nullptr) {
    MaskLimit(front, "too many handlers\n");
    // The attributes of a refused handler must not go to the object.
    list = &front->parse.refused;
    AttributeListInit(list, &front->parse.editors->store.arena);
  }
  front->parse.target = list;
}

void McParseAttribute(McFront* front, const char* name, int32_t integer) {
  AddAttribute(front, name, integer);
}

void McParseAttribute(McFront* front, const char* name, const char* text) {
  AddAttribute(front, name, text);
}

McTokenText* McParseCopyName(McFront* front, const McName* name) {
  McTokenText* text = McTokenTextNew(&front->scanner.strings, name->length);
  memcpy(text->text(), name->text(), name->length + 1);
  text->length = name->length;
  return text;
}
