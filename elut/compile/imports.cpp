// Headers, imports and includes, and what becomes of refused builders.
//
// A builder answers with a code, but most rules go on whatever it says: users
// are told of a full table only, and a missing declaration shows when its name
// is used. What is to be heard of a code is decided here, once for all rules.
// The names of an IMPORT come before the place that they come from, so they are
// collected.
#include "Cutil/codes.h"
#include "elut/compile/actions.h"
#include "trt/messages.h"

void McIgnoreRefusal(McFront* front, int code) {
  if (code == RC_OK) return;
  if (code == RC_NO_MEMORY) throw std::bad_alloc();
  if (code == RC_TABLE_FULL)
    McParseFail(&front->scanner, RcSeen(code), "too many entries\n");
}

void McFailWith(McFront* front, int code) {
  if (code == RC_OK || !front->compile.building) return;
  front->scanner.error_code = RcSeen(code);
  McIgnoreRefusal(front, code);
}

bool McParseCheckMode(McFront* front, ParseMode form, int code) {
  if ((front->parse.mode & form) != 0) {
    front->parse.mode = form;
    return true;
  }
  McParseFail(&front->scanner, code, TEXT_DECLARATION);
  return false;
}

void McParseBeginNames(McFront* front, McName* name) {
  front->parse.names.clear();
  McParseAddName(front, name);
}

void McParseAddName(McFront* front, McName* name) {
  front->parse.names.push_back(name);
}

void McParseImport(McFront* front, uint8_t kind, const char* from,
                   const char* module, const char* file) {
  if (!front->compile.building) return;
  for (const McName* name : front->parse.names) {
    const int code = McImportAdd(front->compile.program, kind, name->text(),
                                 from, module, file);
    McIgnoreRefusal(front, code);
    if (code != RC_OK) return;
  }
}

void McParseInclude(McFront* front, const char* name) {
  const int code = McSrcInclude(&front->scanner.source, name);
  if (code == RC_TOO_DEEP)
    McParseFail(&front->scanner, RcSeen(code), "too many nested files: '%s'\n",
                name);
  else if (code != RC_OK)
    McParseFail(&front->scanner, code, TEXT_FILE_NOT_FOUND, name);
}
