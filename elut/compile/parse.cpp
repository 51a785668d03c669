#include "elut/compile/parse.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/parse_state.h"
#include "elut/grammar.h"
#include "services/channels.h"
#include "trt/messages.h"

McParse mc_parse;

namespace {

constexpr unsigned REPORTS = 1;  // the channel

// Prepares what all entries have in common.
void Prepare(uint16_t mode, McLineStore* lines, EditorList* editors) {
  mc_parse.mode = mode;
  mc_parse.error_code = RC_OK;
  mc_parse.exhausted = false;
  mc_parse.statement_open = false;
  mc_parse.mask_limit = false;
  mc_parse.lines = lines;
  mc_parse.editors = editors;
  mc_parse.objects.clear();
  mc_parse.target = nullptr;
  mc_parse.names.clear();
  mc_compile.table_full = false;
}

// Runs the parser and turns its outcome into the entry's code.
int Run() {
  const int outcome = mc_parse.exhausted ? 1 : McYyparse();
  if (mc_parse.exhausted) return RC_NO_MEMORY;
  if (mc_parse.mask_limit) return RC_INVALID;
  if (outcome != 0 && mc_parse.error_code == RC_OK) return RC_PARSE_FAILED;
  return mc_parse.error_code;
}

// Makes `program` current for a parse that has been prepared.
void Enter(McProgram* program) {
  McParseNote(McCompileEnter(program));
}

struct Place {
  int level;
  uint32_t line;
  char name[256];
};

// Where a text input with a location stands: the location names the end of the
// text, whose line feeds lead back to its start.
Place TextPlace() {
  Place place = {-1, 1, ""};
  int line;
  if (sscanf(mc_parse.location, "%255s (%d)", place.name, &line) != 2) {
    place.name[0] = '\0';
    return place;
  }
  for (const char* p = mc_parse.text; *p != '\0'; p++) line -= *p == '\n';
  place.line = static_cast<uint32_t>(line);
  return place;
}

// Discards tokens up to the next ";", which `*token` becomes, or the end.
void SkipStatement(int* token, TokenValue* value) {
  while (*token != TOKEN_SEMICOLON && *token != TOKEN_END_OF_INPUT)
    *token = McLex(value);
}

// A line of the file of that number, as long as the file is at hand.
const char* LineText(uint32_t file, uint32_t line) {
  const McSrcPlace place = McSrcPosition();
  if (file != place.file) return "";
  return McSrcLineText(place.level > 0 ? McSrcLines() : mc_parse.lines, line);
}

bool BeginsStatement(int token) {
  switch (token) {
    case TOKEN_SEMICOLON:
    case TOKEN_LET:
    case TOKEN_IDENT:
    case TOKEN_SIGILNAME:
    case TOKEN_SIGIL:
    case TOKEN_CFNNAME:
    case TOKEN_WHILE:
    case TOKEN_IF:
    case TOKEN_SELECT:
    case TOKEN_ALLOCATE:
    case TOKEN_FREE:
    case TOKEN_CALL:
    case TOKEN_PRINT:
    case TOKEN_RETURN:
    case TOKEN_EXIT:
    case TOKEN_BREAK:
    case TOKEN_CONTINUE:
    case TOKEN_SUBEXIT: return true;
    default: return false;
  }
}

bool IsBlock(McNodeRef node) {
  return mc_compile.program->nodes[node].kind == McNodeKind::BLOCK;
}

// Stands for a text that memory did not suffice for.
McTokenText* NoText() {
  static struct {
    McTokenText text;
    char end;
  } none = {{1, 0}, '\0'};
  return &none.text;
}

// The text of a message reference while it is put together.
class MessageReference {
 public:
  explicit MessageReference(char separator) : separator_(separator) {
    add(&separator_, 1);
  }
  // Adds a part, if there is one, releases it, and adds the separator.
  void part(McTokenText* text) {
    if (text != nullptr) add(text->text(), text->length);
    add(&separator_, 1);
  }
  void number(int32_t value) {
    char digits[12];
    const int length = snprintf(digits, sizeof digits, "%d", value);
    add(digits, static_cast<size_t>(length));
    add(&separator_, 1);
  }
  // The text; the empty one, with a report, when it has become too long.
  McTokenText* finish() {
    if (length_ > LONGEST) {
      McParseError(RC_FIXED_TEXT_FULL, "message reference too long\n");
      McParseSetCode(RC_FIXED_TEXT_FULL);
      length_ = 0;
    }
    McTokenText* text = McTokenTextNew(length_);
    if (text == nullptr) {
      McParseExhausted();
      return NoText();
    }
    memcpy(text->text(), buffer_, length_);
    text->text()[length_] = '\0';
    text->length = static_cast<uint32_t>(length_);
    return text;
  }

 private:
  static constexpr size_t LONGEST = 255;

  void add(const char* bytes, size_t count) {
    for (size_t i = 0; i < count; i++, length_++)
      if (length_ < LONGEST) buffer_[length_] = bytes[i];
  }

  char separator_;
  size_t length_ = 0;  // may be more than there is room for
  char buffer_[LONGEST];
};

void ReleaseText(McTokenText* text) {
  if (text != nullptr) McTokenTextRelease(text);
}

MaskObject* InnermostObject() {
  return mc_parse.objects.back();
}

// A list of the file cannot hold what the source has: no later success may
// hide that.
void MaskLimit(const char* report) {
  McParseError(RC_INVALID, "%s", report);
  mc_parse.mask_limit = true;
}

// Takes the result of making a program: nothing but exhausted memory keeps one
// from being made.
void NoteProgram(int code) {
  if (code == RC_NO_NODE) code = RC_NO_MEMORY;
  McParseNote(code);
}

// Takes the result of adding a handler.
void NoteHandler(int code) {
  if (code == RC_INVALID) MaskLimit("too many handlers\n");
  McParseSetCode(code);
  NoteProgram(code);
}

// Where attributes go.
AttributeList* Target() {
  return mc_parse.target != nullptr ? mc_parse.target
                                    : &InnermostObject()->attributes;
}

template <class Value>
void AddAttribute(const char* name, Value value) {
  AttributeList* list = Target();
  const uint16_t before = list->count;
  const int code = AttributeListAdd(list, name, value);
  if (code != RC_INVALID) return McParseNote(code);
  // An attribute whose value is of the wrong type has been added without it.
  if (list->count == before)
    MaskLimit(before == ATTRIBUTE_LIMIT ? "too many attributes\n"
                                        : "too many attribute names\n");
}

// Parses a handler text into an object of `list`.
int ParseHandler(const char* text, EditorList* list, MaskObject** holder) {
  *holder = nullptr;
  Prepare(PARSE_HANDLER, nullptr, list);
  mc_parse.statement_line = 0;
  MaskObject* placeholder;
  int code =
      MaskCreateObject(list, "dummy", MaskObjectType::BUTTON, &placeholder);
  if (code != RC_OK) return code;
  code = UtGuarded([&] {
    mc_parse.objects.push_back(placeholder);
    return McSrcSetText(text);
  });
  if (code != RC_OK) return code;
  Enter(nullptr);
  code = Run();
  mc_parse.objects.clear();
  if (code == RC_OK) *holder = placeholder;
  return code;
}

}  // namespace

// Entries -------------------------------------------------------------------

int McParseProgram(McProgram* program, McLineStore* lines) {
  McProgramInit(program);
  Prepare(PARSE_PROGRAM | PARSE_MODULE, lines, nullptr);
  Enter(program);
  return Run();
}

int MaskParseDefinition(EditorList* list, McLineStore* lines) {
  Prepare(PARSE_MASK, lines, list);
  Enter(nullptr);
  return Run();
}

int McParseProgramText(const char* text, McProgram* program, McNodeRef* body) {
  *body = 0;
  Prepare(PARSE_PROGRAM, nullptr, nullptr);
  mc_parse.statement_line = 0;
  const int code = McSrcSetText(text);
  if (code != RC_OK) return code;
  Enter(program);
  mc_compile.body_slot = body;
  return Run();
}

int MaskParseHandlerText(const char* text, EditorList* list,
                         MaskObject** holder) {
  return ParseHandler(text, list, holder);
}

int MaskParseHandlerText(const char* text, const char* location,
                         McProgram** program) {
  *program = nullptr;
  if (text == nullptr) return RC_OK;
  mc_parse.text = text;
  mc_parse.location = location;
  EditorList list;
  MaskObject* holder;
  const int code = ParseHandler(text, &list, &holder);
  mc_parse.text = mc_parse.location = nullptr;
  if (code == RC_OK && holder->handlers.count > 0) {
    EventHandler* handler = &holder->handlers.entries[0];
    if (handler->kind == HandlerKind::PROGRAM) {
      *program = handler->program;
      handler->program = nullptr;
    }
  }
  if (mc_compile.program != *program) (void)McCompileEnter(nullptr);
  MaskListFree(&list);
  return code;
}

int McParseExpressionList() {
  Prepare(PARSE_EXPRESSION_LIST, nullptr, nullptr);
  Enter(nullptr);
  return Run();
}

void McParseReset() {
  McCompileReset();
  mc_parse.statement_line = 0;
}

// Reports -------------------------------------------------------------------

void McParseError(int code, const char* format, ...) {
  if (mc_parse.location != nullptr) {
    const Place place = TextPlace();
    ChannelPrint(REPORTS, "%d:%s Line:%d Code:%d ! ", place.level, place.name,
                 static_cast<int>(place.line), code);
  } else {
    const McSrcPlace place = McSrcPosition();
    ChannelPrint(REPORTS, "%d:%s Line:%d Code:%d ! ", place.level, place.name,
                 static_cast<int>(place.line), code);
  }
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    ChannelPrintV(REPORTS, format, arguments);
    va_end(arguments);
  }
  ChannelPrint(REPORTS, "\n");
}

void McParseIntegerTooLarge(const char* text, size_t length) {
  McParseSetCode(RC_OVERFLOW);
  McParseError(RC_OVERFLOW, "integer constant '%.*s' out of range\n",
               static_cast<int>(length), text);
}

void McParseExhausted() {
  mc_parse.exhausted = true;
  McSrcStop();
}

// Decisions of the grammar --------------------------------------------------

void McParseSetCode(int code) {
  mc_parse.error_code = code;
}

void McParseFailed(int code) {
  if (mc_compile.table_full) {
    mc_compile.table_full = false;
    McParseError(RC_INVALID, "too many entries\n");
    McParseSetCode(RC_INVALID);
    return;
  }
  // With a program, nothing but exhausted memory keeps a node from being made.
  const bool no_node = code == RC_NO_NODE && mc_compile.program != nullptr;
  if (code == RC_NO_MEMORY || no_node) McParseExhausted();
}

void McParseNoteCode(int code) {
  if (code == RC_OK || mc_compile.program == nullptr) return;
  McParseSetCode(code);
  McParseFailed(code);
}

bool McParseCheckMode(ParseMode form, int code) {
  if ((mc_parse.mode & form) != 0) {
    mc_parse.mode = form;
    return true;
  }
  if (mc_parse.exhausted) return false;
  McParseSetCode(code);
  McParseError(code, TEXT_DECLARATION);
  return false;
}

McNodeRef McParseVariable(McName* name, McNodeRef subscripts) {
  McNodeRef variable = 0;
  // Without a program there is nothing to look a name up in.
  if (mc_compile.program == nullptr) return variable;
  const int code = McNodeVar(name, &variable, subscripts);
  if (code == RC_OK) return variable;
  if (code == RC_NO_VARIABLE || code == RC_NOT_FOUND) {
    McParseSetCode(RC_SYNTAX);
    McParseError(RC_SYNTAX, TEXT_UNDEFINED_VARIABLE, name->text());
  } else {
    McParseFailed(code);
  }
  return 0;
}

uint32_t McParseBeginStatement(int token) {
  const McSrcPlace place = McSrcPosition();
  // Other tokens end up here when the parser looks for a statement that is not
  // there: the one begun last is then still the one to report.
  if (BeginsStatement(token)) {
    mc_parse.statement_line = place.line;
    mc_parse.statement_file = place.file;
    mc_parse.statement_open = true;
  }
  return place.line;
}

void McParseAppendStatement(McNodeList* list, bool first, McNodeRef statement,
                            uint32_t line) {
  mc_parse.statement_open = false;
  if (first) *list = {0, 0};
  if (statement != 0 && mc_parse.trace_level != 0) {
    McNodeRef traced;
    McParseNote(McNodeTrace(&traced, statement, line));
    statement = traced;
  }
  if (mc_compile.program == nullptr) return;
  if (first) {
    if (statement == 0) {
      McParseNote(McNodeMake(McNodeKind::BLOCK, &list->first, 0));
    } else {
      list->first = statement;
      // A statement is never a BLOCK itself, so this list is not one.
    }
    return;
  }
  if (statement == 0 || list->first == 0) return;
  if (!IsBlock(list->first)) {
    list->last = list->first;
    McParseNote(McNodeMake(McNodeKind::BLOCK, &list->first, list->last));
    if (list->first == 0) return;
  }
  McNodeAppendChild(list->first, &list->last, statement);
}

void McParseStatementError(int* token, TokenValue* value) {
  const bool open = mc_parse.statement_open;
  mc_parse.statement_open = false;
  if (mc_parse.exhausted) return SkipStatement(token, value);
  const McSrcPlace place = McSrcPosition();
  const uint32_t line = open ? mc_parse.statement_line : place.line;
  const uint32_t file = open ? mc_parse.statement_file : place.file;
  // Text input has no lines.
  if (line != 0)
    ChannelPrint(REPORTS, TEXT_SYNTAX_ERROR, static_cast<int>(line),
                 LineText(file, line));
  McParseSetCode(RC_SYNTAX);
  SkipStatement(token, value);
}

void McParseDeclarationError(int* token, TokenValue* value) {
  if (!mc_parse.exhausted) {
    McParseSetCode(RC_DECLARATION);
    McParseError(RC_DECLARATION, TEXT_DECLARATION);
  }
  SkipStatement(token, value);
}

void McParseAddName(McName* name, bool first) {
  if (first) mc_parse.names.clear();
  const int code = UtGuarded([&] {
    mc_parse.names.push_back(name);
    return RC_OK;
  });
  McParseNoteCode(code);
}

void McParseImport(uint8_t kind, const char* from, const char* module,
                   const char* file) {
  if (mc_compile.program == nullptr) return;
  for (const McName* name : mc_parse.names) {
    const int code =
        McImportAdd(mc_compile.program, kind, name->text(), from, module, file);
    mc_compile.table_full |= code == RC_INVALID;
    McParseNote(code);
    if (code != RC_OK) return;
  }
}

void McParseInclude(const char* name) {
  bool too_deep;
  const int code = McSrcInclude(name, &too_deep);
  if (code != RC_CANNOT_OPEN) return McParseNote(code);
  McParseSetCode(code);
  if (too_deep)
    McParseError(code, "too many nested files: '%s'\n", name);
  else
    McParseError(code, TEXT_FILE_NOT_FOUND, name);
}

McNodeRef McParseParenthesised(McNodeRef expression) {
  if (expression == 0) return 0;
  if (mc_compile.program->nodes[expression].kind != McNodeKind::VAR)
    return expression;
  McNodeRef value;
  McParseNote(McNodeUnary(MC_VALUE, &value, expression));
  return value;
}

McTokenText* McParseMsg(McTokenText* first, McTokenText* second,
                        int32_t number) {
  MessageReference message('\1');
  message.part(first);
  message.part(second);
  message.number(number);
  ReleaseText(second);
  ReleaseText(first);
  return message.finish();
}

McTokenText* McParseMsgText(char separator, McTokenText* text, int32_t number,
                            McTokenText* last) {
  MessageReference message(separator);
  message.part(text);
  message.number(number);
  if (last != nullptr) message.part(last);
  ReleaseText(last);
  ReleaseText(text);
  return message.finish();
}

// Masks ---------------------------------------------------------------------

void McParseOpenObject(MaskObjectType type, const char* name) {
  MaskObject* object;
  int code = MaskCreateObject(mc_parse.editors, name, type, &object);
  if (code == RC_OK)
    code = UtGuarded([&] {
      mc_parse.objects.reserve(mc_parse.objects.size() + 1);
      return RC_OK;
    });
  if (code == RC_OK) {
    if (mc_parse.objects.empty())
      code = MaskAddEditor(mc_parse.editors, object);
    else
      MaskAppendChild(InnermostObject(), object);
    mc_parse.objects.push_back(object);
  }
  McParseSetCode(code);
  McParseNote(code);
}

void McParseCloseObject() {
  // Only exhausted memory leaves an object out; nothing is read after it.
  if (!mc_parse.objects.empty()) mc_parse.objects.pop_back();
}

void McParseOpenModule() {
  McProgram* program = nullptr;
  NoteProgram(MaskSetModule(InnermostObject(), &program));
  McParseNote(McCompileEnter(program));
}

void McParseProgramHandler(EventSpec event) {
  McProgram* program = nullptr;
  NoteHandler(MaskAddProgramHandler(InnermostObject(), event, &program));
  McParseNote(McCompileEnter(program));
}

void McParseCloseHandler(McNodeRef body) {
  McProgramSetBody(body);
  // A mask file has many small programs; what theirs leave over adds up.
  if (mc_compile.program != nullptr) mc_compile.program->nodes.trim();
}

void McParseAttributeHandler(EventSpec event) {
  AttributeList* list = nullptr;
  NoteHandler(MaskAddAttributeHandler(InnermostObject(), event, &list));
  if (list == nullptr) {
    // The attributes of a refused handler must not go to the object.
    list = &mc_parse.refused;
    AttributeListInit(list, &mc_parse.editors->arena);
  }
  mc_parse.target = list;
}

void McParseAttribute(const char* name, int32_t integer) {
  AddAttribute(name, integer);
}

void McParseAttribute(const char* name, const char* text) {
  AddAttribute(name, text);
}

McTokenText* McParseCopyName(const McName* name) {
  McTokenText* text = McTokenTextNew(name->length);
  if (text == nullptr) {
    McParseExhausted();
    return NoText();
  }
  memcpy(text->text(), name->text(), name->length + 1);
  text->length = name->length;
  return text;
}
