// Texts that are no files go through the same parser, in another mode. A
// handler needs an object that it belongs to, and a program a place for its
// body: a handler is parsed into a placeholder object, out of which it is
// handed.
#include "elut/compile/parse_text.h"

#include "Cutil/codes.h"
#include "elut/compile/parse.h"
#include "elut/compile/variables.h"

int McParseProgramText(McFront* front, const char* text, McProgram* program,
                       McTree* body) {
  *body = {};
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_PROGRAM, program->store, program);
    McSrcSetText(&front->scanner.source, text);
    front->compile.body_slot = body;
    return McParseRun(front);
  });
}

int MaskParseHandlerText(McFront* front, const char* text, EditorList* list,
                         MaskObject** holder) {
  *holder = nullptr;
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_HANDLER, &list->store, nullptr);
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
                         EditorList* list, McProgram** program) {
  *program = nullptr;
  if (text == nullptr) return RC_OK;
  front->scanner.text = text;
  front->scanner.location = location;
  MaskObject* holder;
  const int code = MaskParseHandlerText(front, text, list, &holder);
  front->scanner.text = front->scanner.location = nullptr;
  if (code == RC_OK && holder->handlers.count > 0 &&
      holder->handlers.entries[0].kind == HandlerKind::PROGRAM)
    *program = holder->handlers.entries[0].program;
  return code;
}

int McParseExpressionList(McFront* front) {
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_EXPRESSION_LIST, front->compile.scratch.store,
                   nullptr);
    return McParseRun(front);
  });
}
