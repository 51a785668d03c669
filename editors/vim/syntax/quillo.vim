" Highlighting of quillo's programs, modules and masks.
" The lists of words are kept by scripts/editor-words.
if exists("b:current_syntax")
  finish
endif
syn case match
" Words end where the scanner ends them; other letters are no part of them.
syn iskeyword 48-57,65-90,95,97-122

" Lowest precedence first: of two items that match, the later one counts.
syn match quilloStray /[^ \t\x0c]/
syn match quilloSign /[]:;,.()[{}]/
syn match quilloArithmetic ,\*\*\|==\|>=\|<=\|<>\|[-+/*]\?=\|[-+*/<>],
syn match quilloExternal /[%&$][A-Za-z][A-Za-z0-9_]*\|@:\?[*.0-9A-Za-z_]\+\|[%&$@]/
syn match quilloName /[A-Za-z][A-Za-z0-9_]*/
syn match quilloFunction /C\?FN[A-Za-z][A-Za-z0-9_]*/
syn match quilloConstant /PI[A-Za-z0-9_]\@!/
syn match quilloInteger /0x[0-9A-Fa-f]\+\|0[0-7]*\|[1-9][0-9]*/
syn match quilloReal /\([0-9]*\.[0-9]\+\([Ee][+-]\?[0-9]\+\)\?\|[0-9]\+[Ee][+-]\?[0-9]\+\)[DGRdgr]\?\|[0-9]\+[DGRdgr]/
syn match quilloCharacter /'[^\n]'/
syn match quilloText /"\([^"\\]\|\\\+[^\\]\)*\(""\?\|\n"\)/ contains=quilloEscape
syn match quilloEscape /\\\+["n]/ contained
syn match quilloComment /[!#].*/ contains=quilloTodo,@Spell
syn keyword quilloTodo TODO FIXME XXX contained

syn keyword quilloStatement
      \ ALLOCATE BREAK CALL CASE CONTINUE DO ELSE END EXECUTE EXIT
      \ FREE IF LET ON PRINT RETURN SELECT SUBEXIT THEN TO WHILE WITH
syn keyword quilloType INTEGER POINT REAL STRING
syn keyword quilloDeclaration
      \ COMMON CSUB FILE FROM IMPORT INCLUDE MODULE OPTIONAL PROGRAM
      \ SUB SUBEND
syn keyword quilloOperator AND DIV MOD OR
syn keyword quilloObject
      \ APPLICATION BUTTON DIALOG GRAPHIC GROUP HELP ITEM LABEL MENU
      \ MENUBAR RECORD SCROLLBAR TABLE TEXT WINDOW
syn keyword quilloEvent
      \ ABORT ACTIVATE COMPUTE CONFIRM CONTROL CREATE DESTROY ENTER
      \ HIDE KEY MODIFY MOTION PRESS RELEASE SHOW
syn keyword quilloMessage MSG MSGFILE MSGGET MSGGLOB
syn keyword quilloBuiltin
      \ ABS INT COS SIN TAN VAL STR SYSTEM PIPE CHR NUM SPRINT MID LEN
      \ SPLIT POS UPC LWC FOPEN FCLOSE FREMOVE FGETS FPUTS FEOF FERRNO
      \ FACCESS CONNECT CONNECTED TRIM GETENV PUTENV GETFILE USERNAME
      \ DATE TIME IMPORTFN ROUND DOPEN DGETS DCLOSE VSYSTEM SUBSTSTR
      \ SUBSVAR

hi def link quilloStray Error
hi def link quilloArithmetic Operator
hi def link quilloExternal Identifier
hi def link quilloFunction Function
hi def link quilloConstant Constant
hi def link quilloInteger Number
hi def link quilloReal Float
hi def link quilloCharacter Character
hi def link quilloText String
hi def link quilloEscape SpecialChar
hi def link quilloComment Comment
hi def link quilloTodo Todo
hi def link quilloStatement Statement
hi def link quilloType Type
hi def link quilloDeclaration Structure
hi def link quilloOperator Operator
hi def link quilloObject Tag
hi def link quilloEvent Label
hi def link quilloMessage Special
hi def link quilloBuiltin Function

let b:current_syntax = "quillo"
