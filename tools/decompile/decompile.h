// Compiled files as sources that compile to the same bytes.
//
// What comes out has been compiled again in memory, and what that gave was
// compared with the file byte by byte; nothing else is ever an answer.
#ifndef TOOLS_DECOMPILE_DECOMPILE_H
#define TOOLS_DECOMPILE_DECOMPILE_H

#include <deque>
#include <string>
#include <string_view>

#include "tools/decompile/layout.h"

enum class DecompileOutcome {
  GIVEN,
  REFUSED,  // a sound file that no source gives
  TROUBLE,  // a damaged file, or a text that compiles to other bytes
};

struct Decompiled {
  DecompileOutcome outcome = DecompileOutcome::TROUBLE;
  std::string message;  // why there is no text
  // The first one is the source; the others are named in its INCLUDEs.
  std::deque<SourceFile> files;
};

// `base` is the name of the file without directory and extension; the source
// becomes base.mac or base.msk. Throws bad_alloc.
Decompiled Decompile(std::string_view bytes, const std::string& base);

// The options with which quillo makes such a file: "-noxdr -t 1".
std::string CompileOptions(uint8_t transport, bool is_mask, bool traced);

#endif
