// Syntax errors: the automaton of the grammar over the tokens of a source, with
// a repair for each token that it cannot take.
//
// One fault is to give one finding, at its place. So what would make the source
// right is looked for: tokens are put in, taken out, spelled in another way,
// here and shortly before; and of the changes with which the parser gets
// furthest the smallest is taken for what was meant. The parser goes on as if
// it had been written, as do all later checks.
#pragma once

#include <set>
#include <string>

#include "tools/check/files.h"

// Finds and repairs the syntax errors of the source, up to `most` of them. The
// faults and repairs are noted in its files, and the names in what was left out
// in `dropped`. False when the parser could not go on to the end.
using CheckNames = std::set<std::string, std::less<>>;
bool CheckRepair(CheckFiles* files, CheckFile* main, CheckKind kind,
                 size_t most, CheckNames* dropped);
