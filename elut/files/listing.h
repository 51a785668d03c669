// Program listing of -dump, and expressions as text.
//
// The listing shows declarations in full and trees as the indented names of
// their node kinds, for example, for PRINT 5; x = 1;
//
//    BLOCK  PRINT  INT
//           ASSIGN VAR
//                  INT
#pragma once

#include "elut/model/program.h"
#include "services/channels.h"

// Writes the listing of a program to the standard output. Returns 0 or
// RC_NO_MEMORY; the listing breaks off then.
[[nodiscard]] int McDumpProgram(Channels* out, const McProgram* program);

// Prints the main body's PRINT statements as source-like text on an output
// channel, each with `prefix` in front:
//
//   PRINT (1 + 2), "a";
//
// Other statements print nothing. Returns 0; RC_NO_EXPRESSION without a body;
// or the code of the item at which it stopped: RC_NOT_EVALUABLE for one that
// has no text, RC_NO_MEMORY.
[[nodiscard]] int McPrintExpr(Channels* channels, unsigned channel,
                              const char* prefix, const McProgram* program);
