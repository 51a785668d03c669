// The decisions behind the actions of the grammar, which calls nothing else but
// the builders of node_build.h and variables.h.
//
// All of them throw bad_alloc when memory is exhausted, which ends the parse.
#pragma once

#include "elut/compile/node_build.h"
#include "elut/compile/variables.h"

// Values of the parser's stack: tokens, or what a rule yields.
union McSemantic {
  TokenValue token;
  McNodeRef node;         // first node of a tree or of a list of trees
  McReference reference;  // a variable before its node is made
  McStatements statements;
  uint32_t number;  // a count, a key code, a line
  uint8_t op;       // McOperator
  const char* chars;
  McTokenText* text;
  EventSpec event;
  MaskObjectType type;
};
static_assert(sizeof(McSemantic) == 8);

// Results of builders -------------------------------------------------------

// The source goes on as if nothing had been refused; users see nothing, except
// when a table of the file is full: that is reported with 3011.
void McIgnoreRefusal(McFront* front, int code);

// A refusal becomes the result of the parse, without a word of its own.
void McFailWith(McFront* front, int code);

// Top level and imports (imports.cpp) ----------------------------------------

// Checks that a top-level form is allowed and narrows the mode to it. When it
// is not, reports "error in declaration" under `code` and returns false.
[[nodiscard]] bool McParseCheckMode(McFront* front, ParseMode form, int code);

// IMPORT of the names that were added since the list began.
void McParseBeginNames(McFront* front, McName* name);
void McParseAddName(McFront* front, McName* name);
void McParseImport(McFront* front, uint8_t kind, const char* from,
                   const char* module, const char* file);

// INCLUDE: reading goes on in that file.
void McParseInclude(McFront* front, const char* name);

// Statements (statements.cpp) ------------------------------------------------

// A statement begins with `token`, if that can begin one. Returns its line.
uint32_t McParseBeginStatement(McFront* front, int token);

// A statement list begins with a statement, or none, and goes on with further
// ones. `line` is where the statement began.
McStatements McParseBeginList(McFront* front, McNodeRef statement,
                              uint32_t line);
McStatements McParseAppendStatement(McFront* front,
                                    const McStatements& statements,
                                    McNodeRef statement, uint32_t line);

// Report an error in a statement or in a declaration, and discard tokens from
// parse.ahead on up to the next ";" or the end of the input.
void McParseStatementError(McFront* front);
void McParseDeclarationError(McFront* front);

// Expressions (statements.cpp) ------------------------------------------------

// The name is looked up; reports one that is not declared, whose subscripts are
// dropped.
void McParseUndefined(McFront* front, const McName* name);
inline McReference McParseVariable(McFront* front, const McName* name,
                                   McNodeRef subscripts) {
  const uint32_t variable = McVarFind(front, name);
  if (variable == 0) {
    McNodesOf(front).cut(subscripts);
    McParseUndefined(front, name);
  }
  return {subscripts, variable};
}

// A variable of ALLOCATE with its dimensions. One that is not declared gives
// the result 5104, without a word of its own.
McNodeRef McParseAllocated(McFront* front, const McName* name,
                           McNodeRef dimensions);

// A parenthesised expression: a bare variable is handed on as a value.
McNodeRef McParseParenthesised(McFront* front, McNodeRef expression);

// Message references (message_reference.cpp) ----------------------------------
//
// Their texts are at most 255 characters long. They release the texts they are
// given. With s for the separator byte:
//   McParseMsg      \1 first \1 second \1 number \1; `first` may be nullptr
//   McParseMsgText  s text s number s last s; without `last s` for nullptr
McTokenText* McParseMsg(McFront* front, McTokenText* first, McTokenText* second,
                        int32_t number);
McTokenText* McParseMsgText(McFront* front, char separator, McTokenText* text,
                            int32_t number, McTokenText* last);

// Masks (mask_build.cpp)
// -------------------------------------------------------
//
// Their results become the parse error code, also when they are 0.
void McParseOpenObject(McFront* front, MaskObjectType type, const char* name);
void McParseCloseObject(McFront* front);
void McParseOpenModule(McFront* front);
void McParseProgramHandler(McFront* front, EventSpec event);
void McParseAttributeHandler(McFront* front, EventSpec event);
void McParseAttribute(McFront* front, const char* name, int32_t integer);
void McParseAttribute(McFront* front, const char* name, const char* text);
McTokenText* McParseCopyName(McFront* front, const McName* name);
