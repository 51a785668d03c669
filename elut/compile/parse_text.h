// Parse entries for text in the place of a file. The compiler itself has no use
// for them: the suite's run time compiles macros and handlers that its users
// type in.
//
// The text is at most 10,239 characters long; the rest is cut off. It is read
// without counting lines: reports show level -1, no name and line 0.
#pragma once

#include "elut/compile/front.h"

// A program, added to `program`: its main body, which sees the variables of the
// main program, goes to `*body` and not to the program.
[[nodiscard]] int McParseProgramText(McFront* front, const char* text,
                                     McProgram* program, McTree* body);

// One event handler. It becomes the only handler of a new object of `list`,
// handed out in `*holder`; nullptr when the parse failed.
[[nodiscard]] int MaskParseHandlerText(McFront* front, const char* text,
                                       EditorList* list, MaskObject** holder);

// The same for an EXECUTE handler: hands out its program, or none for another
// kind; it stays in the list. `location` is "name (line)", the place after the
// text; reports show that name, and the line less the line feeds of the text.
// No text is no error.
[[nodiscard]] int MaskParseHandlerText(McFront* front, const char* text,
                                       const char* location, EditorList* list,
                                       McProgram** program);

// Expressions separated by commas, from what the front's source holds. Checks
// the syntax only.
[[nodiscard]] int McParseExpressionList(McFront* front);
