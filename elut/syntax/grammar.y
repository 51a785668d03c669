// The grammar of programs, modules and mask definitions.
//
// An action is one call: a builder of the program model (node_build.h,
// variables.h) or a decision of the parser (actions.h). It writes $$ last, since
// $$ takes the place of $1. The line of a statement, and which fault is reported
// first, depend on when the parser asks for a token. So the tables keep their
// default reductions, and actions in the middle of a rule stand exactly where
// they take effect.

%skeleton "./grammar.m4"
%define api.token.prefix {TOKEN_}
%define api.token.raw
%define api.symbol.prefix {SYMBOL_}
%define api.value.type {union McSemantic}
%expect 0

// Tokens -------------------------------------------------------------------

// What operands and operators are made of comes first: where they meet, a
// parser then looks at a small range of numbers.

%token END_OF_INPUT 0 "end of input"
%token SEMICOLON ";" COMMA "," RIGHT_PAREN ")" DOT "." LEFT_PAREN "("
%token <token.code> PLUS "+" MINUS "-" STAR "*" SLASH "/" MOD "MOD" DIV "DIV"
%token <token.code> POWER "**"
%token <token.code> EQUAL "==" NOT_EQUAL "<>" GREATER ">" GREATER_EQUAL ">="
%token <token.code> LESS "<" LESS_EQUAL "<=" AND "AND" OR "OR"
%token <token.code> ASSIGNOP
%token THEN "THEN" DO "DO" TO "TO" COLON ":" RIGHT_BRACKET "]"
%token <token.name> IDENT FNNAME CFNNAME SIGILNAME
%token <token.integer> ICONST BUILTIN
%token <token.real> RCONST
%token <token.text> SCONST
%token <token.code> SIGIL
%token MSG "MSG" MSGGET "MSGGET"

%token LET "LET" CALL "CALL" IF "IF" PRINT "PRINT" WHILE "WHILE"
%token SELECT "SELECT" RETURN "RETURN" EXIT "EXIT" BREAK "BREAK"
%token CONTINUE "CONTINUE" SUBEXIT "SUBEXIT" ALLOCATE "ALLOCATE" FREE "FREE"
%token END "END" ELSE "ELSE" CASE "CASE" SUBEND "SUBEND" SUB "SUB"

%token COMMON "COMMON" CSUB "CSUB" FILE "FILE" FROM "FROM" IMPORT "IMPORT"
%token INCLUDE "INCLUDE" INTEGER "INTEGER" MODULE "MODULE"
%token OPTIONAL "OPTIONAL" POINT "POINT" PROGRAM "PROGRAM" REAL "REAL"
%token STRING "STRING" LEFT_BRACKET "["

%token LEFT_BRACE "{" RIGHT_BRACE "}" ABORT "ABORT" ACTIVATE "ACTIVATE"
%token APPLICATION "APPLICATION" BUTTON "BUTTON" COMPUTE "COMPUTE"
%token CONFIRM "CONFIRM" CONTROL "CONTROL" CREATE "CREATE" DESTROY "DESTROY"
%token DIALOG "DIALOG" ENTER "ENTER" EXECUTE "EXECUTE" GRAPHIC "GRAPHIC"
%token GROUP "GROUP" HELP "HELP" HIDE "HIDE" ITEM "ITEM" KEY "KEY"
%token LABEL "LABEL" MENU "MENU" MENUBAR "MENUBAR" MODIFY "MODIFY"
%token MOTION "MOTION" MSGFILE "MSGFILE" MSGGLOB "MSGGLOB" ON "ON"
%token PRESS "PRESS" RECORD "RECORD" RELEASE "RELEASE" SCROLLBAR "SCROLLBAR"
%token SHOW "SHOW" TABLE "TABLE" TEXT "TEXT" WINDOW "WINDOW" WITH "WITH"

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
%type <node> builtin_call fn_call cfn_call
%type <node> argument case_label dimension allocate_item free_item case_clause
%type <node> expression_args argument_list dimension_list
%type <node> case_clauses case_labels allocate_items free_items
%type <reference> variable variable_reference external_reference
%type <statements> statement_list
%type <text> message attribute_text plain_text mask_message
%type <number> star_list statement_begin key import_kind
%type <op> relation assign_op
%type <chars> object_name
%type <event> event event_list
%type <type> simple_type menu_type

// What was built for a symbol that an error discards goes with it.
%destructor { McNodesOf(front).cut($$); } <node>
%destructor { McNodesOf(front).cut($$.first); } <reference> <statements>

%start input

%%

// Top level ----------------------------------------------------------------

input:
  expression_list
| program
| module
| handler_check event_handler
| mask_check masks
;

expression_list:
  expression expression_check { McNodesOf(front).cut($1); }
| expression_list "," expression expression_check
    { McNodesOf(front).cut($3); }
;

expression_check: %empty
    {
      if (!McParseCheckMode(front, PARSE_EXPRESSION_LIST, RC_NO_EXPRESSIONS)) YYERROR;
    }
;

// No token but the first ones of the other forms leads anywhere else, so an
// input that begins with anything ends up here, and is refused unless it may be
// a mask definition.
mask_check: %empty
    { if (!McParseCheckMode(front, PARSE_MASK, RC_NO_MASK)) YYERROR; }
;

handler_check: %empty
    { if (!McParseCheckMode(front, PARSE_HANDLER, RC_NO_HANDLER)) YYERROR; }
;

program:
  "PROGRAM" IDENT ";"
    {
      if (!McParseCheckMode(front, PARSE_PROGRAM, RC_NO_PROGRAM)) YYERROR;
      McProgramSetName(front, $2->text());
    }
  imports subs main_scope body
    { McProgramSetBody(front, $8); }
;

module:
  "MODULE" IDENT ";"
    { if (!McParseCheckMode(front, PARSE_MODULE, RC_NO_MODULE)) YYERROR; }
  imports sub_section
    {
      McIgnoreRefusal(front, McSubEnter(front, nullptr));
      McProgramSetName(front, $2->text());
    }
;

main_scope: %empty { McIgnoreRefusal(front, McSubEnter(front, nullptr)); } ;

// A stray END, SUBEND or "}" ends a body, and with it the parse.
body:
  statement_list { $$ = McNodeStatements(front, $1); }
| declaration_list statement_list { $$ = McNodeStatements(front, $2); }
;

// Imports and includes -----------------------------------------------------

imports:
  %empty
| imports import ";"
;

import:
  import_kind name_list
    { McParseImport(front, uint8_t($1), nullptr, nullptr, nullptr); }
| import_kind name_list "FROM" IDENT
    { McParseImport(front, uint8_t($1), $4->text(), nullptr, nullptr); }
| import_kind name_list "FROM" IDENT "MODULE" IDENT
    { McParseImport(front, uint8_t($1), $4->text(), $6->text(), nullptr); }
| import_kind name_list "FROM" "FILE" SCONST
    {
      McParseImport(front, uint8_t($1), nullptr, nullptr, $5->text());
      McTokenTextRelease(&front->scanner.strings, $5);
    }
;

import_kind:
  "IMPORT" { $$ = MC_IMPORT_MACRO; }
| "IMPORT" "CSUB" { $$ = MC_IMPORT_CSUB; }
;

name_list:
  IDENT { McParseBeginNames(front, $1); }
| name_list "," IDENT { McParseAddName(front, $3); }
;

subs:
  %empty
| sub_section
;

sub_section:
  sub_definition
| include
| sub_section sub_definition
| sub_section include
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

sub_definition:
  "SUB" IDENT
    {
      McIgnoreRefusal(front, McSubEnter(front, $2->text()));
      front->compile.scope = MC_SCOPE_PARAMETER;
    }
  parameters { front->compile.scope = MC_SCOPE_LOCAL; }
  body sub_end
    { McProgramSetBody(front, $6); }
;

sub_end:
  "SUBEND"
| "END" "SUB"
;

// OPTIONAL changes nothing: the required argument count stays 0.
parameters:
  %empty
| "(" parameter_groups ")"
| "(" "OPTIONAL" parameter_groups ")"
| "(" parameter_groups ";" "OPTIONAL" parameter_groups ")"
;

parameter_groups:
  parameter_group
| parameter_groups ";" parameter_group
;

parameter_group:
  type_keyword parameter
| parameter_group "," parameter
;

parameter:
  IDENT { McIgnoreRefusal(front, McVarDeclare(front, $1)); }
| IDENT "(" star_list ")"
    {
      McIgnoreRefusal(front, 
          McVarDeclareRef(front, $1, $3));
    }
;

star_list:
  "*" { $$ = 1; }
| star_list "," "*" { $$ = $1 + 1; }
;

// Declarations -------------------------------------------------------------

declaration_list:
  declaration
| declaration_list declaration
;

declaration:
  variable_declaration
| "COMMON" IDENT { McIgnoreRefusal(front, McCommonDeclare(front, $2->text())); }
  variable_declarations "END" "COMMON"
    { front->compile.scope = MC_SCOPE_LOCAL; }
;

variable_declarations:
  variable_declaration
| variable_declarations variable_declaration
;

variable_declaration:
  type_keyword declarators ";"
| type_keyword error declaration_error ";"
;

declaration_error: %empty
    { McParseDeclarationError(front); }
;

type_keyword:
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
  IDENT { McIgnoreRefusal(front, McVarDeclare(front, $1)); }
| IDENT "[" expression ":" expression "]"
    {
      McIgnoreRefusal(front,
                      McVarDeclare(front, $1, {$3, $5, McNodeNone(front)}));
    }
| IDENT "[" expression ":" expression "]" "(" dimension_list ")"
    { McIgnoreRefusal(front, McVarDeclare(front, $1, {$3, $5, $8})); }
| IDENT "(" dimension_list ")"
    { McIgnoreRefusal(front, McVarDeclare(front, $1, {$3, $3, $3})); }
| IDENT "(" star_list ")"
    {
      const McNodeRef none = McNodeNone(front);
      McIgnoreRefusal(front,
                      McVarDeclareDynamic(front, $1, $3, {none, none, none}));
    }
| IDENT "[" expression ":" expression "]" "(" star_list ")"
    {
      McIgnoreRefusal(front, McVarDeclareDynamic(front, $1, $8,
                                                 {$3, $5, McNodeNone(front)}));
    }
;

// A list of trees begins where its first one does.
dimension_list:
  dimension
| dimension_list "," dimension { $$ = $1; (void)$3; }
;

dimension:
  expression { $$ = McNodeDim(front, $1, $1); }
| expression ":" expression { $$ = McNodeDim(front, $1, $3); }
;

// Statements ---------------------------------------------------------------

statement_list:
  statement_begin statement
    { $$ = McParseBeginList(front, $2, $1); }
| statement_list statement_begin statement
    { $$ = McParseAppendStatement(front, $1, $3, $2); }
| error statement_error ";"
    {
      $$ = McParseBeginList(front, McNodeNone(front), 0);
      front->parse.error_flag = 0;
    }
| statement_list error statement_error ";"
    {
      $$ = $1;
      front->parse.error_flag = 0;
    }
;

statement_begin: %empty { $$ = McParseBeginStatement(front, yychar); } ;

statement_error: %empty
    { McParseStatementError(front); }
;

statement:
  ";" { $$ = McNodeNone(front); }
| assignment ";"
| "LET" assignment ";" { $$ = $2; }
| cfn_call ";"
| "WHILE" expression "DO" statement_list "END" "WHILE"
    {
      $$ = McNodeOverTwo(front, McNodeKind::WHILE, 0, $2,
                         McNodeStatements(front, $4));
    }
| "IF" expression "THEN" statement_list "END" "IF"
    {
      $$ = McNodeOverTwo(front, McNodeKind::IF, 0, $2,
                         McNodeStatements(front, $4));
    }
| "IF" expression "THEN" statement_list else statement_list "END" "IF"
    {
      (void)McNodeStatements(front, $6);
      $$ = McNodeOverTwo(front, McNodeKind::IF, 0, $2, $5);
      (void)$4;
    }
| "SELECT" expression ";" case_clauses "END" "SELECT"
    { $$ = McNodeOverTwo(front, McNodeKind::SELECT, 0, $2, $4); }
| "SELECT" expression ";" case_clauses "CASE" "ELSE" statement_list "END"
  "SELECT"
    {
      (void)McNodeStatements(front, $7);
      $$ = McNodeOverTwo(front, McNodeKind::SELECT, 0, $2, $4);
    }
| "ALLOCATE" allocate_items ";"
    { $$ = McNodeOver(front, McNodeKind::ALLOC, 0, $2); }
| "FREE" free_items ";"
    { $$ = McNodeOver(front, McNodeKind::FREE, 0, $2); }
| "CALL" IDENT ";"
    { $$ = McNodeCall(front, $2, McCallKind::SUB, McNodeNone(front)); }
| "CALL" IDENT "(" argument_list ")" ";"
    { $$ = McNodeCall(front, $2, McCallKind::SUB, $4); }
| "PRINT" ";"
    { $$ = McNodeOver(front, McNodeKind::PRINT, 0, McNodeNone(front)); }
| "PRINT" argument_list ";"
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

allocate_items:
  allocate_item
| allocate_items "," allocate_item { $$ = $1; (void)$3; }
;

allocate_item:
  IDENT "(" dimension_list ")" { $$ = McParseAllocated(front, $1, $3); }
;

free_items:
  free_item
| free_items "," free_item { $$ = $1; (void)$3; }
;

free_item:
  IDENT
    {
      $$ = McNodeVar(front, McParseVariable(front, $1, McNodeNone(front)));
    }
;

case_clauses:
  case_clause
| case_clauses case_clause { $$ = $1; (void)$2; }
;

case_clause:
  "CASE" case_labels ";" statement_list
    { $$ = McNodeCase(front, $2, McNodeStatements(front, $4)); }
;

case_labels:
  case_label
| case_labels "," case_label { $$ = $1; (void)$3; }
;

case_label:
  relation expression { $$ = McNodeTest(front, $1, $2); }
| expression { $$ = McNodeTest(front, MC_EQUAL, $1); }
| expression "TO" expression { $$ = McNodeBinary(front, MC_RANGE, $1, $3); }
;

relation:
  ">" { $$ = $1; }
| "<" { $$ = $1; }
| "==" { $$ = $1; }
| ">=" { $$ = $1; }
| "<=" { $$ = $1; }
| "<>" { $$ = $1; }
;

argument_list:
  argument
| argument_list "," argument { $$ = $1; (void)$3; }
;

// An argument is an expression, or a whole array by reference.
argument:
  expression
| IDENT "(" "*" ")" { $$ = McNodeRefVar(front, $1); }
;

// Expressions --------------------------------------------------------------

expression:
  variable_reference { $$ = McNodeVar(front, $1); }
| external_reference { $$ = $1.first; }
| ICONST { $$ = McNodeInt(front, $1); }
| RCONST { $$ = McNodeReal(front, $1); }
| SCONST { $$ = McNodeString(front, $1); }
| message { $$ = McNodeString(front, $1); }
| assignment
| builtin_call
| fn_call
| cfn_call
| "(" expression ")" { $$ = McParseParenthesised(front, $2); }
| expression "+" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "-" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "*" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "/" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "**" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "MOD" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "DIV" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "==" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "<>" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression ">" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression ">=" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "<" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "<=" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "AND" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| expression "OR" expression { $$ = McNodeBinary(front, $2, $1, $3); }
| "-" expression %prec SIGN { $$ = McNodeUnary(front, MC_NEGATE, $2); }
| "+" expression %prec SIGN { $$ = McNodeUnary(front, MC_PLUS, $2); }
;

assignment:
  variable_reference assign_op expression %prec ASSIGNOP
    { $$ = McNodeAssign(front, $2, $1.first, $3); }
| external_reference assign_op expression %prec ASSIGNOP
    { $$ = McNodeAssign(front, $2, $1.first, $3); }
;

// The target is complete: its node stands in front of those of the value.
assign_op:
  ASSIGNOP
    {
      (void)McNodeVar(front, $<reference>0);
      $$ = $1;
    }
;

variable_reference:
  variable
| variable_reference "." IDENT
    {
      $$ = $1;
      McNodeRefer(front, $$, $3->text(), McNodeNone(front));
    }
| variable_reference "." IDENT "(" expression_args ")"
    {
      $$ = $1;
      McNodeRefer(front, $$, $3->text(), $5);
    }
;

variable:
  IDENT { $$ = McParseVariable(front, $1, McNodeNone(front)); }
| IDENT "(" expression_args ")" { $$ = McParseVariable(front, $1, $3); }
;

// Its node is made at once.
external_reference:
  SIGILNAME { $$ = {McNodeExtern(front, $1->text()), 0}; }
| SIGIL "(" expression ")" { $$ = {McNodeExtInd(front, $1, $3), 0}; }
;

builtin_call:
  BUILTIN { $$ = McNodeFunc(front, $1, McNodeNone(front)); }
| BUILTIN "(" expression_args ")" { $$ = McNodeFunc(front, $1, $3); }
;

// Complete before any token but "(", so that an error after it comes later.
fn_call:
  FNNAME
    { $$ = McNodeCall(front, $1, McCallKind::FN, McNodeNone(front)); }
| FNNAME "(" argument_list ")"
    { $$ = McNodeCall(front, $1, McCallKind::FN, $3); }
;

cfn_call:
  CFNNAME
    { $$ = McNodeCall(front, $1, McCallKind::CFN, McNodeNone(front)); }
| CFNNAME "(" argument_list ")"
    { $$ = McNodeCall(front, $1, McCallKind::CFN, $3); }
;

expression_args:
  expression
| expression_args "," expression { $$ = $1; (void)$3; }
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
  "WINDOW" object_name { McParseOpenObject(front, MaskObjectType::WINDOW, $2); }
  "{" window_members "}" { McParseCloseObject(front); }
;

window_members:
  window_member
| window_members window_member
;

window_member:
  common_member
| event_handler
| simple_object
| menu
| label
| table
| text_object
| group
| module_block
;

application:
  "APPLICATION" object_name
    { McParseOpenObject(front, MaskObjectType::APPLICATION, $2); }
  "{" application_members "}" { McParseCloseObject(front); }
;

application_members:
  application_member
| application_members application_member
;

application_member:
  common_member
| event_handler
| window
| module_block
;

simple_object:
  simple_type object_name { McParseOpenObject(front, $1, $2); }
  "{" simple_members "}" { McParseCloseObject(front); }
;

simple_type:
  "BUTTON" { $$ = MaskObjectType::BUTTON; }
| "SCROLLBAR" { $$ = MaskObjectType::SCROLLBAR; }
| "RECORD" { $$ = MaskObjectType::RECORD; }
| "DIALOG" { $$ = MaskObjectType::DIALOG; }
| "GRAPHIC" { $$ = MaskObjectType::GRAPHIC; }
;

simple_members:
  simple_member
| simple_members simple_member
;

simple_member:
  common_member
| event_handler
;

menu:
  menu_type object_name { McParseOpenObject(front, $1, $2); }
  "{" menu_members "}" { McParseCloseObject(front); }
;

menu_type:
  "MENUBAR" { $$ = MaskObjectType::MENUBAR; }
| "MENU" { $$ = MaskObjectType::MENU; }
;

menu_members:
  menu_member
| menu_members menu_member
;

menu_member:
  common_member
| event_handler
| menu
| item
;

item:
  "ITEM" object_name { McParseOpenObject(front, MaskObjectType::ITEM, $2); }
  "{" simple_members "}" { McParseCloseObject(front); }
;

table:
  "TABLE" object_name { McParseOpenObject(front, MaskObjectType::TABLE, $2); }
  "{" table_members "}" { McParseCloseObject(front); }
;

table_members:
  table_member
| table_members table_member
;

table_member:
  common_member
| event_handler
| simple_object
| menu
| label
| item
| text_object
| group
;

text_object:
  "TEXT" object_name { McParseOpenObject(front, MaskObjectType::TEXT, $2); }
  "{" text_members "}" { McParseCloseObject(front); }
;

text_members:
  text_member
| text_members text_member
;

text_member:
  common_member
| event_handler
| item
;

// A group has no event handlers, a label attributes only.
group:
  "GROUP" object_name { McParseOpenObject(front, MaskObjectType::GROUP, $2); }
  "{" group_members "}" { McParseCloseObject(front); }
;

group_members:
  group_member
| group_members group_member
;

group_member:
  common_member
| simple_object
| menu
| label
| table
| text_object
| group
;

label:
  "LABEL" object_name { McParseOpenObject(front, MaskObjectType::LABEL, $2); }
  "{" attributes "}" { McParseCloseObject(front); }
;

object_name:
  %empty { $$ = ""; }
| IDENT { $$ = $1->text(); }
| SCONST { $$ = $1->text(); }
;

common_member:
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
| IDENT ASSIGNOP attribute_text
    {
      McParseAttribute(front, $1->text(), $3->text());
      McTokenTextRelease(&front->scanner.strings, $3);
    }
| SCONST ASSIGNOP ICONST
    {
      McParseAttribute(front, $1->text(), $3);
      McTokenTextRelease(&front->scanner.strings, $1);
    }
| SCONST ASSIGNOP plain_text
    {
      McParseAttribute(front, $1->text(), $3->text());
      McTokenTextRelease(&front->scanner.strings, $3);
      McTokenTextRelease(&front->scanner.strings, $1);
    }
;

attribute_text:
  plain_text
| message
| mask_message
;

plain_text:
  SCONST { $$ = $1; }
| IDENT { $$ = McParseCopyName(front, $1); }
;

mask_message:
  "MSGGLOB" "(" SCONST "," ICONST ")"
    { $$ = McParseMsgText(front, '\2', $3, $5, nullptr); }
| "MSGFILE" "(" SCONST "," ICONST "," SCONST ")"
    { $$ = McParseMsgText(front, '\3', $3, $5, $7); }
;

// Masks: handlers and modules ----------------------------------------------

event_handler:
  "ON" event_list "EXECUTE" "{" { McParseProgramHandler(front, $2); }
  subs main_scope body "}"
    { McProgramSetBody(front, $8); }
| "ON" event_list "{" { McParseAttributeHandler(front, $2); }
  attributes "}"
    { front->parse.target = nullptr; }
| "ON" event_list "DO" IDENT
    {
      McParseAttributeHandler(front, $2);
      McParseAttribute(front, "action", $4->text());
    }
  handler_argument ";"
    { front->parse.target = nullptr; }
;

handler_argument:
  %empty
| "WITH" plain_text
    {
      McParseAttribute(front, "argument", $2->text());
      McTokenTextRelease(&front->scanner.strings, $2);
    }
;

event_list:
  event
| event_list "OR" event { $$ = MaskJoinEvents($1, $3); }
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

module_block:
  "MODULE" "{" { McParseOpenModule(front); }
  declaration_list subs "}"
    { McCompileEnter(front, nullptr); }
;
