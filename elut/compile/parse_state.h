// State of the parser, and the decisions behind the actions of the grammar.
//
// There is one parse at a time. mc_parse is set up by the entries of parse.h
// and changed by the grammar's actions only; what is being compiled
// (mc_compile) belongs to variables.h.
#pragma once

#include <cstdint>

#include "Cutil/ut_memory.h"
#include "elut/compile/node_build.h"
#include "elut/compile/variables.h"
#include "elut/model/mask_objects.h"
#include "elut/syntax/lexer.h"
#include "elut/syntax/source_reader.h"

// Top-level forms that an entry accepts.
enum ParseMode : uint16_t {
  PARSE_PROGRAM = 2,
  PARSE_MODULE = 4,
  PARSE_MASK = 8,
  PARSE_EXPRESSION_LIST = 16,
  PARSE_HANDLER = 32,
};

struct McParse {
  uint16_t mode = 0;        // ParseMode bits still allowed
  int error_code = 0;       // set by the last fault
  bool exhausted = false;   // memory ran out: 1001 whatever comes
  int16_t trace_level = 0;  // option -t; not 0: statements get TRACE nodes

  // The line on which the statement begun last began, 0 before the first one
  // and in text input; and whether that statement is still incomplete.
  uint32_t statement_line = 0;
  bool statement_open = false;
  uint32_t statement_file = 0;  // that this line is in; see McSrcPlace

  McLineStore* lines = nullptr;     // of the source file; nullptr: none
  EditorList* editors = nullptr;    // of the mask definition
  UtVector<MaskObject*> objects;    // open mask objects, the innermost last
  AttributeList* target = nullptr;  // where attributes go; nullptr: the object
  AttributeList refused = {};       // of a handler that could not be added
  bool mask_limit = false;          // a list was full: the code stays 3011
  UtVector<McName*> names;          // of the IMPORT being read

  const char* text = nullptr;      // text input with a location, and
  const char* location = nullptr;  // that location
};
extern McParse mc_parse;

// Values of the parser's stack. Tokens have token, rules one of the others.
union McSemantic {
  TokenValue token;
  McNodeRef node;
  McNodeList list;  // nodes of a list; VAR node and its last child
  uint32_t number;  // a count, a key code, a line
  uint8_t op;       // McOperator
  const char* chars;
  McTokenText* text;
  EventSpec event;
  MaskObjectType type;
};

// Makes `code` the parse error code.
void McParseSetCode(int code);

// Takes the result of a builder whose failures stay silent. Exhausted memory
// ends the parse, and a full table is reported with 3011.
void McParseFailed(int code);
inline void McParseNote(int code) {
  if (code != 0) McParseFailed(code);
}

// The same for a builder whose failure becomes the parse error code.
void McParseNoteCode(int code);

// Checks that a top-level form is allowed and narrows the mode to it. When it
// is not, reports "error in declaration" under `code` and returns false.
[[nodiscard]] bool McParseCheckMode(ParseMode form, int code);

// The name is looked up; reports one that is not declared.
McNodeRef McParseVariable(McName* name, McNodeRef subscripts);

// A statement begins with `token`, if that can begin one. Returns its line.
uint32_t McParseBeginStatement(int token);

// Appends a statement, or none, to a statement list, which is a statement by
// itself or a BLOCK; `line` is where the statement began.
void McParseAppendStatement(McNodeList* list, bool first, McNodeRef statement,
                            uint32_t line);

// Report an error in a statement or in a declaration, and discard tokens from
// `*token` up to the next ";" or the end of the input, which it becomes.
void McParseStatementError(int* token, TokenValue* value);
void McParseDeclarationError(int* token, TokenValue* value);

// IMPORT of the names in mc_parse.names.
void McParseAddName(McName* name, bool first);
void McParseImport(uint8_t kind, const char* from, const char* module,
                   const char* file);

// INCLUDE: reading goes on in that file.
void McParseInclude(const char* name);

// A parenthesised expression: a bare variable is handed on as a value.
McNodeRef McParseParenthesised(McNodeRef expression);

// Texts of message references, at most 255 characters long. They release the
// texts they are given. With s for the separator byte:
//   McParseMsg      \1 first \1 second \1 number \1; `first` may be nullptr
//   McParseMsgText  s text s number s last s; without `last s` for nullptr
McTokenText* McParseMsg(McTokenText* first, McTokenText* second,
                        int32_t number);
McTokenText* McParseMsgText(char separator, McTokenText* text, int32_t number,
                            McTokenText* last);

// Masks. Their results become the parse error code, also when they are 0.
void McParseOpenObject(MaskObjectType type, const char* name);
void McParseCloseObject();
void McParseOpenModule();
void McParseProgramHandler(EventSpec event);
void McParseCloseHandler(McNodeRef body);
void McParseAttributeHandler(EventSpec event);
void McParseAttribute(const char* name, int32_t integer);
void McParseAttribute(const char* name, const char* text);
McTokenText* McParseCopyName(const McName* name);
