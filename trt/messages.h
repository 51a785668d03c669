// The compiler's own numbered message texts.
//
// A row gives the number's name and the text: FILE_NOT_FOUND makes the number
// MSG_FILE_NOT_FOUND and the text TEXT_FILE_NOT_FOUND. Whoever prints one on a
// channel of its own passes the TEXT_ name as the format, so that the compiler
// checks the arguments against it.
#pragma once

// clang-format off
#define MESSAGE_TABLE(ROW)                                                  \
  ROW(NONE, "no message found\n")                                           \
  ROW(FILE_NOT_FOUND, "file '%s' not found\n")                              \
  ROW(SYNTAX_ERROR, "syntax error in line %d\n%s\n")                        \
  ROW(UNDEFINED_VARIABLE, "undefined variable '%s'\n")                      \
  ROW(DECLARATION, "error in declaration\n")                                \
  ROW(UNRESOLVED_SUB, "unresolved external subroutine: '%s'\n")             \
  ROW(UNRESOLVED_FN, "unresolved external function: 'FN%s'\n")              \
  ROW(UNRESOLVED_CFN, "unresolved C - function: 'CFN%s'\n")                 \
  ROW(CFN_PARAMETERS, "C - function 'CFN%s' has other than standard-params\n")
// clang-format on

#define MESSAGE_NUMBER(name, text) MSG_##name,
enum MessageNumber : unsigned { MESSAGE_TABLE(MESSAGE_NUMBER) MSG_COUNT };
#undef MESSAGE_NUMBER

#define MESSAGE_TEXT(name, text) inline constexpr char TEXT_##name[] = text;
MESSAGE_TABLE(MESSAGE_TEXT)
#undef MESSAGE_TEXT

// The text of a message; nullptr when there is none. The number counts modulo
// 65536.
[[nodiscard]] const char* MessageText(unsigned number);
