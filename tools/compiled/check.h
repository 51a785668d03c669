// What a sound compiled file looks like: every rule that a file of the compiler
// keeps, beyond the layout that the walk knows.
//
// There are two grades of findings. A file with an UNREADABLE one is refused by
// every reader of compiled files, ours and the run time's; one whose findings
// are all UNSOUND can be loaded, but was not written by a compiler as it is.
#pragma once

#include <functional>
#include <string_view>

#include "tools/compiled/walk.h"

using CompiledReport = std::function<void(const CompiledTrouble&)>;

// Checks a file and reports everything that can be told apart. Takes time and
// memory in proportion to the file. Throws bad_alloc.
void CompiledCheck(std::string_view file, const CompiledReport& report);

// Whether the rules of mask definitions let an object of type `inner` stand in
// one of type `outer` (NONE: in none, as an editor), let it have handlers, or a
// MODULE block.
bool CompiledMayContain(uint8_t outer, uint8_t inner);
bool CompiledMayHandle(uint8_t type);
bool CompiledMayHaveModule(uint8_t type);
