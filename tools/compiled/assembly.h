// The text form of compiled files: one thing per line, and everything that is
// in a file.
//
//   quillo-assembly 1
//   file program plain
//   pool {
//     slot 1 "$u"
//   }
//   name "p"
//   constants {
//     real 2.5
//   }
//   body {
//     BLOCK {
//       ASSIGN {
//         VAR local "i"
//         INT 2
//       }
//     }
//   }
//   variables {
//     INTEGER "i" range 1 10
//   }
//
// What refers to an entry of a table names it, so that a new entry does not
// change the lines behind it; an entry whose name is long, or not the only one
// of that name in its table, is referred to by its number, #3, with the name in
// a remark. What follows from something else is left out: counts, and whatever
// the compiler would have put there. ";" begins a remark, "{" ends a line and
// "}" stands on one of its own; indents are free.
//
// Disassembling and assembling give the same bytes for every file that can be
// read. Both take time and memory in proportion to what they are given; nothing
// recurses.
#pragma once

#include <string>
#include <string_view>

#include "tools/output.h"
#include "util/XD_main.h"

// Writes the text of a file that CompiledCheck calls readable.
void CompiledDisassemble(std::string_view file, ToolOutput* out);

struct CompiledAssemblyError {
  size_t line = 0;
  size_t column = 0;
  std::string message;
};

// Makes a file of its text. Returns false with an error, and `*file` then holds
// a part of it. Throws bad_alloc.
[[nodiscard]] bool CompiledAssemble(std::string_view text, XdMemory* file,
                                    CompiledAssemblyError* error);
