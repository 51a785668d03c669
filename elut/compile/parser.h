// The parser: the automaton of the grammar over the tokens of the scanner.
//
// Its stack has 150 entries, the start state included. Nothing but the recovery
// from an error in a statement or a declaration reads the tables at run time;
// the rest is code, one label for each state.
#pragma once

#include "elut/compile/front.h"

// Runs the parser over what is left of the input. False when an error ended it.
// What was built hangs in the current program or list; the parse error code is
// in the scanner. Throws bad_alloc.
[[nodiscard]] bool McYyParse(McFront* front);
