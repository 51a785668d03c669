// The grammar of programs, modules and mask definitions.
//
// An action is one call: builders of the program model (node_build.h,
// variables.h) or decisions of the parser (parse_state.h). The line of a
// statement, and which fault is reported first, depend on when the parser asks
// for a token. So the tables keep their default reductions, and actions in the
// middle of a rule stand exactly where they take effect.

%code requires {
struct McFront;
union McSemantic;
}

%code {
#include "Cutil/codes.h"
#include "elut/compile/actions.h"
#include "elut/compile/node_build.h"
#include "elut/compile/variables.h"
#include "elut/syntax/lexer.h"

namespace {

int yylex(McSemantic* value, McFront* front) {
  return McLex(&front->scanner, &value->token);
}

void yyerror(McFront* front, const char* what) {
  // The parser's own word for it tells users little.
  if (what[0] == 'm') what = "yacc stack overflow";
  McParseError(&front->scanner, front->scanner.error_code, "%s", what);
}

}  // namespace

// The stacks hold 150 entries and do not grow: the parser refuses an entry once
// that many are in use, and checks after it has stored one.
#define YYINITDEPTH 151
#define YYMAXDEPTH 151
}

%define api.prefix {McYy}
%define api.pure full
%define api.token.prefix {TOKEN_}
%define api.token.raw
%define api.value.type {union McSemantic}
%param {McFront* front}
%expect 0

// Tokens -------------------------------------------------------------------

%token END_OF_INPUT 0 "end of input"
%token ABORT "ABORT" ACTIVATE "ACTIVATE" ALLOCATE "ALLOCATE" AND "AND"
%token APPLICATION "APPLICATION" BREAK "BREAK" BUTTON "BUTTON" CALL "CALL"
%token CASE "CASE" COMMON "COMMON" COMPUTE "COMPUTE" CONFIRM "CONFIRM"
%token CONTINUE "CONTINUE" CONTROL "CONTROL" CREATE "CREATE" CSUB "CSUB"
%token DESTROY "DESTROY" DIALOG "DIALOG" DIV "DIV" DO "DO" ELSE "ELSE"
%token END "END" ENTER "ENTER" EXECUTE "EXECUTE" EXIT "EXIT" FILE "FILE"
%token FREE "FREE" FROM "FROM" GRAPHIC "GRAPHIC" GROUP "GROUP" HELP "HELP"
%token HIDE "HIDE" IF "IF" IMPORT "IMPORT" INCLUDE "INCLUDE"
%token INTEGER "INTEGER" ITEM "ITEM" KEY "KEY" LABEL "LABEL" LET "LET"
%token MENU "MENU" MENUBAR "MENUBAR" MOD "MOD" MODIFY "MODIFY"
%token MODULE "MODULE" MOTION "MOTION" MSG "MSG" MSGFILE "MSGFILE"
%token MSGGET "MSGGET" MSGGLOB "MSGGLOB" ON "ON" OPTIONAL "OPTIONAL" OR "OR"
%token POINT "POINT" PRESS "PRESS" PRINT "PRINT" PROGRAM "PROGRAM"
%token REAL "REAL" RECORD "RECORD" RELEASE "RELEASE" RETURN "RETURN"
%token SCROLLBAR "SCROLLBAR" SELECT "SELECT" SHOW "SHOW" STRING "STRING"
%token SUB "SUB" SUBEND "SUBEND" SUBEXIT "SUBEXIT" TABLE "TABLE" TEXT "TEXT"
%token THEN "THEN" TO "TO" WHILE "WHILE" WINDOW "WINDOW" WITH "WITH"

%token COLON ":" SEMICOLON ";" COMMA "," DOT "."
%token LEFT_BRACKET "[" RIGHT_BRACKET "]" LEFT_PAREN "(" RIGHT_PAREN ")"
%token LEFT_BRACE "{" RIGHT_BRACE "}"
%token PLUS "+" MINUS "-" STAR "*" SLASH "/" POWER "**"
%token EQUAL "==" NOT_EQUAL "<>" GREATER ">" GREATER_EQUAL ">=" LESS "<"
%token LESS_EQUAL "<="

%token <token.name> IDENT FNNAME CFNNAME SIGILNAME
%token <token.text> SCONST
%token <token.integer> ICONST BUILTIN
%token <token.real> RCONST
%token <token.code> ASSIGNOP SIGIL

// From the loosest to the tightest binding.
%precedence ASSIGNOP
%left "OR"
%left "AND"
%left "==" "<>"
%left "<" "<=" ">" ">="
%left "+" "-"
%left "*" "/" "MOD" "DIV"
%right "**"
%precedence SIGN  // of an operand

%type <node> expression assignment body statement else
%type <node> builtin-call fn-call cfn-call
%type <node> argument case-label dimension allocate-item free-item case-clause
%type <node> expression-args argument-list dimension-list
%type <node> case-clauses case-labels allocate-items free-items
%type <reference> variable variable-reference external-reference
%type <statements> statement-list
%type <text> message attribute-text plain-text mask-message
%type <number> star-list statement-begin key import-kind
%type <op> relation assign-op
%type <chars> object-name
%type <event> event event-list
%type <type> simple-type menu-type

// What was built for a symbol that an error discards goes with it.
%destructor { McNodesOf(front).cut($$); } <node>
%destructor { McNodesOf(front).cut($$.first); } <reference> <statements>

%start input

%%

// Top level ----------------------------------------------------------------

input:
  expression-list
| program
| module
| handler-check event-handler
| mask-check masks
;

expression-list:
  expression expression-check { McNodesOf(front).cut($1); }
| expression-list "," expression expression-check
    { McNodesOf(front).cut($3); }
;

expression-check: %empty
    {
      if (!McParseCheckMode(front, PARSE_EXPRESSION_LIST, RC_NO_EXPRESSIONS)) YYERROR;
    }
;

// No token but the first ones of the other forms leads anywhere else, so an
// input that begins with anything ends up here, and is refused unless it may be
// a mask definition.
mask-check: %empty
    { if (!McParseCheckMode(front, PARSE_MASK, RC_NO_MASK)) YYERROR; }
;

handler-check: %empty
    { if (!McParseCheckMode(front, PARSE_HANDLER, RC_NO_HANDLER)) YYERROR; }
;

program:
  "PROGRAM" IDENT ";"
    {
      if (!McParseCheckMode(front, PARSE_PROGRAM, RC_NO_PROGRAM)) YYERROR;
      McProgramSetName(front, $2->text());
    }
  imports subs main-scope body
    { McProgramSetBody(front, $8); }
;

module:
  "MODULE" IDENT ";"
    { if (!McParseCheckMode(front, PARSE_MODULE, RC_NO_MODULE)) YYERROR; }
  imports sub-section
    {
      McIgnoreRefusal(front, McSubEnter(front, nullptr));
      McProgramSetName(front, $2->text());
    }
;

main-scope: %empty { McIgnoreRefusal(front, McSubEnter(front, nullptr)); } ;

// A stray END, SUBEND or "}" ends a body, and with it the parse.
body:
  statement-list { $$ = McNodeStatements(front, $1); }
| declaration-list statement-list { $$ = McNodeStatements(front, $2); }
;

// Imports and includes -----------------------------------------------------

imports:
  %empty
| imports import ";"
;

import:
  import-kind name-list
    { McParseImport(front, uint8_t($1), nullptr, nullptr, nullptr); }
| import-kind name-list "FROM" IDENT
    { McParseImport(front, uint8_t($1), $4->text(), nullptr, nullptr); }
| import-kind name-list "FROM" IDENT "MODULE" IDENT
    { McParseImport(front, uint8_t($1), $4->text(), $6->text(), nullptr); }
| import-kind name-list "FROM" "FILE" SCONST
    {
      McParseImport(front, uint8_t($1), nullptr, nullptr, $5->text());
      McTokenTextRelease(&front->scanner.strings, $5);
    }
;

import-kind:
  "IMPORT" { $$ = MC_IMPORT_MACRO; }
| "IMPORT" "CSUB" { $$ = MC_IMPORT_CSUB; }
;

name-list:
  IDENT { McParseBeginNames(front, $1); }
| name-list "," IDENT { McParseAddName(front, $3); }
;

subs:
  %empty
| sub-section
;

sub-section:
  sub-definition
| include
| sub-section sub-definition
| sub-section include
;

// Reduced before the token behind the ";" is read, which is the first one of
// the included file.
include:
  "INCLUDE" SCONST ";"
    {
      McParseInclude(front, $2->text());
      McTokenTextRelease(&front->scanner.strings, $2);
    }
;

// SUBs ---------------------------------------------------------------------

sub-definition:
  "SUB" IDENT
    {
      McIgnoreRefusal(front, McSubEnter(front, $2->text()));
      front->compile.scope = MC_SCOPE_PARAMETER;
    }
  parameters { front->compile.scope = MC_SCOPE_LOCAL; }
  body sub-end
    { McProgramSetBody(front, $6); }
;

sub-end:
  "SUBEND"
| "END" "SUB"
;

// OPTIONAL changes nothing: the required argument count stays 0.
parameters:
  %empty
| "(" parameter-groups ")"
| "(" "OPTIONAL" parameter-groups ")"
| "(" parameter-groups ";" "OPTIONAL" parameter-groups ")"
;

parameter-groups:
  parameter-group
| parameter-groups ";" parameter-group
;

parameter-group:
  type-keyword parameter
| parameter-group "," parameter
;

parameter:
  IDENT
    {
      const McNodeRef none = McNodeNone(front);
      McIgnoreRefusal(front, McVarDeclare(front, $1, {none, none, none}));
    }
| IDENT "(" star-list ")"
    {
      McIgnoreRefusal(front, 
          McVarDeclareRef(front, $1, $3));
    }
;

star-list:
  "*" { $$ = 1; }
| star-list "," "*" { $$ = $1 + 1; }
;

// Declarations -------------------------------------------------------------

declaration-list:
  declaration
| declaration-list declaration
;

declaration:
  variable-declaration
| "COMMON" IDENT { McIgnoreRefusal(front, McCommonDeclare(front, $2->text())); }
  variable-declarations "END" "COMMON"
    { front->compile.scope = MC_SCOPE_LOCAL; }
;

variable-declarations:
  variable-declaration
| variable-declarations variable-declaration
;

variable-declaration:
  type-keyword declarators ";"
| type-keyword error declaration-error ";"
;

declaration-error: %empty
    { McParseDeclarationError(front, &yychar, &yylval.token); }
;

type-keyword:
  "INTEGER" { front->compile.type = McValueType::INTEGER; }
| "REAL" { front->compile.type = McValueType::REAL; }
| "STRING" { front->compile.type = McValueType::STRING; }
| "POINT" { front->compile.type = McValueType::POINT; }
;

declarators:
  declarator
| declarators "," declarator
;

// The bounds are evaluated at once, and their trees are dropped.
declarator:
  IDENT
    {
      const McNodeRef none = McNodeNone(front);
      McIgnoreRefusal(front, McVarDeclare(front, $1, {none, none, none}));
    }
| IDENT "[" expression ":" expression "]"
    {
      McIgnoreRefusal(front,
                      McVarDeclare(front, $1, {$3, $5, McNodeNone(front)}));
    }
| IDENT "[" expression ":" expression "]" "(" dimension-list ")"
    { McIgnoreRefusal(front, McVarDeclare(front, $1, {$3, $5, $8})); }
| IDENT "(" dimension-list ")"
    { McIgnoreRefusal(front, McVarDeclare(front, $1, {$3, $3, $3})); }
| IDENT "(" star-list ")"
    {
      const McNodeRef none = McNodeNone(front);
      McIgnoreRefusal(front,
                      McVarDeclareDynamic(front, $1, $3, {none, none, none}));
    }
| IDENT "[" expression ":" expression "]" "(" star-list ")"
    {
      McIgnoreRefusal(front, McVarDeclareDynamic(front, $1, $8,
                                                 {$3, $5, McNodeNone(front)}));
    }
;

// A list of trees begins where its first one does.
dimension-list:
  dimension
| dimension-list "," dimension { $$ = $1; (void)$3; }
;

dimension:
  expression { $$ = McNodeDim(front, $1, $1); }
| expression ":" expression { $$ = McNodeDim(front, $1, $3); }
;

// Statements ---------------------------------------------------------------

statement-list:
  statement-begin statement
    { $$ = McParseBeginList(front, $2, $1); }
| statement-list statement-begin statement
    { $$ = McParseAppendStatement(front, $1, $3, $2); }
| error statement-error ";"
    {
      $$ = McParseBeginList(front, McNodeNone(front), 0);
      yyerrok;
      yyclearin;
    }
| statement-list error statement-error ";"
    {
      $$ = $1;
      yyerrok;
      yyclearin;
    }
;

statement-begin: %empty { $$ = McParseBeginStatement(front, yychar); } ;

statement-error: %empty
    { McParseStatementError(front, &yychar, &yylval.token); }
;

statement:
  ";" { $$ = McNodeNone(front); }
| assignment ";"
| "LET" assignment ";" { $$ = $2; }
| cfn-call ";"
| "WHILE" expression "DO" statement-list "END" "WHILE"
    {
      $$ = McNodeOverTwo(front, McNodeKind::WHILE, 0, $2,
                         McNodeStatements(front, $4));
    }
| "IF" expression "THEN" statement-list "END" "IF"
    {
      $$ = McNodeOverTwo(front, McNodeKind::IF, 0, $2,
                         McNodeStatements(front, $4));
    }
| "IF" expression "THEN" statement-list else statement-list "END" "IF"
    {
      (void)McNodeStatements(front, $6);
      $$ = McNodeOverTwo(front, McNodeKind::IF, 0, $2, $5);
      (void)$4;
    }
| "SELECT" expression ";" case-clauses "END" "SELECT"
    { $$ = McNodeOverTwo(front, McNodeKind::SELECT, 0, $2, $4); }
| "SELECT" expression ";" case-clauses "CASE" "ELSE" statement-list "END"
  "SELECT"
    {
      (void)McNodeStatements(front, $7);
      $$ = McNodeOverTwo(front, McNodeKind::SELECT, 0, $2, $4);
    }
| "ALLOCATE" allocate-items ";"
    { $$ = McNodeOver(front, McNodeKind::ALLOC, 0, $2); }
| "FREE" free-items ";"
    { $$ = McNodeOver(front, McNodeKind::FREE, 0, $2); }
| "CALL" IDENT ";"
    { $$ = McNodeCall(front, $2, McCallKind::SUB, McNodeNone(front)); }
| "CALL" IDENT "(" argument-list ")" ";"
    { $$ = McNodeCall(front, $2, McCallKind::SUB, $4); }
| "PRINT" ";"
    { $$ = McNodeOver(front, McNodeKind::PRINT, 0, McNodeNone(front)); }
| "PRINT" argument-list ";"
    { $$ = McNodeOver(front, McNodeKind::PRINT, 0, $2); }
| "RETURN" expression ";"
    { $$ = McNodeOver(front, McNodeKind::RETURN, 0, $2); }
| "EXIT" expression ";"
    { $$ = McNodeOver(front, McNodeKind::EXIT, 0, $2); }
| "BREAK" { $$ = McNodeLeaf(front, McNodeKind::BREAK, 0); }
| "CONTINUE" { $$ = McNodeLeaf(front, McNodeKind::CONT, 0); }
| "SUBEXIT" { $$ = McNodeLeaf(front, McNodeKind::SUBEX, 0); }
;

// Ends the statements in front of it, before those after it are built.
else: "ELSE" { $$ = McNodeStatements(front, $<statements>0); } ;

allocate-items:
  allocate-item
| allocate-items "," allocate-item { $$ = $1; (void)$3; }
;

allocate-item:
  IDENT "(" dimension-list ")" { $$ = McParseAllocated(front, $1, $3); }
;

free-items:
  free-item
| free-items "," free-item { $$ = $1; (void)$3; }
;

free-item:
  IDENT
    {
      $$ = McNodeVar(front, McParseVariable(front, $1, McNodeNone(front)));
    }
;

case-clauses:
  case-clause
| case-clauses case-clause { $$ = $1; (void)$2; }
;

case-clause:
  "CASE" case-labels ";" statement-list
    { $$ = McNodeCase(front, $2, McNodeStatements(front, $4)); }
;

case-labels:
  case-label
| case-labels "," case-label { $$ = $1; (void)$3; }
;

case-label:
  relation expression { $$ = McNodeTest(front, $1, $2); }
| expression { $$ = McNodeTest(front, MC_EQUAL, $1); }
| expression "TO" expression { $$ = McNodeBinary(front, MC_RANGE, $1, $3); }
;

relation:
  ">" { $$ = MC_GREATER; }
| "<" { $$ = MC_LESS; }
| "==" { $$ = MC_EQUAL; }
| ">=" { $$ = MC_GREATER_EQUAL; }
| "<=" { $$ = MC_LESS_EQUAL; }
| "<>" { $$ = MC_NOT_EQUAL; }
;

argument-list:
  argument
| argument-list "," argument { $$ = $1; (void)$3; }
;

// An argument is an expression, or a whole array by reference.
argument:
  expression
| IDENT "(" "*" ")" { $$ = McNodeRefVar(front, $1); }
;

// Expressions --------------------------------------------------------------

expression:
  variable-reference { $$ = McNodeVar(front, $1); }
| external-reference { $$ = $1.first; }
| ICONST { $$ = McNodeInt(front, $1); }
| RCONST { $$ = McNodeReal(front, $1); }
| SCONST { $$ = McParseString(front, $1); }
| message { $$ = McParseString(front, $1); }
| assignment
| builtin-call
| fn-call
| cfn-call
| "(" expression ")" { $$ = McParseParenthesised(front, $2); }
| expression "+" expression { $$ = McNodeBinary(front, MC_ADD, $1, $3); }
| expression "-" expression { $$ = McNodeBinary(front, MC_SUBTRACT, $1, $3); }
| expression "*" expression { $$ = McNodeBinary(front, MC_MULTIPLY, $1, $3); }
| expression "/" expression { $$ = McNodeBinary(front, MC_DIVIDE, $1, $3); }
| expression "**" expression { $$ = McNodeBinary(front, MC_POWER, $1, $3); }
| expression "MOD" expression { $$ = McNodeBinary(front, MC_MOD, $1, $3); }
| expression "DIV" expression { $$ = McNodeBinary(front, MC_DIV, $1, $3); }
| expression "==" expression { $$ = McNodeBinary(front, MC_EQUAL, $1, $3); }
| expression "<>" expression
    { $$ = McNodeBinary(front, MC_NOT_EQUAL, $1, $3); }
| expression ">" expression { $$ = McNodeBinary(front, MC_GREATER, $1, $3); }
| expression ">=" expression
    { $$ = McNodeBinary(front, MC_GREATER_EQUAL, $1, $3); }
| expression "<" expression { $$ = McNodeBinary(front, MC_LESS, $1, $3); }
| expression "<=" expression
    { $$ = McNodeBinary(front, MC_LESS_EQUAL, $1, $3); }
| expression "AND" expression { $$ = McNodeBinary(front, MC_AND, $1, $3); }
| expression "OR" expression { $$ = McNodeBinary(front, MC_OR, $1, $3); }
| "-" expression %prec SIGN { $$ = McNodeUnary(front, MC_NEGATE, $2); }
| "+" expression %prec SIGN { $$ = McNodeUnary(front, MC_PLUS, $2); }
;

assignment:
  variable-reference assign-op expression %prec ASSIGNOP
    { $$ = McNodeAssign(front, $2, $1.first, $3); }
| external-reference assign-op expression %prec ASSIGNOP
    { $$ = McNodeAssign(front, $2, $1.first, $3); }
;

// The target is complete: its node stands in front of those of the value.
assign-op:
  ASSIGNOP
    {
      (void)McNodeVar(front, $<reference>0);
      $$ = $1;
    }
;

variable-reference:
  variable
| variable-reference "." IDENT
    {
      $$ = $1;
      McNodeRefer(front, $$, $3->text(), McNodeNone(front));
    }
| variable-reference "." IDENT "(" expression-args ")"
    {
      $$ = $1;
      McNodeRefer(front, $$, $3->text(), $5);
    }
;

variable:
  IDENT { $$ = McParseVariable(front, $1, McNodeNone(front)); }
| IDENT "(" expression-args ")" { $$ = McParseVariable(front, $1, $3); }
;

// Its node is made at once.
external-reference:
  SIGILNAME { $$ = {McNodeExtern(front, $1->text()), 0}; }
| SIGIL "(" expression ")" { $$ = {McNodeExtInd(front, $1, $3), 0}; }
;

builtin-call:
  BUILTIN { $$ = McNodeFunc(front, $1, McNodeNone(front)); }
| BUILTIN "(" expression-args ")" { $$ = McNodeFunc(front, $1, $3); }
;

// Complete before any token but "(", so that an error after it comes later.
fn-call:
  FNNAME
    { $$ = McNodeCall(front, $1, McCallKind::FN, McNodeNone(front)); }
| FNNAME "(" argument-list ")"
    { $$ = McNodeCall(front, $1, McCallKind::FN, $3); }
;

cfn-call:
  CFNNAME
    { $$ = McNodeCall(front, $1, McCallKind::CFN, McNodeNone(front)); }
| CFNNAME "(" argument-list ")"
    { $$ = McNodeCall(front, $1, McCallKind::CFN, $3); }
;

expression-args:
  expression
| expression-args "," expression { $$ = $1; (void)$3; }
;

message:
  "MSG" "(" SCONST "," ICONST ")"
    { $$ = McParseMsg(front, nullptr, $3, $5); }
| "MSG" "(" SCONST "," SCONST "," ICONST ")"
    { $$ = McParseMsg(front, $3, $5, $7); }
| "MSGGET" "(" SCONST "," ICONST "," SCONST ")"
    { $$ = McParseMsgText(front, '\4', $3, $5, $7); }
;

// Masks: objects -----------------------------------------------------------

masks:
  windows
| applications
;

windows:
  window
| windows window
;

applications:
  application
| applications application
;

window:
  "WINDOW" object-name { McParseOpenObject(front, MaskObjectType::WINDOW, $2); }
  "{" window-members "}" { McParseCloseObject(front); }
;

window-members:
  window-member
| window-members window-member
;

window-member:
  common-member
| event-handler
| simple-object
| menu
| label
| table
| text-object
| group
| module-block
;

application:
  "APPLICATION" object-name
    { McParseOpenObject(front, MaskObjectType::APPLICATION, $2); }
  "{" application-members "}" { McParseCloseObject(front); }
;

application-members:
  application-member
| application-members application-member
;

application-member:
  common-member
| event-handler
| window
| module-block
;

simple-object:
  simple-type object-name { McParseOpenObject(front, $1, $2); }
  "{" simple-members "}" { McParseCloseObject(front); }
;

simple-type:
  "BUTTON" { $$ = MaskObjectType::BUTTON; }
| "SCROLLBAR" { $$ = MaskObjectType::SCROLLBAR; }
| "RECORD" { $$ = MaskObjectType::RECORD; }
| "DIALOG" { $$ = MaskObjectType::DIALOG; }
| "GRAPHIC" { $$ = MaskObjectType::GRAPHIC; }
;

simple-members:
  simple-member
| simple-members simple-member
;

simple-member:
  common-member
| event-handler
;

menu:
  menu-type object-name { McParseOpenObject(front, $1, $2); }
  "{" menu-members "}" { McParseCloseObject(front); }
;

menu-type:
  "MENUBAR" { $$ = MaskObjectType::MENUBAR; }
| "MENU" { $$ = MaskObjectType::MENU; }
;

menu-members:
  menu-member
| menu-members menu-member
;

menu-member:
  common-member
| event-handler
| menu
| item
;

item:
  "ITEM" object-name { McParseOpenObject(front, MaskObjectType::ITEM, $2); }
  "{" simple-members "}" { McParseCloseObject(front); }
;

table:
  "TABLE" object-name { McParseOpenObject(front, MaskObjectType::TABLE, $2); }
  "{" table-members "}" { McParseCloseObject(front); }
;

table-members:
  table-member
| table-members table-member
;

table-member:
  common-member
| event-handler
| simple-object
| menu
| label
| item
| text-object
| group
;

text-object:
  "TEXT" object-name { McParseOpenObject(front, MaskObjectType::TEXT, $2); }
  "{" text-members "}" { McParseCloseObject(front); }
;

text-members:
  text-member
| text-members text-member
;

text-member:
  common-member
| event-handler
| item
;

// A group has no event handlers, a label attributes only.
group:
  "GROUP" object-name { McParseOpenObject(front, MaskObjectType::GROUP, $2); }
  "{" group-members "}" { McParseCloseObject(front); }
;

group-members:
  group-member
| group-members group-member
;

group-member:
  common-member
| simple-object
| menu
| label
| table
| text-object
| group
;

label:
  "LABEL" object-name { McParseOpenObject(front, MaskObjectType::LABEL, $2); }
  "{" attributes "}" { McParseCloseObject(front); }
;

object-name:
  %empty { $$ = ""; }
| IDENT { $$ = $1->text(); }
| SCONST { $$ = $1->text(); }
;

common-member:
  attribute ";"
| "HELP" "{" attributes "}"
;

// Masks: attributes --------------------------------------------------------

attributes:
  attribute ";"
| attributes attribute ";"
;

attribute:
  %empty
| IDENT ASSIGNOP ICONST { McParseAttribute(front, $1->text(), $3); }
| IDENT ASSIGNOP attribute-text
    {
      McParseAttribute(front, $1->text(), $3->text());
      McTokenTextRelease(&front->scanner.strings, $3);
    }
| SCONST ASSIGNOP ICONST
    {
      McParseAttribute(front, $1->text(), $3);
      McTokenTextRelease(&front->scanner.strings, $1);
    }
| SCONST ASSIGNOP plain-text
    {
      McParseAttribute(front, $1->text(), $3->text());
      McTokenTextRelease(&front->scanner.strings, $3);
      McTokenTextRelease(&front->scanner.strings, $1);
    }
;

attribute-text:
  plain-text
| message
| mask-message
;

plain-text:
  SCONST { $$ = $1; }
| IDENT { $$ = McParseCopyName(front, $1); }
;

mask-message:
  "MSGGLOB" "(" SCONST "," ICONST ")"
    { $$ = McParseMsgText(front, '\2', $3, $5, nullptr); }
| "MSGFILE" "(" SCONST "," ICONST "," SCONST ")"
    { $$ = McParseMsgText(front, '\3', $3, $5, $7); }
;

// Masks: handlers and modules ----------------------------------------------

event-handler:
  "ON" event-list "EXECUTE" "{" { McParseProgramHandler(front, $2); }
  subs main-scope body "}"
    { McProgramSetBody(front, $8); }
| "ON" event-list "{" { McParseAttributeHandler(front, $2); }
  attributes "}"
    { front->parse.target = nullptr; }
| "ON" event-list "DO" IDENT
    {
      McParseAttributeHandler(front, $2);
      McParseAttribute(front, "action", $4->text());
    }
  handler-argument ";"
    { front->parse.target = nullptr; }
;

handler-argument:
  %empty
| "WITH" plain-text
    {
      McParseAttribute(front, "argument", $2->text());
      McTokenTextRelease(&front->scanner.strings, $2);
    }
;

event-list:
  event
| event-list "OR" event { $$ = MaskJoinEvents($1, $3); }
;

event:
  "ENTER" { $$ = MaskEvent(EVENT_ENTER); }
| "EXIT" { $$ = MaskEvent(EVENT_EXIT); }
| "CONTROL" { $$ = MaskEvent(EVENT_CONTROL); }
| "KEY" key { $$ = MaskKeyEvent($2); }
| "ABORT" { $$ = MaskEvent(EVENT_ABORT); }
| "BUTTON" "PRESS" { $$ = MaskEvent(EVENT_BUTTON); }
| "BUTTON" "RELEASE" { $$ = MaskEvent(EVENT_BUTTON); }
| "MOTION" { $$ = MaskEvent(EVENT_MOTION); }
| "DESTROY" { $$ = MaskEvent(EVENT_DESTROY); }
| "CONFIRM" { $$ = MaskEvent(EVENT_CONFIRM); }
| "CREATE" { $$ = MaskEvent(EVENT_CREATE); }
| "SHOW" { $$ = MaskEvent(EVENT_SHOW); }
| "HIDE" { $$ = MaskEvent(EVENT_HIDE); }
| "COMPUTE" { $$ = MaskEvent(EVENT_COMPUTE); }
| "ACTIVATE" { $$ = MaskEvent(EVENT_ACTIVATE); }
| "MODIFY" { $$ = MaskEvent(EVENT_MODIFY); }
;

key:
  IDENT { $$ = McKeyLookup($1->text()); }
| "<" IDENT ">" { $$ = McKeyLookup($2->text()); }
| ICONST { $$ = uint32_t($1); }
| "RETURN" { $$ = KEY_RETURN; }
;

module-block:
  "MODULE" "{" { McParseOpenModule(front); }
  declaration-list subs "}"
    { McCompileEnter(front, nullptr); }
;
