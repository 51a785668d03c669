// An entry is preparation and a run; what goes on in between is up to the
// grammar. Exhausted memory leaves the parser as an exception, and everything
// that was built hangs in the caller's program or list by then.
#include "elut/compile/parse.h"

#include "Cutil/codes.h"
#include "elut/compile/parser.h"
#include "elut/compile/variables.h"

void McParsePrepare(McFront* front, uint16_t mode, McStore* store,
                    McProgram* program) {
  front->scanner.error_code = RC_OK;
  front->scanner.strings.arena = &store->arena;
  McParse& parse = front->parse;
  parse.mode = mode;
  parse.statement_open = false;
  parse.statement_line = 0;
  parse.mask_limit = false;
  parse.editors = nullptr;
  parse.objects.clear();
  parse.target = nullptr;
  parse.names.clear();
  McCompileEnter(front, program);
}

int McParseRun(McFront* front) {
  const bool failed = !McYyParse(front);
  if (front->parse.mask_limit) return RC_INVALID;
  const int code = front->scanner.error_code;
  return failed && code == RC_OK ? int{RC_PARSE_FAILED} : code;
}

int McParseProgram(McFront* front, McProgram* program) {
  return UtGuarded([&] {
    McProgramInit(program);
    McParsePrepare(front, PARSE_PROGRAM | PARSE_MODULE, program->store,
                   program);
    return McParseRun(front);
  });
}

int MaskParseDefinition(McFront* front, EditorList* list) {
  return UtGuarded([&] {
    McParsePrepare(front, PARSE_MASK, &list->store, nullptr);
    front->parse.editors = list;
    return McParseRun(front);
  });
}
