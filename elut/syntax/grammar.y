// The grammar of programs, modules and mask definitions.
//
// An action is one call: builders of the program model (node_build.h,
// variables.h) or decisions of the parser (parse_state.h). The line of a
// statement, and which fault is reported first, depend on when the parser asks
// for a token. So the tables keep their default reductions, and actions in the
// middle of a rule stand exactly where they take effect.

%code requires {
#include "elut/compile/parse_state.h"
}

%code {
#include "Cutil/codes.h"
#include "elut/compile/parse.h"

namespace {

int yylex(McSemantic* value) { return McLex(&value->token); }

void yyerror(const char* what) {
  // The parser's own word for it tells users little.
  if (what[0] == 'm') what = "yacc stack overflow";
  if (!mc_parse.exhausted) McParseError(mc_parse.error_code, "%s", what);
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

%type <node> expression assignment target external call body statement
%type <node> case-label dimension allocate-item free-item case-clause
%type <list> member member-base expression-args argument-list dimension-list
%type <list> statement-list case-clauses case-labels allocate-items free-items
%type <text> message attribute-text plain-text mask-message
%type <number> star-list statement-begin key import-kind
%type <op> relation
%type <chars> object-name
%type <event> event event-list
%type <type> simple-type menu-type

%destructor { McTreeFree(&$$); } <node>
%destructor { McTreeFree(&$$.first); } <list>
%destructor { McTokenTextRelease($$); } <text> <token.text>

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
  expression expression-check { (void)$1; }
| expression-list "," expression expression-check { (void)$3; }
;

expression-check: %empty
    {
      if (!McParseCheckMode(PARSE_EXPRESSION_LIST, RC_NO_EXPRESSIONS)) YYERROR;
    }
;

// No token but the first ones of the other forms leads anywhere else, so an
// input that begins with anything ends up here, and is refused unless it may be
// a mask definition.
mask-check: %empty
    { if (!McParseCheckMode(PARSE_MASK, RC_NO_MASK)) YYERROR; }
;

handler-check: %empty
    { if (!McParseCheckMode(PARSE_HANDLER, RC_NO_HANDLER)) YYERROR; }
;

program:
  "PROGRAM" IDENT ";"
    {
      if (!McParseCheckMode(PARSE_PROGRAM, RC_NO_PROGRAM)) YYERROR;
      McParseNote(McProgramSetName($2->text()));
    }
  imports subs main-scope body
    { McProgramSetBody($8); }
;

module:
  "MODULE" IDENT ";"
    { if (!McParseCheckMode(PARSE_MODULE, RC_NO_MODULE)) YYERROR; }
  imports sub-section
    {
      McParseNote(McSubEnter(nullptr));
      McParseNote(McProgramSetName($2->text()));
    }
;

main-scope: %empty { McParseNote(McSubEnter(nullptr)); } ;

// A stray END, SUBEND or "}" ends a body, and with it the parse.
body:
  statement-list { $$ = $1.first; }
| declaration-list statement-list { $$ = $2.first; }
;

// Imports and includes -----------------------------------------------------

imports:
  %empty
| imports import ";"
;

import:
  import-kind name-list
    { McParseImport(uint8_t($1), nullptr, nullptr, nullptr); }
| import-kind name-list "FROM" IDENT
    { McParseImport(uint8_t($1), $4->text(), nullptr, nullptr); }
| import-kind name-list "FROM" IDENT "MODULE" IDENT
    { McParseImport(uint8_t($1), $4->text(), $6->text(), nullptr); }
| import-kind name-list "FROM" "FILE" SCONST
    {
      McParseImport(uint8_t($1), nullptr, nullptr, $5->text());
      McTokenTextRelease($5);
    }
;

import-kind:
  "IMPORT" { $$ = MC_IMPORT_MACRO; }
| "IMPORT" "CSUB" { $$ = MC_IMPORT_CSUB; }
;

name-list:
  IDENT { McParseAddName($1, true); }
| name-list "," IDENT { McParseAddName($3, false); }
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
      McParseInclude($2->text());
      McTokenTextRelease($2);
    }
;

// SUBs ---------------------------------------------------------------------

sub-definition:
  "SUB" IDENT
    {
      McParseNote(McSubEnter($2->text()));
      mc_compile.scope = MC_SCOPE_PARAMETER;
    }
  parameters { mc_compile.scope = MC_SCOPE_LOCAL; }
  body sub-end
    { McProgramSetBody($6); }
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
      McParseNote(
          McVarDeclare(mc_compile.scope, $1, mc_compile.type, 0, 0, 0));
    }
| IDENT "(" star-list ")"
    {
      McParseNote(
          McVarDeclareRef(mc_compile.scope, $1, mc_compile.type, $3));
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
| "COMMON" IDENT { McParseNote(McCommonDeclare($2->text())); }
  variable-declarations "END" "COMMON"
    { mc_compile.scope = MC_SCOPE_LOCAL; }
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
    { McParseDeclarationError(&yychar, &yylval.token); }
;

type-keyword:
  "INTEGER" { mc_compile.type = McValueType::INTEGER; }
| "REAL" { mc_compile.type = McValueType::REAL; }
| "STRING" { mc_compile.type = McValueType::STRING; }
| "POINT" { mc_compile.type = McValueType::POINT; }
;

declarators:
  declarator
| declarators "," declarator
;

declarator:
  IDENT
    {
      McParseNote(
          McVarDeclare(mc_compile.scope, $1, mc_compile.type, 0, 0, 0));
    }
| IDENT "[" expression ":" expression "]"
    {
      McParseNote(
          McVarDeclare(mc_compile.scope, $1, mc_compile.type, $3, $5, 0));
    }
| IDENT "[" expression ":" expression "]" "(" dimension-list ")"
    {
      McParseNote(McVarDeclare(mc_compile.scope, $1, mc_compile.type, $3, $5,
                               $8.first));
    }
| IDENT "(" dimension-list ")"
    {
      McParseNote(McVarDeclare(mc_compile.scope, $1, mc_compile.type, 0, 0,
                               $3.first));
    }
| IDENT "(" star-list ")"
    {
      McParseNote(McVarDeclareDynamic(mc_compile.scope, $1, mc_compile.type,
                                      $3, 0, 0));
    }
| IDENT "[" expression ":" expression "]" "(" star-list ")"
    {
      McParseNote(McVarDeclareDynamic(mc_compile.scope, $1, mc_compile.type,
                                      $8, $3, $5));
    }
;

dimension-list:
  dimension { $$ = {$1, $1}; }
| dimension-list "," dimension
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $3);
    }
;

dimension:
  expression { McParseNote(McNodeDim(&$$, $1, 0)); }
| expression ":" expression { McParseNote(McNodeDim(&$$, $3, $1)); }
;

// Statements ---------------------------------------------------------------

// The value is the list so far and the last statement of its BLOCK.
statement-list:
  statement-begin statement
    { McParseAppendStatement(&$$, true, $2, $1); }
| statement-list statement-begin statement
    {
      $$ = $1;
      McParseAppendStatement(&$$, false, $3, $2);
    }
| error statement-error ";"
    {
      McParseAppendStatement(&$$, true, 0, 0);
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

statement-begin: %empty { $$ = McParseBeginStatement(yychar); } ;

statement-error: %empty
    { McParseStatementError(&yychar, &yylval.token); }
;

statement:
  ";" { $$ = 0; }
| assignment ";"
| "LET" assignment ";" { $$ = $2; }
| CFNNAME ";"
    { McParseNote(McNodeCall(&$$, $1, McCallKind::CFN, 0)); }
| CFNNAME "(" argument-list ")" ";"
    { McParseNote(McNodeCall(&$$, $1, McCallKind::CFN, $3.first)); }
| "WHILE" expression "DO" statement-list "END" "WHILE"
    { McParseNote(McNodeWhile(&$$, $2, $4.first)); }
| "IF" expression "THEN" statement-list "END" "IF"
    { McParseNote(McNodeIf(&$$, $2, $4.first, 0)); }
| "IF" expression "THEN" statement-list "ELSE" statement-list "END" "IF"
    { McParseNote(McNodeIf(&$$, $2, $4.first, $6.first)); }
| "SELECT" expression ";" case-clauses "END" "SELECT"
    { McParseNote(McNodeSelect(&$$, $2, $4.first)); }
| "SELECT" expression ";" case-clauses "CASE" "ELSE" statement-list "END"
  "SELECT"
    {
      McNodeAppendSibling(&$4, $7.first);
      McParseNote(McNodeSelect(&$$, $2, $4.first));
    }
| "ALLOCATE" allocate-items ";"
    { McParseNoteCode(McNodeAllocate(&$$, $2.first)); }
| "FREE" free-items ";"
    { McParseNoteCode(McNodeRelease(&$$, $2.first)); }
| "CALL" IDENT ";"
    { McParseNote(McNodeCall(&$$, $2, McCallKind::SUB, 0)); }
| "CALL" IDENT "(" argument-list ")" ";"
    { McParseNote(McNodeCall(&$$, $2, McCallKind::SUB, $4.first)); }
| "PRINT" ";" { McParseNote(McNodePrint(&$$, 0)); }
| "PRINT" argument-list ";" { McParseNote(McNodePrint(&$$, $2.first)); }
| "RETURN" expression ";"
    { McParseNote(McNodeMake(McNodeKind::RETURN, &$$, $2)); }
| "EXIT" expression ";"
    { McParseNote(McNodeMake(McNodeKind::EXIT, &$$, $2)); }
| "BREAK" { McParseNote(McNodeMake(McNodeKind::BREAK, &$$, 0)); }
| "CONTINUE" { McParseNote(McNodeMake(McNodeKind::CONT, &$$, 0)); }
| "SUBEXIT" { McParseNote(McNodeMake(McNodeKind::SUBEX, &$$, 0)); }
;

allocate-items:
  allocate-item { $$ = {$1, $1}; }
| allocate-items "," allocate-item
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $3);
    }
;

allocate-item:
  IDENT "(" dimension-list ")"
    { McParseNoteCode(McNodeVar($1, &$$, $3.first)); }
;

free-items:
  free-item { $$ = {$1, $1}; }
| free-items "," free-item
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $3);
    }
;

free-item: IDENT { $$ = McParseVariable($1, 0); } ;

case-clauses:
  case-clause { $$ = {$1, $1}; }
| case-clauses case-clause
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $2);
    }
;

case-clause:
  "CASE" case-labels ";" statement-list
    { McParseNote(McNodeCase(&$$, $4.first, $2.first)); }
;

case-labels:
  case-label { $$ = {$1, $1}; }
| case-labels "," case-label
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $3);
    }
;

case-label:
  relation expression { McParseNote(McNodeTest($1, &$$, $2)); }
| expression { McParseNote(McNodeTest(MC_EQUAL, &$$, $1)); }
| expression "TO" expression
    { McParseNote(McNodeBinary(MC_RANGE, &$$, $1, $3)); }
;

relation:
  ">" { $$ = MC_GREATER; }
| "<" { $$ = MC_LESS; }
| "==" { $$ = MC_EQUAL; }
| ">=" { $$ = MC_GREATER_EQUAL; }
| "<=" { $$ = MC_LESS_EQUAL; }
| "<>" { $$ = MC_NOT_EQUAL; }
;

// An argument is an expression, or a whole array by reference.
argument-list:
  expression { $$ = {$1, $1}; }
| IDENT "(" "*" ")"
    {
      McNodeRef whole = 0;
      McParseNote(McNodeRefVar($1, &whole));
      $$ = {whole, whole};
    }
| argument-list "," expression
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $3);
    }
| argument-list "," IDENT "(" "*" ")"
    {
      McNodeRef whole = 0;
      $$ = $1;
      McParseNote(McNodeRefVar($3, &whole));
      McNodeAppendSibling(&$$, whole);
    }
;

// Expressions --------------------------------------------------------------

expression:
  IDENT { $$ = McParseVariable($1, 0); }
| IDENT "(" expression-args ")" { $$ = McParseVariable($1, $3.first); }
| member { $$ = $1.first; }
| external
| ICONST { McParseNote(McNodeInt(&$$, $1)); }
| RCONST { McParseNote(McNodeReal(&$$, $1)); }
| SCONST
    {
      McTokenText* text = $1;
      McParseNote(McNodeString(&$$, text->text(), text->length));
      McTokenTextRelease(text);
    }
| message
    {
      McTokenText* text = $1;
      McParseNote(McNodeString(&$$, text->text(), text->length));
      McTokenTextRelease(text);
    }
| assignment
| call
| "(" expression ")" { $$ = McParseParenthesised($2); }
| expression "+" expression
    { McParseNote(McNodeBinary(MC_ADD, &$$, $1, $3)); }
| expression "-" expression
    { McParseNote(McNodeBinary(MC_SUBTRACT, &$$, $1, $3)); }
| expression "*" expression
    { McParseNote(McNodeBinary(MC_MULTIPLY, &$$, $1, $3)); }
| expression "/" expression
    { McParseNote(McNodeBinary(MC_DIVIDE, &$$, $1, $3)); }
| expression "**" expression
    { McParseNote(McNodeBinary(MC_POWER, &$$, $1, $3)); }
| expression "MOD" expression
    { McParseNote(McNodeBinary(MC_MOD, &$$, $1, $3)); }
| expression "DIV" expression
    { McParseNote(McNodeBinary(MC_DIV, &$$, $1, $3)); }
| expression "==" expression
    { McParseNote(McNodeBinary(MC_EQUAL, &$$, $1, $3)); }
| expression "<>" expression
    { McParseNote(McNodeBinary(MC_NOT_EQUAL, &$$, $1, $3)); }
| expression ">" expression
    { McParseNote(McNodeBinary(MC_GREATER, &$$, $1, $3)); }
| expression ">=" expression
    { McParseNote(McNodeBinary(MC_GREATER_EQUAL, &$$, $1, $3)); }
| expression "<" expression
    { McParseNote(McNodeBinary(MC_LESS, &$$, $1, $3)); }
| expression "<=" expression
    { McParseNote(McNodeBinary(MC_LESS_EQUAL, &$$, $1, $3)); }
| expression "AND" expression
    { McParseNote(McNodeBinary(MC_AND, &$$, $1, $3)); }
| expression "OR" expression
    { McParseNote(McNodeBinary(MC_OR, &$$, $1, $3)); }
| "-" expression %prec SIGN
    { McParseNote(McNodeUnary(MC_NEGATE, &$$, $2)); }
| "+" expression %prec SIGN
    { McParseNote(McNodeUnary(MC_PLUS, &$$, $2)); }
;

// A variable is an operand, the target of an assignment, or the base of
// coordinates. The token behind it tells, so each has a rule of its own and
// none passes through the others.
assignment:
  target ASSIGNOP expression
    { McParseNote(McNodeAssign($2, &$$, $1, $3)); }
| external ASSIGNOP expression
    { McParseNote(McNodeAssign($2, &$$, $1, $3)); }
;

target:
  IDENT { $$ = McParseVariable($1, 0); }
| IDENT "(" expression-args ")" { $$ = McParseVariable($1, $3.first); }
| member { $$ = $1.first; }
;

member-base:
  IDENT { $$ = {McParseVariable($1, 0), 0}; }
| IDENT "(" expression-args ")"
    {
      const McNodeList subscripts = $3;
      $$ = {McParseVariable($1, subscripts.first), subscripts.last};
    }
;

member:
  member-base "." IDENT
    {
      $$ = $1;
      McParseNote(McNodeRefer($$.first, &$$.last, $3->text(), 0));
    }
| member-base "." IDENT "(" expression-args ")"
    {
      $$ = $1;
      McParseNote(McNodeRefer($$.first, &$$.last, $3->text(), $5.first));
    }
| member "." IDENT
    {
      $$ = $1;
      McParseNote(McNodeRefer($$.first, &$$.last, $3->text(), 0));
    }
| member "." IDENT "(" expression-args ")"
    {
      $$ = $1;
      McParseNote(McNodeRefer($$.first, &$$.last, $3->text(), $5.first));
    }
;

external:
  SIGILNAME { McParseNote(McNodeExtern($1->text(), &$$)); }
| SIGIL "(" expression ")"
    { McParseNote(McNodeExtInd(char($1), &$$, $3)); }
;

call:
  BUILTIN { McParseNote(McNodeFunc(&$$, uint16_t($1), 0)); }
| BUILTIN "(" expression-args ")"
    { McParseNote(McNodeFunc(&$$, uint16_t($1), $3.first)); }
| FNNAME { McParseNote(McNodeCall(&$$, $1, McCallKind::FN, 0)); }
| FNNAME "(" argument-list ")"
    { McParseNote(McNodeCall(&$$, $1, McCallKind::FN, $3.first)); }
| CFNNAME { McParseNote(McNodeCall(&$$, $1, McCallKind::CFN, 0)); }
| CFNNAME "(" argument-list ")"
    { McParseNote(McNodeCall(&$$, $1, McCallKind::CFN, $3.first)); }
;

expression-args:
  expression { $$ = {$1, $1}; }
| expression-args "," expression
    {
      $$ = $1;
      McNodeAppendSibling(&$$, $3);
    }
;

message:
  "MSG" "(" SCONST "," ICONST ")"
    { $$ = McParseMsg(nullptr, $3, $5); }
| "MSG" "(" SCONST "," SCONST "," ICONST ")"
    { $$ = McParseMsg($3, $5, $7); }
| "MSGGET" "(" SCONST "," ICONST "," SCONST ")"
    { $$ = McParseMsgText('\4', $3, $5, $7); }
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
  "WINDOW" object-name { McParseOpenObject(MaskObjectType::WINDOW, $2); }
  "{" window-members "}" { McParseCloseObject(); }
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
    { McParseOpenObject(MaskObjectType::APPLICATION, $2); }
  "{" application-members "}" { McParseCloseObject(); }
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
  simple-type object-name { McParseOpenObject($1, $2); }
  "{" simple-members "}" { McParseCloseObject(); }
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
  menu-type object-name { McParseOpenObject($1, $2); }
  "{" menu-members "}" { McParseCloseObject(); }
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
  "ITEM" object-name { McParseOpenObject(MaskObjectType::ITEM, $2); }
  "{" simple-members "}" { McParseCloseObject(); }
;

table:
  "TABLE" object-name { McParseOpenObject(MaskObjectType::TABLE, $2); }
  "{" table-members "}" { McParseCloseObject(); }
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
  "TEXT" object-name { McParseOpenObject(MaskObjectType::TEXT, $2); }
  "{" text-members "}" { McParseCloseObject(); }
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
  "GROUP" object-name { McParseOpenObject(MaskObjectType::GROUP, $2); }
  "{" group-members "}" { McParseCloseObject(); }
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
  "LABEL" object-name { McParseOpenObject(MaskObjectType::LABEL, $2); }
  "{" attributes "}" { McParseCloseObject(); }
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
| IDENT ASSIGNOP ICONST { McParseAttribute($1->text(), $3); }
| IDENT ASSIGNOP attribute-text
    {
      McParseAttribute($1->text(), $3->text());
      McTokenTextRelease($3);
    }
| SCONST ASSIGNOP ICONST
    {
      McParseAttribute($1->text(), $3);
      McTokenTextRelease($1);
    }
| SCONST ASSIGNOP plain-text
    {
      McParseAttribute($1->text(), $3->text());
      McTokenTextRelease($3);
      McTokenTextRelease($1);
    }
;

attribute-text:
  plain-text
| message
| mask-message
;

plain-text:
  SCONST { $$ = $1; }
| IDENT { $$ = McParseCopyName($1); }
;

mask-message:
  "MSGGLOB" "(" SCONST "," ICONST ")"
    { $$ = McParseMsgText('\2', $3, $5, nullptr); }
| "MSGFILE" "(" SCONST "," ICONST "," SCONST ")"
    { $$ = McParseMsgText('\3', $3, $5, $7); }
;

// Masks: handlers and modules ----------------------------------------------

event-handler:
  "ON" event-list "EXECUTE" "{" { McParseProgramHandler($2); }
  subs main-scope body "}"
    { McParseCloseHandler($8); }
| "ON" event-list "{" { McParseAttributeHandler($2); }
  attributes "}"
    { mc_parse.target = nullptr; }
| "ON" event-list "DO" IDENT
    {
      McParseAttributeHandler($2);
      McParseAttribute("action", $4->text());
    }
  argument ";"
    { mc_parse.target = nullptr; }
;

argument:
  %empty
| "WITH" plain-text
    {
      McParseAttribute("argument", $2->text());
      McTokenTextRelease($2);
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
  "MODULE" "{" { McParseOpenModule(); }
  declaration-list subs "}"
    { McParseNote(McCompileEnter(nullptr)); }
;
