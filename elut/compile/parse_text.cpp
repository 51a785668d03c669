// A handler is parsed into a placeholder object, out of which it is handed.
#include "elut/compile/parse_text.h"

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/compile/variables.h"

int McParseProgramText(McFront* front, const char* text, McProgram* program,
                       McTree* body) {
  *body = {};
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_PROGRAM, program);
    McSrcSetText(&front->scanner.source, text);
    front->compile.body_slot = body;
    return McParseRun(front);
  });
}

int MaskParseHandlerText(McFront* front, const char* text, EditorList* list,
                         MaskObject** holder) {
  *holder = nullptr;
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_HANDLER, nullptr);
    McSrcSetText(&front->scanner.source, text);
    front->parse.editors = list;
    MaskObject* placeholder =
        MaskCreateObject(list, "dummy", MaskObjectType::BUTTON);
    front->parse.objects.push_back(placeholder);
    const int code = McParseRun(front);
    front->parse.objects.clear();
    if (code == RC_OK) *holder = placeholder;
    return code;
  });
}

int MaskParseHandlerText(McFront* front, const char* text, const char* location,
                         UtPtr<McProgram>* program) {
  program->reset();
  if (text == nullptr) return RC_OK;
  front->scanner.text = text;
  front->scanner.location = location;
  EditorList list(&front->run->attribute_names);
  MaskObject* holder;
  const int code = MaskParseHandlerText(front, text, &list, &holder);
  front->scanner.text = front->scanner.location = nullptr;
  if (code == RC_OK && holder->handlers.count > 0) {
    EventHandler* handler = &holder->handlers.entries[0];
    if (handler->kind == HandlerKind::PROGRAM)
      program->reset(std::exchange(handler->program, nullptr));
  }
  // The list goes, and what is in it with it.
  McCompileEnter(front, nullptr);
  return code;
}

int McParseExpressionList(McFront* front) {
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_EXPRESSION_LIST, nullptr);
    return McParseRun(front);
  });
}
