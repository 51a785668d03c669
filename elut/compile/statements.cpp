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

// Discards tokens up to the next ";", or the end.
void SkipStatement(McFront* front) {
  McToken* ahead = &front->parse.ahead;
  while (ahead->token != TOKEN_SEMICOLON && ahead->token != TOKEN_END_OF_INPUT)
    *ahead = McLex(&front->scanner);
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

// A statement is complete: it gets its TRACE node when that is asked for.
void Complete(McFront* front, McNodeRef statement, uint32_t line) {
  front->parse.statement_open = false;
  if (front->parse.trace_level != 0) McNodeTrace(front, statement, line);
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

McStatements McParseBeginList(McFront* front, McNodeRef statement,
                              uint32_t line) {
  Complete(front, statement, line);
  return {statement, McIsNone(front, statement)};
}

McStatements McParseAppendStatement(McFront* front,
                                    const McStatements& statements,
                                    McNodeRef statement, uint32_t line) {
  Complete(front, statement, line);
  return {statements.first, statements.is_block || !McIsNone(front, statement)};
}

void McParseStatementError(McFront* front) {
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
  SkipStatement(front);
}

void McParseDeclarationError(McFront* front) {
  McParseFail(&front->scanner, RC_DECLARATION, TEXT_DECLARATION);
  SkipStatement(front);
}

void McParseUndefined(McFront* front, const McName* name) {
  // Without a program there is nothing to look a name up in.
  if (front->compile.building)
    McParseFail(&front->scanner, RC_SYNTAX, TEXT_UNDEFINED_VARIABLE,
                name->text());
}

McNodeRef McParseAllocated(McFront* front, const McName* name,
                           McNodeRef dimensions) {
  const uint32_t variable = McVarFind(front, name);
  if (variable != 0)
    return McNodeOver(front, McNodeKind::VAR, variable, dimensions);
  McNodesOf(front).cut(dimensions);
  McFailWith(front, RC_NO_VARIABLE);
  return dimensions;
}

McNodeRef McParseParenthesised(McFront* front, McNodeRef expression) {
  const McNodes& nodes = McNodesOf(front);
  // The root of a tree is its last node.
  if (McIsNone(front, expression) ||
      nodes[nodes.count() - 1].kind() != McNodeKind::VAR)
    return expression;
  return McNodeUnary(front, MC_VALUE, expression);
}
