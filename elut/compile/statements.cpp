// Statements and expressions, and the recovery from errors in them.
//
// The report of an error in a statement shows a line of the source. That is the
// line on which the statement began last, as long as it is incomplete; so it is
// noted when a statement's first token has been read.
#include "Cutil/codes.h"
#include "elut/compile/actions.h"
#include "elut/compile/node_build.h"
#include "elut/grammar.h"
#include "elut/syntax/lexer.h"
#include "trt/messages.h"

namespace {

// Discards tokens up to the next ";", which `*token` becomes, or the end.
void SkipStatement(McFront* front, int* token, TokenValue* value) {
  while (*token != TOKEN_SEMICOLON && *token != TOKEN_END_OF_INPUT)
    *token = McLex(&front->scanner, value);
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

McNodeKind KindOf(const McFront* front, McNodeRef node) {
  return front->compile.program->nodes[node].kind;
}

// A statement that is complete, with its TRACE node when that is asked for.
McNodeRef Completed(McFront* front, McNodeRef statement, uint32_t line) {
  front->parse.statement_open = false;
  if (statement == 0 || front->parse.trace_level == 0) return statement;
  McNodeRef traced;
  McIgnoreRefusal(front, McNodeTrace(front, &traced, statement, line));
  return traced;
}

}  // namespace

uint32_t McParseBeginStatement(McFront* front, int token) {
  const McSrcPlace place = McSrcPosition(front->scanner.source);
  // Other tokens end up here when the parser looks for a statement that is not
  // there: the one begun last is then still the one to report.
  if (BeginsStatement(token)) {
    front->parse.statement_line = place.line;
    front->parse.statement_file = place.file;
    front->parse.statement_open = true;
  }
  return place.line;
}

McNodeList McParseBeginList(McFront* front, McNodeRef statement,
                            uint32_t line) {
  // A statement is never a BLOCK itself, so a list of one is not one either.
  McNodeList list = {Completed(front, statement, line), 0};
  if (list.first == 0)
    McIgnoreRefusal(front,
                    McNodeMake(front, McNodeKind::BLOCK, &list.first, 0));
  return list;
}

void McParseAppendStatement(McFront* front, McNodeList* list,
                            McNodeRef statement, uint32_t line) {
  statement = Completed(front, statement, line);
  if (statement == 0 || list->first == 0) return;
  if (KindOf(front, list->first) != McNodeKind::BLOCK) {
    list->last = list->first;
    McIgnoreRefusal(
        front, McNodeMake(front, McNodeKind::BLOCK, &list->first, list->last));
  }
  McNodeAppendChild(front, list->first, &list->last, statement);
}

void McParseStatementError(McFront* front, int* token, TokenValue* value) {
  McParse& parse = front->parse;
  const McSrcPlace place = McSrcPosition(front->scanner.source);
  const bool open = std::exchange(parse.statement_open, false);
  const uint32_t line = open ? parse.statement_line : place.line;
  const uint32_t file = open ? parse.statement_file : place.file;
  // Text input has no lines.
  if (line != 0) {
    const UtString text = McSrcLineText(front->scanner.source, file, line);
    McReportText(front->scanner.sink, McReportKind::SOURCE_LINE,
                 TEXT_SYNTAX_ERROR, static_cast<int>(line), text.c_str());
  }
  front->scanner.error_code = RC_SYNTAX;
  SkipStatement(front, token, value);
}

void McParseDeclarationError(McFront* front, int* token, TokenValue* value) {
  McParseFail(&front->scanner, RC_DECLARATION, TEXT_DECLARATION);
  SkipStatement(front, token, value);
}

McNodeRef McParseVariable(McFront* front, McName* name, McNodeRef subscripts) {
  McNodeRef variable = 0;
  // Without a program there is nothing to look a name up in.
  if (front->compile.program == nullptr) return variable;
  const int code = McNodeVar(front, name, &variable, subscripts);
  if (code != RC_OK)
    McParseFail(&front->scanner, RC_SYNTAX, TEXT_UNDEFINED_VARIABLE,
                name->text());
  return variable;
}

McNodeRef McParseParenthesised(McFront* front, McNodeRef expression) {
  if (expression == 0 || KindOf(front, expression) != McNodeKind::VAR)
    return expression;
  McNodeRef value;
  McIgnoreRefusal(front, McNodeUnary(front, MC_VALUE, &value, expression));
  return value;
}

McNodeRef McParseString(McFront* front, McTokenText* text) {
  McNodeRef constant;
  McIgnoreRefusal(front,
                  McNodeString(front, &constant, text->text(), text->length));
  McTokenTextRelease(&front->scanner.strings, text);
  return constant;
}
