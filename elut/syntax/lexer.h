// Scanner: the source text as tokens.
//
// One scanner serves programs, modules and mask definitions. It takes the
// longest token that begins at the read position. Blanks, tabs, line and form
// feeds and comments (from ! or # to the end of the line) separate tokens. A
// character that begins no token is reported as a stray one and skipped; the
// compiler writes it to the standard output.
//
//   FNround      FNNAME       %level, @:a.b*   SIGILNAME
//   CFNplot      CFNNAME      $ % & @ alone    SIGIL
//   FN1          IDENT        "abc"            SCONST
//   'A'          ICONST 65    017, 0x1F, 17    ICONST 15, 31, 17
//   1.5, 2e-3    RCONST       90D, PI          RCONST
//   = += -= /= *=  ASSIGNOP 0 to 4
//
// An integer that does not fit is reported with code 5672 and has the value
// 2147483647. A source that cannot be read to its end is reported with 1006.
#pragma once

#include <cstdint>

#include "elut/syntax/scanner.h"

// The next token; number 0 at the end of all input.
McToken McLex(McScanner* scanner);
