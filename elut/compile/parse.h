// Parse entries: one parser for every kind of input.
//
// An entry prepares the state for one kind of input, runs the parser over the
// tokens of the scanner, and returns the parse error code: 0, or the code that
// the last fault set, or 5281 when the parse failed and no rule set one. Errors
// are reported on channel 1 as they are met, under a header such as
//
//   0:prog.mac Line:12 Code:0 ! syntax error
//
// Behind an error in a statement or a declaration the parse goes on with what
// follows the next ";". Any other syntax error ends it, as does a construct
// nested more than 150 parser states deep.
//
// What a parse has built stays in the caller's program or list, also when it
// failed. A parse that ended early leaves its file open in the source reader.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elut/model/mask_objects.h"
#include "elut/model/program.h"
#include "elut/syntax/source_reader.h"

// A program or module from the source reader. `lines` is the store that the
// source file was opened with; reports show its lines.
[[nodiscard]] int McParseProgram(McProgram* program, McLineStore* lines);

// Mask definitions from the source reader.
[[nodiscard]] int MaskParseDefinition(EditorList* list, McLineStore* lines);

// A program given as text, added to `program`: its main body, which sees the
// variables of the main program, goes to `*body` and not to the program.
[[nodiscard]] int McParseProgramText(const char* text, McProgram* program,
                                     McNodeRef* body);

// One event handler given as text. It becomes the only handler of a new object
// of `list`, handed out in `*holder`; nullptr when the parse failed.
[[nodiscard]] int MaskParseHandlerText(const char* text, EditorList* list,
                                       MaskObject** holder);

// The same for an EXECUTE handler: hands out its program, which is the
// caller's then, or nullptr for another kind. `location` is "name (line)", the
// place behind the text; reports show that name, and the line less the line
// feeds of the text. No text is no error.
[[nodiscard]] int MaskParseHandlerText(const char* text, const char* location,
                                       McProgram** program);

// Expressions separated by commas. Checks the syntax only.
[[nodiscard]] int McParseExpressionList();

// Puts back what a parse leaves to the next one on purpose: scope and type of
// declarations, and the line of the statement begun last.
void McParseReset();

// Reporting, for the scanner and the parser --------------------------------

// Prints the header, with the position of the source reader, the text, if any,
// and a line feed.
void McParseError(int code, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// An integer literal does not fit: reports it and makes 5672 the parse error
// code.
void McParseIntegerTooLarge(const char* text, size_t length);

// Memory is exhausted: the parse fails with 1001, and its input ends.
void McParseExhausted();
